// One interface of the control: its IUnknown is the control's, its state is the control's.
#pragma once

#include <windows.h>
#include <ocidl.h>
#include <olectl.h>
#include <oleidl.h>

#include "com/ComPtr.h"
#include "fault/Frames.h"

namespace kzr {

class CUSBKeyPnPActiveXCtrl;
class AggregatableObject;

// The control's identity as the parts need it before its class is complete.
HRESULT QueryOuter(const CUSBKeyPnPActiveXCtrl& control, REFIID iid, void** object);
ULONG AddRefOuter(const CUSBKeyPnPActiveXCtrl& control);
ULONG ReleaseOuter(const CUSBKeyPnPActiveXCtrl& control);

template <class Interface>
class ControlPart : public Interface {
  public:
    explicit ControlPart(CUSBKeyPnPActiveXCtrl& control) noexcept : m_control(control) {}
    ControlPart(const ControlPart&) = delete;
    ControlPart& operator=(const ControlPart&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) final
    {
        return QueryOuter(m_control, iid, object);
    }
    STDMETHODIMP_(ULONG) AddRef() final { return AddRefOuter(m_control); }
    STDMETHODIMP_(ULONG) Release() final { return ReleaseOuter(m_control); }

  protected:
    ~ControlPart() = default;
    CUSBKeyPnPActiveXCtrl& m_control;
};

// Asks an object of the container for one of its interfaces; null when it has none. Throws its faults.
template <class Wanted>
ForeignPtr<Wanted> QueryForeign(IUnknown* object, REFIID iid = __uuidof(Wanted))
{
    void* found = nullptr;
    if (!object || FAILED(CallForeign([&] { return object->QueryInterface(iid, &found); }))) return nullptr;
    return ForeignPtr<Wanted>::Adopt(static_cast<Wanted*>(found));
}

}  // namespace kzr
