// Encrypted text and files: the published vectors of what they are made of, a reading of the format that
// shares nothing with its writer, and every byte changed or missing.
#include "crypto/Symmetric.h"

#include <openssl/evp.h>

#include <algorithm>

#include "base/Base64.h"
#include "base/File.h"
#include "crypto/Digest.h"
#include "softkey/core/Support.h"

namespace kzr::softkey {
namespace {

using namespace test;

constexpr CipherCode kCodes[] = {CipherCode::Sm4CtrOld, CipherCode::Sm4Cbc, CipherCode::Sm4Ctr,
                                 CipherCode::Aes256Ctr, CipherCode::Aes256Cbc};

constexpr std::size_t kHeader = 38;
constexpr std::size_t kMac = 32;

// HMAC and PBKDF2 by their definitions.
Bytes Hmac(HashCode code, Bytes key, View data)
{
    key.resize(64);
    Bytes inner;
    Bytes outer;
    for (const std::uint8_t byte : key) {
        inner.push_back(byte ^ 0x36);
        outer.push_back(byte ^ 0x5C);
    }
    inner.insert(inner.end(), data.begin(), data.end());
    const Bytes digest = Digest(code, inner);
    outer.insert(outer.end(), digest.begin(), digest.end());
    return Digest(code, outer);
}

Bytes FirstBlockOfPbkdf2(HashCode code, const Bytes& password, Bytes salt, int iterations)
{
    salt.insert(salt.end(), {0, 0, 0, 1});
    Bytes round = Hmac(code, password, salt);
    Bytes sum = round;
    for (int i = 1; i < iterations; ++i) {
        round = Hmac(code, password, round);
        for (std::size_t at = 0; at < sum.size(); ++at) sum[at] ^= round[at];
    }
    return sum;
}

// One block of the bare cipher.
Bytes Block(const EVP_CIPHER* cipher, const Bytes& key, const Bytes& block, bool encrypt)
{
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(EVP_CIPHER_CTX_new(),
                                                                                  EVP_CIPHER_CTX_free);
    EXPECT_EQ(EVP_CipherInit_ex2(context.get(), cipher, key.data(), nullptr, encrypt, nullptr), 1);
    EVP_CIPHER_CTX_set_padding(context.get(), 0);
    Bytes output(32);
    int size = 0;
    EXPECT_EQ(EVP_CipherUpdate(context.get(), output.data(), &size, block.data(), 16), 1);
    output.resize(static_cast<std::size_t>(size));
    return output;
}

Bytes Part(const Bytes& bytes, std::size_t from, std::size_t size)
{
    return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(from),
                 bytes.begin() + static_cast<std::ptrdiff_t>(from + size));
}

Bytes Xor(Bytes a, const Bytes& b)
{
    for (std::size_t i = 0; i < a.size(); ++i) a[i] ^= b[i];
    return a;
}

Bytes RunCtr(const EVP_CIPHER* cipher, const Bytes& key, Bytes counter, const Bytes& data)
{
    Bytes output;
    for (std::size_t at = 0; at < data.size(); at += 16) {
        const Bytes piece = Part(data, at, std::min<std::size_t>(16, data.size() - at));
        const Bytes result = Xor(piece, Block(cipher, key, counter, true));
        output.insert(output.end(), result.begin(), result.end());
        for (std::size_t digit = 16; digit-- > 0 && ++counter[digit] == 0;) continue;
    }
    return output;
}

Bytes UndoCbc(const EVP_CIPHER* cipher, const Bytes& key, Bytes before, const Bytes& data)
{
    Bytes output;
    for (std::size_t at = 0; at < data.size(); at += 16) {
        const Bytes piece = Part(data, at, 16);
        const Bytes result = Xor(Block(cipher, key, piece, false), before);
        output.insert(output.end(), result.begin(), result.end());
        before = piece;
    }
    output.resize(output.size() - output.back());
    return output;
}

// Reads the container as its description has it.
Bytes ReadByHand(std::string_view keyText, const Bytes& container)
{
    EXPECT_EQ(StringOf(Part(container, 0, 4)), "KSE1");
    const int code = container[4] << 8 | container[5];
    const bool sm4 = code < 0x1000;
    const bool cbc = code == 0x402 || code == 0x1002;
    const HashCode hash = sm4 ? HashCode::Sm3 : HashCode::Sha256;
    const EVP_CIPHER* cipher = sm4 ? EVP_sm4_ecb() : EVP_aes_256_ecb();
    const Bytes master = FirstBlockOfPbkdf2(hash, BytesOf(keyText), Part(container, 6, 16), 20'000);
    Bytes key = Hmac(hash, master, ViewOf("encrypt"));
    key.resize(sm4 ? 16 : 32);
    const Bytes signedPart = Cut(container, container.size() - kMac);
    EXPECT_EQ(Hmac(hash, Hmac(hash, master, ViewOf("authenticate")), signedPart),
              Part(container, container.size() - kMac, kMac));
    const Bytes iv = Part(container, 22, 16);
    const Bytes encrypted = Part(container, kHeader, container.size() - kHeader - kMac);
    return cbc ? UndoCbc(cipher, key, iv, encrypted) : RunCtr(cipher, key, iv, encrypted);
}

// RFC 4231 and the vectors in common use for PBKDF2 with SHA-256.
TEST(SymmetricParts, HmacAndPbkdf2ArePublished)
{
    EXPECT_EQ(HexUpper(Hmac(HashCode::Sha256, BytesOf("Jefe"), ViewOf("what do ya want for nothing?"))),
              "5BDCC146BF60754E6A042426089575C75A003F089D2739839DEC58B964EC3843");
    EXPECT_EQ(HexUpper(FirstBlockOfPbkdf2(HashCode::Sha256, BytesOf("password"), BytesOf("salt"), 1)),
              "120FB6CFFCF8B32C43E7225256C4F837A86548C92CCC35480805987CB70BE17B");
    EXPECT_EQ(HexUpper(FirstBlockOfPbkdf2(HashCode::Sha256, BytesOf("password"), BytesOf("salt"), 4096)),
              "C5E478D59288C841AA530DB6845C4C8D962893A001CE4E11A4963873AA98134A");
}

// GB/T 32907, both examples.
TEST(SymmetricParts, Sm4IsPublished)
{
    const Bytes key = Unhex("0123456789ABCDEFFEDCBA9876543210");
    EXPECT_EQ(HexUpper(Block(EVP_sm4_ecb(), key, key, true)), "681EDF34D206965E86B3E94F536E4246");
    Bytes block = key;
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(EVP_CIPHER_CTX_new(),
                                                                                  EVP_CIPHER_CTX_free);
    ASSERT_EQ(EVP_CipherInit_ex2(context.get(), EVP_sm4_ecb(), key.data(), nullptr, 1, nullptr), 1);
    int size = 0;
    for (int i = 0; i < 1'000'000; ++i)
        EVP_CipherUpdate(context.get(), block.data(), &size, block.data(), 16);
    EXPECT_EQ(HexUpper(block), "595298C7C6FD271F0402F804C33D3F66");
}

// The modes of the reader below, by vectors that were published for SM4.
TEST(SymmetricParts, Sm4InItsModesIsPublished)
{
    const Bytes key = Unhex("0123456789ABCDEFFEDCBA9876543210");
    const Bytes iv = Unhex("000102030405060708090A0B0C0D0E0F");
    EXPECT_EQ(HexUpper(RunCtr(EVP_sm4_ecb(), key, iv,
                              Unhex("AAAAAAAAAAAAAAAABBBBBBBBBBBBBBBBCCCCCCCCCCCCCCCCDDDDDDDDDDDDDDDD"
                                    "EEEEEEEEEEEEEEEEFFFFFFFFFFFFFFFFAAAAAAAAAAAAAAAABBBBBBBBBBBBBBBB"))),
              "AC3236CB970CC20791364C395A1342D1A3CBC1878C6F30CD074CCE385CDD70C7"
              "F234BC0E24C11980FD1286310CE37B926E02FCD0FAA0BAF38B2933851D824514");
    // Its last byte stands where the reader looks for padding, and is none: 0xBB bytes are more than there
    // are.
    const Bytes first = Xor(Block(EVP_sm4_ecb(), key, Unhex("78EBB11CC40B0A48312AAEB2040244CB"), false), iv);
    EXPECT_EQ(HexUpper(first), "AAAAAAAABBBBBBBBCCCCCCCCDDDDDDDD");
}

TEST(Symmetric, TheFormatIsWhatItsDescriptionSays)
{
    for (const CipherCode code : kCodes)
        for (const std::size_t size : {0, 33}) {
            const Bytes data = Noise(size);
            const Bytes container = SymEncrypt(code, ViewOf("key text"), data);
            EXPECT_EQ(container[4] << 8 | container[5], static_cast<int>(code));
            EXPECT_EQ(ReadByHand("key text", container), data) << static_cast<int>(code) << " " << size;
        }
}

TEST(Symmetric, WhatIsEncryptedIsDecrypted)
{
    for (const CipherCode code : kCodes)
        for (const std::size_t size : {0, 1, 15, 16, 17, 65535, 65536, 65537, 300'000}) {
            const Bytes data = Noise(size);
            const Secret back = SymDecrypt(ViewOf("key"), SymEncrypt(code, ViewOf("key"), data));
            EXPECT_TRUE(std::ranges::equal(back, data)) << static_cast<int>(code) << " " << size;
        }
}

TEST(Symmetric, KeyTextsMayBeEmptyLongOrAnyBytes)
{
    for (const std::string& text : {std::string(), std::string("\0", 1), std::string(100'000, 'k'),
                                    std::string("\xE5\xAF\x86\xE7\xA0\x81")}) {
        const Bytes container = SymEncrypt(CipherCode::Sm4Ctr, ViewOf(text), ViewOf("data"));
        EXPECT_EQ(StringOf(SymDecrypt(ViewOf(text), container)), "data");
        EXPECT_EQ(CauseOf([&] { SymDecrypt(ViewOf(text + "x"), container); }), Cause::BadData);
    }
}

TEST(Symmetric, TheSameDataLooksDifferentEveryTime)
{
    for (const CipherCode code : kCodes) {
        const Bytes one = SymEncrypt(code, ViewOf("key"), Bytes(64));
        const Bytes two = SymEncrypt(code, ViewOf("key"), Bytes(64));
        EXPECT_NE(Part(one, 6, 16), Part(two, 6, 16)) << "the salt";
        EXPECT_NE(Part(one, 22, 16), Part(two, 22, 16)) << "the IV";
        EXPECT_NE(Part(one, kHeader, 64), Part(two, kHeader, 64)) << "the ciphertext";
    }
}

TEST(Symmetric, HasFiveCodes)
{
    for (const int code : {0x401, 0x402, 0x801, 0x1001, 0x1002})
        EXPECT_EQ(static_cast<int>(CipherCodeOf(code)), code);
    for (const int code : {-1, 0, 1, 0x400, 0x403, 0x802, 0x1000, 0x1003, INT32_MAX, INT32_MIN})
        EXPECT_EQ(CauseOf([code] { CipherCodeOf(code); }), Cause::Unsupported) << code;
    EXPECT_EQ(CauseOf([] { SymEncrypt(static_cast<CipherCode>(7), {}, {}); }), Cause::Unsupported);
}

TEST(Symmetric, AWrongKeyOpensNothing)
{
    for (const CipherCode code : {CipherCode::Sm4Cbc, CipherCode::Aes256Ctr}) {
        const Bytes container = SymEncrypt(code, ViewOf("key"), ViewOf("data"));
        for (const char* wrong : {"", "kez", "ke", "key ", "KEY"})
            EXPECT_EQ(CauseOf([&] { SymDecrypt(ViewOf(wrong), container); }), Cause::BadData) << wrong;
    }
}

TEST(Symmetric, NoByteMayChange)
{
    for (const CipherCode code : {CipherCode::Sm4Cbc, CipherCode::Aes256Ctr}) {
        const Bytes container = SymEncrypt(code, ViewOf("key"), ViewOf("data"));
        for (std::size_t at = 0; at < container.size(); ++at)
            ASSERT_EQ(CauseOf([&] { SymDecrypt(ViewOf("key"), Changed(container, at)); }), Cause::BadData)
                << at;
    }
}

// The code is under the check value too: no other of the same kind may stand in its place.
TEST(Symmetric, TheCodeMayNotBeExchanged)
{
    for (const CipherCode code : kCodes)
        for (const CipherCode other : kCodes) {
            Bytes container = SymEncrypt(code, ViewOf("key"), Noise(32));
            container[4] = static_cast<std::uint8_t>(static_cast<int>(other) >> 8);
            container[5] = static_cast<std::uint8_t>(static_cast<int>(other));
            const auto cause = CauseOf([&] { SymDecrypt(ViewOf("key"), container); });
            EXPECT_EQ(cause, code == other ? std::nullopt : std::optional(Cause::BadData));
        }
}

TEST(Symmetric, NothingMayBeMissingOrFollow)
{
    for (const CipherCode code : {CipherCode::Sm4Ctr, CipherCode::Aes256Cbc}) {
        Bytes container = SymEncrypt(code, ViewOf("key"), ViewOf("data"));
        for (std::size_t size = 0; size < container.size(); ++size)
            ASSERT_EQ(CauseOf([&] { SymDecrypt(ViewOf("key"), Cut(container, size)); }), Cause::BadData)
                << size;
        container.push_back(0);
        EXPECT_EQ(CauseOf([&] { SymDecrypt(ViewOf("key"), container); }), Cause::BadData);
    }
    for (unsigned seed = 0; seed < 200; ++seed)
        ASSERT_EQ(CauseOf([&] { SymDecrypt(ViewOf("key"), Noise(seed, seed)); }), Cause::BadData);
}

TEST(SymmetricFiles, AreReadAsWhatIsInMemoryIs)
{
    const Scratch scratch;
    for (const CipherCode code : {CipherCode::Sm4Cbc, CipherCode::Aes256Ctr})
        for (const std::size_t size : {0, 1, 65536 - 38, 65536, 65536 + 38, 300'000}) {
            const Bytes data = Noise(size);
            WriteWholeFile(scratch / "in", data);
            SymEncryptFile(code, ViewOf("key"), scratch / "in", scratch / "encrypted");
            EXPECT_TRUE(
                std::ranges::equal(SymDecrypt(ViewOf("key"), ReadWholeFile(scratch / "encrypted")), data));
            WriteWholeFile(scratch / "encrypted", SymEncrypt(code, ViewOf("key"), data));
            SymDecryptFile(ViewOf("key"), scratch / "encrypted", scratch / "out");
            EXPECT_EQ(ReadWholeFile(scratch / "out"), data) << static_cast<int>(code) << " " << size;
        }
    EXPECT_EQ(scratch.Names(), (std::vector<std::string>{"encrypted", "in", "out"}));
}

TEST(SymmetricFiles, MayBecomeThemselves)
{
    const Scratch scratch;
    const Bytes data = Noise(200'000);
    WriteWholeFile(scratch / "file", data);
    SymEncryptFile(CipherCode::Sm4Cbc, ViewOf("key"), scratch / "file", scratch / "file");
    EXPECT_NE(ReadWholeFile(scratch / "file"), data);
    SymDecryptFile(ViewOf("key"), scratch / "file", scratch / "file");
    EXPECT_EQ(ReadWholeFile(scratch / "file"), data);
}

TEST(SymmetricFiles, ThatFailLeaveTheOutputAsItWas)
{
    const Scratch scratch;
    SymEncryptFile(
        CipherCode::Sm4Ctr, ViewOf("key"),
        [&] {
            WriteWholeFile(scratch / "in", Noise(100'000));
            return scratch / "in";
        }(),
        scratch / "good");
    const Bytes good = ReadWholeFile(scratch / "good");
    WriteWholeFile(scratch / "bad", Changed(good, good.size() - 1));
    WriteWholeFile(scratch / "cut", Cut(good, 65536));
    WriteWholeFile(scratch / "empty", {});
    WriteWholeFile(scratch / "out", BytesOf("old"));
    const std::vector<std::string> before = scratch.Names();
    for (const char* name : {"bad", "cut", "empty", "in"})
        EXPECT_EQ(CauseOf([&] { SymDecryptFile(ViewOf("key"), scratch / name, scratch / "out"); }),
                  Cause::BadData)
            << name;
    EXPECT_EQ(CauseOf([&] { SymDecryptFile(ViewOf("kez"), scratch / "good", scratch / "out"); }),
              Cause::BadData);
    EXPECT_EQ(CauseOf([&] { SymDecryptFile(ViewOf("key"), scratch / "none", scratch / "out"); }),
              Cause::File);
    const CipherCode code = CipherCode::Sm4Ctr;
    EXPECT_EQ(CauseOf([&] { SymEncryptFile(code, ViewOf("key"), scratch / "none", scratch / "out"); }),
              Cause::File);
    EXPECT_EQ(CauseOf([&] { SymEncryptFile(code, ViewOf("key"), scratch / "in", scratch / "no/out"); }),
              Cause::File);
    EXPECT_EQ(ReadWholeFile(scratch / "out"), BytesOf("old"));
    EXPECT_EQ(scratch.Names(), before);
}

}  // namespace
}  // namespace kzr::softkey
