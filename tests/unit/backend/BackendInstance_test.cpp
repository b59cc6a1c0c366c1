// The one instance: its count, its making with every way to fail, its end.
#include "unit/backend/BackendFixture.h"

namespace kzr::test {
namespace {

class BackendInstance : public BackendFixture {};

const LogStep kStarting = Trace("CAxKzrApp::Instance starting...");
const LogStep kNew = Trace("CAxKzrApp::Instance new CAxKzrApp...");
const LogStep kLoad = Trace("CAxKzrApp::Instance LoadKzrAppControl...");
const LogStep kLoadStarting = Trace("CAxKzrApp::LoadKzrAppControl starting...");
const LogStep kLoaded = Trace("CAxKzrApp::LoadKzrAppControl ending ok...");
const LogStep kAdvise = Trace("CAxKzrApp::Instance Advise...");
const LogStep kAdviseStarting = Trace("CAxKzrApp::Advise starting...");
const LogStep kAdvised = Trace("CAxKzrApp::Advise ending...");
const LogStep kReleaseStarting = Trace("CAxKzrApp::Release starting...");
const LogStep kDelete = Trace("CAxKzrApp::Release delete...");
const LogSteps kUpToLoading = {kStarting, kNew, kLoad, kLoadStarting};
const LogSteps kUpToAdvising = kUpToLoading + LogSteps{kLoaded, kAdvise, kAdviseStarting};
const LogSteps kThirdRelease = {kReleaseStarting, Trace("CAxKzrApp::Release ref_counts is 0, return ok...")};

LogStep Counted(int count)
{
    return Trace("CAxKzrApp::Instance ending ok(refcount:" + std::to_string(count) + ")...");
}
LogStep Left(int count) { return Trace("CAxKzrApp::Release ending ok(" + std::to_string(count) + ")..."); }

// Failures show the thread's last error of the moment.
constexpr DWORD kLastError = 0x1234;

TEST_F(BackendInstance, TheFirstHolderLoadsAndAdvises)
{
    const std::shared_ptr<CAxKzrApp> app = CAxKzrApp::Instance();
    ASSERT_TRUE(app);
    ExpectLines(kUpToAdvising + LogSteps{kAdvised, Counted(1)});
    EXPECT_EQ(1, backend->ControlsMade());
    EXPECT_NE(nullptr, backend->Site());
    EXPECT_NE(nullptr, backend->Sink());
    CAxKzrApp::Release();
}

TEST_F(BackendInstance, MakingItAsksForSetUserConfigAndNothingElse)
{
    CAxKzrApp::Instance();
    const std::vector<RecordedCall> calls = backend->AllCalls();
    ASSERT_EQ(2u, calls.size());
    EXPECT_EQ("look-up of SetUserConfig", Describe(calls[0]));
    EXPECT_EQ("SetUserConfig(I4(8), \"off\")", Describe(calls[1]));
    CAxKzrApp::Release();
}

TEST_F(BackendInstance, TheSecondHolderSharesIt)
{
    const std::shared_ptr<CAxKzrApp> first = Loaded();
    const std::shared_ptr<CAxKzrApp> second = CAxKzrApp::Instance();
    EXPECT_EQ(first, second);
    ExpectLines({kStarting, Counted(2)});
    EXPECT_EQ(1, backend->ControlsMade());
    EXPECT_TRUE(backend->AllCalls().empty());
    CAxKzrApp::Release();
    CAxKzrApp::Release();
}

TEST_F(BackendInstance, TheLastReleaseDeletesIt)
{
    Loaded();
    CAxKzrApp::Instance();
    TakeLog();
    CAxKzrApp::Release();
    ExpectLines({kReleaseStarting, Left(1)});
    EXPECT_EQ(1, backend->LiveControls());
    CAxKzrApp::Release();
    ExpectLines({kReleaseStarting, kDelete, Left(0)});
    EXPECT_EQ(0, backend->LiveControls());
}

TEST_F(BackendInstance, TheThirdReleaseOnlySaysThatTheCountIsZero)
{
    Loaded();
    CAxKzrApp::Instance();
    CAxKzrApp::Release();
    CAxKzrApp::Release();
    TakeLog();
    for (int i = 0; i < 3; ++i) {
        CAxKzrApp::Release();
        ExpectLines(kThirdRelease);
    }
    // Nor has it counted downwards.
    CAxKzrApp::Instance();
    ExpectLines(kUpToAdvising + LogSteps{kAdvised, Counted(1)});
    CAxKzrApp::Release();
}

TEST_F(BackendInstance, ANewHolderAfterTheLastMakesANewControl)
{
    for (int i = 1; i <= 3; ++i) {
        const std::shared_ptr<CAxKzrApp> app = CAxKzrApp::Instance();
        ASSERT_TRUE(app);
        ExpectLines(kUpToAdvising + LogSteps{kAdvised, Counted(1)});
        EXPECT_EQ(i, backend->ControlsMade());
        EXPECT_EQ(static_cast<std::size_t>(i), backend->CallsOf(L"SetUserConfig"));
        CAxKzrApp::Release();
        TakeLog();
    }
}

TEST_F(BackendInstance, IsNotMadeWithoutTheBackendsClass)
{
    backend->Unregister();
    SetLastError(kLastError);
    EXPECT_FALSE(CAxKzrApp::Instance());
    const std::vector<LogRecord> records = TakeLog();
    // The last error of the moment is the platform's to set; the lines are ours.
    ASSERT_EQ(6u, records.size());
    EXPECT_EQ(ExpectedLog(kUpToLoading, "AxKzrApp"), DescribeLog({records.begin(), records.begin() + 4}));
    EXPECT_EQ("error", records[4].level);
    EXPECT_EQ("CAxKzrApp::LoadKzrAppControl Failed to create KzrApp control!", records[4].message);
    EXPECT_EQ("error", records[5].level);
    EXPECT_EQ("CAxKzrApp::Instance LoadKzrAppControl error!", records[5].message);

    CAxKzrApp::Release();
    ExpectLines(kThirdRelease);
    backend->Register();
    EXPECT_TRUE(CAxKzrApp::Instance());
    ExpectLines(kUpToAdvising + LogSteps{kAdvised, Counted(1)});
    CAxKzrApp::Release();
}

// One way to fail: what happens where, and the lines that follow.
struct Failure {
    const char* name;
    Step step;
    StepRule rule;
    const char* message;
    bool whileAdvising;
};

constexpr char kNotCreated[] = "CAxKzrApp::LoadKzrAppControl Failed to create KzrApp control!";
constexpr char kNotQueried[] = "CAxKzrApp::LoadKzrAppControl Failed to query interface in KzrApp control!";
constexpr char kNotAdvised[] = "CAxKzrApp::LoadKzrAppControl Failed to advise event in KzrApp contro!";

std::vector<Failure> Failures()
{
    std::vector<Failure> failures;
    const auto add = [&](const char* name, Step step, const StepRule& rule, const char* message,
                         bool advising) {
        failures.push_back({name, step, rule, message, advising});
    };
    StepRule fails, null, faults;
    fails.Fails(E_ACCESSDENIED);
    null.GivesNull();
    faults.Faults(FaultKind::Write);
    add("CreateInstanceFails", Step::CreateInstance, fails, kNotCreated, false);
    add("CreateInstanceGivesNull", Step::CreateInstance, null, kNotCreated, false);
    add("CreateInstanceFaults", Step::CreateInstance, faults, kNotCreated, false);
    add("QueryDispatchFails", Step::QueryDispatch, fails, kNotCreated, false);
    add("QueryOleObjectFails", Step::QueryOleObject, fails, kNotQueried, false);
    add("QueryOleObjectGivesNull", Step::QueryOleObject, null, kNotQueried, false);
    add("QueryOleObjectFaults", Step::QueryOleObject, faults, kNotQueried, false);
    add("QueryContainerFails", Step::QueryContainer, fails, kNotAdvised, true);
    add("QueryContainerGivesNull", Step::QueryContainer, null, kNotAdvised, true);
    add("QueryContainerFaults", Step::QueryContainer, faults, kNotAdvised, true);
    add("FindConnectionPointFails", Step::FindConnectionPoint, fails, kNotAdvised, true);
    add("FindConnectionPointGivesNull", Step::FindConnectionPoint, null, kNotAdvised, true);
    add("FindConnectionPointFaults", Step::FindConnectionPoint, faults, kNotAdvised, true);
    add("AdviseFails", Step::Advise, fails, kNotAdvised, true);
    for (const FaultKind kind : kAllFaults) {
        StepRule rule;
        rule.Faults(kind);
        static std::vector<std::string> names;
        names.reserve(16);
        names.push_back(std::string("AdviseEndsIn") + NameOf(kind));
        add(names.back().c_str(), Step::Advise, rule, kNotAdvised, true);
    }
    return failures;
}

class BackendInstanceFailure : public BackendInstance, public testing::WithParamInterface<Failure> {};

TEST_P(BackendInstanceFailure, WritesItsLinesAndCleansUp)
{
    const Failure& failure = GetParam();
    backend->At(failure.step) = failure.rule;
    backend->At(failure.step).Runs([] { SetLastError(kLastError); });
    EXPECT_FALSE(CAxKzrApp::Instance());

    const std::vector<LogRecord> records = TakeLog();
    const LogSteps before = failure.whileAdvising ? kUpToAdvising : kUpToLoading;
    ASSERT_EQ(before.size() + 2, records.size());
    EXPECT_EQ(ExpectedLog(before, "AxKzrApp"), DescribeLog({records.begin(), records.end() - 2}));
    const LogRecord& cause = records[records.size() - 2];
    EXPECT_EQ("error", cause.level);
    EXPECT_EQ(failure.message, cause.message);
    const LogRecord& consequence = records.back();
    EXPECT_EQ("error", consequence.level);
    EXPECT_EQ(failure.whileAdvising ? "CAxKzrApp::Instance Advise error!"
                                    : "CAxKzrApp::Instance LoadKzrAppControl error!",
              consequence.message);
    EXPECT_EQ("AxKzrApp", cause.source);
    EXPECT_EQ("AxKzrApp", consequence.source);

    // Nothing of the attempt is left, and nobody was counted.
    EXPECT_EQ(0, backend->LiveControls());
    CAxKzrApp::Release();
    ExpectLines(kThirdRelease);

    // The next one starts from the beginning.
    backend->At(failure.step) = StepRule();
    EXPECT_TRUE(CAxKzrApp::Instance());
    ExpectLines(kUpToAdvising + LogSteps{kAdvised, Counted(1)});
    CAxKzrApp::Release();
}

INSTANTIATE_TEST_SUITE_P(Each, BackendInstanceFailure, testing::ValuesIn(Failures()),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(BackendInstance, AFailureShowsTheThreadsLastErrorAndNotTheResult)
{
    backend->At(Step::QueryOleObject).Fails(E_ACCESSDENIED).Runs([] { SetLastError(kLastError); });
    EXPECT_FALSE(CAxKzrApp::Instance());
    const std::vector<LogRecord> records = TakeLog();
    ASSERT_EQ(6u, records.size());
    EXPECT_EQ(kLastError, records[4].status);
    EXPECT_EQ(kLastError, records[5].status);
}

TEST_F(BackendInstance, AFailedAdviseShowsTheThreadsLastErrorToo)
{
    backend->At(Step::Advise).Fails(E_ACCESSDENIED).Runs([] { SetLastError(kLastError); });
    EXPECT_FALSE(CAxKzrApp::Instance());
    const std::vector<LogRecord> records = TakeLog();
    ASSERT_EQ(9u, records.size());
    EXPECT_EQ(kLastError, records[7].status);
    EXPECT_EQ(kLastError, records[8].status);
}

// Steps whose failure nobody minds.
class BackendInstanceIndifference : public BackendInstance, public testing::WithParamInterface<Failure> {};

TEST_P(BackendInstanceIndifference, ChangesNothing)
{
    backend->At(GetParam().step) = GetParam().rule;
    EXPECT_TRUE(CAxKzrApp::Instance());
    ExpectLines(kUpToAdvising + LogSteps{kAdvised, Counted(1)});
    CAxKzrApp::Release();
    ExpectLines({kReleaseStarting, kDelete, Left(0)});
    EXPECT_EQ(0, backend->LiveControls());
}

std::vector<Failure> Indifferences()
{
    StepRule fails, faults;
    fails.Fails(E_ACCESSDENIED);
    faults.Faults(FaultKind::Write);
    return {
        {"SetClientSiteFails", Step::SetClientSite, fails, "", false},
        {"SetClientSiteFaults", Step::SetClientSite, faults, "", false},
        {"LookUpSetUserConfigFails", Step::LookUpSetUserConfig, fails, "", false},
        {"LookUpSetUserConfigFaults", Step::LookUpSetUserConfig, faults, "", false},
        {"SetUserConfigFails", Step::SetUserConfig, fails, "", false},
        {"SetUserConfigFaults", Step::SetUserConfig, faults, "", false},
        {"UnadviseFails", Step::Unadvise, fails, "", false},
        {"UnadviseFaults", Step::Unadvise, faults, "", false},
        {"ReleaseFaults", Step::LastRelease, faults, "", false},
    };
}

INSTANTIATE_TEST_SUITE_P(Each, BackendInstanceIndifference, testing::ValuesIn(Indifferences()),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(BackendInstance, ABackendWithoutSetUserConfigIsNotCalled)
{
    backend->At(Step::LookUpSetUserConfig).Fails(DISP_E_UNKNOWNNAME);
    EXPECT_TRUE(CAxKzrApp::Instance());
    EXPECT_EQ(0u, backend->CallsOf(L"SetUserConfig"));
    CAxKzrApp::Release();
}

TEST_F(BackendInstance, ItsEndUndoesTheConnection)
{
    int unadvised = 0;
    backend->At(Step::Unadvise).Runs([&] { ++unadvised; });
    Loaded();
    EXPECT_EQ(0, unadvised);
    CAxKzrApp::Release();
    EXPECT_EQ(1, unadvised);
}

TEST_F(BackendInstance, AnEndThatCannotFindTheConnectionReleasesTheControlAllTheSame)
{
    Loaded();
    backend->At(Step::FindConnectionPoint).Fails(E_FAIL);
    CAxKzrApp::Release();
    EXPECT_EQ(0, backend->LiveControls());
}

TEST_F(BackendInstance, HoldersOfManyThreadsAreCountedOneByOne)
{
    Loaded();
    std::vector<HANDLE> threads;
    for (int i = 0; i < 4; ++i)
        threads.push_back(CreateThread(
            nullptr, 0,
            [](void*) -> DWORD {
                for (int j = 0; j < 200; ++j) {
                    if (!CAxKzrApp::Instance()) return 1;
                    CAxKzrApp::Release();
                }
                return 0;
            },
            nullptr, 0, nullptr));
    for (const HANDLE thread : threads) {
        DWORD code = 9;
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread, 60000));
        GetExitCodeThread(thread, &code);
        EXPECT_EQ(0u, code);
        CloseHandle(thread);
    }
    TakeLog();
    CAxKzrApp::Release();
    ExpectLines({kReleaseStarting, kDelete, Left(0)});
    EXPECT_EQ(1, backend->ControlsMade());
}

TEST_F(BackendInstance, TheLockIsHeldWhileItIsMadeAndWhileItEnds)
{
    int held = 0;
    for (const Step step :
         {Step::CreateInstance, Step::SetUserConfig, Step::Advise, Step::Unadvise, Step::LastRelease})
        backend->At(step).Runs([&] { held += BackendLock().MyDepth(); });
    Loaded();
    CAxKzrApp::Release();
    EXPECT_EQ(5, held);
}

TEST_F(BackendInstance, TheFirstLineIsWrittenBeforeTheLockIsTaken)
{
    Loaded();
    const struct {
        DWORD (*work)(void*);
        LogStep first, last;
    } rows[] = {{[](void*) -> DWORD { return CAxKzrApp::Instance() ? 0 : 1; }, kStarting, Counted(2)},
                {[](void*) -> DWORD { return CAxKzrApp::Release(), 0; }, kReleaseStarting, Left(1)}};
    for (const auto& row : rows) {
        HANDLE thread = nullptr;
        {
            const LockGuard held = BackendLock().lock();
            thread = CreateThread(nullptr, 0, row.work, nullptr, 0, nullptr);
            // It has all the time it wants, and waits.
            EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), WaitForSingleObject(thread, 300));
            ExpectLines({row.first});
        }
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread, 10000));
        CloseHandle(thread);
        ExpectLines({row.last});
    }
    CAxKzrApp::Release();
}

