#include "Clock.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>

namespace kzr::bench {
namespace {

constexpr double kBatch = 0.0005;  // seconds

double Now()
{
    static const double frequency = [] {
        LARGE_INTEGER value;
        QueryPerformanceFrequency(&value);
        return static_cast<double>(value.QuadPart);
    }();
    LARGE_INTEGER count;
    QueryPerformanceCounter(&count);
    return static_cast<double>(count.QuadPart) / frequency;
}

double TimeOf(const std::function<void()>& once, long times)
{
    const double start = Now();
    for (long i = 0; i < times; ++i) once();
    return Now() - start;
}

// How often a case fits into a batch, at its best.
long TimesFor(const std::function<void()>& once)
{
    once();
    for (long times = 1;; times *= 2) {
        const double seconds = std::min({TimeOf(once, times), TimeOf(once, times), TimeOf(once, times)});
        if (seconds >= kBatch / 2)
            return std::max(1L, static_cast<long>(static_cast<double>(times) * kBatch / seconds));
    }
}

}  // namespace

void Measure(const std::vector<Measured>& cases, int rounds)
{
    std::vector<long> times;
    std::vector<std::vector<double>> seconds(cases.size());
    for (const Measured& each : cases) times.push_back(TimesFor(each.once));
    for (int round = 0; round < rounds; ++round)
        for (std::size_t i = 0; i < cases.size(); ++i) {
            const std::size_t turn = (i + static_cast<std::size_t>(round)) % cases.size();
            seconds[turn].push_back(TimeOf(cases[turn].once, times[turn]) / static_cast<double>(times[turn]));
        }
    for (std::size_t i = 0; i < cases.size(); ++i) {
        std::sort(seconds[i].begin(), seconds[i].end());
        std::printf("time %s %.1f\n", cases[i].name.c_str(), seconds[i][seconds[i].size() / 10] * 1e9);
    }
    std::fflush(stdout);
}

double SecondsOf(const std::function<void()>& run) { return TimeOf(run, 1); }

}  // namespace kzr::bench
