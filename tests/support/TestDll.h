// The DLL under test, loaded by its path and driven through its exports.
#pragma once

#include <windows.h>

#include <unknwn.h>

#include <string>

#include "com/ComPtr.h"
#include "support/TempFolder.h"

namespace kzr::test {

// The path in the environment variable KZRSECX_DLL; ends the program with a message when it is not set, since
// nothing could be tested.
std::wstring DllPath();

// Copies the DLL into the folder, which ends in "\" and is made when it is not there; answers the copy's
// path. Throws when it cannot.
std::wstring CopyDllTo(const std::wstring& folder);

// A copy in a folder of its own, for tests that put something beside it. It must be unloaded at its end.
class DllCopy {
  public:
    // `below`: in this one below the folder, without a "\".
    explicit DllCopy(const std::wstring& below = L"")
        : m_path(CopyDllTo(m_folder.Path() + (below.empty() ? below : below + L"\\")))
    {}

    const std::wstring& Path() const { return m_path; }
    // With a "\" at its end.
    std::wstring Folder() const { return m_path.substr(0, m_path.rfind(L'\\') + 1); }

  private:
    const TempFolder m_folder;
    const std::wstring m_path;
};

class TestDll {
  public:
    // Loads it and fails the test when that is impossible.
    explicit TestDll(const std::wstring& path = DllPath());
    ~TestDll();
    TestDll(const TestDll&) = delete;
    TestDll& operator=(const TestDll&) = delete;

    explicit operator bool() const { return m_module != nullptr; }
    HMODULE Module() const { return m_module; }
    FARPROC Export(const char* name) const { return GetProcAddress(m_module, name); }

    HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object) const;
    HRESULT CanUnloadNow() const;
    HRESULT RegisterServer() const;
    HRESULT UnregisterServer() const;

    // An object through its class object, as a client makes one.
    HRESULT Create(REFCLSID clsid, REFIID iid, void** object, IUnknown* outer = nullptr) const;
    template <class T>
    ComPtr<T> Create(REFCLSID clsid) const
    {
        ComPtr<T> object;
        Create(clsid, __uuidof(T), object.putVoid());
        return object;
    }

    void Unload();
    void Load();
    // Whether an address lies in its image.
    bool Holds(const void* address) const;

  private:
    std::wstring m_path;
    HMODULE m_module = nullptr;
};

}  // namespace kzr::test
