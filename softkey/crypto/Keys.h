// Key pairs: making them, and their way to and from bytes.
#pragma once

#include <openssl/evp.h>

#include <memory>

#include "base/Bytes.h"
#include "crypto/Algorithms.h"

namespace kzr::softkey {

struct KeyDeleter {
    void operator()(EVP_PKEY* key) const noexcept { EVP_PKEY_free(key); }
};
using KeyHandle = std::unique_ptr<EVP_PKEY, KeyDeleter>;

KeyHandle GenerateKey(KeyType type, int rsaBits = 2048);

// Throws Failure(Unsupported) for a key that is neither SM2 nor RSA of 1,024 to 8,192 bits.
KeyType KeyTypeOf(const EVP_PKEY* key);

// PKCS#8, unencrypted.
Secret PrivateKeyToDer(const EVP_PKEY* key);
KeyHandle PrivateKeyFromDer(View der);

// Throws Failure(Crypto), with the library's own reason in the text, and empties the library's error queue.
[[noreturn]] void ThrowCrypto(const char* doing);

}  // namespace kzr::softkey
