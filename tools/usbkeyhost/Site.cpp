#include "Site.h"

namespace usbkeyhost {

STDMETHODIMP Site::QueryInterface(REFIID iid, void** object)
{
    *object = nullptr;
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IOleClientSite))
        *object = static_cast<IOleClientSite*>(this);
    else if (IsEqualIID(iid, IID_IOleInPlaceSite) || IsEqualIID(iid, IID_IOleWindow))
        *object = static_cast<IOleInPlaceSite*>(this);
    else
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

RECT Site::Place() const
{
    RECT inside{};
    GetClientRect(m_window, &inside);
    return inside;
}

STDMETHODIMP Site::GetWindow(HWND* window)
{
    *window = m_window;
    return S_OK;
}

STDMETHODIMP Site::GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document, LPRECT position,
                                    LPRECT clip, LPOLEINPLACEFRAMEINFO info)
{
    AddRef();
    *frame = this;
    *document = nullptr;
    *position = Place();
    *clip = *position;
    info->fMDIApp = FALSE;
    info->hwndFrame = m_window;
    info->haccel = nullptr;
    info->cAccelEntries = 0;
    return S_OK;
}

}  // namespace usbkeyhost
