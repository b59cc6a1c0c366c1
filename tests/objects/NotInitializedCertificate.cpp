// CCertificate without a backend: every method refuses with a value of its own, before it looks at a
// parameter or at the current certificate; the unsupported methods answer what they always answer.
#include "NotInitialized.h"
#include "objects/Certificate.h"

namespace kzr::test {
namespace {

// `start` and `error` are the methods that the two lines name.
Case Refuses(const std::string& row, const DirectCall& direct, const std::string& start,
             const std::string& error, const Values& arguments, const Value& retVal)
{
    return {.name = row,
            .direct = direct,
            .arguments = arguments,
            .steps = {Trace("CCertificate: " + start + " starting..."),
                      Error("CCertificate: " + error + " kzrappcom or cache not initialized!")},
            .retVal = retVal};
}

Case Unsupported(const std::string& row, const DirectCall& direct, const std::string& named,
                 const Values& arguments, const Value& retVal)
{
    return {.name = row,
            .direct = direct,
            .arguments = arguments,
            .steps = {Trace("CCertificate: " + named + " starting..."),
                      Notice("CCertificate: " + named + " not support!")},
            .retVal = retVal};
}

const auto kImport = Direct(&ICertificate::importCert);
const auto kExport = Direct(&ICertificate::exportCert);

const std::vector<Case> kRows = {
    Refuses("ImportIsMinusOne", kImport, "importCert", "importCert", {L"CERT", I2(1)}, I2(-1)),
    Refuses("ImportOfNothingIsMinusOneNotAParameterError", kImport, "importCert", "importCert",
            {NullText(), I2(0)}, I2(-1)),
    Refuses("ExportSaysThatNothingIsLoaded", kExport, "importCert", "exportCert", {I2(1)}, L"Cert_No_Load"),
    Refuses("ExportNowhereSaysThatNothingIsLoaded", kExport, "importCert", "exportCert", {I2(0)},
            L"Cert_No_Load"),
    Refuses("ABasicFieldIsEmpty", Direct(&ICertificate::getBasicCertInfoByOID), "getBasicCertInfoByOID",
            "getBasicCertInfoByOID", {I2(1)}, L""),
    Refuses("ValidityIsZero", Direct(&ICertificate::checkValidaty), "checkValidaty", "checkValidaty",
            {L"2025/01/09"}, I2(0)),
    Refuses("ValidityIsZeroForAnInvalidDateToo", Direct(&ICertificate::checkValidaty), "checkValidaty",
            "checkValidaty", {L"no date"}, I2(0)),
    Refuses("AnExtensionStaysANullText", Direct(&ICertificate::getExtCertInfoByOID), "getExtCertInfoByOID",
            "getExtCertInfoByOID", {L"1.2.3.4"}, NullText()),
    Refuses("ValidationIsMinusOneUnderAnotherMethodsStart", Direct(&ICertificate::validateCert),
            "getExtCertInfoByOID", "validateCert", {L"chain.p7b", L"list.crl"}, I2(-1)),
    Unsupported("ModifyPFXPwdIsUnsupportedAsEver", Direct(&ICertificate::modifyPFXPwd), "modifyPFXPwd",
                {L"a", L"b", L"c"}, I2(-1)),
    Unsupported("ModifyPFXPwd2IsUnsupportedAsEver", Direct(&ICertificate::modifyPFXPwd2), "modifyPFXPwd2",
                {L"a", L"b", L"c", L"d"}, I2(-1)),
    Unsupported("SavePFXToCBIExIsUnsupportedAsEver", Direct(&ICertificate::SavePFXToCBIEx), "SavePFXToCBIEx",
                {L"a", I4(1), L"b"}, I4(-1)),
    Unsupported("ParseCBIToPFXExIsUnsupportedAsEver", Direct(&ICertificate::ParseCBIToPFXEx),
                "SavePFXToCBIEx", {L"a"}, L""),
    Unsupported("ClearConfigIsUnsupportedAsEver", Direct(&ICertificate::ClearConfig), "ClearConfig",
                {L"Alice"}, I4(0)),
};
KZR_NOT_INITIALIZED(CertificateWithoutABackend, CCertificate, "Certificate", kRows);

}  // namespace
}  // namespace kzr::test
