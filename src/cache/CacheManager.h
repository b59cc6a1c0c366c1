// CCacheManager: the process's one container table, behind the cache lock, and its rebuild from the backend.
// What the table is and how it is read stands in UserTable.
#pragma once

#include <string>

#include "cache/UserTable.h"

namespace kzr {

class CAxKzrApp;

// Texts come as strings of our own, never as views of a caller's memory: the searches below the lock cannot
// be left by a fault. Every answer is a copy; "" says that nothing was found.
class CCacheManager {
  public:
    // Made on first use and owned by the module; null when there was no memory. Nobody else frees it.
    static CCacheManager* Instance() noexcept;
    // The module's shut-down, when no object is left that could ask.
    static void Destroy() noexcept;

    CCacheManager(const CCacheManager&) = delete;
    CCacheManager& operator=(const CCacheManager&) = delete;

    // Replaces the table. Throws what the backend's answers throw; the entries made until then stay.
    void UpdateUserList(std::wstring userList, CAxKzrApp* backend);

    std::wstring GetDeviceSNByContainer(const std::wstring& identifier) const;
    std::wstring GetUniqueIdByContainer(const std::wstring& identifier) const;
    std::wstring GetCspNameByContainer(const std::wstring& identifier) const;
    std::wstring GetExtLibNameByContainer(const std::wstring& identifier) const;

    std::wstring GetUniqueIdByCspName(const std::wstring& cspName) const;
    std::wstring GetUniqueIdByExtLibName(const std::wstring& extLibName) const;
    std::wstring GetDeviceSNByExtLibName(const std::wstring& extLibName) const;

    std::wstring GetContainersByCspName(const std::wstring& cspName) const;
    std::wstring GetUserList() const;

  private:
    CCacheManager() = default;
    ~CCacheManager() = default;

    UserTable m_table;
};

}  // namespace kzr
