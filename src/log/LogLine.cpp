#include "log/LogLine.h"

#include <cstdio>
#include <cstring>
#include <string_view>

namespace kzr {
namespace {

constexpr const char* kLevelNames[] = {"emerg",  "alert", "crit",  "error", "warn",
                                       "notice", "info",  "debug", "trace"};
constexpr std::int32_t kLevelCount = 9;

// A prefix is made of numbers and names; only the source name has no fixed bound, so it is cut at this length
// to leave the buffer to the message.
constexpr std::size_t kLongestSource = 260;

// Writes a line's prefix piece by piece; a formatter per piece would double a line's cost.
class Prefix {
  public:
    explicit Prefix(char* start) : m_start(start), m_next(start) {}

    void Text(std::string_view text)
    {
        std::memcpy(m_next, text.data(), text.size());
        m_next += text.size();
    }
    void Padded(unsigned value, int width)
    {
        for (int i = width - 1; i >= 0; --i, value /= 10) m_next[i] = static_cast<char>('0' + value % 10);
        m_next += width;
    }
    void Decimal(std::int32_t value)
    {
        if (value < 0) *m_next++ = '-';
        Number(value < 0 ? 0u - static_cast<std::uint32_t>(value) : static_cast<std::uint32_t>(value), 10);
    }
    void Hexadecimal(std::uint32_t value) { Number(value, 16); }
    std::size_t Length() const { return static_cast<std::size_t>(m_next - m_start); }

  private:
    void Number(std::uint32_t value, std::uint32_t base)
    {
        char digits[12];
        int count = 0;
        do {
            digits[count++] = "0123456789abcdef"[value % base];
            value /= base;
        } while (value != 0);
        while (count > 0) *m_next++ = digits[--count];
    }

    char* m_start;
    char* m_next;
};

std::string_view BaseName(const char* path)
{
    const char* slash = std::strrchr(path, '/');
    if (!slash) slash = std::strrchr(path, '\\');
    const std::string_view name(slash ? slash + 1 : path);
    return name.substr(0, kLongestSource);
}

const char* InDecimal(char* digits, std::int32_t value)
{
    Prefix number(digits);
    number.Decimal(value);
    digits[number.Length()] = '\0';
    return digits;
}

// A message as it grows. What it is made of is copied byte by byte: the pieces are short, and the platform's
// own searches and copies cost more to enter than they save.
class Message {
  public:
    Message(char* start, std::size_t room) : m_start(start), m_next(start), m_end(start + room) {}

    // Up to the text's end or the mark of a place, where it then stands; false when not all fits.
    bool Take(const char*& text, char mark)
    {
        const char* from = text;
        char* to = m_next;
        while (to != m_end && *from != '\0' && *from != mark) *to++ = *from++;
        text = from;
        m_next = to;
        return *from == '\0' || *from == mark;
    }
    std::size_t Length() const { return static_cast<std::size_t>(m_next - m_start); }

  private:
    char* m_start;
    char* m_next;
    char* m_end;
};

std::size_t BuildPrefix(char* buffer, const LineFacts& facts)
{
    Prefix prefix(buffer);
    const SYSTEMTIME& t = facts.time;
    prefix.Text("[");
    prefix.Padded(t.wYear, 4);
    prefix.Text("-");
    prefix.Padded(t.wMonth, 2);
    prefix.Text("-");
    prefix.Padded(t.wDay, 2);
    prefix.Text(" ");
    prefix.Padded(t.wHour, 2);
    prefix.Text(":");
    prefix.Padded(t.wMinute, 2);
    prefix.Text(":");
    prefix.Padded(t.wSecond, 2);
    prefix.Text(".");
    prefix.Padded(t.wMilliseconds, 3);
    prefix.Text("] [");
    prefix.Text(LevelName(facts.level));
    prefix.Text("] tid[");
    prefix.Decimal(static_cast<std::int32_t>(facts.threadId));
    prefix.Text("]");  // no blank follows
    if (facts.sourceFile && facts.level >= 0) {
        prefix.Text(BaseName(facts.sourceFile));
        prefix.Text("(");
        prefix.Decimal(static_cast<std::int32_t>(facts.line));
        prefix.Text("): ");
    }
    prefix.Text("status(");
    prefix.Hexadecimal(facts.status);
    prefix.Text("), ");
    return prefix.Length();
}

}  // namespace

const char* LevelName(std::int32_t level)
{
    return level >= 0 && level < kLevelCount ? kLevelNames[level] : "";
}

std::int32_t LevelNumber(const char* name)
{
    for (std::int32_t i = 0; i < kLevelCount; ++i)
        if (std::strcmp(kLevelNames[i], name) == 0) return i;
    return -1;
}

bool FormatMessageText(char* buffer, std::size_t room, const char* format, va_list arguments,
                       std::size_t& length)
{
    Message message(buffer, room);
    va_list own;
    va_copy(own, arguments);
    const char* from = format;
    bool fits = message.Take(from, '%');
    const char* text = from;
    for (; fits && *from != '\0'; fits = fits && message.Take(from, '%')) {
        // The two places that the module's own lines have; any other is the platform's to format.
        char digits[12];
        text = nullptr;
        if (from[1] == 's')
            text = va_arg(own, const char*);
        else if (from[1] == 'd')
            text = InDecimal(digits, va_arg(own, int));
        if (!text) break;
        from += 2;
        fits = message.Take(text, '\0');
    }
    va_end(own);
    length = message.Length();
    if (text) return fits;
    va_copy(own, arguments);  // the caller may ask again, with more room
    const int made = _vsnprintf(buffer, room, format, own);
    va_end(own);
    length = made < 0 ? room : static_cast<std::size_t>(made);
    return made >= 0;
}

std::size_t BuildLine(char* buffer, const LineFacts& facts, const char* format, va_list arguments)
{
    const std::size_t prefix = BuildPrefix(buffer, facts);
    const std::size_t rest = kLineCapacity - prefix;
    std::size_t length = 0;
    const bool fits = FormatMessageText(buffer + prefix, rest, format, arguments, length) && length < rest;
    const std::size_t end = fits ? prefix + length : prefix - 1;
    buffer[end] = '\n';
    return end + 1;
}

std::size_t BuildFixedLine(char* buffer, std::size_t capacity, const LineFacts& facts, std::string_view text)
{
    const std::size_t prefix = BuildPrefix(buffer, facts);
    const std::size_t length = text.copy(buffer + prefix, capacity - prefix - 2);
    buffer[prefix + length] = '\r';
    buffer[prefix + length + 1] = '\n';
    return prefix + length + 2;
}

std::size_t ToTextMode(char* buffer, std::size_t length)
{
    std::size_t feeds = 0;
    for (const char* p = buffer;
         (p = static_cast<const char*>(std::memchr(p, '\n', length - static_cast<std::size_t>(p - buffer))));
         ++p)
        ++feeds;

    // From the end, so that nothing is overwritten before it is moved; what stands before the first feed
    // stays.
    const std::size_t total = length + feeds;
    for (std::size_t from = length, to = total; to != from;) {
        const char byte = buffer[--from];
        buffer[--to] = byte;
        if (byte == '\n') buffer[--to] = '\r';
    }
    return total;
}

}  // namespace kzr
