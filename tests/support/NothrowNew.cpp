// Replaces the program's two plain forms of `operator new`. The library's `operator delete` frees what they
// give.
#include "support/NothrowNew.h"

#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace kzr::test {
namespace {

std::atomic<DWORD> g_thread{0};
std::atomic<DWORD> g_plainThread{0};

}  // namespace

bool PlainNewFailsHere() { return g_plainThread == GetCurrentThreadId(); }

bool NothrowNewFailsHere() { return g_thread == GetCurrentThreadId(); }

NothrowNewFails::NothrowNewFails() { g_thread = GetCurrentThreadId(); }

NothrowNewFails::~NothrowNewFails() { g_thread = 0; }

PlainNewFails::PlainNewFails() { g_plainThread = GetCurrentThreadId(); }

PlainNewFails::~PlainNewFails() { g_plainThread = 0; }

}  // namespace kzr::test

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    if (kzr::test::NothrowNewFailsHere()) return nullptr;
    return std::malloc(size != 0 ? size : 1);
}

void* operator new(std::size_t size)
{
    void* const memory = kzr::test::PlainNewFailsHere() ? nullptr : std::malloc(size != 0 ? size : 1);
    if (!memory) throw std::bad_alloc();
    return memory;
}
