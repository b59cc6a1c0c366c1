// The one-pass reader against the plain one, on lists that nobody would write by hand, and against the clock.
// KZR_SEED repeats a run, KZR_LISTS sets how many lists are compared.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "support/Rounds.h"
#include "support/UserListOracle.h"

namespace kzr {
namespace {

using Clock = std::chrono::steady_clock;

// A build that counts every branch it takes may be so much slower.
#ifdef KZR_COVERAGE
constexpr double kSecond = 10;
#else
constexpr double kSecond = 1;
#endif

unsigned long NumberFromEnvironment(const char* name, unsigned long otherwise)
{
    const char* text = std::getenv(name);
    return text && *text ? std::strtoul(text, nullptr, 10) : otherwise;
}

class Generator {
  public:
    explicit Generator(unsigned long seed) : m_random(static_cast<std::mt19937::result_type>(seed)) {}

    std::wstring OverTheMarks(std::size_t longest)
    {
        static const wchar_t kAlphabet[] = L"|&/a";
        std::wstring list(Below(longest + 1), L' ');
        for (wchar_t& unit : list) {
            unit = kAlphabet[Below(4)];
        }
        return list;
    }

    std::wstring WellFormed()
    {
        std::wstring list;
        for (std::size_t entries = Below(6); entries > 0; --entries) {
            list += Word() + L"||" + Word() + L"/" + Word() + L"&&&";
        }
        return list;
    }

    std::wstring Mutated()
    {
        std::wstring list = WellFormed();
        for (std::size_t changes = 1 + Below(4); changes > 0 && !list.empty(); --changes) {
            const std::size_t at = Below(list.size());
            switch (Below(5)) {
                case 0:
                    list.erase(at, 1 + Below(3));
                    break;
                case 1:
                    list.insert(at, OverTheMarks(4));
                    break;
                case 2:
                    list[at] = L"|&/a"[Below(4)];
                    break;
                case 3:
                    list.resize(at);
                    break;
                default:
                    list += list.substr(at);
                    break;
            }
        }
        return list;
    }

  private:
    std::size_t Below(std::size_t end)
    {
        return std::uniform_int_distribution<std::size_t>(0, end - 1)(m_random);
    }

    std::wstring Word()
    {
        std::wstring word(Below(4), L' ');
        for (wchar_t& unit : word) {
            unit = static_cast<wchar_t>(L'a' + Below(3));
        }
        return word;
    }

