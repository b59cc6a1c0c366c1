// A key's data files. Each begins with "KKF1", the length of its name (2, low byte first) and the name: the
// file's own name may be a digest of it.
#include <algorithm>

#include "base/Failure.h"
#include "base/File.h"
#include "store/Folder.h"
#include "store/Layout.h"
#include "store/Names.h"
#include "store/Store.h"

namespace kzr::softkey {
namespace {

constexpr std::string_view kMagic = "KKF1";
constexpr std::string_view kEnding = ".data";
constexpr std::size_t kHeaderSize = 6;
constexpr std::size_t kLongestName = 1024;
constexpr std::size_t kLargest = 64 * 1024;
constexpr std::size_t kLargestFile = kHeaderSize + kLongestName + kLargest;
constexpr std::size_t kLargestKey = 1024 * 1024;
// Files without content take room too.
constexpr std::size_t kMostFiles = 1000;

struct DataFile {
    std::string name;
    Bytes content;
};

std::string PathFor(const std::string& folder, std::string_view name)
{
    if (name.size() > kLongestName) throw Failure(Cause::BadArgument, "a file's name has 1024 bytes at most");
    return DataFolder(folder) + "\\" + FileNameFor(name) + std::string(kEnding);
}

Bytes Format(std::string_view name, View data)
{
    Bytes file(kMagic.begin(), kMagic.end());
    file.push_back(static_cast<std::uint8_t>(name.size() & 0xFF));
    file.push_back(static_cast<std::uint8_t>(name.size() >> 8));
    file.insert(file.end(), name.begin(), name.end());
    file.insert(file.end(), data.begin(), data.end());
    return file;
}

std::optional<DataFile> ReadDataFile(const std::string& path)
{
    const auto file = ReadFileIfThere(path, kLargestFile);
    if (!file) return std::nullopt;
    const View bytes(*file);
    const bool begins = bytes.size() >= kHeaderSize && TextOf(bytes).starts_with(kMagic);
    const std::size_t length = begins ? bytes[4] + std::size_t{256} * bytes[5] : 0;
    if (!begins || bytes.size() - kHeaderSize < length)
        throw Failure(Cause::BadData, path + ": no file of a key");
    const View rest = bytes.subspan(kHeaderSize);
    DataFile data{std::string(TextOf(rest.first(length))), {}};
    data.content.assign(rest.begin() + static_cast<std::ptrdiff_t>(length), rest.end());
    return data;
}

std::vector<std::string> PathsIn(const std::string& folder)
{
    std::vector<std::string> paths;
    for (const std::string& file : FilesIn(DataFolder(folder))) {
        if (file.ends_with(kEnding)) paths.push_back(DataFolder(folder) + "\\" + file);
    }
    return paths;
}

}  // namespace

std::optional<Bytes> Device::ReadData(std::string_view name) const
{
    const std::string path = PathFor(m_folder, name);
    const KeyLock lock(m_folder);
    auto data = ReadDataFile(path);
    if (!data) return std::nullopt;
    if (data->name != name) throw Failure(Cause::BadData, path + ": the file is another one's");
    return std::move(data->content);
}

void Device::WriteData(std::string_view name, View data) const
{
    const std::string path = PathFor(m_folder, name);
    if (data.size() > kLargest) throw Failure(Cause::BadArgument, "a file on a key has 65,536 bytes at most");
    const KeyLock lock(m_folder);
    RemoveTemporaries(DataFolder(m_folder));
    std::size_t others = 0, size = data.size();
    for (const std::string& other : PathsIn(m_folder)) {
        if (other == path) continue;
        ++others;
        size += FileSize(other);
    }
    if (size > kLargestKey || others >= kMostFiles)
        throw Failure(Cause::File, "the key " + m_description.serialNumber + " has no room for this file");
    WriteWholeFile(path, Format(name, data));
}

bool Device::RemoveData(std::string_view name) const
{
    const std::string path = PathFor(m_folder, name);
    const KeyLock lock(m_folder);
    return RemoveFile(path);
}

std::vector<std::string> Device::DataNames() const
{
    const KeyLock lock(m_folder);
    std::vector<std::string> names;
    for (const std::string& path : PathsIn(m_folder)) {
        if (auto data = ReadDataFile(path)) names.push_back(std::move(data->name));
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace kzr::softkey
