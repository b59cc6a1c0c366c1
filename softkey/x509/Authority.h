// A certificate authority for tests and demonstrations: root, intermediate, revocation list; and PKCS#12
// files.
#pragma once

#include <optional>
#include <vector>

#include "x509/Certificate.h"

namespace kzr::softkey {

struct Subject {
    std::string country, organization, unit, state, commonName, locality, email,
        serialNumber;      // UTF-8, "" leaves out
    std::string identity;  // goes into the identity extension; "" leaves it out
};

enum class Usage { Signing, Exchange };

struct Issuer {
    Certificate certificate;
    EVP_PKEY* key;
};

// Self-signed. `days` from now; negative lets it have ended.
Certificate MakeRoot(EVP_PKEY* key, const Subject& subject, int days);
Certificate IssueAuthority(const Issuer& issuer, EVP_PKEY* publicKey, const Subject& subject, int days);
// `startDays` relative to now, so that expired and future certificates can be made.
Certificate IssueUser(const Issuer& issuer, EVP_PKEY* publicKey, const Subject& subject, Usage usage,
                      int startDays, int days);

// DER of a list that names the serial numbers (as in CertificateField 2) of what was revoked.
Bytes MakeRevocationList(const Issuer& issuer, const std::vector<std::string>& serialNumbers, int days);

struct Pkcs12 {
    KeyHandle key;
    Certificate certificate;
    std::vector<Certificate> chain;
};
// Throws Failure(BadData) for a wrong password or a file that cannot be read.
Pkcs12 ReadPkcs12(View der, const std::string& password);

}  // namespace kzr::softkey
