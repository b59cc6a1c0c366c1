// Base64, strict but for blanks, and hexadecimal digits.
#include "base/Base64.h"

#include "softkey/core/Support.h"

namespace kzr::softkey {
namespace {

using namespace test;

TEST(Base64, GivesThePublishedTextsInBothDirections)
{
    constexpr std::pair<const char*, const char*> kRows[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
    };
    for (const auto& [plain, text] : kRows) {
        EXPECT_EQ(Base64Encode(ViewOf(plain)), text);
        EXPECT_EQ(Base64Decode(text), BytesOf(plain));
    }
}

TEST(Base64, EveryLengthAndEveryByteComesBack)
{
    for (std::size_t size = 0; size <= 300; ++size) {
        const Bytes bytes = Noise(size, static_cast<unsigned>(size));
        const std::string text = Base64Encode(bytes);
        EXPECT_EQ(text.size(), (size + 2) / 3 * 4);
        ASSERT_EQ(Base64Decode(text), bytes) << size;
    }
    EXPECT_EQ(Base64Encode(Unhex("FBFFBF")), "+/+/");
}

TEST(Base64, BlanksAndLineBreaksAreTakenAnywhere)
{
    EXPECT_EQ(Base64Decode(" Zm\r\n9v\tYg =\n= \n"), BytesOf("foob"));
    EXPECT_EQ(Base64Decode(" \r\n\t"), Bytes());
}

TEST(Base64, AnythingElseIsRefused)
{
    for (const char* text : {"Z",    "Zg",    "Zg=",      "Zm8",       "Zg===",        "Zg====",   "=",
                             "==",   "====",  "Zm9v=",    "Zm9v==",    "Zm9v====",     "Zg==Zg==", "Zg=v",
                             "=Zg=", "Zm9v!", "Zm9-",     "Zm9_",      "Zm9v\xC3\xA4", "Zm9v\xFF", "Zh==",
                             "Zm9=", "Z===",  "\"Zm9v\"", "Zm9v,Zm9v", "Zm9v\v"})
        EXPECT_EQ(CauseOf([text] { Base64Decode(text); }), Cause::BadData) << text;
    EXPECT_EQ(CauseOf([] { Base64Decode(std::string_view("Zm9v\0Zm9v", 9)); }), Cause::BadData);
}

// One sequence of bytes, one text: what decodes at all encodes to itself again.
TEST(Base64, NoTwoTextsMeanTheSame)
{
    constexpr std::string_view kSome = "AQgw/+=";
    std::string text(4, 'A');
    int decoded = 0;
    for (const char a : kSome)
        for (const char b : kSome)
            for (const char c : kSome)
                for (const char d : kSome) {
                    text = {a, b, c, d};
                    if (CauseOf([&] { Base64Decode(text); })) continue;
                    ++decoded;
                    EXPECT_EQ(Base64Encode(Base64Decode(text)), text);
                }
    EXPECT_GT(decoded, 6 * 6 * 6 * 6 - 1);
}

TEST(HexUpper, WritesTwoCapitalDigitsAByte)
{
    EXPECT_EQ(HexUpper(Unhex("00A1FF9e")), "00A1FF9E");
    EXPECT_EQ(HexUpper({}), "");
}

TEST(Wipe, LeavesNothingOfTheSecret)
{
    char secret[] = "the secret";
    Wipe(secret, sizeof secret);
    EXPECT_EQ(std::string(secret, sizeof secret), std::string(sizeof secret, '\0'));
}

}  // namespace
}  // namespace kzr::softkey
