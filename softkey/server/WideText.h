// Between the UTF-16 of the interface and the UTF-8 that everything inside speaks. Neither way drops or
// replaces a character.
#pragma once

#include <string>
#include <string_view>

#include "com/Bstr.h"

namespace kzr::softkey {

// Throws Failure(BadArgument) for half a surrogate pair.
std::string Utf8Of(std::wstring_view text);

// Throws Failure(BadData) for what is not UTF-8.
Bstr WideOf(std::string_view utf8);

}  // namespace kzr::softkey
