// A backend control that does next to nothing: every name is known, every call answers one short text, and
// the list of users is whatever a measurement wants.
#pragma once

#include <windows.h>

#include <string>

#include "support/ControlRefusals.h"

namespace kzr::bench {

class NullBackend final : public test::ControlRefusals, public IClassFactory {
  public:
    // Stands in for the backend's class in this process until the end.
    HRESULT Register();
    IDispatch* Dispatch() { return this; }
    std::wstring userList;

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
};

}  // namespace kzr::bench
