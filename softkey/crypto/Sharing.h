// Secret sharing over GF(256): any `needed` of `count` shares give the secret back, provided that the first
// `mandatory` shares are among them.
#pragma once

#include <vector>

#include "base/Bytes.h"

namespace kzr::softkey {

// 1 <= mandatory <= needed <= count <= 255 (mandatory may be 0); anything else, and an empty secret, throws
// Failure(BadArgument). Each share is text without blanks, with a set id, its number and a check value of its
// own.
std::vector<std::string> SplitSecret(View secret, int count, int needed, int mandatory);

// Throws Failure(BadData) when shares are malformed, of different sets, repeated, too few, without a
// mandatory one, or give a secret whose check value is wrong.
Secret RecoverSecret(const std::vector<std::string>& shares);

}  // namespace kzr::softkey
