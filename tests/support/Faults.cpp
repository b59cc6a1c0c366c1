#include "support/Faults.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace kzr::test {
namespace {

std::atomic<long> g_announced{0};
std::atomic<long> g_planned{0};
std::atomic<long> g_unplanned{0};
std::atomic<DWORD> g_firstCode{0};
std::atomic<void*> g_firstAddress{nullptr};

constexpr DWORD kOtherCompilersThrow = 0xE06D7363;
constexpr DWORD kNonContinuable = 0xE0000001;

bool IsProcessorFault(DWORD code)
{
    switch (code) {
        case static_cast<DWORD>(EXCEPTION_ACCESS_VIOLATION):
        case static_cast<DWORD>(EXCEPTION_IN_PAGE_ERROR):
        case static_cast<DWORD>(EXCEPTION_DATATYPE_MISALIGNMENT):
        case static_cast<DWORD>(EXCEPTION_ILLEGAL_INSTRUCTION):
        case static_cast<DWORD>(EXCEPTION_PRIV_INSTRUCTION):
        case static_cast<DWORD>(EXCEPTION_INT_DIVIDE_BY_ZERO):
        case static_cast<DWORD>(EXCEPTION_INT_OVERFLOW):
        case static_cast<DWORD>(EXCEPTION_STACK_OVERFLOW):
            return true;
        default:
            return false;
    }
}

// Runs on a thread that may have no stack left: numbers only.
LONG CALLBACK Count(EXCEPTION_POINTERS* pointers)
{
    const DWORD code = pointers->ExceptionRecord->ExceptionCode;
    if (!IsProcessorFault(code)) return EXCEPTION_CONTINUE_SEARCH;
    long announced = g_announced.load();
    while (announced > 0 && !g_announced.compare_exchange_weak(announced, announced - 1)) {
    }
    if (announced > 0) {
        ++g_planned;
    } else if (g_unplanned++ == 0) {
        g_firstCode = code;
        g_firstAddress = pointers->ExceptionRecord->ExceptionAddress;
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

// Addresses that the compiler cannot see through.
volatile std::uintptr_t g_nowhere = 16;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winfinite-recursion"
[[gnu::noinline]] int Overflow(int depth)
{
    volatile char room[4096];
    room[0] = static_cast<char>(depth);
    return Overflow(depth + 1) + room[0];
}
#pragma GCC diagnostic pop

[[noreturn]] void ThrowAsOtherCompiler()
{
    static const int thrown = 7;
    const ULONG_PTR arguments[] = {0x19930520, reinterpret_cast<ULONG_PTR>(&thrown), 0, 0};
    RaiseException(kOtherCompilersThrow, EXCEPTION_NONCONTINUABLE, 4, arguments);
    __builtin_unreachable();
}

}  // namespace

const char* NameOf(FaultKind kind)
{
    switch (kind) {
        case FaultKind::None:
            return "None";
        case FaultKind::Read:
            return "Read";
        case FaultKind::Write:
            return "Write";
        case FaultKind::Execute:
            return "Execute";
        case FaultKind::Division:
            return "Division";
        case FaultKind::IllegalInstruction:
            return "IllegalInstruction";
        case FaultKind::StackOverflow:
            return "StackOverflow";
        case FaultKind::CompilersThrow:
            return "CompilersThrow";
        case FaultKind::OtherCompilersThrow:
            return "OtherCompilersThrow";
        case FaultKind::NonContinuable:
            return "NonContinuable";
    }
    return "?";
}

DWORD CodeOf(FaultKind kind)
{
    switch (kind) {
        case FaultKind::None:
            return 0;
        case FaultKind::Read:
        case FaultKind::Write:
        case FaultKind::Execute:
            return static_cast<DWORD>(EXCEPTION_ACCESS_VIOLATION);
        case FaultKind::Division:
            return static_cast<DWORD>(EXCEPTION_INT_DIVIDE_BY_ZERO);
        case FaultKind::IllegalInstruction:
            return static_cast<DWORD>(EXCEPTION_ILLEGAL_INSTRUCTION);
        case FaultKind::StackOverflow:
            return static_cast<DWORD>(EXCEPTION_STACK_OVERFLOW);
        case FaultKind::CompilersThrow:
            return 0x20474343;
        case FaultKind::OtherCompilersThrow:
            return kOtherCompilersThrow;
        case FaultKind::NonContinuable:
            return kNonContinuable;
    }
    return 0;
}

void RaiseFault(FaultKind kind)
{
    if (IsProcessorFault(CodeOf(kind))) ++g_announced;
    switch (kind) {
        case FaultKind::None:
            return;
        case FaultKind::Read:
            static_cast<void>(*reinterpret_cast<volatile int*>(g_nowhere));
            return;
        case FaultKind::Write:
            *reinterpret_cast<volatile int*>(g_nowhere) = 1;
            return;
        case FaultKind::Execute:
            reinterpret_cast<void (*)()>(g_nowhere - 16)();
            return;
        case FaultKind::Division: {
            int low = 1, high = 0;
            __asm__ volatile("idivl %2" : "+a"(low), "+d"(high) : "r"(0) : "cc");
            return;
        }
        case FaultKind::IllegalInstruction:
            __asm__ volatile("ud2");
            return;
        case FaultKind::StackOverflow:
            Overflow(0);
            return;
        case FaultKind::CompilersThrow:
            throw std::runtime_error("thrown on purpose");
        case FaultKind::OtherCompilersThrow:
            ThrowAsOtherCompiler();
        case FaultKind::NonContinuable:
            RaiseException(kNonContinuable, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    }
}

FaultCounter::FaultCounter() : m_handler(AddVectoredExceptionHandler(1, Count)) { Reset(); }

FaultCounter::~FaultCounter() { RemoveVectoredExceptionHandler(m_handler); }

void FaultCounter::Reset()
{
    g_announced = 0;
    g_planned = 0;
    g_unplanned = 0;
}

void FaultCounter::Allow(long count) { g_announced += count; }

long FaultCounter::Unplanned() { return g_unplanned; }

long FaultCounter::Planned() { return g_planned; }

std::string FaultCounter::FirstUnplanned()
{
    char text[64];
    snprintf(text, sizeof(text), "code 0x%lx at %p", g_firstCode.load(), g_firstAddress.load());
    return text;
}

}  // namespace kzr::test
