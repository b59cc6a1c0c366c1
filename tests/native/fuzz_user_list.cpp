// Fuzzer: any list, read by the cache and by the plain reader, must give the same table and the same calls.
#include <cstdint>
#include <cstdlib>

#include "support/UserListOracle.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 512) {
        return 0;  // the plain reader takes the square of it
    }
    const std::wstring list(data, data + size);
    kzr::test::RecordingDevices expectedCalls;
    kzr::test::UserListOracle oracle;
    oracle.Rebuild(list, &expectedCalls);

    kzr::test::RecordingDevices calls;
    kzr::UserTable table;
    table.Rebuild(list, &calls);
    if (table.All() != oracle.entries || calls.calls != expectedCalls.calls) {
        std::abort();
    }
    table.UniqueIdByContainer(list);
    table.UniqueIdByCspName(list);
    table.UniqueIdByExtLibName(list);
    table.ContainersByCspName(list);
    table.UserList();
    return 0;
}
