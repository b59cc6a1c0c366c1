// Stretching and wrapping by the cryptographic library.
#include "store/Wrap.h"

#include <openssl/err.h>
#include <openssl/evp.h>

#include <algorithm>
#include <climits>

#include "base/Failure.h"
#include "crypto/Digest.h"
#include "crypto/Keys.h"

namespace kzr::softkey {
namespace {

constexpr std::size_t kNonceSize = 12;
constexpr std::size_t kTagSize = 16;

using Context = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

// Ready for content: key, nonce and purpose are in.
Context Start(const Secret& key, std::string_view purpose, const std::uint8_t* nonce, bool encrypting)
{
    if (key.size() != kWrapKeySize) throw Failure(Cause::NotLoggedIn, "this is no key that wraps keys");
    Context context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
    int ignored = 0;
    if (!context ||
        EVP_CipherInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key.data(), nonce, encrypting) != 1 ||
        EVP_CipherUpdate(context.get(), nullptr, &ignored, ViewOf(purpose).data(),
                         static_cast<int>(purpose.size())) != 1)
        ThrowCrypto("starting to wrap a key");
    return context;
}

}  // namespace

Secret StretchPin(std::string_view pin, View salt, int iterations)
{
    if (pin.size() > INT_MAX) throw Failure(Cause::BadArgument, "the PIN is too long");
    Secret key(kWrapKeySize);
    if (PKCS5_PBKDF2_HMAC(pin.data(), static_cast<int>(pin.size()), salt.data(),
                          static_cast<int>(salt.size()), iterations, EVP_sha256(),
                          static_cast<int>(key.size()), key.data()) != 1)
        ThrowCrypto("stretching a PIN");
    return key;
}

Bytes Wrap(const Secret& key, std::string_view purpose, View content)
{
    Bytes wrapped = RandomBytes(kNonceSize);
    const Context context = Start(key, purpose, wrapped.data(), true);
    wrapped.resize(kNonceSize + content.size() + kTagSize);
    std::uint8_t* const to = wrapped.data() + kNonceSize;
    int size = 0, rest = 0;
    if (EVP_CipherUpdate(context.get(), to, &size, content.data(), static_cast<int>(content.size())) != 1 ||
        EVP_CipherFinal_ex(context.get(), to + size, &rest) != 1 ||
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_GET_TAG, static_cast<int>(kTagSize),
                            to + content.size()) != 1)
        ThrowCrypto("wrapping a key");
    return wrapped;
}

bool Unwrap(const Secret& key, std::string_view purpose, View wrapped, Secret& content)
{
    if (wrapped.size() < kNonceSize + kTagSize || wrapped.size() > INT_MAX) return false;
    const Context context = Start(key, purpose, wrapped.data(), false);
    Bytes tag(wrapped.end() - kTagSize, wrapped.end());
    const View inside = wrapped.subspan(kNonceSize, wrapped.size() - kNonceSize - kTagSize);
    // Never empty, so that the library is never handed a null output, which means something else.
    Secret opened(inside.size() + 1);
    int size = 0, rest = 0;
    const bool right = EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_SET_TAG, static_cast<int>(kTagSize),
                                           tag.data()) == 1 &&
                       (inside.empty() || EVP_CipherUpdate(context.get(), opened.data(), &size, inside.data(),
                                                           static_cast<int>(inside.size())) == 1) &&
                       EVP_CipherFinal_ex(context.get(), opened.data() + size, &rest) == 1;
    ERR_clear_error();
    if (!right) return false;
    opened.resize(inside.size());
    content = std::move(opened);
    return true;
}

}  // namespace kzr::softkey
