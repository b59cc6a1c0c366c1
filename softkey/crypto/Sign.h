// What is done with a key pair: raw signatures, SM2 with SM3 (DER of r and s) or RSA with SHA-256 (PKCS#1
// v1.5), and public-key encryption.
#pragma once

#include "crypto/Keys.h"

namespace kzr::softkey {

Bytes Sign(EVP_PKEY* key, View data);
Bytes SignFile(EVP_PKEY* key, const std::string& path);

// False for a signature that does not fit, however malformed it is.
bool Verify(EVP_PKEY* publicKey, View data, View signature);
bool VerifyFile(EVP_PKEY* publicKey, const std::string& path, View signature);

// As Verify, for signatures of others: with the digest that the signer named ("SM3", "SHA384").
bool VerifyWithDigest(EVP_PKEY* publicKey, const char* digest, View data, View signature);

// SM2 (DER form), or RSA-OAEP with SHA-256. Throws Failure(BadArgument) for no data and
// for data that is too long for RSA.
Bytes PublicEncrypt(EVP_PKEY* publicKey, View data);
// Throws Failure(BadData) for what was not encrypted for this key.
Secret PrivateDecrypt(EVP_PKEY* key, View data);

// The session key of an envelope: SM2, or RSA with PKCS#1 v1.5, as the receivers of PKCS#7 expect it.
Bytes WrapSessionKey(EVP_PKEY* publicKey, const Secret& sessionKey);
// For RSA a random key stands in for one that cannot be had: an answer that told a wrong padding from a
// wrong content would let others decrypt by asking. For SM2 that throws Failure(BadData).
Secret UnwrapSessionKey(EVP_PKEY* key, View wrapped, std::size_t size);

}  // namespace kzr::softkey
