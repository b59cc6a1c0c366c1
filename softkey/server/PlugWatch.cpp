#include "server/PlugWatch.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "com/Error.h"
#include "com/Handles.h"
#include "com/Immortal.h"
#include "com/ModulePath.h"
#include "server/Sessions.h"
#include "store/Folder.h"
#include "store/Layout.h"
#include "store/Store.h"

namespace kzr::softkey {
namespace {

// Neither COM nor a careless client may unload the module under the watcher's thread.
struct Watch {
    ModuleReference counted;
    UniqueModule loaded;
    std::optional<Watcher> watcher;
};

Mutex g_changing;
Immortal<std::unique_ptr<Watch>> g_watch;  // under g_changing

Mutex g_windowsLock;
Immortal<std::vector<std::shared_ptr<EventWindow>>> g_windows;

std::string StoreRoot() { return Store(Store::DefaultRoot()).Root(); }

std::optional<std::string> PluggingOf(const std::string& root, const std::string& serialNumber)
{
    // Opening a store makes it, and somebody may just have removed this one.
    if (!FolderExists(KeysFolder(root))) return std::nullopt;
    const std::optional<Device> device = Store(root).Find(serialNumber);
    return device ? std::optional(device->Plugging()) : std::nullopt;
}

// What is told may be long past: the key back, and somebody logged in to it anew.
void EndLogin(const std::string& root, const std::string& serialNumber)
{
    Sessions::EndIfPulled(serialNumber, [&] { return PluggingOf(root, serialNumber); });
}

// A glance at one file, which most often shows that nothing happened.
bool SeemsOver(const std::string& key, const std::string& plugging) noexcept
{
    try {
        return Device::PluggingIn(key) != plugging;
    } catch (...) {
        return true;  // one that cannot be read is none
    }
}

// A pull that could not be noticed, before the key was back or known at all, makes no news; its login would
// stay in memory and keep the module.
void EndUntold(const std::string& root)
{
    for (const auto& [serialNumber, plugging] : Sessions::Pluggings())
        if (SeemsOver(KeysFolder(root) + "\\" + serialNumber, plugging)) EndLogin(root, serialNumber);
}

void Tell(const std::string& root, const PlugEvent& event)
{
    if (!event.plugged) EndLogin(root, event.serialNumber);
    std::vector<std::shared_ptr<EventWindow>> windows;
    {
        const Hold held(g_windowsLock);
        windows = *g_windows;
    }
    for (const std::shared_ptr<EventWindow>& window : windows) window->Tell(event);
}

void BeginWatch()
{
    if (*g_watch) return;
    auto watch = std::make_unique<Watch>();
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                            reinterpret_cast<const wchar_t*>(ThisModule()), watch->loaded.put()))
        throw ComError(HRESULT_FROM_WIN32(GetLastError()));
    const std::string root = StoreRoot();
    const auto tell = [root](const PlugEvent& event) {
        try {
            Tell(root, event);
        } catch (...) {
            // Without memory an event is lost; the watch goes on.
        }
    };
    watch->watcher.emplace(root, tell, [root] { EndUntold(root); });
    *g_watch = std::move(watch);
}

bool SomebodyListens()
{
    const Hold held(g_windowsLock);
    return !g_windows->empty();
}

}  // namespace

void PlugWatch::Connect(const std::shared_ptr<EventWindow>& window)
{
    const Hold held(g_changing);
    {
        const Hold windows(g_windowsLock);
        g_windows->reserve(g_windows->size() + 1);
    }
    BeginWatch();
    const Hold windows(g_windowsLock);
    g_windows->push_back(window);
}

void PlugWatch::BeginLogin(const std::string& serialNumber, const std::string& plugging, Secret deviceKey)
{
    const Hold held(g_changing);
    // Before the look: what comes after it is told.
    BeginWatch();
    const std::string root = StoreRoot();
    Sessions::Begin(serialNumber, plugging, std::move(deviceKey),
                    [&] { return PluggingOf(root, serialNumber); });
}

void PlugWatch::Disconnect(const EventWindow& window) noexcept
{
    std::shared_ptr<EventWindow> gone;
    {
        const Hold held(g_windowsLock);
        const auto found = std::find_if(g_windows->begin(), g_windows->end(),
                                        [&](const auto& each) { return each.get() == &window; });
        if (found == g_windows->end()) return;
        gone = std::move(*found);
        g_windows->erase(found);
        if (g_windows->empty()) g_windows->shrink_to_fit();
    }
    EndIfIdle();
}

void PlugWatch::EndIfIdle() noexcept
{
    const Hold held(g_changing);
    if (SomebodyListens() || Sessions::Any()) return;
    g_watch->reset();
}

}  // namespace kzr::softkey
