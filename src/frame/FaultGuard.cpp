#include "frame/FaultGuard.h"

#include <new>

#include "com/Error.h"
#include "com/Lock.h"

namespace kzr {
namespace {

// What a method of ours may need of the stack, two log lines deep. A caller with less left is turned away
// here, by an ordinary answer, instead of by a stack overflow in the middle of a method that holds locks.
constexpr std::size_t kStackOfACall = 160 * 1024;

}  // namespace

bool RunGuarded(Thunk thunk, void* context, HRESULT& caught) noexcept
{
    caught = E_FAIL;
    if (!HasStackLeft(kStackOfACall)) return false;
    const LocksHeld before;
    try {
        if (RunOwnCode(thunk, context) == 0) return true;
    } catch (const ComError& error) {
        caught = error.Result();
    } catch (const std::bad_alloc&) {
        caught = E_OUTOFMEMORY;
    } catch (...) {
    }
    // Frames of ours may have been left without their destructors: after a stack overflow, or where the
    // backend had called back into us when it faulted. Memory may be lost then, a lock must not be.
    before.GiveBackTheRest();
    return false;
}

HRESULT RunGuardedResult(ResultThunk thunk, void* context) noexcept
{
    HRESULT answer = E_FAIL;
    HRESULT caught = E_FAIL;
    return Guarded([&] { answer = thunk(context); }, caught) ? answer : caught;
}

}  // namespace kzr
