#pragma once

#include <oleauto.h>
#include <unknwn.h>

struct ITypeInfo;
struct EXCEPINFO;
struct DISPPARAMS {
    VARIANT* rgvarg;
    DISPID* rgdispidNamedArgs;
    UINT cArgs;
    UINT cNamedArgs;
};

struct IDispatch : IUnknown {
    virtual HRESULT GetTypeInfoCount(UINT* count) = 0;
    virtual HRESULT GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) = 0;
    virtual HRESULT GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) = 0;
    virtual HRESULT Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters,
                           VARIANT* result, EXCEPINFO* info, UINT* argument) = 0;

  protected:
    ~IDispatch() = default;
};

inline constexpr IID IID_IDispatch{0x20400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr LCID LOCALE_USER_DEFAULT = 0x400;
inline constexpr WORD DISPATCH_METHOD = 1;
inline constexpr DISPID DISPID_UNKNOWN = -1;
