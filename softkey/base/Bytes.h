// Byte sequences of the software key: owned, borrowed, and those that hold a secret and are wiped when they
// go.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kzr::softkey {

using Bytes = std::vector<std::uint8_t>;
using View = std::span<const std::uint8_t>;

// Overwrites memory in a way that the compiler keeps.
void Wipe(void* data, std::size_t size) noexcept;

template <typename T>
struct WipingAllocator {
    using value_type = T;
    WipingAllocator() = default;
    template <typename U>
    explicit WipingAllocator(const WipingAllocator<U>&) noexcept
    {}
    T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
    void deallocate(T* data, std::size_t count) noexcept
    {
        Wipe(data, count * sizeof(T));
        std::allocator<T>().deallocate(data, count);
    }
    bool operator==(const WipingAllocator&) const = default;
};

// Keys, PINs and what is decrypted.
using Secret = std::vector<std::uint8_t, WipingAllocator<std::uint8_t>>;

inline View ViewOf(std::string_view text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}
inline std::string_view TextOf(View bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace kzr::softkey
