// How the rebuilding of the cache grows with its list, beside the growth of the map's inserts alone: of the
// built component, which rebuilds when an object is made, and of the table alone.
#include "Table.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "Clock.h"
#include "Component.h"
#include "Inserts.h"
#include "Places.h"
#include "cache/UserTable.h"

namespace kzr::bench {
namespace {

// Answers at once, with texts too short to need memory, and marks the stretches: it is asked for each entry's
// type once.
class Answers final : public DeviceInfo {
  public:
    Answers(Stretches* stretches, const wchar_t* type) : m_stretches(stretches), m_type(type) {}
    std::wstring Query(std::wstring_view, short infoType) override
    {
        if (infoType == kDeviceType && ++m_entries % kStretch == 0 && m_stretches) m_stretches->Mark();
        return infoType == kCspName ? L"CSP" : infoType == kExtLibName ? L"LIB" : m_type;
    }
    int Entries() const { return m_entries; }

  private:
    Stretches* m_stretches;
    const wchar_t* m_type;
    int m_entries = 0;
};

std::wstring Numbered(const wchar_t* start, int number)
{
    wchar_t text[24];
    _snwprintf(text, 24, L"%ls%07d", start, number);
    return text;
}

// Not in the map's order.
int Shuffled(int i, int entries) { return static_cast<int>(static_cast<long long>(i) * 7919 % entries); }

std::wstring ListOf(int entries)
{
    std::wstring list;
    for (int i = 0; i < entries; ++i) {
        const int number = Shuffled(i, entries);
        list += Numbered(L"user", number) + L"||" + Numbered(L"container", number) + L"/" +
                Numbered(L"device", number) + L"&&&";
    }
    return list;
}

// The pieces of such a list, each at its fixed place.
std::vector<EntryTexts> TextsOf(std::wstring_view list)
{
    std::vector<EntryTexts> entries;
    for (; !list.empty(); list.remove_prefix(46))
        entries.push_back({list.substr(0, 11), list.substr(13, 16), list.substr(30, 13)});
    return entries;
}

std::wstring Pieces(const wchar_t* before, const wchar_t* after, int times)
{
    std::wstring all;
    for (int i = 0; i < times; ++i) all += Numbered(before, Shuffled(i, times)) + after;
    return all;
}

std::wstring Repeated(const wchar_t* text, int times)
{
    std::wstring all;
    for (int i = 0; i < times; ++i) all += text;
    return all;
}

// A list that no backend should send. Those whose far end has the only "/" give entries with the rest of the
// text as their container's name: ten times as many bytes need only some three times the text.
struct Hostile {
    const char* name;
    int small, large;
    int stretch;  // so many entries take about as long as a batch
    std::wstring (*list)(int size);
};
const Hostile kHostile[] = {
    {"hostile.digits", 2530, 8000, 150, [](int size) { return Pieces(L"", L"", size / 7) + L"/"; }},
    {"hostile.letter", 2530, 8000, 20, [](int size) { return Repeated(L"a", size) + L"/"; }},
    {"hostile.users", 443, 1400, 100, [](int size) { return Pieces(L"u||", L"", size) + L"/"; }},
    {"hostile.serial", 221, 700, 15,
     [](int size) { return Pieces(L"u||", L"&&&", size) + L"/" + Repeated(L"s", 13 * size) + L"&&&"; }},
    {"hostile.nouser", 3000, 30000, kStretch, [](int size) { return Pieces(L"", L"/serial&&&", size); }},
    {"hostile.noend", 3000, 30000, kStretch, [](int size) { return Pieces(L"u||", L"/s", size); }},
    // These yield one entry at most; what they take is held against their own length.
    {"hostile.bare", 10000, 100000, kStretch, [](int size) { return Repeated(L"a", size); }},
    {"hostile.marks", 3000, 30000, kStretch, [](int size) { return Repeated(L"||&&&", size); }},
};

// What there is to copy, in units of text: of what a list yields, or of a list that yields next to nothing.
double YieldOf(const std::wstring& list, int& entries)
{
    Answers answers(nullptr, L"HARD");
    UserTable table;
    table.Rebuild(list, &answers);
    entries = answers.Entries();
    double units = 0;
    for (const auto& [key, entry] : table.All())
        units += static_cast<double>(key.size() + entry.DeviceSN.size() + entry.UserName.size());
    return table.All().size() > 1 ? units : static_cast<double>(list.size());
}

// A list with what it yields, and the ways to have it read.
struct List {
    explicit List(const std::wstring& list, int entriesOfStretch = kStretch)
        : text(list), stretch(entriesOfStretch), units(YieldOf(text, entries))
    {}

