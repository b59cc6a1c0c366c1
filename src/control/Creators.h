// How the class table makes the control and its property page, without a look at their classes.
#pragma once

#include <windows.h>
#include <unknwn.h>

namespace kzr {

HRESULT CreateUSBKeyPnPActiveXCtrl(IUnknown* outer, REFIID iid, void** object);
HRESULT CreateUSBKeyPnPActiveXPropPage(IUnknown* outer, REFIID iid, void** object);

// Empties what the two keep beyond their own lives: the window class and type information. For module
// shut-down only.
void ForgetControl() noexcept;

}  // namespace kzr
