// Digests by their published vectors, and random bytes.
#include "crypto/Digest.h"

#include <set>

#include "base/Base64.h"
#include "base/File.h"
#include "softkey/core/Support.h"

namespace kzr::softkey {
namespace {

using namespace test;

struct Row {
    HashCode code;
    std::string data;
    const char* digest;
};

std::vector<Row> Rows()
{
    std::string abcd;
    for (int i = 0; i < 16; ++i) abcd += "abcd";
    return {
        // GB/T 32905
        {HashCode::Sm3, "abc", "66C7F0F462EEEDD9D1F2D46BDC10E4E24167C4875CF2F7A2297DA02B8F4BA8E0"},
        {HashCode::Sm3, abcd, "DEBE9FF92275B8A138604889C18E5A4D6FDB70E5387E5765293DCBA39C0C5732"},
        // FIPS 180
        {HashCode::Sha1, "abc", "A9993E364706816ABA3E25717850C26C9CD0D89D"},
        {HashCode::Sha1, "", "DA39A3EE5E6B4B0D3255BFEF95601890AFD80709"},
        {HashCode::Sha256, "abc", "BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD"},
        {HashCode::Sha256, "", "E3B0C44298FC1C149AFBF4C8996FB92427AE41E4649B934CA495991B7852B855"},
        {HashCode::Sha512, "abc",
         "DDAF35A193617ABACC417349AE20413112E6FA4E89A97EA20A9EEEE64B55D39A"
         "2192992A274FC1A836BA3C23A3FEEBBD454D4423643CE80E2A9AC94FA54CA49F"},
    };
}

TEST(Digest, IsThePublishedOne)
{
    for (const Row& row : Rows())
        EXPECT_EQ(HexUpper(Digest(row.code, ViewOf(row.data))), row.digest) << row.data;
}

TEST(Digest, OfAFileIsThatOfItsContent)
{
    const Scratch scratch;
    for (const Row& row : Rows()) {
        WriteWholeFile(scratch / "file", ViewOf(row.data));
        EXPECT_EQ(HexUpper(DigestFile(row.code, scratch / "file")), row.digest) << row.data;
    }
    // Its pieces count in their order.
    const Bytes content = Noise(200'000);
    WriteWholeFile(scratch / "file", content);
    for (const HashCode code : {HashCode::Sm3, HashCode::Sha1, HashCode::Sha256, HashCode::Sha512})
        EXPECT_EQ(DigestFile(code, scratch / "file"), Digest(code, content));
    EXPECT_EQ(CauseOf([&] { DigestFile(HashCode::Sm3, scratch / "none"); }), Cause::File);
}

TEST(Digest, HasFourCodes)
{
    EXPECT_EQ(HashCodeOf(1), HashCode::Sm3);
    EXPECT_EQ(HashCodeOf(2), HashCode::Sha1);
    EXPECT_EQ(HashCodeOf(4), HashCode::Sha256);
    EXPECT_EQ(HashCodeOf(8), HashCode::Sha512);
    for (const int code : {-1, 0, 3, 5, 6, 7, 9, 16, 0x401, INT32_MAX, INT32_MIN})
        EXPECT_EQ(CauseOf([code] { HashCodeOf(code); }), Cause::Unsupported) << code;
    EXPECT_EQ(CauseOf([] { Digest(static_cast<HashCode>(3), {}); }), Cause::Unsupported);
}

TEST(RandomBytes, Are1To65536)
{
    EXPECT_EQ(RandomBytes(1).size(), 1u);
    EXPECT_EQ(RandomBytes(65536).size(), 65536u);
    for (const int count : {0, -1, 65537, INT32_MAX, INT32_MIN})
        EXPECT_EQ(CauseOf([count] { RandomBytes(count); }), Cause::BadArgument) << count;
}

TEST(RandomBytes, DoNotRepeat)
{
    std::set<Bytes> seen;
    for (int i = 0; i < 1000; ++i) EXPECT_TRUE(seen.insert(RandomBytes(16)).second);
    // Every value comes up among many.
    const Bytes many = RandomBytes(65536);
    EXPECT_EQ(std::set<std::uint8_t>(many.begin(), many.end()).size(), 256u);
}

}  // namespace
}  // namespace kzr::softkey
