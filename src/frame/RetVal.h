// The out-parameter of a scripted method. A null one belongs to a caller who does not want the answer.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <string>
#include <string_view>

#include "com/Bstr.h"

namespace kzr {

void Put(BSTR* retVal, Bstr text) noexcept;
void Put(BSTR* retVal, std::wstring_view text);
inline void Put(BSTR* retVal, const std::wstring& text) { Put(retVal, std::wstring_view(text)); }
void Put(BSTR* retVal, const wchar_t* text);
inline void Put(short* retVal, int value) noexcept
{
    if (retVal) *retVal = static_cast<short>(value);
}
inline void Put(long* retVal, int value) noexcept
{
    if (retVal) *retVal = value;
}

}  // namespace kzr
