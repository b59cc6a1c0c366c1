// The software key's entry in the registry: its class is the backend's own, so that another server may hold
// it already. The DLL's own registration and the tool both go this way.
#pragma once

#include <optional>
#include <string>

#include "base/Failure.h"

namespace kzr::softkey {

// Another server holds the class; nothing was changed.
class BackendHeld : public Failure {
  public:
    explicit BackendHeld(const std::wstring& holder);
    const std::wstring& Holder() const noexcept { return m_holder; }

  private:
    std::wstring m_holder;
};

// The server that an application of this user gets for the class: the path of its file, or the class that
// stands in for it. No value when there is none.
std::optional<std::wstring> HolderOfBackendClass();

// True when that server is the software key, from whichever folder it was registered.
bool BackendIsOurs();

// Writes the class for the whole machine. Throws BackendHeld when another server holds it and `replace` is
// false; with `replace` the other server's keys, the machine's and this user's, are kept aside first. Throws
// Failure(File) when the registry refuses, as it does without elevation.
void RegisterBackend(const std::wstring& dllPath, bool replace);

// Removes the class and puts back what was kept aside. Nothing happens when nobody holds the class and
// nothing was kept. Throws BackendHeld when it is another server's by now, and Failure(File).
void UnregisterBackend();

}  // namespace kzr::softkey
