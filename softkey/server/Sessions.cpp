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
Immortal<std::map<std::string, Secret, std::less<>>> g_keys;

}  // namespace

void Sessions::Begin(std::string_view serialNumber, Secret deviceKey)
{
    const Hold held(g_lock);
    g_keys->insert_or_assign(std::string(serialNumber), std::move(deviceKey));
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

Secret Sessions::DeviceKey(std::string_view serialNumber)
{
    const Hold held(g_lock);
    const auto found = g_keys->find(serialNumber);
    if (found == g_keys->end())
        throw Failure(Cause::NotLoggedIn, "nobody has logged in to " + std::string(serialNumber));
    return found->second;
}

}  // namespace kzr::softkey
