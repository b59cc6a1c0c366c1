// What a container keeps of the control: its version and its extent, and the mask of stock properties, of
// which it has none. As bytes for streams, storages and memory; property bags name the same four values.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>

namespace kzr {

struct PersistentState {
    std::int32_t version;  // major in the high word
    std::int32_t extentX;  // hundredths of a millimetre
    std::int32_t extentY;
    std::int32_t stockProperties;
};
static_assert(sizeof(PersistentState) == 16);

inline constexpr std::int32_t kStateVersion = 0x00010000;

// Sizes that no container asks for are a sign of a foreign stream; 10 metres are enough for any screen.
inline constexpr std::int32_t kLargestExtent = 1000000;

constexpr bool IsPossibleExtent(long x, long y)
{
    return x >= 0 && y >= 0 && x <= kLargestExtent && y <= kLargestExtent;
}

constexpr PersistentState StateOf(const SIZE& extent) { return {kStateVersion, extent.cx, extent.cy, 0}; }

// The extent that a state holds; nothing when the state is none of this control's.
constexpr std::optional<SIZE> ExtentOf(const PersistentState& state)
{
    if (state.version != kStateVersion || state.stockProperties != 0 ||
        !IsPossibleExtent(state.extentX, state.extentY))
        return std::nullopt;
    return SIZE{state.extentX, state.extentY};
}

}  // namespace kzr
