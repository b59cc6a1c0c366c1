#include "control/QuickActivation.h"

#include "control/USBKeyPnPActiveXCtrl.h"
#include "resources/Identifiers.h"

namespace kzr {

STDMETHODIMP QuickActivation::QuickActivate(QACONTAINER* container, QACONTROL* control)
{
    if (!container || !control) return E_POINTER;
    if (container->cbSize < sizeof(QACONTAINER) || control->cbSize < sizeof(QACONTROL)) return E_UNEXPECTED;
    return m_control.Guard([=, this] {
        const ULONG size = control->cbSize;
        *control = {};
        control->cbSize = size;
        control->dwMiscStatus = kControlMiscStatus;
        control->dwViewStatus = VIEWSTATUS_OPAQUE;

        m_control.SetClientSite(ForeignPtr<IOleClientSite>(container->pClientSite));
        if (container->pAdviseSink) {
            m_control.View()->SetAdvise(DVASPECT_CONTENT, 0, container->pAdviseSink);
        }
        ConnectionPointContainer& points = *m_control.ConnectionPoints();
        // The site came first, so the window is there before the first sink.
        HRESULT result = S_OK;
        if (container->pUnkEventSink)
            result = points.Events().Advise(container->pUnkEventSink, &control->dwEventCookie);
        if (SUCCEEDED(result) && container->pPropertyNotifySink)
            result =
                points.PropertyNotify().Advise(container->pPropertyNotifySink, &control->dwPropNotifyCookie);
        return result;
    });
}

STDMETHODIMP QuickActivation::SetContentExtent(LPSIZEL size)
{
    if (!size) return E_POINTER;
    return m_control.Guard([=, this] { return m_control.SetExtent(*size) ? S_OK : E_INVALIDARG; });
}

STDMETHODIMP QuickActivation::GetContentExtent(LPSIZEL size)
{
    if (!size) return E_POINTER;
    *size = m_control.Extent();
    return S_OK;
}

}  // namespace kzr
