// What the growth of the rebuilding is held against.
#pragma once

#include <string_view>
#include <vector>

#include "Clock.h"

namespace kzr::bench {

// The texts of one entry, cut out of the list beforehand.
struct EntryTexts {
    std::wstring_view userName;
    std::wstring_view containerName;
    std::wstring_view deviceSN;
};

// Entries from one mark to the next: half a millisecond's, as long as a batch is.
inline constexpr int kStretch = 250;

// Fills a map with them as a rebuild does, with a mark at each stretch, and drops it.
void InsertAll(const std::vector<EntryTexts>& entries, Stretches& stretches);

}  // namespace kzr::bench
