// Encryption for a public key, and the session keys of envelopes.
#include "crypto/Sign.h"
#include "softkey/core/Support.h"

namespace kzr::softkey {
namespace {

using namespace test;

constexpr KeyType kBoth[] = {KeyType::Sm2, KeyType::Rsa};

Secret SecretOf(const Bytes& bytes) { return Secret(bytes.begin(), bytes.end()); }

// GB/T 32918.5, put into the sequence of GM/T 0009: point, digest, encrypted bytes.
TEST(PublicKey, ThePublishedSm2TextIsDecrypted)
{
    const KeyHandle key =
        PrivateKeyFromDer(Unhex("3041020100301306072A8648CE3D020106082A811CCF5501822D042730250201010420"
                                "3945208F7B2144B13F36E38AC6D39F95889393692860B51A42FB81EF4DF7C5B8"));
    const Bytes encrypted = Unhex(
        "307C"
        "022004EBFC718E8D1798620432268E77FEB6415E2EDE0E073C0F4F640ECD2E149A73"
        "022100E858F9D81E5430A57B36DAAB8F950A3C64E6EE6A63094D99283AFF767E124DF0"
        "042059983C18F809E262923C53AEC295D30383B54E39D609D160AFCB1908D0BD8766"
        "041321886CA989CA9C7D58087307CA93092D651EFA");
    EXPECT_EQ(StringOf(PrivateDecrypt(key.get(), encrypted)), "encryption standard");
}

TEST(PublicKey, WhatIsEncryptedIsDecrypted)
{
    for (const KeyType type : kBoth)
        for (const std::size_t size : {1, 2, 16, 100, 190}) {
            const Bytes data = Noise(size);
            const Bytes encrypted = PublicEncrypt(Own(type).certificate.PublicKey().get(), data);
            EXPECT_EQ(PrivateDecrypt(Own(type).key.get(), encrypted), SecretOf(data)) << size;
            EXPECT_NE(PublicEncrypt(Own(type).key.get(), data), encrypted) << "it is the same every time";
        }
}

// A key stream of one byte is 0 once in 256 times; the standard wants another one then.
TEST(PublicKey, NoSingleByteIsEncryptedToItself)
{
    for (int i = 0; i < 1500; ++i) {
        const Bytes encrypted = PublicEncrypt(Own(KeyType::Sm2).key.get(), ViewOf("x"));
        ASSERT_NE(encrypted.back(), 'x');
        if (i % 10 == 0) {
            ASSERT_EQ(StringOf(PrivateDecrypt(Own(KeyType::Sm2).key.get(), encrypted)), "x");
        }
    }
}

TEST(PublicKey, RsaTakesAsMuchAsItsPaddingLeavesAndSm2AnyLength)
{
    const KeyHandle& rsa = Own(KeyType::Rsa).key;
    EXPECT_EQ(PrivateDecrypt(rsa.get(), PublicEncrypt(rsa.get(), Noise(190))), SecretOf(Noise(190)));
    EXPECT_EQ(CauseOf([&] { PublicEncrypt(rsa.get(), Noise(191)); }), Cause::BadArgument);
    EXPECT_EQ(CauseOf([&] { PublicEncrypt(rsa.get(), Noise(100'000)); }), Cause::BadArgument);
    const KeyHandle& sm2 = Own(KeyType::Sm2).key;
    EXPECT_EQ(PrivateDecrypt(sm2.get(), PublicEncrypt(sm2.get(), Noise(100'000))), SecretOf(Noise(100'000)));
    for (const KeyType type : kBoth)
        EXPECT_EQ(CauseOf([&] { PublicEncrypt(Own(type).key.get(), {}); }), Cause::BadArgument);
}

TEST(PublicKey, AnotherKeyDecryptsNothing)
{
    for (const KeyType type : kBoth) {
        const Bytes encrypted = PublicEncrypt(Own(type).key.get(), ViewOf("data"));
        EXPECT_EQ(CauseOf([&] { PrivateDecrypt(Other(type).key.get(), encrypted); }), Cause::BadData);
    }
}

TEST(PublicKey, NoByteMayChangeAndNoneMayBeMissing)
{
    for (const KeyType type : kBoth) {
        const KeyHandle& key = Own(type).key;
        Bytes encrypted = PublicEncrypt(key.get(), ViewOf("data"));
        for (std::size_t at = 0; at < encrypted.size(); ++at) {
            ASSERT_EQ(CauseOf([&] { PrivateDecrypt(key.get(), Changed(encrypted, at)); }), Cause::BadData)
                << at;
            ASSERT_EQ(CauseOf([&] { PrivateDecrypt(key.get(), Cut(encrypted, at)); }), Cause::BadData) << at;
        }
        encrypted.push_back(0);
        EXPECT_EQ(CauseOf([&] { PrivateDecrypt(key.get(), encrypted); }), Cause::BadData);
        for (unsigned seed = 0; seed < 100; ++seed)
            ASSERT_EQ(CauseOf([&] { PrivateDecrypt(key.get(), Noise(seed, seed)); }), Cause::BadData);
    }
}

TEST(SessionKey, IsUnwrappedByItsOwnerOnly)
{
    const Secret sessionKey = SecretOf(Noise(32));
    for (const KeyType type : kBoth) {
        const Bytes wrapped = WrapSessionKey(Own(type).key.get(), sessionKey);
        EXPECT_EQ(UnwrapSessionKey(Own(type).key.get(), wrapped, 32), sessionKey);
    }
    const Bytes wrapped = WrapSessionKey(Own(KeyType::Sm2).key.get(), sessionKey);
    const KeyHandle& other = Other(KeyType::Sm2).key;
    EXPECT_EQ(CauseOf([&] { UnwrapSessionKey(other.get(), wrapped, 32); }), Cause::BadData);
    EXPECT_EQ(CauseOf([&] { UnwrapSessionKey(Own(KeyType::Sm2).key.get(), wrapped, 16); }), Cause::BadData);
}

// Whoever may ask as often as he likes learns nothing from what an RSA key answers.
TEST(SessionKey, OfRsaThatCannotBeHadIsAnother)
{
    const KeyHandle& key = Own(KeyType::Rsa).key;
    const Secret sessionKey = SecretOf(Noise(32));
    const Bytes wrapped = WrapSessionKey(key.get(), sessionKey);
    for (const Bytes& bad : {Changed(wrapped, 100), Cut(wrapped, 255), Bytes(), Noise(256),
                             WrapSessionKey(key.get(), SecretOf(Noise(16)))}) {
        const Secret one = UnwrapSessionKey(key.get(), bad, 32);
        EXPECT_EQ(one.size(), 32u);
        EXPECT_NE(one, sessionKey);
        EXPECT_NE(UnwrapSessionKey(key.get(), bad, 32), one);
    }
}

}  // namespace
}  // namespace kzr::softkey
