// A backend control that does next to nothing: every name is known and every call answers one short text. Its
// list of users is empty until a measurement sets one; it then describes each device as the table's
// measurement wants it, and marks the stretches of a rebuild, which asks for each entry's type once.
#pragma once

#include <windows.h>

#include <string_view>

#include "Clock.h"
#include "support/ControlRefusals.h"

namespace kzr::bench {

class NullBackend final : public test::ControlRefusals, public IClassFactory {
  public:
    // Stands in for the backend's class in this process until the end.
    HRESULT Register();
    IDispatch* Dispatch() { return this; }
    // Has to live until the next one.
    void SetUserList(std::wstring_view list) { m_userList = list; }
    // Begins to count entries, with a mark after each `every` of them. Null: nothing is marked.
    void MarkEntries(Stretches* stretches, int every)
    {
        m_stretches = stretches;
        m_every = every;
        m_entries = 0;
    }
    int Entries() const { return m_entries; }

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
    std::wstring_view m_userList;
    Stretches* m_stretches = nullptr;
    int m_every = 1;
    int m_entries = 0;
};

}  // namespace kzr::bench
