// A line at the end of the stack is dropped: the log must never be what overflows it.
#include <gtest/gtest.h>

#include "fault/Frames.h"
#include "log/Log.h"
#include "support/LogReader.h"
#include "support/TempFolder.h"

namespace kzr {
namespace {

// Goes down until only that much is left, then calls. Nothing is kept for the way back.
[[gnu::noinline]] void WithStackLeft(std::size_t bytes, void (*call)())
{
    volatile char room[2048];
    room[0] = 1;
    if (HasStackLeft(bytes + 4096)) {
        WithStackLeft(bytes, call);
    } else {
        call();
    }
    room[1] = room[0];
}

TEST(LogAtTheStacksEnd, ALineIsDroppedWhereItsBufferWouldNotFit)
{
    test::TempFolder folder;
    SetLogLevelAndPath("trace", test::ToNarrow(folder / L"log.txt").c_str());
    for (const std::size_t left : {262144u, 131072u, 90000u, 65536u, 49152u, 40000u, 32768u, 24576u})
        WithStackLeft(left, [] { WriteLog("S", 1, 8, 0, "m"); });
    SetLogLevelAndPath("trace", "");
    const std::size_t written = test::ParseLog(test::ReadWholeFile(folder / L"log.txt")).size();
    EXPECT_GE(written, 1u);
    EXPECT_LT(written, 8u);
}

}  // namespace
}  // namespace kzr
