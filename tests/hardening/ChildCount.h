// What a child has done, as it has counted itself: its parent tells of that alone.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace kzr::test {

// A line of its own: "COUNT bad answers 9384".
inline void PrintCount(const char* what, long long count) { std::printf("COUNT %s %lld\n", what, count); }

// 0 when the child has not come to print it.
inline long long CountIn(const std::string& output, const char* what)
{
    const std::string line = std::string("COUNT ") + what + " ";
    const std::size_t at = output.rfind(line);
    return at == std::string::npos ? 0 : std::strtoll(output.c_str() + at + line.size(), nullptr, 10);
}

}  // namespace kzr::test
