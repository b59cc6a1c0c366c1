#include "Watchdog.h"

#include <cstdio>

namespace kzr::test {

Watchdog::Watchdog(DWORD milliseconds)
    : m_milliseconds(milliseconds),
      m_end(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_thread(CreateThread(nullptr, 0, Watch, this, 0, nullptr))
{}

Watchdog::~Watchdog()
{
    SetEvent(m_end);
    WaitForSingleObject(m_thread, INFINITE);
    CloseHandle(m_thread);
    CloseHandle(m_end);
}

void Watchdog::Beat(const char* doing, long number)
{
    m_doing = doing;
    m_number = number;
    ++m_beats;
}

DWORD WINAPI Watchdog::Watch(void* watchdog)
{
    auto* const self = static_cast<Watchdog*>(watchdog);
    long seen = -1;
    while (WaitForSingleObject(self->m_end, self->m_milliseconds) == WAIT_TIMEOUT) {
        const long beats = self->m_beats;
        if (beats != seen) {
            seen = beats;
            continue;
        }
        std::printf("watchdog: no return within %lu ms of: %s (%ld)\n", self->m_milliseconds,
                    self->m_doing.load(), self->m_number.load());
        std::fflush(stdout);
        TerminateProcess(GetCurrentProcess(), kExitCode);
    }
    return 0;
}

}  // namespace kzr::test
