// The control's place in a container's window: what the container gave it, how it gets there and how it
// leaves.
#pragma once

#include <windows.h>
#include <oleidl.h>

#include "com/ComPtr.h"

namespace kzr {

class CUSBKeyPnPActiveXCtrl;

class InPlaceActivation {
  public:
    explicit InPlaceActivation(CUSBKeyPnPActiveXCtrl& control) noexcept : m_control(control) {}

    bool IsActive() const noexcept { return m_active; }
    bool IsUiActive() const noexcept { return m_uiActive; }

    // Takes the container's window; answers what its site or the making of the window answered.
    HRESULT Activate();
    // Menus, focus and borders as well, as far as the container has any. Only from within the activation.
    HRESULT ActivateUi();
    HRESULT Deactivate();
    HRESULT DeactivateUi();

  private:
    HRESULT TakePlace();
    void GiveUp();

    CUSBKeyPnPActiveXCtrl& m_control;
    ForeignPtr<IOleInPlaceSite> m_site;
    ForeignPtr<IOleInPlaceFrame> m_frame;
    ForeignPtr<IOleInPlaceUIWindow> m_document;
    bool m_active = false;
    bool m_uiActive = false;
};

}  // namespace kzr
