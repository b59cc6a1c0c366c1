// CKzrAppEventSink: turns every backend event, whatever it is, into a posted message to each listener window.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <atomic>

#include "backend/CountedHost.h"

namespace kzr {

// WM_USER + 1, posted with both parameters 0.
constexpr UINT kDeviceChangeMessage = 0x0401;

// The backend's event interface.
extern const IID kBackendEventsIid;

class CKzrAppEventSink final : public IDispatch, public CountedHost {
  public:
    // A sink with no reference yet. E_POINTER for a null `sink`, E_OUTOFMEMORY when it cannot be made.
    static HRESULT Create(CKzrAppEventSink** sink) noexcept;

    // Adds a window at the end of the list unless it is there already. May run while events arrive. A handle
    // that the system has given to another window since is added anew.
    void AddListener(HWND window);

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return AddOutside(); }
    STDMETHODIMP_(ULONG) Release() override { return ReleaseOutside(); }

    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override;

  private:
    // Records are only ever appended and live as long as the sink, so the list needs no lock: an event on any
    // thread walks what is linked by then.
    struct EventListener {
        HWND window;
        UINT message;
        DWORD thread;
        ULONG_PTR windowClass;
        std::atomic<EventListener*> next{nullptr};
    };

    // A handle that the system has since given to another window is no longer the listener's.
    static bool IsStillThere(const EventListener& record) noexcept;

    CKzrAppEventSink() noexcept = default;
    ~CKzrAppEventSink() override;

    std::atomic<EventListener*> m_listeners{nullptr};
};

}  // namespace kzr
