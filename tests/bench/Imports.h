// Counts what a loaded module asks the platform for, by putting counters into its import table.
#pragma once

#include <windows.h>

namespace kzr::bench {

struct Asked {
    long opens = 0;
    long writes = 0;
    long closes = 0;
    long blocks = 0;  // of any heap, by whichever function
    long texts = 0;   // automation strings, by whichever function
};

// From now on the module's calls are counted. False when it has none of the imports.
bool CountImportsOf(HMODULE module);
Asked TakeCounts();

}  // namespace kzr::bench
