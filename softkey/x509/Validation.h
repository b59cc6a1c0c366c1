// Is a certificate to be trusted now? Chains and revocation lists, SM2 ones included.
#pragma once

#include <ctime>
#include <memory>
#include <vector>

#include "x509/Certificate.h"

namespace kzr::softkey {

enum class Validity { Valid = 0, Untrusted = -1, OutsideDates = -2, Revoked = -3, Unreadable = -4 };

// Chain and lists as an administrator or a page supplied them.
class TrustStore {
  public:
    // A bundle: DER of one certificate, PEM blocks, PKCS#7 without signers, or the Base64 of any of them.
    // Self-signed certificates of a chain are anchors only when `anchors`. What cannot be read is passed
    // over; throws Failure(BadData) when nothing can, and for a bundle beyond 1 MiB.
    void AddCertificates(View bundle, bool anchors);
    // Likewise, up to 16 MiB.
    void AddRevocationLists(View bundle);

    // At the time `now`. Where several answers apply, the first of these wins: Unreadable, Untrusted,
    // Revoked, OutsideDates. Untrusted: no chain of at most ten certificates leads to an anchor, or one of
    // them is signed wrongly or too weakly, is no authority, or breaks the limits that an authority above it
    // set. Revoked and OutsideDates speak of the certificate and of every authority between it and the
    // anchor, whose own dates count too.
    //
    // A list counts only when its issuer signed it (SM2: checked over its signed bytes with the user id), may
    // sign lists, and it is not outdated; of several with the same scope the newest counts. Lists can only
    // revoke: none is required.
    Validity Check(const Certificate& certificate, std::time_t now) const;

  private:
    std::vector<Certificate> m_anchors;
    std::vector<Certificate> m_intermediates;
    std::vector<std::shared_ptr<X509_CRL>> m_lists;
};

}  // namespace kzr::softkey
