// Taking a lock file.
#include "store/FileLock.h"

#include <windows.h>

#include "base/Failure.h"
#include "com/Handles.h"
#include "store/Folder.h"

namespace kzr::softkey {
namespace {

constexpr ULONGLONG kLongestWait = 10000;

HANDLE TakeFile(const std::string& path, ULONGLONG started)
{
    const std::wstring wide = PlatformPath(path);
    for (DWORD pause = 1;; pause = pause < 16 ? pause * 2 : 16) {
        const HANDLE file = CreateFileW(wide.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                                        FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file != INVALID_HANDLE_VALUE) return file;
        const DWORD error = GetLastError();
        if (error != ERROR_SHARING_VIOLATION)
            throw Failure(Cause::File, path + ": locking: error " + std::to_string(error));
        if (GetTickCount64() - started >= kLongestWait)
            throw Failure(Cause::File, path + ": another process keeps the key locked");
        Sleep(pause);
    }
}

HANDLE Take(const std::string& path)
{
    const ULONGLONG started = GetTickCount64();
    const UniqueFile turn(TakeFile(path + ".turn", started));
    return TakeFile(path, started);
}

}  // namespace

FileLock::FileLock(const std::string& path) : m_file(Take(path)) {}
FileLock::~FileLock() { CloseHandle(m_file); }

}  // namespace kzr::softkey
