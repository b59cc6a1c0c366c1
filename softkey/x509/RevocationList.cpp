// The library verifies a list's signature without a user id, which SM2 needs; here it is done over the signed
// bytes themselves.
#include "x509/RevocationList.h"

#include <openssl/err.h>

#include <algorithm>

#include "base/Failure.h"
#include "crypto/Sign.h"
#include "x509/Handles.h"

namespace kzr::softkey {

namespace {

Bytes ListToDer(X509_CRL* list)
{
    unsigned char* memory = nullptr;
    const int size = i2d_X509_CRL(list, &memory);
    const MemoryHandle owner(memory);
    return size > 0 ? Bytes(memory, memory + size) : Bytes();
}

// The first element of the outer sequence, its header included; empty for what has none.
View SignedBytes(View der)
{
    const unsigned char* at = der.data();
    long length = 0;
    int tag = 0;
    int group = 0;
    if (ASN1_get_object(&at, &length, &tag, &group, static_cast<long>(der.size())) != V_ASN1_CONSTRUCTED) {
        return {};
    }
    const unsigned char* const first = at;
    const long left = static_cast<long>(der.data() + der.size() - at);
    if (ASN1_get_object(&at, &length, &tag, &group, left) != V_ASN1_CONSTRUCTED) {
        return {};
    }
    return {first, static_cast<std::size_t>(at - first + length)};
}

bool SignatureFits(X509_CRL* list, X509* issuer)
{
    const KeyHandle key(X509_get_pubkey(issuer));
    if (!key) {
        return false;
    }
    if (X509_CRL_get_signature_nid(list) != NID_SM2_with_SM3) {
        return X509_CRL_verify(list, key.get()) == 1;
    }
    if (KeyTypeOf(key.get()) != KeyType::Sm2) {
        return false;
    }
    const ASN1_BIT_STRING* signature = nullptr;
    X509_CRL_get0_signature(list, &signature, nullptr);
    const Bytes der = ListToDer(list);
    const View bytes = SignedBytes(der);
    return !bytes.empty() && Verify(key.get(), bytes,
                                    {ASN1_STRING_get0_data(signature),
                                     static_cast<std::size_t>(ASN1_STRING_length(signature))});
}

// The digest of the signature must be one that nobody finds collisions for.
bool DigestIsStrong(const X509_CRL* list)
{
    constexpr int kWeakBits = 160;
    int digest = NID_undef;
    if (OBJ_find_sigid_algs(X509_CRL_get_signature_nid(list), &digest, nullptr) != 1) {
        return false;
    }
    const EVP_MD* method = EVP_get_digestbynid(digest);
    return method != nullptr && EVP_MD_get_size(method) * 8 > kWeakBits;
}

bool InForce(const X509_CRL* list, std::time_t now)
{
    // 0 is a time that cannot be read.
    const int start = X509_cmp_time(X509_CRL_get0_lastUpdate(list), &now);
    const ASN1_TIME* end = X509_CRL_get0_nextUpdate(list);
    return start < 0 && (end == nullptr || X509_cmp_time(end, &now) > 0);
}

// The DER of an extension, empty when the list lacks it.
View ExtensionOf(const X509_CRL* list, int nid)
{
    const int index = X509_CRL_get_ext_by_NID(list, nid, -1);
    if (index < 0) {
        return {};
    }
    const ASN1_OCTET_STRING* content = X509_EXTENSION_get_data(X509_CRL_get_ext(list, index));
    return {ASN1_STRING_get0_data(content), static_cast<std::size_t>(ASN1_STRING_length(content))};
}

}  // namespace

std::shared_ptr<X509_CRL> ReadRevocationList(View der)
{
    const unsigned char* at = der.data();
    std::shared_ptr<X509_CRL> list(d2i_X509_CRL(nullptr, &at, static_cast<long>(der.size())), X509_CRL_free);
    const bool whole =
        list && at == der.data() + der.size() && std::ranges::equal(ListToDer(list.get()), der);
    ERR_clear_error();
    return whole ? list : nullptr;
}

bool ListCounts(X509_CRL* list, X509* issuer, std::time_t now)
{
    bool counts = false;
    try {
        counts = X509_NAME_cmp(X509_CRL_get_issuer(list), X509_get_subject_name(issuer)) == 0 &&
                 (X509_get_key_usage(issuer) & KU_CRL_SIGN) != 0 && InForce(list, now) &&
                 DigestIsStrong(list) && SignatureFits(list, issuer);
    } catch (const Failure&) {
        // A key of a kind that cannot have signed it.
    }
    ERR_clear_error();
    return counts;
}

bool SameScope(const X509_CRL* one, const X509_CRL* other)
{
    return X509_NAME_cmp(X509_CRL_get_issuer(one), X509_CRL_get_issuer(other)) == 0 &&
           std::ranges::equal(ExtensionOf(one, NID_issuing_distribution_point),
                              ExtensionOf(other, NID_issuing_distribution_point)) &&
           std::ranges::equal(ExtensionOf(one, NID_delta_crl), ExtensionOf(other, NID_delta_crl));
}

}  // namespace kzr::softkey
