// Automation strings to narrow text and back, in each code page that the component meets.
#include "unit/com/TextRows.h"

namespace kzr {
namespace {

using namespace std::literals;
using test::ExpectCodePage;
using test::NarrowOf;

TEST(Text, ANullOrEmptyStringGivesNothing)
{
    EXPECT_EQ("", BstrToString(static_cast<BSTR>(nullptr)));
    EXPECT_EQ("", NarrowOf(L""));
    EXPECT_EQ(L"", StringToWide(static_cast<const char*>(nullptr)));
    EXPECT_EQ(L"", StringToWide(""));
}

TEST(Text, TheStringsOwnLengthCounts)
{
    EXPECT_EQ("a\0b\0"s, NarrowOf(L"a\0b\0"sv));
    EXPECT_EQ("\0"s, NarrowOf(L"\0"sv));
    // The wide terminator is no part of it.
    EXPECT_EQ(3u, NarrowOf(L"abc").size());
}

TEST(Text, AnOddByteIsNoCharacter)
{
    const Bstr odd = Bstr::Adopt(SysAllocStringByteLen("a\0b\0c", 5));
    EXPECT_EQ("ab", BstrToString(odd.Get()));
    const Bstr one = Bstr::Adopt(SysAllocStringByteLen("a", 1));
    EXPECT_EQ("", BstrToString(one.Get()));
}

TEST(Text, NarrowTextEndsAtItsFirstNull)
{
    EXPECT_EQ(L"a", StringToWide("a\0b"s));
    EXPECT_EQ(L"a", StringToWide("a\0b"));
}

TEST(Text, ALongTextComesThroughWhole)
{
    const std::wstring wide(100000, L'x');
    EXPECT_EQ(std::string(100000, 'x'), NarrowOf(wide));
    EXPECT_EQ(wide, StringToWide(std::string(100000, 'x')));
}

TEST(CodePage1252, IsWhatThisProcessHas) { ExpectCodePage(1252); }

TEST(CodePage1252, HoldsWesternLetters)
{
    ExpectCodePage(1252);
    EXPECT_EQ("\xe4\xdf\x80", NarrowOf(L"\u00e4\u00df\u20ac"));
    EXPECT_EQ(L"\u00e4\u00df\u20ac", StringToWide("\xe4\xdf\x80"));
}

TEST(CodePage1252, ShowsWhatItCannotHoldAsItsDefaultCharacter)
{
    ExpectCodePage(1252);
    EXPECT_EQ("a??b", NarrowOf(L"a\u4e2d\u6587b"));
    EXPECT_EQ("?\0?"s, NarrowOf(L"\u4e2d\0\u4e2d"sv));
}

TEST(CodePage1252, MayApproximateALetterThatItHasNotGot)
{
    ExpectCodePage(1252);
    // No flag forbids the best fit: the fullwidth letter becomes the plain one.
    EXPECT_EQ("A", NarrowOf(L"\uff21"));
}

TEST(CodePage1252, NarrowTextGoesBackByTheThreadsOwnPage)
{
    ExpectCodePage(1252);
    const LCID before = GetThreadLocale();
    ASSERT_TRUE(
        SetThreadLocale(MAKELCID(MAKELANGID(LANG_CHINESE, SUBLANG_CHINESE_SIMPLIFIED), SORT_DEFAULT)));
    EXPECT_EQ(L"\u4e2d", StringToWide("\xd6\xd0"));  // the thread's page, 936
    EXPECT_EQ("?", NarrowOf(L"\u4e2d"));             // the system's page, still 1252
    SetThreadLocale(before);
    EXPECT_EQ(L"\u00d6\u00d0", StringToWide("\xd6\xd0"));
}

TEST(CodePage936, IsWhatThisProcessHas) { ExpectCodePage(936); }

TEST(CodePage936, TakesTwoBytesForAChineseCharacter)
{
    ExpectCodePage(936);
    EXPECT_EQ("\xd6\xd0\xce\xc4", NarrowOf(L"\u4e2d\u6587"));
    EXPECT_EQ(L"\u4e2d\u6587", StringToWide("\xd6\xd0\xce\xc4"));
    EXPECT_EQ("a\xd6\xd0z", NarrowOf(L"a\u4e2dz"));
}

TEST(CodePage936, ACharacterWithABackslashInItComesThrough)
{
    ExpectCodePage(936);
    // 0x81 0x5C, 0x8E 0x5C and 0x81 0x7C: the second bytes are "\" and "|".
    for (const char* narrow : {"\x81\\", "\x8e\\", "\x81|", "a\x81\\b\x81|c"}) {
        const std::wstring wide = StringToWide(narrow);
        EXPECT_EQ(std::wstring::npos, wide.find_first_of(L"\\|"));
        EXPECT_EQ(narrow, NarrowOf(wide));
    }
    EXPECT_EQ(L"\u4e57\u4e85", StringToWide("\x81\\\x81|"));
}

TEST(CodePage936, ShowsWhatItCannotHoldAsItsDefaultCharacter)
{
    ExpectCodePage(936);
    EXPECT_EQ("\xd6\xd0?\xce\xc4", NarrowOf(L"\u4e2d\u0e01\u6587"));
    EXPECT_EQ("??", NarrowOf(L"\U0001F600"));  // two units, neither of them held
}

TEST(CodePage936, EmbeddedNullsCountOnTheWayOutAndEndTheTextOnTheWayBack)
{
    ExpectCodePage(936);
    EXPECT_EQ("\xd6\xd0\0\xce\xc4"s, NarrowOf(L"\u4e2d\0\u6587"sv));
    EXPECT_EQ(L"\u4e2d", StringToWide("\xd6\xd0\0\xce\xc4"s));
}

TEST(CodePage936, AnOddByteIsNoCharacter)
{
    ExpectCodePage(936);
    const Bstr odd = Bstr::Adopt(SysAllocStringByteLen("\x2d\x4e\x87", 3));
    EXPECT_EQ("\xd6\xd0", BstrToString(odd.Get()));
}

TEST(CodePage936, NarrowTextGoesBackByTheThreadsOwnPage)
{
    ExpectCodePage(936);
    const LCID before = GetThreadLocale();
    ASSERT_TRUE(SetThreadLocale(MAKELCID(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN), SORT_DEFAULT)));
    EXPECT_EQ(L"\u00d6\u00d0", StringToWide("\xd6\xd0"));
    EXPECT_EQ("\xd6\xd0", NarrowOf(L"\u4e2d"));
    SetThreadLocale(before);
}

TEST(CodePage65001, IsWhatThisProcessHas) { ExpectCodePage(65001); }

TEST(CodePage65001, HoldsEverything)
{
    ExpectCodePage(65001);
    EXPECT_EQ("a\xc3\xa4\xe4\xb8\xad\xf0\x9f\x98\x80", NarrowOf(L"a\u00e4\u4e2d\U0001F600"));
    EXPECT_EQ(L"a\u00e4\u4e2d\U0001F600", StringToWide("a\xc3\xa4\xe4\xb8\xad\xf0\x9f\x98\x80"));
    EXPECT_EQ("\xe4\xb8\xad\0\xe6\x96\x87"s, NarrowOf(L"\u4e2d\0\u6587"sv));
}

TEST(CodePage65001, HalfACharacterBecomesTheReplacement)
{
    ExpectCodePage(65001);
    EXPECT_EQ("\xef\xbf\xbd", NarrowOf(std::wstring(1, static_cast<wchar_t>(0xD83D))));
}

}  // namespace
}  // namespace kzr
