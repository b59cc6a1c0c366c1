#include "cache/CacheManager.h"

#include <atomic>
#include <new>

#include "backend/AxKzrApp.h"
#include "backend/ResultText.h"
#include "com/Lock.h"
#include "com/Variant.h"

namespace kzr {
namespace {

std::atomic<CCacheManager*> g_cache{nullptr};

class BackendDevices final : public DeviceInfo {
  public:
    explicit BackendDevices(CAxKzrApp& backend) : m_backend(backend) {}

    std::wstring Query(std::wstring_view deviceSN, short infoType) override
    {
        Variant answer;
        // Whether the call succeeded does not matter, on purpose: a device that says nothing has no
        // description.
        m_backend.Call(L"GetDeviceInfo", answer, std::wstring(deviceSN), infoType);
        return ResultToText(answer);
    }

  private:
    CAxKzrApp& m_backend;
};

}  // namespace

CCacheManager* CCacheManager::Instance() noexcept
{
    CCacheManager* cache = g_cache.load();
    if (cache) return cache;
    CCacheManager* const made = new (std::nothrow) CCacheManager();
    // No lock stands round this: of two threads that come first, one finds that the other was quicker.
    if (made && !g_cache.compare_exchange_strong(cache, made)) {
        delete made;
        return cache;
    }
    return made;
}

void CCacheManager::Destroy() noexcept { delete g_cache.exchange(nullptr); }

void CCacheManager::UpdateUserList(std::wstring userList, CAxKzrApp* backend)
{
    // The backend is called with the cache lock held. Both are taken first: waiting for the backend later,
    // with the cache in hand, would dead-lock against a call of the backend's that lets in somebody who reads
    // the cache.
    const LockBothGuard held = LockCacheThenBackend();
    if (!backend) {
        m_table.Rebuild(userList, nullptr);
        return;
    }
    BackendDevices devices(*backend);
    m_table.Rebuild(userList, &devices);
}

std::wstring CCacheManager::GetDeviceSNByContainer(const std::wstring& identifier) const
{
    const LockGuard held = CacheLock().lock();
    return m_table.DeviceSNByContainer(identifier);
}

std::wstring CCacheManager::GetUniqueIdByContainer(const std::wstring& identifier) const
{
    const LockGuard held = CacheLock().lock();
    return m_table.UniqueIdByContainer(identifier);
}

std::wstring CCacheManager::GetCspNameByContainer(const std::wstring& identifier) const
{
    const LockGuard held = CacheLock().lock();
    return m_table.CspNameByContainer(identifier);
}

std::wstring CCacheManager::GetExtLibNameByContainer(const std::wstring& identifier) const
{
    const LockGuard held = CacheLock().lock();
    return m_table.ExtLibNameByContainer(identifier);
}

std::wstring CCacheManager::GetUniqueIdByCspName(const std::wstring& cspName) const
{
    const LockGuard held = CacheLock().lock();
    return m_table.UniqueIdByCspName(cspName);
}

std::wstring CCacheManager::GetUniqueIdByExtLibName(const std::wstring& extLibName) const
{
    const LockGuard held = CacheLock().lock();
    return m_table.UniqueIdByExtLibName(extLibName);
}

std::wstring CCacheManager::GetDeviceSNByExtLibName(const std::wstring& extLibName) const
{
    const LockGuard held = CacheLock().lock();
    return m_table.DeviceSNByExtLibName(extLibName);
}

std::wstring CCacheManager::GetContainersByCspName(const std::wstring& cspName) const
{
    const LockGuard held = CacheLock().lock();
    return m_table.ContainersByCspName(cspName);
}

std::wstring CCacheManager::GetUserList() const
{
    const LockGuard held = CacheLock().lock();
    return m_table.UserList();
}

}  // namespace kzr
