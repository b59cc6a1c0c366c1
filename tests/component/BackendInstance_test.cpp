// The one instance behind the objects: who counts, when it comes and goes, what a call under way may still
// use.
#include "support/ComponentTest.h"

namespace kzr::test {
namespace {

class BackendInstance : public ComponentTest {
  protected:
    // The lines of AxKzrApp since the last call, without the call lines.
    std::string BridgeLines()
    {
        std::string lines;
        for (const LogRecord& record : log->Take())
            if (record.source == "AxKzrApp" && !record.message.starts_with("CAxKzrApp: call"))
                lines += record.level + " " + record.message + "\n";
        return lines;
    }
};

TEST_F(BackendInstance, EachObjectHoldsOneAndTheLastOneEndsIt)
{
    ComPtr<IDispatch> certificate = Make(kCertificate), crypto = Make(kCrypto), device = Make(kDeviceMgr),
                      util = Make(kUtil);
    EXPECT_EQ(1, backend->ControlsMade());
    EXPECT_EQ(4u, backend->CallsOf(L"SOF_GetUserList"));
    EXPECT_EQ(1u, backend->CallsOf(L"SetUserConfig"));
    EXPECT_NE(std::string::npos, BridgeLines().find("trace CAxKzrApp::Instance ending ok(refcount:4)...\n"));
    int left = 3;
    for (ComPtr<IDispatch>* object : {&crypto, &certificate, &util}) {
        object->Reset();
        EXPECT_EQ("trace CAxKzrApp::Release starting...\ntrace CAxKzrApp::Release ending ok(" +
                      std::to_string(left--) + ")...\n",
                  BridgeLines());
        EXPECT_EQ(1, backend->LiveControls());
    }
    device.Reset();
    EXPECT_EQ(
        "trace CAxKzrApp::Release starting...\ntrace CAxKzrApp::Release delete...\n"
        "trace CAxKzrApp::Release ending ok(0)...\n",
        BridgeLines());
    EXPECT_EQ(0, backend->LiveControls());
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
}

TEST_F(BackendInstance, TheNextObjectMakesANewOne)
{
    for (int i = 1; i <= 3; ++i) {
        Make(kUtil);
        EXPECT_EQ(i, backend->ControlsMade());
        EXPECT_EQ(0, backend->LiveControls());
        EXPECT_EQ(static_cast<std::size_t>(i), backend->CallsOf(L"SetUserConfig"));
    }
}

TEST_F(BackendInstance, NoObjectIsMadeWithoutTheBackendsClass)
{
    backend->Unregister();
    ComPtr<IDispatch> object;
    EXPECT_EQ(E_FAIL, dll->Create(kDeviceMgr.clsid, IID_IDispatch, object.putVoid()));
    EXPECT_FALSE(object);
    const std::string lines = BridgeLines();
    EXPECT_NE(std::string::npos,
              lines.find("error CAxKzrApp::LoadKzrAppControl Failed to create KzrApp control!\n"
                         "error CAxKzrApp::Instance LoadKzrAppControl error!\n"));
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
    backend->Register();
    EXPECT_TRUE(Make(kDeviceMgr));
}

TEST_F(BackendInstance, AnyFailureOnTheWayLeavesNothingBehind)
{
    for (const Step step : {Step::CreateInstance, Step::QueryDispatch, Step::QueryOleObject,
                            Step::QueryContainer, Step::FindConnectionPoint, Step::Advise}) {
        backend->At(step).Fails(E_ACCESSDENIED);
        ComPtr<IDispatch> object;
        EXPECT_EQ(E_FAIL, dll->Create(kCrypto.clsid, IID_IDispatch, object.putVoid()));
        EXPECT_FALSE(object);
        EXPECT_EQ(0, backend->LiveControls());
        EXPECT_EQ(0, backend->References());
        EXPECT_EQ(S_OK, dll->CanUnloadNow());
        backend->At(step) = StepRule();
        EXPECT_TRUE(Make(kCrypto));
    }
}

TEST_F(BackendInstance, SiteAndSinkThatTheBackendKeepsKeepTheModule)
{
    backend->keepsSite = true;
    backend->keepsSink = true;
    Make(kUtil);
    EXPECT_EQ(0, backend->LiveControls());
    EXPECT_EQ(S_FALSE, dll->CanUnloadNow());
    backend->FireEvent();
    backend->FireEventFromThread();
    backend->LetGo();
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
}

TEST_F(BackendInstance, ReferencesGivenBackTooOftenFreeNothingThatIsUsed)
{
    backend->overReleaseSite = 2;
    backend->overReleaseSink = 2;
    for (int i = 0; i < 3; ++i) {
        const ComPtr<IDispatch> util = Make(kUtil);
        backend->FireEvent();
        EXPECT_EQ(S_OK, backend->Site()->ShowObject());
    }
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
}

TEST_F(BackendInstance, TheLastObjectMayGoInTheMiddleOfItsOwnCall)
{
    backend->SetUsers(DefaultUsers());
    ComPtr<IDispatch> crypto = Make(kCrypto);
    IDispatch* const raw = crypto.Get();
    backend->Expect(L"SOF_SignData", {L"c1/SN01", L"text"},
                    Answer(L"signature").Running([&] { crypto.Reset(); }));
    const CallResult called = Call(raw, 5, {L"text", L"c1"});
    EXPECT_EQ(S_OK, called.result);
    EXPECT_EQ(Value(L"signature"), called.value);
    EXPECT_EQ(0, backend->LiveControls());
}

TEST_F(BackendInstance, AnotherObjectMayComeAndGoInTheMiddleOfACall)
{
    const ComPtr<IDispatch> crypto = Make(kCrypto);
    backend->Expect(L"SOF_SignData", {L"", L"text"}, Answer(L"signature").Running([&] {
        const ComPtr<IDispatch> inner = Make(kUtil);
        EXPECT_TRUE(inner);
    }));
    EXPECT_EQ(Value(L"signature"), Call(crypto.Get(), L"signedData", {L"text", L"c1"}).value);
    EXPECT_EQ(1, backend->ControlsMade());
}

class BackendInstanceInTheMultithreadedApartment : public ComponentTest {
  public:
    BackendInstanceInTheMultithreadedApartment() : ComponentTest(COINIT_MULTITHREADED) {}
};

TEST_F(BackendInstanceInTheMultithreadedApartment, ObjectsOfTwoThreadsShareItAndTheirCallsNeverOverlap)
{
    backend->Allow(L"SOF_SignData", Answer(L"signature").After(2));
    struct Work {
        ComponentTest* test;
        int right;
    } works[3] = {{this, 0}, {this, 0}, {this, 0}};
    HANDLE threads[3] = {};
    for (int i = 0; i < 3; ++i)
        threads[i] = CreateThread(
            nullptr, 0,
            [](void* context) -> DWORD {
                auto* const work = static_cast<Work*>(context);
                CoInitializeEx(nullptr, COINIT_MULTITHREADED);
                for (int j = 0; j < 10; ++j) {
                    const ComPtr<IDispatch> crypto = work->test->dll->Create<IDispatch>(kCrypto.clsid);
                    if (!crypto) continue;
                    work->right += Call(crypto.Get(), 5, {L"text", L"c1"}).value == Value(L"signature");
                }
                CoUninitialize();
                return 0;
            },
            &works[i], 0, nullptr);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForMultipleObjects(3, threads, TRUE, 60000));
    for (int i = 0; i < 3; ++i) {
        CloseHandle(threads[i]);
        EXPECT_EQ(10, works[i].right);
    }
    EXPECT_EQ(0, backend->Overlaps());
}

}  // namespace
}  // namespace kzr::test
