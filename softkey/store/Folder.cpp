// Folders by the platform's calls. What scanners and other readers hold open for a moment is tried again.
#include "store/Folder.h"

#include <windows.h>

#include <algorithm>

#include "base/Failure.h"
#include "base/File.h"
#include "base/Wide.h"

namespace kzr::softkey {
namespace {

constexpr int kTries = 80;
constexpr DWORD kPause = 25;

[[noreturn]] void ThrowFile(const std::string& path, const char* doing, DWORD error)
{
    throw Failure(Cause::File, path + ": " + doing + ": error " + std::to_string(error));
}

bool IsHeld(DWORD error)
{
    return error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED || error == ERROR_DIR_NOT_EMPTY;
}

// Calls until it answers true, or fails for another reason than that somebody holds the file.
template <typename Call>
DWORD Patiently(Call&& call)
{
    for (int left = kTries;; --left) {
        if (call()) return ERROR_SUCCESS;
        const DWORD error = GetLastError();
        if (!IsHeld(error) || left == 0) return error;
        Sleep(kPause);
    }
}

struct Entry {
    std::string name;
    DWORD attributes;
};

std::vector<Entry> EntriesIn(const std::string& path)
{
    std::vector<Entry> entries;
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW(PlatformPath(path + "\\*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return entries;
    do {
        std::string name = ToUtf8(found.cFileName);
        if (name != "." && name != "..") entries.push_back({std::move(name), found.dwFileAttributes});
    } while (FindNextFileW(search, &found));
    FindClose(search);
    return entries;
}

std::vector<std::string> NamesIn(const std::string& path, bool folders)
{
    std::vector<std::string> names;
    for (Entry& entry : EntriesIn(path)) {
        const bool link = (entry.attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
        const bool folder = (entry.attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        if (!link && folder == folders) names.push_back(std::move(entry.name));
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

std::string AbsolutePath(const std::string& path)
{
    const std::wstring wide = ToWide(path);
    const DWORD size = GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
    std::wstring whole(size, L'\0');
    const DWORD length = size > 0 ? GetFullPathNameW(wide.c_str(), size, whole.data(), nullptr) : 0;
    if (path.find('\0') != std::string::npos || length == 0 || length >= size)
        throw Failure(Cause::BadArgument, "\"" + path + "\" cannot be a folder's path");
    whole.resize(length);
    while (whole.size() > 3 && whole.back() == L'\\') whole.pop_back();
    return ToUtf8(whole);
}

std::string EnvironmentText(const wchar_t* name)
{
    std::wstring value(32768, L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return ToUtf8(value);
}

std::wstring PlatformPath(const std::string& path)
{
    const std::wstring wide = ToWide(path);
    if (wide.starts_with(L"\\\\?\\")) return wide;
    if (wide.starts_with(L"\\\\")) return L"\\\\?\\UNC" + wide.substr(1);
    return L"\\\\?\\" + wide;
}

bool FolderExists(const std::string& path)
{
    const DWORD attributes = GetFileAttributesW(PlatformPath(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

void MakeFolder(const std::string& path)
{
    if (FolderExists(path)) return;
    if (CreateDirectoryW(PlatformPath(path).c_str(), nullptr)) return;
    const DWORD error = GetLastError();
    if (error == ERROR_PATH_NOT_FOUND) {
        const std::size_t parent = path.find_last_of('\\');
        if (parent != std::string::npos && parent > 2) {
            MakeFolder(path.substr(0, parent));
            if (CreateDirectoryW(PlatformPath(path).c_str(), nullptr)) return;
        }
    }
    // Another process may have been faster.
    if (!FolderExists(path)) ThrowFile(path, "making the folder", error);
}

std::vector<std::string> FoldersIn(const std::string& path) { return NamesIn(path, true); }
std::vector<std::string> FilesIn(const std::string& path) { return NamesIn(path, false); }

std::size_t FileSize(const std::string& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(PlatformPath(path).c_str(), GetFileExInfoStandard, &data)) return 0;
    return static_cast<std::size_t>(std::uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow);
}

void MoveFolder(const std::string& from, const std::string& to)
{
    const std::wstring source = PlatformPath(from), target = PlatformPath(to);
    if (FolderExists(to)) ThrowFile(to, "moving a folder to this name", ERROR_ALREADY_EXISTS);
    const DWORD error = Patiently(
        [&] { return MoveFileExW(source.c_str(), target.c_str(), MOVEFILE_WRITE_THROUGH) != FALSE; });
    if (error != ERROR_SUCCESS) ThrowFile(from, "moving the folder", error);
}

void RemoveFolder(const std::string& path)
{
    for (const Entry& entry : EntriesIn(path)) {
        const std::string inner = path + "\\" + entry.name;
        const bool folder = (entry.attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        if (folder && (entry.attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
            RemoveFolder(inner);
        } else if (folder) {
            RemoveDirectoryW(PlatformPath(inner).c_str());
        } else {
            RemoveFile(inner);
        }
    }
    const std::wstring wide = PlatformPath(path);
    const DWORD error = Patiently([&] { return RemoveDirectoryW(wide.c_str()) != FALSE; });
    if (error != ERROR_SUCCESS && error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND)
        ThrowFile(path, "removing the folder", error);
}

bool RemoveFile(const std::string& path)
{
    const std::wstring wide = PlatformPath(path);
    const DWORD error = Patiently([&] { return DeleteFileW(wide.c_str()) != FALSE; });
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return false;
    if (error != ERROR_SUCCESS) ThrowFile(path, "removing the file", error);
    return true;
}

void RemoveTemporaries(const std::string& path)
{
    for (const std::string& name : FilesIn(path)) {
        if (name.ends_with(kTemporaryEnding)) DeleteFileW(PlatformPath(path + "\\" + name).c_str());
    }
}

}  // namespace kzr::softkey
