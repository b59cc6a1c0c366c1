// A certificate authority for tests and demonstrations: root, intermediate, revocation list.
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

// Signing: digitalSignature and nonRepudiation. Exchange: keyEncipherment, dataEncipherment, keyAgreement.
enum class Usage { Signing, Exchange };

struct Issuer {
    Certificate certificate;
    EVP_PKEY* key;
};

// All of them throw Failure(BadArgument) for a subject that X.509 has no room for (a country of more than two
// letters, a name of more than 64 characters, no common name) and for days beyond a hundred years. What
// starts now starts five minutes ago, for clocks that are late.

// Self-signed. `days` from now; negative lets it have ended.
Certificate MakeRoot(EVP_PKEY* key, const Subject& subject, int days);
// `pathLength` is how many authorities may follow it; negative sets no limit.
Certificate IssueAuthority(const Issuer& issuer, EVP_PKEY* publicKey, const Subject& subject, int days,
                           int pathLength = -1);
// `startDays` relative to now, so that expired and future certificates can be made; it lasts `days`, one at
// least.
Certificate IssueUser(const Issuer& issuer, EVP_PKEY* publicKey, const Subject& subject, Usage usage,
                      int startDays, int days);

// DER of a list that names the serial numbers (as in CertificateField 2) of what was revoked. `days` until
// the next one is due; negative lets that day have passed. Throws Failure(BadArgument) for what is no serial
// number.
Bytes MakeRevocationList(const Issuer& issuer, const std::vector<std::string>& serialNumbers, int days);

struct Pkcs12 {
    KeyHandle key;
    Certificate certificate;
    std::vector<Certificate> chain;
};
// Of several keys in it the first. Throws Failure(BadData) for a wrong password, a file that cannot be read,
// that lacks a key with its certificate, or would take unreasonable time; Failure(Unsupported), with the way
// out in its text, for one that is encrypted with the legacy ciphers RC2, RC4 or DES.
Pkcs12 ReadPkcs12(View der, std::string_view password);

}  // namespace kzr::softkey
