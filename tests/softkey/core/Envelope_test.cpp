// Enveloped messages: ours, those of others with other ciphers and recipients, and what is none.
#include <openssl/pkcs7.h>
#include <openssl/x509.h>

#include <algorithm>

#include "softkey/core/Support.h"
#include "x509/Message.h"
#include "x509/MessageParts.h"

namespace kzr::softkey {
namespace {

using namespace test;

constexpr KeyType kBoth[] = {KeyType::Sm2, KeyType::Rsa};

Secret OpenOwn(KeyType type, const Bytes& message)
{
    return OpenEnvelope(Own(type).key.get(), Own(type).certificate, message);
}

TEST(Envelopes, AreOpenedByTheirRecipient)
{
    for (const KeyType type : kBoth)
        for (const std::size_t size : {0, 1, 15, 16, 17, 1000, 200'000}) {
            const Bytes data = Noise(size);
            const Bytes message = SealEnvelope(Own(type).certificate, data);
            EXPECT_TRUE(std::ranges::equal(OpenOwn(type, message), data)) << size;
            EXPECT_NE(SealEnvelope(Own(type).certificate, data), message) << "it is the same every time";
        }
}

TEST(Envelopes, AreNotForOthers)
{
    for (const KeyType type : kBoth) {
        const Bytes message = SealEnvelope(Own(type).certificate, ViewOf("the content"));
        EXPECT_EQ(CauseOf([&] { OpenEnvelope(Other(type).key.get(), Other(type).certificate, message); }),
                  Cause::BadData);
        EXPECT_EQ(CauseOf([&] { OpenEnvelope(Own(type).key.get(), Other(type).certificate, message); }),
                  Cause::BadData)
            << "another's name";
    }
    // The right name with the wrong key: SM2 finds out by its digest.
    const Bytes message = SealEnvelope(Own(KeyType::Sm2).certificate, ViewOf("the content"));
    EXPECT_EQ(
        CauseOf([&] { OpenEnvelope(Other(KeyType::Sm2).key.get(), Own(KeyType::Sm2).certificate, message); }),
        Cause::BadData);
    EXPECT_EQ(
        CauseOf([&] { OpenEnvelope(Own(KeyType::Rsa).key.get(), Own(KeyType::Sm2).certificate, message); }),
        Cause::Unsupported);
}

// The format has no check value over the content: what changes there may come out changed.
TEST(Envelopes, WithAChangedByteAreRefusedOrOpenedToSomething)
{
    for (const KeyType type : kBoth) {
        const Bytes message = SealEnvelope(Own(type).certificate, Noise(100));
        int refused = 0;
        for (std::size_t at = 0; at < message.size(); ++at) {
            const auto cause = CauseOf([&] { OpenOwn(type, Changed(message, at)); });
            ASSERT_TRUE(!cause || cause == Cause::BadData || cause == Cause::Unsupported) << at;
            refused += cause.has_value();
        }
        EXPECT_GT(refused, static_cast<int>(message.size()) / 3);
    }
}

TEST(Envelopes, CutOnesAndNoiseCannotBeRead)
{
    for (const KeyType type : kBoth) {
        Bytes message = SealEnvelope(Own(type).certificate, ViewOf("the content"));
        for (std::size_t size = 0; size < message.size(); ++size)
            ASSERT_EQ(CauseOf([&] { OpenOwn(type, Cut(message, size)); }), Cause::BadData) << size;
        message.push_back(0);
        EXPECT_EQ(CauseOf([&] { OpenOwn(type, message); }), Cause::BadData);
        for (unsigned seed = 0; seed < 200; ++seed)
            ASSERT_EQ(CauseOf([&] { OpenOwn(type, Noise(seed, seed)); }), Cause::BadData);
        const Bytes other = SignMessage(Own(type).key.get(), Own(type).certificate, {}, true);
        EXPECT_EQ(CauseOf([&] { OpenOwn(type, other); }), Cause::BadData) << "it is a signed one";
    }
}

using BioOf = std::unique_ptr<BIO, decltype(&BIO_free)>;

// As the library's own writer of PKCS#7 seals, for RSA.
Bytes SealAsOthers(const EVP_CIPHER* cipher, std::initializer_list<const Identity*> recipients)
{
    STACK_OF(X509)* stack = sk_X509_new_null();
    for (const Identity* recipient : recipients) sk_X509_push(stack, recipient->certificate.Get());
    const BioOf data(BIO_new_mem_buf("the content", 11), BIO_free);
    const Handle<PKCS7, PKCS7_free> message(PKCS7_encrypt(stack, data.get(), cipher, PKCS7_BINARY));
    sk_X509_free(stack);
    EXPECT_NE(message, nullptr);
    return DerOf(message.get(), ASN1_ITEM_rptr(PKCS7));
}

TEST(EnvelopesOfOthers, AreOpenedWithTheCiphersInUse)
{
    for (const EVP_CIPHER* cipher :
         {EVP_aes_256_cbc(), EVP_aes_192_cbc(), EVP_aes_128_cbc(), EVP_des_ede3_cbc()})
        EXPECT_EQ(StringOf(OpenOwn(KeyType::Rsa, SealAsOthers(cipher, {&Own(KeyType::Rsa)}))), "the content");
    const Bytes other = SealAsOthers(EVP_aes_256_cfb128(), {&Own(KeyType::Rsa)});
    EXPECT_EQ(CauseOf([&] { OpenOwn(KeyType::Rsa, other); }), Cause::Unsupported);
}

TEST(EnvelopesOfOthers, MayHaveSeveralRecipients)
{
    const Identity& own = Own(KeyType::Rsa);
    const Identity& other = Other(KeyType::Rsa);
    for (const auto& order : {std::initializer_list<const Identity*>{&own, &other}, {&other, &own}}) {
        const Bytes message = SealAsOthers(EVP_aes_256_cbc(), order);
        for (const Identity* recipient : order)
            EXPECT_EQ(StringOf(OpenEnvelope(recipient->key.get(), recipient->certificate, message)),
                      "the content");
    }
    EXPECT_EQ(CauseOf([&] { OpenOwn(KeyType::Rsa, SealAsOthers(EVP_aes_256_cbc(), {&other})); }),
              Cause::BadData);
}

// Takes an envelope of ours apart, lets `change` do something to it, and puts it together again.
template <typename Change>
Bytes Remade(KeyType type, const Change& change)
{
    const Bytes der = SealEnvelope(Own(type).certificate, ViewOf("the content"));
    const char* oid = MessageOidsOf(type).envelopedData;
    const Bytes inner = ReadContentInfo(der, oid, oid);
    const Handle<PKCS7_ENVELOPE, PKCS7_ENVELOPE_free> message(
        static_cast<PKCS7_ENVELOPE*>(ReadValue(inner, ASN1_ITEM_rptr(PKCS7_ENVELOPE))));
    change(message.get(), sk_PKCS7_RECIP_INFO_value(message->recipientinfo, 0));
    return WriteContentInfo(oid, DerOf(message.get(), ASN1_ITEM_rptr(PKCS7_ENVELOPE)));
}

View StartValueOf(const PKCS7_ENVELOPE* message)
{
    return ViewOf(message->enc_data->algorithm->parameter->value.octet_string);
}

TEST(EnvelopesOfOthers, TheNamesOfSm2AndSm4InUseAreTaken)
{
    const Bytes message = Remade(KeyType::Sm2, [](PKCS7_ENVELOPE* data, PKCS7_RECIP_INFO* recipient) {
        const View view = StartValueOf(data);
        const Bytes iv(view.begin(), view.end());
        SetAlgorithm(data->enc_data->algorithm, "1.2.156.10197.1.104", V_ASN1_OCTET_STRING, iv);
        SetAlgorithm(recipient->key_enc_algor, "1.2.156.10197.1.301", V_ASN1_NULL);
    });
    EXPECT_EQ(StringOf(OpenOwn(KeyType::Sm2, message)), "the content");
}

TEST(EnvelopesOfOthers, OtherWaysOfWrappingAreNotTaken)
{
    const Bytes message = Remade(KeyType::Rsa, [](PKCS7_ENVELOPE*, PKCS7_RECIP_INFO* recipient) {
        SetAlgorithm(recipient->key_enc_algor, "1.2.840.113549.1.1.7", V_ASN1_NULL);
    });
    EXPECT_EQ(CauseOf([&] { OpenOwn(KeyType::Rsa, message); }), Cause::Unsupported);
}

TEST(EnvelopesOfOthers, AStartValueOfAnotherLengthIsNotTaken)
{
    for (const KeyType type : kBoth)
        for (const std::size_t size : {0, 8, 15, 17}) {
            const Bytes message = Remade(type, [type, size](PKCS7_ENVELOPE* data, PKCS7_RECIP_INFO*) {
                SetAlgorithm(data->enc_data->algorithm, MessageOidsOf(type).contentCipher,
                             V_ASN1_OCTET_STRING, Bytes(size));
            });
            EXPECT_EQ(CauseOf([&] { OpenOwn(type, message); }), Cause::BadData) << size;
        }
    const Bytes none = Remade(KeyType::Sm2, [](PKCS7_ENVELOPE* data, PKCS7_RECIP_INFO*) {
        SetAlgorithm(data->enc_data->algorithm, "1.2.156.10197.1.104.2", V_ASN1_UNDEF);
    });
    EXPECT_EQ(CauseOf([&] { OpenOwn(KeyType::Sm2, none); }), Cause::BadData);
}

TEST(EnvelopesOfOthers, WithoutContentCannotBeOpened)
{
    for (const KeyType type : kBoth) {
        const Bytes message = Remade(type, [](PKCS7_ENVELOPE* data, PKCS7_RECIP_INFO*) {
            ASN1_OCTET_STRING_free(data->enc_data->enc_data);
            data->enc_data->enc_data = nullptr;
        });
        EXPECT_EQ(CauseOf([&] { OpenOwn(type, message); }), Cause::BadData);
        const Bytes empty = Remade(
            type, [](PKCS7_ENVELOPE* data, PKCS7_RECIP_INFO*) { SetBytes(data->enc_data->enc_data, {}); });
        EXPECT_EQ(CauseOf([&] { OpenOwn(type, empty); }), Cause::BadData);
    }
}

// A wrong wrapped key must not be told from a wrong content.
TEST(EnvelopesOfOthers, ABrokenRsaKeyAndABrokenContentGiveTheSameAnswer)
{
    const auto answer = [](const Bytes& message) -> std::string {
        try {
            return "opened " + StringOf(OpenOwn(KeyType::Rsa, message));
        } catch (const Failure& failure) {
            return failure.what();
        }
    };
    const std::string ofContent = answer(Remade(KeyType::Rsa, [](PKCS7_ENVELOPE* data, PKCS7_RECIP_INFO*) {
        SetBytes(data->enc_data->enc_data, Noise(8));
    }));
    // By chance the padding of the noise fits, once in 256 times.
    int same = 0;
    for (unsigned seed = 0; seed < 20; ++seed)
        same +=
            ofContent == answer(Remade(KeyType::Rsa, [seed](PKCS7_ENVELOPE*, PKCS7_RECIP_INFO* recipient) {
                SetBytes(recipient->enc_key, Noise(256, seed));
            }));
    EXPECT_GE(same, 16);
}

}  // namespace
}  // namespace kzr::softkey
