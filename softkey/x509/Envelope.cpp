// Enveloped messages: a session key wrapped for one recipient, named by issuer and serial number, and the
// content under that key. Those of others may have several recipients and other ciphers.
#include <openssl/err.h>
#include <openssl/rand.h>

#include "crypto/Sign.h"
#include "x509/Message.h"
#include "x509/MessageParts.h"

namespace kzr::softkey {

namespace {

using EnvelopedData = Handle<PKCS7_ENVELOPE, PKCS7_ENVELOPE_free>;
using CipherContext = Handle<EVP_CIPHER_CTX, EVP_CIPHER_CTX_free>;

constexpr std::size_t kLargestContent = std::size_t{1} << 29;

struct ContentCipher {
    const char* oid;
    const EVP_CIPHER* (*cipher)();
};

constexpr ContentCipher kContentCiphers[] = {
    {"1.2.156.10197.1.104.2", EVP_sm4_cbc},
    {"1.2.156.10197.1.104", EVP_sm4_cbc},  // what some name SM4 by, with CBC in mind
    {"2.16.840.1.101.3.4.1.42", EVP_aes_256_cbc},
    {"2.16.840.1.101.3.4.1.22", EVP_aes_192_cbc},
    {"2.16.840.1.101.3.4.1.2", EVP_aes_128_cbc},
    {"1.2.840.113549.3.7", EVP_des_ede3_cbc},
};

const EVP_CIPHER* FindCipher(const std::string& oid)
{
    for (const ContentCipher& known : kContentCiphers)
        if (oid == known.oid) return known.cipher();
    throw Failure(Cause::Unsupported, "the message is encrypted with another cipher: " + oid);
}

std::size_t KeySize(const EVP_CIPHER* cipher)
{
    return static_cast<std::size_t>(EVP_CIPHER_get_key_length(cipher));
}
std::size_t IvSize(const EVP_CIPHER* cipher)
{
    return static_cast<std::size_t>(EVP_CIPHER_get_iv_length(cipher));
}

// Without a value for wrong padding.
std::optional<Secret> RunCipher(const EVP_CIPHER* cipher, const Secret& key, View iv, View data, bool encrypt)
{
    if (data.size() > kLargestContent)
        throw Failure(Cause::BadArgument, "the data is too long for an envelope");
    const CipherContext context(EVP_CIPHER_CTX_new());
    Secret output(data.size() + EVP_MAX_BLOCK_LENGTH);
    int size = 0;
    int rest = 0;
    if (!context ||
        EVP_CipherInit_ex2(context.get(), cipher, key.data(), iv.data(), encrypt ? 1 : 0, nullptr) != 1 ||
        EVP_CipherUpdate(context.get(), output.data(), &size, data.data(), static_cast<int>(data.size())) !=
            1)
        ThrowCrypto("running a cipher");
    const bool done = EVP_CipherFinal_ex(context.get(), output.data() + size, &rest) == 1;
    ERR_clear_error();
    if (!done) return std::nullopt;
    output.resize(static_cast<std::size_t>(size + rest));
    return output;
}

void AddRecipient(PKCS7_ENVELOPE* message, const X509* certificate, KeyType type, View wrappedKey)
{
    Handle<PKCS7_RECIP_INFO, PKCS7_RECIP_INFO_free> recipient(PKCS7_RECIP_INFO_new());
    if (!recipient || ASN1_INTEGER_set(recipient->version, 0) != 1) ThrowCrypto("writing a message");
    SetIssuerAndSerial(recipient->issuer_and_serial, certificate);
    SetAlgorithm(recipient->key_enc_algor, MessageOidsOf(type).keyTransport,
                 type == KeyType::Rsa ? V_ASN1_NULL : V_ASN1_UNDEF);
    SetBytes(recipient->enc_key, wrappedKey);
    if (sk_PKCS7_RECIP_INFO_push(message->recipientinfo, recipient.get()) <= 0)
        ThrowCrypto("writing a message");
    recipient.release();
}

void SetContent(PKCS7_ENC_CONTENT* content, const MessageOids& oids, View iv, View encrypted)
{
    ASN1_OBJECT_free(content->content_type);
    content->content_type = ObjectOf(oids.data).release();
    SetAlgorithm(content->algorithm, oids.contentCipher, V_ASN1_OCTET_STRING, iv);
    if (!content->enc_data) content->enc_data = ASN1_OCTET_STRING_new();
    if (!content->enc_data) ThrowCrypto("writing a message");
    SetBytes(content->enc_data, encrypted);
}

const PKCS7_RECIP_INFO* RecipientOf(const PKCS7_ENVELOPE* message, const X509* certificate)
{
    for (int i = 0; i < sk_PKCS7_RECIP_INFO_num(message->recipientinfo); ++i) {
        const PKCS7_RECIP_INFO* recipient = sk_PKCS7_RECIP_INFO_value(message->recipientinfo, i);
        if (NamesCertificate(recipient->issuer_and_serial, certificate)) return recipient;
    }
    throw Failure(Cause::BadData, "the message is for other recipients");
}

void CheckKeyTransport(const PKCS7_RECIP_INFO* recipient, KeyType type)
{
    const std::string oid = OidOf(recipient->key_enc_algor->algorithm);
    const bool known = oid == MessageOidsOf(type).keyTransport ||
                       (type == KeyType::Sm2 && oid == "1.2.156.10197.1.301");  // the plain name
    if (!known) throw Failure(Cause::Unsupported, "the session key is wrapped in another way: " + oid);
}

}  // namespace

Bytes SealEnvelope(const Certificate& recipient, View data)
{
    const KeyHandle key = recipient.PublicKey();
    const KeyType type = KeyTypeOf(key.get());
    const MessageOids& oids = MessageOidsOf(type);
    const EVP_CIPHER* cipher = FindCipher(oids.contentCipher);
    Secret sessionKey(KeySize(cipher));
    Bytes iv(IvSize(cipher));
    if (RAND_priv_bytes(sessionKey.data(), static_cast<int>(sessionKey.size())) != 1 ||
        RAND_bytes(iv.data(), static_cast<int>(iv.size())) != 1)
        ThrowCrypto("making random bytes");
    const auto encrypted = RunCipher(cipher, sessionKey, iv, data, true);
    if (!encrypted) ThrowCrypto("running a cipher");

    const EnvelopedData message(PKCS7_ENVELOPE_new());
    if (!message || ASN1_INTEGER_set(message->version, 0) != 1) ThrowCrypto("writing a message");
    AddRecipient(message.get(), recipient.Get(), type, WrapSessionKey(key.get(), sessionKey));
    SetContent(message->enc_data, oids, iv, *encrypted);
    return WriteContentInfo(oids.envelopedData, DerOf(message.get(), ASN1_ITEM_rptr(PKCS7_ENVELOPE)));
}

Secret OpenEnvelope(EVP_PKEY* key, const Certificate& recipient, View der)
{
    const KeyType type = KeyTypeOf(key);
    const Bytes inner = ReadContentInfo(der, MessageOidsOf(KeyType::Rsa).envelopedData,
                                        MessageOidsOf(KeyType::Sm2).envelopedData);
    const EnvelopedData message(
        static_cast<PKCS7_ENVELOPE*>(ReadValue(inner, ASN1_ITEM_rptr(PKCS7_ENVELOPE))));
    if (!message) throw UnreadableMessage("it is no enveloped data");
    const PKCS7_RECIP_INFO* mine = RecipientOf(message.get(), recipient.Get());
    CheckKeyTransport(mine, type);

    const PKCS7_ENC_CONTENT* content = message->enc_data;
    if (!IsDataOid(OidOf(content->content_type))) throw UnreadableMessage("its content is no data");
    if (!content->enc_data) throw UnreadableMessage("it has no content");
    const EVP_CIPHER* cipher = FindCipher(OidOf(content->algorithm->algorithm));
    const ASN1_TYPE* iv = content->algorithm->parameter;
    if (!iv || iv->type != V_ASN1_OCTET_STRING || ViewOf(iv->value.octet_string).size() != IvSize(cipher))
        throw UnreadableMessage("its cipher has no fitting start value");

    const Secret sessionKey = UnwrapSessionKey(key, ViewOf(mine->enc_key), KeySize(cipher));
    auto opened =
        RunCipher(cipher, sessionKey, ViewOf(iv->value.octet_string), ViewOf(content->enc_data), false);
    if (!opened) throw Failure(Cause::BadData, "the message is not for this key, or it was changed");
    return *std::move(opened);
}

}  // namespace kzr::softkey
