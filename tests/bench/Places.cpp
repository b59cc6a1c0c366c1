#include "Places.h"

#include <windows.h>

#include <shlobj.h>

namespace kzr::bench {
namespace {

std::wstring g_folder;

}  // namespace

void SetFolder(const std::wstring& folder) { g_folder = folder; }

std::wstring InFolder(const std::wstring& name) { return g_folder + L"\\" + name; }

std::wstring Quiet() { return InFolder(L"quiet\\KzrSecX_x64.dll"); }

std::wstring Plain() { return InFolder(L"plain\\KzrSecX_x64.dll"); }

std::wstring LogFolder()
{
    wchar_t path[MAX_PATH] = {};
    SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, 0, path);
    return std::wstring(path) + L"Low\\TOLV\\log";
}

std::wstring LogFile()
{
    return LogFolder() + L"\\KzrSecX_kzr_bench_exe_PID_" + std::to_wstring(GetCurrentProcessId()) + L".log";
}

void EmptyLogFolder()
{
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((LogFolder() + L"\\KzrSecX_kzr_bench_*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return;
    do {
        DeleteFileW((LogFolder() + L"\\" + found.cFileName).c_str());
    } while (FindNextFileW(search, &found));
    FindClose(search);
}

std::vector<std::string> LinesOf(const std::wstring& path)
{
    std::vector<std::string> lines;
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    std::string all(1 << 20, '\0');
    DWORD length = 0;
    if (file != INVALID_HANDLE_VALUE) {
        ReadFile(file, all.data(), static_cast<DWORD>(all.size()), &length, nullptr);
        CloseHandle(file);
    }
    all.resize(length);
    for (std::size_t start = 0, end; (end = all.find("\r\n", start)) != all.npos; start = end + 2)
        lines.push_back(all.substr(start, end + 2 - start));
    return lines;
}

}  // namespace kzr::bench
