// The value that guards every stack frame, and the end of a process whose guard is found changed. The
// runtime's own asks the old cryptographic interface for the value, which loads three libraries on every load
// of this one: five sixths of the time that a load took.
#include <windows.h>

#include <cstdint>

extern "C" {

// As every protected function reads it.
std::uintptr_t __stack_chk_guard = 0;

// The system's source of random bytes under the name by which it is exported.
BOOLEAN NTAPI SystemFunction036(void* bytes, ULONG count);

[[noreturn]] void __stack_chk_fail();
// The stack is not to be trusted: no handler may run on it, ours least of all.
void __stack_chk_fail()
{
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(STATUS_STACK_BUFFER_OVERRUN));
    for (;;) __builtin_trap();
}
}

namespace {

// Before any protected frame: the guard changes under its feet otherwise.
[[gnu::constructor(101), gnu::no_stack_protector]] void SetStackGuard()
{
    std::uintptr_t value = 0;
    if (!SystemFunction036(&value, sizeof(value)) || value == 0) {
        LARGE_INTEGER count;
        QueryPerformanceCounter(&count);
        value = static_cast<std::uintptr_t>(count.QuadPart) * 0x9e3779b97f4a7c15u ^
                reinterpret_cast<std::uintptr_t>(&count) ^ GetCurrentThreadId();
    }
    // A string that runs over its end stops before a zero byte.
    __stack_chk_guard = value & ~std::uintptr_t{0xff};
}

}  // namespace
