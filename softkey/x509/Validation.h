// Is a certificate to be trusted now? Chains and revocation lists, SM2 ones included.
#pragma once

#include <ctime>
#include <vector>

#include "x509/Certificate.h"

namespace kzr::softkey {

enum class Validity { Valid = 0, Untrusted = -1, OutsideDates = -2, Revoked = -3, Unreadable = -4 };

// Chain and lists as an administrator or a page supplied them.
class TrustStore {
  public:
    // A bundle: PEM blocks, Base64 of DER, or raw DER of one certificate (list). Self-signed certificates of
    // a chain are anchors only when `anchors`. Throws Failure(BadData) when nothing in it can be read.
    void AddCertificates(View bundle, bool anchors);
    void AddRevocationLists(View bundle);

    // At the time `now`. A list counts only when its issuer signed it (SM2: checked over its signed bytes
    // with the user id) and it is not outdated.
    Validity Check(const Certificate& certificate, std::time_t now) const;

  private:
    std::vector<Certificate> m_anchors;
    std::vector<Certificate> m_intermediates;
    std::vector<std::shared_ptr<X509_CRL>> m_lists;
};

}  // namespace kzr::softkey
