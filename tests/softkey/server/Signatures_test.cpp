// Signatures at the server's own surface: of each kind of key, over each kind of content.
#include "softkey/server/ServerTest.h"

namespace kzr::test {
namespace {

using namespace kzr::softkey;

class ServerSignatures : public ServerTest, public testing::WithParamInterface<const wchar_t*> {
  public:
    void SetUp() override
    {
        ServerTest::SetUp();
        certificate = Ask(L"SOF_ExportUserCert", {GetParam()});
    }
    Value Signed(const wchar_t* method, const Values& arguments)
    {
        LogIn(GetParam());
        return Ask(method, arguments);
    }
    Value certificate;
};
INSTANTIATE_TEST_SUITE_P(OfSm2, ServerSignatures, testing::Values(kAlice));
INSTANTIATE_TEST_SUITE_P(OfRsa, ServerSignatures, testing::Values(kCarol));

const Value kData = L"\x7B7E\x540D text";

TEST_P(ServerSignatures, NothingIsSignedWithoutALogin)
{
    home->WriteFile(L"file", "content");
    EXPECT_EQ(kNotLoggedIn, Refusal(L"SOF_SignData", {GetParam(), kData}));
    EXPECT_EQ(kNotLoggedIn, Refusal(L"SOF_SignFile", {GetParam(), *home / L"file"}));
    EXPECT_EQ(kNotLoggedIn, Refusal(L"SOF_SignMessage", {I2(0), GetParam(), kData}));
    EXPECT_EQ(kNotLoggedIn, Refusal(L"SOF_SignDataXML", {GetParam(), L"<a/>"}));
    EXPECT_EQ(Bool(false), Ask(L"SOF_Login", {GetParam(), L"wrong!"}));
    EXPECT_EQ(kNotLoggedIn, Refusal(L"SOF_SignData", {GetParam(), kData}));
}

TEST_P(ServerSignatures, SignedTextVerifiesAndChangedTextDoesNot)
{
    const Value signature = Signed(L"SOF_SignData", {GetParam(), kData});
    EXPECT_EQ(Bool(true), Ask(L"SOF_VerifySignedData", {certificate, kData, signature}));
    EXPECT_EQ(Bool(false), Ask(L"SOF_VerifySignedData", {certificate, kData.AsText() + L".", signature}));
    EXPECT_EQ(Bool(false),
              Ask(L"SOF_VerifySignedData", {Ask(L"SOF_ExportUserCert", {kWang}), kData, signature}));
    for (const wchar_t* other : {L"", L"abc", L"AAAA", L"\x4E2D", L"MAYCAQECAQE="})
        EXPECT_EQ(Bool(false), Ask(L"SOF_VerifySignedData", {certificate, kData, other})) << Readable(other);
    EXPECT_EQ(kBadData, Refusal(L"SOF_VerifySignedData", {L"abc", kData, signature}));
}

TEST_P(ServerSignatures, EmptyTextIsSignedToo)
{
    const Value signature = Signed(L"SOF_SignData", {GetParam(), NullText()});
    EXPECT_EQ(Bool(true), Ask(L"SOF_VerifySignedData", {certificate, L"", signature}));
    EXPECT_EQ(Bool(false), Ask(L"SOF_VerifySignedData", {certificate, L" ", signature}));
}

TEST_P(ServerSignatures, ASignedFileVerifiesAndAChangedOneDoesNot)
{
    const std::wstring file = *home / L"\x6587\x4EF6.bin";
    std::string content(100'000, '\0');
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 7);
    home->WriteFile(L"\x6587\x4EF6.bin", content);
    const Value signature = Signed(L"SOF_SignFile", {GetParam(), file});
    EXPECT_EQ(Bool(true), Ask(L"SOF_VerifySignedFile", {certificate, file, signature}));
    content[70'000] ^= 1;
    home->WriteFile(L"\x6587\x4EF6.bin", content);
    EXPECT_EQ(Bool(false), Ask(L"SOF_VerifySignedFile", {certificate, file, signature}));
    EXPECT_EQ(Bool(false), Ask(L"SOF_VerifySignedFile", {certificate, file, L"abc"}));
    const std::wstring missing = *home / L"missing";
    EXPECT_EQ(kFileFailed, Refusal(L"SOF_VerifySignedFile", {certificate, missing, signature}));
    EXPECT_EQ(kFileFailed, Refusal(L"SOF_SignFile", {GetParam(), missing}));
    EXPECT_EQ(kFileFailed, Refusal(L"SOF_SignFile", {GetParam(), home->Path()}));
    EXPECT_EQ(kBadArgument, Refusal(L"SOF_SignFile", {GetParam(), L""}));
}

TEST_P(ServerSignatures, AMessageCarriesItsContentWhenTheFlagIsZero)
{
    const Value message = Signed(L"SOF_SignMessage", {I2(0), GetParam(), kData});
    EXPECT_EQ(Bool(true), Ask(L"SOF_VerifySignedMessage", {message, L""}));
    EXPECT_EQ(Bool(true), Ask(L"SOF_VerifySignedMessage", {message, kData}));
    EXPECT_EQ(Bool(false), Ask(L"SOF_VerifySignedMessage", {message, L"other"}));
    EXPECT_EQ(kData, Ask(L"SOF_GetInfoFromSignedMessage", {message, I2(1)}));
    EXPECT_EQ(certificate, Ask(L"SOF_GetInfoFromSignedMessage", {message, I4(2)}));
    EXPECT_NE(L"", AskText(L"SOF_GetInfoFromSignedMessage", {message, I2(3)}));
    for (const int part : {0, 4, -1})
        EXPECT_EQ(kBadArgument, Refusal(L"SOF_GetInfoFromSignedMessage", {message, I2(part)})) << part;
}

TEST_P(ServerSignatures, AMessageLeavesItsContentOutWhenTheFlagIsOne)
{
    const Value message = Signed(L"SOF_SignMessage", {I4(1), GetParam(), kData});
    EXPECT_EQ(Bool(true), Ask(L"SOF_VerifySignedMessage", {message, kData}));
    EXPECT_EQ(Bool(false), Ask(L"SOF_VerifySignedMessage", {message, L"other"}));
    EXPECT_EQ(Value(L""), Ask(L"SOF_GetInfoFromSignedMessage", {message, I2(1)}));
    EXPECT_EQ(kBadArgument, Refusal(L"SOF_SignMessage", {I4(2), GetParam(), kData}));
}

TEST_P(ServerSignatures, WhatIsNoMessageIsBadData)
{
    for (const wchar_t* text : {L"", L"abc", L"AAAA", L"MIIB", L"\x4E2D"}) {
        EXPECT_EQ(kBadData, Refusal(L"SOF_VerifySignedMessage", {text, L""})) << Readable(text);
        EXPECT_EQ(kBadData, Refusal(L"SOF_GetInfoFromSignedMessage", {text, I2(1)})) << Readable(text);
    }
    std::wstring cut = Signed(L"SOF_SignMessage", {I2(0), GetParam(), kData}).AsText();
    cut.resize(cut.size() / 8 * 4);
    EXPECT_EQ(kBadData, Refusal(L"SOF_VerifySignedMessage", {cut, L""}));
}

TEST_P(ServerSignatures, SignedXmlVerifiesAndChangedXmlDoesNot)
{
    const std::wstring original = L"<order id=\"1\"><item>\x4E66</item></order>";
    const std::wstring document = Signed(L"SOF_SignDataXML", {GetParam(), original}).AsText();
    EXPECT_EQ(Bool(true), Ask(L"SOF_VerifySignedDataXML", {document}));
    std::wstring changed = document;
    changed.replace(changed.find(L"id=\"1\""), 6, L"id=\"2\"");
    EXPECT_EQ(Bool(false), Ask(L"SOF_VerifySignedDataXML", {changed}));
    EXPECT_EQ(Bool(false), Ask(L"SOF_VerifySignedDataXML", {original}));
    EXPECT_EQ(certificate, Ask(L"SOF_GetXMLSignatureInfo", {document, I4(4)}));
    for (int part = 1; part <= 6; ++part)
        EXPECT_NE(L"", AskText(L"SOF_GetXMLSignatureInfo", {document, I2(part)})) << part;
    EXPECT_EQ(kBadArgument, Refusal(L"SOF_GetXMLSignatureInfo", {document, I2(0)}));
    EXPECT_EQ(kBadArgument, Refusal(L"SOF_GetXMLSignatureInfo", {document, I2(7)}));
}

TEST_P(ServerSignatures, WhatIsNoXmlIsBadData)
{
    LogIn(GetParam());
    for (const wchar_t* text :
         {L"", L"text", L"<a>", L"<a/><b/>", L"<!DOCTYPE a [<!ENTITY e \"x\">]><a>&e;</a>"}) {
        EXPECT_EQ(kBadData, Refusal(L"SOF_SignDataXML", {GetParam(), text})) << Readable(text);
        EXPECT_EQ(kBadData, Refusal(L"SOF_VerifySignedDataXML", {text})) << Readable(text);
        EXPECT_EQ(kBadData, Refusal(L"SOF_GetXMLSignatureInfo", {text, I4(1)})) << Readable(text);
    }
}

TEST_P(ServerSignatures, UnknownSignersAreFailuresOfTheirOwn)
{
    EXPECT_EQ(kUnknownContainer, Refusal(L"SOF_SignData", {L"", kData}));
    EXPECT_EQ(kUnknownContainer, Refusal(L"SOF_SignMessage", {I2(0), L"c9/SN01", kData}));
    EXPECT_EQ(kUnknownKey, Refusal(L"SOF_SignDataXML", {L"c1/SN09", L"<a/>"}));
    EXPECT_EQ(kUnknownKey, Refusal(L"SOF_SignFile", {L"c1/SN09", *home / L"missing"}));
}

}  // namespace
}  // namespace kzr::test
