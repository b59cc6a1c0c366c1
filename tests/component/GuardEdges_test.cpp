// Where the guard's duty ends and begins: faults that are none of its business, calls within calls, callers
// with hardly any stack, and pointers that lead nowhere.
#include <malloc.h>

#include <algorithm>
#include <functional>
#include <thread>

#include "component/FrameClasses.h"

namespace kzr::test {
namespace {

const Values kSigned = {L"c1/SN01", L"text"};
constexpr DISPID kSignedData = 5;
constexpr DISPID kHash = 16;

// A fault that the code in which it happens handles itself.
void FaultAndHandle()
{
    FaultCounter::Allow(1);
    EXPECT_TRUE(IsBadReadPtr(reinterpret_cast<const void*>(16), 4));
}

class GuardEdges : public ComponentTest {
  protected:
    void SetUp() override
    {
        ComponentTest::SetUp();
        backend->SetUsers(DefaultUsers());
        m_crypto = Make(kCrypto);
        ASSERT_TRUE(m_crypto);
        backend->Allow(L"SOF_HashData", L"hash");
    }
    void TearDown() override
    {
        m_crypto = nullptr;
        ComponentTest::TearDown();
    }

    CallResult Sign() { return Call(m_crypto.Get(), kSignedData, {L"text", L"c1"}); }

