// Making key pairs, and their way to and from bytes.
#include "crypto/Keys.h"

#include <openssl/err.h>
#include <openssl/x509.h>

#include <climits>

#include "base/Failure.h"

namespace kzr::softkey {

namespace {

constexpr int kSmallestRsa = 1024;
constexpr int kLargestRsa = 8192;

using KeyInfo = std::unique_ptr<PKCS8_PRIV_KEY_INFO, decltype(&PKCS8_PRIV_KEY_INFO_free)>;

}  // namespace

void ThrowCrypto(const char* doing)
{
    char reason[256] = "no reason given";
    if (const unsigned long error = ERR_get_error()) ERR_error_string_n(error, reason, sizeof reason);
    ERR_clear_error();
    throw Failure(Cause::Crypto, std::string(doing) + ": " + reason);
}

KeyHandle GenerateKey(KeyType type, int rsaBits)
{
    if (type == KeyType::Rsa && (rsaBits < kSmallestRsa || rsaBits > kLargestRsa))
        throw Failure(Cause::BadArgument, "RSA keys have 1024 to 8192 bits");
    KeyHandle key(type == KeyType::Sm2
                      ? EVP_PKEY_Q_keygen(nullptr, nullptr, "SM2")
                      : EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", static_cast<std::size_t>(rsaBits)));
    if (!key) ThrowCrypto("making a key pair");
    return key;
}

KeyType KeyTypeOf(const EVP_PKEY* key)
{
    if (key && EVP_PKEY_is_a(key, "SM2")) return KeyType::Sm2;
    if (key && EVP_PKEY_is_a(key, "RSA")) {
        const int bits = EVP_PKEY_get_bits(key);
        if (bits >= kSmallestRsa && bits <= kLargestRsa) return KeyType::Rsa;
    }
    throw Failure(Cause::Unsupported, "the key is neither SM2 nor RSA of 1024 to 8192 bits");
}

Secret PrivateKeyToDer(const EVP_PKEY* key)
{
    KeyTypeOf(key);
    const KeyInfo info(EVP_PKEY2PKCS8(key), PKCS8_PRIV_KEY_INFO_free);
    if (!info) ThrowCrypto("writing a private key");
    const int size = i2d_PKCS8_PRIV_KEY_INFO(info.get(), nullptr);
    if (size <= 0) ThrowCrypto("writing a private key");
    Secret der(static_cast<std::size_t>(size));
    unsigned char* at = der.data();
    if (i2d_PKCS8_PRIV_KEY_INFO(info.get(), &at) != size) ThrowCrypto("writing a private key");
    return der;
}

KeyHandle PrivateKeyFromDer(View der)
{
    const unsigned char* at = der.data();
    const KeyInfo info(der.size() <= LONG_MAX
                           ? d2i_PKCS8_PRIV_KEY_INFO(nullptr, &at, static_cast<long>(der.size()))
                           : nullptr,
                       PKCS8_PRIV_KEY_INFO_free);
    KeyHandle key(info && at == der.data() + der.size() ? EVP_PKCS82PKEY(info.get()) : nullptr);
    ERR_clear_error();
    if (!key) throw Failure(Cause::BadData, "the private key cannot be read");
    KeyTypeOf(key.get());
    return key;
}

}  // namespace kzr::softkey
