// From a backend result to the text that a script receives, or that the component itself reads.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <string>

#include "com/Bstr.h"
#include "com/Error.h"
#include "com/Variant.h"
#include "fault/Frames.h"

namespace kzr {

// Hands a text result to a script as an exact copy, byte length included.
// E_POINTER for a null `retVal`, E_OUTOFMEMORY when the copy cannot be made; a result of another type gives
// DISP_E_TYPEMISMATCH and leaves `retVal` alone.
inline HRESULT ResultToRetVal(const Variant& result, BSTR* retVal)
{
    if (!retVal) return E_POINTER;
    if (result.Type() != VT_BSTR) return DISP_E_TYPEMISMATCH;
    const BSTR text = result.Text();
    *retVal = SysAllocStringByteLen(reinterpret_cast<const char*>(text), SysStringByteLen(text));
    return *retVal ? S_OK : E_OUTOFMEMORY;
}

// Converts a result of any type by automation's change of type, which refuses VT_NULL.
// Throws ComError with the conversion's HRESULT.
inline std::wstring ChangedToText(const Variant& result)
{
    Variant text;
    const HRESULT changed = CallForeign(
        [&] { return VariantChangeType(text.put(), const_cast<VARIANT*>(&result.Get()), 0, VT_BSTR); });
    if (FAILED(changed)) Fail(changed);
    return WideText(text.Text());
}

// The same where a missing result is an empty text.
inline std::wstring ResultToText(const Variant& result)
{
    if (result.Type() == VT_EMPTY || result.Type() == VT_NULL) return {};
    return ChangedToText(result);
}

}  // namespace kzr
