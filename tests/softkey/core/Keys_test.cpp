// Key pairs on their way to and from bytes.
#include "crypto/Keys.h"

#include <openssl/err.h>

#include "base/Base64.h"
#include "crypto/Sign.h"
#include "softkey/core/Support.h"

namespace kzr::softkey {
namespace {

using namespace test;

// Of GB/T 32918.5, in PKCS#8 without the public key.
constexpr char kPublishedKey[] =
    "3041020100301306072A8648CE3D020106082A811CCF5501822D042730250201010420"
    "3945208F7B2144B13F36E38AC6D39F95889393692860B51A42FB81EF4DF7C5B8";
constexpr char kPublishedPoint[] =
    "09F9DF311E5421A150DD7D161E4BC5C672179FAD1833FC076BB08FF356F35020"
    "CCEA490CE26775A52DC6EA718CC1AA600AED05FBF35E084A6632F6072DA9AD13";

TEST(Keys, ComeBackFromTheirBytes)
{
    for (const KeyType type : {KeyType::Sm2, KeyType::Rsa}) {
        const KeyHandle& key = Own(type).key;
        EXPECT_EQ(KeyTypeOf(key.get()), type);
        const Secret der = PrivateKeyToDer(key.get());
        const KeyHandle again = PrivateKeyFromDer(der);
        EXPECT_EQ(KeyTypeOf(again.get()), type);
        EXPECT_EQ(EVP_PKEY_eq(key.get(), again.get()), 1);
        EXPECT_EQ(PrivateKeyToDer(again.get()), der);
        EXPECT_TRUE(Verify(key.get(), ViewOf("x"), Sign(again.get(), ViewOf("x"))));
    }
}

TEST(Keys, AreNotMadeTwice)
{
    for (const KeyType type : {KeyType::Sm2, KeyType::Rsa})
        EXPECT_NE(EVP_PKEY_eq(Own(type).key.get(), Other(type).key.get()), 1);
}

TEST(Keys, ThePublicPointOfThePublishedSm2KeyIsThePublishedOne)
{
    const KeyHandle key = PrivateKeyFromDer(Unhex(kPublishedKey));
    Bytes point(65);
    std::size_t size = 0;
    ASSERT_EQ(EVP_PKEY_get_octet_string_param(key.get(), "pub", point.data(), point.size(), &size), 1);
    EXPECT_EQ(HexUpper(point), std::string("04") + kPublishedPoint);
}

TEST(Keys, RsaHas1024To8192Bits)
{
    EXPECT_EQ(EVP_PKEY_get_bits(GenerateKey(KeyType::Rsa, 1024).get()), 1024);
    EXPECT_EQ(EVP_PKEY_get_bits(Own(KeyType::Rsa).key.get()), 2048);
    for (const int bits : {1023, 8193, 0, -1})
        EXPECT_EQ(CauseOf([bits] { GenerateKey(KeyType::Rsa, bits); }), Cause::BadArgument) << bits;
    const KeyHandle small(EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", std::size_t{512}));
    ASSERT_NE(small, nullptr);
    EXPECT_EQ(CauseOf([&] { KeyTypeOf(small.get()); }), Cause::Unsupported);
}

TEST(Keys, OfOtherKindsAreRefusedEverywhere)
{
    EXPECT_EQ(CauseOf([] { KeyTypeOf(nullptr); }), Cause::Unsupported);
    const KeyHandle other(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(CauseOf([&] { KeyTypeOf(other.get()); }), Cause::Unsupported);
    EXPECT_EQ(CauseOf([&] { PrivateKeyToDer(other.get()); }), Cause::Unsupported);
    EXPECT_EQ(CauseOf([&] { Sign(other.get(), ViewOf("x")); }), Cause::Unsupported);
    EXPECT_EQ(CauseOf([&] { Verify(other.get(), ViewOf("x"), ViewOf("y")); }), Cause::Unsupported);
    EXPECT_EQ(CauseOf([&] { PublicEncrypt(other.get(), ViewOf("x")); }), Cause::Unsupported);
    EXPECT_EQ(CauseOf([&] { PrivateDecrypt(other.get(), ViewOf("x")); }), Cause::Unsupported);
}

TEST(Keys, ThatAreCutOrFollowedBySomethingAreNotRead)
{
    for (const KeyType type : {KeyType::Sm2, KeyType::Rsa}) {
        const Secret der = PrivateKeyToDer(Own(type).key.get());
        for (std::size_t size = 0; size < der.size(); ++size)
            ASSERT_EQ(CauseOf([&] { PrivateKeyFromDer(View(der).first(size)); }), Cause::BadData) << size;
        Secret longer = der;
        longer.push_back(0);
        EXPECT_EQ(CauseOf([&] { PrivateKeyFromDer(longer); }), Cause::BadData);
    }
    EXPECT_EQ(CauseOf([] { PrivateKeyFromDer(ViewOf("no key")); }), Cause::BadData);
}

// Some changes give another key that can be read; none of them ends in anything but a key or a refusal.
TEST(Keys, WithOneByteChangedAreReadOrRefused)
{
    const Secret secret = PrivateKeyToDer(Own(KeyType::Sm2).key.get());
    const Bytes der(secret.begin(), secret.end());
    int refused = 0;
    for (std::size_t at = 0; at < der.size(); ++at) {
        const auto cause = CauseOf([&] { PrivateKeyFromDer(Changed(der, at, 0xFF)); });
        EXPECT_TRUE(!cause || cause == Cause::BadData || cause == Cause::Unsupported) << at;
        refused += cause.has_value();
    }
    EXPECT_GT(refused, 20);
}

TEST(ThrowCrypto, TellsTheLibrarysReasonAndForgetsIt)
{
    ERR_raise(ERR_LIB_USER, 77);
    EXPECT_EQ(CauseOf([] { ThrowCrypto("trying"); }), Cause::Crypto);
    try {
        ERR_raise(ERR_LIB_USER, 77);
        ThrowCrypto("trying");
    } catch (const Failure& failure) {
        EXPECT_TRUE(std::string_view(failure.what()).starts_with("trying: error:")) << failure.what();
    }
}

}  // namespace
}  // namespace kzr::softkey
