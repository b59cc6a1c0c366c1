// The operations on one key, each under its lock.
#include "base/Failure.h"
#include "base/File.h"
#include "store/Containers.h"
#include "store/Folder.h"
#include "store/Layout.h"
#include "store/PinAttempt.h"
#include "store/Store.h"

namespace kzr::softkey {
namespace {

constexpr std::size_t kRecordLimit = 256 * 1024;
constexpr std::string_view kRecordEnding = ".json";

// The user's PIN, or the administrator's.
using Which = PinLock PinRecord::*;

PinAnswer Enter(const std::string& folder, Which which, std::string_view pin, Secret& deviceKey)
{
    const KeyLock lock(folder);
    PinRecord record = ReadPins(folder);
    const PinAnswer answer = TryPin(folder, record, which, pin, deviceKey);
    if (answer.result == PinResult::Right) WritePins(folder, record);
    return answer;
}

// Whoever knows the PIN `proven` sets the PIN `replaced`.
PinAnswer Replace(const std::string& folder, Which proven, std::string_view pin, Which replaced,
                  std::string_view newPin)
{
    CheckPin(newPin);
    const KeyLock lock(folder);
    PinRecord record = ReadPins(folder);
    Secret deviceKey;
    const PinAnswer answer = TryPin(folder, record, proven, pin, deviceKey);
    if (answer.result != PinResult::Right) return answer;
    SetPin(record, replaced, newPin, deviceKey);
    WritePins(folder, record);
    return answer;
}

}  // namespace

std::vector<ContainerDescription> Device::Containers(std::vector<std::string>* unreadable) const
{
    const KeyLock lock(m_folder);
    std::vector<ContainerDescription> containers;
    for (const std::string& file : FilesIn(ContainersFolder(m_folder))) {
        if (!file.ends_with(kRecordEnding)) continue;
        const std::string path = ContainersFolder(m_folder) + "\\" + file;
        try {
            ContainerRecord record = ParseContainer(ReadWholeFile(path, kRecordLimit));
            if (ContainerFile(m_folder, record.description.name) != path)
                throw Failure(Cause::BadData, "the file is another container's");
            containers.push_back(std::move(record.description));
        } catch (const Failure& failure) {
            if (unreadable) unreadable->push_back(path + ": " + failure.what());
        }
    }
    return containers;
}

PinAnswer Device::Login(std::string_view pin, Secret& deviceKey) const
{
    return Enter(m_folder, &PinRecord::user, pin, deviceKey);
}

PinAnswer Device::LoginAsAdmin(std::string_view adminPin, Secret& deviceKey) const
{
    return Enter(m_folder, &PinRecord::admin, adminPin, deviceKey);
}

PinAnswer Device::ChangePin(std::string_view oldPin, std::string_view newPin) const
{
    return Replace(m_folder, &PinRecord::user, oldPin, &PinRecord::user, newPin);
}

PinAnswer Device::ChangeAdminPin(std::string_view oldPin, std::string_view newPin) const
{
    return Replace(m_folder, &PinRecord::admin, oldPin, &PinRecord::admin, newPin);
}

PinAnswer Device::Unblock(std::string_view adminPin, std::string_view newPin) const
{
    return Replace(m_folder, &PinRecord::admin, adminPin, &PinRecord::user, newPin);
}

int Device::TriesLeft() const
{
    const KeyLock lock(m_folder);
    return ReadPins(m_folder).user.left;
}

int Device::AdminTriesLeft() const
{
    const KeyLock lock(m_folder);
    return ReadPins(m_folder).admin.left;
}

std::string Device::Plugging() const { return PluggingIn(m_folder); }

// Without the lock: it is written while the key is parked or made.
std::string Device::PluggingIn(const std::string& folder)
{
    const auto content = ReadFileIfThere(PluggingFile(folder), kRecordLimit);
    return content ? std::string(TextOf(*content)) : std::string();
}

KeyHandle Device::PrivateKey(const Secret& deviceKey, const std::string& container, Pair pair) const
{
    const KeyLock lock(m_folder);
    return UnwrapKey(ReadContainer(m_folder, container), deviceKey, pair);
}

void Device::AddContainer(const Secret& deviceKey, const NewContainer& container) const
{
    CheckNewContainer(container);
    const StoreLock storeLock(RootOf(m_folder));
    const KeyLock lock(m_folder);
    if (!IsDeviceKeyOf(ReadPins(m_folder), deviceKey))
        throw Failure(Cause::NotLoggedIn, "the device key is not this key's");
    CheckContainerIsNew(RootOf(m_folder), container.description.name);
    RemoveTemporaries(ContainersFolder(m_folder));
    WriteContainer(m_folder, deviceKey, container);
}

void Device::RemoveContainer(const std::string& container) const
{
    const KeyLock lock(m_folder);
    if (!RemoveFile(ContainerFile(m_folder, container)))
        throw Failure(Cause::UnknownContainer, "there is no container \"" + container + "\"");
}

}  // namespace kzr::softkey
