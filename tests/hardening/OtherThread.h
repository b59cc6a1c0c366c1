// A call on a thread of its own, waited for no longer than a dead-lock deserves.
#pragma once

#include <windows.h>

#include <functional>

namespace kzr::test {

constexpr DWORD kPatience = 10000;

// Runs it in the multi-threaded apartment of a new thread; false when it has not come back in time. The
// thread is left to itself then, so the process should end.
bool ComesBackOnAnotherThread(const std::function<void()>& work, DWORD milliseconds = kPatience);

}  // namespace kzr::test
