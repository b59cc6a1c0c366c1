// Who is logged in, in this process: the device keys of the keys whose PIN was right.
#pragma once

#include <string_view>

#include "base/Bytes.h"

namespace kzr::softkey {

// A login lasts until the key is pulled, or the module goes. All may be called on any thread.
class Sessions {
  public:
    static void Begin(std::string_view serialNumber, Secret deviceKey);
    static void End(std::string_view serialNumber) noexcept;
    static void EndAll() noexcept;
    static bool Any() noexcept;
    // A copy of its own for the caller; throws Failure(NotLoggedIn).
    static Secret DeviceKey(std::string_view serialNumber);
};

}  // namespace kzr::softkey
