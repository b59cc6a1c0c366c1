// Taking a lock file.
#include "store/FileLock.h"

#include <windows.h>

#include "base/Failure.h"
#include "com/Handles.h"
#include "store/Folder.h"

namespace kzr::softkey {
namespace {

constexpr ULONGLONG kLongestWait = 10000;
// With the pauses about half a second.
constexpr int kMostDenials = 40;

HANDLE TakeFile(const std::string& path, ULONGLONG started)
{
    const std::wstring wide = PlatformPath(path);
    int denials = 0;
    for (DWORD pause = 1;; pause = pause < 16 ? pause * 2 : 16) {
        const HANDLE file = CreateFileW(wide.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, 0, nullptr,
                                        OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file != INVALID_HANDLE_VALUE) return file;
        const DWORD error = GetLastError();
        // A file that is going denies itself for that moment, one that we have no right to for good.
        const bool going = error == ERROR_ACCESS_DENIED && ++denials < kMostDenials;
        if (error != ERROR_SHARING_VIOLATION && !going)
            throw Failure(Cause::File, path + ": locking: error " + std::to_string(error));
        if (GetTickCount64() - started >= kLongestWait)
            throw Failure(Cause::File, path + ": another process keeps the key locked");
        Sleep(pause);
    }
}

std::string TurnOf(const std::string& path) { return path + ".turn"; }

HANDLE Take(const std::string& path)
{
    const ULONGLONG started = GetTickCount64();
    const UniqueFile turn(TakeFile(TurnOf(path), started));
    return TakeFile(path, started);
}

}  // namespace

FileLock::FileLock(const std::string& path) : m_path(path), m_file(Take(path)) {}
FileLock::~FileLock() { CloseHandle(m_file); }

void FileLock::RemoveFiles() const noexcept
{
    FILE_DISPOSITION_INFO disposition{};
    disposition.DeleteFile = TRUE;
    SetFileInformationByHandle(m_file, FileDispositionInfo, &disposition, sizeof disposition);
    try {
        // Whose turn it is keeps the file, and will come here too.
        const UniqueFile turn(CreateFileW(PlatformPath(TurnOf(m_path)).c_str(), DELETE, 0, nullptr,
                                          OPEN_EXISTING, FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    } catch (...) {  // without memory it stays
    }
}

}  // namespace kzr::softkey
