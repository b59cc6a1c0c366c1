// The bench itself: that it notices what it claims to notice.
#include <gtest/gtest-spi.h>

#include "KzrSecX_h.h"
#include "support/Case.h"

namespace kzr::test {
namespace {

const std::vector<Case> kCases = {
    {.name = "SignedDataGivesTheBackendsText",
     .method = L"signedData",
     .id = 5,
     .direct = Direct(&ICrypto::signedData),
     .arguments = {L"text", L"c1"},
     .steps = {Trace("CCrypto: signedData starting..."), Trace("CCrypto: signedData containerName(c1)..."),
               Calls(L"SOF_SignData", {L"c1/SN01", L"text"}, L"signature"),
               Trace("CCrypto: signedData ending ok...")},
     .retVal = L"signature"},
    {.name = "SignedDataReportsAFailedCall",
     .method = L"signedData",
     .id = 5,
     .direct = Direct(&ICrypto::signedData),
     .arguments = {L"text", L"c1"},
     .steps = {Trace("CCrypto: signedData starting..."), Trace("CCrypto: signedData containerName(c1)..."),
               Calls(L"SOF_SignData", {L"c1/SN01", L"text"}, Fails(E_ACCESSDENIED)),
               Error("CCrypto: signedData call SOF_SignMessage return NULL!", E_ACCESSDENIED)},
     .retVal = L""},
};
KZR_CASES(BenchRows, kCrypto, kCases);

class Bench : public ComponentTest {};

const LogSteps kSignedData = {
    Trace("CCrypto: signedData starting..."), Trace("CCrypto: signedData containerName(c1)..."),
    Calls(L"SOF_SignData", {L"", L"text"}, L"signature"), Trace("CCrypto: signedData ending ok...")};

TEST_F(Bench, ACallThatNobodyExpectedFailsTheTest)
{
    const ComPtr<IDispatch> crypto = Make(kCrypto);
    EXPECT_NONFATAL_FAILURE(Call(crypto.Get(), L"signedData", {L"text", L"c1"}), "SOF_SignData");
    EXPECT_EQ(1, backend->Unexpected());
}

TEST_F(Bench, ACallWithAnotherTypeOrValueThanExpectedFailsTheTest)
{
    const ComPtr<IDispatch> crypto = Make(kCrypto);
    for (const Values& expected : {Values{L"", L"Text"}, Values{NullText(), L"text"}, Values{L"text", L""},
                                   Values{L"", L"text", L""}, Values{L"", I4(1)}}) {
        backend->Expect(L"SOF_SignData", expected, L"signature");
        EXPECT_NONFATAL_FAILURE(Call(crypto.Get(), L"signedData", {L"text", L"c1"}),
                                "a call of SOF_SignData");
        EXPECT_NE("", backend->Unused());
        backend->ForgetUnused();
    }
}

TEST_F(Bench, EachDifferenceInTheLogFailsTheTest)
{
    const ComPtr<IDispatch> crypto = Make(kCrypto);
    log->Take();
    backend->Expect(L"SOF_SignData", {L"", L"text"}, L"signature");
    Call(crypto.Get(), L"signedData", {L"text", L"c1"});
    const std::vector<LogRecord> records = log->Take();
    ExpectLog(kSignedData, records, "Crypto");

    static LogSteps steps;
    static std::vector<LogRecord> written;
    written = records;
    for (std::size_t i = 0; i < kSignedData.size(); ++i) {
        steps = kSignedData;
        steps.erase(steps.begin() + static_cast<int>(i));
        EXPECT_NONFATAL_FAILURE(ExpectLog(steps, written, "Crypto"), "");
    }
    steps = kSignedData;
    std::swap(steps[2], steps[3]);
    EXPECT_NONFATAL_FAILURE(ExpectLog(steps, written, "Crypto"), "");
    steps = kSignedData;
    steps[0] = Notice(steps[0].message);
    EXPECT_NONFATAL_FAILURE(ExpectLog(steps, written, "Crypto"), "notice");
    steps[0] = Trace("CCrypto: signedData starting...").From("Util");
    EXPECT_NONFATAL_FAILURE(ExpectLog(steps, written, "Crypto"), "Util");
    steps = kSignedData;
    steps[2] = Calls(L"SOF_SignData", {L"", L"text"}, L"Signature");
    EXPECT_NONFATAL_FAILURE(ExpectLog(steps, written, "Crypto"), "result(Signature)");
    steps = kSignedData;
    written[0].status = 5;
    EXPECT_NONFATAL_FAILURE(ExpectLog(steps, written, "Crypto"), "status(5)");
}

TEST_F(Bench, AFaultThatNobodyPlannedIsCounted)
{
    EXPECT_TRUE(IsBadReadPtr(reinterpret_cast<const void*>(16), 4));
    EXPECT_EQ(1, FaultCounter::Unplanned());
    FaultCounter::Reset();
    FaultCounter::Allow(1);
    EXPECT_TRUE(IsBadReadPtr(reinterpret_cast<const void*>(16), 4));
    EXPECT_EQ(0, FaultCounter::Unplanned());
    EXPECT_EQ(1, FaultCounter::Planned());
}

TEST_F(Bench, AnIdentifierIsGoodForOneCallOnly)
{
    const ComPtr<IDispatch> util = Make(kUtil);
    ComPtr<IDispatch> control;
    CoCreateInstance(kBackendClass, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, control.putVoid());
    ASSERT_TRUE(control);
    std::wstring name = L"SOF_GetUserList";
    LPOLESTR names = name.data();
    DISPID id = 0;
    ASSERT_EQ(S_OK, control->GetIDsOfNames(IID_NULL, &names, 1, 0x0400, &id));
    DISPPARAMS none{};
    VARIANT result;
    VariantInit(&result);
    EXPECT_EQ(S_OK, control->Invoke(id, IID_NULL, 0x0400, DISPATCH_METHOD, &none, &result, nullptr, nullptr));
    VariantClear(&result);
    EXPECT_NONFATAL_FAILURE(
        control->Invoke(id, IID_NULL, 0x0400, DISPATCH_METHOD, &none, &result, nullptr, nullptr),
        "not looked up");
    ASSERT_EQ(S_OK, control->GetIDsOfNames(IID_NULL, &names, 1, 0x0400, &id));
    EXPECT_NONFATAL_FAILURE(
        control->Invoke(id, IID_NULL, 0x0409, DISPATCH_PROPERTYGET, &none, &result, nullptr, nullptr),
        "locale flags");
    VariantClear(&result);
}

TEST(BenchValues, DifferInTypeAndContent)
{
    const Values different = {Empty(),    Null(),       I2(1),    I2(-1),   I4(1), UI4(1),
                              Bool(true), Bool(false),  R8(1),    L"text",  L"",   NullText(),
                              L"Text",    Bytes("odd"), Error(1), Missing()};
    for (std::size_t i = 0; i < different.size(); ++i)
        for (std::size_t j = 0; j < different.size(); ++j)
            EXPECT_EQ(i == j, different[i] == different[j])
                << Describe(different[i]) << " " << Describe(different[j]);
}

TEST(BenchLog, IsSplitAtRecordsAndNotAtLines)
{
    const std::vector<LogRecord> records = ParseLog(
        "[2024-03-05 09:07:01.042] [trace] tid[4120]AxKzrApp(21): status(0), one\r\ntwo\r\n\r\n"
        "[2024-03-05 09:07:01.043] [error] tid[7]status(80004005), text\r\n"
        "[2024-03-05 09:07:01.044] [error] tid[7]S(1): status(5),\r\n");
    ASSERT_EQ(3u, records.size());
    EXPECT_EQ("[trace] AxKzrApp status(0) one\ntwo\n", Describe(records[0]));
    EXPECT_EQ(4120, records[0].thread);
    EXPECT_EQ(21, records[0].line);
    EXPECT_EQ("[error]  status(80004005) text", Describe(records[1]));
    EXPECT_TRUE(records[2].lost);
    EXPECT_EQ(5u, records[2].status);
}

}  // namespace
}  // namespace kzr::test
