// The component's one log function, its levels, and the macros that add a line's call site.
//
// A file writes its lines with the macros below; it first names its class's source in an anonymous namespace:
//     constexpr char kLogSource[] = "Crypto";
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace kzr {

enum LogLevel : std::int32_t {
    kLogError = 3,
    kLogNotice = 5,
    kLogTrace = 8,
};

// Writes one line: to the external log library when there is one, else to the log file, else to standard
// output.
//   sourceFile  the writer's source name, a leading path allowed; null leaves source and line out
//   line        line of the call site in that source
//   level       0 (emerg) to 8 (trace)
//   status      0, a system error code or an HRESULT
//   format      printf format in the ANSI code page, with its arguments
// It never fails towards the caller, leaves the thread's last error as it was and allocates nothing.
void WriteLog(const char* sourceFile, std::uint32_t line, std::int32_t level, std::uint32_t status,
              const char* format, ...) __attribute__((format(printf, 5, 6)));

// Looks for the external log library beside the module (until one is found), then sets level and path.
void InitLog(const char* levelName, const char* filePath);

// An unknown or empty level name leaves the level as it was. An empty path means standard output.
void SetLogLevelAndPath(const char* levelName, const char* filePath);

// The per-user log folder, created up to "\TOLV\", with a "\" at its end; empty when the shell has none.
void GetLogFolder(std::string& folder);

// The path of this process's log file, made of that folder, the host program's name and the process id.
std::string LogFilePath();

// A text together with its call site, for lines that a shared shape writes on a method's behalf. The text
// follows the number in memory: hundreds of them stand in the module, each handed out by its address.
class LogText {
  public:
    constexpr explicit LogText(std::uint16_t line) noexcept : m_line(line) {}
    LogText(const LogText&) = delete;
    LogText& operator=(const LogText&) = delete;

    std::uint32_t Line() const noexcept { return m_line; }
    const char* Text() const noexcept { return reinterpret_cast<const char*>(this) + sizeof(LogText); }

  private:
    std::uint16_t m_line;
};

template <std::size_t Size>
class PlacedText : public LogText {
  public:
    constexpr PlacedText(std::uint16_t line, const char (&text)[Size]) noexcept : LogText(line), m_text{}
    {
        for (std::size_t i = 0; i < Size; ++i) m_text[i] = text[i];
    }

  private:
    char m_text[Size];
};

// Writes one line whose message is such a text as it stands: nothing has to be formatted.
void WriteText(const char* sourceFile, const LogText& text, std::int32_t level, std::uint32_t status);
void TraceText(const char* sourceFile, const LogText& text);

// A text that a line shows: an automation string, whose length is asked for when the line is made, or one of
// ours.
class ShownText {
  public:
    ShownText(BSTR text) noexcept : m_text(text), m_length(std::wstring::npos) {}
    ShownText(const std::wstring& text) noexcept : m_text(text.data()), m_length(text.size()) {}
    std::string InAnsi() const;

  private:
    const wchar_t* m_text;
    std::size_t m_length;
};

// A format whose only places are as many "%s" as there are texts; any other does not compile.
template <std::size_t Count>
struct FormatOfTexts {
    consteval FormatOfTexts(const char* format) : text(format)
    {
        std::size_t places = 0;
        for (; *format != '\0'; ++format) {
            if (*format != '%') continue;
            if (*++format != 's') throw "only %s can show a text";
            ++places;
        }
        if (places != Count) throw "as many places as texts";
    }
    const char* text;
};

// A line of level trace that shows up to three texts. They are converted here, one function for all lines.
void WriteTexts(const char* sourceFile, std::uint32_t line, const char* format, const ShownText* texts,
                std::size_t count);

template <class... Texts>
[[gnu::always_inline]] inline void TraceTexts(const char* sourceFile, std::uint32_t line,
                                              FormatOfTexts<sizeof...(Texts)> format, const Texts&... texts)
{
    const ShownText shown[] = {ShownText(texts)...};
    WriteTexts(sourceFile, line, format.text, shown, sizeof...(Texts));
}

}  // namespace kzr

#define KZR_TEXT(text)                                                                                  \
    ([]() noexcept -> const ::kzr::LogText& {                                                           \
        alignas(::kzr::LogText) static constexpr ::kzr::PlacedText<sizeof(text)> kText{__LINE__, text}; \
        return kText;                                                                                   \
    }())
// A line of a fixed text goes another way than one that shows values.
#define KZR_JOIN(left, right) left##right
#define KZR_TRACE(text, ...) KZR_JOIN(KZR_TRACE_, __VA_OPT__(VALUES))(text __VA_OPT__(, ) __VA_ARGS__)
#define KZR_TRACE_(text) ::kzr::TraceText(kLogSource, KZR_TEXT(text))
#define KZR_TRACE_VALUES(...) ::kzr::WriteLog(kLogSource, __LINE__, ::kzr::kLogTrace, 0, __VA_ARGS__)
#define KZR_TRACE_TEXTS(...) ::kzr::TraceTexts(kLogSource, __LINE__, __VA_ARGS__)
#define KZR_LINE(level, status, text, ...) \
    KZR_JOIN(KZR_LINE_, __VA_OPT__(VALUES))(level, status, text __VA_OPT__(, ) __VA_ARGS__)
#define KZR_LINE_(level, status, text) \
    ::kzr::WriteText(kLogSource, KZR_TEXT(text), level, static_cast<std::uint32_t>(status))
#define KZR_LINE_VALUES(level, status, ...) \
    ::kzr::WriteLog(kLogSource, __LINE__, level, static_cast<std::uint32_t>(status), __VA_ARGS__)
#define KZR_NOTICE(status, ...) KZR_LINE(::kzr::kLogNotice, status, __VA_ARGS__)
#define KZR_ERROR(status, ...) KZR_LINE(::kzr::kLogError, status, __VA_ARGS__)
