#include "frame/ClassFactory.h"

#include <atomic>
#include <new>

#include "com/ComPtr.h"
#include "com/Interfaces.h"
#include "com/ModuleCount.h"
#include "frame/ClassTable.h"
#include "frame/FaultGuard.h"

namespace kzr {
namespace {

// Locks that clients asked for. One given back too often must not take away what keeps a live object's code
// loaded.
std::atomic<long> g_serverLocks{0};

void AddServerLock() noexcept
{
    LockModule();
    g_serverLocks.fetch_add(1, std::memory_order_acq_rel);
}

void GiveServerLockBack() noexcept
{
    long locks = g_serverLocks.load(std::memory_order_acquire);
    do {
        if (locks == 0) return;
    } while (!g_serverLocks.compare_exchange_weak(locks, locks - 1, std::memory_order_acq_rel));
    UnlockModule();
}

class ClassFactory final : public IClassFactory {
  public:
    explicit ClassFactory(const ClassEntry& entry) noexcept : m_entry(entry) {}

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
        return GuardedResult([&] { return m_entry.create(outer, iid, object); });
    }
    STDMETHODIMP LockServer(BOOL lock) override
    {
        if (lock)
            AddServerLock();
        else
            GiveServerLockBack();
        return S_OK;
    }

  private:
    ~ClassFactory() = default;

    const ClassEntry& m_entry;
    std::atomic<ULONG> m_references{1};
    ModuleReference m_module;
};

}  // namespace

HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object) noexcept
{
    if (!object) return E_POINTER;
    *object = nullptr;
    return GuardedResult([&]() -> HRESULT {
        const ClassEntry* const entry = FindClass(clsid);
        if (!entry) return CLASS_E_CLASSNOTAVAILABLE;
        const auto factory = ComPtr<IClassFactory>::Adopt(new (std::nothrow) ClassFactory(*entry));
        return factory ? factory->QueryInterface(iid, object) : E_OUTOFMEMORY;
    });
}

}  // namespace kzr
