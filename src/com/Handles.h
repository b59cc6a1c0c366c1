// Owners of the platform's handles: one template, one `using` line per kind.
#pragma once

#include <windows.h>

#include <utility>

namespace kzr {

template <class Handle, auto Close, Handle Invalid = Handle{}>
class UniqueHandle {
  public:
    UniqueHandle() noexcept = default;
    explicit UniqueHandle(Handle handle) noexcept : m_handle(handle) {}
    UniqueHandle(UniqueHandle&& other) noexcept : m_handle(other.Detach()) {}
    UniqueHandle& operator=(UniqueHandle other) noexcept
    {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    ~UniqueHandle() { Reset(); }

    explicit operator bool() const noexcept { return m_handle != Invalid; }
    Handle Get() const noexcept { return m_handle; }
    Handle Detach() noexcept { return std::exchange(m_handle, Invalid); }
    void Reset() noexcept
    {
        if (m_handle != Invalid) Close(Detach());
    }
    Handle* put() noexcept
    {
        Reset();
        return &m_handle;
    }

  private:
    Handle m_handle = Invalid;
};

using UniqueModule = UniqueHandle<HMODULE, &FreeLibrary>;
using UniqueHkey = UniqueHandle<HKEY, &RegCloseKey>;
using UniqueHwnd = UniqueHandle<HWND, &DestroyWindow>;

// A file's invalid handle is not null and no constant expression, so it has a class of its own.
class UniqueFile {
  public:
    explicit UniqueFile(HANDLE handle) noexcept : m_handle(handle) {}
    UniqueFile(const UniqueFile&) = delete;
    UniqueFile& operator=(const UniqueFile&) = delete;
    ~UniqueFile()
    {
        if (*this) CloseHandle(m_handle);
    }
    explicit operator bool() const noexcept { return m_handle != INVALID_HANDLE_VALUE; }
    HANDLE Get() const noexcept { return m_handle; }

  private:
    HANDLE m_handle;
};

}  // namespace kzr
