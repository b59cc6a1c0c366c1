// The component's one log function, its levels, and the macros that add a line's call site.
//
// A file writes its lines with the macros below; it first names its class's source in an anonymous namespace:
//     constexpr char kLogSource[] = "Crypto";
#pragma once

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

// A text together with its call site, for lines that a shared shape writes on a method's behalf.
struct LogText {
    std::uint32_t line;
    const char* text;
};

}  // namespace kzr

#define KZR_TEXT(text) (::kzr::LogText{__LINE__, text})
#define KZR_TRACE(...) ::kzr::WriteLog(kLogSource, __LINE__, ::kzr::kLogTrace, 0, __VA_ARGS__)
#define KZR_NOTICE(status, ...) \
    ::kzr::WriteLog(kLogSource, __LINE__, ::kzr::kLogNotice, static_cast<std::uint32_t>(status), __VA_ARGS__)
#define KZR_ERROR(status, ...) \
    ::kzr::WriteLog(kLogSource, __LINE__, ::kzr::kLogError, static_cast<std::uint32_t>(status), __VA_ARGS__)
