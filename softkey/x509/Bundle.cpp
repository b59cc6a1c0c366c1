// Bundles come from files and pages: nothing in them is believed before its own reader has seen it.
#include "x509/Bundle.h"

#include <openssl/err.h>
#include <openssl/pkcs7.h>

#include "base/Base64.h"
#include "base/Failure.h"
#include "x509/Handles.h"

namespace kzr::softkey {

namespace {

constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";
constexpr std::string_view kDashes = "-----";

using Pkcs7Handle = Handle<PKCS7, PKCS7_free>;

template <typename T>
Bytes Encoded(const T* object, int (*encode)(const T*, unsigned char**))
{
    unsigned char* memory = nullptr;
    const int size = encode(object, &memory);
    const MemoryHandle owner(memory);
    return size > 0 ? Bytes(memory, memory + size) : Bytes();
}

void TakePkcs7(View der, Bundle& bundle)
{
    const unsigned char* at = der.data();
    const Pkcs7Handle message(d2i_PKCS7(nullptr, &at, static_cast<long>(der.size())));
    ERR_clear_error();
    if (!message || at != der.data() + der.size() || !PKCS7_type_is_signed(message.get()) ||
        message->d.sign == nullptr) {
        return;
    }
    const PKCS7_SIGNED* content = message->d.sign;
    for (int i = 0; i < sk_X509_num(content->cert); ++i) {
        bundle.certificates.push_back(Encoded(sk_X509_value(content->cert, i), i2d_X509));
    }
    for (int i = 0; i < sk_X509_CRL_num(content->crl); ++i) {
        bundle.lists.push_back(Encoded(sk_X509_CRL_value(content->crl, i), i2d_X509_CRL));
    }
}

// False when the bytes are neither DER nor hold PEM.
bool TakePlain(View bytes, Bundle& bundle)
{
    if (!bytes.empty() && bytes[0] == (V_ASN1_SEQUENCE | V_ASN1_CONSTRUCTED)) {
        bundle.either.emplace_back(bytes.begin(), bytes.end());
        TakePkcs7(bytes, bundle);
        return true;
    }
    const std::string_view text = TextOf(bytes);
    if (text.find(kBegin) == std::string_view::npos) {
        return false;
    }
    bundle.certificates = PemBlocks(text, "CERTIFICATE");
    for (Bytes& block : PemBlocks(text, "X509 CERTIFICATE")) {
        bundle.certificates.push_back(std::move(block));
    }
    bundle.lists = PemBlocks(text, "X509 CRL");
    for (const Bytes& block : PemBlocks(text, "PKCS7")) {
        TakePkcs7(block, bundle);
    }
    return true;
}

}  // namespace

std::vector<Bytes> PemBlocks(std::string_view text, std::string_view label)
{
    const std::string begin = std::string(kBegin) + std::string(label) + std::string(kDashes);
    const std::string end = std::string(kEnd) + std::string(label) + std::string(kDashes);
    std::vector<Bytes> blocks;
    std::size_t from = 0;
    while ((from = text.find(begin, from)) != std::string_view::npos) {
        from += begin.size();
        const std::size_t to = text.find(end, from);
        if (to == std::string_view::npos) {
            break;
        }
        try {
            blocks.push_back(Base64Decode(text.substr(from, to - from)));
        } catch (const Failure&) {
            // One bad block does not take the others with it.
        }
        from = to + end.size();
    }
    return blocks;
}

Bundle TakeApart(View bytes, std::size_t limit)
{
    if (bytes.size() > limit) {
        throw Failure(Cause::BadData, "The bundle is larger than " + std::to_string(limit) + " bytes");
    }
    Bundle bundle;
    if (TakePlain(bytes, bundle)) {
        return bundle;
    }
    // A file that was handed over in Base64 may have held PEM itself, so this looks once below the Base64.
    try {
        const Bytes decoded = Base64Decode(TextOf(bytes));
        TakePlain(decoded, bundle);
    } catch (const Failure&) {
    }
    return bundle;
}

}  // namespace kzr::softkey
