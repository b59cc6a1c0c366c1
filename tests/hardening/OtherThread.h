// Threads that leave no handle behind, so that handles can be counted around them: joining a std::thread
// makes an event for good when the thread is met at its very end. And a call on one of them, waited for no
// longer than a dead-lock deserves.
#pragma once

#include <windows.h>

#include <objbase.h>

#include <functional>

namespace kzr::test {

constexpr DWORD kPatience = 10000;

class Thread {
  public:
    explicit Thread(const std::function<void()>& work);
    // Waits for nobody: a thread that is not waited for is left to itself, with its copy of the work.
    ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    // False when it has not ended in time, or never began.
    bool Wait(DWORD milliseconds = INFINITE) const;

  private:
    const HANDLE m_thread;
};

// Runs it in an apartment of a new thread; false when it has not come back in time. The process should end
// then.
bool ComesBackOnAnotherThread(const std::function<void()>& work, DWORD milliseconds = kPatience,
                              COINIT apartment = COINIT_MULTITHREADED);

}  // namespace kzr::test
