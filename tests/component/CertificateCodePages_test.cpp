// CCertificate with texts beyond ASCII: certificates, fields, object identifiers and file names stay wide in
// every code page; a container comes out of the user list, which does not.
#include "CertificateRows.h"

namespace kzr::test {
namespace {

// Chinese, and a letter that the Chinese code page has, too.
const wchar_t* const kName = L"\u5f20\u4e09\u0436";
// Beyond the basic plane: no code page but UTF-8 has it.
const wchar_t* const kRare = L"\U00020000\u5f20";

Case Row(const std::string& name, const wchar_t* method, DISPID id, const DirectCall& direct,
         const Values& arguments, const LogSteps& steps, const Value& retVal, const Value& current)
{
    return {.name = name,
            .method = method,
            .id = id,
            .direct = direct,
            .arguments = arguments,
            .steps = steps,
            .retVal = retVal,
            .given = Loaded(current)};
}

Case Import(const std::string& name, const wchar_t* text)
{
    Case row = Row(name, L"importCert", 1, Direct(&ICertificate::importCert), {text, I2(1)},
                   {Trace("CCertificate: importCert starting..."),
                    Trace("CCertificate: importCert in CertSrc(" + Shown(text) + ") srctype(1)..."),
                    Trace("CCertificate: importCert ending OK...")},
                   I2(0), L"BEFORE");
    row.then = [text](ComponentTest&, IDispatch* object) {
        EXPECT_EQ(Value(text), Call(object, L"exportCert", {I2(1)}).value);
    };
    return row;
}

Case Export(const std::string& name, const wchar_t* text)
{
    return Row(
        name, L"exportCert", 2, Direct(&ICertificate::exportCert), {I2(1)},
        {Trace("CCertificate: importCert starting..."), Trace("CCertificate: exportCert in DstType(1)..."),
         Trace("CCertificate: exportCert Cert(" + Shown(text) + ")"),
         Trace("CCertificate: exportCert ending OK...")},
        text, text);
}

Case ImportOfAnswer(const std::string& name, const wchar_t* certificate)
{
    Case row = Row(name, L"importCert", 1, Direct(&ICertificate::importCert), {L"c1", I2(5)},
                   {Trace("CCertificate: importCert starting..."),
                    Trace("CCertificate: importCert in CertSrc(c1) srctype(5)..."),
                    Calls(L"SOF_ExportUserCert", {L"c1/SN01"}, certificate),
                    Trace("CCertificate: importCert ending OK...")},
                   I2(0), L"BEFORE");
    row.then = [certificate](ComponentTest&, IDispatch* object) {
        EXPECT_EQ(Value(certificate), Call(object, L"exportCert", {I2(1)}).value);
    };
    return row;
}

Case Field(const std::string& name, int oid, int type, const wchar_t* answer, const wchar_t* text)
{
    return Row(name, L"getBasicCertInfoByOID", 3, Direct(&ICertificate::getBasicCertInfoByOID), {I2(oid)},
               {Trace("CCertificate: getBasicCertInfoByOID starting..."),
                Calls(L"SOF_GetCertInfo", {kName, I2(type)}, answer),
                Trace("CCertificate: getBasicCertInfoByOID(" + Shown(text) + ")..."),
                Trace("CCertificate: getBasicCertInfoByOID ending ok...")},
               text, kName);
}

Case Extension(const wchar_t* oid, const wchar_t* answer)
{
    return Row("ExtensionsStayWide", L"getExtCertInfoByOID", 5, Direct(&ICertificate::getExtCertInfoByOID),
               {oid},
               {Trace("CCertificate: getExtCertInfoByOID starting..."),
                Calls(L"SOF_GetCertInfoByOid", {kName, oid}, answer),
                Trace("CCertificate: GetCertInfoByOid ending ok...")},
               answer, kName);
}

Case Validation(const wchar_t* chain, const wchar_t* list)
{
    return Row(
        "FilesOfAValidationStayWide", L"validateCert", 6, Direct(&ICertificate::validateCert), {chain, list},
        {Trace("CCertificate: getExtCertInfoByOID starting..."),
         Calls(L"Base64EncodeFile", {chain}, L"CHAIN"),
         Calls(L"SetUserConfig", {I4(6), L"CHAIN"}, Bool(true)), Calls(L"Base64EncodeFile", {list}, L"LIST"),
         Calls(L"SetUserConfig", {I4(5), L"LIST"}, Bool(true)), Calls(L"SOF_ValidateCert", {kName}, I4(0)),
         Trace("CCertificate: validateCert ending(0)...")},
        I2(0), kName);
}

Case InvalidDate(const wchar_t* date)
{
    return Row("ADateOfOtherLettersIsInvalid", L"checkValidaty", 4, Direct(&ICertificate::checkValidaty),
               {date},
               {Trace("CCertificate: checkValidaty starting..."),
                Error("CCertificate: in param (" + Shown(date) + ") invalid!")},
               I2(0), kName);
}

const Rows kWide = {
    Import("ACertificateStaysWide", kName),
    Import("ACertificateThatNoCodePageHoldsStaysWide", kRare),
    Export("ACertificateIsGivenBackWide", kName),
    Export("ACertificateThatNoCodePageHoldsIsGivenBack", kRare),
    ImportOfAnswer("AContainersCertificateStaysWide", kName),
    ImportOfAnswer("AContainersCertificateThatNoCodePageHoldsStaysWide", kRare),
    Field("FieldsStayWide", 41, 17, kName, kName),
    Field("FieldsThatNoCodePageHoldsStayWide", 7, 20, kRare, kRare),
    Field("OnlyAsciiLettersAreLowered", 2, 2, L"A\u00c4\u0416\uff21Z", L"a\u00c4\u0416\uff21z"),
    Field("ADatesFirstEightUnitsAreKept", 5, 11, L"\u4e00\u4e8c\u4e09\u56db\u4e94\u516d\u4e03\u516bZ",
          L"\u4e00\u4e8c\u4e09\u56db/\u4e94\u516d/\u4e03\u516b"),
    Extension(L"1.2.\u5f20", kName),
    Validation(L"C:\\\u6587\u4ef6\\\u94fe.p7b", L"C:\\\u6587\u4ef6\\\u00e9.crl"),
    InvalidDate(L"\u4e8c\u3007\u4e8c\u56db/\u4e00\u4e8c/\u4e00"),
};

// The container's name passes through the user list, and so through the code page.
Case FromContainer(const std::string& name, const wchar_t* container, const std::wstring& id)
{
    Case row = Row(
        name, L"importCert", 1, Direct(&ICertificate::importCert), {container, I2(6)},
        {Trace("CCertificate: importCert starting..."),
         Trace("CCertificate: importCert in CertSrc(" + Shown(container) + ") srctype(6)..."),
         Calls(L"SOF_ExportExChangeUserCert", {id}, L"CERT"), Trace("CCertificate: importCert ending OK...")},
        I2(0), L"BEFORE");
    row.users = {{L"\u5f20\u4e09", L"\u5bb9\u5668", L"\u5e8f01", L"CSP1", L"EXT1"}};
    return row;
}

const Rows kListed = {
    FromContainer("AChineseContainerIsFound", L"\u5bb9\u5668", L"\u5bb9\u5668/\u5e8f01"),
    FromContainer("AChineseContainerIsFoundUpToItsSlash", L"\u5bb9\u5668/\u4efb\u4f55",
                  L"\u5bb9\u5668/\u5e8f01"),
    FromContainer("AnotherChineseContainerIsNot", L"\u5bb9", L""),
};

KZR_CASES(CodePage936Certificate, kCertificate, kWide);
KZR_CASES(CodePage1252Certificate, kCertificate, kWide);
KZR_CASES(CodePage65001Certificate, kCertificate, kWide);
KZR_CASES(CodePage936CertificateContainers, kCertificate, kListed);
KZR_CASES(CodePage65001CertificateContainers, kCertificate, kListed);

}  // namespace
}  // namespace kzr::test
