// The handlers of the two frames: what they take, what they leave alone, and how a fault becomes a throw.
#include "fault/Frames.h"

#include <malloc.h>
#include <winternl.h>

extern "C" {
std::uint32_t KzrForeignFrame(kzr::Thunk thunk, void* context);
std::uint32_t KzrOwnFrame(kzr::Thunk thunk, void* context);
extern char KzrForeignLanding[];
extern char KzrOwnLanding[];
void KzrThrowAtFault();
[[noreturn]] void KzrThrowFault(std::uint32_t code);
EXCEPTION_DISPOSITION KzrForeignHandler(EXCEPTION_RECORD*, void*, CONTEXT*, DISPATCHER_CONTEXT*);
EXCEPTION_DISPOSITION KzrOwnHandler(EXCEPTION_RECORD*, void*, CONTEXT*, DISPATCHER_CONTEXT*);
}

namespace kzr {
namespace {

// This compiler's own throw, unwind and forced-unwind codes: ordinary C++ exceptions, for our catch clauses.
constexpr bool IsCompilersOwn(DWORD code)
{
    return code == 0x20474343 || code == 0x21474343 || code == 0x22474343;
}

// As every function expects it on entry: clear.
constexpr DWORD kDirectionFlag = 0x400;

constexpr bool IsUnwinding(DWORD flags)
{
    return (flags & (EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND)) != 0;
}

// What a landing answers: the exception's code. One that was raised with code 0 gets another, since 0 says
// that nothing happened.
constexpr DWORD kRaisedWithoutCode = 0xE0000000;

DWORD AnswerFor(const EXCEPTION_RECORD* record)
{
    return record->ExceptionCode != 0 ? record->ExceptionCode : kRaisedWithoutCode;
}

void UnwindTo(void* frame, char* landing, EXCEPTION_RECORD* record, CONTEXT* context,
              DISPATCHER_CONTEXT* dispatcher)
{
    const auto code = static_cast<ULONG_PTR>(AnswerFor(record));
    RtlUnwindEx(frame, landing, record, reinterpret_cast<void*>(code), context, dispatcher->HistoryTable);
}

// An unwinding copies all registers several times: with less than this left, none is begun.
constexpr std::size_t kRoomToUnwind = 24 * 1024;

// Goes on at the landing label as if all frames below had returned: it restores every register that counts
// from the frame itself. What those frames meant to clean up stays undone.
EXCEPTION_DISPOSITION JumpTo(void* frame, char* landing, const EXCEPTION_RECORD* record, CONTEXT* context)
{
    context->Rsp = reinterpret_cast<DWORD64>(frame);
    context->Rip = reinterpret_cast<DWORD64>(landing);
    context->Rax = AnswerFor(record);
    context->EFlags &= ~kDirectionFlag;
    return ExceptionContinueExecution;
}

// Leaves for the landing label of a frame of ours, through whatever lies below.
EXCEPTION_DISPOSITION LeaveFor(void* frame, char* landing, EXCEPTION_RECORD* record, CONTEXT* context,
                               DISPATCHER_CONTEXT* dispatcher)
{
    const bool canContinue = (record->ExceptionFlags & EXCEPTION_NONCONTINUABLE) == 0;
    if (canContinue && !HasStackLeft(kRoomToUnwind)) return JumpTo(frame, landing, record, context);
    UnwindTo(frame, landing, record, context, dispatcher);
    return ExceptionContinueSearch;
}

// After a stack overflow the guard page is gone; without it the next overflow would end the process.
void RestoreGuardPage(std::uint32_t code)
{
    if (code == static_cast<std::uint32_t>(STATUS_STACK_OVERFLOW)) _resetstkoflw();
}

// A handler runs on the stack that has just overflowed. What the system keeps back for it by default does not
// hold the dispatching, our handler and the unwinding at every depth; more is asked for once in a thread's
// life.
void KeepStackForHandlers()
{
    constexpr ULONG kForHandlers = 32 * 1024;
    constexpr SIZE_T kPage = 4096;
    // Two fields of the thread block: what is kept back already, and the lowest address of the stack.
    if (__readgsdword(0x1748) >= kForHandlers) return;
    const DWORD error = GetLastError();
    ULONG bytes = kForHandlers;
    SetThreadStackGuarantee(&bytes);

    // Of a stack that is committed to its end the guard page is the last one already, too late for all this.
    char* const page = reinterpret_cast<char*>(__readgsqword(0x1478)) + kForHandlers + kPage;
    MEMORY_BASIC_INFORMATION facts;
    if (static_cast<void*>(page + kPage) < __builtin_frame_address(0) &&
        VirtualQuery(page, &facts, sizeof(facts)) && facts.State == MEM_COMMIT &&
        facts.Protect == PAGE_READWRITE) {
        DWORD before;
        VirtualProtect(page, kPage, PAGE_READWRITE | PAGE_GUARD, &before);
    }
    SetLastError(error);
}

// 0, or the code of what came out of foreign code.
std::uint32_t CodeOutOf(Thunk thunk, void* context) noexcept
{
    KeepStackForHandlers();
    std::uint32_t code = 0;
    try {
        code = KzrForeignFrame(thunk, context);
    } catch (...) {
        // A throw of the same compiler in another module: its type means nothing here.
        code = 0x20474343;
    }
    RestoreGuardPage(code);
    return code;
}

}  // namespace

std::uint32_t RunOwnCode(Thunk thunk, void* context)
{
    KeepStackForHandlers();
    const std::uint32_t code = KzrOwnFrame(thunk, context);
    RestoreGuardPage(code);
    return code;
}

void RunForeignCode(Thunk thunk, void* context)
{
    const std::uint32_t code = CodeOutOf(thunk, context);
    if (code != 0) throw Fault(code);
}

bool RunForeignCodeQuietly(Thunk thunk, void* context) noexcept { return CodeOutOf(thunk, context) == 0; }

bool HasStackLeft(std::size_t bytes) noexcept
{
    // The thread block keeps the lowest address that the stack may grow down to at this offset.
    constexpr DWORD kDeallocationStack = 0x1478;
    const auto lowest = static_cast<std::uintptr_t>(__readgsqword(kDeallocationStack));
    const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    return here - lowest >= bytes;
}

}  // namespace kzr

