// In a container of ours: what the control asks of it and in which order, where its window is, and how it
// leaves again.
#include "ControlTest.h"

namespace kzr::test {
namespace {

const Names kActivation = {"CanInPlaceActivate", "OnInPlaceActivate", "GetWindow", "GetWindowContext",
                           "ShowObject"};

class ControlInPlace : public ControlTest {
  public:
    void SetUp() override
    {
        ControlTest::SetUp();
        top = std::make_unique<TopWindow>();
        container = std::make_unique<Container>();
        container->window = top->Get();
        control = MakeControl();
        SetSite(control.Get(), container->Site());
        PumpMessages();
    }
    void TearDown() override
    {
        if (control) {
            EXPECT_EQ(S_OK, As<IOleObject>(control)->Close(OLECLOSE_NOSAVE));
            SetSite(control.Get(), nullptr);
            // How a container is left has tests of its own.
            container->Take();
        }
        control.Reset();
        container.reset();
        top.reset();
        ControlTest::TearDown();
    }
    HWND Window() { return WindowOf(control.Get()); }
    void Activate()
    {
        EXPECT_EQ(S_OK, DoVerb(control.Get(), OLEIVERB_INPLACEACTIVATE));
        EXPECT_EQ(kActivation, container->Take());
    }

    std::unique_ptr<TopWindow> top;
    std::unique_ptr<Container> container;
    ComPtr<IDispatch> control;
};

TEST_F(ControlInPlace, ActivationMovesTheWindowIntoTheContainersPlace)
{
    EXPECT_TRUE(IsMessageOnly(Window()));
    Activate();
    EXPECT_EQ(top->Get(), GetAncestor(Window(), GA_PARENT));
    EXPECT_TRUE(IsWindowVisible(Window()));
    RECT bounds{};
    GetWindowRect(Window(), &bounds);
    MapWindowPoints(nullptr, top->Get(), reinterpret_cast<POINT*>(&bounds), 2);
    EXPECT_TRUE(EqualRect(&container->position, &bounds));
}

TEST_F(ControlInPlace, ASecondActivationAsksNothing)
{
    Activate();
    EXPECT_EQ(S_OK, DoVerb(control.Get(), OLEIVERB_SHOW));
    EXPECT_EQ(Names(), container->Take());
}

TEST_F(ControlInPlace, DeactivationMovesTheWindowOutAndLetsTheSiteGo)
{
    Activate();
    const long before = container->References();
    const HWND window = Window();
    EXPECT_EQ(S_OK, As<IOleInPlaceObject>(control)->InPlaceDeactivate());
    EXPECT_EQ(Names{"OnInPlaceDeactivate"}, container->Take());
    EXPECT_LT(container->References(), before);
    EXPECT_EQ(window, Window());
    EXPECT_TRUE(IsMessageOnly(window));
    EXPECT_EQ(S_OK, As<IOleInPlaceObject>(control)->InPlaceDeactivate());
    EXPECT_EQ(Names(), container->Take());
    Activate();
    EXPECT_EQ(window, Window());
}

TEST_F(ControlInPlace, UiActivationTakesFocusAndGivesItBack)
{
    EXPECT_EQ(S_OK, DoVerb(control.Get(), OLEIVERB_UIACTIVATE));
    Names expected = kActivation;
    for (const char* name : {"OnUIActivate", "SetActiveObject", "SetBorderSpace", "OnFocus(TRUE)"})
        expected.push_back(name);
    EXPECT_EQ(expected, container->Take());
    EXPECT_EQ(Window(), GetFocus());
    EXPECT_EQ(S_OK, As<IOleInPlaceObject>(control)->UIDeactivate());
    EXPECT_EQ((Names{"SetActiveObject(null)", "OnUIDeactivate"}), container->Take());
    EXPECT_EQ(S_OK, As<IOleInPlaceObject>(control)->UIDeactivate());
    EXPECT_EQ(Names(), container->Take());
}

TEST_F(ControlInPlace, TheFirstVerbIsUiActivationAndUnknownUserVerbsMeanIt)
{
    EXPECT_EQ(OLEOBJ_S_INVALIDVERB, DoVerb(control.Get(), 5));
    EXPECT_EQ("OnUIActivate", container->Take()[5]);
    EXPECT_EQ(E_NOTIMPL, DoVerb(control.Get(), OLEIVERB_OPEN));
    EXPECT_EQ(E_NOTIMPL, DoVerb(control.Get(), -100));
    EXPECT_EQ(S_OK, DoVerb(control.Get(), OLEIVERB_DISCARDUNDOSTATE));
    EXPECT_EQ(S_OK, DoVerb(control.Get(), OLEIVERB_HIDE));
    EXPECT_FALSE(IsWindowVisible(Window()));
    EXPECT_EQ(OLE_E_NOT_INPLACEACTIVE, DoVerb(control.Get(), OLEIVERB_DISCARDUNDOSTATE));
    EXPECT_EQ(S_OK, DoVerb(control.Get(), OLEIVERB_PRIMARY));
}

TEST_F(ControlInPlace, AContainerThatRefusesKeepsTheControlOut)
{
    container->answers["CanInPlaceActivate"] = S_FALSE;
    EXPECT_EQ(E_FAIL, DoVerb(control.Get(), OLEIVERB_INPLACEACTIVATE));
    EXPECT_EQ(Names{"CanInPlaceActivate"}, container->Take());
    EXPECT_TRUE(IsMessageOnly(Window()));
}

TEST_F(ControlInPlace, AContainerThatFailsHalfWayIsLeftInOrder)
{
    for (const char* step : {"GetWindow", "GetWindowContext"}) {
        SCOPED_TRACE(step);
        container->answers = {{step, E_ACCESSDENIED}};
        EXPECT_EQ(E_ACCESSDENIED, DoVerb(control.Get(), OLEIVERB_INPLACEACTIVATE));
        EXPECT_EQ("OnInPlaceDeactivate", container->Take().back());
        EXPECT_TRUE(IsMessageOnly(Window()));
    }
    container->answers = {{"OnInPlaceActivate", E_ACCESSDENIED}};
    EXPECT_EQ(E_ACCESSDENIED, DoVerb(control.Get(), OLEIVERB_INPLACEACTIVATE));
    EXPECT_EQ((Names{"CanInPlaceActivate", "OnInPlaceActivate"}), container->Take());
    container->answers.clear();
    Activate();
}

TEST_F(ControlInPlace, AContainerThatFaultsHalfWayIsLeftInOrder)
{
    for (const char* step : {"CanInPlaceActivate", "OnInPlaceActivate", "GetWindow", "GetWindowContext"}) {
        SCOPED_TRACE(step);
        container->during = {{step, [] { RaiseFault(FaultKind::Read); }}};
        EXPECT_EQ(E_FAIL, DoVerb(control.Get(), OLEIVERB_INPLACEACTIVATE));
        container->Take();
        EXPECT_TRUE(IsMessageOnly(Window()));
    }
    container->during.clear();
    Activate();
}

TEST_F(ControlInPlace, AContainerThatDeactivatesInsideTheActivationIsObeyed)
{
    container->during["GetWindowContext"] = [&] {
        EXPECT_EQ(S_OK, As<IOleInPlaceObject>(control)->InPlaceDeactivate());
    };
    EXPECT_EQ(E_FAIL, DoVerb(control.Get(), OLEIVERB_INPLACEACTIVATE));
    EXPECT_TRUE(IsMessageOnly(Window()));
    container->Take();
}

TEST_F(ControlInPlace, WithoutASiteOrAnInPlaceSiteThereIsNoActivation)
{
    container->denied = {IID_IOleInPlaceSite};
    EXPECT_EQ(E_FAIL, DoVerb(control.Get(), OLEIVERB_INPLACEACTIVATE));
    SetSite(control.Get(), nullptr);
    EXPECT_EQ(E_FAIL, DoVerb(control.Get(), OLEIVERB_INPLACEACTIVATE));
}

TEST_F(ControlInPlace, ActivationWithoutABackendFailsAndLeavesTheContainerInOrder)
{
    ComPtr<IDispatch> other;
    {
        backend->Unregister();
        EXPECT_EQ(S_OK, As<IOleObject>(control)->Close(OLECLOSE_NOSAVE));
        SetSite(control.Get(), nullptr);
        control.Reset();
        control = MakeControl();
        SetSite(control.Get(), container->Site());
        EXPECT_EQ(nullptr, Window());
    }
    EXPECT_EQ(E_FAIL, DoVerb(control.Get(), OLEIVERB_INPLACEACTIVATE));
    EXPECT_EQ((Names{"CanInPlaceActivate", "OnInPlaceActivate", "GetWindow", "GetWindowContext",
                     "OnInPlaceDeactivate"}),
              container->Take());
    backend->Register();
    Activate();
}

TEST_F(ControlInPlace, AWindowDestroyedWithTheContainersIsMadeAnewAtTheNextActivation)
{
    Activate();
    const HWND window = Window();
    top->Destroy();
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(nullptr, Window());
    TopWindow another;
    container->window = another.Get();
    EXPECT_EQ(S_OK, DoVerb(control.Get(), OLEIVERB_INPLACEACTIVATE));
    EXPECT_EQ((Names{"GetWindow", "GetWindowContext"}), container->Take());
    EXPECT_EQ(another.Get(), GetAncestor(Window(), GA_PARENT));
    EXPECT_EQ(S_OK, As<IOleInPlaceObject>(control)->InPlaceDeactivate());
}

TEST_F(ControlInPlace, ThePositionFollowsTheContainerAndIsClipped)
{
    Activate();
    RECT position = {30, 40, 130, 140};
    RECT clip = {0, 0, 80, 1000};
    EXPECT_EQ(S_OK, As<IOleInPlaceObject>(control)->SetObjectRects(&position, &clip));
    RECT bounds{};
    GetWindowRect(Window(), &bounds);
    MapWindowPoints(nullptr, top->Get(), reinterpret_cast<POINT*>(&bounds), 2);
    EXPECT_TRUE(EqualRect(&position, &bounds));
    HRGN region = CreateRectRgn(0, 0, 0, 0);
    EXPECT_EQ(SIMPLEREGION, GetWindowRgn(Window(), region));
    RECT box{};
    GetRgnBox(region, &box);
    const RECT expected = {0, 0, 50, 100};
    EXPECT_TRUE(EqualRect(&expected, &box));
    EXPECT_EQ(S_OK, As<IOleInPlaceObject>(control)->SetObjectRects(&position, &position));
    EXPECT_EQ(ERROR, GetWindowRgn(Window(), region)) << "the whole window again";
    DeleteObject(region);
    EXPECT_EQ(E_POINTER, As<IOleInPlaceObject>(control)->SetObjectRects(nullptr, &clip));
}

TEST_F(ControlInPlace, ClosingSavesWhatIsDirtyWhenAskedTo)
{
    SIZEL size = {777, 888};
    As<IOleObject>(control)->SetExtent(DVASPECT_CONTENT, &size);
    EXPECT_EQ(S_OK, As<IOleObject>(control)->Close(OLECLOSE_NOSAVE));
    EXPECT_EQ(Names(), container->Take());
    EXPECT_EQ(S_OK, As<IOleObject>(control)->Close(OLECLOSE_SAVEIFDIRTY));
    EXPECT_EQ(Names{"SaveObject"}, container->Take());
    As<IPersistStreamInit>(control)->InitNew();
    EXPECT_EQ(S_OK, As<IOleObject>(control)->Close(OLECLOSE_SAVEIFDIRTY));
    EXPECT_EQ(Names(), container->Take());
    EXPECT_EQ(E_INVALIDARG, As<IOleObject>(control)->Close(99));
}

TEST_F(ControlInPlace, ClosingDeactivates)
{
    Activate();
    EXPECT_EQ(S_OK, As<IOleObject>(control)->Close(OLECLOSE_NOSAVE));
    EXPECT_EQ(Names{"OnInPlaceDeactivate"}, container->Take());
    EXPECT_TRUE(IsMessageOnly(Window()));
}

TEST_F(ControlInPlace, ASiteTakenAwayInTheMiddleDeactivates)
{
    Activate();
    SetSite(control.Get(), nullptr);
    EXPECT_EQ(Names{"OnInPlaceDeactivate"}, container->Take());
    EXPECT_EQ(0, container->References());
}

TEST_F(ControlInPlace, AControlDroppedWhileActiveTakesItsWindowAlongAndLetsTheContainerGo)
{
    EXPECT_EQ(S_OK, DoVerb(control.Get(), OLEIVERB_UIACTIVATE));
    const HWND window = Window();
    control.Reset();
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(0, container->References());
    container->Take();
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
}

TEST_F(ControlInPlace, AContainerMayDestroyItsWindowInsideTheActivation)
{
    container->during["ShowObject"] = [&] { top->Destroy(); };
    EXPECT_EQ(S_OK, DoVerb(control.Get(), OLEIVERB_INPLACEACTIVATE));
    EXPECT_EQ(nullptr, Window());
    EXPECT_EQ(S_OK, As<IOleInPlaceObject>(control)->InPlaceDeactivate());
    container->Take();
    EXPECT_EQ(S_OK, Call(control.Get(), L"EnumUsbKey").result);
    EXPECT_TRUE(IsMessageOnly(Window()));
}

TEST_F(ControlInPlace, KeysAreTheContainersBusiness)
{
    MSG message{};
    message.message = WM_KEYDOWN;
    EXPECT_EQ(S_OK, As<IOleInPlaceActiveObject>(control)->TranslateAccelerator(&message));
    EXPECT_EQ(Names{"TranslateAccelerator"}, container->Take());
    container->answers["TranslateAccelerator"] = S_FALSE;
    EXPECT_EQ(S_FALSE, As<IOleInPlaceActiveObject>(control)->TranslateAccelerator(&message));
    container->Take();
    EXPECT_EQ(E_POINTER, As<IOleInPlaceActiveObject>(control)->TranslateAccelerator(nullptr));
}

TEST_F(ControlInPlace, ThePropertiesVerbAsksTheContainersFrameFirst)
{
    EXPECT_EQ(S_OK, DoVerb(control.Get(), OLEIVERB_PROPERTIES));
    EXPECT_EQ(Names{"ShowPropertyFrame"}, container->Take());
}

TEST_F(ControlInPlace, TheWindowShowsAWhiteRectangleWithAnEllipse)
{
    Activate();
    UpdateWindow(Window());
    const HDC context = GetDC(Window());
    EXPECT_EQ(RGB(255, 255, 255), GetPixel(context, 2, 2));
    EXPECT_EQ(RGB(255, 255, 255), GetPixel(context, 50, 25));
    EXPECT_EQ(RGB(0, 0, 0), GetPixel(context, 50, 0));
    EXPECT_EQ(RGB(0, 0, 0), GetPixel(context, 0, 25));
    ReleaseDC(Window(), context);
}

TEST_F(ControlInPlace, FocusOfAWindowWhoseContainerFaultsHarmsNothing)
{
    Activate();
    container->during["OnFocus(TRUE)"] = [] { RaiseFault(FaultKind::Read); };
    SendMessageW(Window(), WM_SETFOCUS, 0, 0);
    EXPECT_EQ(Names{"OnFocus(TRUE)"}, container->Take());
    EXPECT_EQ(S_OK, Call(control.Get(), L"EnumUsbKey").result);
}

}  // namespace
}  // namespace kzr::test
