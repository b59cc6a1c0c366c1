// An external log library that notes its calls and hands the notes out. Built several times: whole, with one
// entry left out, with an entry that faults.
#include <windows.h>

#include <cstdio>
#include <cstring>

#define EXPORTED extern "C" __declspec(dllexport)

namespace {

char g_notes[4 << 20];
std::size_t g_length = 0;
// An address that the compiler cannot see through.
[[maybe_unused]] volatile std::size_t g_nowhere = 16;

void Note(const char* text)
{
    const std::size_t length = std::strlen(text);
    if (g_length + length + 2 > sizeof(g_notes)) return;
    std::memcpy(g_notes + g_length, text, length);
    g_length += length;
    g_notes[g_length++] = '\n';
    g_notes[g_length] = '\0';
}

[[maybe_unused]] void FaultIfBuiltToFault()
{
#ifdef FAULTS
    *reinterpret_cast<volatile int*>(g_nowhere) = 1;
#endif
}

}  // namespace

#ifndef WITHOUT_LogInitializeA
EXPORTED void LogInitializeA(const char* tag)
{
    char text[128];
    snprintf(text, sizeof(text), "LogInitializeA(%s)", tag);
    Note(text);
    FaultIfBuiltToFault();
}
#endif

#ifndef WITHOUT_LogOutputA
EXPORTED void LogOutputA(const char* tag, const char* sourceFile, unsigned line, int level,
                         const char* message)
{
    static char text[40000];
    snprintf(text, sizeof(text), "LogOutputA(%s, %s, %u, %d, %s)", tag, sourceFile ? sourceFile : "<null>",
             line, level, message);
    Note(text);
    FaultIfBuiltToFault();
}
#endif

#ifndef WITHOUT_LogOutputW
EXPORTED void LogOutputW() { Note("LogOutputW"); }
#endif

#ifndef WITHOUT_LogTerminateA
EXPORTED void LogTerminateA() { Note("LogTerminateA"); }
#endif

EXPORTED const char* FakeNotes() { return g_notes; }
