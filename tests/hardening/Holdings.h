// What the process holds at a moment, of every kind that can leak, and how it grows while something is done
// many times.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "support/ChildProcess.h"
#include "support/Resources.h"

namespace kzr::test {

struct Holdings {
    ResourceCount resources;
    long texts = 0;    // of the platform's task memory, where BSTRs live
    long windows = 0;  // of this process, message-only ones too
};

// From the first count on, the platform's task memory is watched.
Holdings CountHoldings();

// What is more afterwards, as text; "" when nothing has grown. Of the heap so many blocks of 256 bytes may be
// left, which is what the platform makes for itself; of everything else nothing.
std::string GrowthBeyond(const Holdings& before, const Holdings& after, std::size_t blocks);

// The same for many threads that have done something `times` times: four blocks and one for every hundred
// times may be left, so a block for each time is found from five times on.
std::string GrowthBetween(const Holdings& before, const Holdings& after, long times);

// Does it `warmUp` times, counts, does it `times` times, counts; nothing may be left. Heap that has grown
// counts when it grows in a second such round, too, so one block for each time is always found.
std::string GrowthOf(long warmUp, long times, const std::function<void()>& step);

std::string Describe(const Holdings& holdings);

// A child (see ChildProcess.h) whose freed texts are really freed: the platform keeps some for later
// otherwise.
ChildResult RunWithoutTextCache(const char* part, DWORD milliseconds);

}  // namespace kzr::test
