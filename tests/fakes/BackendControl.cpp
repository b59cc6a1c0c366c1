#include "fakes/BackendControl.h"

#include <olectl.h>

#include <cwchar>

namespace kzr::fake {
namespace {

constexpr IID kEvents = {0xDFDABA17, 0xD518, 0x42A6, {0x81, 0xDE, 0xC9, 0x0C, 0x8E, 0xC3, 0x2B, 0xCF}};
constexpr DWORD kCookie = 1;

std::wstring TextOf(const VARIANT& value)
{
    switch (value.vt) {
        case VT_BSTR:
            return std::wstring(value.bstrVal ? value.bstrVal : L"", SysStringLen(value.bstrVal));
        case VT_I2:
            return std::to_wstring(value.iVal);
        case VT_I4:
            return std::to_wstring(value.lVal);
        case VT_BOOL:
            return value.boolVal ? L"true" : L"false";
        case VT_EMPTY:
            return {};
        default:
            return L"type " + std::to_wstring(value.vt);
    }
}

void Fault()
{
    volatile std::uintptr_t nowhere = 16;
    *reinterpret_cast<volatile int*>(nowhere) = 1;
}

}  // namespace

BackendControl::~BackendControl()
{
    if (m_sink) m_sink->Release();
    if (m_site) m_site->Release();
    InterlockedDecrement(&g_objects);
}

HRESULT BackendControl::CreationResult() const
{
    const Rule* const rule = m_rules.Find(L"CreateInstance", nullptr);
    if (!rule || rule->kind != L"hresult") return S_OK;
    return static_cast<HRESULT>(wcstoul(rule->value.c_str(), nullptr, 16));
}

STDMETHODIMP BackendControl::QueryInterface(REFIID iid, void** object)
{
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch)) {
        *object = static_cast<IDispatch*>(this);
    } else if (IsEqualIID(iid, IID_IOleObject)) {
        *object = static_cast<IOleObject*>(this);
    } else if (IsEqualIID(iid, IID_IConnectionPointContainer)) {
        *object = static_cast<IConnectionPointContainer*>(this);
    } else {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) BackendControl::AddRef()
{
    return static_cast<ULONG>(InterlockedIncrement(&m_references));
}

STDMETHODIMP_(ULONG) BackendControl::Release()
{
    const long left = InterlockedDecrement(&m_references);
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
}

STDMETHODIMP BackendControl::GetTypeInfoCount(UINT* count)
{
    *count = 0;
    return S_OK;
}

STDMETHODIMP BackendControl::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids)
{
    const Rule* const rule = count == 1 ? m_rules.Find(names[0], nullptr) : nullptr;
    if (!rule || rule->kind == L"unknown") return DISP_E_UNKNOWNNAME;
    for (const auto& [id, name] : m_names) {
        if (name != names[0]) continue;
        *ids = id;
        return S_OK;
    }
    *ids = static_cast<DISPID>(m_names.size()) + 1;
    m_names[*ids] = names[0];
    return S_OK;
}

STDMETHODIMP BackendControl::Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT* result,
                                    EXCEPINFO*, UINT*)
{
    const auto found = m_names.find(id);
    if (found == m_names.end()) return DISP_E_MEMBERNOTFOUND;
    std::vector<std::wstring> arguments;
    for (UINT i = parameters->cArgs; i-- > 0;) arguments.push_back(TextOf(parameters->rgvarg[i]));
    const Rule* const rule = m_rules.Find(found->second, &arguments);
    if (!rule) return DISP_E_MEMBERNOTFOUND;
    VARIANT ignored;
    VariantInit(&ignored);
    const HRESULT answered = Answer(*rule, found->second, arguments, result ? result : &ignored);
    VariantClear(&ignored);
    return answered;
}

HRESULT BackendControl::Answer(const Rule& rule, const std::wstring& method,
                               const std::vector<std::wstring>& arguments, VARIANT* result)
{
    if (rule.kind == L"fault") Fault();
    if (rule.kind == L"event") RaiseEvent();
    if (rule.kind == L"hresult") return static_cast<HRESULT>(wcstoul(rule.value.c_str(), nullptr, 16));
    if (rule.kind == L"i2") {
        result->vt = VT_I2;
        result->iVal = static_cast<short>(wcstol(rule.value.c_str(), nullptr, 10));
    } else if (rule.kind == L"i4") {
        result->vt = VT_I4;
        result->lVal = wcstol(rule.value.c_str(), nullptr, 10);
    } else if (rule.kind == L"bool") {
        result->vt = VT_BOOL;
        result->boolVal = rule.value == L"true" ? VARIANT_TRUE : VARIANT_FALSE;
    } else if (rule.kind == L"text") {
        const std::wstring text = rule.value == L"{call}" ? method + L"(" + Joined(arguments) + L")"
                                                          : Rendered(rule.value, arguments);
        result->vt = VT_BSTR;
        result->bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    }
    return S_OK;
}

void BackendControl::RaiseEvent()
{
    DISPPARAMS none{};
    if (m_sink)
        m_sink->Invoke(1, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr);
}

STDMETHODIMP BackendControl::SetClientSite(IOleClientSite* site)
{
    if (site) site->AddRef();
    if (m_site) m_site->Release();
    m_site = site;
    return S_OK;
}

STDMETHODIMP BackendControl::FindConnectionPoint(REFIID iid, IConnectionPoint** point)
{
    *point = nullptr;
    if (!IsEqualIID(iid, kEvents)) return CONNECT_E_NOCONNECTION;
    *point = this;
    AddRef();
    return S_OK;
}

STDMETHODIMP BackendControl::Advise(IUnknown* sink, DWORD* cookie)
{
    if (m_sink) return CONNECT_E_ADVISELIMIT;
    *cookie = kCookie;
    return sink->QueryInterface(kEvents, reinterpret_cast<void**>(&m_sink));
}

STDMETHODIMP BackendControl::Unadvise(DWORD cookie)
{
    if (cookie != kCookie || !m_sink) return CONNECT_E_NOCONNECTION;
    m_sink->Release();
    m_sink = nullptr;
    return S_OK;
}

}  // namespace kzr::fake
