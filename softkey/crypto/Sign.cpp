// Signatures and public-key encryption.
#include "crypto/Sign.h"

#include <openssl/err.h>
#include <openssl/rsa.h>

#include <algorithm>

#include "base/Failure.h"
#include "base/File.h"

namespace kzr::softkey {

namespace {

using KeyContext = std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)>;

// One signature under way, made or checked.
class SignatureContext {
  public:
    SignatureContext() : m_context(EVP_MD_CTX_new(), EVP_MD_CTX_free)
    {
        if (!m_context) ThrowCrypto("starting a signature");
    }

    // EVP_DigestSignInit_ex or EVP_DigestVerifyInit_ex. The user id is taken between this and the first data.
    template <typename Init>
    bool Start(Init init, EVP_PKEY* key, const char* digest)
    {
        const bool needsId = KeyTypeOf(key) == KeyType::Sm2;
        EVP_PKEY_CTX* parameters = nullptr;
        return init(m_context.get(), &parameters, digest, nullptr, nullptr, key, nullptr) == 1 &&
               (!needsId || EVP_PKEY_CTX_set1_id(parameters, kSm2UserId, sizeof kSm2UserId - 1) == 1);
    }

    EVP_MD_CTX* Get() const noexcept { return m_context.get(); }

  private:
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> m_context;
};

const char* OwnDigest(const EVP_PKEY* key) { return KeyTypeOf(key) == KeyType::Sm2 ? "SM3" : "SHA256"; }

Bytes FinishSignature(EVP_MD_CTX* context)
{
    std::size_t size = 0;
    if (EVP_DigestSignFinal(context, nullptr, &size) != 1) ThrowCrypto("signing");
    Bytes signature(size);
    if (EVP_DigestSignFinal(context, signature.data(), &size) != 1) ThrowCrypto("signing");
    signature.resize(size);
    return signature;
}

// The library leaves reasons behind for a signature that merely does not fit.
bool FinishVerification(EVP_MD_CTX* context, View signature)
{
    const bool fits = EVP_DigestVerifyFinal(context, signature.data(), signature.size()) == 1;
    ERR_clear_error();
    return fits;
}

template <typename Feed>
Bytes SignWhat(EVP_PKEY* key, const Feed& feed)
{
    SignatureContext context;
    if (!context.Start(EVP_DigestSignInit_ex, key, OwnDigest(key))) ThrowCrypto("signing");
    feed([&context](View piece) {
        if (EVP_DigestSignUpdate(context.Get(), piece.data(), piece.size()) != 1) ThrowCrypto("signing");
    });
    return FinishSignature(context.Get());
}

template <typename Feed>
bool VerifyWhat(EVP_PKEY* key, const char* digest, View signature, const Feed& feed)
{
    SignatureContext context;
    if (!context.Start(EVP_DigestVerifyInit_ex, key, digest)) ThrowCrypto("verifying");
    feed([&context](View piece) {
        if (EVP_DigestVerifyUpdate(context.Get(), piece.data(), piece.size()) != 1) ThrowCrypto("verifying");
    });
    return FinishVerification(context.Get(), signature);
}

// Feeds what lies in memory, or a file piece by piece.
auto InMemory(View data)
{
    return [data](const auto& take) { take(data); };
}
auto InFile(const std::string& path)
{
    return [&path](const auto& take) { ReadInPieces(path, take); };
}

void SetOaep(EVP_PKEY_CTX* context)
{
    if (EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_OAEP_PADDING) != 1 ||
        EVP_PKEY_CTX_set_rsa_oaep_md(context, EVP_sha256()) != 1 ||
        EVP_PKEY_CTX_set_rsa_mgf1_md(context, EVP_sha256()) != 1)
        ThrowCrypto("choosing OAEP");
}

KeyContext ContextOf(EVP_PKEY* key)
{
    KeyContext context(EVP_PKEY_CTX_new(key, nullptr), EVP_PKEY_CTX_free);
    if (!context) ThrowCrypto("using a key");
    return context;
}

// Two digests of 32 bytes, and two bytes more.
constexpr std::size_t kOaepOverhead = 2 * 32 + 2;

}  // namespace

Bytes Sign(EVP_PKEY* key, View data) { return SignWhat(key, InMemory(data)); }

Bytes SignFile(EVP_PKEY* key, const std::string& path) { return SignWhat(key, InFile(path)); }

bool Verify(EVP_PKEY* publicKey, View data, View signature)
{
    return VerifyWhat(publicKey, OwnDigest(publicKey), signature, InMemory(data));
}

bool VerifyFile(EVP_PKEY* publicKey, const std::string& path, View signature)
{
    return VerifyWhat(publicKey, OwnDigest(publicKey), signature, InFile(path));
}

bool VerifyWithDigest(EVP_PKEY* publicKey, const char* digest, View data, View signature)
{
    return VerifyWhat(publicKey, digest, signature, InMemory(data));
}

Bytes PublicEncrypt(EVP_PKEY* publicKey, View data)
{
    const KeyType type = KeyTypeOf(publicKey);
    if (data.empty()) throw Failure(Cause::BadArgument, "there is nothing to encrypt");
    if (type == KeyType::Rsa &&
        data.size() > static_cast<std::size_t>(EVP_PKEY_get_size(publicKey)) - kOaepOverhead)
        throw Failure(Cause::BadArgument, "the data is too long for this RSA key");
    const KeyContext context = ContextOf(publicKey);
    if (EVP_PKEY_encrypt_init(context.get()) != 1) ThrowCrypto("encrypting for a key");
    if (type == KeyType::Rsa) SetOaep(context.get());
    std::size_t size = 0;
    if (EVP_PKEY_encrypt(context.get(), nullptr, &size, data.data(), data.size()) != 1)
        ThrowCrypto("encrypting for a key");
    Bytes encrypted(size);
    if (EVP_PKEY_encrypt(context.get(), encrypted.data(), &size, data.data(), data.size()) != 1)
        ThrowCrypto("encrypting for a key");
    encrypted.resize(size);
    return encrypted;
}

Secret PrivateDecrypt(EVP_PKEY* key, View data)
{
    const KeyType type = KeyTypeOf(key);
    const KeyContext context = ContextOf(key);
    if (EVP_PKEY_decrypt_init(context.get()) != 1) ThrowCrypto("decrypting with a key");
    if (type == KeyType::Rsa) SetOaep(context.get());
    Secret decrypted;
    std::size_t size = 0;
    bool done = EVP_PKEY_decrypt(context.get(), nullptr, &size, data.data(), data.size()) == 1;
    if (done) {
        // What the library asks for is an upper bound for well-formed data only.
        decrypted.resize(std::max(size, data.size()));
        size = decrypted.size();
        done = EVP_PKEY_decrypt(context.get(), decrypted.data(), &size, data.data(), data.size()) == 1;
    }
    ERR_clear_error();
    if (!done) throw Failure(Cause::BadData, "the data was not encrypted for this key");
    decrypted.resize(size);
    return decrypted;
}

}  // namespace kzr::softkey
