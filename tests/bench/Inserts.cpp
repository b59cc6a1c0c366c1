// The map's inserts alone, with the very texts of the list and compiled as the component is: whatever else
// stood here, reading or making texts, would not grow and so hide how the inserts do.
#include "Inserts.h"

#include <string>

#include "cache/UserTable.h"

namespace kzr::bench {

void InsertAll(const std::vector<EntryTexts>& entries)
{
    UserTable::Entries map;
    for (const EntryTexts& each : entries) {
        const auto place = map.lower_bound(each.containerName);
        const std::wstring key(each.containerName);
        map.emplace_hint(
            place, key,
            UserEntry{key, std::wstring(each.deviceSN), L"CSP", L"LIB", std::wstring(each.userName)});
    }
}

}  // namespace kzr::bench
