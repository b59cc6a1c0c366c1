// The control on the software key: its lists, and its event when a key is really pulled and plugged.
#include <thread>

#include "control/Container.h"
#include "softkey/component/BenchTest.h"

// After the system's headers, which it needs.
#include "KzrSecX_h.h"

namespace kzr::test {
namespace {

using namespace kzr::softkey;

LogStep Own(const std::string& text) { return Trace("CUSBKeyPnPActiveXCtrl: " + text); }

// The component's lists go through the ANSI code page.
std::wstring ThroughTheCodePage(const wchar_t* text)
{
    char narrow[64] = {};
    wchar_t wide[64] = {};
    WideCharToMultiByte(CP_ACP, 0, text, -1, narrow, sizeof(narrow), nullptr, nullptr);
    MultiByteToWideChar(CP_ACP, 0, narrow, -1, wide, 64);
    return wide;
}

class SoftKeyControl : public BenchTest {
  public:
    ComPtr<IConnectionPoint> EventsOf(IDispatch* control)
    {
        ComPtr<IConnectionPointContainer> container;
        ComPtr<IConnectionPoint> point;
        EXPECT_EQ(S_OK, control->QueryInterface(IID_IConnectionPointContainer, container.putVoid()));
        if (container) container->FindConnectionPoint(DIID__DUSBKeyPnPActiveXEvents, point.put());
        return point;
    }
};

TEST_F(SoftKeyControl, ListsNameUsersAndKeys)
{
    const LogSteps users = {Own("getUserList starting..."), Own("getUserList return Data({})..."),
                            Own("GetUserList ending ok...")};
    const std::wstring list = Get(kControl, L"getUserList", {}).AsText();
    EXPECT_EQ(L"Alice||c1&&&" + ThroughTheCodePage(kWangsName) + L"||c2&&&Carol||c3&&&", list);
    home->Pull("SN02");
    const Names oneList = {"SOF_GetUserList", "GetDeviceInfo", "GetDeviceInfo", "GetDeviceInfo",
                           "GetDeviceInfo",   "GetDeviceInfo", "GetDeviceInfo"};
    EXPECT_EQ(Value(L"Alice||c1&&&Carol||c3&&&"), Run(kControl, L"getUserList", {}, users, oneList));
    home->Plug("SN02");
    EXPECT_EQ(Value(L"CSP1||EXT1&&&CSP2||EXT2&&&"),
              Run(kControl, L"GetUSBKeyList", {},
                  {Own("GetUSBKeyList starting..."), Own("GetUSBKeyList return Data({})...")},
                  {"GetAllDeviceSN", "GetDeviceInfo", "GetDeviceInfo", "GetDeviceInfo", "GetDeviceInfo"}));
}

TEST_F(SoftKeyControl, NoKeyIsAFailureOfEachList)
{
    home->Pull("SN01");
    home->Pull("SN02");
    const auto lines = [](const std::string& method, const std::string& call) {
        return LogSteps{Own(method + " starting..."),
                        Error("CUSBKeyPnPActiveXCtrl: " + method + " call " + call + " return NULL!", S_OK)};
    };
    Get(kControl, L"EnumUsbKey", {});
    EXPECT_EQ(Value(L""), Run(kControl, L"getUserList", {}, lines("getUserList", "SOF_GetUserList"),
                              {"SOF_GetUserList"}));
    EXPECT_EQ(Value(L""), Run(kControl, L"GetUSBKeyList", {}, lines("GetUSBKeyList", "GetAllDeviceSN"),
                              {"GetAllDeviceSN"}));
}

TEST_F(SoftKeyControl, FactsOfAUser)
{
    const auto fact = [&](const wchar_t* container, int type, const Names& calls) {
        return Run(kControl, L"getUserInfoByContainer", {container, I2(type)},
                   {Own("getUserInfoByContainer starting..."),
                    Own("getUserInfoByContainer containerName(" + Shown(container) + ") type(" +
                        std::to_string(type) + ")..."),
                    Own("getUserInfoByContainer ending({})...")},
                   calls);
    };
    Get(kControl, L"EnumUsbKey", {});
    EXPECT_EQ(Value(L"Alice"), fact(L"c1", 1, {"SOF_ExportUserCert", "SOF_GetCertInfo"}));
    EXPECT_EQ(Value(L"RSA Authority"), fact(L"c3", 4, {"SOF_ExportUserCert", "SOF_GetCertInfo"}));
    EXPECT_EQ(Value(L"2"), fact(L"c1", 10, {"SOF_ExportUserCert", "SOF_ExportExChangeUserCert"}));
    EXPECT_EQ(Value(L"1"), fact(L"c2", 10, {"SOF_ExportUserCert", "SOF_ExportExChangeUserCert"}));
    EXPECT_EQ(Value(L"0"), fact(L"c9", 10, {"SOF_ExportUserCert"}));
    EXPECT_EQ(Value(L"CSP2"), fact(L"c2", 14, {}));
    EXPECT_EQ(Value(L"EXT2"), fact(L"c2", 15, {}));
}

TEST_F(SoftKeyControl, AKeyThatIsPulledOrPluggedIsOneEventOfEachControl)
{
    EventSink first, second;
    {
        const ComPtr<IDispatch> one = Make(kControl), two = Make(kControl);
        ASSERT_TRUE(one && two);
        // Any call gives a control its window, and with it the backend.
        EXPECT_EQ(S_OK, Call(one.Get(), L"EnumUsbKey").result);
        EXPECT_EQ(S_OK, Call(two.Get(), L"EnumUsbKey").result);
        DWORD cookie = 0;
        EXPECT_EQ(S_OK, EventsOf(one.Get())->Advise(&first, &cookie));
        EXPECT_EQ(S_OK, EventsOf(two.Get())->Advise(&second, &cookie));
        log->Take();
        std::thread([this] { home->Pull("SN01"); }).join();
        EXPECT_TRUE(PumpUntil([&] { return first.events == 1 && second.events == 1; }));
        EXPECT_EQ(GetCurrentThreadId(), first.thread);
        std::string own;
        for (const LogRecord& record : log->Take())
            if (record.source == "USBKeyPnPActiveXCtrl") own += record.message + "\n";
        const std::string event =
            "CUSBKeyPnPActiveXCtrl: OnDeviceChange starting...\nCUSBKeyPnPActiveXCtrl: OnDeviceChange ending "
            "ok...\n";
        EXPECT_EQ(event + event, own);

        home->Plug("SN01");
        EXPECT_TRUE(PumpUntil([&] { return first.events == 2 && second.events == 2; }));
        PumpUntil([] { return false; }, 700);
        EXPECT_EQ(2, first.events);
        EXPECT_EQ(2, second.events);
    }
    EXPECT_EQ(0, first.References() + second.References());
}

TEST_F(SoftKeyControl, APageReadsTheListsAnewInItsHandler)
{
    EventSink page;
    {
        const ComPtr<IDispatch> control = Make(kControl);
        std::wstring seen;
        page.during = [&] {
            seen += Call(control.Get(), L"getUserList").value.AsText() + L";";
            return S_OK;
        };
        EXPECT_EQ(S_OK, Call(control.Get(), L"EnumUsbKey").result);
        DWORD cookie = 0;
        EXPECT_EQ(S_OK, EventsOf(control.Get())->Advise(&page, &cookie));
        home->Pull("SN02");
        EXPECT_TRUE(PumpUntil([&] { return page.events == 1; }));
        EXPECT_EQ(L"Alice||c1&&&Carol||c3&&&;", seen);
    }
    EXPECT_EQ(0, page.References());
}

}  // namespace
}  // namespace kzr::test