// Re-entrancy: what the backend lets in on this thread while it works for us.

TEST_F(BackendInstance, AHolderThatComesInWhileItLoadsSharesIt)
{
    std::shared_ptr<CAxKzrApp> inner;
    backend->At(Step::SetUserConfig).Runs([&] { inner = CAxKzrApp::Instance(); });
    const std::shared_ptr<CAxKzrApp> outer = CAxKzrApp::Instance();
    ASSERT_TRUE(outer);
    EXPECT_EQ(outer, inner);
    EXPECT_EQ(1, backend->ControlsMade());
    ExpectLines(kUpToLoading +
                LogSteps{kStarting, Counted(1), kLoaded, kAdvise, kAdviseStarting, kAdvised, Counted(2)});
    CAxKzrApp::Release();
    CAxKzrApp::Release();
}

TEST_F(BackendInstance, AHolderThatComesAndGoesWhileItIsMadeDoesNotEndIt)
{
    for (const Step step : {Step::SetUserConfig, Step::Advise}) {
        backend->At(step).Runs([&] {
            backend->At(step) = StepRule();
            EXPECT_TRUE(CAxKzrApp::Instance());
            CAxKzrApp::Release();
        });
        const std::shared_ptr<CAxKzrApp> app = CAxKzrApp::Instance();
        ASSERT_TRUE(app);
        const LogSteps visit = {kStarting, Counted(1), kReleaseStarting, Left(0)};
        const LogSteps advised = {kAdvised, Counted(1)};
        ExpectLines(step == Step::Advise
                        ? kUpToAdvising + visit + advised
                        : kUpToLoading + visit + LogSteps{kLoaded, kAdvise, kAdviseStarting} + advised);
        EXPECT_EQ(1, backend->LiveControls());
        backend->Expect(L"SOF_Login", {}, L"in");
        Variant result;
        EXPECT_EQ(S_OK, app->Call(L"SOF_Login", result));
        TakeLog();
        CAxKzrApp::Release();
        ExpectLines({kReleaseStarting, kDelete, Left(0)});
        EXPECT_EQ(0, backend->LiveControls());
    }
}

