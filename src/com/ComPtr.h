// Counted pointers: `ComPtr` to objects of ours and of the platform, `ForeignPtr` to objects of the backend
// and of hosts, whose own code runs on Release and may fault there.
#pragma once

#include <windows.h>
#include <unknwn.h>

#include <utility>

namespace kzr {

struct DirectCounting {
    template <class T>
    static void AddRef(T* object) noexcept
    {
        object->AddRef();
    }
    template <class T>
    static void Release(T* object) noexcept
    {
        object->Release();
    }
};

// A fault in the other module's counting costs that one call; destructors must not throw.
void AddRefForeign(IUnknown* object) noexcept;
void ReleaseForeign(IUnknown* object) noexcept;

struct GuardedCounting {
    static void AddRef(IUnknown* object) noexcept { AddRefForeign(object); }
    static void Release(IUnknown* object) noexcept { ReleaseForeign(object); }
};

template <class T, class Counting>
class CountedPtr {
  public:
    CountedPtr() noexcept = default;
    CountedPtr(std::nullptr_t) noexcept {}
    // Takes a reference of its own.
    explicit CountedPtr(T* object) noexcept : m_object(object)
    {
        if (m_object) Counting::AddRef(m_object);
    }
    CountedPtr(const CountedPtr& other) noexcept : CountedPtr(other.m_object) {}
    CountedPtr(CountedPtr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    CountedPtr& operator=(CountedPtr other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~CountedPtr() { Reset(); }

    // Takes over a reference that the caller owns.
    static CountedPtr Adopt(T* object) noexcept
    {
        CountedPtr taken;
        taken.m_object = object;
        return taken;
    }

    void Reset() noexcept
    {
        if (T* object = std::exchange(m_object, nullptr)) Counting::Release(object);
    }
    T* Detach() noexcept { return std::exchange(m_object, nullptr); }
    T* Get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }

    // For out-parameters: emptied first.
    T** put() noexcept
    {
        Reset();
        return &m_object;
    }
    void** putVoid() noexcept { return reinterpret_cast<void**>(put()); }

  private:
    T* m_object = nullptr;
};

template <class T>
using ComPtr = CountedPtr<T, DirectCounting>;
template <class T>
using ForeignPtr = CountedPtr<T, GuardedCounting>;

}  // namespace kzr
