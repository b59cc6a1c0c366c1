// A backend that fails or faults at each point on the way to an object: the documented answer, nothing kept,
// and the next creation right.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "Area.h"
#include "Holdings.h"
#include "Methods.h"
#include "OtherThread.h"
#include "QuietBench.h"
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

void FailAt(ScriptedBackend& backend, Step step, int way)
{
    StepRule rule;
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

int CreateWithFailure(QuietBench& bench, const ScriptedClass& made, const Point& point, int way)
{
    const HRESULT refusal = &made == &kControl ? E_UNEXPECTED : E_FAIL;
    int wrong = 0;
    FailAt(*bench.backend, point.step, way);
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

KZR_CHILD(CreationsWithFailures)
{
    QuietBench bench;
    Watchdog watchdog(20000);
    int wrong = 0;
    long ways = 0;  // each once, however often it runs
    for (const ScriptedClass* const made : kScriptedClasses) {
        for (const Point& point : kPoints) {
            std::array<bool, kWays> ran{};
            const auto everyWay = [&] {
                for (int way = FirstWay(point.step); way < kWays; ++way) {
                    watchdog.Beat(point.name, way);
                    wrong += CreateWithFailure(bench, *made, point, way);
                    ran[static_cast<std::size_t>(way)] = true;
                }
            };
            const std::string grown = GrowthOf(1, 2, everyWay);
            if (!grown.empty()) {
                std::printf("GROWN by %s failing at %s: %s\n", made->name, point.name, grown.c_str());
                ++wrong;
            }
            ways += std::ranges::count(ran, true);
            // Both locks must be free: the creation of another object takes them one after the other.
            watchdog.Beat("a creation on another thread");
            bench.backend->Unregister();
            if (!ComesBackOnAnotherThread([&] {
                    ComPtr<IDispatch> object;
                    bench.dll->Create(made->clsid, IID_IDispatch, object.putVoid());
                })) {
                std::printf("a lock was lost by %s failing at %s\nEND\n", made->name, point.name);
                std::fflush(stdout);
                TerminateProcess(GetCurrentProcess(), Watchdog::kExitCode);
            }
            bench.backend->Register();
        }
    }
    const std::string trouble = bench.Trouble();
    std::printf("%sWAYS %ld\nEND\n", trouble.c_str(), ways);
    std::fflush(stdout);
    return wrong == 0 && trouble.empty() ? 0 : 1;
}

// As the child has counted them; 0 when it has not.
long WaysIn(const std::string& output)
{
    constexpr char kWord[] = "WAYS ";
    const std::size_t at = output.rfind(kWord);
    return at == std::string::npos ? 0 : std::strtol(output.c_str() + at + std::size(kWord) - 1, nullptr, 10);
}

TEST(CreationFaults, AtEveryPointOfEveryClassAreAnsweredAndLeaveNothing)
{
    const ChildResult ended = RunWithoutTextCache("CreationsWithFailures", 300000);
    EXPECT_TRUE(ended.started);
    EXPECT_EQ(0u, ended.code) << ended.output;
    EXPECT_NE(std::string::npos, ended.output.find("END")) << ended.output;
    const long ways = WaysIn(ended.output);
    EXPECT_EQ(5 * (7 * kWays + 12), ways) << ended.output;
    Did("backend faults", ways, "ways for a creation to fail");
}

}  // namespace
}  // namespace kzr::test
