#include "control/InPlaceObject.h"

#include "control/USBKeyPnPActiveXCtrl.h"

namespace kzr {
namespace {

// The window is there before and after it stands in the container, too.
HRESULT WindowFor(CUSBKeyPnPActiveXCtrl& control, HWND* window) noexcept
{
    if (!window) return E_POINTER;
    *window = control.Window().Get();
    return *window ? S_OK : E_FAIL;
}

}  // namespace

STDMETHODIMP InPlaceObject::GetWindow(HWND* window) { return WindowFor(m_control, window); }

STDMETHODIMP InPlaceObject::InPlaceDeactivate()
{
    return m_control.Guard([=, this] { return m_control.InPlace().Deactivate(); });
}

STDMETHODIMP InPlaceObject::UIDeactivate()
{
    return m_control.Guard([=, this] { return m_control.InPlace().DeactivateUi(); });
}

STDMETHODIMP InPlaceObject::SetObjectRects(LPCRECT position, LPCRECT clip)
{
    if (!position) return E_POINTER;
    return m_control.Guard([=, this] {
        // A late call, after the deactivation, must not move the message-only window.
        if (m_control.InPlace().IsActive()) m_control.Window().Place(*position, clip ? *clip : *position);
        return S_OK;
    });
}

STDMETHODIMP InPlaceActiveObject::GetWindow(HWND* window) { return WindowFor(m_control, window); }

// The control has no keys of its own; the container may have some.
STDMETHODIMP InPlaceActiveObject::TranslateAccelerator(LPMSG message)
{
    if (!message) return E_POINTER;
    return m_control.Guard([=, this]() -> HRESULT {
        const auto site = QueryForeign<IOleControlSite>(m_control.ClientSite().Get());
        if (!site) return S_FALSE;
        const HRESULT answer = CallForeign([&] { return site->TranslateAccelerator(message, 0); });
        return answer == S_OK ? S_OK : S_FALSE;
    });
}

}  // namespace kzr
