// Whatever is done a thousand times leaves no more behind than what is done once: heap, texts, handles,
// thread-local slots, windows.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <functional>

#include "Area.h"
#include "ChildCount.h"
#include "EmptyFolder.h"
#include "Forwarders.h"
#include "Holdings.h"
#include "Methods.h"
#include "Planted.h"
#include "QuietBench.h"
#include "Watchdog.h"
#include "support/Rounds.h"

namespace kzr::test {
namespace {

constexpr int kWarmUp = 50;

// Prints what has grown; 1 when something has.
int Judge(const std::string& name, const std::string& grown)
{
    if (grown.empty()) return 0;
    std::printf("GROWN by %s: %s\n", name.c_str(), grown.c_str());
    return 1;
}

// The end of a child: its sum, or what went wrong.
int EndOfChild(QuietBench& bench, int grown)
{
    const std::string trouble = bench.Trouble();
    std::printf("%sEND\n", trouble.c_str());
    std::fflush(stdout);
    return grown + (trouble.empty() ? 0 : 1);
}

KZR_CHILD(EveryMethodManyTimes)
{
    const EmptyFolder folder;
    QuietBench bench;
    Watchdog watchdog(120000);
    const int times = Rounds(1000, 10000);
    int grown = 0;
    long long calls = 0;
    for (const HardenedMethod& each : AllMethods()) {
        if (each.IsModal()) continue;
        watchdog.Beat(each.made->name, each.method->id);
        const ComPtr<IDispatch> object = bench.Make(*each.made);
        if (!object) return 90;
        const Values samples = SamplesFor(*each.method);
        const std::vector<VARIANT> arguments = BitsOf(samples);
        int turn = 0, refused = 0;
        const std::string grew = GrowthOf(kWarmUp, times, [&] {
            VARIANT result;
            VariantInit(&result);
            const bool byTable = !each.isControl && turn++ % 2 == 1;
            refused += (byTable ? CallByTable(object.Get(), each, arguments)
                                : InvokeWith(object.Get(), each.method->id, arguments, &result)) != S_OK;
            VariantClear(&result);
            bench.backend->ForgetCalls();
            ++calls;
        });
        grown += Judge(each.Name(), grew);
        if (refused) std::printf("%s refused %d calls\n", each.Name().c_str(), refused);
        grown += refused != 0;
    }
    PrintCount("calls", calls);
    return EndOfChild(bench, grown);
}

// What a backend may give besides what is expected of it; the last is no call at all.
std::vector<Answer> BadAnswersFor(const Forwarder& each)
{
    std::vector<Answer> answers;
    for (const OddResult& odd : OddResults()) {
        // A user list without marks is taken apart two units at a time, each a user to ask about.
        if (each.turns != Turns::List || odd.value.AsText().size() < 1000) answers.push_back(odd.value);
    }
    for (const HRESULT failure : kFailures) answers.push_back(Fails(failure, L"left"));
    answers.push_back(UnknownName());
    return answers;
}

// One of the bad answers of a row, by its number, as the backend then gives it; and which rows have their
// turn.
struct Planting {
    std::function<Answer(std::size_t row, std::size_t number, const Answer& answer)> answer;
    std::size_t everyRow = 1;
    std::size_t Rows() const { return (Forwarders().size() + everyRow - 1) / everyRow; }
};

const Planting kNothingPlanted{[](std::size_t, std::size_t, const Answer& answer) { return answer; }};

// In one answer of each row, another one in the next; a third of the rows has them all.
Planting LeakInOneOf(std::size_t answers)
{
    constexpr std::size_t kEveryRow = 3;
    return {[answers](std::size_t row, std::size_t number, const Answer& answer) {
                return number == row / kEveryRow % answers ? answer.Running(LeakABlock) : answer;
            },
            kEveryRow};
}
// The last bad answer makes no call that could leak, and a List row has one less.
Planting LeakInABadAnswer() { return LeakInOneOf(OddResults().size() + std::size(kFailures) - 1); }
Planting LeakInAFault() { return LeakInOneOf(std::size(kAllFaults)); }

// What a good call takes, a bad one must give back, too.
int CallWithBadAnswers(const Planting& planting)
{
    QuietBench bench;
    Watchdog watchdog(120000);
    const int times = Rounds(2, 40);
    int grown = 0;
    long long given = 0;
    ComPtr<IDispatch> certificate = bench.Make(kCertificate);
    for (std::size_t row = 0; row < Forwarders().size(); row += planting.everyRow) {
        const Forwarder& each = Forwarders()[row];
        watchdog.Beat(each.made->name);
        const ComPtr<IDispatch> object = bench.Make(*each.made);
        Call(certificate.Get(), DISPID{1}, {L"MIIB", I2(1), L""});
        const auto answer = [&](const Answer& answered) {
            bench.backend->ForgetEverything();
            AnswerEverything(*bench.backend);
            each.LetAnswer(*bench.backend, answered);
            Call(object.Get(), each.method, each.arguments);
        };
        const std::vector<Answer> answers = BadAnswersFor(each);
        const std::string grew = GrowthOf(2, times, [&] {
            for (std::size_t number = 0; number < answers.size(); ++number, ++given) {
                answer(planting.answer(row, number, answers[number]));
                bench.plannedFatalLines += OutcomeOf(each, answers[number]).ends;
            }
            // Back to where the list of users was.
            bench.backend->ForgetEverything();
            AnswerEverything(*bench.backend);
            Call(object.Get(), each.method, each.arguments);
            bench.Make(kUtil);
            bench.backend->ForgetCalls();
        });
        grown += Judge(each.Name(), grew);
    }
    PrintCount("bad answers", given);
    PrintCount("rows that grew", grown);
    certificate.Reset();
    return EndOfChild(bench, grown);
}

KZR_CHILD(EveryMethodWithBadAnswers) { return CallWithBadAnswers(kNothingPlanted); }
KZR_CHILD(BadAnswersOfWhichOneLeaks) { return CallWithBadAnswers(LeakInABadAnswer()); }

// Nor may a call that the guard ended keep anything.
int CallWithFaults(const Planting& planting)
{
    QuietBench bench;
    Watchdog watchdog(120000);
    const int times = Rounds(2, 40);
    int grown = 0;
    long long raised = 0;
    ComPtr<IDispatch> certificate = bench.Make(kCertificate);
    for (std::size_t row = 0; row < Forwarders().size(); row += planting.everyRow) {
        const Forwarder& each = Forwarders()[row];
        watchdog.Beat(each.made->name);
        const ComPtr<IDispatch> object = bench.Make(*each.made);
        AnswerEverything(*bench.backend);
        // A control without a window takes one more listener's record at each try, kept while anybody is
        // connected.
        if (each.isControl()) Call(object.Get(), L"getUserList");
        const std::string grew = GrowthOf(2, times, [&] {
            std::size_t number = 0;
            for (const FaultKind kind : kAllFaults) {
                bench.backend->ForgetEverything();
                AnswerEverything(*bench.backend);
                Call(certificate.Get(), DISPID{1}, {L"MIIB", I2(1), L""});
                each.LetAnswer(*bench.backend, planting.answer(row, number++, Faults(kind)));
                Call(object.Get(), each.method, each.arguments);
                ++bench.plannedFatalLines;
                ++raised;
            }
            bench.backend->ForgetCalls();
        });
        grown += Judge(each.Name(), grew);
    }
    PrintCount("faults", raised);
    PrintCount("rows that grew", grown);
    certificate.Reset();
    return EndOfChild(bench, grown);
}

KZR_CHILD(EveryMethodWithFaults) { return CallWithFaults(kNothingPlanted); }
KZR_CHILD(FaultsOfWhichOneKindLeaks) { return CallWithFaults(LeakInAFault()); }

class Outer final : public IUnknown {
  public:
    virtual ~Outer() = default;
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        *object = IsEqualIID(iid, IID_IUnknown) ? this : nullptr;
        return *object ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override { return --m_references; }
    ULONG References() const { return m_references; }

