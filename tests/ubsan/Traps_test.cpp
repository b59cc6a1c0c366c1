// Undefined behaviour that is planted for the trap build: each kind must end its program.
#include <gtest/gtest.h>

#include <windows.h>

#include "support/ChildProcess.h"

namespace kzr::test {
namespace {

volatile int g_large = 0x7fffffff;
volatile int g_bits = 40;
int g_numbers[4] = {};
alignas(8) char g_bytes[16] = {};
volatile std::size_t g_beyond = 5;

KZR_CHILD(AddsBeyondTheLargest) { return (g_large + 1) & 7; }
KZR_CHILD(ShiftsTooFar) { return (1 << g_bits) & 7; }
KZR_CHILD(LeavesAnArray) { return g_numbers[g_beyond]; }
KZR_CHILD(ReadsUnaligned) { return *reinterpret_cast<volatile int*>(g_bytes + (g_beyond & 1)); }
KZR_CHILD(DoesNothingWrong) { return (g_large - 1) & 1; }

TEST(UbsanTraps, EndTheProgramAtEveryPlantedBug)
{
    for (const char* plant : {"AddsBeyondTheLargest", "ShiftsTooFar", "LeavesAnArray", "ReadsUnaligned"})
        EXPECT_EQ(static_cast<DWORD>(EXCEPTION_ILLEGAL_INSTRUCTION), RunChild(plant).code) << plant;
}

TEST(UbsanTraps, LeaveARightProgramAlone) { EXPECT_EQ(0u, RunChild("DoesNothingWrong").code); }

}  // namespace
}  // namespace kzr::test
