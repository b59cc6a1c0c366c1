// A key's containers in their files. The caller holds the key's lock, or is the only one who knows the
// folder.
#pragma once

#include <optional>

#include "store/Records.h"

namespace kzr::softkey {

// Throws Failure(UnknownContainer) and Failure(BadData).
ContainerRecord ReadContainer(const std::string& folder, const std::string& container);

// Throws Failure(BadArgument) when name or user cannot be listed, or a key does not fit its certificate.
void CheckNewContainer(const NewContainer& container);
void WriteContainer(const std::string& folder, const Secret& deviceKey, const NewContainer& container);

// Throws Failure(UnknownContainer) when there is no such pair, Failure(NotLoggedIn) for what is no device
// key, and Failure(BadData) for one that does not open the private key.
KeyHandle UnwrapKey(const ContainerRecord& record, const Secret& deviceKey, Pair pair);

}  // namespace kzr::softkey
