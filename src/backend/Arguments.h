// Arguments of a backend call, written in the backend's own order and kept in the reversed one that
// automation wants.
#pragma once

#include <array>
#include <cstddef>
#include <string>

#include "com/Bstr.h"
#include "com/Variant.h"

namespace kzr {

// The three kinds of argument that the backend is given. Every text is a new copy; a null one stays null.
inline Variant MakeArgument(const wchar_t* text) { return Variant::OfText(Bstr(text).Detach()); }
inline Variant MakeArgument(const std::wstring& text) { return MakeArgument(text.c_str()); }
inline Variant MakeArgument(short value) noexcept { return Variant::OfShort(value); }
inline Variant MakeArgument(long value) noexcept { return Variant::OfLong(value); }
// An earlier result as it stands, whatever its type.
Variant MakeArgument(const Variant& result);
Variant MakeArgument(int value) = delete;  // 16 or 32 bits: the caller must say
Variant MakeArgument(bool value) = delete;

template <std::size_t Count>
class Arguments {
  public:
    template <class... Values>
    explicit Arguments(const Values&... values)
    {
        std::size_t next = Count;
        ((m_reversed[--next] = MakeArgument(values)), ...);
    }

    VARIANT* data() noexcept { return Count == 0 ? nullptr : m_reversed[0].raw(); }
    static constexpr unsigned size() noexcept { return static_cast<unsigned>(Count); }

  private:
    // One array element is one VARIANT, so the array is what DISPPARAMS wants.
    static_assert(sizeof(Variant) == sizeof(VARIANT));
    std::array<Variant, Count == 0 ? 1 : Count> m_reversed;
};

template <class... Values>
Arguments(const Values&...) -> Arguments<sizeof...(Values)>;

}  // namespace kzr