    std::wstring text;
    int stretch;
    int entries = 0;
    double units;
};

// Keeps the entries as they come, or, of software stores, none of them.
void RebuildTable(const List& list, const wchar_t* type, Stretches& stretches)
{
    Answers answers(&stretches, type);
    UserTable table;
    stretches.Begin();
    table.Rebuild(list.text, &answers);
    stretches.Mark();
}

// The component's cache lives as long as one object does; each further object has it rebuilt.
class Cache {
  public:
    explicit Cache(NullBackend& backend)
        : m_backend(backend),
          m_component(Quiet()),
          m_first(m_component.Make<ICrypto>(CLSID_Crypto)),
          m_factory(m_component.Factory(CLSID_Crypto))
    {}
    Cache(const Cache&) = delete;
    Cache& operator=(const Cache&) = delete;
    ~Cache() { m_backend.SetUserList({}); }

    void Rebuild(const List& list, Stretches& stretches)
    {
        // An empty list would leave the cache as it is.
        m_backend.SetUserList(L"u||c/s&&&");
        m_backend.MarkEntries(nullptr, 1);
        Refresh(nullptr);
        m_backend.SetUserList(list.text);
        m_backend.MarkEntries(&stretches, list.stretch);
        Refresh(&stretches);
        if (m_backend.Entries() != list.entries) Component::Quit("the component has not read the list");
    }

  private:
    void Refresh(Stretches* stretches)
    {
        ComPtr<IDispatch> made;
        if (stretches) stretches->Begin();
        if (FAILED(m_factory->CreateInstance(nullptr, IID_IDispatch, made.putVoid())))
            Component::Quit("an object could not be made");
        if (stretches) stretches->Mark();
    }

    NullBackend& m_backend;
    Component m_component;
    ComPtr<ICrypto> m_first;
    ComPtr<IClassFactory> m_factory;
};

// One piece of work in two sizes, the greater one with ten times as much to do, up to its end: what drops the
// map is not measured.
struct Sizes {
    std::string name;
    double factor;  // between the sizes, in units of text
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
        std::printf("growth %s %.4f\n", name.c_str(), many / few / factor);
    }
};

}  // namespace

void MeasureTable(NullBackend& backend, int rounds)
{
    const List small(ListOf(10000)), large(ListOf(100000));
    const std::vector<EntryTexts> smallTexts = TextsOf(small.text), largeTexts = TextsOf(large.text);
    Cache cache(backend);
    std::vector<List> lists;
    lists.reserve(2 * std::size(kHostile));
    std::vector<Sizes> cases;
    const auto add = [&](const char* name, const List& few, const List& many, auto run) {
        cases.push_back({name, many.units / few.units, [&few, run](Stretches& to) { run(few, to); },
                         [&many, run](Stretches& to) { run(many, to); }});
    };
    const auto rebuild = [&](const List& list, Stretches& to) { cache.Rebuild(list, to); };
    for (const Hostile& each : kHostile) {
        const List& few = lists.emplace_back(each.list(each.small), each.stretch);
        add(each.name, few, lists.emplace_back(each.list(each.large), each.stretch), rebuild);
    }
    // Well apart, so that none of them follows another one whose blocks have just gone back to the heap.
    // Reading, which may come right before the inserts, keeps no blocks.
    cases.insert(cases.begin(), {"inserts", 10, [&](Stretches& to) { InsertAll(smallTexts, to); },
                                 [&](Stretches& to) { InsertAll(largeTexts, to); }});
    const auto place = [&](std::size_t at) {
        std::rotate(cases.begin() + static_cast<std::ptrdiff_t>(at), cases.end() - 1, cases.end());
    };
    add("rebuild", small, large, rebuild);
    place(3);
    add("table", small, large, [](const List& list, Stretches& to) { RebuildTable(list, L"HARD", to); });
    place(6);
    add("reading", small, large, [](const List& list, Stretches& to) { RebuildTable(list, L"SOFT", to); });
    for (std::size_t round = 0; round < static_cast<std::size_t>(rounds); ++round)
        for (std::size_t i = 0; i < cases.size(); ++i) cases[(i + round) % cases.size()].Run();
    for (const Sizes& each : cases) each.Tell();
    std::fflush(stdout);
}

}  // namespace kzr::bench
