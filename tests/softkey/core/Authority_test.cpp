// What the authority for tests issues, and PKCS#12 files.
#include "x509/Authority.h"

#include <gtest/gtest.h>
#include <openssl/pkcs12.h>
#include <openssl/x509v3.h>

#include "softkey/core/TestAuthorities.h"

namespace kzr::softkey::test {

namespace {

class AuthorityOf : public ::testing::TestWithParam<KeyType> {
  protected:
    const Family& Own() const { return FamilyOf(GetParam()); }
    EVP_PKEY* Key(int number) const { return KeyOf(GetParam(), number); }
    Certificate User(const Subject& subject, Usage usage = Usage::Signing) const
    {
        return IssueUser(Own().Between(), Key(2), subject, usage, 0, 10);
    }
};

INSTANTIATE_TEST_SUITE_P(Keys, AuthorityOf, ::testing::Values(KeyType::Rsa, KeyType::Sm2),
                         [](const auto& row) { return NameOf(row.param); });

constexpr char kBasicConstraints[] = "2.5.29.19";
constexpr char kKeyUsage[] = "2.5.29.15";

// A file as the library writes it, with the ciphers (NIDs, -1 for none) and rounds that the test wants.
Bytes FileOf(EVP_PKEY* key, const Certificate& certificate, const std::vector<Certificate>& chain,
             const char* password, int keyCipher, int certificateCipher, int rounds = 2048,
             int macRounds = 2048)
{
    STACK_OF(X509)* others = sk_X509_new_null();
    for (const Certificate& one : chain) {
        sk_X509_push(others, one.Get());
    }
    PKCS12* file = PKCS12_create(password, "name", key, certificate.Get(), others, keyCipher,
                                 certificateCipher, rounds, macRounds, 0);
    sk_X509_free(others);
    if (file == nullptr) {
        return {};
    }
    Bytes der(static_cast<std::size_t>(i2d_PKCS12(file, nullptr)));
    unsigned char* at = der.data();
    i2d_PKCS12(file, &at);
    PKCS12_free(file);
    return der;
}

Bytes ModernFile(KeyType type, const char* password = "secret")
{
    const Family& family = FamilyOf(type);
    return FileOf(KeyOf(type, 2), family.user, {family.between, family.root}, password, NID_aes_256_cbc,
                  NID_aes_256_cbc);
}

}  // namespace

TEST_P(AuthorityOf, ARootSignsItselfAndIsAnAuthority)
{
    const Certificate root = Own().root;
    EXPECT_EQ(X509_self_signed(root.Get(), 1), 1);
    EXPECT_EQ(CertificateFieldByOid(root, kBasicConstraints), "CA:TRUE");
    EXPECT_EQ(CertificateFieldByOid(root, kKeyUsage), "Certificate Sign, CRL Sign");
    EXPECT_EQ(CertificateField(root, 8), "Root");
    EXPECT_EQ(CertificateField(root, 17), "Root");
}

TEST_P(AuthorityOf, AnIssuedAuthorityIsSignedByItsIssuer)
{
    EXPECT_EQ(X509_verify(Own().between.Get(), Key(0)), 1);
    EXPECT_EQ(X509_check_issued(Own().root.Get(), Own().between.Get()), X509_V_OK);
    EXPECT_EQ(CertificateFieldByOid(Own().between, kBasicConstraints), "CA:TRUE");
    const Certificate limited = IssueAuthority(Own().Root(), Key(1), Named("Limited"), 10, 0);
    EXPECT_EQ(CertificateFieldByOid(limited, kBasicConstraints), "CA:TRUE, pathlen:0");
}

TEST_P(AuthorityOf, UsagesAreThoseOfSigningAndExchange)
{
    EXPECT_EQ(CertificateFieldByOid(User(Named("A")), kKeyUsage), "Digital Signature, Non Repudiation");
    EXPECT_EQ(CertificateFieldByOid(User(Named("A"), Usage::Exchange), kKeyUsage),
              "Key Encipherment, Data Encipherment, Key Agreement");
    EXPECT_EQ(CertificateFieldByOid(User(Named("A")), kBasicConstraints), "CA:FALSE");
}

TEST_P(AuthorityOf, SerialNumbersDiffer)
{
    EXPECT_NE(CertificateField(User(Named("A")), 2), CertificateField(User(Named("A")), 2));
}

TEST_P(AuthorityOf, ValidityReachesBeyondTheYearsThatTwoDigitsHold)
{
    const Certificate root = MakeRoot(Key(0), Named("Long"), 36'000);
    EXPECT_GT(CertificateField(root, 12), "2120");
    EXPECT_LT(CertificateField(MakeRoot(Key(0), Named("Ended"), -10), 12), CertificateField(Own().root, 11));
}

TEST_P(AuthorityOf, SubjectsThatCannotBeHeldAreRefused)
{
    Subject country = Named("A");
    country.country = "CHN";
    Subject broken = Named("A\xC3\x28");
    for (const Subject& subject : {Subject(), country, broken, Named(std::string(65, 'x'))}) {
        EXPECT_EQ(CauseOf([&] { User(subject); }), Cause::BadArgument);
        EXPECT_EQ(CauseOf([&] { MakeRoot(Key(0), subject, 10); }), Cause::BadArgument);
    }
}

TEST_P(AuthorityOf, DaysThatMakeNoSenseAreRefused)
{
    const auto issue = [&](int start, int days) {
        return CauseOf([&] { IssueUser(Own().Between(), Key(2), Named("A"), Usage::Signing, start, days); });
    };
    EXPECT_EQ(issue(0, 0), Cause::BadArgument);
    EXPECT_EQ(issue(0, -1), Cause::BadArgument);
    EXPECT_EQ(issue(0, 2'147'483'647), Cause::BadArgument);
    EXPECT_EQ(issue(-2'147'483'647, 1), Cause::BadArgument);
    EXPECT_EQ(CauseOf([&] { MakeRoot(Key(0), Named("A"), 1'000'000); }), Cause::BadArgument);
}

TEST_P(AuthorityOf, AnIssuerWithAnothersKeyIsRefused)
{
    const Issuer wrong{Own().root, Key(1)};
    EXPECT_EQ(CauseOf([&] { IssueUser(wrong, Key(2), Named("A"), Usage::Signing, 0, 1); }),
              Cause::BadArgument);
    EXPECT_EQ(CauseOf([&] { IssueAuthority(wrong, Key(2), Named("A"), 1); }), Cause::BadArgument);
    EXPECT_EQ(CauseOf([&] { MakeRevocationList(wrong, {}, 1); }), Cause::BadArgument);
    EXPECT_EQ(CauseOf([&] { MakeRevocationList({Certificate(), nullptr}, {}, 1); }), Cause::BadArgument);
}

TEST_P(AuthorityOf, WhatIsNoSerialNumberCannotBeRevoked)
{
    for (const std::string number : {"", "xyz", "12x", "0x12", " 12"}) {
        EXPECT_EQ(CauseOf([&] { MakeRevocationList(Own().Between(), {number}, 1); }), Cause::BadArgument)
            << number;
    }
    const std::string endless(1000, '1');
    EXPECT_EQ(CauseOf([&] { MakeRevocationList(Own().Between(), {endless}, 1); }), Cause::BadArgument);
    EXPECT_EQ(CauseOf([&] { MakeRevocationList(Own().Between(), {"0A", "0A", "0b"}, 1); }), std::nullopt);
}

TEST_P(AuthorityOf, APkcs12FileGivesKeyCertificateAndChain)
{
    const Pkcs12 read = ReadPkcs12(ModernFile(GetParam()), "secret");
    EXPECT_EQ(EVP_PKEY_eq(read.key.get(), Key(2)), 1);
    EXPECT_EQ(KeyTypeOf(read.key.get()), GetParam());
    EXPECT_EQ(read.certificate.Der(), Own().user.Der());
    ASSERT_EQ(read.chain.size(), 2u);
    EXPECT_EQ(read.chain[0].Der(), Own().between.Der());
    EXPECT_EQ(read.chain[1].Der(), Own().root.Der());
}

TEST_P(AuthorityOf, APkcs12FileOpensWithItsPasswordOnly)
{
    const Bytes file = ModernFile(GetParam());
    for (const std::string password : {"", "Secret", "secret "}) {
        EXPECT_EQ(CauseOf([&] { ReadPkcs12(file, password); }), Cause::BadData) << password;
    }
    const std::string chinese = "\xE5\xAF\x86\xE7\xA0\x81";
    EXPECT_EQ(ReadPkcs12(ModernFile(GetParam(), chinese.c_str()), chinese).certificate.Der(),
              Own().user.Der());
    EXPECT_EQ(CauseOf([&] { ReadPkcs12(file, std::string("secret\0x", 8)); }), Cause::BadArgument);
}

TEST_P(AuthorityOf, AnEmptyPasswordAndNoneAreTheSame)
{
    for (const char* password : {"", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(ReadPkcs12(ModernFile(GetParam(), password), "").certificate.Der(), Own().user.Der());
    }
}

TEST_P(AuthorityOf, APkcs12FileWithTripleDesOrUnencryptedPartsIsRead)
{
    for (const int cipher : {NID_pbe_WithSHA1And3_Key_TripleDES_CBC, -1}) {
        const Bytes file = FileOf(Key(2), Own().user, {}, "secret", cipher, cipher);
        EXPECT_EQ(ReadPkcs12(file, "secret").certificate.Der(), Own().user.Der()) << cipher;
    }
}

TEST_P(AuthorityOf, AChangedOrCutPkcs12FileIsRefused)
{
    const Bytes file = ModernFile(GetParam());
    for (std::size_t at = 0; at < file.size(); at += 37) {
        Bytes changed = file;
        changed[at] ^= 0x55;
        EXPECT_TRUE(CauseOf([&] { ReadPkcs12(changed, "secret"); })) << at;
        EXPECT_EQ(CauseOf([&] { ReadPkcs12(View(file).first(at), "secret"); }), Cause::BadData) << at;
    }
    Bytes longer = file;
    longer.push_back(0);
    EXPECT_EQ(CauseOf([&] { ReadPkcs12(longer, "secret"); }), Cause::BadData);
    EXPECT_EQ(CauseOf([&] { ReadPkcs12(Bytes((std::size_t{1} << 20) + 1, 0x30), "secret"); }),
              Cause::BadData);
}

TEST_P(AuthorityOf, APkcs12FileThatAsksForEndlessDerivationIsRefusedAtOnce)
{
    constexpr int kMany = 5'000'000;
    // The check value itself with so many rounds would take the test as long as it would take the reader.
    const Bytes file = FileOf(Key(2), Own().user, {}, "secret", NID_aes_256_cbc, -1, 2048, 2048);
    const unsigned char* at = file.data();
    PKCS12* parsed = d2i_PKCS12(nullptr, &at, static_cast<long>(file.size()));
    const ASN1_INTEGER* rounds = nullptr;
    PKCS12_get0_mac(nullptr, nullptr, nullptr, &rounds, parsed);
    ASN1_INTEGER_set(const_cast<ASN1_INTEGER*>(rounds), kMany);
    Bytes changed(static_cast<std::size_t>(i2d_PKCS12(parsed, nullptr)));
    unsigned char* to = changed.data();
    i2d_PKCS12(parsed, &to);
    PKCS12_free(parsed);
    try {
        ReadPkcs12(changed, "secret");
        FAIL();
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.Why(), Cause::BadData);
        EXPECT_NE(std::string(failure.what()).find("long"), std::string::npos) << failure.what();
    }
}

TEST_P(AuthorityOf, APkcs12FileWithoutKeyOrWithoutItsCertificateIsRefused)
{
    const Bytes noKey = FileOf(nullptr, Own().user, {}, "secret", NID_aes_256_cbc, NID_aes_256_cbc);
    EXPECT_EQ(CauseOf([&] { ReadPkcs12(noKey, "secret"); }), Cause::BadData);
    PKCS12* file =
        PKCS12_create("secret", nullptr, Key(2), nullptr, nullptr, NID_aes_256_cbc, NID_aes_256_cbc, 1, 1, 0);
    ASSERT_NE(file, nullptr);
    Bytes noCertificate(static_cast<std::size_t>(i2d_PKCS12(file, nullptr)));
    unsigned char* to = noCertificate.data();
    i2d_PKCS12(file, &to);
    PKCS12_free(file);
    EXPECT_EQ(CauseOf([&] { ReadPkcs12(noCertificate, "secret"); }), Cause::BadData);
}

TEST(Pkcs12, NothingAtAllIsRefused)
{
    for (const View bad : {View(), ViewOf("text"), ViewOf("0")}) {
        EXPECT_EQ(CauseOf([&] { ReadPkcs12(bad, ""); }), Cause::BadData);
    }
}

}  // namespace kzr::softkey::test
