// The control's life, its references, its site and what it says of itself. Its methods and its events stand
// in files of their own.
#include "server/Control.h"

#include <new>

#include "com/Error.h"
#include "com/Interfaces.h"
#include "server/FailureCodes.h"
#include "server/PlugWatch.h"

namespace kzr::softkey {

ComPtr<Control> Control::Create()
{
    auto made = ComPtr<Control>::Adopt(new (std::nothrow) Control());
    if (!made) throw ComError(E_OUTOFMEMORY);
    made->m_window = EventWindow::Create(*made.Get());
    return made;
}

Control::~Control()
{
    if (!m_window) return;
    m_window->Close();
    PlugWatch::Disconnect(*m_window);
}

STDMETHODIMP Control::QueryInterface(REFIID iid, void** object)
{
    IDispatch* const dispatch = this;
    IOleObject* const ole = this;
    IConnectionPointContainer* const points = this;
    IConnectionPoint* const point = this;
    const InterfaceEntry entries[] = {{&IID_IUnknown, dispatch},
                                      {&IID_IDispatch, dispatch},
                                      {&IID_IOleObject, ole},
                                      {&IID_IConnectionPointContainer, points},
                                      {&IID_IConnectionPoint, point}};
    return AnswerInterface(entries, iid, object);
}

STDMETHODIMP_(ULONG) Control::AddRef() { return m_references.fetch_add(1, std::memory_order_relaxed) + 1; }

STDMETHODIMP_(ULONG) Control::Release()
{
    const ULONG left = m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
}

STDMETHODIMP Control::SetClientSite(IOleClientSite* site)
{
    return AtBoundary([&]() -> HRESULT {
        Kept<IOleClientSite> given;
        if (site) given = std::make_shared<const ForeignPtr<IOleClientSite>>(site);
        // The old one is let go of after the lock: its end may come back here.
        const Hold held(m_lock);
        std::swap(m_site, given);
        return S_OK;
    });
}

STDMETHODIMP Control::GetClientSite(IOleClientSite** site)
{
    if (!site) return E_POINTER;
    Kept<IOleClientSite> kept;
    {
        const Hold held(m_lock);
        kept = m_site;
    }
    *site = kept ? ForeignPtr<IOleClientSite>(*kept).Detach() : nullptr;
    return S_OK;
}

STDMETHODIMP Control::GetUserClassID(CLSID* clsid)
{
    if (!clsid) return E_POINTER;
    *clsid = kServerClass;
    return S_OK;
}

STDMETHODIMP Control::GetMiscStatus(DWORD, DWORD* status)
{
    if (!status) return E_POINTER;
    *status = OLEMISC_INVISIBLEATRUNTIME | OLEMISC_SETCLIENTSITEFIRST;
    return S_OK;
}

}  // namespace kzr::softkey
