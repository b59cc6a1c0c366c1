#include "server/Sessions.h"

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

bool Stands(const std::string& plugging, const Look& look) noexcept
{
    try {
        return look() == plugging;
    } catch (...) {
        return false;
    }
}

}  // namespace

void Sessions::Begin(std::string_view serialNumber, const std::string& plugging, Secret deviceKey,
                     const Look& look)
{
    const Hold held(g_lock);
    if (look() != plugging)
        throw Failure(Cause::UnknownKey, "the key " + std::string(serialNumber) + " was pulled");
    g_keys->insert_or_assign(std::string(serialNumber), Session{plugging, std::move(deviceKey)});
}

void Sessions::EndIfPulled(std::string_view serialNumber, const Look& look) noexcept
{
    const Hold held(g_lock);
    const auto found = g_keys->find(serialNumber);
    if (found != g_keys->end() && !Stands(found->second.plugging, look)) g_keys->erase(found);
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

std::map<std::string, std::string> Sessions::Pluggings()
{
    const Hold held(g_lock);
    std::map<std::string, std::string> pluggings;
    for (const auto& [serialNumber, session] : *g_keys) pluggings.emplace(serialNumber, session.plugging);
    return pluggings;
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
