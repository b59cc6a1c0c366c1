// `operator new` for the DLL of the preset "page-heap": every block ends at a page that cannot be touched,
// and its memory cannot be touched either once it has been freed. What is written beside a block without
// reaching the page is found when it is freed. Each finding is a fault at the place of the mistake, which the
// tests count.
#include <windows.h>

#include <cstdint>
#include <cstring>
#include <new>

namespace {

constexpr std::size_t kPage = 4096;
// As aligned as the library's own.
constexpr std::size_t kAlignment = 16;
constexpr unsigned char kAround = 0xB5;
constexpr std::uint64_t kMagic = 0x7061676568656170;

struct Header {
    std::uint64_t magic;
    std::size_t size;
};

// Blocks that were freed last: their addresses are given to nobody else for a while.
constexpr std::size_t kKept = 512;
SRWLOCK g_lock = SRWLOCK_INIT;
void* g_kept[kKept];
std::size_t g_next = 0;
bool g_ended = false;

constexpr std::size_t RoundUp(std::size_t size, std::size_t to) { return (size + to - 1) / to * to; }

struct Block {
    unsigned char* base;
    unsigned char* user;
    unsigned char* end;
};

Block BlockOf(unsigned char* base, std::size_t size)
{
    const std::size_t room = RoundUp(size, kAlignment);
    unsigned char* const end = base + RoundUp(sizeof(Header) + room, kPage);
    return {base, end - room, end};
}

void* Allocate(std::size_t size) noexcept
{
    const Block shape = BlockOf(nullptr, size);
    const auto pages = static_cast<std::size_t>(shape.end - shape.base);
    auto* const base = static_cast<unsigned char*>(
        VirtualAlloc(nullptr, pages + kPage, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    if (!base) return nullptr;
    const Block block = BlockOf(base, size);
    DWORD before;
    VirtualProtect(block.end, kPage, PAGE_NOACCESS, &before);
    const Header header{kMagic, size};
    std::memset(base, kAround, static_cast<std::size_t>(block.end - base));
    std::memcpy(base, &header, sizeof(header));
    return block.user;
}

bool IsUntouched(const unsigned char* from, const unsigned char* to)
{
    for (; from < to; ++from)
        if (*from != kAround) return false;
    return true;
}

void Keep(void* base) noexcept
{
    VirtualFree(base, 0, MEM_DECOMMIT);
    AcquireSRWLockExclusive(&g_lock);
    void* oldest = base;
    if (!g_ended) {
        oldest = g_kept[g_next];
        g_kept[g_next] = base;
        g_next = (g_next + 1) % kKept;
    }
    ReleaseSRWLockExclusive(&g_lock);
    if (oldest) VirtualFree(oldest, 0, MEM_RELEASE);
}

void Free(void* user) noexcept
{
    if (!user) return;
    const DWORD error = GetLastError();
    MEMORY_BASIC_INFORMATION facts;
    if (!VirtualQuery(user, &facts, sizeof(facts))) __builtin_trap();
    auto* const base = static_cast<unsigned char*>(facts.AllocationBase);
    Header header;
    std::memcpy(&header, base, sizeof(header));
    const Block block = BlockOf(base, header.size);
    if (header.magic != kMagic || block.user != user || !IsUntouched(base + sizeof(Header), block.user) ||
        !IsUntouched(block.user + header.size, block.end))
        __builtin_trap();
    Keep(base);
    SetLastError(error);
}

// The module goes: nothing of it may stay behind.
[[gnu::destructor]] void End()
{
    g_ended = true;
    for (void* const base : g_kept)
        if (base) VirtualFree(base, 0, MEM_RELEASE);
}

}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new(std::size_t size)
{
    void* const memory = Allocate(size);
    if (!memory) throw std::bad_alloc();
    return memory;
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* memory) noexcept { Free(memory); }
void operator delete(void* memory, std::size_t) noexcept { Free(memory); }
void operator delete[](void* memory) noexcept { Free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { Free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { Free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { Free(memory); }
