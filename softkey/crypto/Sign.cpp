// Signatures, made and checked piece by piece.
#include "crypto/Sign.h"

#include <openssl/err.h>

#include "base/File.h"

namespace kzr::softkey {

namespace {

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

}  // namespace kzr::softkey
