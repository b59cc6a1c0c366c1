// What tests ask of the shim beyond the platform's part.
#pragma once

#include <windows.h>

namespace kzr::shim {

// Plants a bug: the lock that is made at this place from now on does nothing. -1: none.
void LeaveOutLock(int index);

long MessagesPosted();
HWND WindowOf(int number);

}  // namespace kzr::shim
