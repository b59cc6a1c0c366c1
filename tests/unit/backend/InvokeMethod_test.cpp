// Calls by name: what the backend receives, what the two lines show, what comes back.
#include <thread>

#include "backend/ResultText.h"
#include "com/Error.h"
#include "unit/backend/BackendFixture.h"

namespace kzr::test {
namespace {

using namespace std::literals;

class InvokeMethod : public BackendFixture {
  protected:
    void SetUp() override
    {
        BackendFixture::SetUp();
        app = Loaded();
    }
    void TearDown() override
    {
        if (app) CAxKzrApp::Release();
        app.reset();
        BackendFixture::TearDown();
    }

    // A call with these arguments as they stand, in the backend's own order.
    HRESULT Invoke(const wchar_t* name, const Values& arguments, Variant& result)
    {
        std::vector<VARIANT> reversed;
        for (auto value = arguments.rbegin(); value != arguments.rend(); ++value)
            reversed.push_back(value->Get());
        return app->InvokeMethod(name, reversed.empty() ? nullptr : reversed.data(),
                                 static_cast<unsigned>(reversed.size()), result.put());
    }

    std::shared_ptr<CAxKzrApp> app;
};

// What a call with these arguments and this result must show.
struct Row {
    const char* name;
    Values arguments;
    Value result;
    std::string shownArguments;
    std::string shownResult;
};

class InvokeMethodLines : public InvokeMethod, public testing::WithParamInterface<Row> {};

TEST_P(InvokeMethodLines, ShowArgumentsAndResult)
{
    const Row& row = GetParam();
    backend->Expect(L"SOF_Method", row.arguments, row.result);
    Variant result;
    EXPECT_EQ(S_OK, Invoke(L"SOF_Method", row.arguments, result));
    EXPECT_EQ(row.result, Value(result.Get()));
    const std::vector<LogRecord> records = TakeLog();
    ASSERT_EQ(2u, records.size());
    EXPECT_EQ("[trace] AxKzrApp status(0) CAxKzrApp: call KzrAppCOM SOF_Method, param count(" +
                  std::to_string(row.arguments.size()) + ") param(s)(" + row.shownArguments + ")",
              Describe(records[0]));
    EXPECT_EQ(
        "[trace] AxKzrApp status(0) CAxKzrApp: call KzrAppCOM SOF_Method, result(" + row.shownResult + ")...",
        Describe(records[1]));
}

const Row kRows[] = {
    {"NoArguments", {}, Empty(), "", ""},
    {"OneText", {L"abc"}, L"xyz", "abc", "xyz"},
    {"TextShortAndBoolean", {L"abc", I2(3), Bool(true)}, Bool(true), "abc--3--VARIANT_TRUE", "VARIANT_TRUE"},
    {"ANegativeShortKeepsItsSign", {I2(-1)}, I2(-32768), "-1", "-32768"},
    {"ANegativeLongKeepsItsSign", {I4(-2147483647 - 1)}, I4(-1), "-2147483648", "-1"},
    {"FalseIsShown", {Bool(false)}, Bool(false), "VARIANT_FALSE", "VARIANT_FALSE"},
    {"AnyNonZeroBooleanIsTrue",
     {Value::Raw(VT_BOOL, 1)},
     Value::Raw(VT_BOOL, 2),
     "VARIANT_TRUE",
     "VARIANT_TRUE"},
    {"AnEmptyBetweenTwoTextsLeavesItsSeparator", {L"a", Empty(), L"b"}, Null(), "a----b", ""},
    {"TwoUnrenderedOnesLeaveOneSeparator", {Empty(), Null()}, Empty(), "--", ""},
    {"OtherNumbersAreNotShown", {UI4(7), R8(1.5)}, UI4(7), "--", ""},
    {"AFractionIsNotShown", {L"x"}, R8(0.5), "x", ""},
    {"AnErrorIsNotShown", {Error(E_FAIL), L"x"}, Error(E_FAIL), "--x", ""},
    {"EmptyTexts", {L"", L""}, L"", "--", ""},
    {"NullTexts", {NullText(), NullText()}, NullText(), "--", ""},
    {"ASeparatorInATextIsNotMarked", {L"a--b", L"c"}, L"--", "a--b--c", "--"},
    {"PercentSigns", {L"%s%n", L"100%"}, L"%d%s", "%s%n--100%", "%d%s"},
    {"TextThatThePageCannotHold", {L"a\u4e2db"}, L"\u6587", "a?b", "?"},
    {"PinsStandInClear", {L"c1/SN01", L"12345678"}, I4(0), "c1/SN01--12345678", "0"},
    {"LineFeedsStayInside", {L"a\nb"}, L"c\nd", "a\nb", "c\nd"},
    {"TheTextsEndAtTheirFirstNull", {std::wstring(L"a\0b", 3), L"c"}, std::wstring(L"d\0e", 3), "a", "d"},
    {"AnOddByteIsNotShown", {Bytes("a\0b\0c"sv)}, Bytes("d\0e"sv), "ab", "d"},
};

INSTANTIATE_TEST_SUITE_P(Each, InvokeMethodLines, testing::ValuesIn(kRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(InvokeMethod, EveryCallLooksItsNameUpAnew)
{
    backend->Allow(L"SOF_Method", Value(L"x"));
    Variant result;
    for (int i = 0; i < 3; ++i) EXPECT_EQ(S_OK, Invoke(L"SOF_Method", {}, result));
    const std::vector<RecordedCall> calls = backend->AllCalls();
    ASSERT_EQ(6u, calls.size());
    for (std::size_t i = 0; i < calls.size(); ++i) EXPECT_EQ(i % 2 == 0, calls[i].isLookUp);
}

TEST_F(InvokeMethod, AnUnknownNameGivesTheLookUpsResultAndBothLines)
{
    for (const HRESULT failure : {DISP_E_UNKNOWNNAME, E_ACCESSDENIED}) {
        backend->Expect(L"SOF_Unknown", {}, UnknownName(failure));
        Variant result;
        EXPECT_EQ(failure, Invoke(L"SOF_Unknown", {L"x"}, result));
        EXPECT_EQ(VT_EMPTY, result.Type());
        ExpectLines({CallLine(L"SOF_Unknown", {L"x"}), ResultLine(L"SOF_Unknown", Empty())});
    }
    EXPECT_EQ(0u, backend->CallsOf(L"SOF_Unknown"));
}

TEST_F(InvokeMethod, AFailureComesBackUnchangedWithWhateverTheBackendLeft)
{
    for (const HRESULT answered : {E_FAIL, E_ACCESSDENIED, DISP_E_EXCEPTION, S_FALSE, HRESULT(7)}) {
        backend->Expect(L"SOF_Method", {}, Fails(answered, L"left"));
        Variant result;
        EXPECT_EQ(answered, Invoke(L"SOF_Method", {}, result));
        EXPECT_EQ(Value(L"left"), Value(result.Get()));
        ExpectLines({CallLine(L"SOF_Method", {}), ResultLine(L"SOF_Method", L"left")});
    }
}

TEST_F(InvokeMethod, AfterTheReleaseThereIsOnlyOneLineAndNoCall)
{
    CAxKzrApp::Release();
    TakeLog();
    Variant result = Variant::OfLong(5);
    VARIANT untouched = result.Get();
    EXPECT_EQ(E_FAIL, app->InvokeMethod(L"SOF_Method", nullptr, 0, &untouched));
    EXPECT_EQ(VT_I4, untouched.vt);
    EXPECT_EQ(5, untouched.lVal);
    ExpectLines({Error("CAxKzrApp::InvokeMethod have released!!!")});
    EXPECT_TRUE(backend->AllCalls().empty());
    app.reset();
}

TEST_F(InvokeMethod, CallSendsTypedArgumentsInTheBackendsOrder)
{
    backend->Expect(L"SOF_Method", {L"text", I2(2), I4(4), L"wide", NullText(), L""}, L"done");
    Variant result;
    EXPECT_EQ(S_OK, app->Call(L"SOF_Method", result, L"text", short{2}, 4l, std::wstring(L"wide"),
                              static_cast<const wchar_t*>(nullptr), L""));
    EXPECT_EQ(L"done", WideText(result.Text()));
}

TEST_F(InvokeMethod, CallsOfTwoThreadsNeverOverlap)
{
    backend->Allow(L"SOF_Slow", Answer(L"x").After(5));
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([this] {
            for (int j = 0; j < 10; ++j) {
                Variant result;
                app->Call(L"SOF_Slow", result);
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(30u, backend->CallsOf(L"SOF_Slow"));
    EXPECT_EQ(0, backend->Overlaps());
    // Nor do their lines.
    const std::vector<LogRecord> records = TakeLog();
    ASSERT_EQ(60u, records.size());
    for (std::size_t i = 0; i < records.size(); i += 2) {
        EXPECT_EQ(records[i].thread, records[i + 1].thread);
        EXPECT_NE(std::string::npos, records[i].message.find("param count"));
        EXPECT_NE(std::string::npos, records[i + 1].message.find("result("));
    }
}

TEST_F(InvokeMethod, ACallInsideACallGoesThroughOnTheSameThread)
{
    backend->Expect(L"SOF_Outer", {}, Answer(L"outer").Running([this] {
        Variant inner;
        EXPECT_EQ(S_OK, app->Call(L"SOF_Inner", inner));
    }));
    backend->Expect(L"SOF_Inner", {}, L"inner");
    Variant result;
    EXPECT_EQ(S_OK, app->Call(L"SOF_Outer", result));
    ExpectLines({CallLine(L"SOF_Outer", {}), CallLine(L"SOF_Inner", {}), ResultLine(L"SOF_Inner", L"inner"),
                 ResultLine(L"SOF_Outer", L"outer")});
}

TEST_F(InvokeMethod, TheLockIsHeldAcrossTheCall)
{
    bool held = false;
    backend->Expect(L"SOF_Method", {},
                    Answer(L"x").Running([&] { held = BackendLock().IsMine() && !CacheLock().IsMine(); }));
    Variant result;
    app->Call(L"SOF_Method", result);
    EXPECT_TRUE(held);
}

class InvokeMethodFault : public InvokeMethod, public testing::WithParamInterface<FaultKind> {};

TEST_P(InvokeMethodFault, ComesOutAsAThrowWithTheLockGivenBack)
{
    for (int i = 0; i < 2; ++i) {
        backend->Expect(L"SOF_Method", {L"x"}, Faults(GetParam()));
        Variant result;
        std::uint32_t code = 0;
        try {
            Invoke(L"SOF_Method", {L"x"}, result);
        } catch (const Fault& fault) {
            code = fault.Code();
        }
        EXPECT_EQ(CodeOf(GetParam()), code);
        EXPECT_EQ(0, BackendLock().MyDepth());
        EXPECT_TRUE(IsFree(BackendLock()));
        ExpectLines({CallLine(L"SOF_Method", {L"x"})});
    }
    // And it still works.
    backend->Expect(L"SOF_Method", {L"x"}, L"fine");
    Variant result;
    EXPECT_EQ(S_OK, Invoke(L"SOF_Method", {L"x"}, result));
}

INSTANTIATE_TEST_SUITE_P(Each, InvokeMethodFault, testing::ValuesIn(kAllFaults),
                         [](const auto& row) { return std::string(NameOf(row.param)); });

TEST_F(InvokeMethod, AVeryLongArgumentLosesItsLineAndNothingElse)
{
    const std::wstring text(40000, L'x');
    backend->Expect(L"SOF_Method", {text}, Value(text));
    Variant result;
    EXPECT_EQ(S_OK, Invoke(L"SOF_Method", {text}, result));
    EXPECT_EQ(text, WideText(result.Text()));
    const std::vector<LogRecord> records = TakeLog();
    ASSERT_EQ(2u, records.size());
    EXPECT_TRUE(records[0].lost && records[1].lost);
}

// A result as a script's text.

TEST(ResultToRetVal, CopiesATextToTheByte)
{
    for (const Value& text : {Value(L"text"), Value(std::wstring(L"a\0b", 3)), Bytes("odd"), Value(L"")}) {
        Variant result;
        *result.put() = text.Copy();
        BSTR copy = nullptr;
        ASSERT_EQ(S_OK, ResultToRetVal(result, &copy));
        EXPECT_NE(result.Text(), copy);
        VARIANT value;
        value.vt = VT_BSTR;
        value.bstrVal = copy;
        EXPECT_EQ(text, Value::Adopt(value));
    }
}

TEST(ResultToRetVal, OtherTypesLeaveItAlone)
{
    for (const Value& other : {Empty(), Null(), I2(1), I4(1), Bool(true), R8(1), Error(E_FAIL)}) {
        Variant result;
        *result.put() = other.Copy();
        BSTR kept = SysAllocString(L"kept");
        const BSTR before = kept;
        EXPECT_EQ(DISP_E_TYPEMISMATCH, ResultToRetVal(result, &kept)) << Describe(other);
        EXPECT_EQ(before, kept);
        SysFreeString(kept);
    }
}

TEST(ResultToRetVal, HasNowhereToPutItWithoutAPlace)
{
    const Variant text = Variant::OfText(SysAllocString(L"text"));
    EXPECT_EQ(E_POINTER, ResultToRetVal(text, nullptr));
}

TEST(ResultToRetVal, ATextThatCannotBeReadIsAFaultThatCanBeCaught)
{
    bool caught = false;
    RunOwnCode(
        [](void* context) {
            const Variant text = Variant::OfText(reinterpret_cast<BSTR>(16));
            BSTR copy = nullptr;
            try {
                ResultToRetVal(text, &copy);
            } catch (const Fault&) {
                *static_cast<bool*>(context) = true;
            }
            EXPECT_EQ(nullptr, copy);
        },
        &caught);
    EXPECT_TRUE(caught);
}

TEST(ResultToText, ConvertsWhateverCanBeConverted)
{
    const struct {
        Value value;
        const wchar_t* text;
    } rows[] = {{L"text", L"text"}, {I2(-7), L"-7"}, {I4(70000), L"70000"},
                {Empty(), L""},     {Null(), L""},   {NullText(), L""}};
    for (const auto& row : rows) {
        Variant result;
        *result.put() = row.value.Copy();
        EXPECT_EQ(row.text, ResultToText(result)) << Describe(row.value);
    }
}

TEST(ResultToText, SaysByAThrowThatAValueHasNoText)
{
    Variant result;
    *result.put() = Error(E_FAIL).Copy();
    EXPECT_THROW(ResultToText(result), ComError);
}

}  // namespace
}  // namespace kzr::test