    ComPtr<IDispatch> m_crypto;
};

TEST_F(GuardEdges, AFaultThatTheBackendHandlesIsLeftAlone)
{
    backend->Allow(L"SOF_SignData", Answer(L"signature").Running(FaultAndHandle));
    for (int i = 0; i < 20; ++i) EXPECT_EQ(Value(L"signature"), Sign().value);
    EXPECT_EQ(20, FaultCounter::Planned());
}

TEST_F(GuardEdges, AThrowThatTheBackendCatchesIsLeftAlone)
{
    backend->Allow(L"SOF_SignData", Answer(L"signature").Running([] {
        try {
            RaiseFault(FaultKind::CompilersThrow);
        } catch (const std::exception&) {
        }
    }));
    for (int i = 0; i < 20; ++i) EXPECT_EQ(Value(L"signature"), Sign().value);
}

TEST_F(GuardEdges, AnotherThreadsFaultIsNoneOfOurs)
{
    backend->Allow(L"SOF_SignData", Answer(L"signature").Running([] {
        std::thread([] {
            for (int i = 0; i < 10; ++i) FaultAndHandle();
        }).join();
    }));
    EXPECT_EQ(Value(L"signature"), Sign().value);
    EXPECT_EQ(10, FaultCounter::Planned());
}

TEST_F(GuardEdges, ThreadsThatFaultAtOnceGetALineEach)
{
    allowFatalErrors = true;
    constexpr int kThreads = 4, kCalls = 25;
    backend->Allow(L"SOF_SignData", Faults(FaultKind::Write));
    log->Take();
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([this] {
            CoInitializeEx(nullptr, COINIT_MULTITHREADED);
            for (int n = 0; n < kCalls; ++n) EXPECT_EQ(S_OK, Sign().result);
            CoUninitialize();
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(std::size_t{kThreads * kCalls}, FatalLines(log->Take()).size());
    EXPECT_EQ(0, backend->Overlaps());

    backend->Allow(L"SOF_SignData", L"signature");
    EXPECT_EQ(Value(L"signature"), Sign().value);
}

// What a backend lets in while it works is a call of its own.
TEST_F(GuardEdges, AReentrantCallHasItsOwnGuard)
{
    allowFatalErrors = true;
    for (const FaultKind kind : kAllFaults) {
        SCOPED_TRACE(NameOf(kind));
        backend->Allow(L"SOF_HashData", Faults(kind));
        CallResult inner;
        backend->Allow(L"SOF_SignData",
                       Answer(L"signature").Running([&] { inner = Call(m_crypto.Get(), kHash, {L"x"}); }));
        log->Take();
        const CallResult outer = Sign();
        EXPECT_EQ(S_OK, inner.result);
        EXPECT_EQ(L"", inner.value.AsText());
        EXPECT_EQ(Value(L"signature"), outer.value) << "the outer call goes on";
        ExpectLog({FatalLine(kSharedCrypto, kHash)}, FatalLines(log->Take()), "Crypto");
    }
}

TEST_F(GuardEdges, AReentrantCallThroughTheVtableHasItsOwnGuardToo)
{
    allowFatalErrors = true;
    backend->Allow(L"SOF_HashData", Faults(FaultKind::Read));
    backend->Allow(L"SOF_SignData", Answer(L"signature").Running([&] {
        EXPECT_EQ(S_OK, Direct(&ICrypto::Hash)(m_crypto.Get(), {L"x"}).result);
    }));
    log->Take();
    EXPECT_EQ(Value(L"signature"), Direct(&ICrypto::signedData)(m_crypto.Get(), {L"text", L"c1"}).value);
    ExpectLog({FatalLine(kSharedCrypto, kHash)}, FatalLines(log->Take()), "Crypto");
}

TEST_F(GuardEdges, AFaultAfterAReentrantOneIsTheOuterCallsOwn)
{
    allowFatalErrors = true;
    backend->Allow(L"SOF_HashData", Faults(FaultKind::Execute));
    backend->Allow(L"SOF_SignData",
                   Faults(FaultKind::Division).Running([&] { Call(m_crypto.Get(), kHash, {L"x"}); }));
    log->Take();
    EXPECT_EQ(S_OK, Sign().result);
    ExpectLog({FatalLine(kSharedCrypto, kHash), FatalLine(kSharedCrypto, kSignedData)},
              FatalLines(log->Take()), "Crypto");
}

TEST_F(GuardEdges, AReentrantCallOfAnotherObjectIsLoggedAsThatObjects)
{
    allowFatalErrors = true;
    const ComPtr<IDispatch> util = Make(kUtil);
    backend->Allow(L"SOF_Base64Encode", Faults(FaultKind::Read));
    backend->Allow(L"SOF_SignData",
                   Answer(L"signature").Running([&] { Call(util.Get(), DISPID{1}, {L"x"}); }));
    log->Take();
    EXPECT_EQ(Value(L"signature"), Sign().value);
    ExpectLog({FatalLine(kSharedUtil, 1)}, FatalLines(log->Take()), "Util");
}

TEST_F(GuardEdges, TheCallersLastReferenceMayGoInsideTheCall)
{
    allowFatalErrors = true;
    for (const bool direct : {false, true}) {
        for (const bool faults : {false, true}) {
            ComPtr<ICrypto> object;
            ASSERT_EQ(S_OK, dll->Create(kCrypto.clsid, __uuidof(ICrypto), object.putVoid()));
            ICrypto* const raw = object.Get();
            Answer answer = faults ? Faults(FaultKind::Write) : Answer(L"signature");
            backend->Allow(L"SOF_SignData", answer.Running([&] { object = nullptr; }));
            const Value text(L"text"), container(L"c1");
            BSTR signature = nullptr;
            EXPECT_EQ(S_OK, direct ? raw->signedData(text.Get().bstrVal, container.Get().bstrVal, &signature)
                                   : Call(raw, kSignedData, {text, container}).result);
            SysFreeString(signature);
        }
    }
    EXPECT_EQ(1, backend->LiveControls());
}

// Our own code faults when a caller hands it such pointers; the caller still gets an answer.
TEST_F(GuardEdges, PointersThatLeadNowhereAreCaught)
{
    allowFatalErrors = true;
    ComPtr<ICrypto> crypto;
    ASSERT_EQ(S_OK, m_crypto->QueryInterface(__uuidof(ICrypto), crypto.putVoid()));
    const auto bad = reinterpret_cast<BSTR>(0x50);
    const Value text(L"text"), container(L"c1");
    backend->Allow(L"SOF_SignData", L"signature");
    for (int i = 0; i < 10; ++i) {
        BSTR answer = nullptr;
        log->Take();
        FaultCounter::Allow(1);
        EXPECT_EQ(S_OK, crypto->signedData(text.Get().bstrVal, bad, &answer));
        FaultCounter::Allow(1);
        EXPECT_EQ(S_OK, crypto->signedData(text.Get().bstrVal, container.Get().bstrVal,
                                           reinterpret_cast<BSTR*>(0x50)));
        EXPECT_EQ(nullptr, answer);
        ExpectLog({FatalLine(kSharedCrypto, kSignedData), FatalLine(kSharedCrypto, kSignedData)},
                  FatalLines(log->Take()), "Crypto");
        EXPECT_EQ(Value(L"signature"), Sign().value);
    }
}

TEST_F(GuardEdges, ANameThatLeadsNowhereIsAnsweredWithAFailure)
{
    auto* bad = reinterpret_cast<OLECHAR*>(0x50);
    DISPID id = 7;
    for (int i = 0; i < 10; ++i) {
        FaultCounter::Allow(1);
        EXPECT_EQ(E_FAIL, m_crypto->GetIDsOfNames(IID_NULL, &bad, 1, 0x0400, &id));
    }
    EXPECT_EQ(S_OK, Member(L"Hash").Find(m_crypto.Get(), id));
    EXPECT_EQ(kHash, id);
}

TEST_F(GuardEdges, ACallerWhoWantsNoAnswerGetsNone)
{
    ComPtr<ICrypto> crypto;
    ASSERT_EQ(S_OK, m_crypto->QueryInterface(__uuidof(ICrypto), crypto.putVoid()));
    const Value text(L"text"), container(L"c1");
    backend->Expect(L"SOF_SignData", kSigned, L"signature");
    EXPECT_EQ(S_OK, crypto->signedData(text.Get().bstrVal, container.Get().bstrVal, nullptr));
}

// Runs a body on a thread of its own with this much of the stack left.
struct LittleStack {
    std::size_t left;
    std::function<void()> body;
};

[[gnu::noinline]] void RunWithLittle(const LittleStack& little)
{
    // The lowest address of this thread's stack, as the thread block gives it.
    const auto lowest = static_cast<std::uintptr_t>(__readgsqword(0x1478));
    const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    auto* const used = static_cast<volatile char*>(_alloca(here - lowest - little.left));
    used[0] = 1;
    little.body();
}

DWORD WINAPI LittleStackThread(void* context)
{
    RunWithLittle(*static_cast<LittleStack*>(context));
    return 0;
}

TEST_F(GuardEdges, ACallerWithVeryLittleStackGetsAnAnswer)
{
    allowFatalErrors = true;
    backend->Allow(L"SOF_SignData", L"signature");
    ComPtr<ICrypto> crypto;
    ASSERT_EQ(S_OK, m_crypto->QueryInterface(__uuidof(ICrypto), crypto.putVoid()));
    Value text(L"text"), container(L"c1");
    VARIANT reversed[] = {container.Get(), text.Get()};
    for (const std::size_t kilobytes : {12u, 16u, 20u, 24u, 32u, 48u, 64u, 96u, 100u, 104u, 110u, 120u, 130u,
                                        150u, 158u, 170u, 200u, 400u}) {
        SCOPED_TRACE(kilobytes);
        HRESULT direct = E_FAIL, dispatched = E_FAIL;
        // An answer's place holds anything before the call, and must not after it.
        const auto garbage = reinterpret_cast<BSTR>(0x50);
        BSTR answer = garbage;
        VARIANT result;
        VariantInit(&result);
        LittleStack little{kilobytes * 1024, [&] {
                               direct =
                                   crypto->signedData(text.Get().bstrVal, container.Get().bstrVal, &answer);
                               DISPPARAMS parameters{reversed, nullptr, 2, 0};
                               dispatched = m_crypto->Invoke(kSignedData, IID_NULL, 0x0400, DISPATCH_METHOD,
                                                             &parameters, &result, nullptr, nullptr);
                           }};
        const HANDLE thread = CreateThread(nullptr, 1024 * 1024, LittleStackThread, &little,
                                           STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
        ASSERT_TRUE(thread);
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
        EXPECT_EQ(S_OK, direct);
        EXPECT_EQ(S_OK, dispatched);
        ASSERT_NE(garbage, answer);
        const std::wstring got = answer ? answer : L"";
        SysFreeString(answer);
        const Value dispatchedAnswer = Value::Adopt(result);
        EXPECT_EQ(kilobytes >= 200 ? L"signature" : L"", kilobytes >= 200 || kilobytes < 150 ? got : L"");
        EXPECT_TRUE(dispatchedAnswer.AsText() == L"signature" || dispatchedAnswer.AsText().empty());
        EXPECT_EQ(Value(L"signature"), Sign().value) << "the next caller is served";
    }
}

TEST_F(GuardEdges, AnOverflowOfASmallStackIsSurvivedTwice)
{
    allowFatalErrors = true;
    for (const SIZE_T kilobytes : {256u, 512u, 1024u, 4096u}) {
        SCOPED_TRACE(kilobytes);
        backend->Allow(L"SOF_SignData", Faults(FaultKind::StackOverflow));
        HRESULT results[3] = {E_FAIL, E_FAIL, E_FAIL};
        Value last;
        struct Job {
            std::function<void()> body;
        } job{[&] {
            for (int i = 0; i < 2; ++i) results[i] = Sign().result;
            backend->Allow(L"SOF_SignData", L"signature");
            const CallResult good = Sign();
            results[2] = good.result;
            last = good.value;
        }};
        log->Take();
        const HANDLE thread = CreateThread(
            nullptr, kilobytes * 1024,
            [](void* context) -> DWORD {
                static_cast<Job*>(context)->body();
                return 0;
            },
            &job, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
        ASSERT_TRUE(thread);
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
        for (const HRESULT result : results) EXPECT_EQ(S_OK, result);
        EXPECT_EQ(Value(L"signature"), last);
        EXPECT_EQ(2u, FatalLines(log->Take()).size());
    }
}

TEST_F(GuardEdges, AThreadMayOverflowItsStackManyTimes)
{
    allowFatalErrors = true;
    backend->Allow(L"SOF_SignData", Faults(FaultKind::StackOverflow));
    log->Take();
    for (int i = 0; i < 30; ++i) EXPECT_EQ(S_OK, Sign().result);
    EXPECT_EQ(30u, FatalLines(log->Take()).size());
}

}  // namespace
}  // namespace kzr::test
