// IOleControl of the control: it has no mnemonics and looks at no ambient property; it can be asked to hold
// its events back.
#pragma once

#include "control/ControlPart.h"

namespace kzr {

class OleControl final : public ControlPart<IOleControl> {
  public:
    using ControlPart::ControlPart;

    STDMETHODIMP GetControlInfo(CONTROLINFO* info) override;
    STDMETHODIMP OnMnemonic(LPMSG) override { return S_OK; }
    STDMETHODIMP OnAmbientPropertyChange(DISPID) override { return S_OK; }
    STDMETHODIMP FreezeEvents(BOOL freeze) override;
};

}  // namespace kzr
