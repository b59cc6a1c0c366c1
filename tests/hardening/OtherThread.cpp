#include "OtherThread.h"

#include <memory>

namespace kzr::test {
namespace {

// The thread's own: it may outlive the call that started it.
struct Work {
    std::function<void()> work;
    COINIT apartment;
};

}  // namespace

bool ComesBackOnAnotherThread(const std::function<void()>& work, DWORD milliseconds, COINIT apartment)
{
    const HANDLE thread = CreateThread(
        nullptr, 0,
        [](void* context) -> DWORD {
            const std::unique_ptr<Work> mine(static_cast<Work*>(context));
            CoInitializeEx(nullptr, mine->apartment);
            mine->work();
            CoUninitialize();
            return 0;
        },
        new Work{work, apartment}, 0, nullptr);
    const bool back = WaitForSingleObject(thread, milliseconds) == WAIT_OBJECT_0;
    CloseHandle(thread);
    return back;
}

}  // namespace kzr::test
