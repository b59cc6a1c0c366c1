// What the growth of the rebuilding is held against.
#pragma once

#include <string_view>
#include <vector>

namespace kzr::bench {

// The texts of one entry, cut out of the list beforehand.
struct EntryTexts {
    std::wstring_view userName;
    std::wstring_view containerName;
    std::wstring_view deviceSN;
};

// Fills a map with them as a rebuild does, and drops it.
void InsertAll(const std::vector<EntryTexts>& entries);

}  // namespace kzr::bench
