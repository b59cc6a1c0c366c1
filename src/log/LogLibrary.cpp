#include "log/LogLibrary.h"

#include <windows.h>

#include <cstring>

#include "com/Handles.h"
#include "com/ModulePath.h"
#include "fault/Frames.h"

namespace kzr {
namespace {

constexpr char kTag[] = "KzrSecX";
constexpr char kFileName[] = "KzrLogLib_x64.dll";

using InitializeEntry = void (*)(const char* tag);
using OutputEntry = void (*)(const char* tag, const char* sourceFile, std::uint32_t line, std::int32_t level,
                             const char* message);

// Written during module start-up only. The library stays loaded once it is in use.
HMODULE g_library = nullptr;
InitializeEntry g_initialize = nullptr;
OutputEntry g_output = nullptr;

template <class Entry>
Entry Find(HMODULE library, const char* name)
{
    return reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

// The loader shows a message box for a damaged file unless the thread says that it wants none.
UniqueModule LoadSilently(const char* path)
{
    DWORD before = 0;
    SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &before);
    UniqueModule library(LoadLibraryA(path));
    SetThreadErrorMode(before, nullptr);
    return library;
}

void LoadFrom(const char* path)
{
    UniqueModule library = LoadSilently(path);
    if (!library) return;

    const auto initialize = Find<InitializeEntry>(library.Get(), "LogInitializeA");
    const auto output = Find<OutputEntry>(library.Get(), "LogOutputA");
    // Never called, but a library without them is not the one that is meant.
    const bool complete =
        GetProcAddress(library.Get(), "LogOutputW") && GetProcAddress(library.Get(), "LogTerminateA");
    if (!initialize || !output || !complete) return;

    g_library = library.Detach();
    g_initialize = initialize;
    g_output = output;
}

void Load()
{
    char path[MAX_PATH + sizeof(kFileName)];
    const DWORD length = GetModuleFileNameA(ThisModule(), path, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) return;
    path[length] = '\0';
    char* const slash = std::strrchr(path, '\\');
    if (!slash) return;
    std::memcpy(slash + 1, kFileName, sizeof(kFileName));
    LoadFrom(path);
}

}  // namespace

void StartLogLibrary()
{
    if (!g_library) Load();
    if (g_initialize) CallForeignQuietly([] { return g_initialize(kTag), 0; }, 0);
}

bool HasLogLibrary() { return g_output != nullptr; }

void WriteToLogLibrary(const char* sourceFile, std::uint32_t line, std::int32_t level, const char* message)
{
    CallForeignQuietly([&] { return g_output(kTag, sourceFile, line, level, message), 0; }, 0);
}

}  // namespace kzr
