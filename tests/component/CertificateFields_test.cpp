// CCertificate, fields: the basic ones by their old numbers, extensions by object identifier, and the
// unsupported methods.
#include "CertificateRows.h"

namespace kzr::test {
namespace {

constexpr char kStart[] = "CCertificate: getBasicCertInfoByOID starting...";

Case Basic(const std::string& name, int oid, const LogSteps& more, const Value& retVal)
{
    return {.name = name,
            .method = L"getBasicCertInfoByOID",
            .id = 3,
            .direct = Direct(&ICertificate::getBasicCertInfoByOID),
            .arguments = {I2(oid)},
            .steps = LogSteps{Trace(kStart)} + more,
            .retVal = retVal,
            .given = Loaded(L"CERT")};
}

LogStep Ask(int type, const Answer& answer, const Value& certificate = L"CERT")
{
    return Calls(L"SOF_GetCertInfo", {certificate, I2(type)}, answer);
}

Case Gives(const std::string& name, int oid, int type, const Answer& answer, const Value& retVal)
{
    return Basic(name, oid,
                 {Ask(type, answer), Trace("CCertificate: getBasicCertInfoByOID(" + Shown(retVal) + ")..."),
                  Trace("CCertificate: getBasicCertInfoByOID ending ok...")},
                 retVal);
}

Case Fails(const std::string& name, int oid, int type, const Answer& answer)
{
    const HRESULT status = answer.Unknown() ? answer.lookUp : answer.result;
    return Basic(name, oid,
                 {Ask(type, answer),
                  Error("CCertificate: getBasicCertInfoByOID call SOF_GetCertInfo return NULL!", status)},
                 L"");
}

Case Unknown(int oid)
{
    const std::string number = std::to_string(oid);
    return Basic("Oid" + number + "IsNotSupported", oid,
                 {Error("CCertificate: getBasicCertInfoByOID OID(" + number + ") not support!")}, L"");
}

Case ParameterError(const std::string& name, int oid)
{
    return Basic(name, oid,
                 {Error("CCertificate: getBasicCertInfoByOID param error or current Cert is NULL!")}, L"");
}

Case WithoutCertificate(Case row)
{
    row.given = nullptr;
    return row;
}

// An old number, the backend's type, and a text that shows what is done with the answer.
struct Field {
    int oid, type;
    const wchar_t* answer;
    const wchar_t* text;
};
constexpr Field kFields[] = {
    {1, 1, L"V3 Aa", L"V3 Aa"},
    {2, 2, L"0A1BcZ", L"0a1bcz"},
    {3, 3, L"SM2 Sign", L"SM2 Sign"},
    {4, 8, L"Issuer CA", L"Issuer CA"},
    {5, 11, L"20230405101112Z", L"2023/04/05"},
    {6, 12, L"20240131235959Z", L"2024/01/31"},
    {7, 20, L"CN=Alice, O=Org", L"CN=Alice, O=Org"},
    {8, 19, L"PublicKey", L"PublicKey"},
    {41, 17, L"Alice", L"Alice"},
    {42, 13, L"CN", L"CN"},
    {43, 18, L"a@B.org", L"a@B.org"},
    {44, 16, L"Beijing", L"Beijing"},
    {45, 14, L"Org", L"Org"},
    {46, 15, L"Unit", L"Unit"},
};

Rows EveryField()
{
    Rows rows;
    for (const Field& field : kFields) {
        const std::string oid = "Oid" + std::to_string(field.oid);
        rows.push_back(Gives(oid + "AsksForItsType", field.oid, field.type, field.answer, field.text));
        rows.push_back(Fails(oid + "IsEmptyForAnEmptyAnswer", field.oid, field.type, L""));
        rows.push_back(
            Fails(oid + "IsEmptyWhenTheCallFails", field.oid, field.type, test::Fails(E_ACCESSDENIED, L"x")));
    }
    for (const int oid : {9, 10, 20, 39, 40, 47, 48, 255, 256, 299, 300}) rows.push_back(Unknown(oid));
    return rows;
}
KZR_CASES(CertificateBasicFields, kCertificate, EveryField());

const Value kWithNulls(std::wstring(L"one\0Two", 7));

Case GivenOid(Case row, const std::string& name, const Value& oid)
{
    row.name = name;
    row.arguments = {oid};
    return row;
}

const Rows kBasicRows = {
    ParameterError("Oid0IsAParameterError", 0),
    ParameterError("OidMinus1IsAParameterError", -1),
    ParameterError("Oid301IsAParameterError", 301),
    ParameterError("TheLargestOidIsAParameterError", 32767),
    ParameterError("TheSmallestOidIsAParameterError", -32768),
    WithoutCertificate(ParameterError("WithoutACertificateEveryOidIsAParameterError", 1)),
    WithoutCertificate(ParameterError("WithoutACertificateAnUnsupportedOidIsAParameterError", 9)),
    WithoutCertificate(ParameterError("WithoutACertificateTheDatesAreParameterErrors", 5)),
    Gives("TakesATextWithAPositiveStatus", 1, 1, test::Fails(S_FALSE, L"V3"), L"V3"),
    Gives("LowersCapitalsOnly", 2, 2, L"@AZ[`az{09", L"@az[`az{09"),
    Gives("KeepsADateOfEightDigits", 5, 11, L"20230405", L"2023/04/05"),
    Gives("DropsWhateverFollowsTheDate", 6, 12, L"20991231 and much more", L"2099/12/31"),
    Gives("DoesNotJudgeADate", 5, 11, L"YYYYMMDDhhmmss", L"YYYY/MM/DD"),
    Gives("KeepsTheNullsOfAText", 1, 1, kWithNulls, kWithNulls),
    Gives("KeepsAnOddByteAtTheEnd", 7, 20, Bytes("abcde"), Bytes("abcde")),
    Gives("KeepsALongText", 8, 19, std::wstring(8000, L'k'), std::wstring(8000, L'k')),
    Fails("LogsThePositiveStatusOfAnEmptyAnswer", 1, 1, test::Fails(S_FALSE, L"")),
    Fails("IsEmptyForANumber", 1, 1, I4(7)),
    Fails("IsEmptyForNoAnswer", 1, 1, Empty()),
    Fails("IsEmptyForANullText", 2, 2, NullText()),
    Fails("IsEmptyForTrueInPlaceOfADate", 5, 11, Bool(true)),
    Fails("IsEmptyWhenTheBackendHasNoSuchMethod", 1, 1, UnknownName()),
    GivenOid(Gives("", 41, 17, L"Alice", L"Alice"), "TakesAScriptsNumber", I4(41)),
    GivenOid(Gives("", 41, 17, L"Alice", L"Alice"), "TakesABrokenNumber", R8(41.0)),
    GivenOid(Gives("", 41, 17, L"Alice", L"Alice"), "TakesATextForItsNumber", L"41"),
    GivenOid(Gives("", 41, 17, L"Alice", L"Alice"), "TakesAVariable", ByVariant(I2(41))),
    GivenOid(ParameterError("", 0), "TakesUndefinedForZero", Empty()),
    OnlyByDispatch("AnOidBeyond16BitsIsTurnedAway", L"getBasicCertInfoByOID", 3, {I4(65537)},
                   DISP_E_OVERFLOW),
};
KZR_CASES(CertificateBasicRules, kCertificate, kBasicRows);

Forwarding Extension(const Value& oid = L"1.2.3.4", const Value& certificate = L"CERT")
{
    return {"",
            L"getExtCertInfoByOID",
            5,
            Direct(&ICertificate::getExtCertInfoByOID),
            {oid},
            {Trace("CCertificate: getExtCertInfoByOID starting...")},
            L"SOF_GetCertInfoByOid",
            {certificate, oid},
            {Trace("CCertificate: GetCertInfoByOid ending ok...")},
            "CCertificate: GetCertInfoByOid call getExtCertInfoByOID return NULL!"};
}

Rows WithCertificate(Rows rows)
{
    for (Case& row : rows) row.given = Loaded(L"CERT");
    return rows;
}

Case ExtensionError(const std::string& name, const Value& oid)
{
    Case row = TextRow(Extension(), name);
    row.arguments = {oid};
    row.steps = {Trace("CCertificate: getExtCertInfoByOID starting..."),
                 Error("CCertificate: getExtCertInfoByOID param error or current Cert is NULL!")};
    row.retVal = L"";
    return row;
}

const Rows kExtensions = Join({
    WithCertificate(TextOutcomes(Extension())),
    WithCertificate({
        ExtensionError("AnEmptyOidIsAParameterError", L""),
        ExtensionError("ANullOidIsAParameterError", NullText()),
        ExtensionError("UndefinedIsAParameterError", Empty()),
        TextRow(Extension(L"no oid at all"), "LeavesItToTheBackendWhatIsAnOid"),
        TextRow(Extension(L" "), "PassesABlank"),
        GivenAs(TextRow(Extension(L"25"), ""), "TakesANumberForItsText", {I4(25)}),
    }),
    {
        ExtensionError("WithoutACertificateIsAParameterError", L"1.2.3.4"),
        ExtensionError("WithoutACertificateAndOidIsAParameterError", L""),
    },
});
KZR_CASES(CertificateExtension, kCertificate, kExtensions);

Case Unsupported(const std::string& name, const wchar_t* method, DISPID id, const DirectCall& direct,
                 const char* named, const Values& arguments, const Value& retVal)
{
    const std::string prefix = std::string("CCertificate: ") + named;
    return {.name = name,
            .method = method,
            .id = id,
            .direct = direct,
            .arguments = arguments,
            .steps = {Trace(prefix + " starting..."), Notice(prefix + " not support!")},
            .retVal = retVal};
}

const auto kModify = Direct(&ICertificate::modifyPFXPwd);
const auto kModify2 = Direct(&ICertificate::modifyPFXPwd2);
const auto kSave = Direct(&ICertificate::SavePFXToCBIEx);
const auto kParse = Direct(&ICertificate::ParseCBIToPFXEx);
const auto kClear = Direct(&ICertificate::ClearConfig);

const Rows kUnsupported = {
    Unsupported("ModifyPFXPwdIsMinusOne", L"modifyPFXPwd", 7, kModify, "modifyPFXPwd", {L"a", L"b", L"c"},
                I2(-1)),
    Unsupported("ModifyPFXPwdReadsNoArgument", L"modifyPFXPwd", 7, kModify, "modifyPFXPwd",
                {NullText(), NullText(), NullText()}, I2(-1)),
    Unsupported("ModifyPFXPwd2IsMinusOne", L"modifyPFXPwd2", 8, kModify2, "modifyPFXPwd2",
                {L"a", L"b", L"c", L"d"}, I2(-1)),
    Unsupported("ModifyPFXPwd2ReadsNoArgument", L"modifyPFXPwd2", 8, kModify2, "modifyPFXPwd2",
                {NullText(), NullText(), NullText(), NullText()}, I2(-1)),
    Unsupported("SavePFXToCBIExIsMinusOne", L"SavePFXToCBIEx", 9, kSave, "SavePFXToCBIEx",
                {L"a", I4(1), L"b"}, I4(-1)),
    Unsupported("SavePFXToCBIExReadsNoArgument", L"SavePFXToCBIEx", 9, kSave, "SavePFXToCBIEx",
                {NullText(), I4(-2147483647 - 1), NullText()}, I4(-1)),
    Unsupported("ParseCBIToPFXExIsEmptyUnderTheSavingMethodsName", L"ParseCBIToPFXEx", 10, kParse,
                "SavePFXToCBIEx", {L"a"}, L""),
    Unsupported("ParseCBIToPFXExReadsNoArgument", L"ParseCBIToPFXEx", 10, kParse, "SavePFXToCBIEx",
                {NullText()}, L""),
    Unsupported("ClearConfigIsZero", L"ClearConfig", 11, kClear, "ClearConfig", {L"Alice"}, I4(0)),
    Unsupported("ClearConfigReadsNoArgument", L"ClearConfig", 11, kClear, "ClearConfig", {NullText()}, I4(0)),
};
KZR_CASES(CertificateUnsupported, kCertificate, kUnsupported);

}  // namespace
}  // namespace kzr::test
