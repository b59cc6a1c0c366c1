#include "support/Resources.h"

#include <winternl.h>

#include <vector>

namespace kzr::test {
namespace {

// As the system lays them out; the platform's own handle count answers 0 on some systems.
struct HandleEntry {
    void* object;
    ULONG_PTR processId;
    ULONG_PTR handle;
    ULONG access;
    USHORT trace;
    USHORT type;
    ULONG attributes;
    ULONG reserved;
};
struct HandleTable {
    ULONG_PTR count;
    ULONG_PTR reserved;
    HandleEntry entries[1];
};
constexpr auto kExtendedHandleInformation = static_cast<SYSTEM_INFORMATION_CLASS>(64);

std::size_t CountHandles()
{
    std::vector<char> buffer(1 << 20);
    ULONG needed = 0;
    while (NtQuerySystemInformation(kExtendedHandleInformation, buffer.data(),
                                    static_cast<ULONG>(buffer.size()),
                                    &needed) == static_cast<NTSTATUS>(0xC0000004))
        buffer.resize(buffer.size() * 2);
    const auto* const table = reinterpret_cast<const HandleTable*>(buffer.data());
    std::size_t count = 0;
    for (ULONG_PTR i = 0; i < table->count; ++i)
        count += table->entries[i].processId == GetCurrentProcessId();
    return count;
}

void CountHeaps(ResourceCount& count)
{
    HANDLE heaps[256];
    const DWORD heapCount = GetProcessHeaps(256, heaps);
    for (DWORD i = 0; i < heapCount && i < 256; ++i) {
        HeapLock(heaps[i]);
        PROCESS_HEAP_ENTRY entry{};
        while (HeapWalk(heaps[i], &entry)) {
            if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) == 0) continue;
            count.heapBytes += entry.cbData;
            ++count.heapBlocks;
        }
        HeapUnlock(heaps[i]);
    }
}

std::size_t CountFreeTlsSlots()
{
    std::vector<DWORD> slots;
    slots.reserve(2048);
    for (DWORD slot = TlsAlloc(); slot != TLS_OUT_OF_INDEXES; slot = TlsAlloc()) slots.push_back(slot);
    for (const DWORD slot : slots) TlsFree(slot);
    return slots.size();
}

}  // namespace

ResourceCount CountResources()
{
    ResourceCount count;
    count.freeTlsSlots = CountFreeTlsSlots();
    count.handles = CountHandles();
    CountHeaps(count);
    return count;
}

}  // namespace kzr::test
