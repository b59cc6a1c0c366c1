// What containers ask about the class itself: its type information, its event set, its property page.
#pragma once

#include "control/ControlPart.h"

namespace kzr {

class ProvideClassInfo final : public ControlPart<IProvideClassInfo2> {
  public:
    using ControlPart::ControlPart;
    static void Forget() noexcept;

    STDMETHODIMP GetClassInfo(ITypeInfo** info) override;
    STDMETHODIMP GetGUID(DWORD kind, GUID* guid) override;
};

class SpecifyPropertyPages final : public ControlPart<ISpecifyPropertyPages> {
  public:
    using ControlPart::ControlPart;

    STDMETHODIMP GetPages(CAUUID* pages) override;
};

}  // namespace kzr
