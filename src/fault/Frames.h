// The two assembly frames that see what C++ cannot: processor faults and other runtimes' exceptions.
// This room alone knows of them; everything above sees ordinary C++ exceptions.
#pragma once

#include <windows.h>

#include <cstdint>
#include <exception>

namespace kzr {

// What came out of foreign code, or a processor fault of our own, on its way to a guard.
class Fault : public std::exception {
  public:
    explicit Fault(std::uint32_t code) noexcept : m_code(code) {}
    const char* what() const noexcept override { return "fault"; }
    // The exception code of the platform (0xC0000005, 0xE06D7363, ...).
    std::uint32_t Code() const noexcept { return m_code; }

  private:
    std::uint32_t m_code;
};

using Thunk = void (*)(void* context);

// Runs `thunk` and returns 0; or, when an exception left it that cannot be turned into a throw at its place
// (non-continuable, or no stack left), unwinds to here and returns its code. Destructors below have not run
// then. Any other fault is thrown as a `Fault` from the faulting instruction, so that destructors run.
std::uint32_t RunOwnCode(Thunk thunk, void* context);

// Runs `thunk`, which calls into another module. Whatever comes out of that, processor fault, stack overflow
// or an exception of any runtime, is thrown from here as a `Fault`.
void RunForeignCode(Thunk thunk, void* context);
// The same where nothing may be thrown: false when something came out.
bool RunForeignCodeQuietly(Thunk thunk, void* context) noexcept;

// Calls into another module: `call` may hold nothing that needs a destructor, since a fault passes over it.
template <class Call>
auto CallForeign(Call&& call)
{
    using Result = decltype(call());
    struct Frame {
        Call& call;
        Result result;
    } frame{call, Result{}};
    RunForeignCode(
        [](void* context) {
            auto* self = static_cast<Frame*>(context);
            self->result = self->call();
        },
        &frame);
    return frame.result;
}

// The same where nothing may be thrown (destructors): a fault is dropped, `fallback` is the answer then.
template <class Call, class Result>
Result CallForeignQuietly(Call&& call, Result fallback) noexcept
{
    struct Frame {
        Call& call;
        Result result;
    } frame{call, fallback};
    RunForeignCodeQuietly(
        [](void* context) {
            auto* self = static_cast<Frame*>(context);
            self->result = self->call();
        },
        &frame);
    return frame.result;
}

// True when at least `bytes` of this thread's stack are left below the caller.
bool HasStackLeft(std::size_t bytes) noexcept;

}  // namespace kzr
