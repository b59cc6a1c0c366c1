// A client's end of the server's events: what came, and on which thread.
#pragma once

#include <windows.h>

#include <oaidl.h>
#include <ocidl.h>

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "com/ComPtr.h"
#include "server/Identifiers.h"

namespace kzr::test {

// Counts its references, on the stack of a test, which must outlive them.
class Sink final : public IDispatch {
  public:
    struct Event {
        DISPID id;
        std::wstring serialNumber;
        DWORD thread;
        bool operator==(const Event&) const = default;
    };

    // A script host's sink knows only IDispatch.
    bool isBare = false;
    std::function<void()> during;
    std::function<void()> whenCounted;
    std::vector<Event> events;

    ULONG References() const { return m_references; }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch) ||
                           (!isBare && IsEqualIID(iid, softkey::kEventsInterface));
        *object = known ? static_cast<IDispatch*>(this) : nullptr;
        if (known) AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override
    {
        if (whenCounted) whenCounted();
        return ++m_references;
    }
    STDMETHODIMP_(ULONG) Release() override
    {
        if (whenCounted) whenCounted();
        return --m_references;
    }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT*, EXCEPINFO*,
                        UINT*) override
    {
        const bool isText = parameters->cArgs == 1 && parameters->rgvarg[0].vt == VT_BSTR;
        events.push_back(
            {id, isText ? parameters->rgvarg[0].bstrVal : L"no serial number", GetCurrentThreadId()});
        if (during) during();
        return S_OK;
    }

  private:
    std::atomic<ULONG> m_references{0};
};

inline ComPtr<IConnectionPoint> PointOf(IDispatch* control)
{
    ComPtr<IConnectionPointContainer> container;
    ComPtr<IConnectionPoint> point;
    if (SUCCEEDED(control->QueryInterface(IID_IConnectionPointContainer, container.putVoid())))
        container->FindConnectionPoint(softkey::kEventsInterface, point.put());
    return point;
}

}  // namespace kzr::test
