// Certificates as they cross the interface: every form they come in, their fields, and what is no
// certificate.
#include "x509/Certificate.h"

#include <gtest/gtest.h>
#include <openssl/x509v3.h>

#include <functional>

#include "base/Base64.h"
#include "softkey/core/TestAuthorities.h"

namespace kzr::softkey::test {

namespace {

// A self-signed certificate that the test fills as no authority of ours would.
Certificate Odd(const std::function<void(X509*)>& fill)
{
    Certificate made(X509_new());
    X509* x509 = made.Get();
    X509_set_version(x509, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(x509), 0x0abc);
    ASN1_TIME_set_string_X509(X509_getm_notBefore(x509), "20230405101112Z");
    ASN1_TIME_set_string_X509(X509_getm_notAfter(x509), "20540405101112Z");
    X509_set_pubkey(x509, KeyOf(KeyType::Rsa));
    fill(x509);
    X509_sign(x509, KeyOf(KeyType::Rsa), EVP_sha256());
    return Certificate::FromDer(made.Der());
}

void AddToSubject(X509* x509, int nid, int type, std::string_view value)
{
    X509_NAME_add_entry_by_NID(X509_get_subject_name(x509), nid, type,
                               reinterpret_cast<const unsigned char*>(value.data()),
                               static_cast<int>(value.size()), -1, 0);
}

Certificate WithSubject(int nid, int type, std::string_view value)
{
    return Odd([&](X509* x509) { AddToSubject(x509, nid, type, value); });
}

Certificate WithExtension(const char* oid, View content)
{
    return Odd([&](X509* x509) {
        ASN1_OCTET_STRING* bytes = ASN1_OCTET_STRING_new();
        ASN1_OCTET_STRING_set(bytes, content.data(), static_cast<int>(content.size()));
        ASN1_OBJECT* object = OBJ_txt2obj(oid, 1);
        X509_EXTENSION* extension = X509_EXTENSION_create_by_OBJ(nullptr, object, 0, bytes);
        X509_add_ext(x509, extension, -1);
        X509_EXTENSION_free(extension);
        ASN1_OBJECT_free(object);
        ASN1_OCTET_STRING_free(bytes);
    });
}

constexpr char kUnknownOid[] = "1.2.3.4.5";

// Every field there is.
void ReadAll(const Certificate& certificate)
{
    for (int type = 1; type <= 20; ++type) {
        CertificateField(certificate, type);
    }
    CertificateEntity(certificate);
}

Certificate Full(KeyType type)
{
    Subject subject;
    subject.country = "CN";
    subject.organization = "\xE5\x8D\x95\xE4\xBD\x8D";
    subject.unit = "Unit";
    subject.state = "State";
    subject.commonName = "\xE7\x94\xA8\xE6\x88\xB7";
    subject.locality = "Town";
    subject.email = "user@example.org";
    subject.serialNumber = "SN1";
    subject.identity = "ID-\xE7\x94\xA8";
    return IssueUser(FamilyOf(type).Between(), KeyOf(type, 2), subject, Usage::Signing, 0, 10);
}

}  // namespace

class CertificateOf : public ::testing::TestWithParam<KeyType> {};

INSTANTIATE_TEST_SUITE_P(Keys, CertificateOf, ::testing::Values(KeyType::Rsa, KeyType::Sm2),
                         [](const auto& row) { return NameOf(row.param); });

TEST_P(CertificateOf, EveryFormOfTextGivesTheSameCertificate)
{
    const Certificate own = FamilyOf(GetParam()).user;
    const std::string broken = own.Pem().substr(28, own.Pem().size() - 28 - 26);
    std::string windows = own.Pem();
    for (std::size_t at = 0; (at = windows.find('\n', at)) != std::string::npos; at += 2) {
        windows.insert(at, 1, '\r');
    }
    for (const std::string& text :
         {own.Text(), broken, own.Pem(), windows, " \r\n" + own.Text() + "\n\n", "\n" + own.Pem() + "  "}) {
        EXPECT_EQ(Certificate::FromText(text).Der(), own.Der()) << text;
    }
    EXPECT_EQ(own.Text().find_first_of("\r\n"), std::string::npos);
}

TEST_P(CertificateOf, TheKeyIsTheOneThatWasCertified)
{
    const Certificate own = FamilyOf(GetParam()).user;
    EXPECT_EQ(own.Type(), GetParam());
    EXPECT_EQ(EVP_PKEY_eq(own.PublicKey().get(), KeyOf(GetParam(), 2)), 1);
}

TEST_P(CertificateOf, FieldsAreThoseOfSubjectAndIssuer)
{
    const Certificate own = Full(GetParam());
    EXPECT_EQ(CertificateField(own, 1), "3");
    EXPECT_EQ(CertificateField(own, 2).size(), 32u);
    EXPECT_EQ(CertificateField(own, 2).find_first_not_of("0123456789ABCDEF"), std::string::npos);
    EXPECT_EQ(CertificateField(own, 3),
              GetParam() == KeyType::Rsa ? "sha256WithRSAEncryption" : "SM2-with-SM3");
    const char* const issuer[] = {"CN", "Demonstration", "", "", "Between", "", ""};
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(CertificateField(own, 4 + i), issuer[i]) << i;
    }
    const char* const subject[] = {
        "CN",   "\xE5\x8D\x95\xE4\xBD\x8D", "Unit", "State", "\xE7\x94\xA8\xE6\x88\xB7",
        "Town", "user@example.org"};
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(CertificateField(own, 13 + i), subject[i]) << i;
    }
    EXPECT_EQ(CertificateField(own, 20),
              "C=CN,ST=State,L=Town,O=\xE5\x8D\x95\xE4\xBD\x8D,OU=Unit,CN=\xE7\x94\xA8\xE6\x88\xB7,"
              "serialNumber=SN1,"
              "emailAddress=user@example.org");
}

