#include "OtherThread.h"

#include <memory>

namespace kzr::test {
namespace {

using Work = std::function<void()>;

DWORD WINAPI Run(void* context)
{
    const std::unique_ptr<Work> mine(static_cast<Work*>(context));
    (*mine)();
    return 0;
}

HANDLE Start(const Work& work)
{
    auto own = std::make_unique<Work>(work);
    const HANDLE thread = CreateThread(nullptr, 0, Run, own.get(), 0, nullptr);
    // The thread's from here on: it may outlive whoever started it.
    if (thread) static_cast<void>(own.release());
    return thread;
}

}  // namespace

Thread::Thread(const std::function<void()>& work) : m_thread(Start(work)) {}

Thread::~Thread()
{
    if (m_thread) CloseHandle(m_thread);
}

bool Thread::Wait(DWORD milliseconds) const
{
    return m_thread && WaitForSingleObject(m_thread, milliseconds) == WAIT_OBJECT_0;
}

bool ComesBackOnAnotherThread(const std::function<void()>& work, DWORD milliseconds, COINIT apartment)
{
    const Thread thread([work, apartment] {
        CoInitializeEx(nullptr, apartment);
        work();
        CoUninitialize();
    });
    return thread.Wait(milliseconds);
}

}  // namespace kzr::test
