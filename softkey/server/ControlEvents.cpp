// The control's connection point, and the firing of its events.
#include <olectl.h>

#include <algorithm>

#include "com/Variant.h"
#include "server/Control.h"
#include "server/FailureCodes.h"
#include "server/PlugWatch.h"

namespace kzr::softkey {

STDMETHODIMP Control::FindConnectionPoint(REFIID iid, IConnectionPoint** point)
{
    if (!point) return E_POINTER;
    *point = nullptr;
    if (!IsEqualIID(iid, kEventsInterface)) return CONNECT_E_NOCONNECTION;
    *point = this;
    AddRef();
    return S_OK;
}

STDMETHODIMP Control::GetConnectionInterface(IID* iid)
{
    if (!iid) return E_POINTER;
    *iid = kEventsInterface;
    return S_OK;
}

STDMETHODIMP Control::GetConnectionPointContainer(IConnectionPointContainer** container)
{
    if (!container) return E_POINTER;
    *container = this;
    AddRef();
    return S_OK;
}

STDMETHODIMP Control::Advise(IUnknown* sink, DWORD* cookie)
{
    if (cookie) *cookie = 0;
    if (!sink || !cookie) return E_POINTER;
    return AtBoundary([&]() -> HRESULT {
        ForeignPtr<IDispatch> asked;
        // Script hosts hand out a bare dispatch interface for an event set.
        for (const IID* iid : {&kEventsInterface, &IID_IDispatch}) {
            if (!asked) CallForeign([&] { return sink->QueryInterface(*iid, asked.putVoid()); });
        }
        if (!asked) return CONNECT_E_CANNOTCONNECT;
        const auto kept = std::make_shared<const ForeignPtr<IDispatch>>(std::move(asked));
        bool first = false;
        {
            const Hold held(m_lock);
            // A cookie is never used twice, so an old one cannot end somebody else's connection.
            m_connections.push_back({++m_lastCookie, kept});
            *cookie = m_lastCookie;
            first = m_connections.size() == 1;
        }
        try {
            if (first) PlugWatch::Connect(m_window);
        } catch (...) {
            Unadvise(std::exchange(*cookie, 0));
            throw;
        }
        return S_OK;
    });
}

STDMETHODIMP Control::Unadvise(DWORD cookie)
{
    Kept<IDispatch> gone;
    bool last = false;
    {
        const Hold held(m_lock);
        const auto found = std::find_if(m_connections.begin(), m_connections.end(),
                                        [&](const Connection& each) { return each.cookie == cookie; });
        if (found == m_connections.end()) return CONNECT_E_NOCONNECTION;
        gone = std::move(found->sink);
        m_connections.erase(found);
        last = m_connections.empty();
    }
    if (last) PlugWatch::Disconnect(*m_window);
    return S_OK;
}

// Called with the window's lock held, so it does nothing but count.
bool Control::KeepForEvents() noexcept
{
    ULONG references = m_references.load(std::memory_order_relaxed);
    while (references != 0) {
        if (m_references.compare_exchange_weak(references, references + 1, std::memory_order_acq_rel))
            return true;
    }
    return false;
}

bool Control::IsConnected(DWORD cookie) noexcept
{
    const Hold held(m_lock);
    return std::any_of(m_connections.begin(), m_connections.end(),
                       [&](const Connection& each) { return each.cookie == cookie; });
}

void Control::OnPlugEvent(const PlugEvent& event)
{
    std::vector<Connection> connections;
    {
        const Hold held(m_lock);
        connections = m_connections;
    }
    Variant serialNumber = Variant::OfText(WideOf(event.serialNumber).Detach());
    DISPPARAMS parameters{serialNumber.raw(), nullptr, 1, 0};
    const DISPID id = event.plugged ? kKeyPlugged : kKeyPulled;
    for (const Connection& each : connections) {
        if (!IsConnected(each.cookie)) continue;
        IDispatch* const sink = each.sink->Get();
        CallForeignQuietly(
            [&] {
                return sink->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, nullptr,
                                    nullptr, nullptr);
            },
            S_OK);
    }
}

}  // namespace kzr::softkey
