// A lock without construction and destruction, for what a module keeps while it is loaded.
#pragma once

#include <windows.h>

#include <mutex>

namespace kzr::softkey {

// Not re-entrant, and none is held while a client's code runs, the counting of its references included.
class Mutex {
  public:
    constexpr Mutex() noexcept = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() noexcept { AcquireSRWLockExclusive(&m_lock); }
    void unlock() noexcept { ReleaseSRWLockExclusive(&m_lock); }

  private:
    SRWLOCK m_lock = SRWLOCK_INIT;
};

using Hold = std::lock_guard<Mutex>;

}  // namespace kzr::softkey