  private:
    std::atomic<ULONG> m_references{1};
};

KZR_CHILD(EveryClassManyTimes)
{
    QuietBench bench;
    Watchdog watchdog(120000);
    const int times = Rounds(1000, 10000);
    const struct {
        const char* name;
        CLSID clsid;
    } classes[] = {{"CCertificate", kCertificate.clsid},      {"CCrypto", kCrypto.clsid},
                   {"CDeviceMgr", kDeviceMgr.clsid},          {"CUtil", kUtil.clsid},
                   {"CUSBKeyPnPActiveXCtrl", kControl.clsid}, {"the property page", kPropertyPage}};
    int grown = 0;
    long long objects = 0;
    for (const auto& each : classes) {
        for (const bool aggregated : {false, true}) {
            watchdog.Beat(each.name, aggregated);
            Outer outer;
            int refused = 0;
            const std::string grew = GrowthOf(kWarmUp, times, [&] {
                ComPtr<IUnknown> object;
                const HRESULT made = bench.dll->Create(each.clsid, IID_IUnknown, object.putVoid(),
                                                       aggregated ? &outer : nullptr);
                refused += made != S_OK;
                objects += made == S_OK;
                // The control's window comes with the first call.
                ComPtr<IDispatch> dispatch;
                if (object && SUCCEEDED(object->QueryInterface(IID_IDispatch, dispatch.putVoid())))
                    Call(dispatch.Get(), L"getUserList");
                dispatch = nullptr;
                object = nullptr;
                bench.backend->ForgetCalls();
            });
            grown += Judge(std::string(each.name) + (aggregated ? ", aggregated" : ""), grew);
            if (refused)
                std::printf("%s%s: %d refused\n", each.name, aggregated ? ", aggregated" : "", refused);
            if (outer.References() != 1) std::printf("%s: %lu references\n", each.name, outer.References());
            grown += refused != 0 || outer.References() != 1;
        }
    }
    PrintCount("objects", objects);
    return EndOfChild(bench, grown);
}

// Presses OK in every dialog of this process until it is told to end.
struct Closer {
    std::atomic<bool> ends{false};
    std::atomic<int> closed{0};

