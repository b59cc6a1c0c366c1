// Who is logged in, in this process: the device keys of the keys whose PIN was right.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "base/Bytes.h"

namespace kzr::softkey {

// The key's plugging at the moment of the call, without a value when it is pulled. The logins are locked
// meanwhile: no plugging comes back, so that what stands for another one than was seen is of an older one.
using Look = std::function<std::optional<std::string>()>;

// A login lasts until the key is pulled, or the module goes: it belongs to one plugging, see
// Device::Plugging. All may be called on any thread.
class Sessions {
  public:
    // In place of an older one. Throws Failure(UnknownKey) when the key has been pulled since `plugging`;
    // whoever logged in to the next one stays.
    static void Begin(std::string_view serialNumber, const std::string& plugging, Secret deviceKey,
                      const Look& look);
    // When the key has been pulled since; one that cannot be looked at counts as pulled.
    static void EndIfPulled(std::string_view serialNumber, const Look& look) noexcept;
    static void EndAll() noexcept;
    static bool Any() noexcept;
    // By serial number, the plugging of each login.
    static std::map<std::string, std::string> Pluggings();
    // A copy of its own for the caller; throws Failure(NotLoggedIn) when there is none of this plugging. One
    // of another plugging serves nobody; the watch or the next login ends it.
    static Secret DeviceKey(std::string_view serialNumber, std::string_view plugging);
};

}  // namespace kzr::softkey
