// One of the control's two connection points: its sinks, and the firing of an event to them.
#pragma once

#include <windows.h>
#include <ocidl.h>

#include <vector>

#include "com/ComPtr.h"

namespace kzr {

class CUSBKeyPnPActiveXCtrl;

class ConnectionPoint final : public IConnectionPoint {
  public:
    ConnectionPoint(CUSBKeyPnPActiveXCtrl& control, const IID& iid) noexcept : m_control(control), m_iid(iid)
    {}
    ConnectionPoint(const ConnectionPoint&) = delete;
    ConnectionPoint& operator=(const ConnectionPoint&) = delete;

    const IID& Iid() const noexcept { return m_iid; }

    // Calls the sinks' method `id`, which has no parameters, in the order in which they came. A sink may
    // disconnect itself and others, and let go of the control: who is disconnected by then is not called.
    // What a sink throws or faults ends that one call.
    void Fire(DISPID id);

    // Lets go of all sinks.
    void Disconnect() noexcept;

    // A life of its own as COM sees it; in truth it is a part of the control and counts there.
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP GetConnectionInterface(IID* iid) override;
    STDMETHODIMP GetConnectionPointContainer(IConnectionPointContainer** container) override;
    STDMETHODIMP Advise(IUnknown* sink, DWORD* cookie) override;
    STDMETHODIMP Unadvise(DWORD cookie) override;
    STDMETHODIMP EnumConnections(IEnumConnections** enumerator) override;

  private:
    struct Connection {
        DWORD cookie;
        ForeignPtr<IUnknown> sink;  // the interface of the point
    };

    bool IsConnected(DWORD cookie) const noexcept;

    CUSBKeyPnPActiveXCtrl& m_control;
    const IID& m_iid;
    std::vector<Connection> m_connections;
    DWORD m_lastCookie = 0;
};

}  // namespace kzr
