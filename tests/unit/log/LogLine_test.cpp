// One line's layout, to the character.
#include "log/LogLine.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace kzr {
namespace {

constexpr SYSTEMTIME kTime = {2024, 3, 2, 5, 9, 7, 1, 42};

LineFacts Facts(const char* source, std::int32_t level = 8, std::uint32_t status = 0)
{
    return LineFacts{kTime, 4120, source, 21, level, status};
}

// Followed by bytes that nobody may touch.
std::string Build(const LineFacts& facts, const char* format, ...)
{
    std::vector<char> buffer(kLineCapacity + 64, '\x7e');
    va_list arguments;
    va_start(arguments, format);
    const std::size_t length = BuildLine(buffer.data(), facts, format, arguments);
    va_end(arguments);
    EXPECT_LE(length, kLineCapacity);
    for (std::size_t i = kLineCapacity; i < buffer.size(); ++i)
        EXPECT_EQ('\x7e', buffer[i]) << "written past the end by " << i - kLineCapacity + 1;
    return std::string(buffer.data(), length);
}

std::string InTextMode(const std::string& text)
{
    std::vector<char> buffer(kTextModeCapacity, '\0');
    std::memcpy(buffer.data(), text.data(), text.size());
    const std::size_t length = ToTextMode(buffer.data(), text.size());
    EXPECT_LE(length, kTextModeCapacity);
    return std::string(buffer.data(), length);
}

TEST(LogLine, LooksLikeTheExample)
{
    EXPECT_EQ(
        "[2024-03-05 09:07:01.042] [trace] tid[4120]AxKzrApp(21): status(0), CAxKzrApp::Instance "
        "starting...\n",
        Build(Facts("AxKzrApp"), "CAxKzrApp::Instance starting..."));
}

TEST(LogLine, TheTimeTakes26CharactersWithItsBlank) { EXPECT_EQ(26u, Build(Facts("x"), "").find("[trace]")); }

TEST(LogLine, EveryPartOfTheTimeIsPadded)
{
    LineFacts facts = Facts(nullptr);
    facts.time = {7, 1, 0, 2, 3, 4, 5, 6};
    EXPECT_EQ("[0007-01-02 03:04:05.006] [trace] tid[4120]status(0), \n", Build(facts, ""));
    facts.time = {2999, 12, 0, 31, 23, 59, 59, 999};
    EXPECT_EQ("[2999-12-31 23:59:59.999] [trace] tid[4120]status(0), \n", Build(facts, ""));
}

TEST(LogLine, EachLevelHasItsName)
{
    const char* const names[] = {"emerg",  "alert", "crit",  "error", "warn",
                                 "notice", "info",  "debug", "trace"};
    for (int level = 0; level < 9; ++level) {
        EXPECT_EQ(
            std::string("[2024-03-05 09:07:01.042] [") + names[level] + "] tid[4120]S(21): status(0), m\n",
            Build(Facts("S", level), "m"));
        EXPECT_STREQ(names[level], LevelName(level));
        EXPECT_EQ(level, LevelNumber(names[level]));
    }
}

TEST(LogLine, OtherLevelsHaveNoName)
{
    EXPECT_STREQ("", LevelName(-1));
    EXPECT_STREQ("", LevelName(9));
    EXPECT_STREQ("", LevelName(2147483647));
}

TEST(LogLine, ALevelNameCountsOnlyWhenItMatchesExactly)
{
    for (const char* name : {"Trace", "TRACE", "trac", "traces", "", " trace", "trace ", "8"})
        EXPECT_EQ(-1, LevelNumber(name)) << name;
}

TEST(LogLine, ANullSourceLeavesSourceAndLineOut)
{
    EXPECT_EQ("[2024-03-05 09:07:01.042] [trace] tid[4120]status(0), text\n", Build(Facts(nullptr), "text"));
}

TEST(LogLine, ANegativeLevelLeavesSourceAndLineOut)
{
    EXPECT_EQ("[2024-03-05 09:07:01.042] [] tid[4120]status(0), text\n", Build(Facts("Source", -1), "text"));
}

TEST(LogLine, TheSourceIsCutAfterItsLastSlash)
{
    const struct {
        const char* given;
        const char* shown;
    } rows[] = {
        {"Crypto", "Crypto"},
        {"src/objects/Crypto.cpp", "Crypto.cpp"},
        {"d:\\work\\objects\\Crypto.cpp", "Crypto.cpp"},
        {"d:\\work/objects\\Crypto.cpp", "objects\\Crypto.cpp"},  // a slash goes before any backslash
        {"a/b\\c", "b\\c"},
        {"objects/", ""},
        {"objects\\", ""},
        {"/", ""},
        {"", ""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(
            std::string("[2024-03-05 09:07:01.042] [trace] tid[4120]") + row.shown + "(21): status(0), m\n",
            Build(Facts(row.given), "m"))
            << row.given;
}

TEST(LogLine, TheStatusIsLowerCaseHexadecimalWithoutPadding)
{
    const struct {
        std::uint32_t status;
        const char* shown;
    } rows[] = {{0, "0"},
                {5, "5"},
                {0x1f, "1f"},
                {0x80004005, "80004005"},
                {0xABCDEF01, "abcdef01"},
                {0xFFFFFFFF, "ffffffff"}};
    for (const auto& row : rows)
        EXPECT_EQ(
            std::string("[2024-03-05 09:07:01.042] [error] tid[4120]S(21): status(") + row.shown + "), m\n",
            Build(Facts("S", 3, row.status), "m"));
}

TEST(LogLine, ThreadAndLineAreDecimal)
{
    LineFacts facts = Facts("S");
    facts.threadId = 4294967295u;  // shown signed, as "%d" shows it
    facts.line = 0;
    EXPECT_EQ("[2024-03-05 09:07:01.042] [trace] tid[-1]S(0): status(0), m\n", Build(facts, "m"));
    facts.threadId = 0;
    facts.line = 123456;
    EXPECT_EQ("[2024-03-05 09:07:01.042] [trace] tid[0]S(123456): status(0), m\n", Build(facts, "m"));
}

TEST(LogLine, TheMessageIsFormatted)
{
    EXPECT_EQ("[2024-03-05 09:07:01.042] [trace] tid[4120]S(21): status(0), a -7 b 100% ff\n",
              Build(Facts("S"), "%s %d %s 100%% %x", "a", -7, "b", 255));
}

TEST(LogLine, ANullTextIsShownAsThePlatformShowsIt)
{
    EXPECT_EQ("[2024-03-05 09:07:01.042] [trace] tid[4120]S(21): status(0), a (null) 7 b\n",
              Build(Facts("S"), "%s %s %d b", "a", static_cast<const char*>(nullptr), 7));
}

TEST(LogLine, NumbersAreShownToTheirExtremes)
{
    EXPECT_EQ("[2024-03-05 09:07:01.042] [trace] tid[4120]S(21): status(0), 0,2147483647,-2147483648\n",
              Build(Facts("S"), "%d,%d,%d", 0, 2147483647, -2147483647 - 1));
}

TEST(LogLine, AMessageOfSeveralPiecesThatJustFitsIsWrittenAndALongerOneIsLost)
{
    const std::string prefix = "[2024-03-05 09:07:01.042] [trace] tid[4120]S(21): status(0), ";
    const std::size_t rest = kLineCapacity - prefix.size();
    const std::size_t others = std::strlen("()(-12) end");
    for (std::size_t length = rest - others - 20; length <= rest - others + 20; ++length) {
        const std::string value = std::string(length - 1, 'x') + "y";
        const bool fits = length + others < rest;
        EXPECT_EQ(fits ? prefix + "(" + value + ")(-12) end\n" : prefix.substr(0, prefix.size() - 1) + "\n",
                  Build(Facts("S"), "(%s)(%d) end", value.c_str(), -12))
            << "length " << length;
    }
}

TEST(LogLine, AMessageThatJustFitsIsWrittenAndALongerOneIsLost)
{
    const std::string prefix = "[2024-03-05 09:07:01.042] [trace] tid[4120]S(21): status(0), ";
    const std::size_t rest = kLineCapacity - prefix.size();
    int written = 0, lost = 0;
    for (std::size_t length = rest - 51; length <= rest + 49; ++length) {
        const std::string message = std::string(length - 1, 'x') + "y";
        const std::string line = Build(Facts("S"), "%s", message.c_str());
        if (length < rest) {
            EXPECT_EQ(prefix + message + "\n", line) << "length " << length;
            ++written;
        } else {
            EXPECT_EQ(prefix.substr(0, prefix.size() - 1) + "\n", line) << "length " << length;
            ++lost;
        }
    }
    EXPECT_EQ(101, written + lost);
    EXPECT_EQ(51, written);
}

TEST(LogLine, AVeryLongMessageIsLostAndItsPrefixIsKept)
{
    const std::string message(200000, 'z');
    EXPECT_EQ("[2024-03-05 09:07:01.042] [error] tid[4120]S(21): status(5),\n",
              Build(Facts("S", 3, 5), "%s", message.c_str()));
}

TEST(LogLine, AVeryLongSourceLeavesTheBufferWhole)
{
    const std::string source(100000, 's');
    const std::string line = Build(Facts(source.c_str()), "message");
    EXPECT_TRUE(line.ends_with("(21): status(0), message\n"));
}

TEST(LogLine, EveryLineFeedLeavesAsTwoBytes)
{
    EXPECT_EQ("", InTextMode(""));
    EXPECT_EQ("abc", InTextMode("abc"));
    EXPECT_EQ("abc\r\n", InTextMode("abc\n"));
    EXPECT_EQ("\r\n", InTextMode("\n"));
    EXPECT_EQ("\r\n\r\na\r\n", InTextMode("\n\na\n"));
    EXPECT_EQ("a\r\r\nb\r\n", InTextMode("a\r\nb\n"));  // a carriage return that was there stays
    EXPECT_EQ(std::string("a\0b\r\n", 5), InTextMode(std::string("a\0b\n", 4)));
}

TEST(LogLine, ALineOfNothingButLineFeedsFitsInTextMode)
{
    const std::string text(kLineCapacity, '\n');
    const std::string made = InTextMode(text);
    ASSERT_EQ(2 * kLineCapacity, made.size());
    for (std::size_t i = 0; i < made.size(); i += 2) ASSERT_EQ("\r\n", made.substr(i, 2));
}

}  // namespace
}  // namespace kzr
