// The PIN record of a key: PBKDF2-SHA256 (200,000) of the PIN wraps the device key (AES-256-GCM), and the
// device key wraps each private key, so that a PIN change rewrites one file.
#pragma once

#include <string_view>

#include "base/Bytes.h"

namespace kzr::softkey {

enum class PinResult { Right, Wrong, Locked };

struct PinAnswer {
    PinResult result;
    int triesLeft;
};

inline constexpr int kPinIterations = 200'000;
inline constexpr int kDefaultTries = 10;

}  // namespace kzr::softkey
