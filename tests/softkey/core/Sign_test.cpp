// Raw signatures, those of the standard included, and signatures that are none.
#include "crypto/Sign.h"

#include "base/File.h"
#include "softkey/core/Support.h"

namespace kzr::softkey {
namespace {

using namespace test;

constexpr KeyType kBoth[] = {KeyType::Sm2, KeyType::Rsa};

// GB/T 32918.5: this key, the default user id and the text "message digest".
constexpr char kPublishedKey[] =
    "3041020100301306072A8648CE3D020106082A811CCF5501822D042730250201010420"
    "3945208F7B2144B13F36E38AC6D39F95889393692860B51A42FB81EF4DF7C5B8";
constexpr char kPublishedR[] = "F5A03B0648D2C4630EEAC513E1BB81A15944DA3827D5B74143AC7EACEEE720B3";
constexpr char kPublishedS[] = "B1B6AA29DF212FD8763182BC0D421CA1BB9038FD1F7F42D4840B69C485BBC1AA";
constexpr char kOrder[] = "FFFFFFFEFFFFFFFFFFFFFFFFFFFFFFFF7203DF6B21C6052B53BBF40939D54123";

// Both numbers with a leading null byte, since their first bit is set.
Bytes DerOfSignature(const std::string& r, const std::string& s)
{
    return Unhex("3046022100" + r + "022100" + s);
}

TEST(Signatures, ThePublishedSm2SignatureFits)
{
    const KeyHandle key = PrivateKeyFromDer(Unhex(kPublishedKey));
    const Bytes signature = DerOfSignature(kPublishedR, kPublishedS);
    EXPECT_TRUE(Verify(key.get(), ViewOf("message digest"), signature));
    EXPECT_FALSE(Verify(key.get(), ViewOf("message digest "), signature));
    EXPECT_FALSE(Verify(key.get(), ViewOf("message digest"), DerOfSignature(kPublishedS, kPublishedR)));
}

// Without the id, or with another, the same numbers are no signature: the digest begins with it.
TEST(Signatures, TheUserIdEntersTheSignature)
{
    const KeyHandle& key = Own(KeyType::Sm2).key;
    const Bytes signature = Sign(key.get(), ViewOf("data"));
    const auto fitsWithId = [&](std::string_view id) {
        const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                              EVP_MD_CTX_free);
        EVP_PKEY_CTX* parameters = nullptr;
        EXPECT_EQ(
            EVP_DigestVerifyInit_ex(context.get(), &parameters, "SM3", nullptr, nullptr, key.get(), nullptr),
            1);
        EXPECT_EQ(EVP_PKEY_CTX_set1_id(parameters, id.data(), static_cast<int>(id.size())), 1);
        return EVP_DigestVerify(context.get(), signature.data(), signature.size(), ViewOf("data").data(),
                                4) == 1;
    };
    EXPECT_TRUE(fitsWithId("1234567812345678"));
    EXPECT_FALSE(fitsWithId("1234567812345679"));
    EXPECT_FALSE(fitsWithId(""));
}

TEST(Signatures, FitTheirDataAndTheirKeyOnly)
{
    for (const KeyType type : kBoth) {
        const Bytes data = Noise(1000);
        const Bytes signature = Sign(Own(type).key.get(), data);
        EXPECT_TRUE(Verify(Own(type).key.get(), data, signature));
        EXPECT_TRUE(Verify(Own(type).certificate.PublicKey().get(), data, signature));
        EXPECT_FALSE(Verify(Other(type).key.get(), data, signature));
        EXPECT_FALSE(Verify(Own(type).key.get(), Changed(data, 500), signature));
        EXPECT_FALSE(Verify(Own(type).key.get(), Cut(data, 999), signature));
        EXPECT_FALSE(Verify(Own(type).key.get(), {}, signature));
        EXPECT_TRUE(Verify(Own(type).key.get(), {}, Sign(Own(type).key.get(), {})));
    }
    EXPECT_FALSE(Verify(Own(KeyType::Rsa).key.get(), {}, Sign(Own(KeyType::Sm2).key.get(), {})));
    EXPECT_FALSE(Verify(Own(KeyType::Sm2).key.get(), {}, Sign(Own(KeyType::Rsa).key.get(), {})));
}

TEST(Signatures, OfFilesAreThoseOfTheirContent)
{
    const Scratch scratch;
    const Bytes data = Noise(200'000);
    WriteWholeFile(scratch / "file", data);
    WriteWholeFile(scratch / "changed", Changed(data, 199'999));
    for (const KeyType type : kBoth) {
        const KeyHandle& key = Own(type).key;
        EXPECT_TRUE(Verify(key.get(), data, SignFile(key.get(), scratch / "file")));
        EXPECT_TRUE(VerifyFile(key.get(), scratch / "file", Sign(key.get(), data)));
        EXPECT_FALSE(VerifyFile(key.get(), scratch / "changed", Sign(key.get(), data)));
        EXPECT_EQ(CauseOf([&] { SignFile(key.get(), scratch / "none"); }), Cause::File);
        EXPECT_EQ(CauseOf([&] { VerifyFile(key.get(), scratch / "none", Sign(key.get(), data)); }),
                  Cause::File);
    }
}

TEST(Signatures, WithAnyByteChangedDoNotFit)
{
    for (const KeyType type : kBoth) {
        const KeyHandle& key = Own(type).key;
        const Bytes signature = Sign(key.get(), ViewOf("data"));
        for (std::size_t at = 0; at < signature.size(); ++at)
            for (const std::uint8_t mask : {0x01, 0x80, 0xFF})
                ASSERT_EQ(CauseOf([&] {
                              EXPECT_FALSE(Verify(key.get(), ViewOf("data"), Changed(signature, at, mask)))
                                  << at;
                          }),
                          std::nullopt);
    }
}

TEST(Signatures, CutOrLongerDoNotFit)
{
    for (const KeyType type : kBoth) {
        const KeyHandle& key = Own(type).key;
        Bytes signature = Sign(key.get(), ViewOf("data"));
        for (std::size_t size = 0; size < signature.size(); ++size)
            ASSERT_FALSE(Verify(key.get(), ViewOf("data"), Cut(signature, size))) << size;
        signature.push_back(0);
        EXPECT_FALSE(Verify(key.get(), ViewOf("data"), signature));
        signature.insert(signature.end(), 100'000, 0x30);
        EXPECT_FALSE(Verify(key.get(), ViewOf("data"), signature));
    }
}

TEST(Signatures, OfImpossibleNumbersDoNotFit)
{
    const KeyHandle key = PrivateKeyFromDer(Unhex(kPublishedKey));
    const std::string r = std::string("022100") + kPublishedR;
    const std::string s = std::string("022100") + kPublishedS;
    const std::string order = std::string("022100") + kOrder;
    const auto fits = [&key](const std::string& hex) {
        return Verify(key.get(), ViewOf("message digest"), Unhex(hex));
    };
    EXPECT_TRUE(fits("3046" + r + s));
    EXPECT_FALSE(fits("3026020100" + s)) << "r is 0";
    EXPECT_FALSE(fits("3026" + r + "020100")) << "s is 0";
    EXPECT_FALSE(fits("3006020100020100"));
    EXPECT_FALSE(fits("3046" + order + s)) << "r is the order";
    EXPECT_FALSE(fits("3046" + r + order));
    EXPECT_FALSE(fits(std::string("30450220") + kPublishedR + s)) << "r is negative";
    EXPECT_FALSE(fits("308146" + r + s)) << "the length is not in its shortest form";
    EXPECT_FALSE(fits("3047" + r + "02220000" + kPublishedS)) << "s has a null byte too many";
    EXPECT_FALSE(fits("3080" + r + s + "0000")) << "the length is left open";
    EXPECT_FALSE(fits("3049" + r + s + "020101")) << "there is a third number";
    EXPECT_FALSE(fits("3023" + r)) << "there is one number";
    EXPECT_FALSE(fits("30847FFFFFFF" + r + s));
    EXPECT_FALSE(fits(std::string(kPublishedR) + kPublishedS)) << "the numbers alone";
}

TEST(Signatures, OfNoiseDoNotFit)
{
    for (const KeyType type : kBoth)
        for (unsigned seed = 0; seed < 300; ++seed)
            ASSERT_FALSE(Verify(Own(type).key.get(), ViewOf("data"), Noise(seed, seed)));
}

TEST(Signatures, OfOthersAreCheckedWithTheDigestTheyName)
{
    const KeyHandle& key = Own(KeyType::Rsa).key;
    for (const char* digest : {"SHA256", "SHA384", "SHA512"}) {
        const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                              EVP_MD_CTX_free);
        ASSERT_EQ(EVP_DigestSignInit_ex(context.get(), nullptr, digest, nullptr, nullptr, key.get(), nullptr),
                  1);
        Bytes signature(256);
        std::size_t size = signature.size();
        ASSERT_EQ(EVP_DigestSign(context.get(), signature.data(), &size, ViewOf("data").data(), 4), 1);
        for (const char* named : {"SHA256", "SHA384", "SHA512"})
            EXPECT_EQ(VerifyWithDigest(key.get(), named, ViewOf("data"), signature),
                      named == std::string_view(digest));
    }
    EXPECT_EQ(CauseOf([&] { VerifyWithDigest(key.get(), "no such digest", ViewOf("data"), {}); }),
              Cause::Crypto);
}

}  // namespace
}  // namespace kzr::softkey
