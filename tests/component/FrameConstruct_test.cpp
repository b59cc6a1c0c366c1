// How the four scriptable objects come and go: lines, backend calls, the user list, and what is given back
// when something goes wrong on the way.
#include <thread>

#include "component/FrameClasses.h"

namespace kzr::test {
namespace {

class FrameConstruct : public OnEachClass {
  protected:
    LogStep Line(const char* text) const { return Trace(ClassName() + text); }

    // What making one writes when it is the `holder`-th, with no user there.
    LogSteps Making(int holder) const
    {
        LogSteps steps = {Line("::FinalConstruct starting...")};
        if (holder == 1) {
            for (const LogStep& step : StepsOfFirstInstance()) steps.push_back(step);
        } else {
            steps.push_back(Trace("CAxKzrApp::Instance starting...").From("AxKzrApp"));
            steps.push_back(Trace("CAxKzrApp::Instance ending ok(refcount:" + std::to_string(holder) + ")...")
                                .From("AxKzrApp"));
        }
        return steps;
    }

    LogSteps MadeWith(int holder, const Answer& list) const
    {
        LogSteps steps = Making(holder);
        steps.push_back(Calls(L"SOF_GetUserList", {}, list));
        steps.push_back(Line("::FinalConstruct ending ok..."));
        return steps;
    }

    static LogSteps GivingBack(int left)
    {
        LogSteps steps = {Trace("CAxKzrApp::Release starting...").From("AxKzrApp")};
        if (left == 0) steps.push_back(Trace("CAxKzrApp::Release delete...").From("AxKzrApp"));
        steps.push_back(
            Trace("CAxKzrApp::Release ending ok(" + std::to_string(left) + ")...").From("AxKzrApp"));
        return steps;
    }

    LogSteps Going(int left) const
    {
        LogSteps steps = {Line("::FinalRelease starting...")};
        for (const LogStep& step : GivingBack(left)) steps.push_back(step);
        steps.push_back(Line("::FinalRelease ending ok..."));
        return steps;
    }

    // Creation fails with this HRESULT, hands out nothing and keeps nothing.
    void ExpectRefused(HRESULT expected)
    {
        void* object = this;
        EXPECT_EQ(expected, dll->Create(Shared().tested.clsid, IID_IDispatch, &object));
        EXPECT_EQ(nullptr, object);
        EXPECT_EQ(0, backend->LiveControls());
        EXPECT_EQ(S_OK, dll->CanUnloadNow());
    }

    // How often Bob's device was asked about.
    std::size_t SecondUsersQuestions()
    {
        std::size_t count = 0;
        for (const RecordedCall& call : backend->Calls())
            count += call.name == L"GetDeviceInfo" && call.arguments[0] == Value(L"SN02");
        return count;
    }