TEST_P(CertificateOf, TypesThatDoNotExistAreRefused)
{
    const Certificate own = FamilyOf(GetParam()).user;
    for (const int type : {-1, 0, 21, 300, -2'147'483'647}) {
        EXPECT_EQ(CauseOf([&] { CertificateField(own, type); }), Cause::BadArgument) << type;
    }
}

TEST_P(CertificateOf, TheEntityIsTheIdentityThenTheSerialNumberThenTheDigestOfTheKey)
{
    EXPECT_EQ(CertificateEntity(Full(GetParam())), "ID-\xE7\x94\xA8");
    Subject subject = Named("User");
    subject.serialNumber = "SN1";
    const Issuer issuer = FamilyOf(GetParam()).Between();
    EVP_PKEY* key = KeyOf(GetParam(), 2);
    EXPECT_EQ(CertificateEntity(IssueUser(issuer, key, subject, Usage::Signing, 0, 10)), "SN1");
    const std::string first = CertificateEntity(IssueUser(issuer, key, Named("A"), Usage::Signing, 0, 10));
    EXPECT_EQ(first.size(), 64u);
    EXPECT_EQ(first, CertificateEntity(IssueUser(issuer, key, Named("B"), Usage::Signing, 0, 10)));
    EXPECT_NE(first,
              CertificateEntity(IssueUser(issuer, KeyOf(GetParam(), 3), Named("A"), Usage::Signing, 0, 10)));
}

TEST_P(CertificateOf, AnOidNamesAnExtensionOrAnAttribute)
{
    const Certificate own = Full(GetParam());
    EXPECT_EQ(CertificateFieldByOid(own, kIdentityOid), "ID-\xE7\x94\xA8");
    EXPECT_EQ(CertificateFieldByOid(own, "2.5.29.19"), "CA:FALSE");
    EXPECT_EQ(CertificateFieldByOid(own, "2.5.29.15"), "Digital Signature, Non Repudiation");
    EXPECT_EQ(CertificateFieldByOid(own, "2.5.4.3"), "\xE7\x94\xA8\xE6\x88\xB7");
    EXPECT_EQ(CertificateFieldByOid(own, "2.5.4.5"), "SN1");
    EXPECT_EQ(CertificateFieldByOid(own, "1.2.840.113549.1.9.1"), "user@example.org");
    EXPECT_EQ(CertificateFieldByOid(own, "2.5.4.12"), "");
    EXPECT_EQ(CertificateFieldByOid(own, kUnknownOid), "");
}

TEST_P(CertificateOf, WhatIsNoDottedOidIsRefused)
{
    const Certificate own = FamilyOf(GetParam()).user;
    const std::string huge(100'000, '1');
    for (const std::string& oid :
         {std::string(), std::string("CN"), std::string("commonName"), std::string("2"), std::string("2."),
          std::string(".2"), std::string("2..5"), std::string("9.9.9"), std::string("2.5.4.3 "),
          std::string("2.5.-4"), std::string("2.5.4.3\0", 8), "2." + huge}) {
        EXPECT_EQ(CauseOf([&] { CertificateFieldByOid(own, oid); }), Cause::BadArgument) << oid.substr(0, 20);
    }
}

TEST_P(CertificateOf, WhatIsCutAnywhereIsRefused)
{
    const Bytes der = FamilyOf(GetParam()).user.Der();
    for (std::size_t size = 0; size < der.size(); ++size) {
        EXPECT_EQ(CauseOf([&] { Certificate::FromDer(View(der).first(size)); }), Cause::BadData) << size;
    }
}

TEST_P(CertificateOf, AChangedByteGivesAFailureOrACertificateButNothingElse)
{
    const Bytes der = FamilyOf(GetParam()).user.Der();
    std::size_t refused = 0;
    for (std::size_t at = 0; at < der.size(); ++at) {
        Bytes changed = der;
        changed[at] ^= 0x81;
        const auto cause = CauseOf([&] { ReadAll(Certificate::FromDer(changed)); });
        EXPECT_TRUE(!cause || cause == Cause::BadData) << at;
        refused += cause ? 1 : 0;
    }
    EXPECT_GT(refused, 20u);
}

TEST_P(CertificateOf, WhatFollowsTheCertificateIsRefused)
{
    const Certificate own = FamilyOf(GetParam()).user;
    Bytes longer = own.Der();
    longer.push_back(0);
    EXPECT_EQ(CauseOf([&] { Certificate::FromDer(longer); }), Cause::BadData);
    for (const std::string& text :
         {Base64Encode(longer), own.Text() + "AAAA", own.Text() + own.Text(), own.Pem() + own.Pem(),
          own.Pem() + "text", "text" + own.Pem(), own.Pem() + own.Text()}) {
        EXPECT_EQ(CauseOf([&] { Certificate::FromText(text); }), Cause::BadData) << text;
    }
}

TEST(Certificates, WhatIsNoCertificateIsRefused)
{
    const std::string large(kCertificateLimit * 3, 'A');
    for (const std::string& text :
         {std::string(), std::string(" "), std::string("abc"), std::string("AAAA"), std::string("MAA="),
          std::string("\xE7\x94\xA8"), std::string("-----BEGIN CERTIFICATE-----"),
          std::string("-----BEGIN CERTIFICATE-----\n-----END CERTIFICATE-----\n"),
          std::string("-----BEGIN X509 CRL-----\nMAA=\n-----END X509 CRL-----\n"),
          std::string("-----END CERTIFICATE-----"), std::string("MIIB\0", 5), large}) {
        EXPECT_EQ(CauseOf([&] { Certificate::FromText(text); }), Cause::BadData) << text.substr(0, 60);
    }
    EXPECT_EQ(CauseOf([] { ReadAll(Certificate()); }), Cause::BadData);
    EXPECT_EQ(CauseOf([] { Certificate().PublicKey(); }), Cause::BadData);
}

TEST(Certificates, OuterLayersThatAreNotDerAreRefused)
{
    // The same content with a length written in more bytes than it needs.
    const Bytes der = FamilyOf(KeyType::Rsa).user.Der();
    Bytes longer = {0x30, 0x83, 0x00};
    longer.insert(longer.end(), der.begin() + 2, der.end());
    EXPECT_EQ(CauseOf([&] { Certificate::FromDer(longer); }), Cause::BadData);
}

TEST(Certificates, NamesComeOutInUtf8FromEveryStringType)
{
    using namespace std::string_view_literals;
    const std::string chinese = "\xE7\x94\xA8\xE6\x88\xB7";
    EXPECT_EQ(CertificateField(WithSubject(NID_commonName, V_ASN1_BMPSTRING, "\x75\x28\x62\x37"sv), 17),
              chinese);
    EXPECT_EQ(CertificateField(
                  WithSubject(NID_commonName, V_ASN1_UNIVERSALSTRING, "\0\0\x75\x28\0\0\x62\x37"sv), 17),
              chinese);
    EXPECT_EQ(CertificateField(WithSubject(NID_commonName, V_ASN1_UTF8STRING, chinese), 17), chinese);
    EXPECT_EQ(CertificateField(WithSubject(NID_commonName, V_ASN1_T61STRING, "caf\xE9"), 17), "caf\xC3\xA9");
    EXPECT_EQ(CertificateField(WithSubject(NID_commonName, V_ASN1_PRINTABLESTRING, "plain"), 17), "plain");
    EXPECT_EQ(CertificateField(WithSubject(NID_commonName, V_ASN1_IA5STRING, "plain"), 17), "plain");
}

TEST(Certificates, NamesWithBrokenCharactersMakeNoCertificate)
{
    using namespace std::string_view_literals;
    EXPECT_EQ(CauseOf([] { WithSubject(NID_commonName, V_ASN1_UTF8STRING, "a\xC3\x28"sv); }), Cause::BadData);
    EXPECT_EQ(CauseOf([] { WithSubject(NID_commonName, V_ASN1_BMPSTRING, "\xD8\0"sv); }), Cause::BadData);
}

TEST(Certificates, NamesThatHideTheirEndBehindANulAreRefused)
{
    using namespace std::string_view_literals;
    for (const Certificate& odd : {WithSubject(NID_commonName, V_ASN1_UTF8STRING, "good\0bad"sv),
                                   WithSubject(NID_commonName, V_ASN1_BMPSTRING, "\0g\0\0\0b"sv)}) {
        EXPECT_EQ(CauseOf([&] { CertificateField(odd, 17); }), Cause::BadData);
        EXPECT_EQ(CauseOf([&] { CertificateFieldByOid(odd, "2.5.4.3"); }), Cause::BadData);
    }
}

TEST(Certificates, SeveralValuesOfAnAttributeAreAllGivenInTheirOrder)
{
    const Certificate odd = Odd([](X509* x509) {
        AddToSubject(x509, NID_organizationalUnitName, V_ASN1_UTF8STRING, "One");
        AddToSubject(x509, NID_commonName, V_ASN1_UTF8STRING, "User");
        AddToSubject(x509, NID_organizationalUnitName, V_ASN1_UTF8STRING, "Two");
    });
    EXPECT_EQ(CertificateField(odd, 15), "One,Two");
    EXPECT_EQ(CertificateFieldByOid(odd, "2.5.4.11"), "One,Two");
    EXPECT_EQ(CertificateField(odd, 20), "OU=One,CN=User,OU=Two");
}

TEST(Certificates, SeparatorsAndControlCharactersInTheSubjectAreEscaped)
{
    EXPECT_EQ(CertificateField(WithSubject(NID_commonName, V_ASN1_UTF8STRING, "a,O=b\n"), 20),
              "CN=a\\,O=b\\0A");
}

TEST(Certificates, WithoutNamesTheirFieldsAreEmpty)
{
    const Certificate odd = Odd([](X509*) {});
    for (int type = 4; type <= 10; ++type) {
        EXPECT_EQ(CertificateField(odd, type), "");
        EXPECT_EQ(CertificateField(odd, type + 9), "");
    }
    EXPECT_EQ(CertificateField(odd, 20), "");
    EXPECT_EQ(CertificateField(odd, 2), "0ABC");
}

TEST(Certificates, DatesComeOutAsFourteenDigitsInBothCenturies)
{
    const Certificate odd = Odd([](X509*) {});
    EXPECT_EQ(CertificateField(odd, 11), "20230405101112Z");
    EXPECT_EQ(CertificateField(odd, 12), "20540405101112Z");
}

TEST(Certificates, UnknownExtensionsGiveTheirTextOrTheirBytes)
{
    using namespace std::string_view_literals;
    EXPECT_EQ(
        CertificateFieldByOid(WithExtension(kUnknownOid, ViewOf("\x0C\x03\xE7\x94\xA8"sv)), kUnknownOid),
        "\xE7\x94\xA8");
    EXPECT_EQ(CertificateFieldByOid(WithExtension(kUnknownOid, ViewOf("\x1E\x02\x75\x28"sv)), kUnknownOid),
              "\xE7\x94\xA8");
    EXPECT_EQ(CertificateFieldByOid(WithExtension(kUnknownOid, ViewOf("plain text"sv)), kUnknownOid),
              "plain text");
    EXPECT_EQ(CertificateFieldByOid(WithExtension(kUnknownOid, ViewOf("\x02\x01\x05"sv)), kUnknownOid),
              "020105");
    EXPECT_EQ(CertificateFieldByOid(WithExtension(kUnknownOid, ViewOf(""sv)), kUnknownOid), "");
    EXPECT_EQ(CauseOf([] {
                  CertificateFieldByOid(WithExtension(kUnknownOid, ViewOf("\x0C\x02\xC3\x28"sv)),
                                        kUnknownOid);
              }),
              Cause::BadData);
}

TEST(Certificates, MalformedKnownExtensionsAreRefused)
{
    const Certificate odd = WithExtension("2.5.29.19", ViewOf("nonsense"));
    EXPECT_EQ(CauseOf([&] { CertificateFieldByOid(odd, "2.5.29.19"); }), Cause::BadData);
}

TEST(Certificates, AForeignKindOfKeyIsNamedSo)
{
    EVP_PKEY* foreign = EVP_EC_gen("P-256");
    const Certificate odd = Odd([foreign](X509* x509) { X509_set_pubkey(x509, foreign); });
    EVP_PKEY_free(foreign);
    EXPECT_EQ(CauseOf([&] { odd.Type(); }), Cause::Unsupported);
    EXPECT_EQ(CertificateEntity(odd).size(), 64u);
}

}  // namespace kzr::softkey::test
