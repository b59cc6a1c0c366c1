// How the rebuilding of the cache grows with its list, beside the growth of the map's inserts alone.
#include "Table.h"

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "Clock.h"
#include "Inserts.h"
#include "cache/UserTable.h"

namespace kzr::bench {
namespace {

// Answers at once, with texts too short to need memory, and marks the stretches: it is asked for each entry's
// type once.
class Answers final : public DeviceInfo {
  public:
    explicit Answers(Stretches& stretches) : m_stretches(stretches) {}
    std::wstring Query(std::wstring_view, short infoType) override
    {
        if (infoType == kDeviceType && ++m_entries % kStretch == 0) m_stretches.Mark();
        return infoType == kCspName ? L"CSP" : infoType == kExtLibName ? L"LIB" : L"HARD";
    }

  private:
    Stretches& m_stretches;
    int m_entries = 0;
};

std::wstring Numbered(const wchar_t* start, int number)
{
    wchar_t text[24];
    _snwprintf(text, 24, L"%ls%07d", start, number);
    return text;
}

std::wstring ListOf(int entries)
{
    std::wstring list;
    // Not in the map's order.
    for (int i = 0; i < entries; ++i) {
        const int number = static_cast<int>(static_cast<long long>(i) * 7919 % entries);
        list += Numbered(L"user", number) + L"||" + Numbered(L"container", number) + L"/" +
                Numbered(L"device", number) + L"&&&";
    }
    return list;
}

std::wstring Repeated(const wchar_t* text, int times)
{
    std::wstring all;
    for (int i = 0; i < times; ++i) all += text;
    return all;
}

// The pieces of such a list, each at its fixed place.
std::vector<EntryTexts> TextsOf(std::wstring_view list)
{
    std::vector<EntryTexts> entries;
    for (; !list.empty(); list.remove_prefix(46))
        entries.push_back({list.substr(0, 11), list.substr(13, 16), list.substr(30, 13)});
    return entries;
}

void Rebuild(const std::wstring& list, Stretches& stretches)
{
    Answers answers(stretches);
    UserTable table;
    stretches.Begin();
    table.Rebuild(list, &answers);
    stretches.Mark();
}

// One piece of work in two sizes, the greater one ten times the smaller one, up to its end: what drops the
// map is not measured.
struct Sizes {
    std::string name;
    std::function<void(Stretches&)> small, large;
    Stretches smallTimes{}, largeTimes{};

    void Run()
    {
        for (int i = 0; i < 10; ++i) small(smallTimes);
        large(largeTimes);
    }
    void Tell() const
    {
        const double few = smallTimes.Seconds(), many = largeTimes.Seconds();
        std::printf("time %s.small %.1f\ntime %s.large %.1f\n", name.c_str(), few * 1e9, name.c_str(),
                    many * 1e9);
        std::printf("growth %s %.4f\n", name.c_str(), many / few / 10);
    }
};

}  // namespace

void MeasureTable(int rounds)
{
    const std::wstring small = ListOf(10000), large = ListOf(100000);
    const std::vector<EntryTexts> smallTexts = TextsOf(small), largeTexts = TextsOf(large);
    std::vector<Sizes> cases = {{"inserts", [&](Stretches& to) { InsertAll(smallTexts, to); },
                                 [&](Stretches& to) { InsertAll(largeTexts, to); }}};
    // Marks that are missing, in every combination that keeps the walk going.
    for (const wchar_t* text : {L"a", L"u||", L"u||c/", L"&&&", L"||&&&", L"/"}) {
        const std::wstring few = Repeated(text, 10000), many = Repeated(text, 100000);
        cases.push_back({"hostile" + std::to_string(cases.size()), [few](Stretches& to) { Rebuild(few, to); },
                         [many](Stretches& to) { Rebuild(many, to); }});
    }
    // Halfway round, so that neither of the two follows the other, whose blocks have just gone back to the
    // heap.
    cases.insert(cases.begin() + 4, {"rebuild", [&](Stretches& to) { Rebuild(small, to); },
                                     [&](Stretches& to) { Rebuild(large, to); }});
    for (std::size_t round = 0; round < static_cast<std::size_t>(rounds); ++round)
        for (std::size_t i = 0; i < cases.size(); ++i) cases[(i + round) % cases.size()].Run();
    for (const Sizes& each : cases) each.Tell();
    std::fflush(stdout);
}

}  // namespace kzr::bench