// Nobody inside has taken the exception by the time this is asked, so whatever it is, it would leave foreign
// code.
EXCEPTION_DISPOSITION KzrForeignHandler(EXCEPTION_RECORD* record, void* frame, CONTEXT* context,
                                        DISPATCHER_CONTEXT* dispatcher)
{
    if (kzr::IsUnwinding(record->ExceptionFlags) || kzr::IsCompilersOwn(record->ExceptionCode))
        return ExceptionContinueSearch;
    return kzr::LeaveFor(frame, KzrForeignLanding, record, context, dispatcher);
}

EXCEPTION_DISPOSITION KzrOwnHandler(EXCEPTION_RECORD* record, void* frame, CONTEXT* context,
                                    DISPATCHER_CONTEXT* dispatcher)
{
    if (kzr::IsUnwinding(record->ExceptionFlags) || kzr::IsCompilersOwn(record->ExceptionCode))
        return ExceptionContinueSearch;

    const bool canContinue = (record->ExceptionFlags & EXCEPTION_NONCONTINUABLE) == 0;
    if (!canContinue || record->ExceptionCode == static_cast<DWORD>(STATUS_STACK_OVERFLOW))
        return kzr::LeaveFor(frame, KzrOwnLanding, record, context, dispatcher);

    // Plus one: the unwinder looks up "return address minus one", which must be the faulting instruction
    // itself.
    context->Rsp -= sizeof(DWORD64);
    *reinterpret_cast<DWORD64*>(context->Rsp) = context->Rip + 1;
    context->Rip = reinterpret_cast<DWORD64>(&KzrThrowAtFault);
    context->Rcx = record->ExceptionCode;
    context->EFlags &= ~kzr::kDirectionFlag;
    return ExceptionContinueExecution;
}

void KzrThrowFault(std::uint32_t code) { throw kzr::Fault(code); }
