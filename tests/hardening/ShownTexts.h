// Random texts of which is known, without the platform's conversion, how a narrow log must show them.
#pragma once

#include <optional>
#include <random>
#include <string>
#include <string_view>

namespace kzr::test {

// In an ANSI code page, by a table of its own; nothing for a text that holds other characters than the
// makers' ones. Knows 1252, 936 and 65001.
std::optional<std::string> NarrowByTable(std::wstring_view wide, unsigned codePage);

// ASCII, letters that some pages have, halves of pairs, nulls, percent signs, line ends; now and then as long
// as a line.
std::wstring AnyShownText(std::mt19937& random, unsigned codePage);

}  // namespace kzr::test
