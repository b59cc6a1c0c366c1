// Files as the software key writes them: whole or not at all. Paths are UTF-8 everywhere in softkey/.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/Bytes.h"

namespace kzr::softkey {

// The whole file; throws Failure(File) when it cannot be read or is larger than `limit` bytes.
Bytes ReadWholeFile(const std::string& path, std::size_t limit = std::size_t{1} << 30);

// As above, without a value when there is no such file.
std::optional<Bytes> ReadFileIfThere(const std::string& path, std::size_t limit = std::size_t{1} << 30);

// What the name of a temporary file ends with. Whoever owns a folder may remove such files when nobody writes
// there: a crash left them.
inline constexpr std::string_view kTemporaryEnding = ".kzrtmp";

// Writes to a temporary file in the same folder, flushes it to the disk and renames it onto `path`. After a
// crash at any moment `path` holds the old content or the new one. Throws Failure(File).
void WriteWholeFile(const std::string& path, View content);

// Reads the file in pieces of at most 64 KiB.
void ReadInPieces(const std::string& path, const std::function<void(View)>& take);

// As WriteWholeFile, for content that comes in pieces: `fill` is handed the way to write one; when it throws,
// the temporary goes and `path` stays as it was.
void WriteInPieces(const std::string& path,
                   const std::function<void(const std::function<void(View)>& write)>& fill);

bool FileExists(const std::string& path);

}  // namespace kzr::softkey
