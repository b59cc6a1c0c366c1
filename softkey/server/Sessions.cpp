#include "server/Sessions.h"

#include <functional>
#include <map>
#include <string>

#include "base/Failure.h"
#include "com/Immortal.h"
#include "server/Mutex.h"

namespace kzr::softkey {
namespace {

Mutex g_lock;

struct Session {
    std::string plugging;
    Secret deviceKey;
};

Immortal<std::map<std::string, Session, std::less<>>> g_keys;

}  // namespace

void Sessions::Begin(std::string_view serialNumber, const std::string& plugging, Secret deviceKey)
{
    const Hold held(g_lock);
    g_keys->insert_or_assign(std::string(serialNumber), Session{plugging, std::move(deviceKey)});
}

void Sessions::EndOther(std::string_view serialNumber, std::string_view plugging) noexcept
{
    const Hold held(g_lock);
    const auto found = g_keys->find(serialNumber);
    if (found != g_keys->end() && found->second.plugging != plugging) g_keys->erase(found);
}

void Sessions::EndOne(std::string_view serialNumber, std::string_view plugging) noexcept
{
    const Hold held(g_lock);
    const auto found = g_keys->find(serialNumber);
    if (found != g_keys->end() && found->second.plugging == plugging) g_keys->erase(found);
}

void Sessions::End(std::string_view serialNumber) noexcept
{
    const Hold held(g_lock);
    const auto found = g_keys->find(serialNumber);
    if (found != g_keys->end()) g_keys->erase(found);
}

void Sessions::EndAll() noexcept
{
    const Hold held(g_lock);
    g_keys->clear();
}

bool Sessions::Any() noexcept
{
    const Hold held(g_lock);
    return !g_keys->empty();
}

Secret Sessions::DeviceKey(std::string_view serialNumber, std::string_view plugging)
{
    const Hold held(g_lock);
    const auto found = g_keys->find(serialNumber);
    // The caller may have seen the key before it was pulled, and the login be the newer one: it stays.
    if (found == g_keys->end() || found->second.plugging != plugging)
        throw Failure(Cause::NotLoggedIn, "nobody has logged in to " + std::string(serialNumber));
    return found->second.deviceKey;
}

}  // namespace kzr::softkey
