#include "Clock.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <utility>

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

double TenthPercentile(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 10];
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
    for (std::size_t i = 0; i < cases.size(); ++i)
        std::printf("time %s %.1f\n", cases[i].name.c_str(), TenthPercentile(seconds[i]) * 1e9);
    std::fflush(stdout);
}

void Stretches::Begin()
{
    m_next = 0;
    m_last = Now();
}

void Stretches::Mark()
{
    const double now = Now();
    if (m_next == m_seconds.size()) m_seconds.emplace_back();
    m_seconds[m_next++].push_back(now - m_last);
    m_last = Now();  // what keeping the figure took is nobody's
}

double Stretches::Seconds() const
{
    double all = 0;
    for (std::vector<double> each : m_seconds) all += TenthPercentile(std::move(each));
    return all;
}

}  // namespace kzr::bench
