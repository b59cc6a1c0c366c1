// A VARIANT that initialises and clears itself.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <utility>

namespace kzr {

class Variant {
  public:
    Variant() noexcept = default;
    Variant(Variant&& other) noexcept : m_value(std::exchange(other.m_value, VARIANT{})) {}
    Variant& operator=(Variant other) noexcept
    {
        std::swap(m_value, other.m_value);
        return *this;
    }
    Variant(const Variant&) = delete;
    ~Variant() { Clear(); }

    static Variant OfText(BSTR owned) noexcept
    {
        Variant made;
        made.m_value.vt = VT_BSTR;
        made.m_value.bstrVal = owned;
        return made;
    }
    static Variant OfShort(short value) noexcept
    {
        Variant made;
        made.m_value.vt = VT_I2;
        made.m_value.iVal = value;
        return made;
    }
    static Variant OfLong(long value) noexcept
    {
        Variant made;
        made.m_value.vt = VT_I4;
        made.m_value.lVal = value;
        return made;
    }

    // Frees what is held. A value that another module made may fault in there; that costs the value, no more.
    void Clear() noexcept;

    // The value itself, for arrays that travel as they stand.
    VARIANT* raw() noexcept { return &m_value; }

    VARTYPE Type() const noexcept { return m_value.vt; }
    const VARIANT& Get() const noexcept { return m_value; }
    VARIANT* put() noexcept
    {
        Clear();
        return &m_value;
    }

    // The text when this is a VT_BSTR, else null: nothing else is ever read as a pointer.
    BSTR Text() const noexcept { return m_value.vt == VT_BSTR ? m_value.bstrVal : nullptr; }
    // Its length stands in memory that the backend made, so asking for it may fault, and that must be
    // catchable.
    bool HasText() const { return SysStringLen(Text()) != 0; }
    // The low 16 or 32 bits as they stand, whatever the type says.
    short Bits16() const noexcept { return m_value.iVal; }
    long Bits32() const noexcept { return m_value.lVal; }

  private:
    // Zero in every byte whenever it is empty, which VariantInit and VariantClear of older systems do not see
    // to: a result that the backend leaves alone is read by its bits.
    VARIANT m_value{};
};

}  // namespace kzr
