// What tests ask of the shim beyond the platform's part.
#pragma once

#include <windows.h>

namespace kzr::shim {

// Plants a bug: the lock that is made at this place from now on does nothing. -1: none.
void LeaveOutLock(int index);

long MessagesPosted();
HWND WindowOf(int number);
// From now on every window's handle stands for a window of this thread; at first, of thread 1.
void MoveWindowsToThread(DWORD thread);

}  // namespace kzr::shim
