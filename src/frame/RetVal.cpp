#include "frame/RetVal.h"

namespace kzr {

void Put(BSTR* retVal, Bstr text) noexcept
{
    if (!retVal) return;
    SysFreeString(*retVal);
    *retVal = text.Detach();
}

void Put(BSTR* retVal, std::wstring_view text) { Put(retVal, Bstr(text)); }

void Put(BSTR* retVal, const wchar_t* text) { Put(retVal, std::wstring_view(text)); }

}  // namespace kzr
