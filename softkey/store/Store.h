// Virtual keys in files: plugging and pulling them, their containers and their data files. Everything that a
// key keeps is written whole or not at all, under the key's lock, which another process waits for.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "store/Pin.h"
#include "x509/Validation.h"

namespace kzr::softkey {

struct DeviceDescription {
    std::string serialNumber;
    std::string type = "VKEY";                    // GetDeviceInfo 7
    std::string extensionLibrary = "KzrSoftKey";  // GetDeviceInfo 8
    std::string provider = "KzrSoftKey";          // GetDeviceInfo 9, the CSP's name
};

struct ContainerDescription {
    std::string name;  // identifies the container among all keys
    std::string user;  // shown to people; UTF-8
    KeyType type;
    Certificate signing;
    std::optional<Certificate> exchange;
};

// What a new container is made of. Keys are moved in as PKCS#8 DER and kept wrapped by the device key.
struct NewContainer {
    ContainerDescription description;
    Secret signingKey;
    std::optional<Secret> exchangeKey;
};

enum class Pair { Signing, Exchange };

// One key's folder. Cheap to make; each operation locks the folder for itself. A key that has been pulled
// since throws Failure(UnknownKey).
class Device {
  public:
    const DeviceDescription& Description() const { return m_description; }
    // Whose files cannot be read are left out and named.
    std::vector<ContainerDescription> Containers(std::vector<std::string>* unreadable = nullptr) const;

    // PIN record: see store/Pin.h. A try is spent and written before the PIN is checked. A new PIN that can
    // be none throws Failure(BadArgument) and costs no try.
    PinAnswer Login(std::string_view pin, Secret& deviceKey) const;  // the unwrapped device key when right
    PinAnswer ChangePin(std::string_view oldPin, std::string_view newPin) const;
    int TriesLeft() const;
    // With the administrator's PIN, which has a counter of its own.
    PinAnswer Unblock(std::string_view adminPin, std::string_view newPin) const;
    PinAnswer LoginAsAdmin(std::string_view adminPin, Secret& deviceKey) const;
    PinAnswer ChangeAdminPin(std::string_view oldPin, std::string_view newPin) const;
    int AdminTriesLeft() const;

    // Another text each time that the key is plugged or made; "" for one that is pulled, and until it is next
    // plugged for one that an older version made. A login is good for the plugging in which it was made,
    // which is asked for before the PIN is tried.
    std::string Plugging() const;
    // The same by the folder of a key, which need not be there.
    static std::string PluggingIn(const std::string& folder);

    KeyHandle PrivateKey(const Secret& deviceKey, const std::string& container, Pair pair) const;

    void AddContainer(const Secret& deviceKey, const NewContainer& container) const;
    void RemoveContainer(const std::string& container) const;

    // Data files: names are any text, coded so that no path can escape; up to 64 KiB each, 1 MiB a key.
    // Without a value when there is no such file.
    std::optional<Bytes> ReadData(std::string_view name) const;
    void WriteData(std::string_view name, View data) const;
    bool RemoveData(std::string_view name) const;
    std::vector<std::string> DataNames() const;

  private:
    friend class Store;
    Device(std::string folder, DeviceDescription description)
        : m_folder(std::move(folder)), m_description(std::move(description))
    {}

    std::string m_folder;
    DeviceDescription m_description;
};

// The caller's texts: nothing here keeps them.
struct Pins {
    std::string_view user;  // 4 to 32 bytes of UTF-8
    std::string_view admin;
    int tries = 10;
};

class Store {
  public:
    // `root` is UTF-8; made when it is not there.
    explicit Store(std::string root);
    // %KZR_SOFTKEY_HOME%, else %LOCALAPPDATA%\KzrSoftKey.
    static std::string DefaultRoot();
    const std::string& Root() const { return m_root; }

    // A key whose description cannot be read is left out and named.
    std::vector<Device> Plugged(std::vector<std::string>* unreadable = nullptr) const;
    std::vector<Device> Parked(std::vector<std::string>* unreadable = nullptr) const;
    // Among the plugged. Failure(BadData) when the key is there and its description cannot be read.
    std::optional<Device> Find(std::string_view serialNumber) const;
    std::optional<Device> FindByContainer(std::string_view container) const;
    std::optional<Device> FindParked(std::string_view serialNumber) const;

    // Throws Failure(BadArgument) for a serial number that is taken, plugged or parked, or not 1 to 64
    // letters, digits, '-' and '_', and for a container that any key of the store has already. A key that was
    // not finished when the process died does not exist.
    Device Create(const DeviceDescription& description, const Pins& pins,
                  const std::vector<NewContainer>& containers);
    // A directory rename; nothing when it is plugged, or unplugged, already.
    void Plug(std::string_view serialNumber);
    void Unplug(std::string_view serialNumber);
    void Delete(std::string_view serialNumber);  // plugged or parked
    // Vendor names and the like; the serial number stays.
    void Describe(const DeviceDescription& description);

    // trust/: every *.pem, *.cer, *.crt, *.der is an anchor or chain, every *.crl a list. Unreadable files
    // are skipped and named.
    TrustStore Trust(std::vector<std::string>* skipped = nullptr) const;

  private:
    std::vector<Device> DevicesIn(const std::string& folder, std::vector<std::string>* unreadable) const;
    std::optional<Device> FindIn(const std::string& folder, std::string_view serialNumber) const;

    std::string m_root;
};

}  // namespace kzr::softkey
