// What does not depend on the clock: growth, system calls and lines, memory.
#pragma once

namespace kzr::bench {

// Prints "grown NAME times N bytes N handles N texts N" for calls and for reloads.
void MeasureGrowth(long calls, long reloads);
// Prints "compiled NAME optimised 0|1", and "asked NAME times N lines N opens N ..." for one call of each
// kind.
void CountExactly();
// The same of a library that does each of it wrong, one at a time: "asked planted.FAULT ...".
void CountPlanted();

}  // namespace kzr::bench
