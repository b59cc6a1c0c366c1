// The control's life: construction, its window, the one backend reference, destruction.
#include <thread>

#include "ControlTest.h"

namespace kzr::test {
namespace {

constexpr char kSource[] = "USBKeyPnPActiveXCtrl";

TEST_F(ControlTest, ConstructionAndDestructionTouchNeitherBackendNorCache)
{
    {
        const auto control = MakeControl();
        EXPECT_EQ(nullptr, WindowOf(control.Get()));
    }
    ExpectLog(StepsOfConstruction() + StepsOfDestruction(-1), log->Take(), kSource);
    EXPECT_EQ(0, backend->ControlsMade());
}

TEST_F(ControlTest, AFirstCallMakesAMessageOnlyWindowAndThenRunsTheMethod)
{
    const auto control = MakeControl();
    log->Take();
    EXPECT_EQ(S_OK, Call(control.Get(), L"RegisterDeviceInterface").result);
    ExpectLog(
        StepsOfOnCreate() + LogSteps{Trace("CUSBKeyPnPActiveXCtrl: RegisterDeviceInterface starting..."),
                                     Trace("CUSBKeyPnPActiveXCtrl: RegisterDeviceInterface ending ok...")},
        log->Take(), kSource);
    EXPECT_TRUE(IsMessageOnly(WindowOf(control.Get())));
}

TEST_F(ControlTest, ASecondCallMakesNoSecondWindow)
{
    const auto control = MakeControl();
    Call(control.Get(), L"RegisterDeviceInterface");
    const HWND window = WindowOf(control.Get());
    log->Take();
    EXPECT_EQ(S_OK, Call(control.Get(), L"RegisterDeviceInterface").result);
    EXPECT_EQ(window, WindowOf(control.Get()));
    ExpectLog({Trace("CUSBKeyPnPActiveXCtrl: RegisterDeviceInterface starting..."),
               Trace("CUSBKeyPnPActiveXCtrl: RegisterDeviceInterface ending ok...")},
              log->Take(), kSource);
}

TEST_F(ControlTest, ASiteMakesAMessageOnlyWindow)
{
    Container container;
    const auto control = MakeControl();
    log->Take();
    SetSite(control.Get(), container.Site());
    ExpectLog(StepsOfOnCreate(), log->Take(), kSource);
    EXPECT_TRUE(IsMessageOnly(WindowOf(control.Get())));
    SetSite(control.Get(), nullptr);
}

TEST_F(ControlTest, TakingTheSiteAwayMakesNoWindowAndKeepsTheOneThatIsThere)
{
    Container container;
    const auto control = MakeControl();
    SetSite(control.Get(), nullptr);
    EXPECT_EQ(nullptr, WindowOf(control.Get()));
    SetSite(control.Get(), container.Site());
    const HWND window = WindowOf(control.Get());
    SetSite(control.Get(), nullptr);
    EXPECT_EQ(window, WindowOf(control.Get()));
    EXPECT_EQ(0, container.References());
}

TEST_F(ControlTest, TheListOfUsersPrimesTheCacheAtOnCreate)
{
    backend->SetUsers(DefaultUsers());
    const auto control = MakeControl();
    Call(control.Get(), L"RegisterDeviceInterface");
    EXPECT_EQ(Value(L"CSP2"), Call(control.Get(), L"getUserInfoByContainer", {L"c2", I2(14)}).value);
}

TEST_F(ControlTest, AFailingUserListAtOnCreateIsNoErrorAndNotLogged)
{
    backend->SetUserList(Fails(E_ACCESSDENIED));
    const auto control = MakeControl();
    EXPECT_EQ(S_OK, Call(control.Get(), L"EnumUsbKey").result);
    for (const LogRecord& record : log->Take()) EXPECT_EQ("trace", record.level) << Describe(record);
}

TEST_F(ControlTest, DestructionGivesTheOneReferenceBackAndDestroysTheWindow)
{
    HWND window = nullptr;
    {
        const auto control = MakeControl();
        Call(control.Get(), L"EnumUsbKey");
        window = WindowOf(control.Get());
        EXPECT_TRUE(IsWindow(window));
        log->Take();
    }
    ExpectLog(StepsOfDestruction(0), log->Take(), kSource);
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(0, backend->LiveControls());
}

TEST_F(ControlTest, TwoControlsShareOneBackendAndCountTwice)
{
    {
        const auto first = MakeControl();
        const auto second = MakeControl();
        Call(first.Get(), L"EnumUsbKey");
        log->Take();
        Container container;
        SetSite(second.Get(), container.Site());
        ExpectLog(StepsOfOnCreate(2), log->Take(), kSource);
        EXPECT_EQ(1, backend->ControlsMade());
        SetSite(second.Get(), nullptr);
        EXPECT_NE(WindowOf(first.Get()), WindowOf(second.Get()));
    }
    ExpectLog(StepsOfDestruction(1) + StepsOfDestruction(0), log->Take(), kSource);
}

TEST_F(ControlTest, WithoutABackendCallsAreRefusedAndTheSiteIsTaken)
{
    backend->Unregister();
    Container container;
    {
        const auto control = MakeControl();
        log->Take();
        SetSite(control.Get(), container.Site());
        const std::string lines = DescribeLog(log->Take());
        EXPECT_NE(std::string::npos,
                  lines.find("CUSBKeyPnPActiveXCtrl: OnCreate CAxKzrApp::Instance error!!!"));
        EXPECT_EQ(std::string::npos, lines.find("OnCreate ending"));
        EXPECT_EQ(nullptr, WindowOf(control.Get()));
        EXPECT_EQ(E_UNEXPECTED, Call(control.Get(), L"EnumUsbKey").result);
        EXPECT_EQ(E_UNEXPECTED, Call(control.Get(), DISPID(-552)).result);
        SetSite(control.Get(), nullptr);
        log->Take();
    }
    ExpectLog(StepsOfDestruction(-1), log->Take(), kSource);
}

TEST_F(ControlTest, ABackendThatComesLaterServesTheNextCall)
{
    backend->Unregister();
    const auto control = MakeControl();
    EXPECT_EQ(E_UNEXPECTED, Call(control.Get(), L"EnumUsbKey").result);
    backend->Register();
    EXPECT_EQ(S_OK, Call(control.Get(), L"EnumUsbKey").result);
}

TEST_F(ControlTest, ThrowingInOnCreateFailsTheWindowAndKeepsOneReference)
{
    for (const FaultKind kind : kAllFaults) {
        SCOPED_TRACE(NameOf(kind));
        backend->ForgetEverything();
        backend->SetUserList(Faults(kind));
        const auto control = MakeControl();
        EXPECT_EQ(E_UNEXPECTED, Call(control.Get(), L"EnumUsbKey").result);
        EXPECT_EQ(nullptr, WindowOf(control.Get()));
        EXPECT_EQ(E_UNEXPECTED, Call(control.Get(), L"EnumUsbKey").result);
        EXPECT_EQ(1, backend->LiveControls());
        backend->SetUserList(L"");
        log->Take();
        EXPECT_EQ(S_OK, Call(control.Get(), L"EnumUsbKey").result);
        EXPECT_EQ(std::string::npos, DescribeLog(log->Take()).find("CAxKzrApp::Instance"));
    }
    EXPECT_EQ(0, backend->LiveControls());
}

TEST_F(ControlTest, AfterAContainerDestroyedTheWindowTheNextOneTakesNoSecondReference)
{
    {
        const auto control = MakeControl();
        Call(control.Get(), L"EnumUsbKey");
        DestroyWindow(WindowOf(control.Get()));
        EXPECT_EQ(nullptr, WindowOf(control.Get()));
        log->Take();
        EXPECT_EQ(S_OK, Call(control.Get(), L"EnumUsbKey").result);
        ExpectLog({Trace("CUSBKeyPnPActiveXCtrl: OnCreate starting..."),
                   Trace("CAxKzrApp::AddEventListner starting...").From("AxKzrApp"),
                   Trace("CAxKzrApp::AddEventListner ending ok...").From("AxKzrApp"),
                   Calls(L"SOF_GetUserList", {}, Answer(L"")),
                   Trace("CUSBKeyPnPActiveXCtrl: OnCreate ending ok..."),
                   Trace("CUSBKeyPnPActiveXCtrl: EnumUsbKey starting..."),
                   Trace("CUSBKeyPnPActiveXCtrl: EnumUsbKey ending ok...")},
                  log->Take(), kSource);
        EXPECT_TRUE(IsWindow(WindowOf(control.Get())));
    }
    ExpectLog(StepsOfDestruction(0), log->Take(), kSource);
}

TEST_F(ControlTest, TheModuleStaysWhileAControlLivesAndGoesAfterIt)
{
    {
        const auto control = MakeControl();
        Call(control.Get(), L"EnumUsbKey");
        EXPECT_EQ(S_FALSE, dll->CanUnloadNow());
    }
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
}

TEST_F(ControlTest, TheLastReferenceMayGoOnAnotherThread)
{
    auto control = MakeControl();
    Call(control.Get(), L"EnumUsbKey");
    const HWND window = WindowOf(control.Get());
    std::thread([&] { control.Reset(); }).join();
    EXPECT_EQ(S_FALSE, dll->CanUnloadNow()) << "the window still runs the module's code";
    EXPECT_TRUE(PumpUntil([&] { return !IsWindow(window); }));
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
}

TEST_F(ControlTest, TheWindowClassGoesWithTheModuleAndComesBackWithIt)
{
    for (int i = 0; i < 3; ++i) {
        {
            const auto control = MakeControl();
            EXPECT_EQ(S_OK, Call(control.Get(), L"EnumUsbKey").result);
            EXPECT_TRUE(IsWindow(WindowOf(control.Get())));
        }
        Reload();
    }
}

// An owner whose identity is the whole object's.
class Owner final : public IUnknown {
  public:
    long references = 0;
    IUnknown* inner = nullptr;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        if (!IsEqualIID(iid, IID_IUnknown)) return inner->QueryInterface(iid, object);
        *object = this;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++references); }
    STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(--references); }
};

