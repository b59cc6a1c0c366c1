// The module's entries in the registry, written and removed. Both are called through the module's exports and
// need COM ready on the calling thread.
#pragma once

#include <windows.h>

namespace kzr {

// S_OK or the first failure; what stands by then stays.
HRESULT RegisterServer() noexcept;
HRESULT UnregisterServer() noexcept;

}  // namespace kzr
