// What a hardening test did, as a line that script/harden gathers into its table.
#pragma once

#include <cstdio>

namespace kzr::test {

// "did: malformed calls: 4896 calls"
inline void Did(const char* area, long long count, const char* unit)
{
    std::printf("did: %s: %lld %s\n", area, count, unit);
    std::fflush(stdout);
}

}  // namespace kzr::test
