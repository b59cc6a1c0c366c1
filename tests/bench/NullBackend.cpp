#include "NullBackend.h"

#include <cwchar>

#include "support/ScriptedBackend.h"

namespace kzr::bench {
namespace {

constexpr DISPID kUserList = 2;
constexpr DISPID kOther = 1;

}  // namespace

HRESULT NullBackend::Register()
{
    DWORD cookie = 0;
    return CoRegisterClassObject(test::kBackendClass, static_cast<IClassFactory*>(this), CLSCTX_INPROC_SERVER,
                                 REGCLS_MULTIPLEUSE, &cookie);
}

STDMETHODIMP NullBackend::QueryInterface(REFIID iid, void** object)
{
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch))
        *object = static_cast<IDispatch*>(this);
    else if (IsEqualIID(iid, IID_IClassFactory))
        *object = static_cast<IClassFactory*>(this);
    else if (IsEqualIID(iid, IID_IOleObject))
        *object = static_cast<IOleObject*>(this);
    else if (IsEqualIID(iid, IID_IConnectionPointContainer))
        *object = static_cast<IConnectionPointContainer*>(this);
    else
        return *object = nullptr, E_NOINTERFACE;
    return S_OK;
}

STDMETHODIMP NullBackend::GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids)
{
    *ids = std::wcscmp(*names, L"SOF_GetUserList") == 0 ? kUserList : kOther;
    return S_OK;
}

STDMETHODIMP NullBackend::Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result, EXCEPINFO*,
                                 UINT*)
{
    if (!result) return S_OK;
    result->vt = VT_BSTR;
    result->bstrVal = SysAllocString(id == kUserList ? userList.c_str() : L"an answer of thirty-two units..");
    return S_OK;
}

STDMETHODIMP NullBackend::FindConnectionPoint(REFIID, IConnectionPoint** point)
{
    *point = this;
    return S_OK;
}

STDMETHODIMP NullBackend::Advise(IUnknown* sink, DWORD* cookie)
{
    m_sink = sink;
    m_sink->AddRef();
    *cookie = 1;
    return S_OK;
}

STDMETHODIMP NullBackend::Unadvise(DWORD)
{
    if (m_sink) m_sink->Release();
    m_sink = nullptr;
    return S_OK;
}

}  // namespace kzr::bench
