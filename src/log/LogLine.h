// The layout of one log line, to the character. Knows nothing of files.
#pragma once

#include <windows.h>

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kzr {

// A line is built in this many bytes, its line feed included.
constexpr std::size_t kLineCapacity = 32768;
// In text mode every line feed leaves as two bytes.
constexpr std::size_t kTextModeCapacity = 2 * kLineCapacity;

struct LineFacts {
    SYSTEMTIME time;
    DWORD threadId;
    const char* sourceFile;
    std::uint32_t line;
    std::int32_t level;
    std::uint32_t status;
};

// Builds the line with its line feed in `buffer` (kLineCapacity bytes) and answers its length. A message that
// does not fit is lost: the line feed then replaces the blank at the prefix's end.
std::size_t BuildLine(char* buffer, const LineFacts& facts, const char* format, va_list arguments);

// As the platform's formatter, which every line of a call would otherwise wait for: fills `room` bytes
// without an end, and answers whether all fitted. `length` is what stands in the buffer.
bool FormatMessageText(char* buffer, std::size_t room, const char* format, va_list arguments,
                       std::size_t& length);

// A prefix is never longer.
constexpr std::size_t kPrefixCapacity = 384;

// The same of a text without places and line feeds, with both bytes of its end as text mode wants them; what
// does not fit is cut.
std::size_t BuildFixedLine(char* buffer, std::size_t capacity, const LineFacts& facts, std::string_view text);

// Turns every line feed of `buffer` (kTextModeCapacity bytes) into CR LF in place; answers the new length.
std::size_t ToTextMode(char* buffer, std::size_t length);

// The level's name by its number, or "" outside 0 to 8.
const char* LevelName(std::int32_t level);
// The number of an exactly matching name, or -1.
std::int32_t LevelNumber(const char* name);

}  // namespace kzr
