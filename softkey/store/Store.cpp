// The store's folders: keys found, made, moved, removed. The order of locks is the store's, then one key's.
#include "store/Store.h"

#include <algorithm>
#include <set>

#include "base/Base64.h"
#include "base/Failure.h"
#include "base/File.h"
#include "crypto/Digest.h"
#include "store/Containers.h"
#include "store/Folder.h"
#include "store/Layout.h"
#include "store/Names.h"
#include "store/PinAttempt.h"

namespace kzr::softkey {
namespace {

constexpr std::size_t kDescriptionLimit = 65536;
constexpr std::size_t kTrustFileLimit = 4 * 1024 * 1024;

// Only of a folder whose name can be a key's.
bool IsKeyName(const std::string& folder, const std::string& name)
{
    return IsSerialNumber(name) && IsComplete(folder + "\\" + name);
}

void CheckDescription(const DeviceDescription& description)
{
    CheckSerialNumber(description.serialNumber);
    for (const std::string* text :
         {&description.type, &description.extensionLibrary, &description.provider}) {
        if (text->empty() || text->size() > 128 || !IsPlainText(*text))
            throw Failure(Cause::BadArgument, "type, library and CSP name have 1 to 128 bytes of text each");
    }
}

// Whose description can be read; what else could be a key goes to `unreadable`.
template <typename Take>
void ForEachKey(const std::string& folder, std::vector<std::string>* unreadable, Take&& take)
{
    for (const std::string& name : FoldersIn(folder)) {
        if (!IsKeyName(folder, name)) continue;
        const std::string path = folder + "\\" + name;
        try {
            // Without a value when it was pulled this very moment.
            const auto content = ReadFileIfThere(DescriptionFile(path), kDescriptionLimit);
            if (content) take(path, ParseDescription(*content, name));
        } catch (const Failure& failure) {
            if (unreadable) unreadable->push_back(path + ": " + failure.what());
        }
    }
}

// Upper and lower case count as different although the file system may not tell them apart: the serial
// number goes to pages, which compare it.
bool HasFolder(const std::string& folder, std::string_view name)
{
    const std::vector<std::string> names = FoldersIn(folder);
    return std::find(names.begin(), names.end(), name) != names.end() && IsKeyName(folder, std::string(name));
}

// Removed when what was built in it has not been moved away.
struct BuildingPlace {
    const std::string path;
    explicit BuildingPlace(const std::string& root)
        : path(MakingFolder(root) + "\\" + HexUpper(RandomBytes(8)))
    {
        MakeFolder(path);
    }
    BuildingPlace(const BuildingPlace&) = delete;
    BuildingPlace& operator=(const BuildingPlace&) = delete;
    ~BuildingPlace()
    {
        try {
            if (FolderExists(path)) RemoveFolder(path);
        } catch (const Failure&) {  // whoever makes or removes the next key cleans up
        }
    }
};

// Under the store's lock everything in there is somebody's who died.
void CleanMakingFolder(const std::string& root)
{
    for (const std::string& name : FoldersIn(MakingFolder(root))) {
        try {
            RemoveFolder(MakingFolder(root) + "\\" + name);
        } catch (const Failure&) {  // still held by a scanner: the next time then
        }
    }
}

// However fast a key goes and comes, or another one of its serial number does, whoever was logged in can
// tell.
void WritePlugging(const std::string& folder)
{
    WriteWholeFile(PluggingFile(folder), ViewOf(HexUpper(RandomBytes(16))));
}

void Move(const std::string& root, const std::string& serialNumber, bool plugs)
{
    const std::string from = plugs ? ParkedFolder(root) : KeysFolder(root);
    const std::string to = plugs ? KeysFolder(root) : ParkedFolder(root);
    if (FolderExists(to + "\\" + serialNumber))
        throw Failure(Cause::BadArgument, "the store has two keys " + serialNumber + ": remove one by hand");
    const KeyLock lock(from + "\\" + serialNumber);
    if (plugs) {
        RemoveTemporaries(from + "\\" + serialNumber);
        WritePlugging(from + "\\" + serialNumber);
    }
    MoveFolder(from + "\\" + serialNumber, to + "\\" + serialNumber);
}

Failure UnknownKey(std::string_view serialNumber)
{
    return Failure(Cause::UnknownKey, "there is no key " + std::string(serialNumber));
}

bool EndsLike(const std::string& name, std::initializer_list<std::string_view> endings)
{
    std::string lower = name;
    for (char& c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return std::any_of(endings.begin(), endings.end(),
                       [&](std::string_view end) { return lower.ends_with(end); });
}

}  // namespace

Store::Store(std::string root) : m_root(AbsolutePath(root))
{
    for (const std::string& folder :
         {KeysFolder(m_root), ParkedFolder(m_root), MakingFolder(m_root), TrustFolder(m_root)})
        MakeFolder(folder);
    MakeFolder(m_root + "\\locks");
}

std::string Store::DefaultRoot()
{
    std::string root = EnvironmentText(L"KZR_SOFTKEY_HOME");
    if (!root.empty()) return root;
    root = EnvironmentText(L"LOCALAPPDATA");
    if (!root.empty()) return root + "\\KzrSoftKey";
    throw Failure(Cause::File, "there is no place for keys: LOCALAPPDATA and KZR_SOFTKEY_HOME are not set");
}

std::vector<Device> Store::DevicesIn(const std::string& folder, std::vector<std::string>* unreadable) const
{
    std::vector<Device> devices;
    ForEachKey(folder, unreadable, [&](const std::string& path, DeviceDescription description) {
        devices.push_back(Device(path, std::move(description)));
    });
    return devices;
}

std::vector<Device> Store::Plugged(std::vector<std::string>* unreadable) const
{
    return DevicesIn(KeysFolder(m_root), unreadable);
}

std::vector<Device> Store::Parked(std::vector<std::string>* unreadable) const
{
    return DevicesIn(ParkedFolder(m_root), unreadable);
}

std::optional<Device> Store::FindIn(const std::string& folder, std::string_view serialNumber) const
{
    if (!IsSerialNumber(serialNumber) || !HasFolder(folder, serialNumber)) return std::nullopt;
    const std::string name(serialNumber);
    const std::string path = folder + "\\" + name;
    const auto content = ReadFileIfThere(DescriptionFile(path), kDescriptionLimit);
    if (!content) return std::nullopt;
    return Device(path, ParseDescription(*content, name));
}

std::optional<Device> Store::Find(std::string_view serialNumber) const
{
    return FindIn(KeysFolder(m_root), serialNumber);
}

std::optional<Device> Store::FindParked(std::string_view serialNumber) const
{
    return FindIn(ParkedFolder(m_root), serialNumber);
}

std::optional<Device> Store::FindByContainer(std::string_view container) const
{
    const std::string name(container);
    for (const std::string& key : FoldersIn(KeysFolder(m_root))) {
        const std::string folder = KeysFolder(m_root) + "\\" + key;
        if (!FileExists(ContainerFile(folder, name))) continue;
        if (auto device = Find(key)) return device;
    }
    return std::nullopt;
}

Device Store::Create(const DeviceDescription& description, const Pins& pins,
                     const std::vector<NewContainer>& containers)
{
    CheckDescription(description);
    std::set<std::string> names;
    for (const NewContainer& container : containers) {
        CheckNewContainer(container);
        if (!names.insert(FileNameFor(container.description.name)).second)
            throw Failure(Cause::BadArgument, "two containers \"" + container.description.name + "\"");
    }
    Secret deviceKey;
    const PinRecord record = MakePins(pins, deviceKey);

    const StoreLock lock(m_root);
    CleanMakingFolder(m_root);
    const std::string folder = KeysFolder(m_root) + "\\" + description.serialNumber;
    // The names are compared by the file system: "a" is taken by "A".
    if (FolderExists(folder) || FolderExists(ParkedFolder(m_root) + "\\" + description.serialNumber))
        throw Failure(Cause::BadArgument, "there is a key " + description.serialNumber + " already");
    for (const NewContainer& container : containers) CheckContainerIsNew(m_root, container.description.name);

    const BuildingPlace place(m_root);
    MakeFolder(ContainersFolder(place.path));
    MakeFolder(DataFolder(place.path));
    for (const NewContainer& container : containers) WriteContainer(place.path, deviceKey, container);
    WritePins(place.path, record);
    WritePlugging(place.path);
    WriteWholeFile(DescriptionFile(place.path), ViewOf(FormatDescription(description)));
    MoveFolder(place.path, folder);
    return Device(folder, description);
}

void Store::Plug(std::string_view serialNumber)
{
    const StoreLock lock(m_root);
    if (Find(serialNumber)) return;
    if (!IsSerialNumber(serialNumber) || !HasFolder(ParkedFolder(m_root), serialNumber))
        throw UnknownKey(serialNumber);
    Move(m_root, std::string(serialNumber), true);
}

void Store::Unplug(std::string_view serialNumber)
{
    const StoreLock lock(m_root);
    if (FindParked(serialNumber)) return;
    if (!IsSerialNumber(serialNumber) || !HasFolder(KeysFolder(m_root), serialNumber))
        throw UnknownKey(serialNumber);
    Move(m_root, std::string(serialNumber), false);
}

void Store::Delete(std::string_view serialNumber)
{
    const StoreLock lock(m_root);
    CleanMakingFolder(m_root);
    if (!IsSerialNumber(serialNumber)) throw UnknownKey(serialNumber);
    const std::string name(serialNumber);
    for (const std::string& folder : {KeysFolder(m_root), ParkedFolder(m_root)}) {
        if (!HasFolder(folder, name)) continue;
        const std::string grave = MakingFolder(m_root) + "\\" + HexUpper(RandomBytes(8));
        {
            const KeyLock keyLock(folder + "\\" + name);
            // From here on the key is gone, however long removing its files takes.
            MoveFolder(folder + "\\" + name, grave);
            keyLock.RemoveFiles();
        }
        RemoveFolder(grave);
        return;
    }
    throw UnknownKey(serialNumber);
}

void Store::Describe(const DeviceDescription& description)
{
    CheckDescription(description);
    const StoreLock lock(m_root);
    for (const std::string& folder : {KeysFolder(m_root), ParkedFolder(m_root)}) {
        if (!HasFolder(folder, description.serialNumber)) continue;
        const std::string path = folder + "\\" + description.serialNumber;
        const KeyLock keyLock(path);
        RemoveTemporaries(path);
        WriteWholeFile(DescriptionFile(path), ViewOf(FormatDescription(description)));
        return;
    }
    throw UnknownKey(description.serialNumber);
}

TrustStore Store::Trust(std::vector<std::string>* skipped) const
{
    TrustStore trust;
    for (const std::string& name : FilesIn(TrustFolder(m_root))) {
        const bool list = EndsLike(name, {".crl"});
        if (!list && !EndsLike(name, {".pem", ".cer", ".crt", ".der"})) continue;
        const std::string path = TrustFolder(m_root) + "\\" + name;
        try {
            const Bytes content = ReadWholeFile(path, kTrustFileLimit);
            list ? trust.AddRevocationLists(content) : trust.AddCertificates(content, true);
        } catch (const Failure& failure) {
            if (skipped) skipped->push_back(path + ": " + failure.what());
        }
    }
    return trust;
}

}  // namespace kzr::softkey
