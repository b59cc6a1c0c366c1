#include "NullBackend.h"

#include <cwchar>

#include "cache/UserTable.h"
#include "support/ScriptedBackend.h"

namespace kzr::bench {
namespace {

constexpr DISPID kOther = 1;
constexpr DISPID kUserList = 2;
constexpr DISPID kDeviceInfo = 3;

// As in the rebuild that needs no backend (Table.cpp): too short for memory of their own.
const wchar_t* Description(short infoType)
{
    return infoType == DeviceInfo::kCspName ? L"CSP" : infoType == DeviceInfo::kExtLibName ? L"LIB" : L"HARD";
}

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
    *ids = std::wcscmp(*names, L"SOF_GetUserList") == 0 ? kUserList
           : std::wcscmp(*names, L"GetDeviceInfo") == 0 ? kDeviceInfo
                                                        : kOther;
    return S_OK;
}

STDMETHODIMP NullBackend::Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT* result,
                                 EXCEPINFO*, UINT*)
{
    if (!result) return S_OK;
    result->vt = VT_BSTR;
    if (id == kUserList) {
        result->bstrVal = SysAllocStringLen(m_userList.data(), static_cast<UINT>(m_userList.size()));
    } else if (id == kDeviceInfo) {
        const short infoType = parameters->rgvarg[0].iVal;
        result->bstrVal = SysAllocString(Description(infoType));
        if (infoType == DeviceInfo::kDeviceType && ++m_entries % m_every == 0 && m_stretches)
            m_stretches->Mark();
    } else {
        result->bstrVal = SysAllocString(L"an answer of thirty-two units..");
    }
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
