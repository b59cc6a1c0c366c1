// A scriptable interface's type information, loaded once per process, with its names ready for look-up.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <atomic>

#include "com/ComPtr.h"

namespace kzr {

// A call's list that claims arguments or names and brings no array of them is turned away by this, not by a
// fault in the middle of the call.
inline bool HasItsArrays(const DISPPARAMS& parameters) noexcept
{
    return (parameters.cArgs == 0 || parameters.rgvarg) &&
           (parameters.cNamedArgs == 0 || parameters.rgdispidNamedArgs);
}

class TypeInfo {
  public:
    constexpr explicit TypeInfo(const IID& iid) noexcept : m_iid(iid) {}

    // The type information; the loader's HRESULT when it cannot be had, and then the next call tries again.
    HRESULT Get(LCID locale, ComPtr<ITypeInfo>& info);

    // As the type information answers. One name alone, the usual question, is answered from the kept names.
    HRESULT GetIDsOfNames(LPOLESTR* names, UINT count, LCID locale, DISPID* ids);

    // Lets go of what was loaded. For module shut-down only.
    void Forget() noexcept;

  private:
    struct Loaded;
    HRESULT Load(LCID locale, Loaded** loaded);

    const IID& m_iid;
    std::atomic<Loaded*> m_loaded{nullptr};
};

}  // namespace kzr
