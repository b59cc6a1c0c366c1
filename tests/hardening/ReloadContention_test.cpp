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

class Tally {
  public:
    std::atomic<long> failed{0};
    std::atomic<long> cycles{0};
    // How often all had let go, and how often it was gone then, seen by each thread.
    std::atomic<long> partings{0};
    std::atomic<long> unloads{0};

    void Fail(int thread, int cycle, const wchar_t* method, const CallResult& called)
    {
        // The others have nothing to say that the first has not.
        if (failed++ == 0)
            snprintf(m_first, sizeof(m_first), "thread %d, cycle %d: %ls answered %lx (exception %lx)",
                     thread, cycle, method, called.result, called.exception);
    }
    // "" when nothing failed. Not while the threads run.
    const char* FirstFailure() const { return m_first; }

  private:
    char m_first[160] = "";
};

// Each loads the module for itself, makes an object, calls it, and lets all go: whoever is last unloads it.
void LoadCallUnload(ScriptedBackend& backend, int cycles, Watchdog& watchdog, Tally& tally)
{
    const std::wstring path = QuietDll();
    Gathering all(kThreads);
    const int idle = RunInApartments(backend, kThreads, [&](int number) {
        for (int i = 0; i < cycles; ++i) {
            {
                const TestDll dll(path);
                ComPtr<IDispatch> object;
                CallResult called;
                called.result = dll.Create(kCrypto.clsid, IID_IDispatch, object.putVoid());
                if (!object) tally.Fail(number, i, L"making the object", called);
                const wchar_t* const method = i % 5 == number % 5 ? L"generateRandom" : L"signedData";
                const Values arguments = i % 5 == number % 5 ? Values{I2(8)} : Values{L"text", L"c1"};
                if (object) called = Call(object.Get(), method, arguments);
                if (object && called.result != S_OK) tally.Fail(number, i, method, called);
            }
            ++tally.cycles;
            watchdog.Beat("load, call, unload", i);
            // Now and then all have let go, and load it again at the same moment.
            if (i % 4 == 3) {
                all.Wait();
                ++tally.partings;
                tally.unloads += GetModuleHandleW(L"KzrSecX_x64.dll") == nullptr;
                all.Wait();
            }
            if (number == 0 && i % 50 == 0) backend.ForgetCalls();
        }
    });
    if (idle > 0) tally.Fail(idle, 0, L"beginning so many threads", {});
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
    std::printf("%ld cycles, unloaded %ld of %ld times, %ld faults unplanned\ngrown: %s, then %s\n",
                tally.cycles.load(), tally.unloads.load(), tally.partings.load(), FaultCounter::Unplanned(),
                before.c_str(), after.c_str());
    if (tally.failed != 0) std::printf("%ld failed, first %s\n", tally.failed.load(), tally.FirstFailure());
    Did("reload", tally.cycles, "cycles on eight threads");
    bench.dll->Load();
    if (tally.failed != 0 || FaultCounter::Unplanned() != 0) return 1;
    if (tally.unloads < tally.partings) return 2;
    return before.empty() || after.empty() ? 0 : 3;
}

TEST(ReloadUnderContention, LeavesNothingBehindAndHangsNobody)
{
    const ChildResult ended = RunWithoutTextCache("LoadsAndUnloadsOnEightThreads", 300000);
    EXPECT_EQ(0u, ended.code) << "1: a failed call or fault, 2: still loaded when all had let go, 3: growth\n"
                              << ended.output;
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

bool EndsBadly(const char* part)
{
    const ChildResult ended = RunChild(part, L"", 30000);
    DeleteFileW(LogPathOf(L"kzr_hardening_tests.exe", ended.processId).c_str());
    if (ended.code == 0 && ended.output.find(" calls") != std::string::npos) return false;
    EXPECT_NE(kNotBusy, ended.code) << part << ": nothing was busy when it ended";
    std::printf("%s ended with %lx: %s\n", part, ended.code, ended.output.c_str());
    return true;
}

// How many bad ends of so many on either side.
struct Ends {
    int times = 0;
    int inside = 0;
    int elsewhere = 0;
};

// What is lost without the component hides what is lost with it.
bool TellsNothing(const Ends& ends) { return ends.elsewhere * 5 > ends.times; }

// A single end more is a finding: of 800 on either side none was bad.
bool IsWorse(const Ends& ends) { return ends.inside > ends.elsewhere; }

// Both sides in turn, so that they meet the same machine. A platform that loses an end now and then may do so
// on either side: what a few ends leave open, more of them answer.
Ends Compare(const char* inside, const char* elsewhere, int times, int more)
{
    Ends ends;
    const auto tryTimes = [&](int wanted) {
        for (int i = 0; i < wanted; ++i, ++ends.times) {
            ends.elsewhere += EndsBadly(elsewhere);
            ends.inside += EndsBadly(inside);
        }
    };
    tryTimes(times);
    if (ends.inside > ends.elsewhere || TellsNothing(ends)) tryTimes(more);
    std::printf("%d bad ends of %d with an idle DLL, %d with the component\n", ends.elsewhere, ends.times,
                ends.inside);
    return ends;
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
    EXPECT_TRUE(EndsBadly("EndsWithAThreadThatDies"));
}

TEST(ProcessEndPlants, AFaultOfAModuleThatHearsOfTheEndIsFound)
{
    EXPECT_EQ(kFaultAtEnd, RunChild("EndsWithAModuleThatFaults").code);
    const Ends ends = Compare("EndsWithAModuleThatFaults", "EndsWithAQuietModule", 1, 9);
    EXPECT_EQ(10, ends.inside);
    EXPECT_FALSE(TellsNothing(ends));
    EXPECT_TRUE(IsWorse(ends));
}

TEST(ProcessEndPlants, AThreadThatNeverCallsIsFound)
{
    EXPECT_EQ(kNotBusy, RunChild("EndsWithAnIdleThread").code);
}

TEST(ProcessEndPlants, APlatformThatLosesManyEndsItselfTellsNothing)
{
    const Ends ends = Compare("EndsWithAQuietModule", "EndsWithAModuleThatFaults", 1, 1);
    EXPECT_EQ(2, ends.elsewhere);
    EXPECT_TRUE(TellsNothing(ends));
}

TEST(ProcessEndPlants, OneBadEndMoreIsAFinding)
{
    EXPECT_FALSE(IsWorse({50, 0, 0}));
    EXPECT_TRUE(IsWorse({50, 1, 0}));
    EXPECT_FALSE(IsWorse({50, 4, 4}));
    EXPECT_TRUE(IsWorse({50, 5, 4}));
    EXPECT_FALSE(IsWorse({50, 0, 30}));
    EXPECT_FALSE(TellsNothing({50, 50, 10}));
    EXPECT_TRUE(TellsNothing({50, 50, 11}));
}

TEST(ProcessEnd, WithBusyThreadsIsNoWorseThanWithAnIdleDll)
{
    const int times = Rounds(10, 200);
    const Ends ends =
        Compare("EndsWithBusyThreads", "EndsWithThreadsBusyElsewhere", times, std::max(times, 40));
    EXPECT_FALSE(TellsNothing(ends)) << "this platform loses more than one end in five by itself";
    EXPECT_FALSE(IsWorse(ends));
    Did("reload", ends.times, "process ends with busy threads");
}

}  // namespace
}  // namespace kzr::test
