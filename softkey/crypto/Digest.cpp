// Digests and random bytes.
#include "crypto/Digest.h"

#include <openssl/evp.h>
#include <openssl/rand.h>

#include "base/Failure.h"
#include "base/File.h"
#include "crypto/Keys.h"

namespace kzr::softkey {

namespace {

constexpr int kMostRandomBytes = 65536;

const EVP_MD* AlgorithmOf(HashCode code)
{
    switch (code) {
        case HashCode::Sm3:
            return EVP_sm3();
        case HashCode::Sha1:
            return EVP_sha1();
        case HashCode::Sha256:
            return EVP_sha256();
        case HashCode::Sha512:
            return EVP_sha512();
    }
    throw Failure(Cause::Unsupported, "there is no such digest algorithm");
}

class Digester {
  public:
    explicit Digester(HashCode code) : m_context(EVP_MD_CTX_new(), EVP_MD_CTX_free)
    {
        if (!m_context || EVP_DigestInit_ex(m_context.get(), AlgorithmOf(code), nullptr) != 1)
            ThrowCrypto("starting a digest");
    }
    void Update(View data)
    {
        if (EVP_DigestUpdate(m_context.get(), data.data(), data.size()) != 1) ThrowCrypto("making a digest");
    }
    Bytes Finish()
    {
        Bytes digest(EVP_MAX_MD_SIZE);
        unsigned size = 0;
        if (EVP_DigestFinal_ex(m_context.get(), digest.data(), &size) != 1) ThrowCrypto("ending a digest");
        digest.resize(size);
        return digest;
    }

  private:
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> m_context;
};

}  // namespace

HashCode HashCodeOf(int code)
{
    switch (static_cast<HashCode>(code)) {
        case HashCode::Sm3:
        case HashCode::Sha1:
        case HashCode::Sha256:
        case HashCode::Sha512:
            return static_cast<HashCode>(code);
    }
    throw Failure(Cause::Unsupported, "there is no digest algorithm " + std::to_string(code));
}

Bytes Digest(HashCode code, View data)
{
    Digester digester(code);
    digester.Update(data);
    return digester.Finish();
}

Bytes DigestFile(HashCode code, const std::string& path)
{
    Digester digester(code);
    ReadInPieces(path, [&digester](View piece) { digester.Update(piece); });
    return digester.Finish();
}

Bytes RandomBytes(int count)
{
    if (count < 1 || count > kMostRandomBytes)
        throw Failure(Cause::BadArgument, "random bytes: 1 to 65536, not " + std::to_string(count));
    Bytes bytes(static_cast<std::size_t>(count));
    if (RAND_bytes(bytes.data(), count) != 1) ThrowCrypto("making random bytes");
    return bytes;
}

}  // namespace kzr::softkey
