// Certificates at the server's own surface.
#include "softkey/server/ServerTest.h"

namespace kzr::test {
namespace {

using namespace kzr::softkey;

class ServerCertificates : public ServerTest {
  public:
    Value SigningOf(const wchar_t* id) { return Ask(L"SOF_ExportUserCert", {id}); }
    std::wstring Field(const Value& certificate, int type)
    {
        return AskText(L"SOF_GetCertInfo", {certificate, I2(type)});
    }
    Value Encoded(const std::string& content)
    {
        home->WriteFile(L"encoded", content);
        return Ask(L"Base64EncodeFile", {*home / L"encoded"});
    }
};

TEST_F(ServerCertificates, EachPairHasItsOwn)
{
    const Value signing = SigningOf(kAlice);
    const Value exchange = Ask(L"SOF_ExportExChangeUserCert", {kAlice});
    EXPECT_NE(signing, exchange);
    EXPECT_EQ(L"Alice", Field(signing, 17));
    EXPECT_EQ(L"Alice", Field(exchange, 17));
}

TEST_F(ServerCertificates, AMissingExchangeCertificateIsAbsent)
{
    EXPECT_EQ(Value(L""), Ask(L"SOF_ExportExChangeUserCert", {kWang}));
}

TEST_F(ServerCertificates, FieldsAreText)
{
    const Value wang = SigningOf(kWang);
    EXPECT_EQ(kWangsName, Field(wang, 17));
    EXPECT_EQ(L"CN", Field(wang, 13));
    EXPECT_EQ(L"Test Works", Field(wang, 14));
    EXPECT_EQ(L"Unit of " + std::wstring(kWangsName), Field(wang, 15));
    EXPECT_EQ(L"", Field(wang, 16)) << "it has none";
    EXPECT_EQ(L"Town", Field(wang, 18));
    EXPECT_EQ(L"someone@example.org", Field(wang, 19));
    EXPECT_EQ(L"RSA Root", Field(wang, 8));
    EXPECT_EQ(15u, Field(wang, 11).size());
    EXPECT_EQ(L'Z', Field(wang, 12).back());
    EXPECT_NE(L"", Field(wang, 1));
    EXPECT_NE(L"", Field(wang, 2));
    EXPECT_NE(Field(wang, 3), Field(SigningOf(kAlice), 3));
    EXPECT_NE(std::wstring::npos, Field(wang, 20).find(kWangsName));
}

TEST_F(ServerCertificates, FieldsThatDoNotExistAreBadArguments)
{
    const Value alice = SigningOf(kAlice);
    for (const int type : {0, -1, 21, 100, 32767})
        EXPECT_EQ(kBadArgument, Refusal(L"SOF_GetCertInfo", {alice, I4(type)})) << type;
}

TEST_F(ServerCertificates, WhatIsNoCertificateIsBadData)
{
    for (const wchar_t* text :
         {L"", L"abc", L"====", L"MIIB", L"-----BEGIN CERTIFICATE-----", L"\x4E2D\x6587"}) {
        EXPECT_EQ(kBadData, Refusal(L"SOF_GetCertInfo", {text, I2(17)})) << Readable(text);
        EXPECT_EQ(kBadData, Refusal(L"SOF_GetCertInfoByOid", {text, L"2.5.4.3"})) << Readable(text);
        EXPECT_EQ(kBadData, Refusal(L"SOF_GetCertEntity", {text})) << Readable(text);
        EXPECT_EQ(I4(-4), Ask(L"SOF_ValidateCert", {text})) << Readable(text);
    }
    std::wstring cut = SigningOf(kAlice).AsText();
    cut.resize(cut.size() / 8 * 4);
    EXPECT_EQ(kBadData, Refusal(L"SOF_GetCertInfo", {cut, I2(17)}));
}

TEST_F(ServerCertificates, AnOidNamesAnAttributeOrAnExtension)
{
    const Value alice = SigningOf(kAlice);
    EXPECT_EQ(Value(L"Alice"), Ask(L"SOF_GetCertInfoByOid", {alice, L"2.5.4.3"}));
    EXPECT_EQ(Value(L""), Ask(L"SOF_GetCertInfoByOid", {alice, L"1.2.3.4.5.6.7"}));
    for (const wchar_t* oid : {L"", L"x", L"1", L"2.5.4.", L"2.5.4.3 "})
        EXPECT_EQ(kBadArgument, Refusal(L"SOF_GetCertInfoByOid", {alice, oid})) << Readable(oid);
}

TEST_F(ServerCertificates, TheEntityIsTheIdentityThatWasIssued)
{
    EXPECT_EQ(Value(L"ID of c1"), Ask(L"SOF_GetCertEntity", {SigningOf(kAlice)}));
    EXPECT_EQ(Value(L"ID of c2"), Ask(L"SOF_GetCertEntity", {SigningOf(kWang)}));
    EXPECT_NE(Value(L""), Ask(L"SOF_GetCertEntity", {Widened(Certificates().stray)}));
}

TEST_F(ServerCertificates, ValidationTellsWhatIsWrong)
{
    EXPECT_EQ(I4(0), Ask(L"SOF_ValidateCert", {SigningOf(kAlice)}));
    EXPECT_EQ(I4(0), Ask(L"SOF_ValidateCert", {SigningOf(kWang)}));
    EXPECT_EQ(I4(-1), Ask(L"SOF_ValidateCert", {Widened(Certificates().stray)}));
    EXPECT_EQ(I4(-2), Ask(L"SOF_ValidateCert", {Widened(Certificates().past)}));
}

TEST_F(ServerCertificates, AConfiguredChainLeadsToATrustedRoot)
{
    const Value carol = SigningOf(kCarol);
    EXPECT_EQ(I4(-1), Ask(L"SOF_ValidateCert", {carol}));
    EXPECT_EQ(Bool(true), Ask(L"SetUserConfig", {I4(6), Encoded(Certificates().chain)}));
    EXPECT_EQ(I4(0), Ask(L"SOF_ValidateCert", {carol}));
    control = NewControl();
    EXPECT_EQ(I4(0), Ask(L"SOF_ValidateCert", {carol})) << "it is the process's, not the control's";
}

TEST_F(ServerCertificates, AConfiguredRootTrustsNothing)
{
    const Value stray = Widened(Certificates().stray);
    EXPECT_EQ(Bool(true), Ask(L"SetUserConfig", {I2(6), stray}));
    EXPECT_EQ(I4(-1), Ask(L"SOF_ValidateCert", {stray}));
}

TEST_F(ServerCertificates, AConfiguredListRevokes)
{
    EXPECT_EQ(Bool(true), Ask(L"SetUserConfig", {I4(5), Encoded(Certificates().list)}));
    EXPECT_EQ(I4(-3), Ask(L"SOF_ValidateCert", {SigningOf(kWang)}));
    EXPECT_EQ(I4(0), Ask(L"SOF_ValidateCert", {SigningOf(kAlice)}));
}

TEST_F(ServerCertificates, ConfigurationThatCannotBeReadChangesNothing)
{
    EXPECT_EQ(Bool(true), Ask(L"SetUserConfig", {I4(5), Encoded(Certificates().list)}));
    for (const wchar_t* text :
         {L"", L"abc", L"?", L"-----BEGIN X509 CRL-----\nabc\n-----END X509 CRL-----"}) {
        EXPECT_EQ(Bool(false), Ask(L"SetUserConfig", {I4(5), text})) << Readable(text);
        EXPECT_EQ(Bool(false), Ask(L"SetUserConfig", {I4(6), text})) << Readable(text);
    }
    EXPECT_EQ(I4(-3), Ask(L"SOF_ValidateCert", {SigningOf(kWang)}));
}

TEST_F(ServerCertificates, OtherSettingsAreRefusedButTheOneThatTheComponentSends)
{
    EXPECT_EQ(Bool(true), Ask(L"SetUserConfig", {I4(8), L"off"}));
    EXPECT_EQ(Bool(true), Ask(L"SetUserConfig", {I2(8), NullText()}));
    for (const int type : {0, 1, 4, 7, 9, -1})
        EXPECT_EQ(Bool(false), Ask(L"SetUserConfig", {I4(type), L"off"})) << type;
}

}  // namespace
}  // namespace kzr::test
