// The backend's list of serial numbers, taken apart from its front.
#pragma once

#include <algorithm>
#include <string_view>

namespace kzr {

// The first serial number of `list`, which loses it. Each ends in ";"; a last one that does not is a serial
// number all the same. To be called as long as anything is left.
inline std::wstring_view TakeSerialNumber(std::wstring_view& list) noexcept
{
    const std::size_t end = std::min(list.find(L';'), list.size());
    const std::wstring_view taken = list.substr(0, end);
    list.remove_prefix(std::min(end + 1, list.size()));
    return taken;
}

}  // namespace kzr
