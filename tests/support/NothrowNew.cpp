// Replaces the program's `operator new(std::nothrow)`; the throwing form stays the library's.
#include "support/NothrowNew.h"

#include <windows.h>

#include <atomic>
#include <new>

namespace kzr::test {
namespace {

std::atomic<DWORD> g_thread{0};

}  // namespace

bool NothrowNewFailsHere() { return g_thread == GetCurrentThreadId(); }

NothrowNewFails::NothrowNewFails() { g_thread = GetCurrentThreadId(); }

NothrowNewFails::~NothrowNewFails() { g_thread = 0; }

}  // namespace kzr::test

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    if (kzr::test::NothrowNewFailsHere()) return nullptr;
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