TEST_F(ControlTest, AnAggregatedControlShowsItsOwnersIdentityOnEveryInterface)
{
    for (const CLSID& clsid : {kControl.clsid, kPropertyPage}) {
        Owner owner;
        ComPtr<IUnknown> inner;
        ASSERT_EQ(S_OK, dll->Create(clsid, IID_IUnknown, inner.putVoid(), &owner));
        owner.inner = inner.Get();
        const IID& first = IsEqualCLSID(clsid, kPropertyPage) ? IID_IPropertyPage : IID_IDispatch;
        ComPtr<IUnknown> part;
        ASSERT_EQ(S_OK, owner.QueryInterface(first, part.putVoid()));
        EXPECT_EQ(1, owner.references);
        ComPtr<IUnknown> identity;
        ASSERT_EQ(S_OK, part->QueryInterface(IID_IUnknown, identity.putVoid()));
        EXPECT_EQ(&owner, identity.Get());
        identity.Reset();
        part.Reset();
        EXPECT_EQ(0, owner.references);
    }
}

TEST_F(ControlTest, AnAggregatingOwnerMustAskForTheIdentityFirst)
{
    Owner owner;
    for (const CLSID& clsid : {kControl.clsid, kPropertyPage}) {
        void* object = &owner;
        EXPECT_EQ(CLASS_E_NOAGGREGATION, dll->Create(clsid, IID_IDispatch, &object, &owner));
        EXPECT_EQ(nullptr, object);
    }
}

TEST_F(ControlTest, AnUnknownInterfaceIsRefusedAndLeavesNoControl)
{
    void* object = this;
    EXPECT_EQ(E_NOINTERFACE, dll->Create(kControl.clsid, IID_IStream, &object));
    EXPECT_EQ(nullptr, object);
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
}

}  // namespace
}  // namespace kzr::test
