// The count of the two objects that are handed to the backend, which may let go of them too early or too
// late.
#pragma once

#include <windows.h>

#include <atomic>

#include "com/ModuleCount.h"

namespace kzr {

// Alive while its maker owns it or somebody outside holds a reference. A reference too many given back by the
// outside is ignored instead of freeing what the maker still uses.
class CountedHost {
  public:
    CountedHost() noexcept = default;
    CountedHost(const CountedHost&) = delete;
    CountedHost& operator=(const CountedHost&) = delete;

    // The maker's part of the life; ends it unless the outside still holds references.
    void ReleaseOwner() noexcept
    {
        if (m_state.fetch_sub(kOwner, std::memory_order_acq_rel) == kOwner) delete this;
    }

  protected:
    virtual ~CountedHost() = default;

    ULONG AddOutside() noexcept { return (m_state.fetch_add(1, std::memory_order_relaxed) & ~kOwner) + 1; }

    ULONG ReleaseOutside() noexcept
    {
        ULONG state = m_state.load(std::memory_order_relaxed);
        do {
            if ((state & ~kOwner) == 0) return 0;
        } while (!m_state.compare_exchange_weak(state, state - 1, std::memory_order_acq_rel));
        if (state - 1 == 0) delete this;
        return (state - 1) & ~kOwner;
    }

  private:
    static constexpr ULONG kOwner = 0x80000000u;
    std::atomic<ULONG> m_state{kOwner};
    ModuleReference m_module;
};

// Owns such an object on its maker's behalf.
template <class T>
class HostOwner {
  public:
    HostOwner() noexcept = default;
    explicit HostOwner(T* made) noexcept : m_object(made) {}
    HostOwner(const HostOwner&) = delete;
    HostOwner& operator=(const HostOwner&) = delete;
    ~HostOwner() { Reset(nullptr); }

    void Reset(T* made) noexcept
    {
        if (m_object) m_object->ReleaseOwner();
        m_object = made;
    }
    T* Get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }

  private:
    T* m_object = nullptr;
};

}  // namespace kzr
