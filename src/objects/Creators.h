// The creators of the four scriptable classes.
#pragma once

#include <windows.h>
#include <unknwn.h>

namespace kzr {

// Makes an object, aggregated when `outer` is not null, and hands out `iid`. Answers the construction's
// HRESULT.
HRESULT CreateCertificate(IUnknown* outer, REFIID iid, void** object);
HRESULT CreateCrypto(IUnknown* outer, REFIID iid, void** object);
HRESULT CreateDeviceMgr(IUnknown* outer, REFIID iid, void** object);
HRESULT CreateUtil(IUnknown* outer, REFIID iid, void** object);

// Empties what the objects keep beyond their own lives: type information and the current certificate. For
// module shut-down only.
void ForgetObjects() noexcept;

}  // namespace kzr
