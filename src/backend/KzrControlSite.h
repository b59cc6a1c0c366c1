// CKzrControlSite: the windowless client site that the backend control is given.
#pragma once

#include <windows.h>
#include <oleidl.h>

#include "backend/CountedHost.h"

namespace kzr {

class CKzrControlSite final : public IOleClientSite, public CountedHost {
  public:
    // A site with no reference yet. E_POINTER for a null `site`, E_OUTOFMEMORY when it cannot be made.
    static HRESULT Create(CKzrControlSite** site) noexcept;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return AddOutside(); }
    STDMETHODIMP_(ULONG) Release() override { return ReleaseOutside(); }

    STDMETHODIMP SaveObject() override { return E_NOTIMPL; }
    STDMETHODIMP GetMoniker(DWORD, DWORD, IMoniker**) override { return E_NOTIMPL; }
    STDMETHODIMP GetContainer(IOleContainer**) override { return E_NOINTERFACE; }
    STDMETHODIMP ShowObject() override { return S_OK; }
    STDMETHODIMP OnShowWindow(BOOL) override { return S_OK; }
    STDMETHODIMP RequestNewObjectLayout() override { return E_NOTIMPL; }

  private:
    CKzrControlSite() noexcept = default;
    ~CKzrControlSite() override = default;
};

}  // namespace kzr
