// CKzrSecXApp: the module's start-up and shut-down, in their order.
#pragma once

namespace kzr {

class CKzrSecXApp {
  public:
    // False when the module cannot load. Runs under the platform's loader lock.
    bool InitInstance() noexcept;
    // For a module that goes while its process lives on; at process end nothing of ours may run. A start-up
    // that failed comes here too, and has left nothing to undo.
    void ExitInstance() noexcept;

  private:
    void StartLog();

    bool m_started = false;
};

}  // namespace kzr
