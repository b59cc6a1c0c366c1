// X.509 certificates: reading them as they cross the interface, and their fields.
#pragma once

#include <openssl/x509.h>

#include <memory>
#include <string>

#include "crypto/Keys.h"

namespace kzr::softkey {

class Certificate {
  public:
    Certificate() = default;
    // Takes over the reference.
    explicit Certificate(X509* certificate) : m_certificate(certificate, X509_free) {}

    // Base64 of DER, or PEM. Throws Failure(BadData). An SM2 certificate gets the SM2 user id set.
    static Certificate FromText(std::string_view text);
    static Certificate FromDer(View der);

    Bytes Der() const;
    std::string Text() const;  // Base64 of DER
    std::string Pem() const;
    X509* Get() const noexcept { return m_certificate.get(); }
    explicit operator bool() const noexcept { return m_certificate != nullptr; }

    KeyHandle PublicKey() const;
    KeyType Type() const;

  private:
    std::shared_ptr<X509> m_certificate;
};

// What SOF_GetCertInfo answers, in UTF-8: 1 version, 2 serial number (hex), 3 signature algorithm, 4-10
// issuer C O OU ST CN L E, 11 and 12 validity YYYYMMDDhhmmssZ, 13 C, 14 O, 15 OU, 16 ST, 17 CN, 18 L, 19
// e-mail, 20 subject. "" for a field that the certificate lacks; Failure(BadArgument) for another type.
std::string CertificateField(const Certificate& certificate, int type);

// The extension's text, or the subject attribute; "" when absent; Failure(BadArgument) for what is no dotted
// oid.
std::string CertificateFieldByOid(const Certificate& certificate, std::string_view oid);

// The identity extension, else the subject's serial number, else the key's digest.
std::string CertificateEntity(const Certificate& certificate);

}  // namespace kzr::softkey
