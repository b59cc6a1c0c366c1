#include "frame/ScriptableObject.h"

#include "com/Interfaces.h"
#include "frame/UserListRefresh.h"

namespace kzr {
namespace {

// Safe for untrusted callers and for untrusted data, on every interface.
constexpr DWORD kSafety = INTERFACESAFE_FOR_UNTRUSTED_CALLER | INTERFACESAFE_FOR_UNTRUSTED_DATA;

// While an object goes, references taken and given back by what it calls must not end it a second time.
constexpr ULONG kReferencesWhileGoing = 0x40000000;

}  // namespace

ScriptableBase::ScriptableBase(const ClassFacts& facts, IUnknown* outer) noexcept
    : m_facts(facts), m_outer(outer ? outer : &m_inner), m_safety(kSafety)
{}

ScriptableBase::~ScriptableBase()
{
    // Still held only when construction failed half-way.
    GiveBackendBack();
}

HRESULT ScriptableBase::FinalConstruct()
{
    const char* const kLogSource = m_facts.logSource;
    KZR_TRACE("%s::FinalConstruct starting...", m_facts.className);
    m_cache = CCacheManager::Instance();
    if (!m_cache) {
        KZR_ERROR(0, "%s::FinalConstruct CCacheManager::Instance error!!!", m_facts.className);
        return E_FAIL;
    }
    m_backend = CAxKzrApp::Instance();
    if (!m_backend) {
        KZR_ERROR(0, "%s::FinalConstruct CAxKzrApp::Instance error!!!", m_facts.className);
        return E_FAIL;
    }
    bool refreshed = false;  // a failed call or an empty list leaves the cache as it was
    RefreshUserList(m_backend.get(), m_cache, refreshed);
    KZR_TRACE("%s::FinalConstruct ending ok...", m_facts.className);
    m_constructed = true;
    return S_OK;
}

void ScriptableBase::FinalRelease() noexcept
{
    const char* const kLogSource = m_facts.logSource;
    KZR_TRACE("%s::FinalRelease starting...", m_facts.className);
    GiveBackendBack();
    KZR_TRACE("%s::FinalRelease ending ok...", m_facts.className);
}

void ScriptableBase::GiveBackendBack() noexcept
{
    if (!m_backend) return;
    CAxKzrApp::Release();
    m_backend.reset();
}

STDMETHODIMP ScriptableBase::Inner::QueryInterface(REFIID iid, void** object)
{
    const InterfaceEntry entries[] = {{&IID_IUnknown, this},
                                      {&IID_IDispatch, m_object.Dual()},
                                      {&m_object.m_facts.iid, m_object.Dual()},
                                      {&IID_IObjectSafety, &m_object}};
    return AnswerInterface(entries, iid, object);
}

STDMETHODIMP_(ULONG) ScriptableBase::Inner::AddRef()
{
    return m_object.m_references.fetch_add(1, std::memory_order_relaxed) + 1;
}

STDMETHODIMP_(ULONG) ScriptableBase::Inner::Release()
{
    const ULONG left = m_object.m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left != 0) return left;
    m_object.m_references.store(kReferencesWhileGoing, std::memory_order_relaxed);
    if (m_object.m_constructed) m_object.FinalRelease();
    delete &m_object;
    return 0;
}

STDMETHODIMP ScriptableBase::GetInterfaceSafetyOptions(REFIID iid, DWORD* supported, DWORD* enabled)
{
    if (!supported || !enabled) return E_POINTER;
    *supported = 0;
    *enabled = 0;
    ComPtr<IUnknown> found;
    const HRESULT result = m_inner.QueryInterface(iid, found.putVoid());
    if (FAILED(result)) return result;
    *supported = kSafety;
    *enabled = m_safety.load(std::memory_order_relaxed);
    return S_OK;
}

STDMETHODIMP ScriptableBase::SetInterfaceSafetyOptions(REFIID iid, DWORD mask, DWORD options)
{
    ComPtr<IUnknown> found;
    const HRESULT result = m_inner.QueryInterface(iid, found.putVoid());
    if (FAILED(result)) return result;
    if ((mask & ~kSafety) != 0) return E_FAIL;
    const DWORD now = m_safety.load(std::memory_order_relaxed);
    m_safety.store((now & ~mask) | (options & mask), std::memory_order_relaxed);
    return S_OK;
}

HRESULT ScriptableBase::RunScripted(DISPID id, void* retVal, Thunk empty, Thunk body, void* context) noexcept
{
    const ComPtr<IUnknown> alive(&m_inner);
    bool begun = false;
    const bool finished = Guarded([&] {
        begun = true;
        if (retVal) empty(retVal);
        body(context);
    });
    if (finished) return S_OK;
    // Turned away for want of stack: the caller still gets an empty answer, never what lay there before.
    if (!begun && retVal) empty(retVal);
    LogFatalError(id);
    return S_OK;
}

HRESULT ScriptableBase::NamesToIds(LPOLESTR* names, UINT count, LCID locale, DISPID* ids) noexcept
{
    return GuardedResult([&] { return m_facts.typeInfo.GetIDsOfNames(names, count, locale, ids); });
}

HRESULT ScriptableBase::TypeInfoAt(UINT index, LCID locale, ITypeInfo** info) noexcept
{
    if (!info) return E_POINTER;
    *info = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    return GuardedResult([&] {
        ComPtr<ITypeInfo> found;
        const HRESULT result = m_facts.typeInfo.Get(locale, found);
        *info = found.Detach();
        return result;
    });
}

HRESULT ScriptableBase::GuardedInvoke(DISPID id, LCID locale, WORD flags, DISPPARAMS* parameters,
                                      VARIANT* result, EXCEPINFO* exception, UINT* argumentError) noexcept
{
    const ComPtr<IUnknown> alive(&m_inner);
    HRESULT answer = S_OK;
    const bool finished = Guarded([&] {
        ComPtr<ITypeInfo> info;
        answer = m_facts.typeInfo.Get(locale, info);
        if (FAILED(answer)) return;
        if (parameters && !HasItsArrays(*parameters)) {
            answer = E_INVALIDARG;
            return;
        }
        answer = info->Invoke(Dual(), id, flags, parameters, result, exception, argumentError);
    });
    if (finished) return answer;
    // The script sees a successful call, whatever happened inside.
    LogFatalError(id);
    return S_OK;
}

HRESULT CreateWith(ScriptableMaker make, IUnknown* outer, REFIID iid, void** object) noexcept
{
    return GuardedResult([&]() -> HRESULT {
        if (!object) return E_POINTER;
        *object = nullptr;
        // An aggregating owner must first take the identity that it will hold.
        if (outer && !IsEqualIID(iid, IID_IUnknown)) return CLASS_E_NOAGGREGATION;
        ScriptableBase* const made = make(outer);
        // Born with one reference, which this pointer gives back.
        const auto inner = ComPtr<IUnknown>::Adopt(made->InnerUnknown());
        const HRESULT constructed = made->FinalConstruct();
        return FAILED(constructed) ? constructed : inner->QueryInterface(iid, object);
    });
}

}  // namespace kzr
