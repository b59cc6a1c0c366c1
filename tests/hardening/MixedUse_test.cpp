// Random use, and long use: anything in any order, and nothing left of it.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <vector>

#include "Area.h"
#include "ChildCount.h"
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

// A host's story: what it has done and heard, after each step.
std::vector<std::uint64_t> StoryOf(ScriptedBackend& backend, const TestDll& dll, unsigned seed)
{
    MixedUse use(backend, dll, seed, Arguments::OfAnyType);
    std::vector<std::uint64_t> story;
    for (int i = 0; i < 2000; ++i) {
        use.Step();
        story.push_back(use.Story());
    }
    return story;
}

TEST_F(RandomUse, IsTheSameAgainFromTheSameSeedInEveryStep)
{
    const EmptyFolder folder;
    const auto story = StoryOf(*backend, *dll, 4711), again = StoryOf(*backend, *dll, 4711);
    for (std::size_t i = 0; i < story.size(); ++i) ASSERT_EQ(story[i], again[i]) << "in step " << i;
    EXPECT_NE(story.back(), StoryOf(*backend, *dll, 4712).back());
}

constexpr int kTenths = 10;
// Heap blocks that may be more after ten tenths than after the first: a table may double that late, as one
// does with a tenth of the usual calls.
constexpr std::size_t kNoiseBlocks = 2;

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
        // Counted with nothing in hand, and with the same certificate, which the module keeps.
        use.DropAll();
        Call(bench.Make(kCertificate).Get(), L"importCert", {L"MIIB", I2(1), L""});
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
    const std::string grown = GrowthBeyond(first, last, kNoiseBlocks);
    std::printf("%s\n%sgrown: %s\n", use.Describe().c_str(), trouble.c_str(), grown.c_str());
    PrintCount("calls", use.Calls());
    std::printf("END\n");
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
    const long long calls = CountIn(ended.output, "calls");
    EXPECT_LE(Rounds(100000, 1000000), calls);
    Did("soak", calls, "calls");
}

}  // namespace
}  // namespace kzr::test
