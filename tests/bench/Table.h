// The growth of the cache's rebuilding.
#pragma once

namespace kzr::bench {

// Prints "growth NAME FACTOR": time for ten times as much, divided by ten, and both times as "time
// NAME.SIZE".
void MeasureTable(int rounds);

}  // namespace kzr::bench
