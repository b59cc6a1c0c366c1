// The control: automation for its methods, an OLE object as far as clients of the backend use one, and a
// connection point for events.
#pragma once

#include <windows.h>
#include <oaidl.h>
#include <ocidl.h>
#include <oleidl.h>

#include <memory>
#include <vector>

#include "com/ComPtr.h"
#include "server/EventWindow.h"
#include "server/Identifiers.h"
#include "server/Methods.h"

namespace kzr::softkey {

// Of the apartment that makes it: events are fired there. Calls may come on any thread.
class Control final : public IDispatch,
                      public IOleObject,
                      public IConnectionPointContainer,
                      public IConnectionPoint,
                      private EventReceiver {
  public:
    // Throws ComError.
    static ComPtr<Control> Create();

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP GetTypeInfoCount(UINT* count) override;
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID, DISPID* ids) override;
    STDMETHODIMP Invoke(DISPID id, REFIID iid, LCID, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                        EXCEPINFO*, UINT* wrong) override;

    STDMETHODIMP SetClientSite(IOleClientSite* site) override;
    STDMETHODIMP GetClientSite(IOleClientSite** site) override;
    STDMETHODIMP GetUserClassID(CLSID* clsid) override;
    STDMETHODIMP GetMiscStatus(DWORD, DWORD* status) override;
    STDMETHODIMP Close(DWORD) override { return S_OK; }
    STDMETHODIMP Update() override { return S_OK; }
    STDMETHODIMP IsUpToDate() override { return S_OK; }
    STDMETHODIMP SetHostNames(LPCOLESTR, LPCOLESTR) override { return S_OK; }
    // Nothing to see and nothing to keep.
    STDMETHODIMP SetMoniker(DWORD, IMoniker*) override { return E_NOTIMPL; }
    STDMETHODIMP GetMoniker(DWORD, DWORD, IMoniker**) override { return E_NOTIMPL; }
    STDMETHODIMP InitFromData(IDataObject*, BOOL, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP GetClipboardData(DWORD, IDataObject**) override { return E_NOTIMPL; }
    STDMETHODIMP DoVerb(LONG, LPMSG, IOleClientSite*, LONG, HWND, LPCRECT) override { return E_NOTIMPL; }
    STDMETHODIMP EnumVerbs(IEnumOLEVERB**) override { return E_NOTIMPL; }
    STDMETHODIMP GetUserType(DWORD, LPOLESTR*) override { return E_NOTIMPL; }
    STDMETHODIMP SetExtent(DWORD, SIZEL*) override { return E_NOTIMPL; }
    STDMETHODIMP GetExtent(DWORD, SIZEL*) override { return E_NOTIMPL; }
    STDMETHODIMP Advise(IAdviseSink*, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP EnumAdvise(IEnumSTATDATA**) override { return E_NOTIMPL; }
    STDMETHODIMP SetColorScheme(LOGPALETTE*) override { return E_NOTIMPL; }

    STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints**) override { return E_NOTIMPL; }
    STDMETHODIMP FindConnectionPoint(REFIID iid, IConnectionPoint** point) override;

    STDMETHODIMP GetConnectionInterface(IID* iid) override;
    STDMETHODIMP GetConnectionPointContainer(IConnectionPointContainer** container) override;
    STDMETHODIMP Advise(IUnknown* sink, DWORD* cookie) override;
    STDMETHODIMP Unadvise(DWORD cookie) override;
    STDMETHODIMP EnumConnections(IEnumConnections**) override { return E_NOTIMPL; }

  private:
    // Shared, so that it can be copied under the lock: the client counts outside of it.
    template <class T>
    using Kept = std::shared_ptr<const ForeignPtr<T>>;

    struct Connection {
        DWORD cookie;
        Kept<IDispatch> sink;
    };

    Control() noexcept = default;
    ~Control();

    bool KeepForEvents() noexcept override;
    void ReleaseForEvents() noexcept override { Release(); }
    void OnPlugEvent(const PlugEvent& event) override;
    bool IsConnected(DWORD cookie) noexcept;

    std::atomic<ULONG> m_references{1};
    ControlState m_state;
    std::shared_ptr<EventWindow> m_window;
    Mutex m_lock;  // the site and the connections
    Kept<IOleClientSite> m_site;
    std::vector<Connection> m_connections;
    DWORD m_lastCookie = 0;
    ModuleReference m_module;
};

}  // namespace kzr::softkey
