// Secret sharing: who can and who cannot, for every small set; and shares that are none.
#include "crypto/Sharing.h"

#include <algorithm>
#include <bit>
#include <set>

#include "base/Base64.h"
#include "crypto/Digest.h"
#include "softkey/core/Support.h"

namespace kzr::softkey {
namespace {

using namespace test;

std::vector<std::string> Some(const std::vector<std::string>& shares, unsigned chosen)
{
    std::vector<std::string> some;
    for (std::size_t i = 0; i < shares.size(); ++i)
        if (chosen >> i & 1) some.push_back(shares[i]);
    return some;
}

TEST(Sharing, ExactlyTheRightOnesRecoverTheSecret)
{
    for (int count = 1; count <= 5; ++count)
        for (int needed = 1; needed <= count; ++needed)
            for (int mandatory = 0; mandatory <= needed; ++mandatory) {
                const auto shares = SplitSecret(ViewOf("a secret"), count, needed, mandatory);
                ASSERT_EQ(shares.size(), static_cast<std::size_t>(count));
                const unsigned indispensable = (1u << mandatory) - 1;
                for (unsigned chosen = 0; chosen < 1u << count; ++chosen) {
                    const bool enough =
                        std::popcount(chosen) >= needed && (chosen & indispensable) == indispensable;
                    std::string recovered;
                    const auto cause =
                        CauseOf([&] { recovered = StringOf(RecoverSecret(Some(shares, chosen))); });
                    ASSERT_EQ(cause, enough ? std::nullopt : std::optional(Cause::BadData))
                        << count << " " << needed << " " << mandatory << " " << chosen;
                    ASSERT_EQ(recovered, enough ? "a secret" : "");
                }
            }
}

TEST(Sharing, TheOrderDoesNotMatter)
{
    auto shares = SplitSecret(ViewOf("a secret"), 5, 4, 2);
    shares.erase(shares.begin() + 2);
    std::sort(shares.begin(), shares.end());
    do {
        ASSERT_EQ(StringOf(RecoverSecret(shares)), "a secret");
    } while (std::next_permutation(shares.begin(), shares.end()));
}

TEST(Sharing, SecretsAreAnyBytesOf1To65536)
{
    for (const std::size_t size : {1, 2, 32, 1000, 65536})
        for (const Bytes& secret : {Noise(size), Bytes(size, 0), Bytes(size, 0xFF)})
            EXPECT_TRUE(std::ranges::equal(RecoverSecret(SplitSecret(secret, 3, 2, 1)), secret)) << size;
    EXPECT_EQ(CauseOf([] { SplitSecret({}, 3, 2, 1); }), Cause::BadArgument);
    EXPECT_EQ(CauseOf([] { SplitSecret(Bytes(65537), 3, 2, 1); }), Cause::BadArgument);
}

TEST(Sharing, ThereMayBe255Shares)
{
    auto shares = SplitSecret(ViewOf("a secret"), 255, 255, 255);
    EXPECT_EQ(StringOf(RecoverSecret(shares)), "a secret");
    shares.erase(shares.begin() + 100);
    EXPECT_EQ(CauseOf([&] { RecoverSecret(shares); }), Cause::BadData);
    shares = SplitSecret(ViewOf("a secret"), 255, 2, 0);
    EXPECT_EQ(StringOf(RecoverSecret({shares[254], shares[127]})), "a secret");
    EXPECT_EQ(StringOf(RecoverSecret(shares)), "a secret") << "more than needed";
}

TEST(Sharing, ImpossibleNumbersAreRefused)
{
    constexpr int kRows[][3] = {{0, 0, 0},         {1, 0, 0},        {1, 2, 0},   {3, 2, 3},
                                {3, 2, -1},        {-1, -1, 0},      {256, 2, 0}, {256, 256, 0},
                                {INT32_MAX, 2, 1}, {2, INT32_MIN, 1}};
    for (const auto& [count, needed, mandatory] : kRows)
        EXPECT_EQ(CauseOf([&, c = count, n = needed, m = mandatory] { SplitSecret(ViewOf("s"), c, n, m); }),
                  Cause::BadArgument)
            << count << " " << needed << " " << mandatory;
}

TEST(Sharing, SharesAreTextWithoutBlanksAndDifferentEveryTime)
{
    std::set<std::string> seen;
    for (int i = 0; i < 20; ++i)
        for (const std::string& share : SplitSecret(ViewOf("a secret"), 4, 2, 1)) {
            EXPECT_EQ(share.find_first_of(" \t\r\n&|;,"), std::string::npos);
            EXPECT_TRUE(seen.insert(share).second);
        }
}

// One share too few leaves every value of the secret possible: seen in a byte that takes all of them.
TEST(Sharing, TooFewSharesTellNothing)
{
    for (const int mandatory : {0, 2}) {
        std::set<std::uint8_t> seen;
        for (int i = 0; i < 4000 && seen.size() < 256; ++i)
            // The first byte of the value stands behind header and mask.
            seen.insert(Base64Decode(SplitSecret(ViewOf("x"), 2, 2, mandatory)[1])[mandatory ? 16 + 33 : 16]);
        EXPECT_EQ(seen.size(), 256u);
    }
}

TEST(Sharing, NoByteOfAShareMayChange)
{
    const auto shares = SplitSecret(ViewOf("a secret"), 3, 2, 1);
    for (const std::size_t which : {0, 1}) {
        const Bytes share = Base64Decode(shares[which]);
        for (std::size_t at = 0; at < share.size(); ++at) {
            auto changed = shares;
            changed[which] = Base64Encode(Changed(share, at));
            ASSERT_EQ(CauseOf([&] { RecoverSecret({changed[0], changed[1]}); }), Cause::BadData) << at;
        }
        for (std::size_t size = 0; size < share.size(); ++size)
            ASSERT_EQ(CauseOf([&] {
                          RecoverSecret({Base64Encode(Cut(share, size)), shares[2]});
                      }),
                      Cause::BadData)
                << size;
    }
}

// Whoever forges a share can make its own check value fit.
std::string Forged(Bytes share)
{
    share.resize(share.size() - 4);
    const Bytes check = Digest(HashCode::Sha256, share);
    share.insert(share.end(), check.begin(), check.begin() + 4);
    return Base64Encode(share);
}

TEST(Sharing, AForgedShareIsFoundByTheCheckValueOfTheSecret)
{
    const auto shares = SplitSecret(ViewOf("a secret"), 3, 2, 1);
    const Bytes first = Base64Decode(shares[0]);
    const Bytes second = Base64Decode(shares[1]);
    ASSERT_EQ(Forged(second), shares[1]) << "the test forges wrongly";
    for (std::size_t at = 0; at < second.size() - 4; ++at)
        ASSERT_EQ(CauseOf([&] {
                      RecoverSecret({shares[0], Forged(Changed(second, at))});
                  }),
                  Cause::BadData)
            << at;
    for (std::size_t at = 0; at < first.size() - 4; ++at)
        ASSERT_EQ(CauseOf([&] {
                      RecoverSecret({Forged(Changed(first, at)), shares[1]});
                  }),
                  Cause::BadData)
            << at;
    for (std::size_t size = 4; size < first.size() - 1; ++size)
        ASSERT_EQ(CauseOf([&] {
                      RecoverSecret({Forged(Cut(first, size)), shares[1]});
                  }),
                  Cause::BadData)
            << size;
}

TEST(Sharing, MixedRepeatedAndForeignSharesAreRefused)
{
    const auto shares = SplitSecret(ViewOf("a secret"), 3, 2, 0);
    const auto others = SplitSecret(ViewOf("a secret"), 3, 2, 0);
    EXPECT_EQ(CauseOf([&] { RecoverSecret({shares[0], others[1]}); }), Cause::BadData);
    EXPECT_EQ(CauseOf([&] { RecoverSecret({shares[0], shares[1], others[2]}); }), Cause::BadData);
    EXPECT_EQ(CauseOf([&] { RecoverSecret({shares[0], shares[0]}); }), Cause::BadData);
    EXPECT_EQ(CauseOf([&] { RecoverSecret({shares[0], shares[1], shares[0]}); }), Cause::BadData);
    EXPECT_EQ(CauseOf([&] { RecoverSecret({shares[0], ""}); }), Cause::BadData);
    EXPECT_EQ(CauseOf([&] { RecoverSecret({shares[0], "no share"}); }), Cause::BadData);
    EXPECT_EQ(CauseOf([&] { RecoverSecret({shares[0], Base64Encode(Noise(100))}); }), Cause::BadData);
    EXPECT_EQ(CauseOf([] { RecoverSecret({}); }), Cause::BadData);
    EXPECT_EQ(CauseOf([&] { RecoverSecret(std::vector<std::string>(256, shares[0])); }), Cause::BadData);
}

}  // namespace
}  // namespace kzr::softkey
