// A lock between processes and threads that the system frees when its holder dies: an open file that nobody
// else may open. Not recursive. Order: the store's, then one key's.
// Whoever waits holds a second file, the turn, so that the holder cannot take the lock twice in a row while
// others wait.
#pragma once

#include <string>

namespace kzr::softkey {

class FileLock {
  public:
    // Waits ten seconds at most; throws Failure(File) then, and when the file cannot be made.
    explicit FileLock(const std::string& path);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    // The files go with this lock, until somebody takes it again: it is the open file that locks, and nobody
    // has a second one of that name.
    void RemoveFiles() const noexcept;

  private:
    const std::string m_path;
    // A file handle of the platform, whose header stays out of here.
    void* const m_file;
};

}  // namespace kzr::softkey
