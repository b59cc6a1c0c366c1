// The growth of the cache's rebuilding.
#pragma once

namespace kzr::bench {

// Prints "growth NAME FACTOR": time for ten times as much, divided by ten.
void MeasureTable(int tries);

}  // namespace kzr::bench
