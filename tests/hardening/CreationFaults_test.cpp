// A backend that fails or faults at each point on the way to an object: the documented answer, nothing kept,
// and the next creation right.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <string>

#include "Area.h"
#include "ChildCount.h"
#include "Holdings.h"
#include "Methods.h"
#include "OtherThread.h"
#include "Planted.h"
#include "QuietBench.h"
#include "ThreadApartments.h"
#include "Watchdog.h"

namespace kzr::test {
namespace {

struct Point {
    const char* name;
    Step step;
    long lines;                                  // of the error level
    bool Matters() const { return lines != 0; }  // else the object is made all the same
};

// The failed step, the loading or advising that it belongs to, and the object that wanted the instance.
constexpr long kLinesOfAFailure = 3;

constexpr Point kPoints[] = {{"CreateInstance", Step::CreateInstance, kLinesOfAFailure},
                             {"QueryDispatch", Step::QueryDispatch, kLinesOfAFailure},
                             {"QueryOleObject", Step::QueryOleObject, kLinesOfAFailure},
                             {"SetClientSite", Step::SetClientSite, 0},
                             {"SetUserConfig", Step::SetUserConfig, 0},
                             {"QueryContainer", Step::QueryContainer, kLinesOfAFailure},
                             {"FindConnectionPoint", Step::FindConnectionPoint, kLinesOfAFailure},
                             {"Advise", Step::Advise, kLinesOfAFailure}};
static_assert(std::size(kPoints) == 8);

constexpr HRESULT kStepFailures[] = {E_FAIL,
                                     E_ACCESSDENIED,
                                     E_OUTOFMEMORY,
                                     E_NOINTERFACE,
                                     E_NOTIMPL,
                                     REGDB_E_CLASSNOTREG,
                                     RPC_E_DISCONNECTED,
                                     CO_E_SERVER_EXEC_FAILURE,
                                     DISP_E_EXCEPTION,
                                     CO_E_NOTINITIALIZED,
                                     static_cast<HRESULT>(0xFFFFFFFF)};

// Twenty ways to fail: nine faults and eleven failures.
constexpr int kFaults = static_cast<int>(std::size(kAllFaults));
constexpr int kWays = kFaults + static_cast<int>(std::size(kStepFailures));
static_assert(kWays == 20);

// This query runs inside CreateInstance, where a fault would be that point's again: the one success with
// nothing stands for all nine.
int FirstWay(Step step) { return step == Step::QueryDispatch ? kFaults - 1 : 0; }

void FailAt(ScriptedBackend& backend, Step step, int way, bool leaks)
{
    StepRule rule;
    if (leaks) rule.Runs(LeakABlock);
    if (step == Step::QueryDispatch && way < kFaults)
        rule.GivesNull();
    else if (way < kFaults)
        rule.Faults(kAllFaults[way]);
    else
        rule.Fails(kStepFailures[way - kFaults]);
    backend.At(step) = rule;
}

// An object without its backend: the four are not made at all, the control is and refuses every call.
HRESULT MakeAndCall(QuietBench& bench, const ScriptedClass& made)
{
    ComPtr<IDispatch> object;
    const HRESULT result = bench.dll->Create(made.clsid, IID_IDispatch, object.putVoid());
    if (FAILED(result) != !object) return kThrown;
    if (FAILED(result) || &made != &kControl) return result;
    return Call(object.Get(), L"getUserList").result;
}

int Complain(const ScriptedClass& made, const Point& point, int way, const char* what, long answer)
{
    std::printf("%s, failing at %s in way %d: %s (0x%lx)\n", made.name, point.name, way, what,
                static_cast<unsigned long>(answer));
    return 1;
}

int CreateWithFailure(QuietBench& bench, const ScriptedClass& made, const Point& point, int way, bool leaks)
{
    const HRESULT refusal = &made == &kControl ? E_UNEXPECTED : E_FAIL;
    int wrong = 0;
    FailAt(*bench.backend, point.step, way, leaks);
    const long errors = CountedErrorLines();
    if (const HRESULT answer = MakeAndCall(bench, made); answer != (point.Matters() ? refusal : S_OK))
        wrong += Complain(made, point, way, "another answer", answer);
    if (const long lines = CountedErrorLines() - errors; lines != point.lines)
        wrong += Complain(made, point, way, "another number of lines", lines);
    bench.backend->At(point.step) = StepRule();
    if (bench.backend->LiveControls() != 0 || bench.dll->CanUnloadNow() != S_OK)
        wrong += Complain(made, point, way, "something was kept", bench.backend->References());
    if (const HRESULT answer = MakeAndCall(bench, made); answer != S_OK)
        wrong += Complain(made, point, way, "the next creation fails", answer);
    bench.backend->ForgetCalls();
    return wrong;
}

// Another object on another thread, where the backend is there, too: it is asked for the users under the
// backend lock, and the cache is made of them under both, by a control in its first call.
bool IsMadeOnAnotherThread(QuietBench& bench, const ScriptedClass& made, DWORD milliseconds = kPatience)
{
    struct Came {
        HRESULT answer = kThrown;
        std::size_t devices = 0;
    };
    // The thread's too: it may come back after this call has.
    const auto came = std::make_shared<Came>();
    const bool back = ComesBackOnAnotherThread(
        [&bench, &made, came] {
            const RegisteredHere registered(*bench.backend);
            bench.backend->ForgetCalls();
            came->answer = MakeAndCall(bench, made);
            came->devices = bench.backend->CallsOf(L"GetDeviceInfo");
            bench.backend->ForgetCalls();
        },
        milliseconds, COINIT_APARTMENTTHREADED);
    if (!back) return false;
    if (came->answer != S_OK || came->devices == 0)
        std::printf("%s on another thread answers 0x%lx, with %zu questions about devices\n", made.name,
                    static_cast<unsigned long>(came->answer), came->devices);
    return came->answer == S_OK && came->devices != 0;
}

// Whether one way of each point leaks a block, another one at the next.
enum class Planting { None, LeakInOneWay };

int CreateInAllWays(std::initializer_list<const ScriptedClass*> classes, Planting planting)
{
    QuietBench bench;
    Watchdog watchdog(20000);
    int wrong = 0;
    long ways = 0;  // each once, however often it runs
    long rows = 0, grew = 0;
    for (const ScriptedClass* const made : classes) {
        for (const Point& point : kPoints) {
            std::array<bool, kWays> ran{};
            const int first = FirstWay(point.step);
            const int leaking =
                planting == Planting::None ? -1 : first + static_cast<int>(rows) % (kWays - first);
            const auto everyWay = [&] {
                for (int way = first; way < kWays; ++way) {
                    watchdog.Beat(point.name, way);
                    wrong += CreateWithFailure(bench, *made, point, way, way == leaking);
                    ran[static_cast<std::size_t>(way)] = true;
                }
            };
            if (const std::string grown = GrowthOf(1, 2, everyWay); !grown.empty()) {
                std::printf("GROWN by %s failing at %s: %s\n", made->name, point.name, grown.c_str());
                ++grew;
            }
            ways += std::ranges::count(ran, true);
            ++rows;
            watchdog.Beat("a creation on another thread");
            if (!IsMadeOnAnotherThread(bench, *made)) {
                std::printf("a lock was lost by %s failing at %s\nEND\n", made->name, point.name);
                std::fflush(stdout);
                TerminateProcess(GetCurrentProcess(), Watchdog::kExitCode);
            }
        }
    }
    const std::string trouble = bench.Trouble();
    std::printf("%s", trouble.c_str());
    PrintCount("ways", ways);
    PrintCount("points that grew", grew);
    std::printf("END\n");
    std::fflush(stdout);
    return wrong == 0 && grew == 0 && trouble.empty() ? 0 : 1;
}

KZR_CHILD(CreationsWithFailures)
{
    return CreateInAllWays({&kCertificate, &kCrypto, &kDeviceMgr, &kUtil, &kControl}, Planting::None);
}
KZR_CHILD(CreationsOfWhichOneWayLeaks)
{
    return CreateInAllWays({&kCrypto, &kControl}, Planting::LeakInOneWay);
}

TEST(CreationFaults, AtEveryPointOfEveryClassAreAnsweredAndLeaveNothing)
{
    const ChildResult ended = RunWithoutTextCache("CreationsWithFailures", 300000);
    EXPECT_TRUE(ended.started);
    EXPECT_EQ(0u, ended.code) << ended.output;
    EXPECT_NE(std::string::npos, ended.output.find("END")) << ended.output;
    const long long ways = CountIn(ended.output, "ways");
    EXPECT_EQ(5 * (7 * kWays + 12), ways) << ended.output;
    Did("backend faults", ways, "ways for a creation to fail");
}

TEST(PlantedCreationFaults, ABlockForOneWayOfEachPointIsFound)
{
    const ChildResult ended = RunWithoutTextCache("CreationsOfWhichOneWayLeaks", 300000);
    EXPECT_EQ(1u, ended.code) << ended.output;
    EXPECT_EQ(2 * 8, CountIn(ended.output, "points that grew")) << ended.output;
    std::size_t told = 0;
    for (std::size_t at = 0; (at = ended.output.find(": heap blocks", at)) != std::string::npos; ++at) ++told;
    EXPECT_EQ(2u * 8, told) << ended.output;
}

// Some thread stays in the backend with both locks in hand.
KZR_CHILD(CreationsWithoutTheLocks)
{
    constexpr DWORD kShortPatience = 200;
    QuietBench bench;
    for (const ScriptedClass* const made : kScriptedClasses)
        if (!IsMadeOnAnotherThread(bench, *made)) return 2;
    const HANDLE arrived = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    bench.backend->Allow(L"GetDeviceInfo", Answer().Running([arrived] {
        SetEvent(arrived);
        Sleep(INFINITE);
    }));
    if (IsMadeOnAnotherThread(bench, kUtil, kShortPatience)) return 3;
    if (WaitForSingleObject(arrived, kPatience) != WAIT_OBJECT_0) return 6;
    AnswerEverything(*bench.backend);
    int waiting = 0;
    for (const ScriptedClass* const made : kScriptedClasses)
        waiting += !IsMadeOnAnotherThread(bench, *made, kShortPatience);
    TerminateProcess(GetCurrentProcess(), waiting == 5 ? 42 : 4);
    return 5;
}

TEST(PlantedCreationFaults, LocksThatAreNotGivenBackAreFound)
{
    const ChildResult ended = RunChild("CreationsWithoutTheLocks");
    EXPECT_EQ(42u, ended.code) << ended.output;
}

}  // namespace
}  // namespace kzr::test