    static DWORD WINAPI Run(void* context)
    {
        auto* const self = static_cast<Closer*>(context);
        while (!self->ends) {
            for (HWND dialog = FindWindowExW(nullptr, nullptr, L"#32770", nullptr); dialog;
                 dialog = FindWindowExW(nullptr, dialog, L"#32770", nullptr)) {
                DWORD process = 0;
                GetWindowThreadProcessId(dialog, &process);
                if (process != GetCurrentProcessId() || !IsWindowVisible(dialog)) continue;
                // Answered once the dialog has ended.
                if (SendMessageW(dialog, WM_COMMAND, IDOK, 0) == 0) ++self->closed;
            }
            Sleep(5);
        }
        return 0;
    }
};

KZR_CHILD(TheAboutBoxManyTimes)
{
    QuietBench bench;
    Watchdog watchdog(60000);
    ComPtr<IDispatch> control = bench.Make(kControl);
    Closer closer;
    const HANDLE thread = CreateThread(nullptr, 0, Closer::Run, &closer, 0, nullptr);
    int refused = 0;
    const auto show = [&] {
        watchdog.Beat("AboutBox");
        refused += Call(control.Get(), L"AboutBox").result != S_OK;
        PumpMessages();
    };
    const std::string grew = GrowthOf(10, 10, show);
    closer.ends = true;
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    int grown = Judge("AboutBox", grew) + (refused != 0);
    if (refused) std::printf("%d refused\n", refused);
    PrintCount("dialogs", closer.closed.load());
    grown += closer.closed < 20;
    control.Reset();
    return EndOfChild(bench, grown);
}

// Tells of what the child has done, which is no less than asked for.
void ExpectNoGrowth(const char* part, const char* what, long long least)
{
    const ChildResult ended = RunWithoutTextCache(part, 580000);
    EXPECT_TRUE(ended.started);
    EXPECT_EQ(0u, ended.code) << ended.output;
    EXPECT_NE(std::string::npos, ended.output.find("END")) << ended.output;
    const long long done = CountIn(ended.output, what);
    EXPECT_LE(least, done) << ended.output;
    Did("growth", done, what);
}

long long BadAnswersOfAllRows()
{
    long long count = 0;
    for (const Forwarder& each : Forwarders()) count += static_cast<long long>(BadAnswersFor(each).size());
    return count;
}

TEST(Growth, EveryMethodCalledAThousandTimesLeavesNothing)
{
    ExpectNoGrowth("EveryMethodManyTimes", "calls", 89LL * Rounds(1000, 10000));
}

TEST(Growth, BadAnswersOfTheBackendLeaveNothing)
{
    ExpectNoGrowth("EveryMethodWithBadAnswers", "bad answers", BadAnswersOfAllRows() * Rounds(2, 40));
}

TEST(Growth, FaultsOfTheBackendLeaveNothing)
{
    const auto kinds = static_cast<long long>(Forwarders().size() * std::size(kAllFaults));
    ExpectNoGrowth("EveryMethodWithFaults", "faults", kinds * Rounds(2, 40));
}

TEST(Growth, EveryClassMadeAThousandTimesPlainAndAggregatedLeavesNothing)
{
    ExpectNoGrowth("EveryClassManyTimes", "objects", 12LL * Rounds(1000, 10000));
}

TEST(Growth, TheAboutBoxLeavesNothing) { ExpectNoGrowth("TheAboutBoxManyTimes", "dialogs", 20); }

// The same rounds, and each row that has its turn grows.
void ExpectGrowthOfAll(const char* part, const Planting& planting)
{
    const auto rows = static_cast<long long>(planting.Rows());
    const ChildResult ended = RunWithoutTextCache(part, 580000);
    EXPECT_EQ(static_cast<DWORD>(rows), ended.code) << ended.output;
    EXPECT_NE(std::string::npos, ended.output.find("END")) << ended.output;
    EXPECT_EQ(rows, CountIn(ended.output, "rows that grew")) << ended.output;
    std::size_t told = 0;
    for (std::size_t at = 0; (at = ended.output.find(": heap blocks", at)) != std::string::npos; ++at) ++told;
    EXPECT_EQ(rows, static_cast<long long>(told)) << ended.output;
}

TEST(PlantedGrowth, OfABlockForOneBadAnswerIsFound)
{
    ExpectGrowthOfAll("BadAnswersOfWhichOneLeaks", LeakInABadAnswer());
}

TEST(PlantedGrowth, OfABlockForOneKindOfFaultIsFound)
{
    ExpectGrowthOfAll("FaultsOfWhichOneKindLeaks", LeakInAFault());
}

}  // namespace
}  // namespace kzr::test
