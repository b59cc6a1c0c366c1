#include "OtherThread.h"

#include <objbase.h>

#include <memory>

namespace kzr::test {

bool ComesBackOnAnotherThread(const std::function<void()>& work, DWORD milliseconds)
{
    // The thread's own copy: it may outlive this call.
    auto* const copy = new std::function<void()>(work);
    const HANDLE thread = CreateThread(
        nullptr, 0,
        [](void* context) -> DWORD {
            const std::unique_ptr<std::function<void()>> mine(static_cast<std::function<void()>*>(context));
            CoInitializeEx(nullptr, COINIT_MULTITHREADED);
            (*mine)();
            CoUninitialize();
            return 0;
        },
        copy, 0, nullptr);
    const bool back = WaitForSingleObject(thread, milliseconds) == WAIT_OBJECT_0;
    CloseHandle(thread);
    return back;
}

}  // namespace kzr::test
