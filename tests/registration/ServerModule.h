// The DLL under test, and a way to stand between it and the platform.
#pragma once

#include <windows.h>

#include <string>

#include "com/Handles.h"
#include "support/TestDll.h"

namespace kzr::test {

class ServerModule {
  public:
    // Throws when the module cannot be loaded.
    explicit ServerModule(const std::wstring& path);

    HMODULE Handle() const { return m_module.Get(); }
    HRESULT Register() const { return Call("DllRegisterServer"); }
    HRESULT Unregister() const { return Call("DllUnregisterServer"); }

  private:
    HRESULT Call(const char* entryPoint) const;

    UniqueModule m_module;
};

// Replaces one function that a module imports by name, for as long as this object lives.
class ImportHook {
  public:
    // Throws when the module imports no such function.
    ImportHook(HMODULE module, const char* function, void* replacement);
    ImportHook(const ImportHook&) = delete;
    ImportHook& operator=(const ImportHook&) = delete;
    ~ImportHook();

  private:
    void Put(void* function);

    void** m_slot = nullptr;
    void* m_original = nullptr;
};

}  // namespace kzr::test
