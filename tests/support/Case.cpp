#include "support/Case.h"

#include <memory>

#include "support/WithoutLog.h"

namespace kzr::test {
namespace {

std::string DescribeCalls(const std::vector<RecordedCall>& calls)
{
    std::string text;
    for (const RecordedCall& call : calls) text += Describe(call) + "\n";
    return text;
}

std::string ExpectedCalls(const LogSteps& steps)
{
    std::vector<RecordedCall> calls;
    for (const LogStep& step : steps)
        if (step.isCall && !step.answer.Unknown()) calls.push_back({step.method, step.arguments});
    return DescribeCalls(calls);
}

enum class Lines { Compared, Unwritable };

// The object is new, with a module that has only just been loaded.
void RunOneWay(ComponentTest& test, const ScriptedClass& tested, const Case& row, const DirectCall& way,
               Lines lines = Lines::Compared)
{
    test.Reload();
    test.backend->ForgetEverything();
    test.backend->SetUsers(row.users);
    {
        const ComPtr<IDispatch> object = test.Make(tested);
        if (!object) return;
        if (row.given) row.given(test, object.Get());
        for (const LogStep& step : row.steps)
            if (step.isCall) test.backend->Expect(step.method.c_str(), step.arguments, step.answer);
        test.backend->ForgetCalls();
        test.log->Take();

        const CallResult called = way(object.Get(), row.arguments);
        EXPECT_EQ(row.result, called.result) << std::hex << called.result;
        EXPECT_EQ(row.retVal, called.value);
        if (lines == Lines::Compared) ExpectLog(row.steps, test.log->Take(), tested.source);
        EXPECT_EQ(ExpectedCalls(row.steps), DescribeCalls(test.backend->Calls()));
        EXPECT_EQ("", test.backend->Unused());
        if (row.then) row.then(test, object.Get());
    }
    EXPECT_EQ(S_OK, test.dll->CanUnloadNow());
}

class CaseTest : public ComponentTest {
  public:
    CaseTest(const ScriptedClass& tested, const Case& row) : m_tested(tested), m_row(row)
    {
        allowFatalErrors = row.mayFault;
    }
    void TestBody() override { RunCase(*this, m_tested, m_row); }

  private:
    const ScriptedClass& m_tested;
    const Case m_row;
};

// All rows of a table with a log that cannot be opened: the answers and the backend calls stay what they are.
class WithoutLogTest : public ComponentTest {
  public:
    using Rows = std::shared_ptr<const std::vector<Case>>;
    WithoutLogTest(const ScriptedClass& tested, Rows rows) : m_tested(tested), m_rows(std::move(rows)) {}
    void TestBody() override
    {
        const WithoutLog unopenable(log->Path());
        for (const Case& row : *m_rows) {
            SCOPED_TRACE(row.name);
            RunOneWay(
                *this, m_tested, row,
                [&](IDispatch* object, const Values& values) { return Call(object, row.id, values); },
                Lines::Unwritable);
        }
        EXPECT_TRUE(unopenable.HasTurnedLinesAway());
    }

  private:
    const ScriptedClass& m_tested;
    const Rows m_rows;
};

}  // namespace

void RunCase(ComponentTest& test, const ScriptedClass& tested, const Case& row)
{
    {
        SCOPED_TRACE("by DISPID");
        RunOneWay(test, tested, row,
                  [&](IDispatch* object, const Values& values) { return Call(object, row.id, values); });
    }
    {
        SCOPED_TRACE("by name");
        RunOneWay(test, tested, row,
                  [&](IDispatch* object, const Values& values) { return Call(object, row.method, values); });
    }
    if (row.direct) {
        SCOPED_TRACE("through the vtable");
        RunOneWay(test, tested, row, row.direct);
    }
}

bool RegisterCases(const char* suite, const char* file, int line, const ScriptedClass& tested,
                   const std::vector<Case>& rows)
{
    for (const Case& row : rows)
        testing::RegisterTest(suite, row.name.c_str(), nullptr, nullptr, file, line,
                              [&tested, row]() -> ComponentTest* { return new CaseTest(tested, row); });
    const auto all = std::make_shared<const std::vector<Case>>(rows);
    testing::RegisterTest(suite, "AllRowsAnswerTheSameWithoutALog", nullptr, nullptr, file, line,
                          [&tested, all]() -> ComponentTest* { return new WithoutLogTest(tested, all); });
    return !rows.empty();
}

}  // namespace kzr::test
