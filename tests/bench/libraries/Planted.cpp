// Does everything that the exact checks must notice: a line with one thing wrong at a time, and a block, a
// handle and a text that stay behind.
#include "libraries/Planted.h"

#include <windows.h>

#include <oleauto.h>
#include <winternl.h>

#include <cstdlib>

#include "Optimised.h"

using kzr::bench::PlantedFault;

namespace {

HANDLE Open(const wchar_t* path)
{
    return CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

void Write(HANDLE file, const char* text, DWORD length)
{
    DWORD written = 0;
    WriteFile(file, text, length, &written, nullptr);
}

void Line(const wchar_t* path)
{
    const HANDLE file = Open(path);
    Write(file, "a line\r\n", 8);
    CloseHandle(file);
}

void Take(PlantedFault fault)
{
    void* volatile block = nullptr;  // or the compiler would see that nobody needs it
    BSTR volatile text = nullptr;
    switch (fault) {
        case PlantedFault::HeapAlloc:
            block = HeapAlloc(GetProcessHeap(), 0, 16);
            HeapFree(GetProcessHeap(), 0, block);
            return;
        case PlantedFault::GlobalAlloc:
            block = GlobalAlloc(GMEM_FIXED, 16);
            GlobalFree(block);
            return;
        case PlantedFault::CoTaskMemAlloc:
            block = CoTaskMemAlloc(16);
            CoTaskMemFree(block);
            return;
        case PlantedFault::Malloc:
            block = std::malloc(16);
            break;
        case PlantedFault::Calloc:
            block = std::calloc(1, 16);
            break;
        case PlantedFault::Realloc:
            block = std::realloc(nullptr, 16);
            break;
        case PlantedFault::Text:
            text = SysAllocString(L"a text");
            break;
        case PlantedFault::TextLen:
            text = SysAllocStringLen(L"a text", 6);
            break;
        case PlantedFault::TextByteLen:
            text = SysAllocStringByteLen("a text", 6);
            break;
        default:
            return;
    }
    std::free(block);
    SysFreeString(text);
}

}  // namespace

extern "C" {

__declspec(dllexport) bool PlantedOptimised() { return kzr::bench::kOptimised; }

__declspec(dllexport) void PlantedLine(const wchar_t* path, PlantedFault fault)
{
    switch (fault) {
        case PlantedFault::Line:
            Line(path);
            break;
        case PlantedFault::Open:
            NtClose(Open(path));
            break;
        case PlantedFault::Write: {
            const HANDLE file = Open(path);
            Write(file, "half a", 6);
            Write(file, " line\r\n", 7);
            CloseHandle(file);
            return;
        }
        case PlantedFault::Close: {
            HANDLE copy = nullptr;
            DuplicateHandle(GetCurrentProcess(), GetCurrentProcess(), GetCurrentProcess(), &copy, 0, FALSE,
                            DUPLICATE_SAME_ACCESS);
            CloseHandle(copy);
            break;
        }
        default:
            Take(fault);
    }
    Line(path);
}

__declspec(dllexport) void PlantedGrowth()
{
    HeapAlloc(GetProcessHeap(), 0, 40);
    CreateEventW(nullptr, FALSE, FALSE, nullptr);
    SysAllocString(L"left behind");
}
}
