// The key and container that a caller names: "Container/SN" as SOF_GetUserList gives it, or the container
// alone.
#pragma once

#include <string>

#include "store/Store.h"

namespace kzr::softkey {

Store OpenStore();

// Throws Failure(UnknownKey); a login to such a key has ended.
Device FindDevice(const Store& store, const std::string& serialNumber);

struct Selected {
    Device device;
    ContainerDescription container;

    const std::string& SerialNumber() const { return device.Description().serialNumber; }
    // Throws Failure(NotLoggedIn), and Failure(UnknownContainer) when the container lacks the pair.
    KeyHandle PrivateKey(Pair pair) const;
};

// Throws Failure(UnknownKey) and Failure(UnknownContainer).
Selected Select(const std::string& id);

}  // namespace kzr::softkey
