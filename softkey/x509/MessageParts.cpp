// Object identifiers, algorithm names and the outermost sequence of messages.
#include "x509/MessageParts.h"

#include <openssl/asn1t.h>
#include <openssl/err.h>

namespace {

// PKCS#7's own template takes only its own numbers; this takes any.
struct ContentInfo {
    ASN1_OBJECT* type;
    ASN1_TYPE* content;
};

// clang-format off
ASN1_SEQUENCE(ContentInfo) = {
    ASN1_SIMPLE(ContentInfo, type, ASN1_OBJECT),
    ASN1_EXP(ContentInfo, content, ASN1_ANY, 0)
} static_ASN1_SEQUENCE_END(ContentInfo)
    // clang-format on

    void FreeContentInfo(ContentInfo * info)
{
    ASN1_item_free(reinterpret_cast<ASN1_VALUE*>(info), ASN1_ITEM_rptr(ContentInfo));
}

}  // namespace

namespace kzr::softkey {

namespace {

using ContentInfoHandle = Handle<ContentInfo, FreeContentInfo>;

constexpr std::size_t kLargestMessage = std::size_t{1} << 30;

constexpr MessageOids kRsaOids = {
    "1.2.840.113549.1.7.1",     // data
    "1.2.840.113549.1.7.2",     // signedData
    "1.2.840.113549.1.7.3",     // envelopedData
    "2.16.840.1.101.3.4.2.1",   // sha256
    "1.2.840.113549.1.1.1",     // rsaEncryption
    "1.2.840.113549.1.1.1",     // rsaEncryption
    "2.16.840.1.101.3.4.1.42",  // aes256-CBC
};
constexpr MessageOids kSm2Oids = {
    "1.2.156.10197.6.1.4.2.1",  // data
    "1.2.156.10197.6.1.4.2.2",  // signedData
    "1.2.156.10197.6.1.4.2.3",  // envelopedData
    "1.2.156.10197.1.401",      // SM3
    "1.2.156.10197.1.301.1",    // SM2 signature
    "1.2.156.10197.1.301.3",    // SM2 encryption
    "1.2.156.10197.1.104.2",    // SM4-CBC
};

}  // namespace

const MessageOids& MessageOidsOf(KeyType type) { return type == KeyType::Sm2 ? kSm2Oids : kRsaOids; }

bool IsDataOid(const std::string& oid) { return oid == kSm2Oids.data || oid == kRsaOids.data; }

Failure UnreadableMessage(const char* why)
{
    ERR_clear_error();
    return Failure(Cause::BadData, std::string("the message cannot be read: ") + why);
}

ObjectHandle ObjectOf(const char* oid)
{
    ObjectHandle object(OBJ_txt2obj(oid, 1));
    if (!object) ThrowCrypto("naming an algorithm");
    return object;
}

std::string OidOf(const ASN1_OBJECT* object)
{
    char text[128];
    const int length = object ? OBJ_obj2txt(text, sizeof text, object, 1) : 0;
    if (length <= 0 || length >= static_cast<int>(sizeof text)) return {};
    return std::string(text, static_cast<std::size_t>(length));
}

void SetAlgorithm(X509_ALGOR* algorithm, const char* oid, int parameter, View value)
{
    ASN1_STRING* string = nullptr;
    if (parameter == V_ASN1_OCTET_STRING) {
        string = ASN1_OCTET_STRING_new();
        if (!string) ThrowCrypto("naming an algorithm");
        SetBytes(string, value);
    }
    // Takes over both.
    if (X509_ALGOR_set0(algorithm, ObjectOf(oid).release(), parameter, string) != 1)
        ThrowCrypto("naming an algorithm");
}

void SetBytes(ASN1_STRING* string, View bytes)
{
    if (bytes.size() > kLargestMessage)
        throw Failure(Cause::BadArgument, "the data is too long for a message");
    if (ASN1_STRING_set(string, bytes.data(), static_cast<int>(bytes.size())) != 1)
        ThrowCrypto("writing a message");
}

void SetIssuerAndSerial(PKCS7_ISSUER_AND_SERIAL* name, const X509* certificate)
{
    ASN1_INTEGER* serial = ASN1_INTEGER_dup(X509_get0_serialNumber(certificate));
    if (!serial) ThrowCrypto("naming a certificate");
    ASN1_INTEGER_free(name->serial);
    name->serial = serial;
    if (X509_NAME_set(&name->issuer, X509_get_issuer_name(certificate)) != 1)
        ThrowCrypto("naming a certificate");
}

bool NamesCertificate(const PKCS7_ISSUER_AND_SERIAL* name, const X509* certificate)
{
    return ASN1_INTEGER_cmp(name->serial, X509_get0_serialNumber(certificate)) == 0 &&
           X509_NAME_cmp(name->issuer, X509_get_issuer_name(certificate)) == 0;
}

Bytes DerOf(const void* value, const ASN1_ITEM* item)
{
    unsigned char* memory = nullptr;
    const int size = ASN1_item_i2d(static_cast<const ASN1_VALUE*>(value), &memory, item);
    const MemoryHandle owner(memory);
    if (size <= 0) ThrowCrypto("writing a message");
    return Bytes(memory, memory + size);
}

void* ReadValue(View der, const ASN1_ITEM* item)
{
    if (der.size() > kLargestMessage) return nullptr;
    const unsigned char* at = der.data();
    ASN1_VALUE* value = ASN1_item_d2i(nullptr, &at, static_cast<long>(der.size()), item);
    ERR_clear_error();
    if (value && at != der.data() + der.size()) {
        ASN1_item_free(value, item);
        return nullptr;
    }
    return value;
}

Bytes WriteContentInfo(const char* oid, View content)
{
    const ContentInfoHandle info(reinterpret_cast<ContentInfo*>(ASN1_item_new(ASN1_ITEM_rptr(ContentInfo))));
    ASN1_STRING* const sequence = ASN1_STRING_type_new(V_ASN1_SEQUENCE);
    if (!info || !sequence) {
        ASN1_STRING_free(sequence);
        ThrowCrypto("writing a message");
    }
    ASN1_TYPE_set(info->content, V_ASN1_SEQUENCE, sequence);
    SetBytes(sequence, content);
    ASN1_OBJECT_free(info->type);
    info->type = ObjectOf(oid).release();
    return DerOf(info.get(), ASN1_ITEM_rptr(ContentInfo));
}

Bytes ReadContentInfo(View der, const char* oid, const char* otherOid)
{
    const ContentInfoHandle info(static_cast<ContentInfo*>(ReadValue(der, ASN1_ITEM_rptr(ContentInfo))));
    if (!info) throw UnreadableMessage("it is no DER of one");
    const std::string type = OidOf(info->type);
    if (type != oid && type != otherOid) throw UnreadableMessage("it is of another kind");
    if (ASN1_TYPE_get(info->content) != V_ASN1_SEQUENCE) throw UnreadableMessage("it has no content");
    const View content = ViewOf(info->content->value.sequence);
    return Bytes(content.begin(), content.end());
}

}  // namespace kzr::softkey
