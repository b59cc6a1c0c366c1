// CUtil on the software key.
#include "softkey/component/BenchTest.h"

namespace kzr::test {
namespace {

using namespace kzr::softkey;

class SoftKeyUtil : public BenchTest {
  public:
    // A method that gives a text: what it writes when that went well, and when it did not.
    Value Good(const std::string& method, const Values& arguments, const Names& calls)
    {
        return Run(kUtil, Widened(method).c_str(), arguments,
                   {Trace("CUtil: " + method + " starting..."), Trace("CUtil: " + method + " ending ok...")},
                   calls);
    }
    Value Bad(const std::string& method, const Values& arguments, const std::string& failed, HRESULT status)
    {
        const std::string call = failed.substr(0, failed.find(' '));
        return Run(kUtil, Widened(method).c_str(), arguments,
                   {Trace("CUtil: " + method + " starting..."),
                    Error("CUtil: " + method + " call " + failed, status)},
                   {call});
    }
    Value Fact(const wchar_t* container, int type, const Names& calls)
    {
        const std::string number = std::to_string(type);
        return Run(kUtil, L"getUserInfoByContainer", {container, I2(type)},
                   {Trace("CUtil: getUserInfoByContainer starting..."),
                    Trace("CUtil: getUserInfoByContainer containerName(" + Shown(container) + ") TypeID(" +
                          number + ")..."),
                    Trace("CUtil: getUserInfoByContainer userInof({})..."),
                    Trace("CUtil: getUserInfoByContainer ending...")},
                   calls);
    }
};

TEST_F(SoftKeyUtil, TextGoesThroughBase64AndBack)
{
    const Value encoded = Good("base64EncodeString", {L"\x4F60\x597D"}, {"SOF_Base64Encode"});
    EXPECT_EQ(Value(L"5L2g5aW9"), encoded);
    EXPECT_EQ(Value(L"\x4F60\x597D"), Good("base64DecodeString", {encoded}, {"SOF_Base64Decode"}));
    EXPECT_EQ(Value(L""), Bad("base64DecodeString", {L"?"}, "SOF_Base64Decode return NULL!", kBadData));
    // "Absent" is a success without a text.
    EXPECT_EQ(Value(L""), Bad("base64EncodeString", {L""}, "SOF_Base64Encode return NULL!", S_OK));
    EXPECT_EQ(Value(L""), Bad("base64DecodeString", {L""}, "SOF_Base64Decode return NULL!", S_OK));
}

TEST_F(SoftKeyUtil, FilesGoThroughBase64AndBack)
{
    const Value encoded = Good("base64EncodeFile", {File(L"in", "bytes")}, {"Base64EncodeFile"});
    EXPECT_EQ(Value(L"Ynl0ZXM="), encoded);
    EXPECT_EQ(I2(0), Good("base64DecodeFile", {encoded, *home / L"out"}, {"Base64DecodeFile"}));
    EXPECT_EQ("bytes", home->ReadFile(L"out"));
    EXPECT_EQ(Value(L""),
              Bad("base64EncodeFile", {*home / L"missing"}, "Base64EncodeFile return NULL!", kFileFailed));
    EXPECT_EQ(I2(-1),
              Bad("base64DecodeFile", {L"?", *home / L"out"}, "Base64DecodeFile return error!", kBadData));
    EXPECT_EQ(I2(-1), Bad("base64DecodeFile", {encoded, *home / L"no\\such"},
                          "Base64DecodeFile return error!", kFileFailed));
    EXPECT_EQ("bytes", home->ReadFile(L"out"));
}

TEST_F(SoftKeyUtil, FactsOfAUserComeFromTheCertificates)
{
    const Names oneField = {"SOF_ExportUserCert", "SOF_GetCertInfo"};
    const Names both = {"SOF_ExportUserCert", "SOF_ExportExChangeUserCert"};
    EXPECT_EQ(Value(L"Alice"), Fact(L"c1", 1, oneField));
    EXPECT_EQ(Value(L"ID of c1"), Fact(L"c1", 2, {"SOF_ExportUserCert", "SOF_GetCertEntity"}));
    EXPECT_EQ(Value(L"Unit of Alice"), Fact(L"c1", 3, oneField));
    EXPECT_EQ(Value(L"SM2 Root"), Fact(L"c1/any", 4, oneField));
    EXPECT_EQ(Value(L"RSA Authority"), Fact(L"c3", 4, oneField));
    EXPECT_EQ(Value(L"2"), Fact(L"c1", 10, both));
    EXPECT_EQ(Value(L"1"), Fact(L"c2", 10, both)) << "it has no exchange certificate";
    EXPECT_EQ(Value(L"0"), Fact(L"c9", 10, both)) << "there is no such user";
}

TEST_F(SoftKeyUtil, SerialNumbersOfCertificatesAreLowerCase)
{
    const Names three = {"SOF_ExportUserCert", "SOF_ExportExChangeUserCert", "SOF_GetCertInfo"};
    const std::wstring signing = Fact(L"c1", 11, three).AsText(), exchange = Fact(L"c1", 12, three).AsText();
    EXPECT_NE(L"", signing);
    EXPECT_NE(signing, exchange);
    EXPECT_EQ(std::wstring::npos, (signing + exchange).find_first_not_of(L"0123456789abcdef"));
    EXPECT_EQ(Value(L""), Fact(L"c2", 12, three));
}

TEST_F(SoftKeyUtil, FactsOfTheKeyComeFromItsDescription)
{
    EXPECT_EQ(Value(L"SN01"), Fact(L"c3", 13, {}));
    EXPECT_EQ(Value(L"SN02"), Fact(L"c2", 13, {}));
    EXPECT_EQ(Value(L"CSP2"), Fact(L"c2", 14, {}));
    EXPECT_EQ(Value(L"EXT1"), Fact(L"c1", 15, {}));
    EXPECT_EQ(Value(L""), Fact(L"c9", 13, {}));
}

TEST_F(SoftKeyUtil, AUserThatIsNotThereHasNoFacts)
{
    for (const int type : {1, 2, 3, 4}) {
        EXPECT_EQ(
            Value(L""),
            Run(kUtil, L"getUserInfoByContainer", {L"c9", I2(type)},
                {Trace("CUtil: getUserInfoByContainer starting..."),
                 Trace("CUtil: getUserInfoByContainer containerName(c9) TypeID(" + std::to_string(type) +
                       ")..."),
                 Error("CUtil: getUserInfoByContainer SOF_ExportUserCert return NULL!", kUnknownContainer)},
                {"SOF_ExportUserCert"}));
    }
}

TEST_F(SoftKeyUtil, AKeyOfTypeSoftIsNotSeen)
{
    softkey::Store store = home->Store();
    store.Describe({"SN02", "Soft", "EXT2", "CSP2"});
    EXPECT_EQ(Value(L""), Fact(L"c2", 13, {}));
    EXPECT_EQ(Value(L"SN01"), Fact(L"c1", 13, {}));
}

}  // namespace
}  // namespace kzr::test
