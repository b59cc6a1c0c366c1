#include "ControlTest.h"

namespace kzr::test {

HWND ControlTest::WindowOf(IUnknown* control)
{
    HWND window = nullptr;
    const HRESULT answer = As<IOleInPlaceObject>(control)->GetWindow(&window);
    EXPECT_EQ(window ? S_OK : E_FAIL, answer);
    return window;
}

bool ControlTest::IsMessageOnly(HWND window)
{
    for (HWND each = FindWindowExW(HWND_MESSAGE, nullptr, nullptr, nullptr); each;
         each = FindWindowExW(HWND_MESSAGE, each, nullptr, nullptr)) {
        if (each == window) return true;
    }
    return false;
}

HRESULT ControlTest::DoVerb(IUnknown* control, LONG verb, HWND parent)
{
    RECT position = {10, 20, 110, 70};
    return As<IOleObject>(control)->DoVerb(verb, nullptr, nullptr, 0, parent, &position);
}

void ControlTest::SetSite(IUnknown* control, IOleClientSite* site)
{
    EXPECT_EQ(S_OK, As<IOleObject>(control)->SetClientSite(site));
}

ComPtr<IConnectionPoint> ControlTest::EventPoint(IUnknown* control)
{
    ComPtr<IConnectionPoint> point;
    EXPECT_EQ(S_OK, As<IConnectionPointContainer>(control)->FindConnectionPoint(DIID__DUSBKeyPnPActiveXEvents,
                                                                                point.put()));
    return point;
}

DWORD ControlTest::Connect(IUnknown* control, IUnknown* sink)
{
    DWORD cookie = 0;
    EXPECT_EQ(S_OK, EventPoint(control)->Advise(sink, &cookie));
    EXPECT_NE(0u, cookie);
    return cookie;
}

HRESULT ControlTest::Disconnect(IUnknown* control, DWORD cookie)
{
    return EventPoint(control)->Unadvise(cookie);
}

LogSteps operator+(LogSteps left, const LogSteps& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

LogSteps ControlTest::StepsOfConstruction()
{
    return {Trace("CUSBKeyPnPActiveXCtrl::CUSBKeyPnPActiveXCtrl starting...."),
            Trace("CUSBKeyPnPActiveXCtrl::CUSBKeyPnPActiveXCtrl ending ok....")};
}

LogSteps ControlTest::StepsOfOnCreate(int references)
{
    LogSteps instance = StepsOfFirstInstance();
    if (references > 1)
        instance = {Trace("CAxKzrApp::Instance starting...").From("AxKzrApp"),
                    Trace("CAxKzrApp::Instance ending ok(refcount:" + std::to_string(references) + ")...")
                        .From("AxKzrApp")};
    return LogSteps{Trace("CUSBKeyPnPActiveXCtrl: OnCreate starting...")} + instance +
           LogSteps{Trace("CAxKzrApp::AddEventListner starting...").From("AxKzrApp"),
                    Trace("CAxKzrApp::AddEventListner ending ok...").From("AxKzrApp"),
                    Calls(L"SOF_GetUserList", {}, Answer(L"")),
                    Trace("CUSBKeyPnPActiveXCtrl: OnCreate ending ok...")};
}

LogSteps ControlTest::StepsOfDestruction(int references)
{
    LogSteps steps = {Trace("CUSBKeyPnPActiveXCtrl::~CUSBKeyPnPActiveXCtrl starting....")};
    if (references >= 0) {
        steps.push_back(Trace("CAxKzrApp::Release starting...").From("AxKzrApp"));
        if (references == 0) steps.push_back(Trace("CAxKzrApp::Release delete...").From("AxKzrApp"));
        steps.push_back(
            Trace("CAxKzrApp::Release ending ok(" + std::to_string(references) + ")...").From("AxKzrApp"));
    }
    steps.push_back(Trace("CUSBKeyPnPActiveXCtrl::~CUSBKeyPnPActiveXCtrl ending ok...."));
    return steps;
}

}  // namespace kzr::test
