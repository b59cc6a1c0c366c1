// The optional external log library beside the module: found, checked for its four entry points, called.
#pragma once

#include <cstdint>

namespace kzr {

// Loads the library once; afterwards only its start entry is called again. Silent when there is none.
void StartLogLibrary();

bool HasLogLibrary();

// `message` is terminated. A fault inside the library costs the line, nothing else.
void WriteToLogLibrary(const char* sourceFile, std::uint32_t line, std::int32_t level, const char* message);

}  // namespace kzr
