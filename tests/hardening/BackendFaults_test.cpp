// A backend that faults, fails or gives what it should not, in every forwarding method: the documented
// answer, its one line, both locks free, and the next call right.
#include <map>

#include "Area.h"
#include "Forwarders.h"
#include "OtherThread.h"
#include "Watchdog.h"

namespace kzr::test {
namespace {

class BackendFaults : public QuietTest {
  public:
    void SetUp() override
    {
        QuietTest::SetUp();
        for (const ScriptedClass* const made : {&kCertificate, &kCrypto, &kDeviceMgr, &kUtil, &kControl})
            m_objects[made] = Make(*made);
    }
    void TearDown() override
    {
        m_objects.clear();
        QuietTest::TearDown();
    }

    CallResult CallIt(const Forwarder& each)
    {
        return Call(m_objects[each.made].Get(), each.method, each.arguments);
    }
    // A certificate to work on, whatever an earlier case has left.
    void LoadCertificate()
    {
        ASSERT_EQ(I2(0), Call(m_objects[&kCertificate].Get(), DISPID{1}, {L"MIIB", I2(1), L""}).value);
    }

    // One case: the call once with the odd answer, and once well again.
    void Misbehave(const Forwarder& each, const Answer& answer, const Outcome& expected)
    {
        LoadCertificate();
        each.LetAnswer(*backend, answer);
        const long errors = CountedErrorLines();
        const CallResult called = CallIt(each);
        EXPECT_EQ(expected.result, called.result) << each.Name();
        if (!expected.anyRetVal) ExpectSame(expected.retVal, called.value, each);
        const long lines = CountedErrorLines() - errors;
        if (expected.anyLines)
            EXPECT_GE(1, lines) << each.Name() << ": " << LastErrorLine();
        else
            EXPECT_EQ(expected.errorLines, lines) << each.Name() << ": " << LastErrorLine();
        plannedFatalLines += expected.ends;
        backend->ForgetEverything();
        AnswerEverything(*backend);
        LoadCertificate();
        const long before = CountedErrorLines();
        const Value next = CallIt(each).value;
        // Days depend on the zone of the machine.
        EXPECT_EQ(each.good, each.turns == Turns::Days && next != I2(0) ? each.good : next)
            << each.Name() << ", the next call";
        EXPECT_EQ(each.errorsWhenGood, CountedErrorLines() - before) << each.Name() << ", the next call";
        ++cases;
    }

    long long cases = 0;

  private:
    // An empty text may be null.
    static void ExpectSame(const Value& expected, const Value& got, const Forwarder& each)
    {
        if (expected.AsText().empty() && got.Type() == VT_BSTR && expected.Type() == VT_BSTR)
            EXPECT_EQ(L"", got.AsText()) << each.Name();
        else
            EXPECT_EQ(expected, got) << each.Name();
    }

    std::map<const ScriptedClass*, ComPtr<IDispatch>> m_objects;
};

TEST_F(BackendFaults, OfOddResultsBecomeTheDocumentedAnswers)
{
    Watchdog watchdog(20000);
    const std::vector<OddResult> results = OddResults();
    EXPECT_EQ(24u, results.size());
    for (const Forwarder& each : Forwarders()) {
        for (const OddResult& odd : results) {
            SCOPED_TRACE(odd.name);
            watchdog.Beat(odd.name);
            Misbehave(each, odd.value, OutcomeOf(each, odd.value));
        }
    }
    Did("backend faults", cases, "odd results");
}

TEST_F(BackendFaults, OfFailuresBecomeTheDocumentedAnswersAndOneLine)
{
    Watchdog watchdog(20000);
    for (const Forwarder& each : Forwarders()) {
        for (const HRESULT failure : kFailures) {
            SCOPED_TRACE(failure);
            watchdog.Beat("a failure", failure);
            // With and without something left in the result all the same.
            for (const Answer& answer :
                 {Fails(failure), Fails(failure, L"left"), Fails(failure, I4(0x10001))})
                Misbehave(each, answer, OutcomeOf(each, answer));
        }
        // A look-up comes without arguments.
        if (each.when.empty()) Misbehave(each, UnknownName(), OutcomeOf(each, UnknownName()));
    }
    Did("backend faults", cases, "failures");
}

TEST_F(BackendFaults, OfEveryKindBecomeOneLineAndLeaveBothLocksFree)
{
    Watchdog watchdog(20000);
    const ComPtr<IDispatch> other = Make(kDeviceMgr);
    const auto locksAreFree = [&] {
        return ComesBackOnAnotherThread([&] {
            // The cache lock for the look-up, the backend lock for the call.
            EXPECT_EQ(I2(0), Call(other.Get(), L"userLoginEx", {L"", L"c1", L"", L"1234"}).value);
        });
    };
    for (const Forwarder& each : Forwarders()) {
        for (const FaultKind kind : kAllFaults) {
            SCOPED_TRACE(NameOf(kind));
            watchdog.Beat(NameOf(kind));
            Misbehave(each, Faults(kind), OutcomeOfFault(each));
            ASSERT_EQ(plannedFatalLines, FatalLines()) << each.Name();
            if (!locksAreFree()) {
                ADD_FAILURE() << "a lock was lost by " << each.Name();
                TerminateProcess(GetCurrentProcess(), Watchdog::kExitCode);
            }
        }
    }
    Did("backend faults", cases, "faults");
}

}  // namespace
}  // namespace kzr::test
