// Measures cases against each other: batches of half a millisecond, every case in every round, in an order
// that moves on by one each round; what counts is the tenth percentile of a case's rounds.
#pragma once

#include <cstddef>
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

// Work that is much longer than a batch and cannot be done in parts: it marks where it stands instead. Each
// stretch between two marks counts with the tenth percentile of its own rounds, so that what interrupts one
// does not count for the whole.
class Stretches {
  public:
    void Begin();
    void Mark();
    // Seconds of one run from its beginning to its last mark.
    double Seconds() const;

  private:
    double m_last = 0;
    std::size_t m_next = 0;
    std::vector<std::vector<double>> m_seconds;  // of each stretch, one a run
};

}  // namespace kzr::bench
