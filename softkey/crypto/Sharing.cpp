// Secret sharing. Every byte of the secret and of its check value is the constant term of a polynomial of
// degree needed-1 over GF(256), and share number x holds the polynomials' values at x. What makes the first
// shares indispensable is a mask each, random and as long as the secret: the polynomials run through the
// secret under all masks.
//
// A share in bytes, then Base64:
//   "KSS1"  set id (8)  count  needed  mandatory  number  [mask]  values  check value of the share (4)
#include "crypto/Sharing.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "base/Base64.h"
#include "base/Failure.h"
#include "crypto/Digest.h"
#include "crypto/Keys.h"

namespace kzr::softkey {

namespace {

constexpr std::string_view kMagic = "KSS1";
constexpr std::size_t kSetIdSize = 8;
constexpr std::size_t kHeaderSize = 4 + kSetIdSize + 4;
constexpr std::size_t kShareCheckSize = 4;
constexpr std::size_t kSecretCheckSize = 32;
// Time and memory grow with the square of the number of shares.
constexpr std::size_t kLongestSecret = 65536;
constexpr std::size_t kMostShares = 255;

std::uint8_t Double(std::uint8_t value)
{
    return static_cast<std::uint8_t>(value << 1 ^ (value >> 7) * 0x1B);
}

// Of each of the eight bytes.
std::uint64_t DoubleAll(std::uint64_t bytes)
{
    constexpr std::uint64_t kOnes = 0x0101010101010101;
    return (bytes & kOnes * 0x7F) << 1 ^ (bytes >> 7 & kOnes) * 0x1B;
}

// row *= factor. The time depends on the factor alone, which is a share's number and no secret. Eight bytes
// at a time, since the largest secret in the most shares takes four thousand million products.
void Multiply(Secret& row, std::uint8_t factor)
{
    for (std::size_t at = 0; at < row.size(); at += sizeof(std::uint64_t)) {
        const std::size_t size = std::min(sizeof(std::uint64_t), row.size() - at);
        std::uint64_t power = 0;
        std::memcpy(&power, row.data() + at, size);
        std::uint64_t product = 0;
        for (std::uint8_t rest = factor; rest != 0; rest >>= 1) {
            if (rest & 1) product ^= power;
            power = DoubleAll(power);
        }
        std::memcpy(row.data() + at, &product, size);
    }
}

void Add(Secret& row, View other)
{
    for (std::size_t i = 0; i < row.size(); ++i) row[i] ^= other[i];
}

std::uint8_t Product(std::uint8_t a, std::uint8_t b)
{
    std::uint8_t product = 0;
    for (; b != 0; b >>= 1, a = Double(a))
        if (b & 1) product ^= a;
    return product;
}

// The inverse is the 254th power.
std::uint8_t Quotient(std::uint8_t a, std::uint8_t b)
{
    for (int i = 0; i < 254; ++i) a = Product(a, b);
    return a;
}

Secret RandomRow(std::size_t size)
{
    Secret row(size);
    if (RAND_priv_bytes(row.data(), static_cast<int>(size)) != 1) ThrowCrypto("making random bytes");
    return row;
}

Failure BadShares(const char* why) { return Failure(Cause::BadData, std::string("shares: ") + why); }

struct Share {
    std::array<std::uint8_t, kSetIdSize> set;
    std::uint8_t count, needed, mandatory, number;
    Secret mask;  // of the mandatory ones
    Secret values;