    std::mt19937 m_random;
};

testing::AssertionResult SameAsTheOracle(const std::wstring& list)
{
    test::RecordingDevices expectedCalls;
    test::UserListOracle oracle;
    oracle.Rebuild(list, &expectedCalls);

    test::RecordingDevices calls;
    UserTable table;
    table.Rebuild(list, &calls);

    if (table.All() != oracle.entries) {
        return testing::AssertionFailure() << "another table for \"" << test::Narrowed(list) << "\"";
    }
    if (calls.calls != expectedCalls.calls) {
        return testing::AssertionFailure() << "other calls for \"" << test::Narrowed(list) << "\"";
    }
    return testing::AssertionSuccess();
}

TEST(UserTableLists, EveryShortListOverTheMarksIsReadAsTheOracleReadsIt)
{
    // All 4^0 + ... + 4^7 lists.
    std::size_t compared = 0;
    for (std::size_t length = 0; length <= 7; ++length) {
        std::wstring list(length, L'|');
        for (std::size_t number = 0; number < std::size_t{1} << (2 * length); ++number) {
            for (std::size_t i = 0; i < length; ++i) {
                list[i] = L"|&/a"[number >> (2 * i) & 3];
            }
            ASSERT_TRUE(SameAsTheOracle(list));
            ++compared;
        }
    }
    EXPECT_EQ(21845u, compared);
}

TEST(UserTableLists, GeneratedListsAreReadAsTheOracleReadsThem)
{
    const unsigned long seed = NumberFromEnvironment("KZR_SEED", std::random_device{}());
    const unsigned long lists =
        NumberFromEnvironment("KZR_LISTS", static_cast<unsigned long>(test::Rounds(240000, 240000)));
    std::printf("KZR_SEED=%lu, %lu lists\n", seed, lists);
    Generator generator(seed);
    std::size_t entries = 0;
    for (unsigned long i = 0; i < lists; ++i) {
        const std::wstring list = i % 3 == 0   ? generator.OverTheMarks(24)
                                  : i % 3 == 1 ? generator.Mutated()
                                               : generator.WellFormed();
        ASSERT_TRUE(SameAsTheOracle(list)) << "KZR_SEED=" << seed << ", list " << i;
        test::RecordingDevices devices;
        UserTable table;
        table.Rebuild(list, &devices);
        entries += table.All().size();
    }
    // Lists that yield nothing would agree about anything.
    EXPECT_GT(entries, lists / 2);
}

// Answers at once and holds nothing, so that the time is the reader's own.
class CountingDevices : public DeviceInfo {
  public:
    std::size_t calls = 0;
    std::wstring Query(std::wstring_view, short) override
    {
        ++calls;
        return {};
    }
};

std::wstring Repeated(std::wstring_view piece, std::size_t length)
{
    std::wstring text;
    while (text.size() < length) {
        text += piece;
    }
    text.resize(length);
    return text;
}

// The least of several times, since other programs take their share of the machine: of no more than it needs
// to be below `enough`.
template <class Devices = CountingDevices>
double SecondsToRebuild(const std::wstring& list, double enough, std::size_t& calls)
{
    double least = 1e9;
    for (int time = 0; time < 10 && least >= enough; ++time) {
        Devices devices;
        UserTable table;
        const auto begin = Clock::now();
        table.Rebuild(list, &devices);
        least = std::min(least, std::chrono::duration<double>(Clock::now() - begin).count());
        calls = devices.calls;
    }
    return least;
}

constexpr std::size_t kMegabyte = 1 << 20;

class HostileLists : public testing::TestWithParam<const wchar_t*> {};

TEST_P(HostileLists, AMegabyteIsReadWithinASecond)
{
    const std::wstring list = Repeated(GetParam(), kMegabyte);
    std::size_t calls = 0;
    EXPECT_LT(SecondsToRebuild(list, kSecond, calls), kSecond);
    EXPECT_GT(calls, 0u);
}

// Lists of one mark, of two, and of entries that lack one mark each.
INSTANTIATE_TEST_SUITE_P(UserTableLists, HostileLists,
                         testing::Values(L"/", L"|", L"&", L"a", L"||", L"&&&", L"||/", L"/&&&", L"||&&&",
                                         L"|&", L"a||b/c", L"a||b&&&", L"b/c&&&", L"a||", L"&&|",
                                         L"a|b/c&&"));

TEST(UserTableLists, AMegabyteWithOneMarkAtItsFarEndIsReadWithinASecond)
{
    for (const wchar_t* mark : {L"||", L"&&&", L"/&&&", L"||/&&&"}) {
        std::size_t calls = 0;
        EXPECT_LT(SecondsToRebuild(std::wstring(kMegabyte, L'a') + mark, kSecond, calls), kSecond);
        EXPECT_GT(calls, 0u);
    }
}

TEST(UserTableLists, FieldsThatAreNotKeptAreNotCopied)
{
    // Without an end mark every pass sees a container name that reaches to the one slash at the far end. All
    // are software stores, so twenty thousand names of up to 64 Ki characters must cost nothing.
    class Soft : public CountingDevices {
      public:
        std::wstring Query(std::wstring_view deviceSN, short infoType) override
        {
            CountingDevices::Query(deviceSN, infoType);
            return infoType == 7 ? L"SOFT" : L"";
        }
    };
    constexpr std::size_t kLength = kMegabyte / 16;
    const std::wstring list = std::wstring(kLength, L'a') + L"/";
    std::size_t calls = 0;
    EXPECT_LT(SecondsToRebuild<Soft>(list, 0.15 * kSecond, calls), 0.15 * kSecond);
    EXPECT_GT(calls, kLength / 2);

    Soft devices;
    UserTable table;
    table.Rebuild(list, &devices);
    EXPECT_TRUE(table.All().empty());
}

TEST(UserTableLists, TheTimeGrowsWithTheListAndNotWithItsSquare)
{
    for (const wchar_t* piece : {L"Alice||c/SN&&&", L"a||b/c", L"a||b&&&", L"&&&"}) {
        std::size_t calls = 0;
        const double small = SecondsToRebuild(Repeated(piece, kMegabyte / 32), 0, calls);
        // Thirty-two times the text: a square would take a thousand times as long.
        const double enough = 180 * small + 0.01;
        EXPECT_LT(SecondsToRebuild(Repeated(piece, kMegabyte), enough, calls), enough)
            << test::Narrowed(piece);
    }
}

TEST(UserTableLists, AHundredThousandEntriesAreAllFound)
{
    std::wstring list;
    for (int i = 0; i < 100000; ++i) {
        const std::wstring number = std::to_wstring(i);
        list.append(L"user").append(number).append(L"||container").append(number);
        list.append(L"/SN").append(number).append(L"&&&");
    }
    std::size_t calls = 0;
    EXPECT_LT(SecondsToRebuild(list, 2 * kSecond, calls), 2 * kSecond);

    CountingDevices devices;
    UserTable table;
    table.Rebuild(list, &devices);
    EXPECT_EQ(300000u, devices.calls);
    EXPECT_EQ(100000u, table.All().size());
    EXPECT_EQ(L"container99999/SN99999", table.UniqueIdByContainer(L"container99999"));
}

}  // namespace
}  // namespace kzr
