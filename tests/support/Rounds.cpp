#include "support/Rounds.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

namespace kzr::test {

int Rounds(int usual, int full)
{
    const char* const wanted = std::getenv("KZR_ROUNDS");
    if (!wanted || !*wanted) return usual;
    if (std::strcmp(wanted, "full") == 0) return full;
    if (std::strcmp(wanted, "tenth") == 0) return std::max(1, usual / 10);
    std::fprintf(stderr, "KZR_ROUNDS is \"%s\", which is neither full nor tenth\n", wanted);
    std::exit(3);
}

unsigned Seed()
{
    const char* const given = std::getenv("KZR_SEED");
    const unsigned seed =
        given && *given ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device()();
    std::printf("KZR_SEED=%u repeats this run\n", seed);
    return seed;
}

}  // namespace kzr::test
