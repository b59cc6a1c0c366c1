// Message digests and random bytes.
#pragma once

#include "base/Bytes.h"
#include "crypto/Algorithms.h"

namespace kzr::softkey {

// Throws Failure(Unsupported) for a code that is none of HashCode.
HashCode HashCodeOf(int code);

Bytes Digest(HashCode code, View data);
Bytes DigestFile(HashCode code, const std::string& path);

// `count` is 1 to 65,536; anything else throws Failure(BadArgument).
Bytes RandomBytes(int count);

}  // namespace kzr::softkey
