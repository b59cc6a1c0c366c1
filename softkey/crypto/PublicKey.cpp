// Encryption for a public key: data by itself, and the session keys of envelopes.
#include <openssl/asn1.h>
#include <openssl/err.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <climits>
#include <optional>

#include "base/Failure.h"
#include "crypto/Sign.h"

namespace kzr::softkey {

namespace {

enum class Padding { Oaep, Pkcs1 };  // of RSA; SM2 knows none

using KeyContext = std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)>;

// Two digests of 32 bytes, and two bytes more.
constexpr std::size_t kOaepOverhead = 2 * 32 + 2;

KeyContext ContextOf(EVP_PKEY* key, int (*init)(EVP_PKEY_CTX*), Padding padding)
{
    const bool rsa = KeyTypeOf(key) == KeyType::Rsa;
    KeyContext context(EVP_PKEY_CTX_new(key, nullptr), EVP_PKEY_CTX_free);
    if (!context || init(context.get()) != 1) ThrowCrypto("using a key");
    if (!rsa) return context;
    const int number = padding == Padding::Oaep ? RSA_PKCS1_OAEP_PADDING : RSA_PKCS1_PADDING;
    if (EVP_PKEY_CTX_set_rsa_padding(context.get(), number) != 1) ThrowCrypto("choosing a padding");
    if (padding == Padding::Oaep && (EVP_PKEY_CTX_set_rsa_oaep_md(context.get(), EVP_sha256()) != 1 ||
                                     EVP_PKEY_CTX_set_rsa_mgf1_md(context.get(), EVP_sha256()) != 1))
        ThrowCrypto("choosing a padding");
    return context;
}

Bytes Encrypt(EVP_PKEY* key, View data, Padding padding)
{
    const KeyContext context = ContextOf(key, EVP_PKEY_encrypt_init, padding);
    std::size_t size = 0;
    if (EVP_PKEY_encrypt(context.get(), nullptr, &size, data.data(), data.size()) != 1)
        ThrowCrypto("encrypting for a key");
    Bytes encrypted(size);
    if (EVP_PKEY_encrypt(context.get(), encrypted.data(), &size, data.data(), data.size()) != 1)
        ThrowCrypto("encrypting for a key");
    encrypted.resize(size);
    return encrypted;
}

// The library passes over what follows the sequence.
bool IsOneSequence(View der)
{
    const unsigned char* at = der.data();
    long length = 0;
    int tag = 0;
    int kind = 0;
    const int form = der.size() > LONG_MAX
                         ? 0x80
                         : ASN1_get_object(&at, &length, &tag, &kind, static_cast<long>(der.size()));
    ERR_clear_error();
    return form == V_ASN1_CONSTRUCTED && tag == V_ASN1_SEQUENCE && kind == V_ASN1_UNIVERSAL &&
           at + length == der.data() + der.size();
}

// Without a value for what the key does not decrypt.
std::optional<Secret> Decrypt(EVP_PKEY* key, View data, Padding padding)
{
    if (KeyTypeOf(key) == KeyType::Sm2 && !IsOneSequence(data)) return std::nullopt;
    const KeyContext context = ContextOf(key, EVP_PKEY_decrypt_init, padding);
    std::size_t size = 0;
    bool done = EVP_PKEY_decrypt(context.get(), nullptr, &size, data.data(), data.size()) == 1;
    Secret decrypted;
    if (done) {
        // What the library asks for is an upper bound for well-formed data only.
        decrypted.resize(std::max(size, data.size()));
        size = decrypted.size();
        done = EVP_PKEY_decrypt(context.get(), decrypted.data(), &size, data.data(), data.size()) == 1;
    }
    ERR_clear_error();
    if (!done) return std::nullopt;
    decrypted.resize(size);
    return decrypted;
}

Failure NotForThisKey() { return Failure(Cause::BadData, "the data was not encrypted for this key"); }

}  // namespace

Bytes PublicEncrypt(EVP_PKEY* publicKey, View data)
{
    if (data.empty()) throw Failure(Cause::BadArgument, "there is nothing to encrypt");
    if (KeyTypeOf(publicKey) == KeyType::Rsa &&
        data.size() > static_cast<std::size_t>(EVP_PKEY_get_size(publicKey)) - kOaepOverhead)
        throw Failure(Cause::BadArgument, "the data is too long for this RSA key");
    return Encrypt(publicKey, data, Padding::Oaep);
}

Secret PrivateDecrypt(EVP_PKEY* key, View data)
{
    auto decrypted = Decrypt(key, data, Padding::Oaep);
    if (!decrypted) throw NotForThisKey();
    return *std::move(decrypted);
}

Bytes WrapSessionKey(EVP_PKEY* publicKey, const Secret& sessionKey)
{
    return Encrypt(publicKey, sessionKey, Padding::Pkcs1);
}

Secret UnwrapSessionKey(EVP_PKEY* key, View wrapped, std::size_t size)
{
    // Made in any case, so that nobody can tell from the time whether it was needed.
    Secret random(size);
    if (RAND_priv_bytes(random.data(), static_cast<int>(size)) != 1) ThrowCrypto("making random bytes");
    auto sessionKey = Decrypt(key, wrapped, Padding::Pkcs1);
    if (sessionKey && sessionKey->size() == size) return *std::move(sessionKey);
    if (KeyTypeOf(key) == KeyType::Rsa) return random;
    throw NotForThisKey();
}

}  // namespace kzr::softkey
