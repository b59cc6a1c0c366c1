// What the tests of each code page share.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "com/Bstr.h"
#include "com/Text.h"

namespace kzr::test {

// A suite of one code page runs in a process that has it.
inline void ExpectCodePage(unsigned page)
{
    ASSERT_EQ(page, GetACP()) << "the process was started with another ANSI code page";
}

inline std::string NarrowOf(std::wstring_view wide)
{
    const Bstr text(wide);
    const std::string narrow = BstrToString(text.Get());
    // Both forms must agree.
    EXPECT_EQ(narrow, BstrToString(wide));
    return narrow;
}

}  // namespace kzr::test
