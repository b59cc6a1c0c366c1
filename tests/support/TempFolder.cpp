#include "support/TempFolder.h"

#include <atomic>
#include <cstdint>
#include <cwchar>
#include <functional>
#include <stdexcept>

namespace kzr::test {
namespace {

constexpr std::wstring_view kStart = L"kzr";

void ForEachIn(const std::wstring& pattern, const std::function<void(const WIN32_FIND_DATAW&)>& work)
{
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW(pattern.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return;
    do {
        const std::wstring_view name(found.cFileName);
        if (name != L"." && name != L"..") work(found);
    } while (FindNextFileW(search, &found));
    FindClose(search);
}

void RemoveAll(const std::wstring& folder)
{
    ForEachIn(folder + L"*", [&](const WIN32_FIND_DATAW& found) {
        const std::wstring path = folder + found.cFileName;
        if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
            RemoveAll(path + L"\\");
        } else {
            SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
            DeleteFileW(path.c_str());
        }
    });
    RemoveDirectoryW(folder.c_str());
}

// The number of a process is given to others after it; together with the moment of its birth it is its own.
struct Owner {
    DWORD process = 0;
    std::uint64_t born = 0;
};

std::uint64_t BirthOf(HANDLE process)
{
    FILETIME born{}, ended{}, kernel{}, user{};
    GetProcessTimes(process, &born, &ended, &kernel, &user);
    return static_cast<std::uint64_t>(born.dwHighDateTime) << 32 | born.dwLowDateTime;
}

bool IsAlive(const Owner& owner)
{
    const HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, owner.process);
    // One that may not be looked at is there.
    if (!process) return GetLastError() != ERROR_INVALID_PARAMETER;
    DWORD code = STILL_ACTIVE;
    GetExitCodeProcess(process, &code);
    const bool isAlive = code == STILL_ACTIVE && BirthOf(process) == owner.born;
    CloseHandle(process);
    return isAlive;
}

// "kzr12_1dc5b8a2f0e3b40_1": the owner, and which of its folders it is.
std::wstring NameFor(const Owner& owner, int number)
{
    wchar_t born[20];
    swprintf(born, 20, L"%08lx%08lx", static_cast<unsigned long>(owner.born >> 32),
             static_cast<unsigned long>(owner.born & 0xffffffff));
    return std::wstring(kStart) + std::to_wstring(owner.process) + L"_" + born + L"_" +
           std::to_wstring(number);
}

// False for a name that is none of ours.
bool ParseName(const wchar_t* name, Owner& owner)
{
    const wchar_t* const process = name + kStart.size();
    wchar_t* end = nullptr;
    owner.process = std::wcstoul(process, &end, 10);
    if (end == process || *end != L'_') return false;
    const wchar_t* const born = end + 1;
    owner.born = std::wcstoull(born, &end, 16);
    return end != born && *end == L'_' && end[1] >= L'0' && end[1] <= L'9';
}

void RemoveWhatTheDeadLeft(const std::wstring& temp)
{
    ForEachIn(temp + std::wstring(kStart) + L"*_*_*", [&](const WIN32_FIND_DATAW& found) {
        Owner owner;
        if (ParseName(found.cFileName, owner) && !IsAlive(owner)) RemoveAll(temp + found.cFileName + L"\\");
    });
}

std::wstring NewFolder()
{
    wchar_t buffer[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, buffer);
    const std::wstring temp(buffer);
    [[maybe_unused]] static const bool isTidy = (RemoveWhatTheDeadLeft(temp), true);
    static std::atomic<int> count{0};
    const Owner self{GetCurrentProcessId(), BirthOf(GetCurrentProcess())};
    const std::wstring folder = temp + NameFor(self, ++count) + L"\\";
    // One that is there already would not be empty.
    if (!CreateDirectoryW(folder.c_str(), nullptr))
        throw std::runtime_error(ToNarrow(folder) + " cannot be made: error " +
                                 std::to_string(GetLastError()));
    return folder;
}

}  // namespace

TempFolder::TempFolder() : m_path(NewFolder()) {}

TempFolder::~TempFolder() { RemoveAll(m_path); }

void MakeFolders(const std::wstring& folder)
{
    for (std::size_t end = folder.find(L'\\'); end != std::wstring::npos; end = folder.find(L'\\', end + 1))
        CreateDirectoryW(folder.substr(0, end).c_str(), nullptr);
}

std::string ToNarrow(const std::wstring& path)
{
    std::string narrow;
    for (const wchar_t unit : path) narrow += static_cast<char>(unit);
    return narrow;
}

}  // namespace kzr::test
