// Who is logged in, in this process: the device keys of the keys whose PIN was right.
#pragma once

#include <string>
#include <string_view>

#include "base/Bytes.h"

namespace kzr::softkey {

// A login lasts until the key is pulled, or the module goes: it belongs to one plugging, see
// Device::Plugging. All may be called on any thread.
class Sessions {
  public:
    static void Begin(std::string_view serialNumber, const std::string& plugging, Secret deviceKey);
    // That of another plugging; one that came with this one stays.
    static void EndOther(std::string_view serialNumber, std::string_view plugging) noexcept;
    // That of this plugging only.
    static void EndOne(std::string_view serialNumber, std::string_view plugging) noexcept;
    static void End(std::string_view serialNumber) noexcept;
    static void EndAll() noexcept;
    static bool Any() noexcept;
    // A copy of its own for the caller; throws Failure(NotLoggedIn) when there is none of this plugging. One
    // of another plugging serves nobody; the news of the pull or the next login ends it.
    static Secret DeviceKey(std::string_view serialNumber, std::string_view plugging);
};

}  // namespace kzr::softkey
