// Reading certificates. The fields are in CertificateFields.cpp.
#include "x509/Certificate.h"

#include <openssl/err.h>

#include <algorithm>

#include "base/Base64.h"
#include "base/Failure.h"
#include "x509/Bundle.h"
#include "x509/Handles.h"

namespace kzr::softkey {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

[[noreturn]] void ThrowUnreadable(const char* why)
{
    ERR_clear_error();
    throw Failure(Cause::BadData, std::string("This is no certificate: ") + why);
}

std::string_view Trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// The library proves an SM2 signature with the id that the certificate carries, and any other with none.
void SetUserId(X509* certificate)
{
    if (X509_get_signature_nid(certificate) != NID_SM2_with_SM3) {
        return;
    }
    ASN1_OCTET_STRING* id = ASN1_OCTET_STRING_new();
    if (id == nullptr || ASN1_OCTET_STRING_set(id, reinterpret_cast<const unsigned char*>(kSm2UserId),
                                               static_cast<int>(sizeof(kSm2UserId) - 1)) != 1) {
        ASN1_OCTET_STRING_free(id);
        ThrowCrypto("setting the user id of a certificate");
    }
    X509_set0_distinguishing_id(certificate, id);
}

}  // namespace

Certificate::Certificate(X509* certificate) : m_certificate(certificate, X509_free)
{
    if (certificate != nullptr) {
        SetUserId(certificate);
    }
}

Certificate Certificate::FromDer(View der)
{
    if (der.empty() || der.size() > kCertificateLimit) {
        ThrowUnreadable(der.empty() ? "it is empty" : "it is too large");
    }
    const unsigned char* at = der.data();
    X509* read = d2i_X509(nullptr, &at, static_cast<long>(der.size()));
    if (read == nullptr) {
        ThrowUnreadable("it cannot be decoded");
    }
    Certificate certificate(read);
    // What is written again differs when something follows, and when the outer layers are not DER.
    if (at != der.data() + der.size() || !std::ranges::equal(certificate.Der(), der)) {
        ThrowUnreadable("it is not exactly one certificate in DER");
    }
    return certificate;
}

Certificate Certificate::FromText(std::string_view text)
{
    if (text.size() > 2 * kCertificateLimit) {
        ThrowUnreadable("it is too large");
    }
    text = Trimmed(text);
    if (text.starts_with("-----BEGIN ")) {
        const std::string_view label =
            text.starts_with("-----BEGIN X509 ") ? "X509 CERTIFICATE" : "CERTIFICATE";
        const std::vector<Bytes> blocks = PemBlocks(text, label);
        const std::string end = "-----END " + std::string(label) + "-----";
        if (blocks.size() != 1 || text.find("-----END ") != text.size() - std::min(text.size(), end.size())) {
            ThrowUnreadable("it is not exactly one PEM block");
        }
        return FromDer(blocks.front());
    }
    Bytes der;
    try {
        der = Base64Decode(text);
    } catch (const Failure&) {
        ThrowUnreadable("it is neither Base64 nor PEM");
    }
    return FromDer(der);
}

Bytes Certificate::Der() const
{
    unsigned char* memory = nullptr;
    const int size = m_certificate ? i2d_X509(m_certificate.get(), &memory) : 0;
    const MemoryHandle owner(memory);
    if (size <= 0) {
        ThrowCrypto("encoding a certificate");
    }
    return Bytes(memory, memory + size);
}

std::string Certificate::Text() const { return Base64Encode(Der()); }

std::string Certificate::Pem() const
{
    constexpr std::size_t kLine = 64;
    const std::string text = Text();
    std::string pem = "-----BEGIN CERTIFICATE-----\n";
    for (std::size_t i = 0; i < text.size(); i += kLine) {
        pem.append(text, i, kLine).push_back('\n');
    }
    return pem + "-----END CERTIFICATE-----\n";
}

KeyHandle Certificate::PublicKey() const
{
    KeyHandle key(m_certificate ? X509_get_pubkey(m_certificate.get()) : nullptr);
    if (!key) {
        ERR_clear_error();
        throw Failure(Cause::BadData, "The certificate's public key cannot be read");
    }
    return key;
}

KeyType Certificate::Type() const { return KeyTypeOf(PublicKey().get()); }

}  // namespace kzr::softkey
