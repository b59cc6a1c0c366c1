// What the component may leave in the registry, key by key.
#pragma once

#include <string>

#include "registration/Registry.h"

namespace kzr::test {

// Under the machine's classes, after registering the module of this path.
Snapshot GoldenKeys(const std::wstring& modulePath);

// What stays after unregistering: the two safety categories, and the control's place in them.
Snapshot GoldenRemains();

// `base` with `golden` written over it.
Snapshot Overlaid(Snapshot base, const Snapshot& golden);

// The topmost keys that belong to the component alone.
inline constexpr const wchar_t* kOwnKeys[] = {
    L"AppID\\{92A25D95-3963-45EF-895F-EA42B4DD37AA}",
    L"AppID\\KzrSecX.DLL",
    L"CLSID\\{A2AC77FD-36C6-4C2A-B238-F89B35DAA570}",
    L"CLSID\\{5B584C94-8FB4-4647-AFE6-879085600DBF}",
    L"CLSID\\{E5E8F6BE-7753-4041-880B-16D31F61397E}",
    L"CLSID\\{A49B9696-751E-4402-A733-3AD46F48A5A0}",
    L"CLSID\\{565B8FB4-EE30-4EE3-9B5B-E285678F1F9D}",
    L"CLSID\\{904023D8-3EB6-4079-B062-45C68095682E}",
    L"TOLVSecCOM.Certificate",
    L"TOLVSecCOM.Certificate.1",
    L"TOLVSecCOM.Crypto",
    L"TOLVSecCOM.Crypto.1",
    L"TOLVSecCOM.DeviceMgr",
    L"TOLVSecCOM.DeviceMgr.1",
    L"TOLVSecCOM.Util",
    L"TOLVSecCOM.Util.1",
    L"USBKEYPNPACTIVEX.USBKeyPnPActiveXCtrl.1",
    L"USBKEYPNPACTIVEX.USBKeyPnPActiveXPropPage.1",
    L"TypeLib\\{B006C93F-3057-4F95-8184-9382035E26FB}",
};

}  // namespace kzr::test
