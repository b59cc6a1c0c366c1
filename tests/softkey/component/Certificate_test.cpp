// CCertificate on the software key.
#include "softkey/component/BenchTest.h"

namespace kzr::test {
namespace {

using namespace kzr::softkey;

class SoftKeyCertificate : public BenchTest {
  public:
    Value Import(const wchar_t* source, int type)
    {
        return Get(kCertificate, L"importCert", {source, I2(type)});
    }
    Value Field(int oid)
    {
        return Run(kCertificate, L"getBasicCertInfoByOID", {I2(oid)},
                   {Trace("CCertificate: getBasicCertInfoByOID starting..."),
                    Trace("CCertificate: getBasicCertInfoByOID({})..."),
                    Trace("CCertificate: getBasicCertInfoByOID ending ok...")},
                   {"SOF_GetCertInfo"});
    }
    Value Validated(const Values& files, const Names& calls)
    {
        return Run(kCertificate, L"validateCert", files,
                   {Trace("CCertificate: getExtCertInfoByOID starting..."),
                    Trace("CCertificate: validateCert ending({})...")},
                   calls);
    }
};

TEST_F(SoftKeyCertificate, BothCertificatesOfAContainerAreImported)
{
    const auto lines = [](const char* container, int type) {
        return LogSteps{Trace("CCertificate: importCert starting..."),
                        Trace("CCertificate: importCert in CertSrc(" + std::string(container) + ") srctype(" +
                              std::to_string(type) + ")..."),
                        Trace("CCertificate: importCert ending OK...")};
    };
    EXPECT_EQ(I2(0),
              Run(kCertificate, L"importCert", {L"c1", I2(5)}, lines("c1", 5), {"SOF_ExportUserCert"}));
    const Value signing = Get(kCertificate, L"exportCert", {I2(1)});
    EXPECT_EQ(I2(0), Run(kCertificate, L"importCert", {L"c1", I2(6)}, lines("c1", 6),
                         {"SOF_ExportExChangeUserCert"}));
    const Value exchange = Run(
        kCertificate, L"exportCert", {I2(1)},
        {Trace("CCertificate: importCert starting..."), Trace("CCertificate: exportCert in DstType(1)..."),
         Trace("CCertificate: exportCert Cert({})"), Trace("CCertificate: exportCert ending OK...")},
        {});
    EXPECT_NE(signing, exchange);
    EXPECT_EQ(L"MII", exchange.AsText().substr(0, 3));
}

TEST_F(SoftKeyCertificate, AnImportThatFailsKeepsTheLastOne)
{
    EXPECT_EQ(I2(0), Import(L"c2", 5));
    const Value kept = Get(kCertificate, L"exportCert", {I2(1)});
    const auto lines = [](const std::string& container, const std::string& type, const std::string& call,
                          HRESULT status) {
        return LogSteps{
            Trace("CCertificate: importCert starting..."),
            Trace("CCertificate: importCert in CertSrc(" + container + ") srctype(" + type + ")..."),
            Error("CCertificate: importCert call " + call + " return NULL!", status),
            Trace("CCertificate: importCert ending OK...")};
    };
    EXPECT_EQ(I2(-1), Run(kCertificate, L"importCert", {L"c9", I2(5)},
                          lines("c9", "5", "SOF_ExportUserCert", kUnknownContainer), {"SOF_ExportUserCert"}));
    EXPECT_EQ(I2(-1),
              Run(kCertificate, L"importCert", {L"c2", I2(6)},
                  lines("c2", "6", "SOF_ExportExChangeUserCert", S_OK), {"SOF_ExportExChangeUserCert"}));
    EXPECT_EQ(kept, Get(kCertificate, L"exportCert", {I2(1)}));
}

TEST_F(SoftKeyCertificate, FieldsAreTheCertificatesOwn)
{
    EXPECT_EQ(I2(0), Import(L"c1", 5));
    EXPECT_EQ(Value(L"3"), Field(1));
    const std::wstring number = Field(2).AsText();
    EXPECT_EQ(std::wstring::npos, number.find_first_not_of(L"0123456789abcdef"));
    EXPECT_NE(L"", Field(3).AsText());
    EXPECT_EQ(Value(L"SM2 Root"), Field(4));
    for (const int date : {5, 6}) {
        const std::wstring text = Field(date).AsText();
        ASSERT_EQ(10u, text.size());
        EXPECT_EQ(L'/', text[4]);
        EXPECT_EQ(L'/', text[7]);
    }
    EXPECT_NE(std::wstring::npos, Field(7).AsText().find(L"Alice"));
    EXPECT_EQ(Value(L"someone@example.org"), Field(8));
    EXPECT_EQ(Value(L"Alice"), Field(41));
    EXPECT_EQ(Value(L"CN"), Field(42));
    EXPECT_EQ(Value(L"Town"), Field(43));
    EXPECT_EQ(Value(L"Test Works"), Field(45));
    EXPECT_EQ(Value(L"Unit of Alice"), Field(46));
}

TEST_F(SoftKeyCertificate, AFieldThatIsAbsentAndACertificateThatIsNone)
{
    const auto lines = [](HRESULT status) {
        return LogSteps{
            Trace("CCertificate: getBasicCertInfoByOID starting..."),
            Error("CCertificate: getBasicCertInfoByOID call SOF_GetCertInfo return NULL!", status)};
    };
    EXPECT_EQ(I2(0), Import(L"c1", 5));
    EXPECT_EQ(Value(L""),
              Run(kCertificate, L"getBasicCertInfoByOID", {I2(44)}, lines(S_OK), {"SOF_GetCertInfo"}));
    EXPECT_EQ(I2(0), Import(L"abc", 1));
    EXPECT_EQ(Value(L""),
              Run(kCertificate, L"getBasicCertInfoByOID", {I2(41)}, lines(kBadData), {"SOF_GetCertInfo"}));
}

TEST_F(SoftKeyCertificate, DaysOfValidityAreCounted)
{
    EXPECT_EQ(I2(0), Import(L"c1", 5));
    const ComPtr<IDispatch> reader = Make(kCertificate);
    const CallResult called = Call(reader.Get(), L"checkValidaty", {L""});
    EXPECT_EQ(S_OK, called.result);
    EXPECT_EQ(VT_I2, called.value.Type());
    // Issued for a year that began yesterday; the zone of the machine moves it by less than a day.
    EXPECT_GE(called.value.Get().iVal, 362);
    EXPECT_LE(called.value.Get().iVal, 366);
    log->Take();
    Call(reader.Get(), L"checkValidaty", {L""});
    std::string own;
    for (const LogRecord& record : log->Take())
        if (record.source == "Certificate") own += record.message + "\n";
    EXPECT_NE(std::string::npos, own.find("CCertificate: checkValidaty CertNotAfter(20")) << own;
    EXPECT_NE(std::string::npos, own.find("CCertificate: checkValidaty ending(36")) << own;
}

TEST_F(SoftKeyCertificate, DaysOfACertificateThatIsNoneAreZero)
{
    EXPECT_EQ(I2(0), Import(L"abc", 1));
    EXPECT_EQ(I2(0), Run(kCertificate, L"checkValidaty", {L"2026/01/31"},
                         {Trace("CCertificate: checkValidaty starting..."),
                          Error("CCertificate: checkValidaty call SOF_GetCertInfo return NULL!", kBadData)},
                         {"SOF_GetCertInfo"}));
}

TEST_F(SoftKeyCertificate, AnExtensionIsNamedByItsOid)
{
    EXPECT_EQ(I2(0), Import(L"c1", 5));
    const LogStep begin = Trace("CCertificate: getExtCertInfoByOID starting...");
    EXPECT_EQ(Value(L"Alice"),
              Run(kCertificate, L"getExtCertInfoByOID", {L"2.5.4.3"},
                  {begin, Trace("CCertificate: GetCertInfoByOid ending ok...")}, {"SOF_GetCertInfoByOid"}));
    const char* const failed = "CCertificate: GetCertInfoByOid call getExtCertInfoByOID return NULL!";
    EXPECT_EQ(Value(L""), Run(kCertificate, L"getExtCertInfoByOID", {L"1.2.3.4"},
                              {begin, Error(failed, S_OK)}, {"SOF_GetCertInfoByOid"}));
    EXPECT_EQ(Value(L""), Run(kCertificate, L"getExtCertInfoByOID", {L"no oid"},
                              {begin, Error(failed, kBadArgument)}, {"SOF_GetCertInfoByOid"}));
}

TEST_F(SoftKeyCertificate, ValidationUsesTheChainAndTheListOfFiles)
{
    const Names chain = {"Base64EncodeFile", "SetUserConfig", "SOF_ValidateCert"};
    EXPECT_EQ(I2(0), Import(L"c3", 5));
    EXPECT_EQ(I2(-1), Validated({L"", L""}, {"SOF_ValidateCert"}));
    EXPECT_EQ(I2(0), Validated({File(L"chain.pem", Certificates().chain), L""}, chain));
    EXPECT_EQ(I2(0), Import(L"c2", 5));
    EXPECT_EQ(I2(0), Validated({L"", L""}, {"SOF_ValidateCert"}));
    EXPECT_EQ(I2(-3), Validated({L"", File(L"list.crl", Certificates().list)}, chain));
    EXPECT_EQ(I2(0), Import(Widened(Certificates().past).c_str(), 1));
    EXPECT_EQ(I2(-2), Validated({L"", L""}, {"SOF_ValidateCert"}));
    EXPECT_EQ(I2(0), Import(Widened(Certificates().stray).c_str(), 1));
    EXPECT_EQ(I2(-1), Validated({L"", L""}, {"SOF_ValidateCert"}));
    EXPECT_EQ(I2(0), Import(L"abc", 1));
    EXPECT_EQ(I2(-4), Validated({L"", L""}, {"SOF_ValidateCert"}));
}

TEST_F(SoftKeyCertificate, FilesThatCannotBeUsedAreToldApart)
{
    EXPECT_EQ(I2(0), Import(L"c1", 5));
    const LogStep begin = Trace("CCertificate: getExtCertInfoByOID starting...");
    EXPECT_EQ(
        I2(-1003),
        Run(kCertificate, L"validateCert", {*home / L"missing", L""},
            {begin, Error("CCertificate: validateCert call Base64EncodeFile return NULL!", kFileFailed)},
            {"Base64EncodeFile"}));
    EXPECT_EQ(I2(0), Run(kCertificate, L"validateCert", {File(L"junk", "no certificate"), L""},
                         {begin, Notice("CCertificate: validateCert call SetUserConfig return FALSE!"),
                          Trace("CCertificate: validateCert ending(0)...")},
                         {"Base64EncodeFile", "SetUserConfig", "SOF_ValidateCert"}));
}

}  // namespace
}  // namespace kzr::test
