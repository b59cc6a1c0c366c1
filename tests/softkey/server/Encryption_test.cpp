// Encryption, secret sharing, digests, random data and Base64 at the server's own surface.
#include <set>

#include "softkey/server/ServerTest.h"

namespace kzr::test {
namespace {

using namespace kzr::softkey;
class ServerEncryption : public ServerTest {};
class ServerData : public ServerTest {};

const Value kData = L"\x52A0\x5BC6 text";

TEST_F(ServerEncryption, TheMethodIsKeptByTheControl)
{
    const Value before = Ask(L"SOF_GetEncryptMethod");
    EXPECT_EQ(VT_I4, before.Type());
    for (const int code : {0x401, 0x402, 0x801, 0x1001, 0x1002}) {
        EXPECT_EQ(I4(0), Ask(L"SOF_SetEncryptMethod", {I4(code)}));
        EXPECT_EQ(I4(code), Ask(L"SOF_GetEncryptMethod"));
    }
    for (const int code : {0, 1, -1, 0x403, 0x1003, 0x7FFFFFFF})
        EXPECT_EQ(kUnsupported, Refusal(L"SOF_SetEncryptMethod", {I4(code)})) << code;
    EXPECT_EQ(I4(0x1002), Ask(L"SOF_GetEncryptMethod"));
    EXPECT_EQ(I4(0), Ask(L"SOF_SetEncryptMethod", {before}));
    control = NewControl();
    EXPECT_EQ(before, Ask(L"SOF_GetEncryptMethod"));
}

TEST_F(ServerEncryption, TextComesBackWithTheSameKeyOnly)
{
    for (const int code : {0x401, 0x402, 0x801, 0x1001, 0x1002}) {
        Ask(L"SOF_SetEncryptMethod", {I4(code)});
        const Value secret = Ask(L"SOF_SymEncryptData", {L"key", kData});
        EXPECT_NE(secret, Ask(L"SOF_SymEncryptData", {L"key", kData})) << "each has a salt of its own";
        Ask(L"SOF_SetEncryptMethod", {I4(0x401)});
        EXPECT_EQ(kData, Ask(L"SOF_SymDecryptData", {L"key", secret})) << code;
        EXPECT_EQ(kBadData, Refusal(L"SOF_SymDecryptData", {L"Key", secret})) << code;
        std::wstring changed = secret.AsText();
        wchar_t& last = changed[changed.size() - 6];
        last = last == L'A' ? L'B' : L'A';
        EXPECT_EQ(kBadData, Refusal(L"SOF_SymDecryptData", {L"key", changed})) << code;
    }
    for (const wchar_t* text : {L"", L"abc", L"AAAA", L"\x4E2D"})
        EXPECT_EQ(kBadData, Refusal(L"SOF_SymDecryptData", {L"key", text})) << Readable(text);
}

TEST_F(ServerEncryption, EmptyTextComesBackEmpty)
{
    EXPECT_EQ(Value(L""), Ask(L"SOF_SymDecryptData", {L"", Ask(L"SOF_SymEncryptData", {L"", L""})}));
}

TEST_F(ServerEncryption, FilesComeBackWithTheSameKeyOnly)
{
    std::string content(200'000, '\0');
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 13);
    home->WriteFile(L"in", content);
    const std::wstring in = *home / L"in", secret = *home / L"secret", out = *home / L"out";
    EXPECT_EQ(Bool(true), Ask(L"SOF_SymEncryptFile", {L"key", in, secret}));
    EXPECT_NE(content, home->ReadFile(L"secret"));
    EXPECT_EQ(Bool(true), Ask(L"SOF_SymDecryptFile", {L"key", secret, out}));
    EXPECT_TRUE(content == home->ReadFile(L"out"));
}

// Nobody looks at the boolean, so all of these must be failures.
TEST_F(ServerEncryption, FilesThatFailAreFailuresAndLeaveNothing)
{
    home->WriteFile(L"in", "content");
    home->WriteFile(L"kept", "what was here");
    const std::wstring in = *home / L"in", secret = *home / L"secret", kept = *home / L"kept";
    const std::wstring missing = *home / L"missing";
    EXPECT_EQ(kFileFailed, Refusal(L"SOF_SymEncryptFile", {L"key", missing, kept}));
    EXPECT_EQ(kFileFailed, Refusal(L"SOF_SymDecryptFile", {L"key", missing, kept}));
    EXPECT_EQ(kBadData, Refusal(L"SOF_SymDecryptFile", {L"key", in, kept}));
    Ask(L"SOF_SymEncryptFile", {L"key", in, secret});
    EXPECT_EQ(kBadData, Refusal(L"SOF_SymDecryptFile", {L"wrong", secret, kept}));
    std::string changed = home->ReadFile(L"secret");
    changed.back() = static_cast<char>(changed.back() ^ 1);
    home->WriteFile(L"secret", changed);
    EXPECT_EQ(kBadData, Refusal(L"SOF_SymDecryptFile", {L"key", secret, kept}));
    EXPECT_EQ(kFileFailed, Refusal(L"SOF_SymEncryptFile", {L"key", in, *home / L"no\\such\\folder"}));
    EXPECT_EQ(kBadArgument, Refusal(L"SOF_SymEncryptFile", {L"key", L"", kept}));
    EXPECT_EQ(kBadArgument, Refusal(L"SOF_SymEncryptFile", {L"key", in, NullText()}));
    EXPECT_EQ("what was here", home->ReadFile(L"kept"));
    EXPECT_FALSE(home->HasFile(L"missing"));
}

TEST_F(ServerEncryption, AnEnvelopeOpensForItsRecipientOnly)
{
    LogIn(kAlice);
    for (const wchar_t* id : {kAlice, kCarol}) {
        for (const wchar_t* method : {L"SOF_ExportUserCert", L"SOF_ExportExChangeUserCert"}) {
            const Value envelope = Ask(L"SOF_EncryptDataEx", {Ask(method, {id}), kData});
            EXPECT_EQ(kData, Ask(L"SOF_DecryptData", {id, envelope})) << Readable(id) << Readable(method);
            const wchar_t* const other = id == kAlice ? kCarol : kAlice;
            EXPECT_EQ(kBadData, Refusal(L"SOF_DecryptData", {other, envelope})) << Readable(id);
            EXPECT_EQ(kNotLoggedIn, Refusal(L"SOF_DecryptData", {kWang, envelope}));
        }
    }
    for (const wchar_t* text : {L"", L"abc", L"AAAA", L"MIIB"})
        EXPECT_EQ(kBadData, Refusal(L"SOF_DecryptData", {kAlice, text})) << Readable(text);
    EXPECT_EQ(kBadData, Refusal(L"SOF_EncryptDataEx", {L"no certificate", kData}));
    EXPECT_EQ(kUnknownContainer, Refusal(L"SOF_DecryptData", {L"", L"AAAA"}));
}

TEST_F(ServerEncryption, AKeyWithoutAnExchangePairOpensWithItsOnlyOne)
{
    LogIn(kWang);
    const Value certificate = Ask(L"SOF_ExportUserCert", {kWang});
    EXPECT_EQ(kData, Ask(L"SOF_DecryptData", {kWang, Ask(L"SOF_EncryptDataEx", {certificate, kData})}));
    EXPECT_EQ(kData, Ask(L"SOF_PriKeyDecrypt", {kWang, Ask(L"SOF_PubKeyEncrypt", {certificate, kData})}));
}

TEST_F(ServerEncryption, PublicKeyEncryptionOpensWithTheLogin)
{
    for (const wchar_t* id : {kAlice, kCarol}) {
        const Value certificate = Ask(L"SOF_ExportExChangeUserCert", {id});
        const Value secret = Ask(L"SOF_PubKeyEncrypt", {certificate, kData});
        if (id == kAlice) {
            EXPECT_EQ(kNotLoggedIn, Refusal(L"SOF_PriKeyDecrypt", {id, secret}));
            LogIn(id);
        }
        EXPECT_EQ(kData, Ask(L"SOF_PriKeyDecrypt", {id, secret})) << Readable(id);
        for (const wchar_t* text : {L"", L"abc", L"AAAA"})
            EXPECT_EQ(kBadData, Refusal(L"SOF_PriKeyDecrypt", {id, text})) << Readable(text);
    }
    const Value carol = Ask(L"SOF_ExportUserCert", {kCarol});
    EXPECT_EQ(kBadArgument, Refusal(L"SOF_PubKeyEncrypt", {carol, std::wstring(1000, L'x')}));
    EXPECT_EQ(kBadData, Refusal(L"SOF_PubKeyEncrypt", {L"", kData}));
}

std::vector<std::wstring> Shares(const std::wstring& list)
{
    std::vector<std::wstring> shares;
    std::size_t from = 0;
    for (std::size_t end; (end = list.find(L"&&&", from)) != std::wstring::npos; from = end + 3)
        shares.push_back(list.substr(from, end - from));
    EXPECT_EQ(list.size(), from) << "every share ends in the mark";
    return shares;
}

TEST_F(ServerEncryption, EnoughSharesGiveTheSecretBack)
{
    const std::vector<std::wstring> shares =
        Shares(AskText(L"SOF_SecertSegment", {kData, I4(5), I4(3), I4(1)}));
    ASSERT_EQ(5u, shares.size());
    EXPECT_EQ(kData,
              Ask(L"SOF_SecertRecovery", {shares[0] + L"&&&" + shares[3] + L"&&&" + shares[4] + L"&&&"}));
    EXPECT_EQ(kData, Ask(L"SOF_SecertRecovery", {shares[4] + L"&&&" + shares[0] + L"&&&" + shares[2]}));
    EXPECT_EQ(kBadData, Refusal(L"SOF_SecertRecovery", {shares[0] + L"&&&" + shares[1]})) << "too few";
    EXPECT_EQ(kBadData, Refusal(L"SOF_SecertRecovery", {shares[1] + L"&&&" + shares[2] + L"&&&" + shares[3]}))
        << "the first one is indispensable";
    for (const wchar_t* text : {L"", L"&&&", L"abc&&&", L"\x4E2D"})
        EXPECT_EQ(kBadData, Refusal(L"SOF_SecertRecovery", {text})) << Readable(text);
}

TEST_F(ServerEncryption, SharesThatCannotBeAreBadArguments)
{
    const int numbers[][3] = {{0, 0, 0}, {3, 4, 0},  {3, 2, 3},   {256, 2, 0},
                              {3, 0, 0}, {3, 2, -1}, {-1, -1, -1}};
    for (const auto& each : numbers)
        EXPECT_EQ(kBadArgument, Refusal(L"SOF_SecertSegment", {kData, I4(each[0]), I4(each[1]), I4(each[2])}))
            << each[0] << each[1] << each[2];
    EXPECT_EQ(kBadArgument, Refusal(L"SOF_SecertSegment", {L"", I4(3), I4(2), I4(0)}));
}

TEST_F(ServerData, DigestsAreTheKnownOnes)
{
    EXPECT_EQ(Value(L"Zsfw9GLu7dnR8tRr3BDk4kFnxIdc8veiKX2gK49LqOA="), Ask(L"SOF_HashData", {I2(1), L"abc"}));
    EXPECT_EQ(Value(L"qZk+NkcGgWq6PiVxeFDCbJzQ2J0="), Ask(L"SOF_HashData", {I2(2), L"abc"}));
    EXPECT_EQ(Value(L"ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0="), Ask(L"SOF_HashData", {I4(4), L"abc"}));
    EXPECT_EQ(
        Value(L"3a81oZNherrMQXNJriBBMRLm+k6JqX6iCp7u5ktV05ohkpkqJ0/BqDa6PCOj/uu9RU1EI2Q86A4qmslPpUyknw=="),
        Ask(L"SOF_HashData", {I2(8), L"abc"}));
    for (const int code : {0, 3, -1, 16, 32767})
        EXPECT_EQ(kUnsupported, Refusal(L"SOF_HashData", {I2(code), L"abc"})) << code;
}

TEST_F(ServerData, AFilesDigestIsThatOfItsBytes)
{
    home->WriteFile(L"file", "abc");
    for (const int code : {1, 2, 4, 8})
        EXPECT_EQ(Ask(L"SOF_HashData", {I2(code), L"abc"}),
                  Ask(L"SOF_HashFile", {I2(code), *home / L"file"}));
    EXPECT_EQ(kFileFailed, Refusal(L"SOF_HashFile", {I2(2), *home / L"missing"}));
    EXPECT_EQ(kUnsupported, Refusal(L"SOF_HashFile", {I2(3), *home / L"file"}));
    EXPECT_EQ(kBadArgument, Refusal(L"SOF_HashFile", {I2(2), L""}));
}

TEST_F(ServerData, RandomDataIsAsLongAsAskedForAndNeverTheSame)
{
    std::set<std::wstring> seen;
    for (int i = 0; i < 20; ++i) EXPECT_TRUE(seen.insert(AskText(L"SOF_GenRandom", {I4(16)})).second);
    EXPECT_EQ(24u, seen.begin()->size());
    EXPECT_EQ(4u, AskText(L"SOF_GenRandom", {I2(1)}).size());
    EXPECT_EQ(87384u, AskText(L"SOF_GenRandom", {I4(65536)}).size());
    for (const int count : {0, -1, 65537, INT_MIN})
        EXPECT_EQ(kBadArgument, Refusal(L"SOF_GenRandom", {I4(count)})) << count;
}

TEST_F(ServerData, Base64IsOfTheTextsUtf8)
{
    EXPECT_EQ(Value(L"5Lit5paH"), Ask(L"SOF_Base64Encode", {L"\x4E2D\x6587"}));
    EXPECT_EQ(Value(L"\x4E2D\x6587"), Ask(L"SOF_Base64Decode", {L"5Lit5paH"}));
    EXPECT_EQ(Value(L"\x4E2D\x6587"), Ask(L"SOF_Base64Decode", {L"5Lit\r\n5paH\r\n"}));
    EXPECT_EQ(Value(std::wstring(L"a\0b", 3)), Ask(L"SOF_Base64Decode", {L"YQBi"}));
    EXPECT_EQ(Value(L""), Ask(L"SOF_Base64Decode", {L""}));
    for (const wchar_t* text : {L"abc", L"a", L"?", L"=", L"\x4E2D", L"5Lit5paH=", L"/w=="})
        EXPECT_EQ(kBadData, Refusal(L"SOF_Base64Decode", {text})) << Readable(text);
}

TEST_F(ServerData, FilesGoThroughBase64AndBack)
{
    const std::string content("\x00\xFF\x80 any bytes", 13);
    home->WriteFile(L"\x6587", content);
    const Value encoded = Ask(L"Base64EncodeFile", {*home / L"\x6587"});
    EXPECT_EQ(Bool(true), Ask(L"Base64DecodeFile", {encoded, *home / L"back"}));
    EXPECT_EQ(content, home->ReadFile(L"back"));
    EXPECT_EQ(kBadData, Refusal(L"Base64DecodeFile", {L"abc", *home / L"back"}));
    EXPECT_EQ(content, home->ReadFile(L"back")) << "what cannot be decoded replaces nothing";
    EXPECT_EQ(Bool(true), Ask(L"Base64DecodeFile", {L"", *home / L"back"}));
    EXPECT_EQ("", home->ReadFile(L"back"));
    EXPECT_EQ(Value(L""), Ask(L"Base64EncodeFile", {*home / L"back"}));
    EXPECT_EQ(kFileFailed, Refusal(L"Base64EncodeFile", {*home / L"missing"}));
    EXPECT_EQ(kFileFailed, Refusal(L"Base64DecodeFile", {L"AAAA", *home / L"no\\such"}));
    EXPECT_EQ(kBadArgument, Refusal(L"Base64EncodeFile", {NullText()}));
}

}  // namespace
}  // namespace kzr::test
