#include "support/Rounds.h"

#include <algorithm>
#include <charconv>
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
    if (std::strcmp(wanted, "tenth") == 0) return usual == 0 ? 0 : std::max(1, usual / 10);
    std::fprintf(stderr, "KZR_ROUNDS is \"%s\", which is neither full nor tenth\n", wanted);
    std::exit(3);
}

unsigned Seed()
{
    const char* const given = std::getenv("KZR_SEED");
    unsigned seed = 0;
    if (!given || !*given) {
        seed = std::random_device()();
    } else {
        const char* const end = given + std::strlen(given);
        const auto [stop, error] = std::from_chars(given, end, seed);
        if (error != std::errc() || stop != end) {
            std::fprintf(stderr, "KZR_SEED is \"%s\", which is no number of 32 bits\n", given);
            std::exit(3);
        }
    }
    std::printf("KZR_SEED=%u repeats this run\n", seed);
    return seed;
}

}  // namespace kzr::test
