// The backend control for the native thread tests. Its counts are plain numbers on purpose: two calls at once
// are a race on them, which the thread sanitizer reports.
#pragma once

#include <oaidl.h>
#include <ocidl.h>
#include <oleidl.h>

namespace kzr::test {

class FakeBackend final : public IDispatch,
                          public IOleObject,
                          public IConnectionPointContainer,
                          public IConnectionPoint {
  public:
    static long Calls();
    static int Made();
    static int Alive();
    static void Forget();

    HRESULT QueryInterface(REFIID iid, void** object) override;
    ULONG AddRef() override { return ++m_references; }
    ULONG Release() override;

    HRESULT GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override;
    HRESULT Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                   EXCEPINFO* info, UINT* argument) override;
    HRESULT SetClientSite(IOleClientSite* site) override;
    HRESULT FindConnectionPoint(REFIID iid, IConnectionPoint** point) override;
    HRESULT Advise(IUnknown* sink, DWORD* cookie) override;
    HRESULT Unadvise(DWORD cookie) override;

  private:
    friend HRESULT MakeFakeBackend(void** object);
    FakeBackend();
    ~FakeBackend();

    std::atomic<ULONG> m_references{0};
    IOleClientSite* m_site = nullptr;
    IUnknown* m_sink = nullptr;
};

}  // namespace kzr::test
