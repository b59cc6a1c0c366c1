// The class table itself.
#include "frame/ClassTable.h"

#include <oleidl.h>

#include "KzrSecX_h.h"
#include "control/Creators.h"
#include "objects/Creators.h"
#include "resources/Identifiers.h"
#include "resources/ResourceIds.h"

namespace kzr {
namespace {

static_assert(kControlMiscStatus == (OLEMISC_SETCLIENTSITEFIRST | OLEMISC_ACTIVATEWHENVISIBLE |
                                     OLEMISC_INSIDEOUT | OLEMISC_CANTLINKINSIDE | OLEMISC_RECOMPOSEONRESIZE));

// In the order of registration.
constexpr ClassEntry kClasses[] = {
    {&CLSID_Certificate, L"TOLVSecCOM.Certificate", L"TOLVSecCOM.Certificate.1", L"Certificate Class",
     CreateCertificate, Registering::ByScript, KZR_SCRIPT_CERTIFICATE},
    {&CLSID_Crypto, L"TOLVSecCOM.Crypto", L"TOLVSecCOM.Crypto.1", L"Crypto Class", CreateCrypto,
     Registering::ByScript, KZR_SCRIPT_CRYPTO},
    {&CLSID_DeviceMgr, L"TOLVSecCOM.DeviceMgr", L"TOLVSecCOM.DeviceMgr.1", L"DeviceMgr Class",
     CreateDeviceMgr, Registering::ByScript, KZR_SCRIPT_DEVICEMGR},
    {&CLSID_Util, L"TOLVSecCOM.Util", L"TOLVSecCOM.Util.1", L"Util Class", CreateUtil, Registering::ByScript,
     KZR_SCRIPT_UTIL},
    {&CLSID_USBKeyPnPActiveX, nullptr, L"USBKEYPNPACTIVEX.USBKeyPnPActiveXCtrl.1", nullptr,
     CreateUSBKeyPnPActiveXCtrl, Registering::AsControl, KZR_STRING_CONTROL},
    {&kPropPageClsid, nullptr, L"USBKEYPNPACTIVEX.USBKeyPnPActiveXPropPage.1", nullptr,
     CreateUSBKeyPnPActiveXPropPage, Registering::AsPropPage, KZR_STRING_PAGE},
};

}  // namespace

std::span<const ClassEntry> Classes() noexcept { return kClasses; }

const ClassEntry* FindClass(REFCLSID clsid) noexcept
{
    for (const ClassEntry& entry : kClasses) {
        if (IsEqualCLSID(*entry.clsid, clsid)) return &entry;
    }
    return nullptr;
}

}  // namespace kzr
