// The out-parameter of a scripted method. A null one belongs to a caller who does not want the answer.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <string_view>

#include "com/Bstr.h"

namespace kzr {

inline void Put(BSTR* retVal, Bstr text) noexcept
{
    if (!retVal) return;
    SysFreeString(*retVal);
    *retVal = text.Detach();
}
inline void Put(BSTR* retVal, std::wstring_view text) { Put(retVal, Bstr(text)); }
inline void Put(short* retVal, int value) noexcept
{
    if (retVal) *retVal = static_cast<short>(value);
}
inline void Put(long* retVal, int value) noexcept
{
    if (retVal) *retVal = value;
}

}  // namespace kzr
