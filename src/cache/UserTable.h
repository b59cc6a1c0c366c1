// The table of certificate containers: how the backend's user list becomes entries, and how the names of
// the old scripting API are translated to the backend's identifiers. It knows neither locks nor the
// platform; CCacheManager adds both.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace kzr {

struct UserEntry {
    std::wstring ContainerName;
    std::wstring DeviceSN;
    std::wstring CspName;
    std::wstring ExtLibName;
    std::wstring UserName;

    bool operator==(const UserEntry&) const = default;
};

// Where a rebuild asks for the descriptions of a device.
class DeviceInfo {
  public:
    static constexpr short kDeviceType = 7;
    static constexpr short kExtLibName = 8;
    static constexpr short kCspName = 9;

    virtual ~DeviceInfo() = default;
    virtual std::wstring Query(std::wstring_view deviceSN, short infoType) = 0;
};

// Every text that comes in must be the caller's own copy: the searches cannot be left by an exception, so
// a processor fault on foreign memory would end the process here.
class UserTable {
  public:
    // Code unit by code unit, case-sensitive; scans and lists run in this order.
    using Entries = std::map<std::wstring, UserEntry, std::less<>>;

    // Replaces the whole content. An exception of the source leaves the entries made so far.
    void Rebuild(std::wstring_view userList, DeviceInfo* source);

    // An identifier is a bare container name or a unique identifier, container + "/" + serial number.
    std::wstring DeviceSNByContainer(std::wstring_view identifier) const;
    std::wstring UniqueIdByContainer(std::wstring_view identifier) const;
    std::wstring CspNameByContainer(std::wstring_view identifier) const;
    std::wstring ExtLibNameByContainer(std::wstring_view identifier) const;

    std::wstring UniqueIdByCspName(std::wstring_view cspName) const;
    std::wstring UniqueIdByExtLibName(std::wstring_view extLibName) const;
    std::wstring DeviceSNByExtLibName(std::wstring_view extLibName) const;

    std::wstring ContainersByCspName(std::wstring_view cspName) const;
    std::wstring UserList() const;

    const Entries& All() const { return m_entries; }

  private:
    void Add(std::wstring_view userName, std::wstring_view containerName, std::wstring_view deviceSN,
             DeviceInfo& source);
    const UserEntry* FindContainer(std::wstring_view identifier) const;
    const UserEntry* FindFirst(std::wstring UserEntry::*field, std::wstring_view value) const;

    Entries m_entries;
};

}  // namespace kzr
