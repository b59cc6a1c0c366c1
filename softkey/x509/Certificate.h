// X.509 certificates: reading them as they cross the interface, and their fields. Whether one is to be
// trusted is Validation's business.
#pragma once

#include <openssl/x509.h>

#include <memory>
#include <string>

#include "crypto/Keys.h"

namespace kzr::softkey {

// A larger certificate is taken for an attack.
inline constexpr std::size_t kCertificateLimit = 64 * 1024;

// The extension by which a certificate names the entity that it stands for: a UTF8String. The number is one
// of those that anybody may make for himself, from a UUID.
inline constexpr char kIdentityOid[] = "2.25.168097166791644879963280023530170554520";

class Certificate {
  public:
    Certificate() = default;
    // Takes over the reference.
    explicit Certificate(X509* certificate);

    // Base64 of DER, with or without line breaks, or one PEM block with nothing but blanks around it. Throws
    // Failure(BadData). A certificate signed with SM2 gets the SM2 user id set.
    static Certificate FromText(std::string_view text);
    // Exactly one certificate in DER, of at most kCertificateLimit bytes.
    static Certificate FromDer(View der);

    Bytes Der() const;
    std::string Text() const;  // Base64 of DER
    std::string Pem() const;
    X509* Get() const noexcept { return m_certificate.get(); }
    explicit operator bool() const noexcept { return m_certificate != nullptr; }

    // Throws Failure(BadData) for a key that cannot be read.
    KeyHandle PublicKey() const;
    // Throws Failure(Unsupported) for a key that is neither SM2 nor RSA.
    KeyType Type() const;

  private:
    std::shared_ptr<X509> m_certificate;
};

// What SOF_GetCertInfo answers, in UTF-8: 1 version, 2 serial number (hex), 3 signature algorithm, 4-10
// issuer C O OU ST CN L E, 11 and 12 validity YYYYMMDDhhmmssZ, 13 C, 14 O, 15 OU, 16 ST, 17 CN, 18 L, 19
// e-mail, 20 subject. "" for a field that the certificate lacks; Failure(BadArgument) for another type.
// An attribute with several values gives them all, in the certificate's order, joined by ",". A value that is
// no text (broken characters, or a NUL by which it would look shorter than it is) throws Failure(BadData).
std::string CertificateField(const Certificate& certificate, int type);

// The first such extension's text, or the subject attribute; "" when absent; Failure(BadArgument) for what is
// no dotted oid. An extension that is known is printed; one that is not gives its text when it holds an ASN.1
// string or plain printable ASCII, and its bytes in hex otherwise.
std::string CertificateFieldByOid(const Certificate& certificate, std::string_view oid);

// The identity extension, else the subject's serial number, else the key's digest (SHA-256, hex).
std::string CertificateEntity(const Certificate& certificate);

}  // namespace kzr::softkey
