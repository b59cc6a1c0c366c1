// Tells when keys are plugged or pulled, by whichever process.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kzr::softkey {

struct PlugEvent {
    std::string serialNumber;
    bool plugged;
};

// Watches a store's keys/ folder on a thread of its own from construction to destruction; `tell` is called on
// that thread, once per key that came or went, in order; what it throws is lost. So is `looked`, each time
// that the folder was listed, at least twice a second. Destruction waits for a call under way to end, and may
// not happen inside it.
class Watcher {
  public:
    Watcher(std::string root, std::function<void(const PlugEvent&)> tell, std::function<void()> looked = {});
    ~Watcher();
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

  private:
    struct State;
    std::unique_ptr<State> m_state;
};

}  // namespace kzr::softkey
