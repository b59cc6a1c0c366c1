// The store's folders and locks.
#include "store/Layout.h"

#include "base/Failure.h"
#include "base/File.h"
#include "store/Folder.h"
#include "store/Names.h"

namespace kzr::softkey {
namespace {

std::string Above(const std::string& path) { return path.substr(0, path.find_last_of('\\')); }

}  // namespace

std::string ContainerFile(const std::string& folder, const std::string& container)
{
    return ContainersFolder(folder) + "\\" + FileNameFor(container) + ".json";
}

std::string RootOf(const std::string& folder) { return Above(Above(folder)); }
std::string SerialNumberOf(const std::string& folder) { return folder.substr(folder.find_last_of('\\') + 1); }

bool IsComplete(const std::string& folder)
{
    return FileExists(DescriptionFile(folder)) && FileExists(PinFile(folder));
}

StoreLock::StoreLock(const std::string& root) : m_lock(root + "\\store.lock") {}

KeyLock::KeyLock(const std::string& folder)
    : m_lock(RootOf(folder) + "\\locks\\" + SerialNumberOf(folder) + ".lock")
{
    if (IsComplete(folder)) return;
    // Of a key that was deleted while somebody waited, or still has it, nothing may stay.
    m_lock.RemoveFiles();
    throw Failure(Cause::UnknownKey, "the key " + SerialNumberOf(folder) + " is not there any more");
}

void CheckContainerIsNew(const std::string& root, const std::string& container)
{
    for (const std::string& folder : {KeysFolder(root), ParkedFolder(root)}) {
        for (const std::string& key : FoldersIn(folder)) {
            if (!FileExists(ContainerFile(folder + "\\" + key, container))) continue;
            throw Failure(Cause::BadArgument,
                          "the key " + key + " has a container \"" + container + "\" already");
        }
    }
}

}  // namespace kzr::softkey
