// Measures cases against each other: batches of half a millisecond, every case in every round, in an order
// that moves on by one each round; what counts is the tenth percentile of a case's rounds.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace kzr::bench {

struct Measured {
    std::string name;
    std::function<void()> once;
};

// Prints "time NAME NANOSECONDS" for each: of one run, without what the loop costs.
void Measure(const std::vector<Measured>& cases, int rounds);

// Seconds of a single run.
double SecondsOf(const std::function<void()>& run);

}  // namespace kzr::bench
