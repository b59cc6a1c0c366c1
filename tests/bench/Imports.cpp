#include "Imports.h"

#include <objbase.h>
#include <oleauto.h>

#include <cstdlib>
#include <cstring>
#include <utility>

namespace kzr::bench {
namespace {

Asked g_asked;

HANDLE WINAPI CountedOpen(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD how,
                          DWORD flags, HANDLE model)
{
    ++g_asked.opens;
    return CreateFileW(name, access, share, security, how, flags, model);
}
BOOL WINAPI CountedWrite(HANDLE file, LPCVOID bytes, DWORD count, LPDWORD written, LPOVERLAPPED overlapped)
{
    ++g_asked.writes;
    return WriteFile(file, bytes, count, written, overlapped);
}
BOOL WINAPI CountedClose(HANDLE handle)
{
    ++g_asked.closes;
    return CloseHandle(handle);
}
LPVOID WINAPI CountedHeapAlloc(HANDLE heap, DWORD flags, SIZE_T bytes)
{
    ++g_asked.blocks;
    return HeapAlloc(heap, flags, bytes);
}
HGLOBAL WINAPI CountedGlobalAlloc(UINT flags, SIZE_T bytes)
{
    ++g_asked.blocks;
    return GlobalAlloc(flags, bytes);
}
LPVOID WINAPI CountedTaskAlloc(SIZE_T bytes)
{
    ++g_asked.blocks;
    return CoTaskMemAlloc(bytes);
}
void* CountedMalloc(std::size_t bytes)
{
    ++g_asked.blocks;
    return std::malloc(bytes);
}
void* CountedCalloc(std::size_t count, std::size_t bytes)
{
    ++g_asked.blocks;
    return std::calloc(count, bytes);
}
void* CountedRealloc(void* block, std::size_t bytes)
{
    ++g_asked.blocks;
    return std::realloc(block, bytes);
}
BSTR WINAPI CountedText(const OLECHAR* text)
{
    ++g_asked.texts;
    return SysAllocString(text);
}
BSTR WINAPI CountedTextLen(const OLECHAR* text, UINT length)
{
    ++g_asked.texts;
    return SysAllocStringLen(text, length);
}
BSTR WINAPI CountedTextByteLen(LPCSTR text, UINT length)
{
    ++g_asked.texts;
    return SysAllocStringByteLen(text, length);
}

struct Counter {
    const char* name;
    void* function;
};
template <class Function>
void* AddressOf(Function* function)
{
    return reinterpret_cast<void*>(function);
}
const Counter kCounters[] = {
    {"CreateFileW", AddressOf(&CountedOpen)},
    {"WriteFile", AddressOf(&CountedWrite)},
    {"CloseHandle", AddressOf(&CountedClose)},
    {"HeapAlloc", AddressOf(&CountedHeapAlloc)},
    {"GlobalAlloc", AddressOf(&CountedGlobalAlloc)},
    {"CoTaskMemAlloc", AddressOf(&CountedTaskAlloc)},
    {"malloc", AddressOf(&CountedMalloc)},
    {"calloc", AddressOf(&CountedCalloc)},
    {"realloc", AddressOf(&CountedRealloc)},
    {"SysAllocString", AddressOf(&CountedText)},
    {"SysAllocStringLen", AddressOf(&CountedTextLen)},
    {"SysAllocStringByteLen", AddressOf(&CountedTextByteLen)},
};
// By their numbers alone, as import libraries name some functions of oleaut32.
constexpr std::pair<WORD, const char*> kNumbers[] = {
    {2, "SysAllocString"}, {4, "SysAllocStringLen"}, {150, "SysAllocStringByteLen"}};

const char* NameOf(const char* base, ULONGLONG import)
{
    if (!IMAGE_SNAP_BY_ORDINAL64(import))
        return reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + import)->Name;
    for (const auto& [number, name] : kNumbers)
        if (number == IMAGE_ORDINAL64(import)) return name;
    return "";
}

}  // namespace

bool CountImportsOf(HMODULE module)
{
    auto* const base = reinterpret_cast<char*>(module);
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& directory =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    bool found = false;
    for (auto* each = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
         each->Name; ++each) {
        const auto* names = reinterpret_cast<const ULONGLONG*>(base + each->OriginalFirstThunk);
        auto* places = reinterpret_cast<void**>(base + each->FirstThunk);
        for (; *names; ++names, ++places)
            for (const Counter& counter : kCounters) {
                if (std::strcmp(NameOf(base, *names), counter.name) != 0) continue;
                DWORD before = 0;
                VirtualProtect(places, sizeof(*places), PAGE_READWRITE, &before);
                *places = counter.function;
                VirtualProtect(places, sizeof(*places), before, &before);
                found = true;
            }
    }
    return found;
}

Asked TakeCounts() { return std::exchange(g_asked, Asked{}); }

}  // namespace kzr::bench
