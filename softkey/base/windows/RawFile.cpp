// Files on Windows: wide names, long ones included, flushed to the disk before they are renamed.
#include "base/RawFile.h"

#include <windows.h>

#include <algorithm>
#include <utility>

#include "base/Failure.h"

namespace kzr::softkey {

namespace {

Failure FileFailure(const std::string& path, const char* doing, DWORD error = GetLastError())
{
    return Failure(Cause::File, path + ": " + doing + ": error " + std::to_string(error));
}

Failure BadName() { return Failure(Cause::File, "the file has no usable name"); }

// From this length on the platform takes a name only whole and with a prefix (a folder's limit is MAX_PATH
// less a short name).
constexpr std::size_t kLongName = MAX_PATH - 12;

std::wstring WithPrefix(const std::wstring& name)
{
    if (name.starts_with(L"\\\\?\\")) return name;
    const DWORD size = GetFullPathNameW(name.c_str(), 0, nullptr, nullptr);
    std::wstring whole(size, L'\0');
    const DWORD length = size > 0 ? GetFullPathNameW(name.c_str(), size, whole.data(), nullptr) : 0;
    if (length == 0 || length >= size) throw BadName();
    whole.resize(length);
    if (whole.starts_with(L"\\\\")) return L"\\\\?\\UNC" + whole.substr(1);
    return L"\\\\?\\" + whole;
}

// A name with a null inside would mean another file than it says.
std::wstring NameOf(const std::string& path)
{
    if (path.empty() || path.size() > 32000 || path.find('\0') != std::string::npos) throw BadName();
    const int size = static_cast<int>(path.size());
    std::wstring name(path.size(), L'\0');
    const int length =
        MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path.data(), size, name.data(), size);
    if (length <= 0) throw BadName();
    name.resize(static_cast<std::size_t>(length));
    return name.size() < kLongName ? name : WithPrefix(name);
}

// Whether the system removes the file with its last handle, however that goes: half-written files may hold
// what was decrypted, and nobody would look for them.
bool GoWithHandle(HANDLE file, bool goes)
{
    FILE_DISPOSITION_INFO disposition{};
    disposition.DeleteFile = goes;
    return SetFileInformationByHandle(file, FileDispositionInfo, &disposition, sizeof disposition) != FALSE;
}

}  // namespace

std::optional<RawFile> RawFile::OpenToRead(const std::string& path)
{
    RawFile file(CreateFileW(NameOf(path).c_str(), GENERIC_READ,
                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                             FILE_FLAG_SEQUENTIAL_SCAN, nullptr),
                 path);
    if (file.m_file == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return std::nullopt;
        throw FileFailure(path, "opening", error);
    }
    if (GetFileType(file.m_file) != FILE_TYPE_DISK)
        throw Failure(Cause::File, path + ": not an ordinary file");
    return file;
}

RawFile RawFile::CreateToWrite(const std::string& path, const std::string& target)
{
    RawFile file(CreateFileW(NameOf(path).c_str(), GENERIC_WRITE | DELETE, 0, nullptr, CREATE_NEW,
                             FILE_ATTRIBUTE_NORMAL, nullptr),
                 target);
    if (file.m_file == INVALID_HANDLE_VALUE) throw FileFailure(target, "creating");
    // Where the file system cannot do this, what a dead process wrote stays, as on other platforms.
    GoWithHandle(file.m_file, true);
    return file;
}

RawFile::RawFile(RawFile&& other) noexcept
    : m_file(std::exchange(other.m_file, INVALID_HANDLE_VALUE)), m_path(std::move(other.m_path))
{}

RawFile::~RawFile() { Close(); }

void RawFile::Close() noexcept
{
    if (m_file != INVALID_HANDLE_VALUE) CloseHandle(std::exchange(m_file, INVALID_HANDLE_VALUE));
}

std::uint64_t RawFile::Size() const
{
    LARGE_INTEGER size;
    if (!GetFileSizeEx(m_file, &size)) throw FileFailure(m_path, "reading");
    return static_cast<std::uint64_t>(size.QuadPart);
}

std::size_t RawFile::Read(std::span<std::uint8_t> into)
{
    DWORD got = 0;
    const auto size = static_cast<DWORD>(std::min<std::size_t>(into.size(), 1u << 30));
    if (!::ReadFile(m_file, into.data(), size, &got, nullptr)) throw FileFailure(m_path, "reading");
    return got;
}

void RawFile::Write(View bytes)
{
    while (!bytes.empty()) {
        DWORD put = 0;
        const auto size = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), 1u << 30));
        if (!::WriteFile(m_file, bytes.data(), size, &put, nullptr) || put == 0)
            throw FileFailure(m_path, "writing");
        bytes = bytes.subspan(put);
    }
}

void RawFile::FlushAndClose()
{
    const bool flushed = FlushFileBuffers(m_file);
    const DWORD error = GetLastError();
    // Should it go nevertheless, whoever renames it hears of that.
    if (flushed) GoWithHandle(m_file, false);
    Close();
    if (!flushed) throw FileFailure(m_path, "writing", error);
}

void RenameOnto(const std::string& from, const std::string& to)
{
    const std::wstring source = NameOf(from);
    const std::wstring target = NameOf(to);
    const DWORD attributes = GetFileAttributesW(target.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES &&
        (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY)) != 0)
        throw FileFailure(to, "replacing", ERROR_ACCESS_DENIED);
    // A reader, or a scanner that looks at every new file, keeps the name for a moment.
    for (int left = 40;; --left) {
        if (MoveFileExW(source.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
            return;
        const DWORD error = GetLastError();
        const bool held = error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED;
        if (!held || left == 0) throw FileFailure(to, "replacing", error);
        Sleep(25);
    }
}

void RemoveQuietly(const std::string& path) noexcept
{
    try {
        DeleteFileW(NameOf(path).c_str());
    } catch (...) {  // a name that was never a file's
    }
}

bool OrdinaryFileExists(const std::string& path)
{
    const DWORD attributes = GetFileAttributesW(NameOf(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

}  // namespace kzr::softkey
