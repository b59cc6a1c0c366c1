#include "registration/GoldenKeys.h"

namespace kzr::test {
namespace {

constexpr wchar_t kLibrary[] = L"{B006C93F-3057-4F95-8184-9382035E26FB}";
constexpr wchar_t kControl[] = L"{565B8FB4-EE30-4EE3-9B5B-E285678F1F9D}";
constexpr wchar_t kPropPage[] = L"{904023D8-3EB6-4079-B062-45C68095682E}";

struct Interface {
    const wchar_t* iid;
    const wchar_t* name;
    bool dual;
};

constexpr Interface kInterfaces[] = {
    {L"{CC597DA1-EC0B-41C3-AC7A-C312DF8023AA}", L"ICertificate", true},
    {L"{AE5E5DE6-FCC4-45D2-A184-26402F35CA40}", L"ICrypto", true},
    {L"{AFE33606-C5CC-4293-A774-3E72231798A8}", L"IDeviceMgr", true},
    {L"{BEB41537-3DCC-4C96-BDEA-9FB58C6EFE26}", L"IUtil", true},
    {L"{8080AF8D-857A-45C4-8296-AB1301ADFA28}", L"_DUSBKeyPnPActiveX", false},
    {L"{931F33F5-525B-4613-A5A7-D0E28115DD9A}", L"_DUSBKeyPnPActiveXEvents", false},
};

// A key with all the keys above it, as the registry makes them.
void AddKey(Snapshot& golden, const std::wstring& path)
{
    const std::wstring lower = L"\\" + Lower(path);
    for (size_t at = 0; at != lower.npos; at = lower.find(L'\\', at + 1)) golden[lower.substr(0, at)];
    golden[lower];
}

void AddText(Snapshot& golden, const std::wstring& path, const wchar_t* name, const std::wstring& text)
{
    AddKey(golden, path);
    golden[L"\\" + Lower(path) + L"|" + name] = L"sz:" + text;
}

void AddDefault(Snapshot& golden, const std::wstring& path, const std::wstring& text)
{
    AddText(golden, path, L"", text);
}

void AddServer(Snapshot& golden, const std::wstring& classKey, const std::wstring& modulePath)
{
    AddDefault(golden, classKey + L"\\InprocServer32", modulePath);
    AddText(golden, classKey + L"\\InprocServer32", L"threadingmodel", L"Apartment");
}

void AddScriptable(Snapshot& golden, const std::wstring& name, const std::wstring& clsid,
                   const std::wstring& modulePath)
{
    const std::wstring progId = L"TOLVSecCOM." + name;
    const std::wstring description = name + L" Class";
    AddDefault(golden, progId + L".1", description);
    AddDefault(golden, progId + L".1\\CLSID", clsid);
    AddDefault(golden, progId, description);
    AddDefault(golden, progId + L"\\CLSID", clsid);
    AddDefault(golden, progId + L"\\CurVer", progId + L".1");
    const std::wstring key = L"CLSID\\" + clsid;
    AddDefault(golden, key, description);
    AddDefault(golden, key + L"\\ProgID", progId + L".1");
    AddDefault(golden, key + L"\\VersionIndependentProgID", progId);
    AddKey(golden, key + L"\\Programmable");
    AddServer(golden, key, modulePath);
    AddDefault(golden, key + L"\\TypeLib", kLibrary);
}

void AddControl(Snapshot& golden, const std::wstring& modulePath)
{
    const std::wstring progId = L"USBKEYPNPACTIVEX.USBKeyPnPActiveXCtrl.1";
    const std::wstring description = L"USBKeyPnPActiveX \u63A7\u4EF6";
    AddDefault(golden, progId, description);
    AddDefault(golden, progId + L"\\CLSID", kControl);
    const std::wstring key = std::wstring(L"CLSID\\") + kControl;
    AddDefault(golden, key, description);
    AddDefault(golden, key + L"\\ProgID", progId);
    AddServer(golden, key, modulePath);
    AddDefault(golden, key + L"\\ToolboxBitmap32", modulePath + L", 1");
    AddDefault(golden, key + L"\\MiscStatus", L"0");
    AddDefault(golden, key + L"\\MiscStatus\\1", L"131473");
    AddKey(golden, key + L"\\Control");
    AddDefault(golden, key + L"\\TypeLib", kLibrary);
    AddDefault(golden, key + L"\\Version", L"1.0");
}

void AddPropPage(Snapshot& golden, const std::wstring& modulePath)
{
    const std::wstring progId = L"USBKEYPNPACTIVEX.USBKeyPnPActiveXPropPage.1";
    const std::wstring description = L"USBKeyPnPActiveX \u5C5E\u6027\u9875";
    AddDefault(golden, progId, description);
    AddDefault(golden, progId + L"\\CLSID", kPropPage);
    const std::wstring key = std::wstring(L"CLSID\\") + kPropPage;
    AddDefault(golden, key, description);
    AddDefault(golden, key + L"\\ProgID", progId);
    AddServer(golden, key, modulePath);
}

void AddInterface(Snapshot& golden, const std::wstring& root, const Interface& entry)
{
    const std::wstring key = root + L"\\" + entry.iid;
    const wchar_t* marshaller =
        entry.dual ? L"{00020424-0000-0000-C000-000000000046}" : L"{00020420-0000-0000-C000-000000000046}";
    AddDefault(golden, key, entry.name);
    AddDefault(golden, key + L"\\ProxyStubClsid32", marshaller);
    // Wine writes the key of 16-bit systems, too.
    if (GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version")) {
        AddDefault(golden, key + L"\\ProxyStubClsid", marshaller);
    }
    AddDefault(golden, key + L"\\TypeLib", kLibrary);
    AddText(golden, key + L"\\TypeLib", L"version", L"1.0");
}

// What the platform makes of the type library. The interfaces stand in both views of a 64-bit system.
void AddLibrary(Snapshot& golden, const std::wstring& modulePath)
{
    const std::wstring key = std::wstring(L"TypeLib\\") + kLibrary + L"\\1.0";
    AddDefault(golden, key, L"KzrSecX 1.0 Type Library");
    AddDefault(golden, key + L"\\0\\win64", modulePath);
    AddDefault(golden, key + L"\\FLAGS", L"8");
    AddDefault(golden, key + L"\\HELPDIR", modulePath.substr(0, modulePath.find_last_of(L'\\')));
    for (const Interface& entry : kInterfaces) {
        AddInterface(golden, L"Interface", entry);
        AddInterface(golden, L"Wow6432Node\\Interface", entry);
    }
}

}  // namespace

Snapshot GoldenKeys(const std::wstring& modulePath)
{
    Snapshot golden = GoldenRemains();
    AddDefault(golden, L"AppID\\{92A25D95-3963-45EF-895F-EA42B4DD37AA}", L"KzrSecX");
    AddText(golden, L"AppID\\KzrSecX.DLL", L"appid", L"{92A25D95-3963-45EF-895F-EA42B4DD37AA}");
    AddScriptable(golden, L"Certificate", L"{A2AC77FD-36C6-4C2A-B238-F89B35DAA570}", modulePath);
    AddScriptable(golden, L"Crypto", L"{5B584C94-8FB4-4647-AFE6-879085600DBF}", modulePath);
    AddScriptable(golden, L"DeviceMgr", L"{E5E8F6BE-7753-4041-880B-16D31F61397E}", modulePath);
    AddScriptable(golden, L"Util", L"{A49B9696-751E-4402-A733-3AD46F48A5A0}", modulePath);
    AddLibrary(golden, modulePath);
    AddControl(golden, modulePath);
    AddPropPage(golden, modulePath);
    return golden;
}

Snapshot GoldenRemains()
{
    Snapshot golden;
    const std::wstring member = std::wstring(L"CLSID\\") + kControl + L"\\Implemented Categories\\";
    AddKey(golden, member + L"{7DD95801-9882-11CF-9FA9-00AA006C42C4}");
    AddKey(golden, member + L"{7DD95802-9882-11CF-9FA9-00AA006C42C4}");
    AddText(golden, L"Component Categories\\{7DD95801-9882-11CF-9FA9-00AA006C42C4}", L"409",
            L"KzrUSBKeyPnPActiveX safty for Scripting!");
    AddText(golden, L"Component Categories\\{7DD95802-9882-11CF-9FA9-00AA006C42C4}", L"409",
            L"KzrUSBKeyPnPActiveX safty for Initializing!");
    return golden;
}

Snapshot Overlaid(Snapshot base, const Snapshot& golden)
{
    for (const auto& [name, data] : golden) base[name] = data;
    return base;
}

}  // namespace kzr::test
