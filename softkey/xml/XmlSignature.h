// Enveloped XML signatures, C14N 1.0: RSA with SHA-256, SM2 with SM3.
#pragma once

#include "x509/Certificate.h"

namespace kzr::softkey {

// The document with the signature as last child of its root. A DOCTYPE throws Failure(BadData).
std::string SignXml(EVP_PKEY* key, const Certificate& certificate, std::string_view xml);

// True when there is exactly one signature, a child of the root, with exactly the two known transforms, and
// it fits. False for any other document that can be read; throws Failure(BadData) for one that cannot.
bool VerifyXml(std::string_view xml);

// 1 original, 2 digest, 3 signature, 4 certificate, 5 and 6 algorithms (digest, signature).
std::string XmlSignatureField(std::string_view xml, int type);

}  // namespace kzr::softkey
