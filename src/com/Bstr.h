// Automation strings: an owner, and the two ways to look at one that somebody else owns.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "com/Error.h"
#include "fault/Frames.h"

namespace kzr {

class Bstr {
  public:
    Bstr() noexcept = default;
    // A copy up to the first null character; a null text stays null. Throws ComError(E_OUTOFMEMORY).
    explicit Bstr(const wchar_t* text) : m_text(SysAllocString(text))
    {
        if (text && !m_text) Fail(E_OUTOFMEMORY);
    }
    explicit Bstr(std::wstring_view text)
        : m_text(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())))
    {
        if (!m_text) Fail(E_OUTOFMEMORY);
    }
    Bstr(Bstr&& other) noexcept : m_text(std::exchange(other.m_text, nullptr)) {}
    Bstr& operator=(Bstr other) noexcept
    {
        std::swap(m_text, other.m_text);
        return *this;
    }
    Bstr(const Bstr&) = delete;
    ~Bstr() { SysFreeString(m_text); }

    // An exact copy, byte length included; a null text gives an empty string. Throws ComError(E_OUTOFMEMORY).
    static Bstr CopyOf(BSTR text)
    {
        Bstr copy;
        copy.m_text = SysAllocStringByteLen(reinterpret_cast<const char*>(text), SysStringByteLen(text));
        if (!copy.m_text) Fail(E_OUTOFMEMORY);
        return copy;
    }
    static Bstr Adopt(BSTR text) noexcept
    {
        Bstr taken;
        taken.m_text = text;
        return taken;
    }

    BSTR Get() const noexcept { return m_text; }
    BSTR Detach() noexcept { return std::exchange(m_text, nullptr); }
    BSTR* put() noexcept
    {
        SysFreeString(std::exchange(m_text, nullptr));
        return &m_text;
    }

  private:
    BSTR m_text = nullptr;
};

// The whole text of somebody's string by its own length, embedded nulls included; null gives "". The memory
// is the caller's and may be anything: it is copied where a fault is caught, since the library's own copying
// is declared never to throw and a fault in it would end the process.
inline std::wstring WideText(BSTR text)
{
    std::wstring copy;
    const std::size_t length = SysStringLen(text);
    if (length == 0) return copy;
    copy.resize(length);
    wchar_t* const to = copy.data();
    CallForeign([&] { return std::memcpy(to, text, length * sizeof(wchar_t)); });
    return copy;
}

}  // namespace kzr
