// The module comes and goes while many threads want it, and processes end while many threads are inside it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <numeric>
#include <thread>
#include <vector>

#include "Area.h"
#include "Holdings.h"
#include "Planted.h"
#include "QuietBench.h"
#include "ThreadApartments.h"
#include "Watchdog.h"
#include "support/LogReader.h"
#include "support/Rounds.h"

namespace kzr::test {
namespace {

constexpr int kThreads = 8;

struct Tally {
    std::atomic<long> failed{0};
    std::atomic<long> cycles{0};
    std::atomic<long> unloads{0};
};

// Each loads the module for itself, makes an object, calls it, and lets all go: whoever is last unloads it.
void LoadCallUnload(ScriptedBackend& backend, int cycles, Watchdog& watchdog, Tally& tally)
{
    const std::wstring path = QuietDll();
    Gathering all(kThreads);
    tally.failed += RunInApartments(backend, kThreads, [&](int number) {
        for (int i = 0; i < cycles; ++i) {
            {
                const TestDll dll(path);
                const ComPtr<IDispatch> object = dll.Create<IDispatch>(kCrypto.clsid);
                const wchar_t* const method = i % 5 == number % 5 ? L"generateRandom" : L"signedData";
                const Values arguments = i % 5 == number % 5 ? Values{I2(8)} : Values{L"text", L"c1"};
                tally.failed += !object || Call(object.Get(), method, arguments).result != S_OK;
            }
            ++tally.cycles;
            watchdog.Beat("load, call, unload", i);
            // Now and then all have let go, and load it again at the same moment.
            if (i % 4 == 3) {
                all.Wait();
                tally.unloads += GetModuleHandleW(L"KzrSecX_x64.dll") == nullptr;
                all.Wait();
            }
            if (number == 0 && i % 50 == 0) backend.ForgetCalls();
        }
    });
}

KZR_CHILD(LoadsAndUnloadsOnEightThreads)
{
    Watchdog watchdog(60000);
    QuietBench bench;
    // Every fifth call faults, so that each thread leaves what the runtime keeps for a throw.
    bench.backend->Allow(L"SOF_GenRandom", Faults(FaultKind::Read));
    bench.dll->Unload();
    Tally tally;
    const auto stretch = [&](int cycles) {
        LoadCallUnload(*bench.backend, cycles, watchdog, tally);
        bench.backend->ForgetCalls();
        return CountHoldings();
    };
    // All let go in every fourth cycle: a smaller count would never unload it.
    const int cycles = std::max(8, Rounds(25, 600));
    stretch(cycles / 3 + 1);
    const Holdings first = stretch(cycles);
    const Holdings second = stretch(cycles);
    const Holdings third = stretch(cycles);
    // A table of the platform's that doubles grows once in a while; a leak grows every time.
    const std::string before = GrowthBetween(first, second, cycles * kThreads);
    const std::string after = GrowthBetween(second, third, cycles * kThreads);
    std::printf("%ld cycles, %ld times unloaded, %ld failed, %ld faults unplanned\ngrown: %s, then %s\n",
                tally.cycles.load(), tally.unloads.load(), tally.failed.load(), FaultCounter::Unplanned(),
                before.c_str(), after.c_str());
    Did("reload", tally.cycles, "cycles on eight threads");
    bench.dll->Load();
    if (tally.failed != 0 || FaultCounter::Unplanned() != 0) return 1;
    if (tally.unloads < tally.cycles / 8) return 2;
    return before.empty() || after.empty() ? 0 : 3;
}

TEST(ReloadUnderContention, LeavesNothingBehindAndHangsNobody)
{
    const ChildResult ended = RunWithoutTextCache("LoadsAndUnloadsOnEightThreads", 300000);
    EXPECT_EQ(0u, ended.code) << "1: a failed call or fault, 2: never unloaded, 3: growth\n" << ended.output;
    std::fputs(ended.output.c_str(), stdout);
}

// How the processes end that are not to count as good ends.
constexpr unsigned kNotBusy = 9, kThreadDied = 77, kFaultAtEnd = 78;

LONG CALLBACK EndWithCode(EXCEPTION_POINTERS*)
{
    TerminateProcess(GetCurrentProcess(), kThreadDied);
    return EXCEPTION_EXECUTE_HANDLER;
}

// The loader swallows what faults while the modules hear of the process's end: no filter would see it.
LONG CALLBACK EndWithCodeOfTheEnd(EXCEPTION_POINTERS* pointers)
{
    if (pointers->ExceptionRecord->ExceptionCode == static_cast<DWORD>(EXCEPTION_ACCESS_VIOLATION))
        TerminateProcess(GetCurrentProcess(), kFaultAtEnd);
    return EXCEPTION_CONTINUE_SEARCH;
}

// The process ends in the middle of it. A thread that dies of it, and a module that faults on its way out,
// must show in the exit code.
int EndBusy(const std::function<void(std::atomic<long>&)>& forever, ULONGLONG patience = 20000)
{
    static std::atomic<long> calls[kThreads];
    SetUnhandledExceptionFilter(EndWithCode);
    for (std::atomic<long>& own : calls) std::thread([&] { forever(own); }).detach();
    const auto allHaveCalled = [] {
        return std::all_of(std::begin(calls), std::end(calls), [](const auto& own) { return own != 0; });
    };
    const ULONGLONG limit = GetTickCount64() + patience;
    while (!allHaveCalled() && GetTickCount64() < limit) Sleep(1);
    Sleep(GetTickCount64() % 20);
    std::printf("%ld calls\n", std::accumulate(std::begin(calls), std::end(calls), 0L));
    std::fflush(stdout);
    if (!allHaveCalled()) TerminateProcess(GetCurrentProcess(), kNotBusy);
    AddVectoredExceptionHandler(1, EndWithCodeOfTheEnd);
    // Not by returning: this program's own globals would go first, under the feet of its threads.
    ExitProcess(0);
}

KZR_CHILD(EndsWithBusyThreads)
{
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    // Never destroyed: only the process goes.
    auto& backend = *new ScriptedBackend();
    AnswerEverything(backend);
    auto& dll = *new TestDll();
    return EndBusy([&](std::atomic<long>& calls) {
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        const RegisteredHere registered(backend);
        for (;;) {
            const ComPtr<IDispatch> crypto = dll.Create<IDispatch>(kCrypto.clsid);
            Call(crypto.Get(), L"signedData", {L"text", L"c1"});
            Call(crypto.Get(), L"generateRandom", {I2(8)});
            ++calls;
        }
    });
}

// The same with a DLL that does nothing unasked: what is lost here is lost by the platform.
KZR_CHILD(EndsWithThreadsBusyElsewhere)
{
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    auto& backend = *new ScriptedBackend();
    AnswerEverything(backend);
    if (!MakePlanted()) return kNotBusy;
    return EndBusy([&](std::atomic<long>& calls) {
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        const RegisteredHere registered(backend);
        for (;;) {
            ComPtr<IDispatch> control;
            CoCreateInstance(kBackendClass, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, control.putVoid());
            backend.ForgetCalls();
            ++calls;
        }
    });
}

int BadEndsOf(const char* part, int times)
{
    int bad = 0;
    for (int i = 0; i < times; ++i) {
        const ChildResult ended = RunChild(part, L"", 30000);
        DeleteFileW(LogPathOf(L"kzr_hardening_tests.exe", ended.processId).c_str());
        if (ended.code == 0 && ended.output.find(" calls") != std::string::npos) continue;
        EXPECT_NE(kNotBusy, ended.code) << part << ": nothing was busy when it ended";
        std::printf("%s ended with %lx: %s\n", part, ended.code, ended.output.c_str());
        ++bad;
    }
    return bad;
}

// The plants: a thread that dies, a module that faults when it hears of the end, a thread that never calls.
KZR_CHILD(EndsWithAThreadThatDies)
{
    return EndBusy([](std::atomic<long>& calls) {
        *reinterpret_cast<volatile int*>(static_cast<std::uintptr_t>(calls) % 8 + 16) = 1;
    });
}

void CountForEver(std::atomic<long>& calls)
{
    for (;; Sleep(1)) ++calls;
}

int EndWithPlanted(Bug bug)
{
    const ComPtr<IDispatch> object = MakePlanted();
    if (!object || CallPlanted(object.Get(), bug).result != S_OK) return kNotBusy;
    return EndBusy(CountForEver);
}

KZR_CHILD(EndsWithAModuleThatFaults) { return EndWithPlanted(Bug::FaultAtEnd); }
KZR_CHILD(EndsWithAQuietModule) { return EndWithPlanted(Bug::None); }

KZR_CHILD(EndsWithAnIdleThread)
{
    static std::atomic<int> begun{0};
    return EndBusy(
        [](std::atomic<long>& calls) {
            if (++begun == kThreads) Sleep(INFINITE);
            CountForEver(calls);
        },
        2000);
}

TEST(ProcessEndPlants, AThreadThatDiesIsFound)
{
    EXPECT_EQ(kThreadDied, RunChild("EndsWithAThreadThatDies").code);
    EXPECT_EQ(1, BadEndsOf("EndsWithAThreadThatDies", 1));
}

TEST(ProcessEndPlants, AFaultOfAModuleThatHearsOfTheEndIsFound)
{
    EXPECT_EQ(kFaultAtEnd, RunChild("EndsWithAModuleThatFaults").code);
    EXPECT_EQ(1, BadEndsOf("EndsWithAModuleThatFaults", 1));
    EXPECT_EQ(0, BadEndsOf("EndsWithAQuietModule", 1));
}

TEST(ProcessEndPlants, AThreadThatNeverCallsIsFound)
{
    EXPECT_EQ(kNotBusy, RunChild("EndsWithAnIdleThread").code);
}

TEST(ProcessEnd, WithBusyThreadsIsNoWorseThanWithAnIdleDll)
{
    const int times = Rounds(10, 200);
    const int elsewhere = BadEndsOf("EndsWithThreadsBusyElsewhere", times);
    const int inside = BadEndsOf("EndsWithBusyThreads", times);
    std::printf("%d bad ends of %d with an idle DLL, %d with the component\n", elsewhere, times, inside);
    EXPECT_LE(inside, elsewhere);
    Did("reload", times, "process ends with busy threads");
}

}  // namespace
}  // namespace kzr::test
