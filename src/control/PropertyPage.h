// CUSBKeyPnPActiveXPropPage: the control's one property page, an empty one, since there is nothing to set.
#pragma once

#include <windows.h>
#include <ocidl.h>

#include "com/ComPtr.h"
#include "com/Handles.h"
#include "control/AggregatableObject.h"

namespace kzr {

class CUSBKeyPnPActiveXPropPage final : public AggregatableObject, public IPropertyPage {
  public:
    explicit CUSBKeyPnPActiveXPropPage(IUnknown* outer) noexcept : AggregatableObject(outer) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        return Outer()->QueryInterface(iid, object);
    }
    STDMETHODIMP_(ULONG) AddRef() override { return Outer()->AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return Outer()->Release(); }

    STDMETHODIMP SetPageSite(IPropertyPageSite* site) override;
    STDMETHODIMP Activate(HWND parent, LPCRECT position, BOOL modal) override;
    STDMETHODIMP Deactivate() override;
    STDMETHODIMP GetPageInfo(PROPPAGEINFO* info) override;
    STDMETHODIMP SetObjects(ULONG count, IUnknown** objects) override;
    STDMETHODIMP Show(UINT command) override;
    STDMETHODIMP Move(LPCRECT position) override;
    STDMETHODIMP IsPageDirty() override { return S_FALSE; }
    STDMETHODIMP Apply() override { return S_OK; }
    STDMETHODIMP Help(LPCOLESTR) override { return E_NOTIMPL; }
    STDMETHODIMP TranslateAccelerator(MSG* message) override;

  private:
    ~CUSBKeyPnPActiveXPropPage() override = default;
    HRESULT FindInterface(REFIID iid, void** object) noexcept override;

    ForeignPtr<IPropertyPageSite> m_site;
    UniqueHwnd m_page;
};

}  // namespace kzr
