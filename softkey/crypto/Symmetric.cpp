// Encrypted text and files:
//   "KSE1"  code (2)  salt (16)  IV (16)  |  ciphertext  |  HMAC over all before (32)
// PBKDF2 stretches the text to a master key, of which HMAC makes one key for the cipher and one for the check
// value. The SM4 codes use SM3 throughout, the AES codes SHA-256. Memory and files share the code.
#include "crypto/Symmetric.h"

#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/params.h>

#include <algorithm>
#include <array>
#include <climits>
#include <functional>
#include <optional>

#include "base/Failure.h"
#include "base/File.h"
#include "crypto/Digest.h"
#include "crypto/Keys.h"

namespace kzr::softkey {

namespace {

constexpr std::string_view kMagic = "KSE1";
constexpr std::size_t kSaltSize = 16;
constexpr std::size_t kIvSize = 16;
constexpr std::size_t kHeaderSize = 4 + 2 + kSaltSize + kIvSize;
constexpr std::size_t kMacSize = 32;
constexpr std::size_t kBlockSize = 16;
// Part of the format: another number needs another magic.
constexpr int kIterations = 20'000;
constexpr std::size_t kPiece = 65536;

struct Suite {
    CipherCode code;
    const EVP_CIPHER* (*cipher)();
    const EVP_MD* (*digest)();
    const char* digestName;
};

constexpr Suite kSuites[] = {
    {CipherCode::Sm4CtrOld, EVP_sm4_ctr, EVP_sm3, "SM3"},
    {CipherCode::Sm4Cbc, EVP_sm4_cbc, EVP_sm3, "SM3"},
    {CipherCode::Sm4Ctr, EVP_sm4_ctr, EVP_sm3, "SM3"},
    {CipherCode::Aes256Ctr, EVP_aes_256_ctr, EVP_sha256, "SHA256"},
    {CipherCode::Aes256Cbc, EVP_aes_256_cbc, EVP_sha256, "SHA256"},
};

const Suite* FindSuite(int code)
{
    const auto found = std::find_if(std::begin(kSuites), std::end(kSuites), [code](const Suite& suite) {
        return static_cast<int>(suite.code) == code;
    });
    return found == std::end(kSuites) ? nullptr : found;
}

Failure BadContainer(const char* why)
{
    return Failure(Cause::BadData, std::string("encrypted data: ") + why);
}

using Header = std::array<std::uint8_t, kHeaderSize>;
using Sink = std::function<void(View)>;

struct SuiteKeys {
    Secret cipher;
    Secret mac;
};

Secret Derive(const Suite& suite, const Secret& master, std::string_view purpose)
{
    Secret key(EVP_MAX_MD_SIZE);
    unsigned size = 0;
    if (!HMAC(suite.digest(), master.data(), static_cast<int>(master.size()), ViewOf(purpose).data(),
              purpose.size(), key.data(), &size))
        ThrowCrypto("deriving a key");
    key.resize(size);
    return key;
}

SuiteKeys KeysOf(const Suite& suite, View keyText, View salt)
{
    if (keyText.size() > INT_MAX) throw Failure(Cause::BadArgument, "the key text is too long");
    Secret master(32);
    if (PKCS5_PBKDF2_HMAC(reinterpret_cast<const char*>(keyText.data()), static_cast<int>(keyText.size()),
                          salt.data(), static_cast<int>(salt.size()), kIterations, suite.digest(),
                          static_cast<int>(master.size()), master.data()) != 1)
        ThrowCrypto("deriving a key");
    SuiteKeys keys{Derive(suite, master, "encrypt"), Derive(suite, master, "authenticate")};
    keys.cipher.resize(static_cast<std::size_t>(EVP_CIPHER_get_key_length(suite.cipher())));
    return keys;
}

class Mac {
  public:
    Mac(const Suite& suite, const Secret& key) : m_context(nullptr, EVP_MAC_CTX_free)
    {
        const std::unique_ptr<EVP_MAC, decltype(&EVP_MAC_free)> hmac(EVP_MAC_fetch(nullptr, "HMAC", nullptr),
                                                                     EVP_MAC_free);
        if (hmac) m_context.reset(EVP_MAC_CTX_new(hmac.get()));
        std::string digest(suite.digestName);
        const OSSL_PARAM parameters[] = {OSSL_PARAM_construct_utf8_string("digest", digest.data(), 0),
                                         OSSL_PARAM_END};
        if (!m_context || EVP_MAC_init(m_context.get(), key.data(), key.size(), parameters) != 1)
            ThrowCrypto("starting a check value");
    }
    void Update(View data)
    {
        if (EVP_MAC_update(m_context.get(), data.data(), data.size()) != 1)
            ThrowCrypto("making a check value");
    }
    std::array<std::uint8_t, kMacSize> Finish()
    {
        std::array<std::uint8_t, kMacSize> value{};
        std::size_t size = 0;
        if (EVP_MAC_final(m_context.get(), value.data(), &size, value.size()) != 1 || size != kMacSize)
            ThrowCrypto("ending a check value");
        return value;
    }
    bool Fits(View expected)
    {
        const auto value = Finish();
        return expected.size() == kMacSize && CRYPTO_memcmp(value.data(), expected.data(), kMacSize) == 0;
    }

