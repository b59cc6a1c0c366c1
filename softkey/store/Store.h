// Virtual keys in files: plugging and pulling them, their containers and their data files. Everything that a
// key keeps is written whole or not at all, under the key's lock, which another process waits for.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "store/Pin.h"
#include "x509/Validation.h"

namespace kzr::softkey {

struct DeviceDescription {
    std::string serialNumber;
    std::string type = "VKEY";            // GetDeviceInfo 7
    std::string library = "KzrSoftKey";   // GetDeviceInfo 8
    std::string provider = "KzrSoftKey";  // GetDeviceInfo 9, the CSP's name
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
    std::vector<ContainerDescription> Containers() const;

    // PIN record: see store/Pin.h. A try is spent and written before the PIN is checked.
    PinAnswer Login(std::string_view pin, Secret& deviceKey) const;  // the unwrapped device key when right
    PinAnswer ChangePin(std::string_view oldPin, std::string_view newPin) const;
    int TriesLeft() const;
    // With the administrator's PIN, which has a counter of its own.
    PinAnswer Unblock(std::string_view adminPin, std::string_view newPin) const;

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

struct Pins {
    std::string user;  // 4 to 32 bytes of UTF-8
    std::string admin;
    int tries = 10;
};

class Store {
  public:
    // `root` is UTF-8; made when it is not there.
    explicit Store(std::string root);
    // %KZR_SOFTKEY_HOME%, else %LOCALAPPDATA%\KzrSoftKey.
    static std::string DefaultRoot();
    const std::string& Root() const { return m_root; }

    std::vector<Device> Plugged() const;
    std::vector<Device> Parked() const;
    std::optional<Device> Find(std::string_view serialNumber) const;          // among the plugged
    std::optional<Device> FindByContainer(std::string_view container) const;  // among the plugged

    // Throws Failure(BadArgument) for a serial number that is taken, plugged or parked, or not 1 to 64
    // letters, digits, '-' and '_'. A key that was not finished when the process died does not exist.
    Device Create(const DeviceDescription& description, const Pins& pins,
                  const std::vector<NewContainer>& containers);
    void Plug(std::string_view serialNumber);  // a directory rename
    void Unplug(std::string_view serialNumber);
    void Delete(std::string_view serialNumber);  // plugged or parked
    // Vendor names and the like; the serial number stays.
    void Describe(const DeviceDescription& description);

    // trust/: every *.pem, *.cer, *.crt, *.der is an anchor or chain, every *.crl a list. Unreadable files
    // are skipped and named.
    TrustStore Trust(std::vector<std::string>* skipped = nullptr) const;

  private:
    std::string m_root;
};

}  // namespace kzr::softkey
