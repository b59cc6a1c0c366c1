// One open file and the few calls on names that differ between platforms (windows/, posix/). Everything
// throws Failure(File) with the path and the platform's reason; what the calls are put together to is
// File.h's.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "base/Bytes.h"

namespace kzr::softkey {

class RawFile {
  public:
    // Without a value when there is no such file. Takes ordinary files only: a device or a pipe has no end.
    static std::optional<RawFile> OpenToRead(const std::string& path);
    // The file must not be there yet. On Windows it goes with this object, or its process, until
    // FlushAndClose. Failures name `target`, which it is written for: nobody knows a temporary's name.
    static RawFile CreateToWrite(const std::string& path, const std::string& target);

    RawFile(RawFile&& other) noexcept;
    RawFile& operator=(RawFile&&) = delete;
    ~RawFile();

    std::uint64_t Size() const;
    // 0 at the end of the file.
    std::size_t Read(std::span<std::uint8_t> into);
    void Write(View bytes);
    // Returns when the content is on the disk; the file is closed then, also when it throws.
    void FlushAndClose();

  private:
#ifdef _WIN32
    using Native = void*;
#else
    using Native = int;
#endif
    RawFile(Native file, std::string path) : m_file(file), m_path(std::move(path)) {}
    void Close() noexcept;

    Native m_file;
    std::string m_path;
};

// In place of what `to` may have been, in one step that survives a crash.
void RenameOnto(const std::string& from, const std::string& to);
void RemoveQuietly(const std::string& path) noexcept;
bool OrdinaryFileExists(const std::string& path);

}  // namespace kzr::softkey
