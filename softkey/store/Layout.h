// Where things lie in a store, and the lock under which one key is read and written.
//   keys\SN\      key.json  pin.json  plugging  containers\  data\        plugged
//   parked\SN\    the same, unplugged
//   locks\        two files a key, which go with it: outside of its folder, since an open file would keep the
//                 folder from being renamed
//   making\       what is being made or removed; cleaned by the next who takes store.lock
//   trust\        certificates and revocation lists
#pragma once

#include <string>

#include "store/FileLock.h"

namespace kzr::softkey {

inline std::string KeysFolder(const std::string& root) { return root + "\\keys"; }
inline std::string ParkedFolder(const std::string& root) { return root + "\\parked"; }
inline std::string MakingFolder(const std::string& root) { return root + "\\making"; }
inline std::string TrustFolder(const std::string& root) { return root + "\\trust"; }

inline std::string DescriptionFile(const std::string& folder) { return folder + "\\key.json"; }
inline std::string PluggingFile(const std::string& folder) { return folder + "\\plugging"; }
inline std::string PinFile(const std::string& folder) { return folder + "\\pin.json"; }
inline std::string ContainersFolder(const std::string& folder) { return folder + "\\containers"; }
std::string ContainerFile(const std::string& folder, const std::string& container);
inline std::string DataFolder(const std::string& folder) { return folder + "\\data"; }

// Of a key's folder, plugged or parked.
std::string RootOf(const std::string& folder);
std::string SerialNumberOf(const std::string& folder);

// A key's folder has all that makes a key.
bool IsComplete(const std::string& folder);

// Nobody makes, moves or removes keys meanwhile.
class StoreLock {
  public:
    explicit StoreLock(const std::string& root);

  private:
    const FileLock m_lock;
};

// Nobody else touches the key meanwhile. Throws Failure(UnknownKey) when it is not in this folder.
class KeyLock {
  public:
    explicit KeyLock(const std::string& folder);
    // For who removes the key.
    void RemoveFiles() const noexcept { m_lock.RemoveFiles(); }

  private:
    const FileLock m_lock;
};

// Throws Failure(BadArgument) when any key of the store, plugged or parked, has this container.
void CheckContainerIsNew(const std::string& root, const std::string& container);

}  // namespace kzr::softkey
