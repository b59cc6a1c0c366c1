#pragma once

#include <unknwn.h>

struct IConnectionPoint : IUnknown {
    virtual HRESULT Advise(IUnknown* sink, DWORD* cookie) = 0;
    virtual HRESULT Unadvise(DWORD cookie) = 0;

  protected:
    ~IConnectionPoint() = default;
};

struct IConnectionPointContainer : IUnknown {
    virtual HRESULT FindConnectionPoint(REFIID iid, IConnectionPoint** point) = 0;

  protected:
    ~IConnectionPointContainer() = default;
};

inline constexpr IID IID_IConnectionPointContainer{
    0xB196B284, 0xBAB4, 0x101A, {0xB6, 0x9C, 0, 0xAA, 0, 0x34, 0x1D, 0x07}};
inline constexpr DWORD CLSCTX_ALL = 0x17;
HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** object);
