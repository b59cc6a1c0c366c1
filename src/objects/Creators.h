// How the class table makes the four scriptable objects, without a look at their classes.
#pragma once

#include <unknwn.h>
#include <windows.h>

namespace kzr {

HRESULT CreateCertificate(IUnknown* outer, REFIID iid, void** object);
HRESULT CreateCrypto(IUnknown* outer, REFIID iid, void** object);
HRESULT CreateDeviceMgr(IUnknown* outer, REFIID iid, void** object);
HRESULT CreateUtil(IUnknown* outer, REFIID iid, void** object);

}  // namespace kzr
