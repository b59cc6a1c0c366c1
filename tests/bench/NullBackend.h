// A backend control that does next to nothing: every name is known and every call answers one short text. Its
// list of users is empty until a measurement sets one; it then describes each device as the table's
// measurement wants it, and marks the stretches of a rebuild, which asks for each entry's type once.
#pragma once

#include <windows.h>

#include <string>
#include <utility>

#include "Clock.h"
#include "support/ControlRefusals.h"

namespace kzr::bench {

class NullBackend final : public test::ControlRefusals, public IClassFactory {
  public:
    // Stands in for the backend's class in this process until the end.
    HRESULT Register();
    IDispatch* Dispatch() { return this; }
    void SetUserList(std::wstring list) { m_userList = std::move(list); }
    // Null: nothing is marked.
    void MarkEntries(Stretches* stretches)
    {
        m_stretches = stretches;
        m_entries = 0;
    }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }

    STDMETHODIMP CreateInstance(IUnknown*, REFIID iid, void** object) override
    {
        return QueryInterface(iid, object);
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }

    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override;
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result, EXCEPINFO*,
                        UINT*) override;

    STDMETHODIMP SetClientSite(IOleClientSite*) override { return S_OK; }
    STDMETHODIMP FindConnectionPoint(REFIID, IConnectionPoint** point) override;
    using ControlRefusals::Advise;
    STDMETHODIMP Advise(IUnknown* sink, DWORD* cookie) override;
    STDMETHODIMP Unadvise(DWORD) override;

  private:
    IUnknown* m_sink = nullptr;
    std::wstring m_userList;
    Stretches* m_stretches = nullptr;
    int m_entries = 0;
};

}  // namespace kzr::bench
