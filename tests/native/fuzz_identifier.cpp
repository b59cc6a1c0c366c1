// Fuzzer: any identifier in any table is looked up by its name before the first "/", unless it begins with
// it.
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "support/UserListOracle.h"

namespace {

void Demand(bool holds)
{
    if (!holds) std::abort();
}

}  // namespace

// Up to the first line feed the list, behind it the identifier.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 256) return 0;
    const std::uint8_t* const end = data + size;
    const std::uint8_t* const feed = std::find(data, end, '\n');
    const std::wstring list(data, feed);
    const std::wstring identifier(feed == end ? end : feed + 1, end);

    kzr::test::RecordingDevices devices;
    kzr::UserTable table;
    table.Rebuild(list, &devices);

    const std::size_t slash = identifier.find(L'/');
    const std::wstring key = slash == 0 ? identifier : identifier.substr(0, slash);
    const kzr::UserEntry* expected = nullptr;
    for (const auto& [name, entry] : table.All())
        if (name == key) expected = &entry;

    const kzr::UserEntry none;
    const kzr::UserEntry& entry = expected ? *expected : none;
    Demand(table.DeviceSNByContainer(identifier) == entry.DeviceSN);
    Demand(table.CspNameByContainer(identifier) == entry.CspName);
    Demand(table.ExtLibNameByContainer(identifier) == entry.ExtLibName);
    Demand(table.UniqueIdByContainer(identifier) ==
           (expected ? entry.ContainerName + L"/" + entry.DeviceSN : std::wstring()));
    return 0;
}
