// Base64 as it crosses the interface: one line, no breaks.
#pragma once

#include "base/Bytes.h"

namespace kzr::softkey {

std::string Base64Encode(View bytes);

// Takes line breaks and blanks between the characters. Throws Failure(BadData) for anything else that is
// not Base64, and for a wrong length or padding.
Bytes Base64Decode(std::string_view text);

std::string HexUpper(View bytes);

}  // namespace kzr::softkey
