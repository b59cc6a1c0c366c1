// A call on a thread of its own, waited for no longer than a dead-lock deserves.
#pragma once

#include <windows.h>

#include <objbase.h>

#include <functional>

namespace kzr::test {

constexpr DWORD kPatience = 10000;

// Runs it in an apartment of a new thread; false when it has not come back in time. The thread is left to
// itself then, so the process should end. It leaves no handle behind, so that handles can be counted around
// it: joining a std::thread makes an event for good when the thread is met at its very end.
bool ComesBackOnAnotherThread(const std::function<void()>& work, DWORD milliseconds = kPatience,
                              COINIT apartment = COINIT_MULTITHREADED);

}  // namespace kzr::test
