#include "control/ConnectionPoint.h"

#include <algorithm>

#include "com/Interfaces.h"
#include "control/ConnectionPointContainer.h"
#include "control/Enumerator.h"
#include "control/USBKeyPnPActiveXCtrl.h"

namespace kzr {
namespace {

struct ConnectionList {
    using Interface = IEnumConnections;
    using Item = CONNECTDATA;
    struct Held {
        ForeignPtr<IUnknown> sink;
        DWORD cookie;
    };
    static HRESULT Give(const Held& held, CONNECTDATA& item) noexcept
    {
        ForeignPtr<IUnknown> sink = held.sink;
        item = {sink.Detach(), held.cookie};
        return S_OK;
    }
    static void TakeBack(CONNECTDATA& item) noexcept { ForeignPtr<IUnknown>::Adopt(item.pUnk).Reset(); }
};

}  // namespace

STDMETHODIMP ConnectionPoint::QueryInterface(REFIID iid, void** object)
{
    const InterfaceEntry entries[] = {{&IID_IUnknown, this}, {&IID_IConnectionPoint, this}};
    return AnswerInterface(entries, iid, object);
}

// A connection point is held as long as the control is, and keeps it alive.
STDMETHODIMP_(ULONG) ConnectionPoint::AddRef() { return m_control.Outer()->AddRef(); }
STDMETHODIMP_(ULONG) ConnectionPoint::Release() { return m_control.Outer()->Release(); }

STDMETHODIMP ConnectionPoint::GetConnectionInterface(IID* iid)
{
    if (!iid) return E_POINTER;
    *iid = m_iid;
    return S_OK;
}

STDMETHODIMP ConnectionPoint::GetConnectionPointContainer(IConnectionPointContainer** container)
{
    if (!container) return E_POINTER;
    *container = m_control.ConnectionPoints();
    (*container)->AddRef();
    return S_OK;
}

STDMETHODIMP ConnectionPoint::Advise(IUnknown* sink, DWORD* cookie)
{
    if (cookie) *cookie = 0;
    if (!sink || !cookie) return E_POINTER;
    return m_control.Guard([=, this]() -> HRESULT {
        ForeignPtr<IUnknown> asked = QueryForeign<IUnknown>(sink, m_iid);
        // Script hosts hand out a bare dispatch interface for an event set.
        if (!asked && IsEqualIID(m_iid, DIID__DUSBKeyPnPActiveXEvents))
            asked = QueryForeign<IUnknown>(sink, IID_IDispatch);
        if (!asked) return CONNECT_E_CANNOTCONNECT;
        // A cookie is never used twice, so an old one cannot end somebody else's connection.
        m_connections.push_back({++m_lastCookie, std::move(asked)});
        *cookie = m_lastCookie;
        return S_OK;
    });
}

STDMETHODIMP ConnectionPoint::Unadvise(DWORD cookie)
{
    return m_control.Guard([=, this]() -> HRESULT {
        const auto found = std::find_if(m_connections.begin(), m_connections.end(),
                                        [&](const Connection& each) { return each.cookie == cookie; });
        if (found == m_connections.end()) return CONNECT_E_NOCONNECTION;
        // Off the list first: the sink's end may come back here.
        const Connection gone = std::move(*found);
        m_connections.erase(found);
        return S_OK;
    });
}

STDMETHODIMP ConnectionPoint::EnumConnections(IEnumConnections** enumerator)
{
    if (!enumerator) return E_POINTER;
    *enumerator = nullptr;
    return m_control.Guard([=, this] {
        std::vector<ConnectionList::Held> held;
        for (const Connection& each : m_connections) held.push_back({each.sink, each.cookie});
        return Enumerator<ConnectionList>::Make(std::move(held), enumerator);
    });
}

// Off the list first: a sink's end may come back here.
void ConnectionPoint::Disconnect() noexcept
{
    const std::vector<Connection> gone = std::exchange(m_connections, {});
}

bool ConnectionPoint::IsConnected(DWORD cookie) const noexcept
{
    return std::any_of(m_connections.begin(), m_connections.end(),
                       [&](const Connection& each) { return each.cookie == cookie; });
}

void ConnectionPoint::Fire(DISPID id)
{
    // A copied list with references of its own: handlers connect and disconnect as they like.
    const std::vector<Connection> connections = m_connections;
    for (const Connection& each : connections) {
        if (!IsConnected(each.cookie)) continue;
        // Both kinds of sink that Advise accepts are dispatch interfaces.
        auto* const sink = static_cast<IDispatch*>(each.sink.Get());
        DISPPARAMS none{};
        CallForeignQuietly(
            [&] {
                return sink->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &none, nullptr,
                                    nullptr, nullptr);
            },
            S_OK);
    }
}

}  // namespace kzr
