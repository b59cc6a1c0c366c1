// Whatever is done a thousand times leaves no more behind than what is done once: heap, texts, handles,
// thread-local slots, windows.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>

#include "Area.h"
#include "EmptyFolder.h"
#include "Forwarders.h"
#include "Holdings.h"
#include "Methods.h"
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
        });
        grown += Judge(each.Name(), grew);
        if (refused) std::printf("%s refused %d calls\n", each.Name().c_str(), refused);
        grown += refused != 0;
    }
    return EndOfChild(bench, grown);
}

// What a good call takes, a bad one must give back, too.
KZR_CHILD(EveryMethodWithBadAnswers)
{
    QuietBench bench;
    Watchdog watchdog(120000);
    const int times = Rounds(4, 40);
    int grown = 0;
    const std::vector<OddResult> results = OddResults();
    ComPtr<IDispatch> certificate = bench.Make(kCertificate);
    for (const Forwarder& each : Forwarders()) {
        watchdog.Beat(each.made->name);
        // A text that is no date ends in the guard by design.
        if (each.turns == Turns::Days) continue;
        const ComPtr<IDispatch> object = bench.Make(*each.made);
        Call(certificate.Get(), DISPID{1}, {L"MIIB", I2(1), L""});
        const auto misbehave = [&](const Answer& answer) {
            bench.backend->ForgetEverything();
            AnswerEverything(*bench.backend);
            bench.backend->Allow(each.backend, answer);
            Call(object.Get(), each.method, each.arguments);
        };
        const std::string grew = GrowthOf(2, times, [&] {
            for (const OddResult& odd : results) {
                // A user list without marks is taken apart two units at a time, each a user to ask about.
                if (each.turns != Turns::List || odd.value.AsText().size() < 1000) misbehave(odd.value);
            }
            for (const HRESULT failure : kFailures) misbehave(Fails(failure, L"left"));
            misbehave(UnknownName());
            // Back to where the list of users was.
            misbehave(each.good);
            bench.backend->SetUsers(DefaultUsers());
            bench.Make(kUtil);
            bench.backend->ForgetCalls();
        });
        grown += Judge(each.Name(), grew);
    }
    certificate.Reset();
    return EndOfChild(bench, grown);
}

// Nor may a call that the guard ended keep anything.
KZR_CHILD(EveryMethodWithFaults)
{
    QuietBench bench;
    Watchdog watchdog(120000);
    const int times = Rounds(4, 40);
    int grown = 0;
    ComPtr<IDispatch> certificate = bench.Make(kCertificate);
    for (const Forwarder& each : Forwarders()) {
        watchdog.Beat(each.made->name);
        const ComPtr<IDispatch> object = bench.Make(*each.made);
        AnswerEverything(*bench.backend);
        // A control without a window takes one more listener's record at each try, kept while anybody is
        // connected.
        if (each.isControl()) Call(object.Get(), L"getUserList");
        const std::string grew = GrowthOf(2, times, [&] {
            for (const FaultKind kind : kAllFaults) {
                bench.backend->ForgetEverything();
                AnswerEverything(*bench.backend);
                Call(certificate.Get(), DISPID{1}, {L"MIIB", I2(1), L""});
                bench.backend->Allow(each.backend, Faults(kind));
                Call(object.Get(), each.method, each.arguments);
                ++bench.plannedFatalLines;
            }
            bench.backend->ForgetCalls();
        });
        grown += Judge(each.Name(), grew);
    }
    certificate.Reset();
    return EndOfChild(bench, grown);
}

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
    std::printf("%d dialogs closed, %d refused\n", closer.closed.load(), refused);
    grown += closer.closed < 20;
    control.Reset();
    return EndOfChild(bench, grown);
}

void ExpectNoGrowth(const char* part)
{
    const ChildResult ended = RunWithoutTextCache(part, 580000);
    EXPECT_TRUE(ended.started);
    EXPECT_EQ(0u, ended.code) << ended.output;
    EXPECT_NE(std::string::npos, ended.output.find("END")) << ended.output;
}

TEST(Growth, EveryMethodCalledAThousandTimesLeavesNothing)
{
    ExpectNoGrowth("EveryMethodManyTimes");
    Did("growth", 89LL * Rounds(1000, 10000), "calls");
}

TEST(Growth, BadAnswersOfTheBackendLeaveNothing)
{
    ExpectNoGrowth("EveryMethodWithBadAnswers");
    Did("growth", static_cast<long long>(Forwarders().size() - 1) * 34 * Rounds(4, 40), "bad answers");
}

TEST(Growth, FaultsOfTheBackendLeaveNothing)
{
    ExpectNoGrowth("EveryMethodWithFaults");
    Did("growth", static_cast<long long>(Forwarders().size()) * 9 * Rounds(4, 40), "faults");
}

TEST(Growth, EveryClassMadeAThousandTimesPlainAndAggregatedLeavesNothing)
{
    ExpectNoGrowth("EveryClassManyTimes");
    Did("growth", 12LL * Rounds(1000, 10000), "objects");
}

TEST(Growth, TheAboutBoxLeavesNothing)
{
    ExpectNoGrowth("TheAboutBoxManyTimes");
    Did("growth", 10, "dialogs");
}

}  // namespace
}  // namespace kzr::test
