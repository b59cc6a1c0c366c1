// The module comes and goes in a process that lives on, and leaves nothing behind; and many threads use it at
// once.
#include <openssl/crypto.h>

#include <algorithm>
#include <cstdio>
#include <thread>

#include "softkey/server/ServerTest.h"
#include "softkey/server/Sink.h"
#include "support/ChildProcess.h"
#include "support/ComponentTest.h"
#include "support/Resources.h"

namespace kzr::test {
namespace {

using namespace kzr::softkey;

// Something of every library that is linked: digests, XML, certificates, and events.
bool UseTheModule(const TestDll& dll, const SoftKeyHome& home)
{
    const ComPtr<IDispatch> control = dll.Create<IDispatch>(kServerClass);
    if (!control) return false;
    Sink sink;
    DWORD cookie = 0;
    if (FAILED(PointOf(control.Get())->Advise(&sink, &cookie))) return false;
    const CallResult certificate = Call(control.Get(), L"SOF_ExportUserCert", {kAlice});
    const CallResult valid = Call(control.Get(), L"SOF_ValidateCert", {certificate.value});
    const CallResult xml = Call(control.Get(), L"SOF_VerifySignedDataXML", {L"<a><b/></a>"});
    const CallResult broken = Call(control.Get(), L"SOF_VerifySignedDataXML", {L"<a>"});
    const CallResult envelope = Call(control.Get(), L"SOF_EncryptDataEx", {certificate.value, L"text"});
    home.Pull("SN02");
    const bool pulled = PumpUntil([&] { return sink.events.size() == 1; });
    home.Plug("SN02");
    const bool plugged = PumpUntil([&] { return sink.events.size() == 2; });
    PointOf(control.Get())->Unadvise(cookie);
    return valid.value == I4(0) && xml.value == Bool(false) && broken.result == kBadData &&
           envelope.result == S_OK && pulled && plugged;
}

bool UseItOnAThreadThatEnds(const TestDll& dll, const SoftKeyHome& home)
{
    bool done = false;
    std::thread([&] {
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        done = UseTheModule(dll, home);
        CoUninitialize();
        // This program's own copy of the library, by which the store plugs keys.
        OPENSSL_thread_stop();
    }).join();
    return done;
}

void Print(const char* when, const ResourceCount& count)
{
    std::printf(
        "%s: %llu bytes in %llu blocks, %llu handles, %llu slots free\n", when,
        static_cast<unsigned long long>(count.heapBytes), static_cast<unsigned long long>(count.heapBlocks),
        static_cast<unsigned long long>(count.handles), static_cast<unsigned long long>(count.freeTlsSlots));
}

// 0 when nothing has grown; else which thing has.
int GrowthSince(const ResourceCount& first)
{
    const ResourceCount last = CountResources();
    Print("after the warm-up", first);
    Print("at the end", last);
    // Noise of the platform: far less than one small block for each cycle.
    constexpr std::size_t kNoiseBlocks = 20, kNoiseBytes = 8192;
    if (last.heapBlocks > first.heapBlocks + kNoiseBlocks || last.heapBytes > first.heapBytes + kNoiseBytes)
        return 1;
    if (last.handles > first.handles + 2) return 2;
    return last.freeTlsSlots < first.freeTlsSlots ? 3 : 0;
}

using Cycle = bool (*)(const TestDll& dll, const SoftKeyHome& home);

// 0, which thing has grown, or from 10 the cycle that failed.
int RunCycles(Cycle cycle, int count)
{
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    int failure = 0;
    {
        const SoftKeyHome home;
        ResourceCount first;
        for (int i = 0; i < count && failure == 0; ++i) {
            if (i == count / 3) first = CountResources();
            const TestDll dll(SoftKeyDll());
            if (!dll || !cycle(dll, home) || dll.CanUnloadNow() != S_OK) failure = 10 + i;
        }
        const int growth = GrowthSince(first);
        if (failure == 0) failure = growth;
    }
    CoUninitialize();
    return failure;
}

KZR_CHILD(ReloadCycles) { return RunCycles(UseTheModule, 300); }
KZR_CHILD(ReloadCyclesOnThreads) { return RunCycles(UseItOnAThreadThatEnds, 150); }

void ExpectNoGrowth(const char* child)
{
    const ChildResult ended = RunChild(child, L"", 300000);
    EXPECT_TRUE(ended.started);
    EXPECT_EQ(0u, ended.code) << "1: heap, 2: handles, 3: thread-local slots, from 10: failed in that cycle\n"
                              << ended.output;
    EXPECT_NE(std::string::npos, ended.output.find("at the end")) << ended.output;
}

TEST(ServerModule, ItComesAndGoesThreeHundredTimesAndNothingGrows) { ExpectNoGrowth("ReloadCycles"); }
TEST(ServerModule, ThreadsThatUsedItAndEndedLeaveNothing) { ExpectNoGrowth("ReloadCyclesOnThreads"); }

// Successes of everything that allocates, ...
bool CallsThatGoWell(IDispatch* control, const Value& certificate)
{
    const Value signature = Call(control, L"SOF_SignData", {kAlice, L"text"}).value;
    const Value message = Call(control, L"SOF_SignMessage", {I2(0), kCarol, L"text"}).value;
    const Value document = Call(control, L"SOF_SignDataXML", {kAlice, L"<a><b/></a>"}).value;
    const Value envelope = Call(control, L"SOF_EncryptDataEx", {certificate, L"text"}).value;
    return Call(control, L"SOF_VerifySignedData", {certificate, L"text", signature}).value == Bool(true) &&
           Call(control, L"SOF_VerifySignedMessage", {message, L""}).value == Bool(true) &&
           Call(control, L"SOF_VerifySignedDataXML", {document}).value == Bool(true) &&
           Call(control, L"SOF_DecryptData", {kAlice, envelope}).value == Value(L"text") &&
           Call(control, L"SOF_ValidateCert", {certificate}).value == I4(0);
}

// ... and failures.
bool CallsThatFail(IDispatch* control)
{
    const Value nowhere = Value::Raw(VT_BYREF | VT_I2, 16);
    return Call(control, L"SOF_VerifySignedMessage", {L"MIIB", L""}).result == kBadData &&
           Call(control, L"SOF_VerifySignedDataXML", {L"<a>"}).result == kBadData &&
           Call(control, L"SOF_DecryptData", {kAlice, L"MIIB"}).result == kBadData &&
           Call(control, L"SOF_SymDecryptData", {L"key", L"AAAA"}).result == kBadData &&
           Call(control, L"SOF_GetCertInfo", {L"MIIB", I2(1)}).result == kBadData &&
           Call(control, L"SOF_SignData", {kWang, L"text"}).result == kNotLoggedIn &&
           Call(control, L"SOF_HashData", {nowhere, L""}).result == DISP_E_TYPEMISMATCH;
}

// In a process that keeps the module.
KZR_CHILD(ManyCalls)
{
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    int failure = 0;
    {
        const SoftKeyHome home;
        const TestDll dll(SoftKeyDll());
        const ComPtr<IDispatch> control = dll.Create<IDispatch>(kServerClass);
        if (Call(control.Get(), L"SOF_Login", {kAlice, kWidePin}).value != Bool(true)) failure = 10;
        const Value certificate = Call(control.Get(), L"SOF_ExportUserCert", {kAlice}).value;
        ResourceCount first;
        constexpr int kRounds = 120;
        for (int i = 0; i < kRounds && failure == 0; ++i) {
            if (i == kRounds / 3) first = CountResources();
            if (!CallsThatGoWell(control.Get(), certificate) || !CallsThatFail(control.Get()))
                failure = 11 + i;
        }
        const int growth = GrowthSince(first);
        if (failure == 0) failure = growth;
        // Ends the login, and with it what keeps the module.
        home.Pull("SN01");
    }
    CoUninitialize();
    return failure;
}

TEST(ServerModule, ManyCallsGrowNothing) { ExpectNoGrowth("ManyCalls"); }

KZR_CHILD(EndsLoggedIn)
{
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const SoftKeyHome home;
    const TestDll dll(SoftKeyDll());
    // Leaked on purpose: the process ends with all of it alive.
    IDispatch* const control = dll.Create<IDispatch>(kServerClass).Detach();
    static Sink sink;
    DWORD cookie = 0;
    PointOf(control)->Advise(&sink, &cookie);
    const bool in = Call(control, L"SOF_Login", {kAlice, kWidePin}).value == Bool(true);
    std::printf("%s\n", in ? "logged in" : "not logged in");
    std::fflush(stdout);
    return in ? 0 : 1;
}

TEST(ServerModule, AProcessMayEndInTheMiddleOfEverything)
{
    const ChildResult ended = RunChild("EndsLoggedIn");
    EXPECT_EQ(0u, ended.code) << ended.output;
    EXPECT_NE(std::string::npos, ended.output.find("logged in")) << ended.output;
}

class ServerThreads : public ServerTest {};

TEST_F(ServerThreads, ManyThreadsSignAndVerifyAtOnceOnOneControl)
{
    LogIn(kAlice);
    const Value certificate = Ask(L"SOF_ExportUserCert", {kAlice});
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 6; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 5; ++round) {
                const Value text = std::to_wstring(i * 100 + round);
                const Value signature = Call(L"SOF_SignData", {kAlice, text}).value;
                if (Call(L"SOF_VerifySignedData", {certificate, text, signature}).value == Bool(true)) ++good;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(30, good);
}

TEST_F(ServerThreads, EventsAndLoginsComeAndGoWhileOthersWork)
{
    std::atomic<bool> done{false};
    std::atomic<int> odd{0};
    std::thread worker([&] {
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        const ComPtr<IDispatch> own = NewControl();
        while (!done) {
            const HRESULT result = kzr::test::Call(own.Get(), L"SOF_SignData", {kWang, L"text"}).result;
            if (result != S_OK && result != kNotLoggedIn && result != kUnknownKey) ++odd;
        }
        CoUninitialize();
    });
    for (int round = 0; round < 10; ++round) {
        Sink sink;
        DWORD cookie = 0;
        EXPECT_EQ(S_OK, PointOf(control.Get())->Advise(&sink, &cookie));
        LogIn(kWang);
        home->Pull("SN02");
        EXPECT_TRUE(PumpUntil([&] { return sink.events.size() == 1; })) << round;
        home->Plug("SN02");
        EXPECT_TRUE(PumpUntil([&] { return sink.events.size() == 2; })) << round;
        EXPECT_EQ(S_OK, PointOf(control.Get())->Unadvise(cookie));
    }
    done = true;
    worker.join();
    EXPECT_EQ(0, odd);
}

}  // namespace
}  // namespace kzr::test
