// One revocation list: who signed it, and until when it counts.
#pragma once

#include <openssl/x509.h>

#include <ctime>
#include <memory>

#include "base/Bytes.h"

namespace kzr::softkey {

// Null for what is not exactly one list in DER.
std::shared_ptr<X509_CRL> ReadRevocationList(View der);

// The list is in force at `now`, and the certificate `issuer` with this key signed it and was allowed to.
bool ListCounts(X509_CRL* list, X509* issuer, std::time_t now);

// Both lists speak of the same certificates, so that the newer one replaces the older.
bool SameScope(const X509_CRL* one, const X509_CRL* other);

}  // namespace kzr::softkey
