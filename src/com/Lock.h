// The component's two process-wide locks and the guards that are the only way to hold them.
//
// Lock order: the cache lock, then the backend lock. One case cannot keep it: a backend call pumps messages,
// and what it lets in on the same thread wants the cache while the backend lock is held. So nobody ever waits
// for the backend lock with the cache lock in hand: whoever needs both takes them with
// `LockCacheThenBackend`, which backs off. Debug builds check that.
#pragma once

#include <windows.h>

#include <utility>

namespace kzr {

class Lock;

// Holds a lock until the end of its scope, also when an exception passes.
class [[nodiscard]] LockGuard {
  public:
    LockGuard(LockGuard&& other) noexcept : m_lock(std::exchange(other.m_lock, nullptr)) {}
    LockGuard& operator=(LockGuard&&) = delete;
    ~LockGuard();

  private:
    friend class Lock;
    explicit LockGuard(Lock* lock) noexcept : m_lock(lock) {}
    Lock* m_lock;
};

// A re-entrant critical section that is made and deleted by the module, not by its constructor.
class Lock {
  public:
    void Create() noexcept;
    void Delete() noexcept;

    [[nodiscard]] LockGuard lock() noexcept;
    bool IsMine() const noexcept;

    // How often the calling thread holds the lock; 0 when another thread or nobody does.
    int MyDepth() const noexcept;
    // Gives back what the calling thread took beyond `depth`, for the one way out that runs no destructors.
    void LeaveDownTo(int depth) noexcept;

  private:
    friend class LockGuard;
    friend class LockBothGuard;
    void Enter() noexcept;
    bool TryEnter() noexcept;
    void Leave() noexcept;

    CRITICAL_SECTION m_section{};
    int m_depth = 0;  // written only by the holder
};

// The process-wide locks.
Lock& BackendLock() noexcept;
Lock& CacheLock() noexcept;

// How deep the calling thread holds the two locks, for places where frames of ours may be left without their
// destructors: a backend that called back into us and then faults takes them along.
struct LocksHeld {
    int cache = CacheLock().MyDepth();
    int backend = BackendLock().MyDepth();

    void GiveBackTheRest() const noexcept
    {
        BackendLock().LeaveDownTo(backend);
        CacheLock().LeaveDownTo(cache);
    }
};

// Both locks, held together.
class [[nodiscard]] LockBothGuard {
  public:
    LockBothGuard(const LockBothGuard&) = delete;
    LockBothGuard& operator=(const LockBothGuard&) = delete;
    ~LockBothGuard();

  private:
    friend LockBothGuard LockCacheThenBackend() noexcept;
    LockBothGuard() noexcept;
};

// Takes the cache lock and the backend lock without ever waiting for the second with the first in hand.
[[nodiscard]] LockBothGuard LockCacheThenBackend() noexcept;

}  // namespace kzr
