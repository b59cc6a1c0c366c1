// The creators of the control and of its property page, and what the two leave behind.
#include "control/Creators.h"

#include "control/PropertyPage.h"
#include "control/USBKeyPnPActiveXCtrl.h"

namespace kzr {

HRESULT CreateUSBKeyPnPActiveXCtrl(IUnknown* outer, REFIID iid, void** object)
{
    return CreateAggregatable<CUSBKeyPnPActiveXCtrl>(outer, iid, object);
}

HRESULT CreateUSBKeyPnPActiveXPropPage(IUnknown* outer, REFIID iid, void** object)
{
    return CreateAggregatable<CUSBKeyPnPActiveXPropPage>(outer, iid, object);
}

void ForgetControl() noexcept
{
    ControlWindow::ForgetClass();
    ControlDispatch::Forget();
    ProvideClassInfo::Forget();
}

}  // namespace kzr
