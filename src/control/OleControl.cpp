#include "control/OleControl.h"

#include "control/USBKeyPnPActiveXCtrl.h"

namespace kzr {

STDMETHODIMP OleControl::GetControlInfo(CONTROLINFO* info)
{
    if (!info) return E_POINTER;
    if (info->cb < sizeof(CONTROLINFO)) return E_INVALIDARG;
    info->hAccel = nullptr;
    info->cAccel = 0;
    info->dwFlags = 0;
    return S_OK;
}

STDMETHODIMP OleControl::FreezeEvents(BOOL freeze)
{
    return m_control.Guard([=, this] {
        m_control.FreezeEvents(freeze != FALSE);
        return S_OK;
    });
}

}  // namespace kzr
