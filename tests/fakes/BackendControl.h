// The control that the registered stand-in of the backend hands out: what the component needs of one, and
// answers by BackendRules.
#pragma once

#include <windows.h>

#include <oaidl.h>
#include <ocidl.h>
#include <oleidl.h>

#include <map>
#include <string>
#include <vector>

#include "fakes/BackendRules.h"

namespace kzr::fake {

extern long g_objects;  // controls and factories that are alive

class BackendControl final : public IDispatch,
                             public IOleObject,
                             public IConnectionPointContainer,
                             public IConnectionPoint {
  public:
    BackendControl() { InterlockedIncrement(&g_objects); }
    // What the class object shall answer in place of handing it out.
    HRESULT CreationResult() const;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP GetTypeInfoCount(UINT* count) override;
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override;
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT* result, EXCEPINFO*,
                        UINT*) override;

    STDMETHODIMP SetClientSite(IOleClientSite* site) override;
    STDMETHODIMP GetClientSite(IOleClientSite**) override { return E_NOTIMPL; }
    STDMETHODIMP SetHostNames(LPCOLESTR, LPCOLESTR) override { return E_NOTIMPL; }
    STDMETHODIMP Close(DWORD) override { return S_OK; }
    STDMETHODIMP SetMoniker(DWORD, IMoniker*) override { return E_NOTIMPL; }
    STDMETHODIMP GetMoniker(DWORD, DWORD, IMoniker**) override { return E_NOTIMPL; }
    STDMETHODIMP InitFromData(IDataObject*, BOOL, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP GetClipboardData(DWORD, IDataObject**) override { return E_NOTIMPL; }
    STDMETHODIMP DoVerb(LONG, LPMSG, IOleClientSite*, LONG, HWND, LPCRECT) override { return E_NOTIMPL; }
    STDMETHODIMP EnumVerbs(IEnumOLEVERB**) override { return E_NOTIMPL; }
    STDMETHODIMP Update() override { return E_NOTIMPL; }
    STDMETHODIMP IsUpToDate() override { return E_NOTIMPL; }
    STDMETHODIMP GetUserClassID(CLSID*) override { return E_NOTIMPL; }
    STDMETHODIMP GetUserType(DWORD, LPOLESTR*) override { return E_NOTIMPL; }
    STDMETHODIMP SetExtent(DWORD, SIZEL*) override { return E_NOTIMPL; }
    STDMETHODIMP GetExtent(DWORD, SIZEL*) override { return E_NOTIMPL; }
    STDMETHODIMP Advise(IAdviseSink*, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP EnumAdvise(IEnumSTATDATA**) override { return E_NOTIMPL; }
    STDMETHODIMP GetMiscStatus(DWORD, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP SetColorScheme(LOGPALETTE*) override { return E_NOTIMPL; }

    STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints**) override { return E_NOTIMPL; }
    STDMETHODIMP FindConnectionPoint(REFIID iid, IConnectionPoint** point) override;

    STDMETHODIMP GetConnectionInterface(IID*) override { return E_NOTIMPL; }
    STDMETHODIMP GetConnectionPointContainer(IConnectionPointContainer**) override { return E_NOTIMPL; }
    STDMETHODIMP Advise(IUnknown* sink, DWORD* cookie) override;
    STDMETHODIMP Unadvise(DWORD cookie) override;
    STDMETHODIMP EnumConnections(IEnumConnections**) override { return E_NOTIMPL; }

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
