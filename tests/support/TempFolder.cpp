#include "support/TempFolder.h"

namespace kzr::test {
namespace {

void RemoveAll(const std::wstring& folder)
{
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((folder + L"*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return;
    do {
        const std::wstring name(found.cFileName);
        if (name == L"." || name == L"..") continue;
        if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
            RemoveAll(folder + name + L"\\");
        } else {
            DeleteFileW((folder + name).c_str());
        }
    } while (FindNextFileW(search, &found));
    FindClose(search);
    RemoveDirectoryW(folder.c_str());
}

}  // namespace

TempFolder::TempFolder()
{
    static int count = 0;
    wchar_t temp[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, temp);
    m_path = std::wstring(temp) + L"kzr" + std::to_wstring(GetCurrentProcessId()) + L"_" +
             std::to_wstring(++count) + L"\\";
    RemoveAll(m_path);
    CreateDirectoryW(m_path.c_str(), nullptr);
}

TempFolder::~TempFolder() { RemoveAll(m_path); }

std::string ToNarrow(const std::wstring& path)
{
    std::string narrow;
    for (const wchar_t unit : path) narrow += static_cast<char>(unit);
    return narrow;
}

}  // namespace kzr::test
