#include "control/AggregatableObject.h"

namespace kzr {

namespace {

// While an object goes, references taken and given back by what it calls must not end it a second time.
constexpr ULONG kReferencesWhileGoing = 0x40000000;

}  // namespace

HRESULT AggregatableObject::RunGuard(ResultThunk thunk, void* context) noexcept
{
    const ComPtr<IUnknown> alive(&m_inner);
    return RunGuardedResult(thunk, context);
}

STDMETHODIMP AggregatableObject::Inner::QueryInterface(REFIID iid, void** object)
{
    if (!object) return E_POINTER;
    *object = nullptr;
    if (!IsEqualIID(iid, IID_IUnknown)) return m_object.FindInterface(iid, object);
    AddRef();
    *object = this;
    return S_OK;
}

STDMETHODIMP_(ULONG) AggregatableObject::Inner::AddRef()
{
    return m_object.m_references.fetch_add(1, std::memory_order_relaxed) + 1;
}

STDMETHODIMP_(ULONG) AggregatableObject::Inner::Release()
{
    const ULONG left = m_object.m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left != 0) return left;
    m_object.m_references.store(kReferencesWhileGoing, std::memory_order_relaxed);
    delete &m_object;
    return 0;
}

}  // namespace kzr