    bool IsMandatory() const { return number <= mandatory; }
};

std::string TextOfShare(const Share& share)
{
    Secret bytes(kMagic.begin(), kMagic.end());
    bytes.insert(bytes.end(), share.set.begin(), share.set.end());
    bytes.insert(bytes.end(), {share.count, share.needed, share.mandatory, share.number});
    bytes.insert(bytes.end(), share.mask.begin(), share.mask.end());
    bytes.insert(bytes.end(), share.values.begin(), share.values.end());
    const Bytes check = Digest(HashCode::Sha256, bytes);
    bytes.insert(bytes.end(), check.begin(), check.begin() + kShareCheckSize);
    return Base64Encode(bytes);
}

Share ShareOfText(std::string_view text)
{
    const Bytes decoded = Base64Decode(text);
    const Secret bytes(decoded.begin(), decoded.end());
    if (bytes.size() < kHeaderSize + kShareCheckSize ||
        !std::equal(kMagic.begin(), kMagic.end(), bytes.begin()))
        throw BadShares("one of the texts is no share");
    const View body = View(bytes).first(bytes.size() - kShareCheckSize);
    const Bytes check = Digest(HashCode::Sha256, body);
    if (!std::equal(check.begin(), check.begin() + kShareCheckSize, bytes.end() - kShareCheckSize))
        throw BadShares("one was changed");

    Share share;
    std::copy_n(body.begin() + kMagic.size(), kSetIdSize, share.set.begin());
    const View numbers = body.subspan(kMagic.size() + kSetIdSize, 4);
    share.count = numbers[0];
    share.needed = numbers[1];
    share.mandatory = numbers[2];
    share.number = numbers[3];
    if (share.needed < 1 || share.needed > share.count || share.mandatory > share.needed ||
        share.number < 1 || share.number > share.count)
        throw BadShares("one has impossible numbers");
    const View rows = body.subspan(kHeaderSize);
    const std::size_t size = share.IsMandatory() ? rows.size() / 2 : rows.size();
    if (share.IsMandatory() && rows.size() % 2 != 0) throw BadShares("one has the wrong length");
    if (size <= kSecretCheckSize || size > kLongestSecret + kSecretCheckSize)
        throw BadShares("one has the wrong length");
    share.values.assign(rows.end() - static_cast<std::ptrdiff_t>(size), rows.end());
    if (share.IsMandatory())
        share.mask.assign(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(size));
    return share;
}

// All of one set, none twice, enough, and none of the mandatory ones missing.
void CheckSet(const std::vector<Share>& shares)
{
    const Share& first = shares.front();
    std::array<bool, kMostShares + 1> seen{};
    for (const Share& share : shares) {
        if (share.set != first.set || share.count != first.count || share.needed != first.needed ||
            share.mandatory != first.mandatory || share.values.size() != first.values.size())
            throw BadShares("they are of different sets");
        if (std::exchange(seen[share.number], true)) throw BadShares("one is there twice");
    }
    if (shares.size() < first.needed) throw BadShares("too few");
    for (std::size_t number = 1; number <= first.mandatory; ++number)
        if (!seen[number]) throw BadShares("an indispensable one is missing");
}

// The polynomials' value at 0, by Lagrange, from the first `needed` shares.
Secret ValueAtZero(const std::vector<Share>& shares)
{
    const std::size_t needed = shares.front().needed;
    Secret sum(shares.front().values.size());
    for (std::size_t i = 0; i < needed; ++i) {
        std::uint8_t above = 1;
        std::uint8_t below = 1;
        for (std::size_t j = 0; j < needed; ++j) {
            if (j == i) continue;
            above = Product(above, shares[j].number);
            below = Product(below, shares[j].number ^ shares[i].number);
        }
        Secret term = shares[i].values;
        Multiply(term, Quotient(above, below));
        Add(sum, term);
    }
    return sum;
}

}  // namespace

std::vector<std::string> SplitSecret(View secret, int count, int needed, int mandatory)
{
    if (mandatory < 0 || needed < 1 || mandatory > needed || needed > count ||
        count > static_cast<int>(kMostShares))
        throw Failure(Cause::BadArgument, "shares: 0 <= mandatory <= needed <= count <= 255, needed >= 1");
    if (secret.empty() || secret.size() > kLongestSecret)
        throw Failure(Cause::BadArgument, "shares: the secret has 1 to 65536 bytes");

    // The check value is shared with the secret: in the open it would let a guess be tried.
    const Bytes check = Digest(HashCode::Sha256, secret);
    Secret constant(secret.begin(), secret.end());
    constant.insert(constant.end(), check.begin(), check.end());

    std::vector<Secret> masks;
    for (int i = 0; i < mandatory; ++i) {
        masks.push_back(RandomRow(constant.size()));
        Add(constant, masks.back());
    }
    std::vector<Secret> coefficients;  // of x, x^2, ...
    for (int i = 1; i < needed; ++i) coefficients.push_back(RandomRow(constant.size()));

    Share share;
    const Bytes set = RandomBytes(kSetIdSize);
    std::copy(set.begin(), set.end(), share.set.begin());
    share.count = static_cast<std::uint8_t>(count);
    share.needed = static_cast<std::uint8_t>(needed);
    share.mandatory = static_cast<std::uint8_t>(mandatory);
    std::vector<std::string> texts;
    for (int number = 1; number <= count; ++number) {
        share.number = static_cast<std::uint8_t>(number);
        share.mask = share.IsMandatory() ? masks[static_cast<std::size_t>(number) - 1] : Secret();
        share.values.assign(constant.size(), 0);
        for (auto row = coefficients.rbegin(); row != coefficients.rend(); ++row) {
            Add(share.values, *row);
            Multiply(share.values, share.number);
        }
        Add(share.values, constant);
        texts.push_back(TextOfShare(share));
    }
    return texts;
}

Secret RecoverSecret(const std::vector<std::string>& texts)
{
    if (texts.empty()) throw BadShares("there is none");
    if (texts.size() > kMostShares) throw BadShares("too many");
    std::vector<Share> shares;
    for (const std::string& text : texts) shares.push_back(ShareOfText(text));
    CheckSet(shares);

    Secret secret = ValueAtZero(shares);
    for (const Share& share : shares)
        if (share.IsMandatory()) Add(secret, share.mask);
    const View checked = View(secret).first(secret.size() - kSecretCheckSize);
    const Bytes check = Digest(HashCode::Sha256, checked);
    if (CRYPTO_memcmp(check.data(), checked.data() + checked.size(), kSecretCheckSize) != 0)
        throw BadShares("they do not fit together");
    secret.resize(checked.size());
    return secret;
}

}  // namespace kzr::softkey
