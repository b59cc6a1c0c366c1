// The About dialog.
#pragma once

#include <windows.h>

namespace kzr {

// Shows it over the top-level window of `inside`, or over the thread's active one, until it is closed.
// Throws ComError when there is no way to show it.
void ShowAboutBox(HWND inside);

}  // namespace kzr
