// How the rebuilding of the cache grows with its list, beside the growth of the map's inserts alone.
#include "Table.h"

#include <cstdio>
#include <map>
#include <string>

#include "Clock.h"
#include "cache/UserTable.h"

namespace kzr::bench {
namespace {

// Answers at once, with texts too short to need memory.
class Answers final : public DeviceInfo {
  public:
    std::wstring Query(std::wstring_view, short infoType) override
    {
        return infoType == kCspName ? L"CSP" : infoType == kExtLibName ? L"LIB" : L"HARD";
    }
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

double BestOf(int tries, const std::function<void()>& run)
{
    double best = SecondsOf(run);
    for (int i = 1; i < tries; ++i) best = std::min(best, SecondsOf(run));
    return best;
}

double Rebuild(const std::wstring& list, int tries)
{
    Answers answers;
    return BestOf(tries, [&] {
        UserTable table;
        table.Rebuild(list, &answers);
    });
}

double Inserts(int entries, int tries)
{
    return BestOf(tries, [&] {
        UserTable::Entries map;
        for (int i = 0; i < entries; ++i) {
            const int number = static_cast<int>(static_cast<long long>(i) * 7919 % entries);
            const std::wstring key = Numbered(L"container", number);
            const auto place = map.lower_bound(key);
            map.emplace_hint(
                place, key,
                UserEntry{key, Numbered(L"device", number), L"CSP", L"LIB", Numbered(L"user", number)});
        }
    });
}

void Tell(const char* name, double growth) { std::printf("growth %s %.4f\n", name, growth); }

}  // namespace

void MeasureTable(int tries)
{
    Tell("inserts", Inserts(100000, tries) / Inserts(10000, tries) / 10);
    Tell("rebuild", Rebuild(ListOf(100000), tries) / Rebuild(ListOf(10000), tries) / 10);
    // Marks that are missing, in every combination that keeps the walk going.
    const wchar_t* const hostile[] = {L"a", L"u||", L"u||c/", L"&&&", L"||&&&", L"/"};
    int number = 0;
    for (const wchar_t* text : hostile) {
        char name[32];
        std::snprintf(name, sizeof(name), "hostile%d", ++number);
        Tell(name, Rebuild(Repeated(text, 100000), tries) / Rebuild(Repeated(text, 10000), tries) / 10);
    }
    std::fflush(stdout);
}

}  // namespace kzr::bench
