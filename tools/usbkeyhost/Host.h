// The control in a window: made by its ProgID, activated, listened to, called, and taken down again.
#pragma once

#include <windows.h>

#include <oaidl.h>
#include <ocidl.h>
#include <olectl.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Site.h"
#include "com/ComPtr.h"

namespace usbkeyhost {

// Something did not work, with its HRESULT in the text.
class HostError : public std::runtime_error {
  public:
    HostError(const std::string& what, HRESULT result);
};

std::string ToUtf8(const std::wstring& wide);
std::wstring ToWide(const std::string& utf8);

// Hands each event on.
class Sink final : public IDispatch {
  public:
    std::function<void()> onEvent;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override { return --m_references; }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override;

  private:
    ULONG m_references = 0;
};

class Host {
  public:
    // Throws HostError when the control cannot be made, activated or listened to.
    explicit Host(std::function<void()> onEvent);
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    // Calls a method by its name; the result as text. Throws HostError.
    std::string Call(const std::string& name, const std::vector<std::string>& arguments);
    void ShowProperties();

    bool IsOpen() const { return IsWindow(m_window) != FALSE; }

  private:
    void MakeControl();
    void Listen();

    const HWND m_window;
    Site m_site;
    Sink m_sink;
    kzr::ComPtr<IDispatch> m_control;
    kzr::ComPtr<IOleObject> m_object;
    kzr::ComPtr<IConnectionPoint> m_events;
    DWORD m_cookie = 0;
};

}  // namespace usbkeyhost
