// Where the log file stands. Nothing here creates the "log" folder itself: its existence is the log's only
// switch.
#include <windows.h>
#include <shlobj.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>

#include "com/ModulePath.h"
#include "com/Text.h"
#include "log/Log.h"

namespace kzr {
namespace {

constexpr char kNoFolderPath[] = "C:/qmr_log/KzrSecX_";

// When the system does not tell its version it is taken for one that has the low-integrity folder.
DWORD MajorVersion()
{
    OSVERSIONINFOEXW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    auto* const plain = reinterpret_cast<OSVERSIONINFOW*>(&version);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    return GetVersionExW(plain) ? version.dwMajorVersion : 6;
#pragma GCC diagnostic pop
}

// Makes every folder of a path that ends in "\". The library function for it lives in a debugging DLL that a
// host should not have to load.
void CreateFolders(const std::wstring& path)
{
    for (std::size_t slash = path.find(L'\\'); slash != path.npos; slash = path.find(L'\\', slash + 1))
        if (slash > 2) CreateDirectoryW(path.substr(0, slash).c_str(), nullptr);
}

// The host program's file name; empty when its path cannot be had. Looked for in wide text, since a
// double-byte character may hold a "\" as its second byte.
std::string HostName()
{
    const std::wstring path = ModulePath(nullptr);
    const std::size_t slash = path.rfind(L'\\');
    return BstrToString(std::wstring_view(path).substr(slash == path.npos ? 0 : slash + 1));
}

}  // namespace

void GetLogFolder(std::string& folder)
{
    folder.clear();
    char path[MAX_PATH] = {};
    if (FAILED(SHGetFolderPathA(nullptr, CSIDL_LOCAL_APPDATA | CSIDL_FLAG_CREATE, nullptr, SHGFP_TYPE_CURRENT,
                                path)))
        return;
    folder = path;
    if (MajorVersion() >= 6) folder += "Low";
    folder += "\\TOLV\\";
    CreateFolders(SystemTextToWide(folder.c_str()));
}

std::string LogFilePath()
{
    std::string path;
    GetLogFolder(path);
    path = path.empty() ? kNoFolderPath : path + "log\\KzrSecX_";
    path += HostName();
    char id[12];
    path.append("_PID_").append(_ltoa(static_cast<long>(GetCurrentProcessId()), id, 10));
    // The folder's dots go too. A folder that has one is then no longer found, and the lines go to standard
    // output: a known limit that log readers have learned to live with.
    std::replace(path.begin(), path.end(), '.', '_');
    return path + ".log";
}

}  // namespace kzr
