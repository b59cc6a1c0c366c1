#include "control/ClassInfo.h"

#include "KzrSecX_h.h"
#include "control/USBKeyPnPActiveXCtrl.h"
#include "frame/TypeInfo.h"
#include "resources/Identifiers.h"

namespace kzr {
namespace {

// Read once per process, like the interfaces' type information.
constinit TypeInfo g_classInfo(CLSID_USBKeyPnPActiveX);

}  // namespace

void ProvideClassInfo::Forget() noexcept { g_classInfo.Forget(); }

STDMETHODIMP ProvideClassInfo::GetClassInfo(ITypeInfo** info)
{
    if (!info) return E_POINTER;
    *info = nullptr;
    return m_control.Guard([=, this] {
        ComPtr<ITypeInfo> found;
        const HRESULT result = g_classInfo.Get(LOCALE_USER_DEFAULT, found);
        *info = found.Detach();
        return result;
    });
}

STDMETHODIMP ProvideClassInfo::GetGUID(DWORD kind, GUID* guid)
{
    if (!guid) return E_POINTER;
    *guid = GUID_NULL;
    if (kind != GUIDKIND_DEFAULT_SOURCE_DISP_IID) return E_INVALIDARG;
    *guid = DIID__DUSBKeyPnPActiveXEvents;
    return S_OK;
}

STDMETHODIMP SpecifyPropertyPages::GetPages(CAUUID* pages)
{
    if (!pages) return E_POINTER;
    *pages = {};
    pages->pElems = static_cast<GUID*>(CoTaskMemAlloc(sizeof(GUID)));
    if (!pages->pElems) return E_OUTOFMEMORY;
    pages->pElems[0] = kPropPageClsid;
    pages->cElems = 1;
    return S_OK;
}

}  // namespace kzr
