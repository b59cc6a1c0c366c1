// The class object of the control.
#pragma once

#include <windows.h>
#include <unknwn.h>

namespace kzr::softkey {

// Throws ComError(E_OUTOFMEMORY).
HRESULT GetClassFactory(REFIID iid, void** object);

}  // namespace kzr::softkey
