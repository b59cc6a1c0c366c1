// Whole files, files in pieces, and their replacement, from the platform's few calls in RawFile.
#include "base/File.h"

#include <openssl/rand.h>

#include "base/Base64.h"
#include "base/Failure.h"
#include "base/RawFile.h"

namespace kzr::softkey {

namespace {

constexpr std::size_t kPiece = 65536;

Failure NoSuchFile(const std::string& path) { return Failure(Cause::File, path + ": there is no such file"); }

Bytes ReadAll(RawFile& file, const std::string& path, std::size_t limit)
{
    const auto tooLarge = [&] {
        return Failure(Cause::File, path + ": larger than " + std::to_string(limit) + " bytes");
    };
    const std::uint64_t size = file.Size();
    if (size > limit) throw tooLarge();
    Bytes content(static_cast<std::size_t>(size));
    std::size_t have = 0;
    while (true) {
        // The file may grow or shrink while it is read.
        if (have == content.size()) content.resize(have + 1);
        const std::size_t got = file.Read(std::span(content).subspan(have));
        if (got == 0) break;
        have += got;
        if (have > limit) throw tooLarge();
    }
    content.resize(have);
    return content;
}

#ifdef _WIN32
constexpr char kSeparators[] = "/\\:";
#else
constexpr char kSeparators[] = "/";
#endif

// In the same folder, so that the rename stays within one volume; a name that no other writer chooses, and
// short however long the file's own is.
std::string TemporaryFor(const std::string& path)
{
    const std::size_t separator = path.find_last_of(kSeparators);
    const std::string folder = path.substr(0, separator == std::string::npos ? 0 : separator + 1);
    std::uint8_t random[8];
    if (RAND_bytes(random, sizeof random) != 1) throw Failure(Cause::Crypto, "no random bytes can be had");
    return folder + HexUpper(random) + std::string(kTemporaryEnding);
}

// Removes the temporary unless it was renamed.
struct Temporary {
    const std::string path;
    bool renamed = false;
    explicit Temporary(std::string name) : path(std::move(name)) {}
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;
    ~Temporary()
    {
        if (!renamed) RemoveQuietly(path);
    }
};

}  // namespace

std::optional<Bytes> ReadFileIfThere(const std::string& path, std::size_t limit)
{
    auto file = RawFile::OpenToRead(path);
    if (!file) return std::nullopt;
    return ReadAll(*file, path, limit);
}

Bytes ReadWholeFile(const std::string& path, std::size_t limit)
{
    auto content = ReadFileIfThere(path, limit);
    if (!content) throw NoSuchFile(path);
    return *std::move(content);
}

void ReadInPieces(const std::string& path, const std::function<void(View)>& take)
{
    auto file = RawFile::OpenToRead(path);
    if (!file) throw NoSuchFile(path);
    Secret piece(kPiece);  // it may be what somebody wants encrypted
    while (const std::size_t got = file->Read(piece)) take(View(piece).first(got));
}

void WriteWholeFile(const std::string& path, View content)
{
    WriteInPieces(path, [content](const std::function<void(View)>& write) { write(content); });
}

void WriteInPieces(const std::string& path,
                   const std::function<void(const std::function<void(View)>& write)>& fill)
{
    Temporary temporary(TemporaryFor(path));
    {
        RawFile file = RawFile::CreateToWrite(temporary.path, path);
        fill([&file](View piece) { file.Write(piece); });
        file.FlushAndClose();
    }
    RenameOnto(temporary.path, path);
    temporary.renamed = true;
}

bool FileExists(const std::string& path) { return OrdinaryFileExists(path); }

}  // namespace kzr::softkey
