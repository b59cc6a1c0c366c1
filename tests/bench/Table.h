// The growth of the cache's rebuilding.
#pragma once

#include "NullBackend.h"

namespace kzr::bench {

// Prints "growth NAME FACTOR": how much longer a byte takes in the large one of two sizes than in the small
// one, and both times as "time NAME.SIZE". `backend` gets the lists of users.
void MeasureTable(NullBackend& backend, int rounds);

}  // namespace kzr::bench
