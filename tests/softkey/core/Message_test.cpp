// Signed messages: ours, those of others with attributes and other digests, and what is none.
#include "x509/Message.h"

#include <openssl/cms.h>
#include <openssl/pkcs7.h>

#include <algorithm>

#include "crypto/Digest.h"
#include "crypto/Sign.h"
#include "softkey/core/Support.h"
#include "x509/MessageParts.h"

namespace kzr::softkey {
namespace {

using namespace test;

constexpr KeyType kBoth[] = {KeyType::Sm2, KeyType::Rsa};

Bytes SignOwn(KeyType type, View data, bool attached)
{
    return SignMessage(Own(type).key.get(), Own(type).certificate, data, attached);
}

TEST(SignedMessages, AttachedOnesCarryTheirContent)
{
    for (const KeyType type : kBoth)
        for (const std::size_t size : {0, 1, 127, 128, 100'000}) {
            const Bytes data = Noise(size);
            const Bytes message = SignOwn(type, data, true);
            EXPECT_TRUE(VerifyMessage(message, {}));
            EXPECT_TRUE(VerifyMessage(message, data));
            EXPECT_FALSE(VerifyMessage(message, ViewOf("other content")));
            const SignedMessage read = ReadSignedMessage(message);
            EXPECT_EQ(read.content, data);
            EXPECT_EQ(read.certificate.Der(), Own(type).certificate.Der());
            EXPECT_TRUE(Verify(Own(type).key.get(), data, read.signature)) << "the signature is a raw one";
        }
}

TEST(SignedMessages, DetachedOnesNeedTheirContent)
{
    for (const KeyType type : kBoth) {
        const Bytes data = Noise(1000);
        const Bytes message = SignOwn(type, data, false);
        EXPECT_LT(message.size(), SignOwn(type, data, true).size() - 1000);
        EXPECT_TRUE(VerifyMessage(message, data));
        EXPECT_FALSE(VerifyMessage(message, Changed(data, 999)));
        EXPECT_FALSE(VerifyMessage(message, {}));
        EXPECT_EQ(ReadSignedMessage(message).content, std::nullopt);
        EXPECT_TRUE(VerifyMessage(SignOwn(type, {}, false), {}));
    }
}

TEST(SignedMessages, NeedTheKeysOwnCertificate)
{
    for (const KeyType type : kBoth)
        EXPECT_EQ(CauseOf([&] { SignMessage(Own(type).key.get(), Other(type).certificate, {}, true); }),
                  Cause::BadArgument);
    EXPECT_EQ(
        CauseOf([] { SignMessage(Own(KeyType::Rsa).key.get(), Own(KeyType::Sm2).certificate, {}, true); }),
        Cause::BadArgument);
}

// What is not under the signature may change; what verifies still says the same, signed by the same key.
TEST(SignedMessages, AChangedByteNeverPassesForAnotherContentOrSigner)
{
    for (const KeyType type : kBoth) {
        const Bytes message = SignOwn(type, ViewOf("the content"), true);
        int refused = 0;
        for (std::size_t at = 0; at < message.size(); ++at) {
            bool fits = false;
            const Bytes changed = Changed(message, at);
            const auto cause = CauseOf([&] { fits = VerifyMessage(changed, {}); });
            ASSERT_TRUE(!cause || cause == Cause::BadData || cause == Cause::Unsupported) << at;
            refused += !fits;
            if (!fits) continue;
            const SignedMessage read = ReadSignedMessage(changed);
            EXPECT_EQ(read.content, BytesOf("the content")) << at;
            EXPECT_EQ(EVP_PKEY_eq(read.certificate.PublicKey().get(), Own(type).key.get()), 1) << at;
        }
        EXPECT_GT(refused, static_cast<int>(message.size()) / 4);
    }
}

TEST(SignedMessages, CutOnesAndNoiseCannotBeRead)
{
    for (const KeyType type : kBoth) {
        Bytes message = SignOwn(type, ViewOf("the content"), true);
        for (std::size_t size = 0; size < message.size(); ++size) {
            ASSERT_EQ(CauseOf([&] { VerifyMessage(Cut(message, size), {}); }), Cause::BadData) << size;
            ASSERT_EQ(CauseOf([&] { ReadSignedMessage(Cut(message, size)); }), Cause::BadData) << size;
        }
        message.push_back(0);
        EXPECT_EQ(CauseOf([&] { VerifyMessage(message, {}); }), Cause::BadData) << "something follows";
    }
    for (unsigned seed = 0; seed < 200; ++seed)
        ASSERT_EQ(CauseOf([&] { ReadSignedMessage(Noise(seed, seed)); }), Cause::BadData);
    EXPECT_EQ(CauseOf([] { ReadSignedMessage(Own(KeyType::Sm2).certificate.Der()); }), Cause::BadData);
    EXPECT_EQ(CauseOf([] { ReadSignedMessage(SealEnvelope(Own(KeyType::Sm2).certificate, {})); }),
              Cause::BadData);
    // Sequences in sequences, far deeper than any message.
    EXPECT_EQ(CauseOf([] {
                  Bytes deep;
                  for (int i = 0; i < 100'000; ++i) deep.insert(deep.end(), {0x30, 0x80});
                  ReadSignedMessage(deep);
              }),
              Cause::BadData);
}

using BioOf = std::unique_ptr<BIO, decltype(&BIO_free)>;

// As the library's own writer of PKCS#7 signs: with attributes unless told otherwise.
Bytes SignAsOthers(const EVP_MD* digest, int flags)
{
    const Identity& own = Own(KeyType::Rsa);
    const BioOf data(BIO_new_mem_buf("the content", 11), BIO_free);
    const Handle<PKCS7, PKCS7_free> message(
        PKCS7_sign(nullptr, nullptr, nullptr, data.get(), PKCS7_BINARY | PKCS7_PARTIAL | flags));
    EXPECT_NE(PKCS7_sign_add_signer(message.get(), own.certificate.Get(), own.key.get(), digest, flags),
              nullptr);
    EXPECT_EQ(PKCS7_final(message.get(), data.get(), PKCS7_BINARY | flags), 1);
    return DerOf(message.get(), ASN1_ITEM_rptr(PKCS7));
}

TEST(SignedMessagesOfOthers, AreTakenWithAndWithoutAttributes)
{
    for (const EVP_MD* digest : {EVP_sha256(), EVP_sha384(), EVP_sha512()})
        for (const int flags : {0, PKCS7_NOATTR, PKCS7_DETACHED, PKCS7_DETACHED | PKCS7_NOATTR}) {
            const Bytes message = SignAsOthers(digest, flags);
            EXPECT_TRUE(VerifyMessage(message, ViewOf("the content")));
            EXPECT_FALSE(VerifyMessage(message, ViewOf("the Content")));
            const auto content = ReadSignedMessage(message).content;
            EXPECT_EQ(content, flags & PKCS7_DETACHED ? std::nullopt : std::optional(BytesOf("the content")));
        }
}

// The signature over the attributes fits still, and only the digest among them tells.
TEST(SignedMessagesOfOthers, TheDigestAmongTheAttributesCounts)
{
    Bytes message = SignAsOthers(EVP_sha256(), 0);
    constexpr std::string_view kContent = "the content";
    const auto at = std::search(message.begin(), message.end(), kContent.begin(), kContent.end());
    ASSERT_NE(at, message.end());
    *at = 'T';
    EXPECT_FALSE(VerifyMessage(message, {}));
    *at = 't';
    EXPECT_TRUE(VerifyMessage(message, {}));
}

TEST(SignedMessagesOfOthers, WeakDigestsAreNotTaken)
{
    EXPECT_EQ(CauseOf([] { VerifyMessage(SignAsOthers(EVP_sha1(), 0), {}); }), Cause::Unsupported);
    EXPECT_EQ(ReadSignedMessage(SignAsOthers(EVP_sha1(), 0)).content, BytesOf("the content"));
}

TEST(SignedMessagesOfOthers, WithoutTheirCertificateCannotBeRead)
{
    EXPECT_EQ(CauseOf([] { VerifyMessage(SignAsOthers(EVP_sha256(), PKCS7_NOCERTS), {}); }), Cause::BadData);
}

// Takes a message of ours apart, lets `change` do something to it, and puts it together again.
template <typename Change>
Bytes Remade(KeyType type, const Change& change)
{
    const Bytes der = SignOwn(type, ViewOf("the content"), true);
    const char* oid = MessageOidsOf(type).signedData;
    const Bytes inner = ReadContentInfo(der, oid, oid);
    const Handle<PKCS7_SIGNED, PKCS7_SIGNED_free> message(
        static_cast<PKCS7_SIGNED*>(ReadValue(inner, ASN1_ITEM_rptr(PKCS7_SIGNED))));
    change(message.get(), sk_PKCS7_SIGNER_INFO_value(message->signer_info, 0));
    return WriteContentInfo(oid, DerOf(message.get(), ASN1_ITEM_rptr(PKCS7_SIGNED)));
}

void AddAttributes(const PKCS7_SIGNED* message, PKCS7_SIGNER_INFO* signer, const Bytes& digest)
{
    ASN1_OCTET_STRING* value = ASN1_OCTET_STRING_new();
    SetBytes(value, digest);
    PKCS7_add_signed_attribute(signer, NID_pkcs9_contentType, V_ASN1_OBJECT,
                               OBJ_dup(message->contents->type));
    PKCS7_add_signed_attribute(signer, NID_pkcs9_messageDigest, V_ASN1_OCTET_STRING, value);
}

void SignAttributes(PKCS7_SIGNER_INFO* signer, EVP_PKEY* key)
{
    SetBytes(signer->enc_digest, Sign(key, DerOf(signer->auth_attr, ASN1_ITEM_rptr(PKCS7_ATTR_VERIFY))));
}

TEST(SignedMessagesOfOthers, Sm2WithAttributesIsTaken)
{
    const auto make = [](const Bytes& digest) {
        return Remade(KeyType::Sm2, [&digest](PKCS7_SIGNED* message, PKCS7_SIGNER_INFO* signer) {
            AddAttributes(message, signer, digest);
            SignAttributes(signer, Own(KeyType::Sm2).key.get());
        });
    };
    EXPECT_TRUE(VerifyMessage(make(Digest(HashCode::Sm3, ViewOf("the content"))), {}));
    EXPECT_FALSE(VerifyMessage(make(Digest(HashCode::Sm3, ViewOf("other content"))), {}));
    EXPECT_FALSE(VerifyMessage(make({}), {}));
}

TEST(SignedMessagesOfOthers, AttributesThatLackOneOrHaveOneTwiceDoNotFit)
{
    const Bytes digest = Digest(HashCode::Sm3, ViewOf("the content"));
    const auto fits = [&digest](const std::function<void(STACK_OF(X509_ATTRIBUTE)*)>& change) {
        return VerifyMessage(Remade(KeyType::Sm2,
                                    [&](PKCS7_SIGNED* message, PKCS7_SIGNER_INFO* signer) {
                                        AddAttributes(message, signer, digest);
                                        change(signer->auth_attr);
                                        SignAttributes(signer, Own(KeyType::Sm2).key.get());
                                    }),
                             {});
    };
    EXPECT_TRUE(fits([](auto*) {}));
    for (const int which : {0, 1}) {
        EXPECT_FALSE(fits(
            [which](auto* attributes) { X509_ATTRIBUTE_free(sk_X509_ATTRIBUTE_delete(attributes, which)); }));
        EXPECT_FALSE(fits([which](auto* attributes) {
            sk_X509_ATTRIBUTE_push(attributes,
                                   X509_ATTRIBUTE_dup(sk_X509_ATTRIBUTE_value(attributes, which)));
        }));
    }
    EXPECT_FALSE(fits([](auto* attributes) {
        X509_ATTRIBUTE* type = sk_X509_ATTRIBUTE_value(attributes, 0);
        X509_ATTRIBUTE_set1_data(type, V_ASN1_OBJECT, OBJ_nid2obj(NID_pkcs7_data), -1);
    })) << "a second value, and of another content";
}

TEST(SignedMessagesOfOthers, TheSm2NamesInUseAreTaken)
{
    for (const char* oid : {"1.2.156.10197.1.301", "1.2.156.10197.1.301.1", "1.2.156.10197.1.501"})
        EXPECT_TRUE(VerifyMessage(Remade(KeyType::Sm2,
                                         [oid](PKCS7_SIGNED*, PKCS7_SIGNER_INFO* signer) {
                                             SetAlgorithm(signer->digest_enc_alg, oid, V_ASN1_NULL);
                                         }),
                                  {}))
            << oid;
}

TEST(SignedMessagesOfOthers, AlgorithmsThatDoNotBelongToTheKeyAreNotTaken)
{
    const auto causeWith = [](KeyType type, const char* digest, const char* signature) {
        const Bytes message = Remade(type, [&](PKCS7_SIGNED*, PKCS7_SIGNER_INFO* signer) {
            SetAlgorithm(signer->digest_alg, digest, V_ASN1_NULL);
            SetAlgorithm(signer->digest_enc_alg, signature, V_ASN1_NULL);
        });
        return CauseOf([&message] { VerifyMessage(message, {}); });
    };
    EXPECT_EQ(causeWith(KeyType::Rsa, "1.2.156.10197.1.401", "1.2.840.113549.1.1.1"), Cause::Unsupported);
    EXPECT_EQ(causeWith(KeyType::Rsa, "1.2.156.10197.1.401", "1.2.156.10197.1.301.1"), Cause::Unsupported);
    EXPECT_EQ(causeWith(KeyType::Sm2, "2.16.840.1.101.3.4.2.1", "1.2.156.10197.1.301.1"), Cause::Unsupported);
    EXPECT_EQ(causeWith(KeyType::Rsa, "2.16.840.1.101.3.4.2.1", "1.2.840.113549.1.1.12"), Cause::Unsupported)
        << "two digests";
    EXPECT_EQ(causeWith(KeyType::Rsa, "1.2.3.4.5", "1.2.3.4.6"), Cause::Unsupported);
}

TEST(SignedMessagesOfOthers, ExactlyOneSignerIsTaken)
{
    for (const KeyType type : kBoth) {
        const Bytes none = Remade(type, [](PKCS7_SIGNED* message, PKCS7_SIGNER_INFO*) {
            PKCS7_SIGNER_INFO_free(sk_PKCS7_SIGNER_INFO_pop(message->signer_info));
        });
        const Bytes two = Remade(type, [](PKCS7_SIGNED* message, PKCS7_SIGNER_INFO* signer) {
            const Bytes der = DerOf(signer, ASN1_ITEM_rptr(PKCS7_SIGNER_INFO));
            sk_PKCS7_SIGNER_INFO_push(message->signer_info, static_cast<PKCS7_SIGNER_INFO*>(ReadValue(
                                                                der, ASN1_ITEM_rptr(PKCS7_SIGNER_INFO))));
        });
        for (const Bytes& message : {none, two}) {
            EXPECT_EQ(CauseOf([&] { VerifyMessage(message, {}); }), Cause::BadData);
            EXPECT_EQ(CauseOf([&] { ReadSignedMessage(message); }), Cause::BadData);
        }
    }
}

TEST(SignedMessagesOfOthers, TheSignersCertificateIsFoundAmongSeveral)
{
    for (const KeyType type : kBoth) {
        const Bytes message = Remade(type, [type](PKCS7_SIGNED* data, PKCS7_SIGNER_INFO*) {
            X509_add_cert(data->cert, Other(type).certificate.Get(),
                          X509_ADD_FLAG_UP_REF | X509_ADD_FLAG_PREPEND);
        });
        EXPECT_TRUE(VerifyMessage(message, {}));
        EXPECT_EQ(ReadSignedMessage(message).certificate.Der(), Own(type).certificate.Der());
    }
}

TEST(SignedMessagesOfOthers, ContentOfAnotherKindIsNotTaken)
{
    for (const KeyType type : kBoth)
        for (const char* oid : {"1.2.840.113549.1.7.3", "1.2.3.4"}) {
            const Bytes message = Remade(type, [oid](PKCS7_SIGNED* data, PKCS7_SIGNER_INFO*) {
                PKCS7_free(data->contents);
                data->contents = PKCS7_new();
                data->contents->type = ObjectOf(oid).release();
            });
            EXPECT_EQ(CauseOf([&] { VerifyMessage(message, {}); }), Cause::BadData);
        }
    const Bytes message = Remade(KeyType::Sm2, [](PKCS7_SIGNED* data, PKCS7_SIGNER_INFO*) {
        ASN1_STRING* text = ASN1_UTF8STRING_new();
        SetBytes(text, ViewOf("the content"));
        ASN1_TYPE_set(data->contents->d.other, V_ASN1_UTF8STRING, text);
    });
    EXPECT_EQ(CauseOf([&] { VerifyMessage(message, {}); }), Cause::BadData) << "text instead of bytes";
}

}  // namespace
}  // namespace kzr::softkey
