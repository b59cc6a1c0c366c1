// What this process holds at a moment: heap, handles, thread-local slots. For tests that look for growth.
#pragma once

#include <windows.h>

#include <cstddef>

namespace kzr::test {

struct ResourceCount {
    std::size_t heapBytes = 0;  // busy blocks of all heaps
    std::size_t heapBlocks = 0;
    std::size_t handles = 0;
    std::size_t freeTlsSlots = 0;
};

ResourceCount CountResources();

}  // namespace kzr::test
