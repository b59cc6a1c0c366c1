// Many threads, each in an apartment of its own with the backend's class registered there, that begin
// together.
#pragma once

#include <windows.h>

#include <atomic>
#include <functional>

#include "support/ScriptedBackend.h"

namespace kzr::test {

// What the threads call keeps its tables in statics of functions, made by whoever comes first.
static_assert(__cpp_threadsafe_static_init >= 200806L, "the DLL does without such statics; its tests do not");

// Lets a fixed number of threads go on when all have come, any number of times.
class Gathering {
  public:
    explicit Gathering(int threads) : m_threads(threads) {}
    void Wait();

  private:
    const int m_threads;
    std::atomic<int> m_come{0};
    std::atomic<int> m_round{0};
};

// A class that was registered in one apartment is not seen in another.
class RegisteredHere {
  public:
    explicit RegisteredHere(ScriptedBackend& backend);
    ~RegisteredHere();
    RegisteredHere(const RegisteredHere&) = delete;
    RegisteredHere& operator=(const RegisteredHere&) = delete;

  private:
    DWORD m_registration = 0;
};

// Runs `work` with the thread's number on each, and waits for all; answers how many could not begin.
int RunInApartments(ScriptedBackend& backend, int threads, const std::function<void(int)>& work);

}  // namespace kzr::test
