// The component as a client holds it, and the platform's own object beside it.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <string>
#include <vector>

#include "KzrSecX_h.h"
#include "com/ComPtr.h"

namespace kzr::bench {

// A copy of the component in a folder of its own, loaded until the end of this.
class Component {
  public:
    explicit Component(const std::wstring& path);
    Component(const Component&) = delete;
    Component& operator=(const Component&) = delete;
    ~Component();

    HMODULE Module() const { return m_module; }
    ComPtr<IClassFactory> Factory(REFCLSID clsid) const;
    template <class T>
    ComPtr<T> Make(REFCLSID clsid) const
    {
        ComPtr<T> made;
        Factory(clsid)->CreateInstance(nullptr, __uuidof(T), made.putVoid());
        if (!made) Quit("an object could not be made");
        return made;
    }

    // Ends the program with a message: nothing that follows would mean anything.
    [[noreturn]] static void Quit(const char* what);

  private:
    HMODULE m_module;
};

// The scripting dictionary with one entry, number 7.
class Dictionary {
  public:
    Dictionary();
    void Item();
    ComPtr<IClassFactory> Factory() const;

  private:
    ComPtr<IDispatch> m_object;
    DISPID m_item = 0;
};

// A fixed text, for calls that want one.
BSTR Text();
// The whole call, with its answer.
void Hash(ICrypto* crypto);
// A call by number with one number as its argument; the result is dropped.
void InvokeNumber(IDispatch* object, DISPID id, WORD flags, long number);

}  // namespace kzr::bench
