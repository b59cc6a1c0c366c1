// The module may come and go in one process a thousand times, whatever was thrown in it meanwhile.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string>
#include <string_view>

#include "Area.h"
#include "OtherThread.h"
#include "Planted.h"
#include "support/ChildProcess.h"
#include "support/ComponentTest.h"
#include "support/Faults.h"
#include "support/LogReader.h"
#include "support/Resources.h"
#include "support/Rounds.h"

namespace kzr::test {
namespace {

// Cycles before the first count; a short run keeps most of its cycles for the comparison.
int WarmUpOf(int count) { return std::min(100, count / 3); }

// What one cycle does between loading and unloading; `number` counts them.
using Cycle = bool (*)(const TestDll& dll, ScriptedBackend& backend, int number);

// The processor faults among them are planned ones; the throws are none.
FaultKind KindOf(int number) { return kAllFaults[number % std::size(kAllFaults)]; }
bool IsThrow(FaultKind kind) { return kind >= FaultKind::CompilersThrow; }

// One object of each class in turn, and a call that ends in each kind of fault in turn.
bool CreateAndFault(const TestDll& dll, ScriptedBackend& backend, int number)
{
    const ScriptedClass* const classes[] = {&kCertificate, &kCrypto, &kDeviceMgr, &kUtil};
    const ComPtr<IDispatch> object = dll.Create<IDispatch>(classes[number % 4]->clsid);
    const ComPtr<IDispatch> crypto = dll.Create<IDispatch>(kCrypto.clsid);
    backend.ForgetCalls();
    backend.Allow(L"SOF_SignData", Faults(KindOf(number)));
    const long plannedBefore = FaultCounter::Planned();
    if (!object || !crypto || FAILED(Call(crypto.Get(), L"signedData", {L"text", L"c1"}).result))
        return false;
    if (FaultCounter::Planned() - plannedBefore != (IsThrow(KindOf(number)) ? 0 : 1)) return false;
    return backend.CallsOf(L"SOF_SignData") == 1;
}

bool FaultOnAThreadThatEnds(const TestDll& dll, ScriptedBackend& backend, int number)
{
    bool done = false;
    backend.Unregister();
    const bool back = ComesBackOnAnotherThread(
        [&] {
            // A class registered in one apartment is not seen in another.
            backend.Register();
            done = CreateAndFault(dll, backend, number);
            backend.Unregister();
        },
        INFINITE, COINIT_APARTMENTTHREADED);  // the whole child has a limit
    return back && done;
}

void PrintCount(const char* when, const ResourceCount& count)
{
    std::printf(
        "%s: %llu bytes in %llu blocks, %llu handles, %llu slots free\n", when,
        static_cast<unsigned long long>(count.heapBytes), static_cast<unsigned long long>(count.heapBlocks),
        static_cast<unsigned long long>(count.handles), static_cast<unsigned long long>(count.freeTlsSlots));
}

long FatalLinesIn(const std::string& log)
{
    constexpr std::string_view kFatal = "receive a fatal error";
    long lines = 0;
    for (std::size_t at = log.find(kFatal); at != std::string::npos; at = log.find(kFatal, at + 1)) ++lines;
    return lines;
}

// Less than one small block for every hundred cycles: noise of the platform, no leak of ours.
int GrownThing(const ResourceCount& first, const ResourceCount& last)
{
    constexpr std::size_t kNoiseBlocks = 12, kNoiseBytes = 4096;
    if (last.freeTlsSlots < first.freeTlsSlots) return 3;
    if (last.handles > first.handles) return 2;
    const bool heapGrew =
        last.heapBlocks > first.heapBlocks + kNoiseBlocks || last.heapBytes > first.heapBytes + kNoiseBytes;
    return heapGrew ? 1 : 0;
}

// What kept a cycle from its good end; null when nothing did.
const char* TroubleOf(Cycle cycle, const TestDll& dll, ScriptedBackend& backend, int number)
{
    if (!dll) return "the module is not loaded";
    if (!cycle(dll, backend, number)) return "what the cycle does failed";
    return dll.CanUnloadNow() == S_OK ? nullptr : "the module cannot be unloaded";
}

// What went wrong, 0 when nothing did; see ExpectNoGrowth. `fatalLines`: of each cycle.
int RunCycles(Cycle cycle, int count, long fatalLines)
{
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    int failure = 0;
    {
        LogReader log;
        const FaultCounter faults;
        ResourceCount first;
        for (int i = 0; i < count && failure == 0; ++i) {
            if (i == WarmUpOf(count)) first = CountResources();
            ScriptedBackend backend;
            backend.SetUsers(DefaultUsers());
            const TestDll dll;
            const char* const trouble = TroubleOf(cycle, dll, backend, i);
            if (trouble) {
                std::printf("cycle %d: %s\n", i, trouble);
                failure = 10 + i;
            }
            const long fatal = FatalLinesIn(log.TakeBytes());
            if (failure == 0 && fatal != fatalLines) {
                std::printf("%ld fatal lines in cycle %d\n", fatal, i);
                failure = 5;
            }
        }
        const ResourceCount last = CountResources();
        PrintCount("after the warm-up", first);
        PrintCount("at the end", last);
        if (FaultCounter::Unplanned() != 0) {
            std::printf("unplanned: %s\n", FaultCounter::FirstUnplanned().c_str());
            if (failure == 0) failure = 4;
        }
        if (failure == 0) failure = GrownThing(first, last);
    }
    CoUninitialize();
    return failure;
}

int CyclesOfAll() { return Rounds(1300, 5000); }
int CyclesOfThreads() { return Rounds(300, 1500); }

KZR_CHILD(CyclesThatFault) { return RunCycles(CreateAndFault, CyclesOfAll(), 1); }
KZR_CHILD(CyclesThatFaultOnThreads) { return RunCycles(FaultOnAThreadThatEnds, CyclesOfThreads(), 1); }

void ExpectNoGrowth(const char* child)
{
    const ChildResult ended = RunChild(child, L"", 300000);
    EXPECT_TRUE(ended.started);
    EXPECT_EQ(0u, ended.code)
        << "1: heap, 2: handles, 3: thread-local slots, 4: a fault that nobody planned, "
           "5: other fatal lines, from 10: failed in that cycle\n"
        << ended.output;
    EXPECT_NE(std::string::npos, ended.output.find("at the end")) << ended.output;
}

// The plants for them: what each cycle leaves behind.
bool LeaveMemory(const TestDll&, ScriptedBackend&, int)
{
    static_cast<volatile char*>(std::malloc(24))[0] = 1;
    return true;
}
bool LeaveAHandle(const TestDll&, ScriptedBackend&, int)
{
    return CreateEventW(nullptr, TRUE, FALSE, nullptr) != nullptr;
}
bool LeaveASlot(const TestDll&, ScriptedBackend&, int) { return TlsAlloc() != TLS_OUT_OF_INDEXES; }
bool HideAFault(const TestDll&, ScriptedBackend&, int)
{
    const ComPtr<IDispatch> object = MakePlanted();
    return object && CallPlanted(object.Get(), Bug::HiddenFault).result == S_OK;
}
bool DoNothing(const TestDll&, ScriptedBackend&, int) { return true; }
bool FailAndLeaveAHandle(const TestDll& dll, ScriptedBackend& backend, int number)
{
    return LeaveAHandle(dll, backend, number) && number != 30;
}

constexpr int kPlantedCycles = 60;
KZR_CHILD(CyclesThatLeaveMemory) { return RunCycles(LeaveMemory, kPlantedCycles, 0); }
KZR_CHILD(CyclesThatLeaveAHandle) { return RunCycles(LeaveAHandle, kPlantedCycles, 0); }
KZR_CHILD(CyclesThatLeaveASlot) { return RunCycles(LeaveASlot, kPlantedCycles, 0); }
KZR_CHILD(CyclesThatHideAFault) { return RunCycles(HideAFault, kPlantedCycles, 0); }
KZR_CHILD(CyclesWithoutTheirFatalLine) { return RunCycles(DoNothing, kPlantedCycles, 1); }
KZR_CHILD(CyclesWithAFatalLine) { return RunCycles(CreateAndFault, kPlantedCycles, 0); }
KZR_CHILD(CyclesThatFailAndLeaveAHandle) { return RunCycles(FailAndLeaveAHandle, kPlantedCycles, 0); }

TEST(ReloadPlants, WhatACycleLeavesBehindIsFound)
{
    EXPECT_EQ(1u, RunChild("CyclesThatLeaveMemory").code);
    EXPECT_EQ(2u, RunChild("CyclesThatLeaveAHandle").code);
    EXPECT_EQ(3u, RunChild("CyclesThatLeaveASlot").code);
}

TEST(ReloadPlants, AFaultThatACycleHidesAndItsFatalLinesAreFound)
{
    EXPECT_EQ(4u, RunChild("CyclesThatHideAFault").code);
    EXPECT_EQ(5u, RunChild("CyclesWithoutTheirFatalLine").code);
    EXPECT_EQ(5u, RunChild("CyclesWithAFatalLine").code);
}

TEST(ReloadPlants, ACycleThatFailsIsToldBeforeWhatItLeaves)
{
    const ChildResult ended = RunChild("CyclesThatFailAndLeaveAHandle");
    EXPECT_EQ(40u, ended.code);
    EXPECT_NE(std::string::npos, ended.output.find("cycle 30: what the cycle does failed")) << ended.output;
}

TEST(Reload, CyclesWithEveryFaultGrowNothing)
{
    ExpectNoGrowth("CyclesThatFault");
    Did("reload", CyclesOfAll(), "cycles");
}

TEST(Reload, CyclesWithFaultsOnOtherThreadsGrowNothing)
{
    ExpectNoGrowth("CyclesThatFaultOnThreads");
    Did("reload", CyclesOfThreads(), "cycles on threads that end");
}

}  // namespace
}  // namespace kzr::test
