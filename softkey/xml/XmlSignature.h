// Enveloped XML signatures, C14N 1.0: RSA with SHA-256, SM2 with SM3.
#pragma once

#include "x509/Certificate.h"

namespace kzr::softkey {

// Names of the algorithms. RSA's are those of the XML signature standards. There are no such names for SM2
// and SM3, so theirs are made from the object identifiers; an SM2 signature value is the DER of r and s.
inline constexpr char kRsaSha256Name[] = "http://www.w3.org/2001/04/xmldsig-more#rsa-sha256";
inline constexpr char kSha256Name[] = "http://www.w3.org/2001/04/xmlenc#sha256";
inline constexpr char kSm2Sm3Name[] = "urn:oid:1.2.156.10197.1.501";
inline constexpr char kSm3Name[] = "urn:oid:1.2.156.10197.1.401";

// The document with the signature as last child of its root, in UTF-8. Throws Failure(BadData) for a document
// that cannot be read, has a DOCTYPE or is signed already, Failure(BadArgument) when the key is not that of
// the certificate.
std::string SignXml(EVP_PKEY* key, const Certificate& certificate, std::string_view xml);

// True when there is exactly one signature, a child of the root, over the whole document, with exactly the
// two transforms (enveloped, C14N 1.0), digest and signature of one pair of algorithms, exactly one
// certificate, and it fits. False for any other document that can be read; throws Failure(BadData) for one
// that cannot. Whether the certificate in it is to be trusted is not asked. Comments are not covered by the
// signature.
bool VerifyXml(std::string_view xml);

// 1 original (the canonical form of the document without the signature: what was signed), 2 digest,
// 3 signature, 4 certificate (each Base64 on one line), 5 and 6 algorithms (names of digest and signature).
// The signature is not proved. Throws Failure(BadData) for a document that cannot be read or lacks a
// signature of the form above; Failure(BadArgument) for another type.
std::string XmlSignatureField(std::string_view xml, int type);

}  // namespace kzr::softkey
