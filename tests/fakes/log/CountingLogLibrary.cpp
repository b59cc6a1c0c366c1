// An external log library that throws the lines away and keeps their numbers: for runs of a million calls,
// whose log nobody could write or read.
#include <windows.h>

#include <atomic>
#include <cstring>

#define EXPORTED extern "C" __declspec(dllexport)

namespace {

constexpr int kLevels = 16;
std::atomic<long> g_lines[kLevels];
std::atomic<long> g_fatal;
// The latest error, for the message of a test that did not expect it.
char g_lastError[400];

}  // namespace

EXPORTED void LogInitializeA(const char*) {}
EXPORTED void LogOutputW() {}
EXPORTED void LogTerminateA() {}

EXPORTED void LogOutputA(const char*, const char*, unsigned, int level, const char* message)
{
    if (level >= 0 && level < kLevels) ++g_lines[level];
    if (std::strstr(message, "receive a fatal error")) ++g_fatal;
    if (level <= 3) {
        std::strncpy(g_lastError, message, sizeof(g_lastError) - 1);
    }
}

EXPORTED long CountedLines(int level) { return g_lines[level]; }
EXPORTED long CountedFatalLines() { return g_fatal; }
EXPORTED const char* LastErrorLine() { return g_lastError; }
