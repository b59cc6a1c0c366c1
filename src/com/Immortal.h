// A process-wide value without a destructor: at process end other modules may be gone already, so nothing of
// ours may run then. Module shut-down empties it by hand.
#pragma once

#include <new>
#include <utility>

namespace kzr {

template <class T>
class Immortal {
  public:
    Immortal() { new (m_storage) T(); }
    Immortal(const Immortal&) = delete;
    Immortal& operator=(const Immortal&) = delete;

    T& operator*() noexcept { return *std::launder(reinterpret_cast<T*>(m_storage)); }
    T* operator->() noexcept { return &**this; }

  private:
    alignas(T) unsigned char m_storage[sizeof(T)];
};

}  // namespace kzr