    // The container's key as the backend gets it; "" when the cache does not know it.
    std::wstring KeyOf(const wchar_t* container)
    {
        const ComPtr<IDispatch> crypto = Make(kCrypto);
        backend->ForgetCalls();
        backend->Allow(L"SOF_SignData", L"signature");
        Call(crypto.Get(), L"signedData", {L"text", container});
        for (const RecordedCall& call : backend->Calls())
            if (call.name == L"SOF_SignData") return call.arguments[0].AsText();
        return L"(no call)";
    }
};

TEST_P(FrameConstruct, TheFirstAndTheSecondObjectAreMadeAndReleasedLineByLine)
{
    log->Take();
    ComPtr<IDispatch> first = MakeOne();
    ExpectLog(MadeWith(1, L""), log->Take(), Shared().tested.source);
    ComPtr<IDispatch> second = MakeOne();
    ExpectLog(MadeWith(2, L""), log->Take(), Shared().tested.source);
    EXPECT_EQ(1, backend->ControlsMade());

    first = nullptr;
    ExpectLog(Going(1), log->Take(), Shared().tested.source);
    EXPECT_EQ(1, backend->LiveControls());
    second = nullptr;
    ExpectLog(Going(0), log->Take(), Shared().tested.source);
    EXPECT_EQ(0, backend->LiveControls());
}

TEST_P(FrameConstruct, EveryObjectAsksForTheUserListAndRebuildsTheCache)
{
    backend->SetUsers(DefaultUsers());
    const ComPtr<IDispatch> first = MakeOne();
    const ComPtr<IDispatch> second = MakeOne();
    EXPECT_EQ(2u, backend->CallsOf(L"SOF_GetUserList"));
    // Two users, three questions each, twice.
    EXPECT_EQ(12u, backend->CallsOf(L"GetDeviceInfo"));
}

TEST_P(FrameConstruct, WithoutABackendCreationFailsWithItsLine)
{
    backend->Unregister();
    log->Take();
    void* object = this;
    EXPECT_EQ(static_cast<HRESULT>(0x80004005), dll->Create(Shared().tested.clsid, IID_IDispatch, &object));
    EXPECT_EQ(nullptr, object);
    const std::vector<LogRecord> records = log->Take();
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(std::string("[trace] ") + Shared().tested.source + " status(0) " + ClassName() +
                  "::FinalConstruct starting...",
              Describe(records.front()));
    EXPECT_EQ(std::string("[error] ") + Shared().tested.source + " status(0) " + ClassName() +
                  "::FinalConstruct CAxKzrApp::Instance error!!!",
              Describe(records.back()));
    EXPECT_EQ(S_OK, dll->CanUnloadNow());

    backend->Register();
    EXPECT_TRUE(MakeOne()) << "the backend has come back";
}

TEST_P(FrameConstruct, AnEmptyListLeavesTheCacheAsItWas)
{
    backend->SetUsers(DefaultUsers());
    const ComPtr<IDispatch> first = MakeOne();
    backend->SetUserList(L"");
    const ComPtr<IDispatch> second = MakeOne();
    EXPECT_EQ(L"c1/SN01", KeyOf(L"c1"));
}

TEST_P(FrameConstruct, AFailedCallLeavesTheCacheAsItWasWhateverItsResult)
{
    backend->SetUsers(DefaultUsers());
    const ComPtr<IDispatch> first = MakeOne();
    backend->SetUserList(Fails(E_ACCESSDENIED, L"Carol||c3/SN03&&&"));
    const ComPtr<IDispatch> second = MakeOne();
    EXPECT_TRUE(second) << "a failed list is no failed creation";
    EXPECT_EQ(L"c1/SN01", KeyOf(L"c1"));
    EXPECT_EQ(L"", KeyOf(L"c3"));
}

TEST_P(FrameConstruct, ABackendWithoutAUserListLeavesTheCacheAsItWas)
{
    backend->SetUsers(DefaultUsers());
    const ComPtr<IDispatch> first = MakeOne();
    backend->SetUserList(UnknownName());
    EXPECT_TRUE(MakeOne());
    EXPECT_EQ(L"c2/SN02", KeyOf(L"c2"));
}

TEST_P(FrameConstruct, AListThatIsNoTextCountsAsEmpty)
{
    backend->SetUsers(DefaultUsers());
    const ComPtr<IDispatch> first = MakeOne();
    for (const Value& list : {I4(7), I2(-1), Bool(true), Empty(), Null(), NullText(), R8(1.5)}) {
        backend->SetUserList(list);
        EXPECT_TRUE(MakeOne()) << Describe(list);
        EXPECT_EQ(L"c1/SN01", KeyOf(L"c1")) << Describe(list);
    }
}

TEST_P(FrameConstruct, ANewListReplacesTheOldOneWhole)
{
    backend->SetUsers(DefaultUsers());
    const ComPtr<IDispatch> first = MakeOne();
    backend->SetUsers({{L"Carol", L"c3", L"SN03", L"CSP3", L"EXT3"}});
    const ComPtr<IDispatch> second = MakeOne();
    EXPECT_EQ(L"c3/SN03", KeyOf(L"c3"));
    EXPECT_EQ(L"", KeyOf(L"c1"));
}

TEST_P(FrameConstruct, TheListPassesThroughNarrowText)
{
    // What this code page cannot express becomes its substitute; what it can express survives.
    backend->SetUserList(L"Alice||c\u4e2d/SN\u00e901&&&");
    backend->Allow(L"GetDeviceInfo", L"x");
    const ComPtr<IDispatch> object = MakeOne();
    EXPECT_EQ(L"", KeyOf(L"c\u4e2d"));
    EXPECT_EQ(L"c?/SN\u00e901", KeyOf(L"c?"));
}

TEST_P(FrameConstruct, TheListEndsAtItsFirstNullCharacterOnTheWay)
{
    const std::wstring list = std::wstring(L"Alice||c1/SN01&&&") + L'\0' + L"Bob||c2/SN02&&&";
    backend->SetUserList(Value(list));
    backend->Allow(L"GetDeviceInfo", L"x");
    const ComPtr<IDispatch> object = MakeOne();
    EXPECT_EQ(L"c1/SN01", KeyOf(L"c1"));
    // One entry, three questions.
    EXPECT_EQ(0u, SecondUsersQuestions());
}

TEST_P(FrameConstruct, AFailedConversionOfADeviceFactIsTheAnswerOfTheCreation)
{
    backend->SetUsers(DefaultUsers());
    backend->Allow(L"GetDeviceInfo", {L"SN01", I2(8)}, Missing());
    log->Take();
    ExpectRefused(DISP_E_TYPEMISMATCH);
    LogSteps steps = Making(1);
    steps.push_back(Calls(L"SOF_GetUserList", {}, Value(UserListOf(DefaultUsers()))));
    steps.push_back(Calls(L"GetDeviceInfo", {L"SN01", I2(9)}, L"CSP1"));
    steps.push_back(Calls(L"GetDeviceInfo", {L"SN01", I2(8)}, Missing()));
    for (const LogStep& step : GivingBack(0)) steps.push_back(step);
    ExpectLog(steps, log->Take(), Shared().tested.source);

    backend->SetUsers(DefaultUsers());
    EXPECT_EQ(L"c1/SN01", KeyOf(L"c1")) << "the next creation works";
}

TEST_P(FrameConstruct, ARefusedCreationTakesNothingFromTheLivingObjects)
{
    backend->SetUsers(DefaultUsers());
    const ComPtr<IDispatch> living = MakeOne();
    backend->Allow(L"GetDeviceInfo", {L"SN01", I2(7)}, Missing());
    void* object = this;
    EXPECT_EQ(DISP_E_TYPEMISMATCH, dll->Create(Shared().tested.clsid, IID_IDispatch, &object));
    EXPECT_EQ(nullptr, object);
    EXPECT_EQ(1, backend->LiveControls());

    backend->Expect(Shared().backendMethod, Shared().backendArguments, Shared().backendAnswer);
    backend->SetUsers(DefaultUsers());
    EXPECT_TRUE(MakeOne());
    EXPECT_EQ(Shared().answer, Call(living.Get(), Shared().id, Shared().arguments).value);
}

TEST_P(FrameConstruct, AnInterfaceThatTheObjectLacksMakesCreationFail)
{
    void* object = this;
    EXPECT_EQ(E_NOINTERFACE, dll->Create(Shared().tested.clsid, IID_IOleObject, &object));
    EXPECT_EQ(nullptr, object);
}

// Every kind of fault at the two places where construction calls the backend.
TEST_P(FrameConstruct, AFaultWhileTheListIsFetchedNeverLeavesTheClassObject)
{
    for (const FaultKind kind : kAllFaults) {
        SCOPED_TRACE(NameOf(kind));
        backend->SetUserList(Faults(kind));
        log->Take();
        ExpectRefused(E_FAIL);
        EXPECT_TRUE(FatalLines(log->Take()).empty()) << "outside of any call there is no DISPID to name";
        backend->SetUsers(DefaultUsers());
        EXPECT_EQ(L"c1/SN01", KeyOf(L"c1"));
    }
}

TEST_P(FrameConstruct, AFaultWhileTheCacheIsRebuiltNeverLeavesTheClassObject)
{
    for (const FaultKind kind : kAllFaults) {
        SCOPED_TRACE(NameOf(kind));
        backend->SetUsers(DefaultUsers());
        backend->Allow(L"GetDeviceInfo", {L"SN02", I2(9)}, Faults(kind));
        ExpectRefused(E_FAIL);
        backend->SetUsers(DefaultUsers());
        EXPECT_EQ(L"c2/SN02", KeyOf(L"c2"));
    }
}

TEST_P(FrameConstruct, AFaultWhileTheBackendIsMadeCountsAsNoBackend)
{
    for (const Step step : {Step::CreateInstance, Step::QueryOleObject, Step::Advise}) {
        for (const FaultKind kind : kAllFaults) {
            SCOPED_TRACE(NameOf(kind));
            backend->At(step).Faults(kind);
            void* object = this;
            EXPECT_EQ(E_FAIL, dll->Create(Shared().tested.clsid, IID_IDispatch, &object));
            EXPECT_EQ(nullptr, object);
            backend->At(step).Faults(FaultKind::None);
            EXPECT_TRUE(MakeOne());
            EXPECT_EQ(S_OK, dll->CanUnloadNow());
        }
    }
}

TEST_P(FrameConstruct, AnObjectReleasedOnAnotherThreadGivesItsReferenceBack)
{
    ComPtr<IDispatch> object = MakeOne();
    std::thread([&] { object = nullptr; }).join();
    EXPECT_EQ(0, backend->LiveControls());
}

KZR_ON_EACH_CLASS(FrameConstruct);

}  // namespace
}  // namespace kzr::test
