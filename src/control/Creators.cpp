// The creators of the control and of its property page.
#include "control/Creators.h"

namespace kzr {

HRESULT CreateUSBKeyPnPActiveXCtrl(IUnknown*, REFIID, void**) { return CLASS_E_CLASSNOTAVAILABLE; }

HRESULT CreateUSBKeyPnPActiveXPropPage(IUnknown*, REFIID, void**) { return CLASS_E_CLASSNOTAVAILABLE; }

}  // namespace kzr
