// Where a line goes: the external library, the file, or standard output. One open, one write and one close a
// line, and one thread's line after the other's.
#include "log/Log.h"

#include <windows.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>

#include "com/Handles.h"
#include "com/Text.h"
#include "fault/Frames.h"
#include "log/LogLibrary.h"
#include "log/LogLine.h"

namespace kzr {
namespace {

// Room that a line needs on the stack, the platform's part included. With less the line is dropped: the log
// must not be what overflows its caller's stack. The last term is what a thread keeps back for handlers
// (src/fault): that part of its stack does not count as room.
constexpr std::size_t kStackOfALine = kTextModeCapacity + 16384 + 32768;

constexpr int kLongestPath = 1024;

std::atomic<std::int32_t> g_threshold{kLogTrace};
// The file to append to, in the wide form that opening it wants; set during module start-up only.
wchar_t g_path[kLongestPath];
bool g_hasPath = false;

class LastErrorKeeper {
  public:
    LastErrorKeeper() noexcept : m_error(GetLastError()) {}
    LastErrorKeeper(const LastErrorKeeper&) = delete;
    LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;
    ~LastErrorKeeper() { SetLastError(m_error); }

  private:
    DWORD m_error;
};

// Where two handles append at once, some systems let one line overwrite the other; so the threads take turns.
// No thread waits for long: one that was ended in the middle of its line never gives the turn back, and the
// log must not be what its host hangs on.
std::atomic_flag g_turn = ATOMIC_FLAG_INIT;
std::atomic<bool> g_turnIsLost{false};

class Turn {
  public:
    Turn() noexcept : m_mine(Take() || Wait()) { g_turnIsLost = !m_mine; }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn()
    {
        if (m_mine) g_turn.clear(std::memory_order_release);
    }

  private:
    static bool Take() noexcept { return !g_turn.test_and_set(std::memory_order_acquire); }
    static bool Wait() noexcept
    {
        constexpr ULONGLONG kLongestWait = 1000;
        const ULONGLONG start = GetTickCount64();
        while (!g_turnIsLost && GetTickCount64() - start < kLongestWait) {
            if (!SwitchToThread()) Sleep(1);
            if (Take()) return true;
        }
        return false;
    }

    const bool m_mine;
};

bool AppendToFile(const char* text, std::size_t length)
{
    if (!g_hasPath) return false;
    const UniqueFile file(CreateFileW(g_path, GENERIC_READ | FILE_APPEND_DATA,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) return false;
    DWORD written = 0;
    WriteFile(file.Get(), text, static_cast<DWORD>(length), &written, nullptr);
    return true;
}

void WriteToStandardOutput(const char* text, std::size_t length)
{
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    if (!output || output == INVALID_HANDLE_VALUE) return;
    DWORD written = 0;
    WriteFile(output, text, static_cast<DWORD>(length), &written, nullptr);
}

void Append(const char* text, std::size_t length)
{
    const Turn turn;
    if (!AppendToFile(text, length)) WriteToStandardOutput(text, length);
}

[[gnu::noinline]] void WriteLine(const LineFacts& facts, const char* format, va_list arguments)
{
    char text[kTextModeCapacity];
    Append(text, ToTextMode(text, BuildLine(text, facts, format, arguments)));
}

// Long enough for every fixed text of the module.
constexpr std::size_t kLongestText = 256;

// What nearly every message with values fits into.
constexpr std::size_t kUsualMessage = 512;

[[gnu::noinline]] void WriteFixedLine(const LineFacts& facts, const LogText& text)
{
    char line[kPrefixCapacity + kLongestText];
    Append(line, BuildFixedLine(line, sizeof(line), facts, text.Text()));
}

// False when the message does not fit into so many bytes and its end.
template <std::size_t Size>
[[gnu::noinline]] bool PassToLibrary(const LineFacts& facts, const char* format, va_list arguments)
{
    char message[Size];
    std::size_t length = 0;
    const bool fits = FormatMessageText(message, sizeof(message) - 1, format, arguments, length);
    if (!fits && Size < kLineCapacity) return false;
    message[length] = '\0';
    WriteToLogLibrary(facts.sourceFile, facts.line, facts.level, message);
    return true;
}

// Most messages are short, and every page of the stack that a buffer reaches over has to be touched.
void WriteToLibrary(const LineFacts& facts, const char* format, va_list arguments)
{
    if (!PassToLibrary<kUsualMessage>(facts, format, arguments))
        PassToLibrary<kLineCapacity>(facts, format, arguments);
}

// Adds what only a line that is written needs.
bool IsWanted(LineFacts& facts)
{
    if (facts.level > g_threshold.load(std::memory_order_relaxed)) return false;
    GetLocalTime(&facts.time);
    facts.threadId = GetCurrentThreadId();
    return true;
}

}  // namespace

void WriteLog(const char* sourceFile, std::uint32_t line, std::int32_t level, std::uint32_t status,
              const char* format, ...)
{
    const LastErrorKeeper keeper;
    if (!HasStackLeft(kStackOfALine)) return;

    LineFacts facts{{}, 0, sourceFile, line, level, status};
    va_list arguments;
    va_start(arguments, format);
    if (HasLogLibrary())
        WriteToLibrary(facts, format, arguments);
    else if (IsWanted(facts))
        WriteLine(facts, format, arguments);
    va_end(arguments);
}

void WriteText(const char* sourceFile, const LogText& text, std::int32_t level, std::uint32_t status)
{
    const LastErrorKeeper keeper;
    if (!HasStackLeft(kStackOfALine)) return;

    LineFacts facts{{}, 0, sourceFile, text.Line(), level, status};
    if (HasLogLibrary())
        WriteToLogLibrary(sourceFile, facts.line, level, text.Text());
    else if (IsWanted(facts))
        WriteFixedLine(facts, text);
}

void TraceText(const char* sourceFile, const LogText& text) { WriteText(sourceFile, text, kLogTrace, 0); }

std::string ShownText::InAnsi() const
{
    if (m_length == std::wstring::npos) return BstrToString(const_cast<BSTR>(m_text));
    return BstrToString(std::wstring_view(m_text, m_length));
}

void WriteTexts(const char* sourceFile, std::uint32_t line, const char* format, const ShownText* texts,
                std::size_t count)
{
    std::string shown[3];
    for (std::size_t i = 0; i < count; ++i) shown[i] = texts[i].InAnsi();
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"  // counted where it stands
    WriteLog(sourceFile, line, kLogTrace, 0, format, shown[0].c_str(), shown[1].c_str(), shown[2].c_str());
#pragma GCC diagnostic pop
}

void InitLog(const char* levelName, const char* filePath)
{
    StartLogLibrary();
    SetLogLevelAndPath(levelName, filePath);
}

void SetLogLevelAndPath(const char* levelName, const char* filePath)
{
    const std::int32_t number = LevelNumber(levelName);
    if (number >= 0) g_threshold.store(number, std::memory_order_relaxed);
    g_hasPath = MultiByteToWideChar(CP_ACP, 0, filePath, -1, g_path, kLongestPath) > 1;
}

}  // namespace kzr
