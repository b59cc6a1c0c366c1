// Signed messages: one signer, named by issuer and serial number, whose certificate is inside. Ours have no
// signed attributes, so that their signature is a raw one over the content; those of others may have them.
#include "x509/Message.h"

#include <openssl/err.h>

#include <algorithm>

#include "crypto/Sign.h"
#include "x509/MessageParts.h"

namespace kzr::softkey {

namespace {

using SignedData = Handle<PKCS7_SIGNED, PKCS7_SIGNED_free>;

struct SignerAlgorithm {
    KeyType key;
    const char* digestOid;
    const char* digest;
    const char* signatureOid;  // besides the key's own
};

constexpr SignerAlgorithm kSignerAlgorithms[] = {
    {KeyType::Sm2, "1.2.156.10197.1.401", "SM3", "1.2.156.10197.1.301"},
    {KeyType::Sm2, "1.2.156.10197.1.401", "SM3", "1.2.156.10197.1.301.1"},
    {KeyType::Sm2, "1.2.156.10197.1.401", "SM3", "1.2.156.10197.1.501"},
    {KeyType::Rsa, "2.16.840.1.101.3.4.2.1", "SHA256", "1.2.840.113549.1.1.1"},
    {KeyType::Rsa, "2.16.840.1.101.3.4.2.1", "SHA256", "1.2.840.113549.1.1.11"},
    {KeyType::Rsa, "2.16.840.1.101.3.4.2.2", "SHA384", "1.2.840.113549.1.1.1"},
    {KeyType::Rsa, "2.16.840.1.101.3.4.2.2", "SHA384", "1.2.840.113549.1.1.12"},
    {KeyType::Rsa, "2.16.840.1.101.3.4.2.3", "SHA512", "1.2.840.113549.1.1.1"},
    {KeyType::Rsa, "2.16.840.1.101.3.4.2.3", "SHA512", "1.2.840.113549.1.1.13"},
};

// Writing.

void SetContent(PKCS7* contents, KeyType type, View data, bool attached)
{
    const ObjectHandle object = ObjectOf(MessageOidsOf(type).data);
    ASN1_OBJECT_free(contents->type);
    contents->type = OBJ_dup(object.get());
    if (!contents->type) ThrowCrypto("writing a message");
    if (!attached) return;
    ASN1_OCTET_STRING* const string = ASN1_OCTET_STRING_new();
    if (!string) ThrowCrypto("writing a message");
    if (type == KeyType::Rsa) {
        contents->d.data = string;
    } else {
        contents->d.other = ASN1_TYPE_new();
        if (!contents->d.other) {
            ASN1_OCTET_STRING_free(string);
            ThrowCrypto("writing a message");
        }
        ASN1_TYPE_set(contents->d.other, V_ASN1_OCTET_STRING, string);
    }
    SetBytes(string, data);
}

void AddDigestAlgorithm(PKCS7_SIGNED* message, const char* oid, int parameter)
{
    Handle<X509_ALGOR, X509_ALGOR_free> algorithm(X509_ALGOR_new());
    if (!algorithm) ThrowCrypto("writing a message");
    SetAlgorithm(algorithm.get(), oid, parameter);
    if (sk_X509_ALGOR_push(message->md_algs, algorithm.get()) <= 0) ThrowCrypto("writing a message");
    algorithm.release();
}

void AddSigner(PKCS7_SIGNED* message, const X509* certificate, const MessageOids& oids, int parameter,
               View signature)
{
    Handle<PKCS7_SIGNER_INFO, PKCS7_SIGNER_INFO_free> signer(PKCS7_SIGNER_INFO_new());
    if (!signer || ASN1_INTEGER_set(signer->version, 1) != 1) ThrowCrypto("writing a message");
    SetIssuerAndSerial(signer->issuer_and_serial, certificate);
    SetAlgorithm(signer->digest_alg, oids.digest, parameter);
    SetAlgorithm(signer->digest_enc_alg, oids.signature, parameter);
    SetBytes(signer->enc_digest, signature);
    if (sk_PKCS7_SIGNER_INFO_push(message->signer_info, signer.get()) <= 0) ThrowCrypto("writing a message");
    signer.release();
}

void AddCertificate(PKCS7_SIGNED* message, X509* certificate)
{
    message->cert = sk_X509_new_null();
    if (!message->cert || X509_add_cert(message->cert, certificate, X509_ADD_FLAG_UP_REF) != 1)
        ThrowCrypto("writing a message");
}

// Reading.

SignedData ReadSignedData(View der)
{
    const Bytes inner =
        ReadContentInfo(der, MessageOidsOf(KeyType::Rsa).signedData, MessageOidsOf(KeyType::Sm2).signedData);
    SignedData message(static_cast<PKCS7_SIGNED*>(ReadValue(inner, ASN1_ITEM_rptr(PKCS7_SIGNED))));
    if (!message) throw UnreadableMessage("it is no signed data");
    return message;
}

// Points into the message. Without a value when it carries none.
std::optional<View> ContentOf(const PKCS7_SIGNED* message)
{
    const PKCS7* contents = message->contents;
    const std::string oid = OidOf(contents->type);
    if (!IsDataOid(oid)) throw UnreadableMessage("its content is no data");
    if (!contents->d.ptr) return std::nullopt;
    if (oid == MessageOidsOf(KeyType::Rsa).data) return ViewOf(contents->d.data);
    if (ASN1_TYPE_get(contents->d.other) != V_ASN1_OCTET_STRING)
        throw UnreadableMessage("its content is no octet string");
    return ViewOf(contents->d.other->value.octet_string);
}

const PKCS7_SIGNER_INFO* SignerOf(const PKCS7_SIGNED* message)
{
    if (sk_PKCS7_SIGNER_INFO_num(message->signer_info) != 1)
        throw UnreadableMessage("it has not exactly one signer");
    return sk_PKCS7_SIGNER_INFO_value(message->signer_info, 0);
}

Certificate CertificateOf(const PKCS7_SIGNED* message, const PKCS7_SIGNER_INFO* signer)
{
    for (int i = 0; i < sk_X509_num(message->cert); ++i) {
        X509* certificate = sk_X509_value(message->cert, i);
        if (NamesCertificate(signer->issuer_and_serial, certificate))
            return Certificate::FromDer(DerOf(certificate, ASN1_ITEM_rptr(X509)));
    }
    throw UnreadableMessage("its signer's certificate is missing");
}

const SignerAlgorithm& AlgorithmOf(const PKCS7_SIGNER_INFO* signer, KeyType key)
{
    const std::string digest = OidOf(signer->digest_alg->algorithm);
    const std::string signature = OidOf(signer->digest_enc_alg->algorithm);
    for (const SignerAlgorithm& known : kSignerAlgorithms)
        if (known.key == key && known.digestOid == digest && known.signatureOid == signature) return known;
    throw Failure(Cause::Unsupported,
                  "the message is signed with another algorithm: " + signature + " over " + digest);
}

// The value of an attribute that is there once and has one value; null for any other.
const ASN1_TYPE* OnlyAttribute(const STACK_OF(X509_ATTRIBUTE) * attributes, int nid)
{
    const int at = X509at_get_attr_by_NID(attributes, nid, -1);
    if (at < 0 || X509at_get_attr_by_NID(attributes, nid, at) >= 0) return nullptr;
    X509_ATTRIBUTE* attribute = X509at_get_attr(attributes, at);
    return X509_ATTRIBUTE_count(attribute) == 1 ? X509_ATTRIBUTE_get0_type(attribute, 0) : nullptr;
}

Bytes DigestNamed(const char* name, View data)
{
    Bytes digest(EVP_MAX_MD_SIZE);
    std::size_t size = 0;
    if (EVP_Q_digest(nullptr, name, nullptr, data.data(), data.size(), digest.data(), &size) != 1)
        ThrowCrypto("making a digest");
    digest.resize(size);
    return digest;
}

// With attributes it is those that are signed, and one of them has to tell the content's digest.
bool AttributesFit(const PKCS7_SIGNED* message, const PKCS7_SIGNER_INFO* signer, const char* digest,
                   View content)
{
    const ASN1_TYPE* type = OnlyAttribute(signer->auth_attr, NID_pkcs9_contentType);
    const ASN1_TYPE* value = OnlyAttribute(signer->auth_attr, NID_pkcs9_messageDigest);
    if (!type || type->type != V_ASN1_OBJECT || OBJ_cmp(type->value.object, message->contents->type) != 0)
        return false;
    return value && value->type == V_ASN1_OCTET_STRING &&
           std::ranges::equal(ViewOf(value->value.octet_string), DigestNamed(digest, content));
}

}  // namespace

Bytes SignMessage(EVP_PKEY* key, const Certificate& certificate, View data, bool attached)
{
    const KeyType type = KeyTypeOf(key);
    if (EVP_PKEY_eq(key, certificate.PublicKey().get()) != 1) {
        ERR_clear_error();
        throw Failure(Cause::BadArgument, "the certificate is another key's");
    }
    const MessageOids& oids = MessageOidsOf(type);
    const int parameter = type == KeyType::Rsa ? V_ASN1_NULL : V_ASN1_UNDEF;
    const SignedData message(PKCS7_SIGNED_new());
    if (!message || ASN1_INTEGER_set(message->version, 1) != 1) ThrowCrypto("writing a message");
    AddDigestAlgorithm(message.get(), oids.digest, parameter);
    SetContent(message->contents, type, data, attached);
    AddCertificate(message.get(), certificate.Get());
    AddSigner(message.get(), certificate.Get(), oids, parameter, Sign(key, data));
    return WriteContentInfo(oids.signedData, DerOf(message.get(), ASN1_ITEM_rptr(PKCS7_SIGNED)));
}

SignedMessage ReadSignedMessage(View der)
{
    const SignedData message = ReadSignedData(der);
    const PKCS7_SIGNER_INFO* signer = SignerOf(message.get());
    SignedMessage read;
    if (const auto content = ContentOf(message.get())) read.content.emplace(content->begin(), content->end());
    read.certificate = CertificateOf(message.get(), signer);
    const View signature = ViewOf(signer->enc_digest);
    read.signature.assign(signature.begin(), signature.end());
    return read;
}

bool VerifyMessage(View der, View content)
{
    const SignedData message = ReadSignedData(der);
    const PKCS7_SIGNER_INFO* signer = SignerOf(message.get());
    const std::optional<View> carried = ContentOf(message.get());
    const Certificate certificate = CertificateOf(message.get(), signer);
    const SignerAlgorithm& algorithm = AlgorithmOf(signer, certificate.Type());
    if (carried && !content.empty() && !std::ranges::equal(*carried, content)) return false;

    const View data = carried ? *carried : content;
    const KeyHandle key = certificate.PublicKey();
    const View signature = ViewOf(signer->enc_digest);
    if (sk_X509_ATTRIBUTE_num(signer->auth_attr) <= 0)
        return VerifyWithDigest(key.get(), algorithm.digest, data, signature);
    const Bytes attributes = DerOf(signer->auth_attr, ASN1_ITEM_rptr(PKCS7_ATTR_VERIFY));
    return AttributesFit(message.get(), signer, algorithm.digest, data) &&
           VerifyWithDigest(key.get(), algorithm.digest, attributes, signature);
}

}  // namespace kzr::softkey
