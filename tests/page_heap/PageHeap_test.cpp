// The planted bugs that the page-heap allocator must find before its silence over the DLL counts for
// anything.
#include <gtest/gtest.h>

#include <windows.h>

#include <cstring>
#include <memory>

#include "support/ChildProcess.h"

namespace kzr::test {
namespace {

// What the compiler may not reason away.
char* volatile g_block;
volatile std::size_t g_size = 64;

constexpr int kNotFound = 7;

KZR_CHILD(ReadsPastTheEnd)
{
    g_block = new char[g_size];
    volatile char read = g_block[g_size];
    return kNotFound + (read & 0);
}
KZR_CHILD(WritesPastTheEnd)
{
    g_block = new char[g_size];
    g_block[g_size] = 1;
    return kNotFound;
}
KZR_CHILD(WritesIntoTheAlignmentsRest)
{
    g_size = 61;
    g_block = new char[g_size];
    g_block[61] = 1;
    delete[] g_block;
    return kNotFound;
}
KZR_CHILD(WritesBeforeTheStart)
{
    g_block = new char[g_size];
    char* const before = g_block - 1;
    *const_cast<volatile char*>(before) = 1;
    delete[] g_block;
    return kNotFound;
}
KZR_CHILD(ReadsWhatIsFreed)
{
    g_block = new char[g_size];
    delete[] g_block;
    volatile char read = *const_cast<volatile char*>(g_block);
    return kNotFound + (read & 0);
}
KZR_CHILD(FreesTwice)
{
    g_block = new char[g_size];
    delete[] g_block;
    delete[] g_block;
    return kNotFound;
}
KZR_CHILD(DoesNothingWrong)
{
    for (std::size_t size = 0; size < 20000; size += 37) {
        g_block = new char[size];
        std::memset(g_block, 1, size);
        if (reinterpret_cast<std::uintptr_t>(g_block) % 16 != 0) return 1;
        delete[] g_block;
    }
    return 0;
}

TEST(PageHeap, EndsTheProgramAtEveryPlantedBug)
{
    for (const char* plant : {"ReadsPastTheEnd", "WritesPastTheEnd", "WritesIntoTheAlignmentsRest",
                              "WritesBeforeTheStart", "ReadsWhatIsFreed", "FreesTwice"}) {
        const DWORD code = RunChild(plant).code;
        EXPECT_TRUE(code == static_cast<DWORD>(EXCEPTION_ACCESS_VIOLATION) ||
                    code == static_cast<DWORD>(EXCEPTION_ILLEGAL_INSTRUCTION))
            << plant << " ended with " << std::hex << code;
    }
}

TEST(PageHeap, LeavesARightProgramAlone) { EXPECT_EQ(0u, RunChild("DoesNothingWrong").code); }

}  // namespace
}  // namespace kzr::test
