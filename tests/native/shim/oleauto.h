// Automation's strings and values, as far as the backend's door uses them.
#pragma once

#include <windows.h>

enum : VARTYPE {
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_BSTR = 8,
    VT_BOOL = 11,
    VT_VARIANT = 12
};

struct VARIANT {
    VARTYPE vt;
    union {
        long long bits;
        short iVal;
        long lVal;
        short boolVal;
        BSTR bstrVal;
    };
};

BSTR SysAllocString(const wchar_t* text);
BSTR SysAllocStringLen(const wchar_t* text, UINT length);
BSTR SysAllocStringByteLen(const char* bytes, UINT count);
void SysFreeString(BSTR text);
UINT SysStringLen(BSTR text);
UINT SysStringByteLen(BSTR text);
HRESULT VariantClear(VARIANT* value);
HRESULT VariantCopy(VARIANT* to, VARIANT* from);
// Only from a text to a text: nothing else travels in these tests.
HRESULT VariantChangeType(VARIANT* to, VARIANT* from, WORD flags, VARTYPE type);
