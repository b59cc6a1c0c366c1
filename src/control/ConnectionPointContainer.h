// IConnectionPointContainer of the control: its event set, and the notification of property changes, which
// containers connect to although the control has no property that could change.
#pragma once

#include "KzrSecX_h.h"
#include "control/ConnectionPoint.h"
#include "control/ControlPart.h"

namespace kzr {

class ConnectionPointContainer final : public ControlPart<IConnectionPointContainer> {
  public:
    explicit ConnectionPointContainer(CUSBKeyPnPActiveXCtrl& control) noexcept
        : ControlPart(control),
          m_events(control, DIID__DUSBKeyPnPActiveXEvents),
          m_propertyNotify(control, IID_IPropertyNotifySink)
    {}

    ConnectionPoint& Events() noexcept { return m_events; }
    ConnectionPoint& PropertyNotify() noexcept { return m_propertyNotify; }

    STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints** enumerator) override;
    STDMETHODIMP FindConnectionPoint(REFIID iid, IConnectionPoint** point) override;

  private:
    ConnectionPoint m_events;
    ConnectionPoint m_propertyNotify;
};

}  // namespace kzr
