// IQuickActivate of the control: what a container otherwise does in a dozen calls.
#pragma once

#include "control/ControlPart.h"

namespace kzr {

class QuickActivation final : public ControlPart<IQuickActivate> {
  public:
    using ControlPart::ControlPart;

    STDMETHODIMP QuickActivate(QACONTAINER* container, QACONTROL* control) override;
    STDMETHODIMP SetContentExtent(LPSIZEL size) override;
    STDMETHODIMP GetContentExtent(LPSIZEL size) override;
};

}  // namespace kzr
