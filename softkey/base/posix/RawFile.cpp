// Files on the build machine, where the tests and fuzzers run.
#include "base/RawFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "base/Failure.h"

namespace kzr::softkey {

namespace {

constexpr int kNone = -1;

Failure FileFailure(const std::string& path, const char* doing)
{
    return Failure(Cause::File, path + ": " + doing + ": " + std::strerror(errno));
}

// A name with a null inside would mean another file than it says.
void RefuseBadName(const std::string& path)
{
    if (path.empty() || path.find('\0') != std::string::npos)
        throw Failure(Cause::File, "the file has no usable name");
}

bool IsOrdinary(const struct stat& status) { return S_ISREG(status.st_mode); }

}  // namespace

std::optional<RawFile> RawFile::OpenToRead(const std::string& path)
{
    RefuseBadName(path);
    // Without waiting for a pipe's other end.
    RawFile file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK), path);
    if (file.m_file == kNone) {
        if (errno == ENOENT || errno == ENOTDIR) return std::nullopt;
        throw FileFailure(path, "opening");
    }
    struct stat status;
    if (fstat(file.m_file, &status) != 0) throw FileFailure(path, "opening");
    if (!IsOrdinary(status)) throw Failure(Cause::File, path + ": not an ordinary file");
    return file;
}

RawFile RawFile::CreateToWrite(const std::string& path, const std::string& target)
{
    RefuseBadName(path);
    RawFile file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600), target);
    if (file.m_file == kNone) throw FileFailure(target, "creating");
    return file;
}

RawFile::RawFile(RawFile&& other) noexcept
    : m_file(std::exchange(other.m_file, kNone)), m_path(std::move(other.m_path))
{}

RawFile::~RawFile() { Close(); }

void RawFile::Close() noexcept
{
    if (m_file != kNone) close(std::exchange(m_file, kNone));
}

std::uint64_t RawFile::Size() const
{
    struct stat status;
    if (fstat(m_file, &status) != 0) throw FileFailure(m_path, "reading");
    return static_cast<std::uint64_t>(status.st_size);
}

std::size_t RawFile::Read(std::span<std::uint8_t> into)
{
    while (true) {
        const ssize_t got = read(m_file, into.data(), into.size());
        if (got >= 0) return static_cast<std::size_t>(got);
        if (errno != EINTR) throw FileFailure(m_path, "reading");
    }
}

void RawFile::Write(View bytes)
{
    while (!bytes.empty()) {
        const ssize_t put = write(m_file, bytes.data(), bytes.size());
        if (put >= 0)
            bytes = bytes.subspan(static_cast<std::size_t>(put));
        else if (errno != EINTR)
            throw FileFailure(m_path, "writing");
    }
}

void RawFile::FlushAndClose()
{
    const bool flushed = fsync(m_file) == 0;
    const int reason = errno;
    Close();
    errno = reason;
    if (!flushed) throw FileFailure(m_path, "writing");
}

void RenameOnto(const std::string& from, const std::string& to)
{
    RefuseBadName(to);
    if (rename(from.c_str(), to.c_str()) != 0) throw FileFailure(to, "replacing");
    const std::size_t slash = to.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : to.substr(0, slash + 1);
    const int opened = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (opened == kNone) return;
    fsync(opened);
    close(opened);
}

void RemoveQuietly(const std::string& path) noexcept { unlink(path.c_str()); }

bool OrdinaryFileExists(const std::string& path)
{
    RefuseBadName(path);
    struct stat status;
    return stat(path.c_str(), &status) == 0 && IsOrdinary(status);
}

}  // namespace kzr::softkey
