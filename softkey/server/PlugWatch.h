// The process's one watch over the store. It runs while somebody is connected to events or logged in, and
// keeps the module loaded meanwhile, since its thread runs in it.
//
// Lock order: the lock of starting and stopping, then any other. The watcher's thread never takes the first,
// so that its end can be waited for with it.
#pragma once

#include <memory>
#include <string>

#include "base/Bytes.h"
#include "server/EventWindow.h"

namespace kzr::softkey {

class PlugWatch {
  public:
    // Each throws when the watch cannot begin; then nothing was added. Nor is a login whose plugging is over:
    // Failure(UnknownKey). A watch that was begun for it ends when the module is next asked to unload.
    static void Connect(const std::shared_ptr<EventWindow>& window);
    static void BeginLogin(const std::string& serialNumber, const std::string& plugging, Secret deviceKey);

    static void Disconnect(const EventWindow& window) noexcept;
    // Ends a watch that nobody needs any more: the login that it served may have gone by itself.
    static void EndIfIdle() noexcept;
};

}  // namespace kzr::softkey