  private:
    std::unique_ptr<EVP_MAC_CTX, decltype(&EVP_MAC_CTX_free)> m_context;
};

// Either direction, piece by piece.
class Cipher {
  public:
    Cipher(const Suite& suite, const Secret& key, View iv, bool encrypt)
        : m_context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free)
    {
        if (!m_context || EVP_CipherInit_ex2(m_context.get(), suite.cipher(), key.data(), iv.data(),
                                             encrypt ? 1 : 0, nullptr) != 1)
            ThrowCrypto("starting a cipher");
    }
    void Update(View data, const Sink& sink)
    {
        while (!data.empty()) {
            const View piece = data.first(std::min(data.size(), kPiece));
            int size = 0;
            if (EVP_CipherUpdate(m_context.get(), m_output.data(), &size, piece.data(),
                                 static_cast<int>(piece.size())) != 1)
                ThrowCrypto("running a cipher");
            sink(View(m_output).first(static_cast<std::size_t>(size)));
            data = data.subspan(piece.size());
        }
    }
    void Finish(const Sink& sink)
    {
        int size = 0;
        const bool done = EVP_CipherFinal_ex(m_context.get(), m_output.data(), &size) == 1;
        ERR_clear_error();
        if (!done) throw BadContainer("the padding is wrong");
        sink(View(m_output).first(static_cast<std::size_t>(size)));
    }

  private:
    std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> m_context;
    Secret m_output = Secret(kPiece + kBlockSize);
};

View SaltOf(const Header& header) { return View(header).subspan(6, kSaltSize); }
View IvOf(const Header& header) { return View(header).subspan(6 + kSaltSize, kIvSize); }

Header NewHeader(CipherCode code)
{
    Header header{};
    std::copy(kMagic.begin(), kMagic.end(), header.begin());
    header[4] = static_cast<std::uint8_t>(static_cast<int>(code) >> 8);
    header[5] = static_cast<std::uint8_t>(static_cast<int>(code));
    const Bytes random = RandomBytes(kSaltSize + kIvSize);
    std::copy(random.begin(), random.end(), header.begin() + 6);
    return header;
}

const Suite& SuiteOf(const Header& header)
{
    if (!std::equal(kMagic.begin(), kMagic.end(), header.begin())) throw BadContainer("no such header");
    const Suite* suite = FindSuite(header[4] << 8 | header[5]);
    if (!suite) throw BadContainer("an unknown code");
    return *suite;
}

// Cuts a stream into header, ciphertext and the check value at its end.
class Cutter {
  public:
    void Update(View data, const Sink& ciphertext)
    {
        const std::size_t missing = std::min(kHeaderSize - m_headerSize, data.size());
        std::copy_n(data.begin(), missing, m_header.begin() + static_cast<std::ptrdiff_t>(m_headerSize));
        m_headerSize += missing;
        data = data.subspan(missing);
        // The last bytes so far may be the check value: they wait for what follows.
        m_waiting.insert(m_waiting.end(), data.begin(), data.end());
        if (m_waiting.size() <= kMacSize) return;
        const std::size_t ready = m_waiting.size() - kMacSize;
        ciphertext(View(m_waiting).first(ready));
        m_waiting.erase(m_waiting.begin(), m_waiting.begin() + static_cast<std::ptrdiff_t>(ready));
    }
    bool HasHeader() const { return m_headerSize == kHeaderSize; }
    const Header& TheHeader() const { return m_header; }
    View CheckValue() const
    {
        if (m_waiting.size() != kMacSize) throw BadContainer("it is cut off");
        return m_waiting;
    }

