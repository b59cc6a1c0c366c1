#include "server/ClassFactory.h"

#include <atomic>
#include <new>

#include "com/Interfaces.h"
#include "com/ModuleCount.h"
#include "server/Control.h"
#include "server/FailureCodes.h"

namespace kzr::softkey {
namespace {

class ClassFactory final : public IClassFactory {
  public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        const InterfaceEntry entries[] = {{&IID_IUnknown, this}, {&IID_IClassFactory, this}};
        return AnswerInterface(entries, iid, object);
    }
    STDMETHODIMP_(ULONG) AddRef() override
    {
        return m_references.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) delete this;
        return left;
    }

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) override
    {
        if (!object) return E_POINTER;
        *object = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        return AtBoundary([&] { return Control::Create()->QueryInterface(iid, object); });
    }
    STDMETHODIMP LockServer(BOOL lock) override
    {
        if (lock)
            LockModule();
        else
            UnlockModule();
        return S_OK;
    }

  private:
    ~ClassFactory() = default;

    std::atomic<ULONG> m_references{1};
    ModuleReference m_module;
};

}  // namespace

HRESULT GetClassFactory(REFIID iid, void** object)
{
    const auto factory = ComPtr<IClassFactory>::Adopt(new (std::nothrow) ClassFactory());
    if (!factory) throw ComError(E_OUTOFMEMORY);
    return factory->QueryInterface(iid, object);
}

}  // namespace kzr::softkey
