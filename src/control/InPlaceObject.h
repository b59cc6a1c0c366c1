// IOleInPlaceObject and IOleInPlaceActiveObject of the control.
#pragma once

#include "control/ControlPart.h"

namespace kzr {

class InPlaceObject final : public ControlPart<IOleInPlaceObject> {
  public:
    using ControlPart::ControlPart;

    STDMETHODIMP GetWindow(HWND* window) override;
    STDMETHODIMP ContextSensitiveHelp(BOOL) override { return S_OK; }
    STDMETHODIMP InPlaceDeactivate() override;
    STDMETHODIMP UIDeactivate() override;
    STDMETHODIMP SetObjectRects(LPCRECT position, LPCRECT clip) override;
    STDMETHODIMP ReactivateAndUndo() override { return INPLACE_E_NOTUNDOABLE; }
};

class InPlaceActiveObject final : public ControlPart<IOleInPlaceActiveObject> {
  public:
    using ControlPart::ControlPart;

    STDMETHODIMP GetWindow(HWND* window) override;
    STDMETHODIMP ContextSensitiveHelp(BOOL) override { return S_OK; }
    STDMETHODIMP TranslateAccelerator(LPMSG message) override;
    STDMETHODIMP OnFrameWindowActivate(BOOL) override { return S_OK; }
    STDMETHODIMP OnDocWindowActivate(BOOL) override { return S_OK; }
    STDMETHODIMP ResizeBorder(LPCRECT, IOleInPlaceUIWindow*, BOOL) override { return S_OK; }
    STDMETHODIMP EnableModeless(BOOL) override { return S_OK; }
};

}  // namespace kzr
