// Ends the process when the code that it watches does not come back: a dead-lock then costs seconds and names
// its place, instead of the whole run's time limit.
#pragma once

#include <windows.h>

#include <atomic>

namespace kzr::test {

class Watchdog {
  public:
    static constexpr unsigned kExitCode = 97;

    explicit Watchdog(DWORD milliseconds);
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    // The time begins anew; `doing` (a literal or something else that stays) and the number are printed if it
    // runs out.
    void Beat(const char* doing, long number = 0);

  private:
    static DWORD WINAPI Watch(void* watchdog);

    const DWORD m_milliseconds;
    std::atomic<const char*> m_doing{"starting"};
    std::atomic<long> m_number{0};
    std::atomic<long> m_beats{0};
    HANDLE m_end;
    HANDLE m_thread;
};

}  // namespace kzr::test
