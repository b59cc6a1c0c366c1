// What signed and enveloped messages have in common: the outermost sequence, object identifiers, algorithm
// names, and reading and writing by template.
#pragma once

#include <openssl/pkcs7.h>

#include "base/Failure.h"
#include "x509/Certificate.h"
#include "x509/Handles.h"

namespace kzr::softkey {

// The numbers that PKCS#7 and, for SM2, GM/T 0010 give to the same things.
struct MessageOids {
    const char* data;
    const char* signedData;
    const char* envelopedData;
    const char* digest;
    const char* signature;
    const char* keyTransport;
    const char* contentCipher;
};
const MessageOids& MessageOidsOf(KeyType type);
bool IsDataOid(const std::string& oid);

Failure UnreadableMessage(const char* why);

ObjectHandle ObjectOf(const char* oid);
// Dotted; "" for one that is none.
std::string OidOf(const ASN1_OBJECT* object);

// `parameter` is V_ASN1_UNDEF for none, V_ASN1_NULL, or V_ASN1_OCTET_STRING with its value.
void SetAlgorithm(X509_ALGOR* algorithm, const char* oid, int parameter, View value = {});
void SetBytes(ASN1_STRING* string, View bytes);
void SetIssuerAndSerial(PKCS7_ISSUER_AND_SERIAL* name, const X509* certificate);
bool NamesCertificate(const PKCS7_ISSUER_AND_SERIAL* name, const X509* certificate);

inline View ViewOf(const ASN1_STRING* string)
{
    return {ASN1_STRING_get0_data(string), static_cast<std::size_t>(ASN1_STRING_length(string))};
}

Bytes DerOf(const void* value, const ASN1_ITEM* item);

// Null unless the whole of `der` is one such value.
void* ReadValue(View der, const ASN1_ITEM* item);

// The outermost sequence: what it is, and that itself.
Bytes WriteContentInfo(const char* oid, View content);
// Throws Failure(BadData) when it is neither of the two.
Bytes ReadContentInfo(View der, const char* oid, const char* otherOid);

}  // namespace kzr::softkey
