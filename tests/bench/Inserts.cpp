// The map's inserts alone, with the very texts of the list and compiled as the component is: whatever else
// stood here, reading or making texts, would not grow and so hide how the inserts do.
#include "Inserts.h"

#include <string>

#include "cache/UserTable.h"

namespace kzr::bench {

void InsertAll(const std::vector<EntryTexts>& entries, Stretches& stretches)
{
    UserTable::Entries map;
    int inserted = 0;
    stretches.Begin();
    for (const EntryTexts& each : entries) {
        if (++inserted % kStretch == 0) stretches.Mark();
        const auto place = map.lower_bound(each.containerName);
        const std::wstring key(each.containerName);
        map.emplace_hint(
            place, key,
            UserEntry{key, std::wstring(each.deviceSN), L"CSP", L"LIB", std::wstring(each.userName)});
    }
    stretches.Mark();
}

}  // namespace kzr::bench
