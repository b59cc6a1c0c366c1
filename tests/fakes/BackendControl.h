// The control that the registered stand-in of the backend hands out: what the component needs of one, and
// answers by BackendRules.
#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <vector>

#include "fakes/BackendRules.h"
#include "support/ControlRefusals.h"

namespace kzr::fake {

extern long g_objects;  // controls and factories that are alive

class BackendControl final : public test::ControlRefusals {
  public:
    BackendControl() { InterlockedIncrement(&g_objects); }
    // What the class object shall answer in place of handing it out.
    HRESULT CreationResult() const;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP GetTypeInfoCount(UINT* count) override;
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override;
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT* result, EXCEPINFO*,
                        UINT*) override;

    STDMETHODIMP SetClientSite(IOleClientSite* site) override;
    STDMETHODIMP FindConnectionPoint(REFIID iid, IConnectionPoint** point) override;
    using ControlRefusals::Advise;
    STDMETHODIMP Advise(IUnknown* sink, DWORD* cookie) override;
    STDMETHODIMP Unadvise(DWORD cookie) override;

  private:
    ~BackendControl();
    HRESULT Answer(const Rule& rule, const std::wstring& method, const std::vector<std::wstring>& arguments,
                   VARIANT* result);
    void RaiseEvent();

    long m_references = 0;
    IOleClientSite* m_site = nullptr;
    IDispatch* m_sink = nullptr;
    BackendRules m_rules;
    std::map<DISPID, std::wstring> m_names;
};

}  // namespace kzr::fake