TEST_F(BackendInstance, AHolderThatCameWhileItCouldNotBeMadeIsStillCounted)
{
    std::shared_ptr<CAxKzrApp> inner;
    backend->At(Step::Advise).Fails(E_ACCESSDENIED).Runs([&] { inner = CAxKzrApp::Instance(); });
    EXPECT_FALSE(CAxKzrApp::Instance());
    ASSERT_TRUE(inner);
    backend->At(Step::Advise) = StepRule();
    TakeLog();
    Variant result;
    EXPECT_EQ(E_FAIL, inner->Call(L"SOF_Login", result));
    ExpectLines({Error("CAxKzrApp::InvokeMethod have released!!!")});
    CAxKzrApp::Release();
    ExpectLines({kReleaseStarting, Left(0)});
    CAxKzrApp::Release();
    ExpectLines(kThirdRelease);
}

TEST_F(BackendInstance, ALastReleaseInTheMiddleOfACallLeavesTheCallWhole)
{
    std::shared_ptr<CAxKzrApp> app = Loaded();
    CAxKzrApp* const raw = app.get();
    backend->Expect(L"SOF_Login", {L"id"}, Answer(I4(7)).Running([&] {
        app.reset();
        CAxKzrApp::Release();
    }));
    Variant result;
    EXPECT_EQ(S_OK, raw->Call(L"SOF_Login", result, L"id"));
    EXPECT_EQ(7, result.Bits32());
    EXPECT_EQ(0, backend->LiveControls());
    ExpectLines({CallLine(L"SOF_Login", {L"id"}), kReleaseStarting, kDelete, Left(0),
                 ResultLine(L"SOF_Login", I4(7))});
}

TEST_F(BackendInstance, ANewHolderInTheMiddleOfItsEndGetsANewOne)
{
    const std::shared_ptr<CAxKzrApp> first = Loaded();
    std::shared_ptr<CAxKzrApp> second;
    backend->At(Step::Unadvise).Runs([&] {
        backend->At(Step::Unadvise) = StepRule();
        second = CAxKzrApp::Instance();
    });
    CAxKzrApp::Release();
    ASSERT_TRUE(second);
    EXPECT_NE(first, second);
    EXPECT_EQ(2, backend->ControlsMade());
    EXPECT_EQ(1, backend->LiveControls());
    Variant result;
    backend->Expect(L"SOF_Login", {}, L"");
    EXPECT_EQ(S_OK, second->Call(L"SOF_Login", result));
    CAxKzrApp::Release();
    EXPECT_EQ(0, backend->LiveControls());
}

}  // namespace
}  // namespace kzr::test
