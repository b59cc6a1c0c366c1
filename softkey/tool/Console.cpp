// Consoles take wide text only; pipes and files get UTF-8.
#include "Console.h"

#include <windows.h>

#include <cstdio>

#include "ExitCodes.h"
#include "base/Wide.h"

namespace kzr::softkey::tool {
namespace {

bool IsConsole(HANDLE stream)
{
    DWORD mode = 0;
    return GetConsoleMode(stream, &mode) != FALSE;
}

void WriteAll(HANDLE stream, const char* data, std::size_t size)
{
    while (size > 0) {
        DWORD put = 0;
        if (!WriteFile(stream, data, static_cast<DWORD>(size), &put, nullptr) || put == 0) return;
        data += put;
        size -= put;
    }
}

void Write(DWORD which, std::string_view text)
{
    const HANDLE stream = GetStdHandle(which);
    if (!IsConsole(stream)) return WriteAll(stream, text.data(), text.size());
    // In pieces: a console has a limit for one call.
    const std::wstring wide = ToWide(text);
    for (std::size_t at = 0; at < wide.size();) {
        DWORD put = 0;
        const auto piece = static_cast<DWORD>(wide.size() - at < 8000 ? wide.size() - at : 8000);
        if (!WriteConsoleW(stream, wide.data() + at, piece, &put, nullptr) || put == 0) return;
        at += put;
    }
}

// Up to the next line end; a line of a pipe is read byte by byte, since what follows is for whoever asks
// next.
Secret ReadLine()
{
    const HANDLE stream = GetStdHandle(STD_INPUT_HANDLE);
    Secret line;
    bool any = false;
    if (IsConsole(stream)) {
        wchar_t buffer[512];
        DWORD read = 0;
        any = ReadConsoleW(stream, buffer, 512, &read, nullptr) && read > 0;
        line = ToSecret({buffer, read});
        SecureZeroMemory(buffer, sizeof buffer);
    } else {
        char byte = 0;
        DWORD read = 0;
        while (ReadFile(stream, &byte, 1, &read, nullptr) && read == 1) {
            any = true;
            if (byte == '\n') break;
            line.push_back(static_cast<std::uint8_t>(byte));
        }
    }
    if (!any) throw ToolError(kUsage, "a PIN or an answer is missing: none was given and none can be read");
    while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) line.pop_back();
    return line;
}

// What is typed does not appear while this lives.
class Hidden {
  public:
    Hidden() : m_stream(GetStdHandle(STD_INPUT_HANDLE)), m_console(GetConsoleMode(m_stream, &m_mode))
    {
        if (m_console) SetConsoleMode(m_stream, m_mode & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
    }
    ~Hidden()
    {
        if (m_console) SetConsoleMode(m_stream, m_mode);
    }
    Hidden(const Hidden&) = delete;
    Hidden& operator=(const Hidden&) = delete;

  private:
    const HANDLE m_stream;
    DWORD m_mode = 0;
    const BOOL m_console;
};

}  // namespace

void Print(std::string_view text) { Write(STD_OUTPUT_HANDLE, text); }
void PrintError(std::string_view text) { Write(STD_ERROR_HANDLE, text); }

void PrintBytes(View bytes)
{
    WriteAll(GetStdHandle(STD_OUTPUT_HANDLE), reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

bool IsInteractive() { return IsConsole(GetStdHandle(STD_INPUT_HANDLE)); }

std::string AskLine(std::string_view question)
{
    if (IsInteractive()) PrintError(std::string(question) + " ");
    const Secret line = ReadLine();
    return std::string(TextOf(line));
}

Secret AskSecret(std::string_view question)
{
    if (IsInteractive()) PrintError(std::string(question) + ": ");
    Secret secret;
    {
        const Hidden hidden;
        secret = ReadLine();
    }
    if (IsInteractive()) PrintError("\n");
    return secret;
}

Secret AskNewSecret(std::string_view question)
{
    Secret secret = AskSecret(question);
    if (IsInteractive() && AskSecret(std::string(question) + " again") != secret)
        throw ToolError(kUsage, "the two are not the same");
    return secret;
}

void Progress::Step(const std::string& what, const std::function<void()>& work) const
{
    if (m_quiet) return work();
    PrintError(what + " ...");
    const ULONGLONG started = GetTickCount64();
    try {
        work();
    } catch (...) {
        PrintError(" failed\n");
        throw;
    }
    char took[32];
    std::snprintf(took, sizeof took, " %.1f s\n", static_cast<double>(GetTickCount64() - started) / 1000);
    PrintError(took);
}

}  // namespace kzr::softkey::tool
