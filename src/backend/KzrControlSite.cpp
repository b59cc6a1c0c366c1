#include "backend/KzrControlSite.h"

#include <new>

#include "com/Interfaces.h"

namespace kzr {

HRESULT CKzrControlSite::Create(CKzrControlSite** site) noexcept
{
    if (!site) return E_POINTER;
    *site = new (std::nothrow) CKzrControlSite();
    return *site ? S_OK : E_OUTOFMEMORY;
}

STDMETHODIMP CKzrControlSite::QueryInterface(REFIID iid, void** object)
{
    IOleClientSite* const site = this;
    const InterfaceEntry entries[] = {{&IID_IUnknown, site}, {&IID_IOleClientSite, site}};
    return AnswerInterface(entries, iid, object);
}

}  // namespace kzr