  private:
    Header m_header{};
    std::size_t m_headerSize = 0;
    Bytes m_waiting;
};

using Feed = std::function<void(const Sink&)>;

void Encrypt(CipherCode code, View keyText, const Feed& feed, const Sink& write)
{
    const Suite* suite = FindSuite(static_cast<int>(code));
    if (!suite) throw Failure(Cause::Unsupported, "there is no such cipher");
    const Header header = NewHeader(code);
    const SuiteKeys keys = KeysOf(*suite, keyText, SaltOf(header));
    Mac mac(*suite, keys.mac);
    Cipher cipher(*suite, keys.cipher, IvOf(header), true);
    const Sink put = [&](View piece) {
        mac.Update(piece);
        write(piece);
    };
    put(header);
    feed([&](View piece) { cipher.Update(piece, put); });
    cipher.Finish(put);
    write(mac.Finish());
}

// Twice over the data: the check value is proved before the first byte is decrypted. It is proved again at
// the end of the second time, for a file that was changed in between.
class Decryption {
  public:
    Decryption(View keyText, const Feed& feed) : m_feed(feed)
    {
        Cutter cutter;
        std::optional<Mac> mac;
        m_feed([&](View piece) {
            cutter.Update(piece, [&](View ciphertext) {
                if (!mac) mac.emplace(Begin(cutter, keyText));
                mac->Update(ciphertext);
            });
        });
        if (!cutter.HasHeader()) throw BadContainer("it is cut off");
        if (!mac) mac.emplace(Begin(cutter, keyText));
        if (!mac->Fits(cutter.CheckValue())) throw BadContainer("a wrong key, or it was changed");
    }

    void Run(const Sink& write)
    {
        Cutter cutter;
        Mac mac = MacOfHeader();
        Cipher cipher(*m_suite, m_keys.cipher, IvOf(m_header), false);
        m_feed([&](View piece) {
            cutter.Update(piece, [&](View ciphertext) {
                mac.Update(ciphertext);
                cipher.Update(ciphertext, write);
            });
        });
        if (cutter.TheHeader() != m_header || !mac.Fits(cutter.CheckValue()))
            throw BadContainer("it was changed while it was read");
        cipher.Finish(write);
    }

  private:
    Mac Begin(const Cutter& cutter, View keyText)
    {
        m_header = cutter.TheHeader();
        m_suite = &SuiteOf(m_header);
        m_keys = KeysOf(*m_suite, keyText, SaltOf(m_header));
        return MacOfHeader();
    }
    Mac MacOfHeader() const
    {
        Mac mac(*m_suite, m_keys.mac);
        mac.Update(m_header);
        return mac;
    }

    const Feed& m_feed;
    Header m_header{};
    const Suite* m_suite = nullptr;
    SuiteKeys m_keys;
};

Feed InMemory(View data)
{
    return [data](const Sink& take) { take(data); };
}
Feed InFile(const std::string& path)
{
    return [&path](const Sink& take) { ReadInPieces(path, take); };
}

}  // namespace

CipherCode CipherCodeOf(int code)
{
    if (!FindSuite(code)) throw Failure(Cause::Unsupported, "there is no cipher " + std::to_string(code));
    return static_cast<CipherCode>(code);
}

Bytes SymEncrypt(CipherCode code, View keyText, View data)
{
    Bytes encrypted;
    encrypted.reserve(kHeaderSize + data.size() + kBlockSize + kMacSize);
    Encrypt(code, keyText, InMemory(data),
            [&](View piece) { encrypted.insert(encrypted.end(), piece.begin(), piece.end()); });
    return encrypted;
}

Secret SymDecrypt(View keyText, View data)
{
    const Feed feed = InMemory(data);
    Secret decrypted;
    decrypted.reserve(data.size());
    Decryption(keyText, feed).Run([&](View piece) {
        decrypted.insert(decrypted.end(), piece.begin(), piece.end());
    });
    return decrypted;
}

void SymEncryptFile(CipherCode code, View keyText, const std::string& in, const std::string& out)
{
    WriteInPieces(out, [&](const Sink& write) { Encrypt(code, keyText, InFile(in), write); });
}

void SymDecryptFile(View keyText, const std::string& in, const std::string& out)
{
    const Feed feed = InFile(in);
    Decryption decryption(keyText, feed);
    WriteInPieces(out, [&](const Sink& write) { decryption.Run(write); });
}

}  // namespace kzr::softkey
