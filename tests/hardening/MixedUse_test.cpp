// Random use, and long use: anything in any order, and nothing left of it.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "Area.h"
#include "EmptyFolder.h"
#include "Holdings.h"
#include "MixedUse.h"
#include "QuietBench.h"
#include "Watchdog.h"
#include "support/Rounds.h"

namespace kzr::test {
namespace {

class RandomUse : public QuietTest {};

TEST_F(RandomUse, OfEverythingFindsNoFault)
{
    const EmptyFolder folder;
    Watchdog watchdog(20000);
    const int calls = Rounds(100000, 1000000);
    MixedUse use(*backend, *dll, Seed(), Arguments::OfAnyType);
    for (int i = 0; use.Calls() < calls && use.Trouble().empty(); ++i) {
        if (i % 100 == 0) watchdog.Beat("random use, from step", i);
        use.Step();
        ASSERT_EQ(0, FaultCounter::Unplanned()) << "step " << i << ": " << FaultCounter::FirstUnplanned();
        ASSERT_EQ(0, FatalLines()) << "step " << i << ": " << LastErrorLine();
    }
    EXPECT_EQ("", use.Trouble());
    std::printf("%s\n", use.Describe().c_str());
    Did("random use", use.Calls(), "calls");
}

// The same seed for two hosts of their own: their stories are equal to the last step.
TEST_F(RandomUse, IsTheSameAgainFromTheSameSeed)
{
    const EmptyFolder folder;
    std::string stories[2];
    for (std::string& story : stories) {
        MixedUse use(*backend, *dll, 4711, Arguments::OfAnyType);
        for (int i = 0; i < 2000; ++i) use.Step();
        story = use.Describe() + use.Trouble();
    }
    EXPECT_EQ(stories[0], stories[1]);
}

constexpr int kTenths = 10;
// What the platform may still be making for itself after a tenth of the way.
constexpr long kNoise = 0;

KZR_CHILD(LongUse)
{
    const EmptyFolder folder;
    QuietBench bench;
    Watchdog watchdog(20000);
    const int calls = Rounds(100000, 1000000);
    MixedUse use(*bench.backend, *bench.dll, Seed(), Arguments::OfTheRightType);
    Holdings first, last;
    int steps = 0;
    for (int tenth = 0; tenth <= kTenths; ++tenth) {
        // Counted with nothing in hand.
        use.DropAll();
        PumpMessages();
        last = CountHoldings();
        if (tenth == 1) first = last;
        std::printf("after %lld: %s\n", use.Calls(), Describe(last).c_str());
        std::fflush(stdout);
        while (tenth < kTenths && use.Calls() < (tenth + 1LL) * calls / kTenths) {
            if (steps++ % 100 == 0) watchdog.Beat("long use, from step", steps);
            use.Step();
        }
    }
    const std::string trouble = use.Trouble() + bench.Trouble();
    const std::string grown = GrowthBetween(first, last, kNoise);
    std::printf("%s\n%sgrown: %s\nEND\n", use.Describe().c_str(), trouble.c_str(), grown.c_str());
    std::fflush(stdout);
    return trouble.empty() && grown.empty() ? 0 : 1;
}

TEST(LongUse, IsFlatAfterTheFirstTenth)
{
    const ChildResult ended = RunWithoutTextCache("LongUse", 580000);
    EXPECT_TRUE(ended.started);
    EXPECT_EQ(0u, ended.code);
    EXPECT_NE(std::string::npos, ended.output.find("END"));
    std::printf("%s", ended.output.c_str());
    Did("soak", Rounds(100000, 1000000), "calls");
}

}  // namespace
}  // namespace kzr::test
