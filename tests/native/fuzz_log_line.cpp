// Fuzzer: whatever the facts and the message are, a line stays within its buffer, ends with its one line
// feed, and keeps its message whole or not at all.
#include <windows.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "log/LogLine.h"

namespace {

class Input {
  public:
    Input(const std::uint8_t* data, std::size_t size) : m_next(data), m_end(data + size) {}

    template <class Number>
    Number Take()
    {
        Number number = 0;
        for (std::size_t i = 0; i < sizeof(number) && m_next < m_end; ++i)
            number = static_cast<Number>(number | static_cast<Number>(*m_next++) << (8 * i));
        return number;
    }
    // Up to the next unit separator (0x1f) or the end, repeated to reach the interesting lengths.
    std::string TakeText(std::size_t times)
    {
        std::string once;
        while (m_next < m_end && *m_next != 0x1f) once += static_cast<char>(*m_next++);
        if (m_next < m_end) ++m_next;
        std::string text;
        for (std::size_t i = 0; i < times && text.size() < 80000; ++i) text += once;
        return text;
    }

  private:
    const std::uint8_t* m_next;
    const std::uint8_t* m_end;
};

void Demand(bool holds)
{
    if (!holds) std::abort();
}

__attribute__((format(printf, 3, 4))) std::size_t Build(char* buffer, const kzr::LineFacts& facts,
                                                        const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const std::size_t length = kzr::BuildLine(buffer, facts, format, arguments);
    va_end(arguments);
    return length;
}

// Exactly as large as promised, so that one byte more is seen.
std::string BuildAlone(const kzr::LineFacts& facts, const std::string& message)
{
    const std::unique_ptr<char[]> buffer(new char[kzr::kLineCapacity]);
    const std::size_t length = Build(buffer.get(), facts, "%s", message.c_str());
    Demand(length > 0 && length <= kzr::kLineCapacity);
    return std::string(buffer.get(), length);
}

void CheckTextMode(const std::string& line)
{
    const std::unique_ptr<char[]> buffer(new char[kzr::kTextModeCapacity]);
    line.copy(buffer.get(), line.size());
    const std::size_t length = kzr::ToTextMode(buffer.get(), line.size());
    std::string expected;
    for (const char c : line) expected += c == '\n' ? std::string("\r\n") : std::string(1, c);
    Demand(std::string(buffer.get(), length) == expected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    kzr::LineFacts facts{};
    for (WORD* field : {&facts.time.wYear, &facts.time.wMonth, &facts.time.wDay, &facts.time.wHour,
                        &facts.time.wMinute, &facts.time.wSecond, &facts.time.wMilliseconds})
        *field = input.Take<WORD>();
    facts.threadId = input.Take<DWORD>();
    facts.line = input.Take<std::uint32_t>();
    facts.level = input.Take<std::int8_t>();
    facts.status = input.Take<std::uint32_t>();
    const std::size_t sourceTimes = input.Take<std::uint8_t>();
    const std::size_t messageTimes = input.Take<std::uint16_t>();
    const std::string source = input.TakeText(sourceTimes);
    facts.sourceFile = sourceTimes == 0 ? nullptr : source.c_str();
    const int nearTheEnd = input.Take<std::int8_t>();

    const std::string empty = BuildAlone(facts, "");
    Demand(empty.ends_with("), \n"));
    const std::string prefix = empty.substr(0, empty.size() - 1);
    // What "%s" sees of the text; every second one ends near the buffer's end, where the mistakes are.
    std::string message = input.TakeText(messageTimes).c_str();
    if (messageTimes % 2)
        message.resize(kzr::kLineCapacity - prefix.size() + static_cast<std::size_t>(nearTheEnd), 'x');

    const std::string line = BuildAlone(facts, message);
    Demand(line.back() == '\n');
    const bool fits = prefix.size() + message.size() < kzr::kLineCapacity;
    Demand(line == (fits ? prefix + message : prefix.substr(0, prefix.size() - 1)) + "\n");
    CheckTextMode(line);
    return 0;
}
