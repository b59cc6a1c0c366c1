// The class object of every class in the table.
#pragma once

#include <windows.h>

namespace kzr {

// Hands out a class object for `clsid`. CLASS_E_CLASSNOTAVAILABLE for a class that is none of ours.
HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object) noexcept;

}  // namespace kzr
