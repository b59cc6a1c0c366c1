// Where the C++ runtime puts what is thrown. Its own version sets 73 KB aside on every load for the day when
// memory is short, and brings a library of threads along to share them; what this module throws is a few
// bytes, and few threads throw at once.
#include <windows.h>

#include <atomic>
#include <cstddef>
#include <cstring>
#include <exception>

namespace kzr {
namespace {

// What the runtime keeps before the thrown object: 160 bytes with this compiler. A thread that takes an
// exception over from another keeps as much again.
constexpr std::size_t kHeader = 256;

constexpr unsigned kReserves = 16;
constexpr std::size_t kReserveSize = 512;
alignas(16) char g_reserves[kReserves][kReserveSize];
std::atomic<unsigned> g_taken{0};  // a bit for each

void* TakeReserve(std::size_t bytes) noexcept
{
    if (bytes > kReserveSize) return nullptr;
    for (unsigned i = 0; i < kReserves; ++i) {
        const unsigned bit = 1u << i;
        if ((g_taken.fetch_or(bit, std::memory_order_acquire) & bit) != 0) continue;
        std::memset(g_reserves[i], 0, kReserveSize);
        return g_reserves[i];
    }
    return nullptr;
}

bool GiveReserveBack(const void* memory) noexcept
{
    const auto* const at = static_cast<const char*>(memory);
    for (unsigned i = 0; i < kReserves; ++i) {
        if (at != g_reserves[i]) continue;
        g_taken.fetch_and(~(1u << i), std::memory_order_release);
        return true;
    }
    return false;
}

// Zeroed, as the runtime expects it. Without memory even from the reserve nothing can be thrown, and the
// process ends, as ever.
void* Take(std::size_t bytes) noexcept
{
    void* memory = HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, bytes);
    if (!memory) memory = TakeReserve(bytes);
    if (!memory) std::terminate();
    return memory;
}

void Give(void* memory) noexcept
{
    if (!GiveReserveBack(memory)) HeapFree(GetProcessHeap(), 0, memory);
}

}  // namespace
}  // namespace kzr

// They stand in for the runtime's own four.
extern "C" {

void* __cxa_allocate_exception(std::size_t size) noexcept
{
    return static_cast<char*>(kzr::Take(kzr::kHeader + size)) + kzr::kHeader;
}

void __cxa_free_exception(void* object) noexcept { kzr::Give(static_cast<char*>(object) - kzr::kHeader); }

void* __cxa_allocate_dependent_exception() noexcept;
void* __cxa_allocate_dependent_exception() noexcept { return kzr::Take(kzr::kHeader); }

void __cxa_free_dependent_exception(void* object) noexcept;
void __cxa_free_dependent_exception(void* object) noexcept { kzr::Give(object); }
}
