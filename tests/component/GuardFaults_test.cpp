// What the guard around a call does with every kind of fault, on each class, by dispatch and through the
// vtable.
#include <atomic>
#include <cstdio>
#include <functional>
#include <thread>

#include "component/FrameClasses.h"

namespace kzr::test {
namespace {

using Probe = std::function<void()>;

// Seconds that a body takes on a thread of its own. A body that never ends is a lost lock, and nothing that
// comes later in this process could be trusted.
double SecondsOnAnotherThread(const Probe& body)
{
    std::atomic<bool> done = false;
    double seconds = 0;
    std::thread thread([&] {
        LARGE_INTEGER frequency, start, end;
        QueryPerformanceFrequency(&frequency);
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        QueryPerformanceCounter(&start);
        body();
        QueryPerformanceCounter(&end);
        CoUninitialize();
        seconds =
            static_cast<double>(end.QuadPart - start.QuadPart) / static_cast<double>(frequency.QuadPart);
        done = true;
    });
    for (int i = 0; i < 1000 && !done; ++i) Sleep(10);
    if (!done) {
        std::puts("a lock was never given back: another thread waits for it");
        std::fflush(stdout);
        TerminateProcess(GetCurrentProcess(), 3);
    }
    thread.join();
    return seconds;
}

class GuardFaults : public ComponentTest,
                    public testing::WithParamInterface<std::tuple<const SharedClass*, FaultKind>> {
  protected:
    void SetUp() override
    {
        ComponentTest::SetUp();
        allowFatalErrors = true;
        backend->SetUsers(DefaultUsers());
        backend->Allow(L"SOF_HashData", L"hash");
    }

    const SharedClass& Shared() const { return *std::get<0>(GetParam()); }
    FaultKind Kind() const { return std::get<1>(GetParam()); }

    // A reading of the cache and a call of the backend, so both locks are needed.
    void ExpectLocksFree(IDispatch* crypto)
    {
        backend->Allow(L"SOF_SignData", {L"c2/SN02", L"probe"}, L"free");
        double seconds = 1;
        Value answer;
        // A busy machine may delay a thread; a lock that is held delays it for ever.
        for (int i = 0; i < 3 && seconds > 0.1; ++i)
            seconds = SecondsOnAnotherThread([&] {
                answer = Call(crypto, DISPID{5}, {L"probe", L"c2"}).value;
            });
        EXPECT_LE(seconds, 0.1);
        EXPECT_EQ(Value(L"free"), answer);
    }

    // A text that was never stored comes as null or empty, as the platform's dispatch makes it.
    void ExpectStoredBefore(const Value& value)
    {
        if (Shared().storedBefore.Type() == VT_BSTR) {
            EXPECT_EQ(VT_BSTR, value.Type());
            EXPECT_EQ(L"", value.AsText());
        } else {
            EXPECT_EQ(Shared().storedBefore, value);
        }
    }

    void RunOneWay(const DirectCall& way)
    {
        const ComPtr<IDispatch> object = Make(Shared().tested);
        const ComPtr<IDispatch> crypto = Make(kCrypto);
        ASSERT_TRUE(object && crypto);
        for (int time = 1; time <= 2; ++time) {
            backend->Expect(Shared().backendMethod, Shared().backendArguments, Faults(Kind()));
            log->Take();
            const CallResult called = way(object.Get(), Shared().arguments);
            EXPECT_EQ(S_OK, called.result) << std::hex << called.result;
            ExpectStoredBefore(called.value);

            const std::vector<LogRecord> fatal = FatalLines(log->Take());
            ExpectLog({FatalLine(Shared(), Shared().id)}, fatal, Shared().tested.source);
            ExpectLocksFree(crypto.Get());
        }

        for (int i = 0; i < 100; ++i)
            backend->Expect(Shared().backendMethod, Shared().backendArguments, Shared().backendAnswer);
        log->Take();
        for (int i = 0; i < 100; ++i) {
            const CallResult called = way(object.Get(), Shared().arguments);
            ASSERT_EQ(S_OK, called.result);
            ASSERT_EQ(Shared().answer, called.value) << "call " << i;
        }
        EXPECT_TRUE(FatalLines(log->Take()).empty());
    }
};

TEST_P(GuardFaults, BecomeOneLineByDispatch)
{
    RunOneWay([&](IDispatch* object, const Values& values) { return Call(object, Shared().id, values); });
}

TEST_P(GuardFaults, BecomeOneLineThroughTheVtable) { RunOneWay(Shared().direct); }

INSTANTIATE_TEST_SUITE_P(, GuardFaults,
                         testing::Combine(testing::ValuesIn(kSharedClasses), testing::ValuesIn(kAllFaults)),
                         [](const auto& made) {
                             return std::string(std::get<0>(made.param)->tested.name) +
                                    NameOf(std::get<1>(made.param));
                         });

// A method that runs another one of its object: the caller's own method is named, and it ends.
struct Inner {
    const wchar_t* method;
    DISPID id;
    DirectCall direct;
    Values arguments;
    const wchar_t* backendMethod;
};

const Inner kInner[] = {
    {L"authUser", 9, Direct(&ICrypto::authUser), {L"text", L"c1"}, L"SOF_SignData"},
    {L"checkUser", 10, Direct(&ICrypto::checkUser), {L"s", L"c", L"o"}, L"SOF_VerifySignedData"},
    {L"EncStr", 22, Direct(&ICrypto::EncStr), {L"key", L"text"}, L"SOF_HashData"},
    {L"DecStr", 23, Direct(&ICrypto::DecStr), {L"key", L"text"}, L"SOF_HashData"},
    {L"pubKeyEncrypt", 34, Direct(&ICrypto::pubKeyEncrypt), {L"cert", L"text"}, L"SOF_PubKeyEncrypt"},
    {L"priKeyDecrypt", 35, Direct(&ICrypto::priKeyDecrypt), {L"c1", L"text"}, L"SOF_PriKeyDecrypt"},
};

class GuardInner : public ComponentTest, public testing::WithParamInterface<FaultKind> {};

TEST_P(GuardInner, CallsCountAsTheOuterMethod)
{
    allowFatalErrors = true;
    backend->SetUsers(DefaultUsers());
    const ComPtr<IDispatch> crypto = Make(kCrypto);
    for (const Inner& inner : kInner) {
        SCOPED_TRACE(Readable(inner.method));
        backend->Allow(inner.backendMethod, Faults(GetParam()));
        for (const bool direct : {false, true}) {
            backend->ForgetCalls();
            log->Take();
            const CallResult called = direct ? inner.direct(crypto.Get(), inner.arguments)
                                             : Call(crypto.Get(), inner.method, inner.arguments);
            EXPECT_EQ(S_OK, called.result);
            ExpectLog({FatalLine(kSharedCrypto, inner.id)}, FatalLines(log->Take()), "Crypto");
            EXPECT_EQ(1u, backend->Calls().size()) << "the outer method went on";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, GuardInner, testing::ValuesIn(kAllFaults),
                         [](const auto& made) { return NameOf(made.param); });

// The component's own failures take the same way: nobody but the guard is there to turn them into success.
TEST_F(ComponentTest, GuardTurnsAnImpossibleLengthIntoItsLine)
{
    allowFatalErrors = true;
    backend->SetUsers(DefaultUsers());
    const ComPtr<IDispatch> manager = Make(kDeviceMgr);
    for (const bool direct : {false, true}) {
        log->Take();
        const Values arguments = {L"EXT1", L"file", I2(-1)};
        const CallResult called = direct ? Direct(&IDeviceMgr::creatKeyFile)(manager.Get(), arguments)
                                         : Call(manager.Get(), DISPID{11}, arguments);
        EXPECT_EQ(S_OK, called.result);
        ExpectLog({FatalLine(kSharedDeviceMgr, 11)}, FatalLines(log->Take()), "DeviceMgr");
    }
    EXPECT_EQ(0u, backend->CallsOf(L"WriteFile"));
}

}  // namespace
}  // namespace kzr::test
