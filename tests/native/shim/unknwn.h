#pragma once

#include <windows.h>

struct IUnknown {
    virtual HRESULT QueryInterface(REFIID iid, void** object) = 0;
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;

  protected:
    ~IUnknown() = default;
};

inline constexpr IID IID_NULL{};
inline constexpr IID IID_IUnknown{0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
