// Arguments of a backend call, written in the backend's own order and kept in the reversed one that
// automation wants.
#pragma once

#include <array>
#include <string>

#include "com/Variant.h"

namespace kzr {

// A value as the caller holds it: one of the kinds that the backend is given. Nothing is copied before the
// call is made, and the making is one function for all calls.
class Argument {
  public:
    // A null text stays null.
    Argument(const wchar_t* text) noexcept : m_kind(VT_BSTR), m_text(text) {}
    Argument(const std::wstring& text) noexcept : Argument(text.c_str()) {}
    Argument(short value) noexcept : m_kind(VT_I2), m_number(value) {}
    Argument(long value) noexcept : m_kind(VT_I4), m_number(value) {}
    // An earlier result as it stands, whatever its type.
    Argument(const Variant& result) noexcept : m_kind(VT_VARIANT), m_result(&result) {}
    Argument(int value) = delete;  // 16 or 32 bits: the caller must say
    Argument(bool value) = delete;

    // A value of its own, for an empty `to`. Throws ComError, and the faults of a caller's memory.
    void CopyTo(VARIANT* to) const;

  private:
    VARTYPE m_kind;
    union {
        const wchar_t* m_text;
        long m_number;
        const Variant* m_result;
    };
};

class Arguments {
  public:
    static constexpr unsigned kMost = 6;

    Arguments(const Argument* values, unsigned count);

    VARIANT* data() noexcept { return m_count == 0 ? nullptr : m_reversed[0].raw(); }
    unsigned size() const noexcept { return m_count; }

  private:
    // One array element is one VARIANT, so the array is what DISPPARAMS wants.
    static_assert(sizeof(Variant) == sizeof(VARIANT));
    std::array<Variant, kMost> m_reversed;
    unsigned m_count;
};

}  // namespace kzr
