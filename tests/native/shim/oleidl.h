#pragma once

#include <unknwn.h>

struct IMoniker;
struct IOleContainer;

struct IOleClientSite : IUnknown {
    virtual HRESULT SaveObject() = 0;
    virtual HRESULT GetMoniker(DWORD assign, DWORD which, IMoniker** moniker) = 0;
    virtual HRESULT GetContainer(IOleContainer** container) = 0;
    virtual HRESULT ShowObject() = 0;
    virtual HRESULT OnShowWindow(BOOL shown) = 0;
    virtual HRESULT RequestNewObjectLayout() = 0;

  protected:
    ~IOleClientSite() = default;
};

struct IOleObject : IUnknown {
    virtual HRESULT SetClientSite(IOleClientSite* site) = 0;

  protected:
    ~IOleObject() = default;
};

inline constexpr IID IID_IOleObject{0x112, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IOleClientSite{0x118, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
