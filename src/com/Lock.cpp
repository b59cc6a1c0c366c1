#include "com/Lock.h"

#include <cassert>

namespace kzr {
namespace {

Lock g_backendLock;
Lock g_cacheLock;

}  // namespace

Lock& BackendLock() noexcept { return g_backendLock; }

Lock& CacheLock() noexcept { return g_cacheLock; }

LockGuard::~LockGuard()
{
    if (m_lock) m_lock->Leave();
}

void Lock::Create() noexcept { InitializeCriticalSection(&m_section); }

void Lock::Delete() noexcept { DeleteCriticalSection(&m_section); }

LockGuard Lock::lock() noexcept
{
    Enter();
    return LockGuard(this);
}

bool Lock::IsMine() const noexcept { return MyDepth() > 0; }

int Lock::MyDepth() const noexcept
{
    const auto owner = reinterpret_cast<ULONG_PTR>(m_section.OwningThread);
    return owner == GetCurrentThreadId() ? m_depth : 0;
}

void Lock::LeaveDownTo(int depth) noexcept
{
    while (MyDepth() > depth) Leave();
}

void Lock::Enter() noexcept
{
    // Waiting for the backend with the cache in hand is what dead-locks against a re-entrant caller.
    assert(this != &g_backendLock || IsMine() || !g_cacheLock.IsMine());
    EnterCriticalSection(&m_section);
    ++m_depth;
}

bool Lock::TryEnter() noexcept
{
    if (!TryEnterCriticalSection(&m_section)) return false;
    ++m_depth;
    return true;
}

void Lock::Leave() noexcept
{
    --m_depth;
    LeaveCriticalSection(&m_section);
}

LockBothGuard::LockBothGuard() noexcept
{
    for (;;) {
        g_cacheLock.Enter();
        if (g_backendLock.TryEnter()) return;
        g_cacheLock.Leave();

        // Wait for the backend with nothing in hand. The cache is then free but for short readings, and for
        // another rebuild that is backing off as we do.
        g_backendLock.Enter();
        if (g_cacheLock.TryEnter()) return;
        g_backendLock.Leave();
        SwitchToThread();
    }
}

LockBothGuard::~LockBothGuard()
{
    g_backendLock.Leave();
    g_cacheLock.Leave();
}

LockBothGuard LockCacheThenBackend() noexcept { return LockBothGuard(); }

}  // namespace kzr
