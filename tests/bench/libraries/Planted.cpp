// Does everything that the exact checks must notice: two opens and two writes for a line, memory for it, and
// a block, a handle and a text that stay behind.
#include <windows.h>
#include <oleauto.h>

#include <cstdlib>

extern "C" __declspec(dllexport) void PlantedLine(const wchar_t* path)
{
    for (int i = 0; i < 2; ++i) {
        const HANDLE file = CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                        OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        DWORD written = 0;
        WriteFile(file, i == 0 ? "half a" : " line\r\n", i == 0 ? 6 : 7, &written, nullptr);
        CloseHandle(file);
    }
    void* volatile block = std::malloc(16);
    std::free(block);
}

extern "C" __declspec(dllexport) void PlantedGrowth()
{
    HeapAlloc(GetProcessHeap(), 0, 40);
    CreateEventW(nullptr, FALSE, FALSE, nullptr);
    SysAllocString(L"left behind");
}
