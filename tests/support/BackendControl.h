// The control object that ScriptedBackend hands out: its interfaces, its references, its site and sink.
#pragma once

#include <windows.h>

#include <atomic>

#include "support/ControlRefusals.h"
#include "support/ScriptedBackend.h"

namespace kzr::test {

class BackendControl final : public ControlRefusals {
  public:
    explicit BackendControl(ScriptedBackend& backend);
    ~BackendControl();

    long References() const { return m_references; }
    IOleClientSite* Site() const { return m_site; }
    IDispatch* Sink() const { return m_sink; }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override;
    STDMETHODIMP Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters,
                        VARIANT* result, EXCEPINFO* info, UINT* argument) override;

    STDMETHODIMP SetClientSite(IOleClientSite* site) override;
    STDMETHODIMP FindConnectionPoint(REFIID iid, IConnectionPoint** point) override;
    using ControlRefusals::Advise;
    STDMETHODIMP Advise(IUnknown* sink, DWORD* cookie) override;
    STDMETHODIMP Unadvise(DWORD cookie) override;

  private:
    void DropSite();
    void DropSink();

    ScriptedBackend& m_backend;
    std::atomic<long> m_references{0};
    IOleClientSite* m_site = nullptr;
    IDispatch* m_sink = nullptr;
    bool m_freed = false;
};

// Its class object: one on the stack of whoever registers, never freed.
class BackendFactory final : public IClassFactory {
  public:
    explicit BackendFactory(ScriptedBackend& backend) : m_backend(backend) {}
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) override;
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }

  private:
    ScriptedBackend& m_backend;
    std::atomic<ULONG> m_references{0};
};

}  // namespace kzr::test
