#include "softkey/core/Support.h"

#include <openssl/err.h>
#include <openssl/rand.h>

#include <algorithm>
#include <random>

#include "base/Base64.h"
#include "x509/Authority.h"

namespace kzr::softkey::test {

std::optional<Cause> CauseOf(const std::function<void()>& action)
{
    std::optional<Cause> cause;
    try {
        action();
    } catch (const Failure& failure) {
        cause = failure.Why();
        EXPECT_STRNE(failure.what(), "");
    }
    EXPECT_EQ(ERR_peek_error(), 0u) << "the library's error queue was left behind";
    ERR_clear_error();
    return cause;
}

Bytes BytesOf(std::string_view text) { return Bytes(text.begin(), text.end()); }

Bytes Unhex(std::string_view digits)
{
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16)));
    return bytes;
}

Bytes Changed(Bytes bytes, std::size_t at, std::uint8_t mask)
{
    bytes.at(at) ^= mask;
    return bytes;
}

Bytes Cut(const Bytes& bytes, std::size_t size)
{
    return Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
}

Bytes Noise(std::size_t size, unsigned seed)
{
    std::mt19937 random(seed);
    Bytes bytes(size);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    return bytes;
}

Scratch::Scratch()
{
    std::uint8_t random[8];
    RAND_bytes(random, sizeof random);
    m_path = std::filesystem::temp_directory_path() / ("kzr-softkey-" + HexUpper(random));
    std::filesystem::create_directories(m_path);
}

Scratch::~Scratch()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string Scratch::operator/(std::string_view name) const
{
    const std::u8string folder = m_path.u8string();
    return std::string(folder.begin(), folder.end()) + "/" + std::string(name);
}

std::vector<std::string> Scratch::Names() const
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_path)) {
        const std::u8string name = entry.path().filename().u8string();
        names.emplace_back(name.begin(), name.end());
    }
    std::sort(names.begin(), names.end());
    return names;
}

namespace {

Identity MakeIdentity(KeyType type, const char* name)
{
    Identity identity;
    identity.key = GenerateKey(type);
    Subject subject;
    subject.commonName = name;
    identity.certificate = MakeRoot(identity.key.get(), subject, 30);
    return identity;
}

}  // namespace

const Identity& Own(KeyType type)
{
    static const Identity sm2 = MakeIdentity(KeyType::Sm2, "own");
    static const Identity rsa = MakeIdentity(KeyType::Rsa, "own");
    return type == KeyType::Sm2 ? sm2 : rsa;
}

const Identity& Other(KeyType type)
{
    static const Identity sm2 = MakeIdentity(KeyType::Sm2, "other");
    static const Identity rsa = MakeIdentity(KeyType::Rsa, "other");
    return type == KeyType::Sm2 ? sm2 : rsa;
}

}  // namespace kzr::softkey::test
