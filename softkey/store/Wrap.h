// Keys that protect keys: a PIN stretched to one, and authenticated wrapping under one.
#pragma once

#include <string_view>

#include "base/Bytes.h"

namespace kzr::softkey {

inline constexpr std::size_t kWrapKeySize = 32;

Secret StretchPin(std::string_view pin, View salt, int iterations);

// AES-256-GCM under a new nonce: nonce (12), ciphertext, check value (16). `purpose` is bound to it, so that
// what was wrapped for one place opens in no other.
Bytes Wrap(const Secret& key, std::string_view purpose, View content);
// False when the key or the purpose is another one, or a byte was changed.
bool Unwrap(const Secret& key, std::string_view purpose, View wrapped, Secret& content);

}  // namespace kzr::softkey
