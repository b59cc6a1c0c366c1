// CCrypto on the software key: signing, encryption, digests. What one method makes another takes.
#include "softkey/component/BenchTest.h"

namespace kzr::test {
namespace {

using namespace kzr::softkey;

const Value kData = L"\x4F60\x597D text";
LogStep Own(const std::string& text) { return Trace("CCrypto: " + text); }
LogStep Failed(const std::string& text, HRESULT status) { return Error("CCrypto: " + text, status); }

class SoftKeyCrypto : public BenchTest {
  public:
    Value Do(const wchar_t* method, const Values& arguments, const LogSteps& lines, const Names& calls)
    {
        return Run(kCrypto, method, arguments, lines, calls);
    }
    // A method with one line in front and one behind.
    Value Plain(const std::string& method, const Values& arguments, const char* call)
    {
        return Do(Widened(method).c_str(), arguments,
                  {Own(method + " starting..."), Own(method + " ending ok...")}, {call});
    }
    Value PlainFailure(const std::string& method, const Values& arguments, const std::string& call,
                       HRESULT status)
    {
        return Do(Widened(method).c_str(), arguments,
                  {Own(method + " starting..."), Failed(method + " call " + call + " return NULL!", status)},
                  {call});
    }
    Value Certificate(const wchar_t* container, int type = 5)
    {
        EXPECT_EQ(I2(0), Get(kCertificate, L"importCert", {container, I2(type)}));
        return Get(kCertificate, L"exportCert", {I2(1)});
    }
};

// Every way of signing, for each kind of key.
class SoftKeySigning : public SoftKeyCrypto, public testing::WithParamInterface<const wchar_t*> {};
INSTANTIATE_TEST_SUITE_P(OfSm2, SoftKeySigning, testing::Values(L"c1"));
INSTANTIATE_TEST_SUITE_P(OfRsa, SoftKeySigning, testing::Values(L"c3"));

TEST_P(SoftKeySigning, TextIsSignedAndVerified)
{
    const std::string name = Shown(GetParam());
    const LogSteps begin = {Own("signedData starting..."), Own("signedData containerName(" + name + ")...")};
    LogSteps refused = begin, good = begin;
    refused.push_back(Failed("signedData call SOF_SignMessage return NULL!", kNotLoggedIn));
    good.push_back(Own("signedData ending ok..."));
    EXPECT_EQ(Value(L""), Do(L"signedData", {kData, GetParam()}, refused, {"SOF_SignData"}));
    LogIn(GetParam());
    const Value signature = Do(L"signedData", {kData, GetParam()}, good, {"SOF_SignData"});
    EXPECT_NE(L"", signature.AsText());

    const Value certificate = Certificate(GetParam());
    EXPECT_EQ(I2(0), Do(L"verifySignedData", {signature, certificate, kData},
                        {Own("verifySignedData starting..."), Own("verifySignedData ending ok...")},
                        {"SOF_VerifySignedData"}));
    const LogSteps wrong = {Own("verifySignedData starting..."),
                            Failed("verifySignedData call SOF_VerifySignedData return error!", S_OK)};
    EXPECT_EQ(I2(-1),
              Do(L"verifySignedData", {signature, certificate, L"other"}, wrong, {"SOF_VerifySignedData"}));
    EXPECT_EQ(I2(-1),
              Do(L"verifySignedData", {L"junk", certificate, kData}, wrong, {"SOF_VerifySignedData"}));
    EXPECT_EQ(I2(-1), Do(L"verifySignedData", {signature, L"junk", kData},
                         {Own("verifySignedData starting..."),
                          Failed("verifySignedData call SOF_VerifySignedData return error!", kBadData)},
                         {"SOF_VerifySignedData"}));
}

TEST_P(SoftKeySigning, AUserProvesWhoHeIs)
{
    LogIn(GetParam());
    const std::string name = Shown(GetParam());
    const Value proof = Do(L"authUser", {kData, GetParam()},
                           {Own("authUser starting..."), Own("authUser call signedData..."),
                            Own("signedData starting..."), Own("signedData containerName(" + name + ")..."),
                            Own("signedData ending ok..."), Own("authUser ending({})...")},
                           {"SOF_SignData"});
    EXPECT_EQ(I2(0), Do(L"checkUser", {proof, Certificate(GetParam()), kData},
                        {Own("checkUser starting..."), Own("checkUser call verifySignedData..."),
                         Own("verifySignedData starting..."), Own("verifySignedData ending ok..."),
                         Own("checkUser ending(0)...")},
                        {"SOF_VerifySignedData"}));
    EXPECT_EQ(I2(-1), Get(kCrypto, L"checkUser", {proof, Certificate(L"c2"), kData}));
}

TEST_P(SoftKeySigning, AMessageCarriesItsContentAndItsSigner)
{
    LogIn(GetParam());
    const Value message = Do(
        L"signedDataByP7", {kData, GetParam()},
        {Own("signedDataByP7 starting..."), Own("signedDataByP7 containerName(" + Shown(GetParam()) + ")..."),
         Own("signedDataByP7 ending ok...")},
        {"SOF_SignMessage"});
    EXPECT_EQ(I2(0), Do(L"verifySignedDataByP7", {message},
                        {Own("signedDataByP7 starting..."), Own("verifySignedDataByP7 ending ok...")},
                        {"SOF_VerifySignedMessage"}));
    const LogSteps decoded = {Own("decodeP7Data starting..."), Own("envelopedData ending ok...")};
    EXPECT_EQ(kData, Do(L"decodeP7Data", {message, I2(1)}, decoded, {"SOF_GetInfoFromSignedMessage"}));
    EXPECT_EQ(Certificate(GetParam()),
              Do(L"decodeP7Data", {message, I2(2)}, decoded, {"SOF_GetInfoFromSignedMessage"}));
    EXPECT_EQ(Value(L""), Do(L"decodeP7Data", {message, I2(9)},
                             {Own("decodeP7Data starting..."),
                              Failed("envelopedData call SOF_DecryptData return NULL!", kBadArgument)},
                             {"SOF_GetInfoFromSignedMessage"}));
    EXPECT_EQ(I2(-1),
              Do(L"verifySignedDataByP7", {L"junk"},
                 {Own("signedDataByP7 starting..."),
                  Failed("verifySignedDataByP7 call SOF_VerifySignedMessage return error!", kBadData)},
                 {"SOF_VerifySignedMessage"}));
}

TEST_P(SoftKeySigning, AFileIsSignedAndAChangedOneIsSeen)
{
    LogIn(GetParam());
    const std::wstring file = File(L"file");
    const LogSteps begin = {Own("signFile starting..."),
                            Own("signFile containerName(" + Shown(GetParam()) + ")...")};
    LogSteps good = begin, bad = begin;
    good.push_back(Own("signFile ending ok..."));
    bad.push_back(Failed("signFile call SOF_SignFile return NULL!", kFileFailed));
    const Value signature = Do(L"signFile", {file, GetParam()}, good, {"SOF_SignFile"});
    EXPECT_EQ(Value(L""), Do(L"signFile", {*home / L"missing", GetParam()}, bad, {"SOF_SignFile"}));
    const Value certificate = Certificate(GetParam());
    const LogSteps told = {Own("verifySignFile starting..."), Own("verifySignFile ending({})...")};
    EXPECT_EQ(I2(0), Do(L"verifySignFile", {file, certificate, signature}, told, {"SOF_VerifySignedFile"}));
    File(L"file", "contents");
    EXPECT_EQ(I2(-1), Do(L"verifySignFile", {file, certificate, signature}, told, {"SOF_VerifySignedFile"}));
    EXPECT_EQ(I2(-1), Do(L"verifySignFile", {*home / L"missing", certificate, signature},
                         {Own("verifySignFile starting..."),
                          Failed("verifySignFile call SOF_VerifySignedFile error!", kFileFailed)},
                         {"SOF_VerifySignedFile"}));
}

TEST_P(SoftKeySigning, ADocumentIsSignedAndAChangedOneIsSeen)
{
    LogIn(GetParam());
    const LogSteps begin = {Own("signedDataXML starting..."),
                            Own("signedDataXML contaienrName(" + Shown(GetParam()) + ")...")};
    LogSteps good = begin, bad = begin;
    good.push_back(Own("signedDataXML ending ok..."));
    bad.push_back(Failed("signedDataXML call SOF_SignDataXML return NULL!", kBadData));
    std::wstring document =
        Do(L"signedDataXML", {L"<a><b>1</b></a>", GetParam()}, good, {"SOF_SignDataXML"}).AsText();
    EXPECT_EQ(Value(L""), Do(L"signedDataXML", {L"<a>", GetParam()}, bad, {"SOF_SignDataXML"}));
    const LogSteps told = {Own("verifySignedDataXML starting..."), Own("verifySignedDataXML ending({})...")};
    EXPECT_EQ(I4(0), Do(L"verifySignedDataXML", {document}, told, {"SOF_VerifySignedDataXML"}));
    EXPECT_EQ(Certificate(GetParam()),
              Do(L"getXMLSignatureInfo", {document, I4(4)},
                 {Own("getXMLSignatureInfo starting..."), Own("getXMLSignatureInfo ending ok...")},
                 {"SOF_GetXMLSignatureInfo"}));
    EXPECT_EQ(Value(L""), PlainFailure("getXMLSignatureInfo", {document, I4(7)}, "SOF_GetXMLSignatureInfo",
                                       kBadArgument));
    document.replace(document.find(L"<b>1"), 4, L"<b>2");
    EXPECT_EQ(I4(-1), Do(L"verifySignedDataXML", {document}, told, {"SOF_VerifySignedDataXML"}));
    EXPECT_EQ(I4(-1), Do(L"verifySignedDataXML", {L"<a>"},
                         {Own("verifySignedDataXML starting..."),
                          Failed("verifySignedDataXML call SOF_VerifySignedDataXML error!", kBadData)},
                         {"SOF_VerifySignedDataXML"}));
}

TEST_P(SoftKeySigning, PullingTheKeyEndsTheLogin)
{
    LogIn(GetParam());
    home->Pull("SN01");
    home->Plug("SN01");
    const std::string name = Shown(GetParam());
    EXPECT_TRUE(PumpUntil([&] { return Get(kCrypto, L"signedData", {kData, GetParam()}) == Value(L""); }));
    EXPECT_EQ(Value(L""), Do(L"signedData", {kData, GetParam()},
                             {Own("signedData starting..."), Own("signedData containerName(" + name + ")..."),
                              Failed("signedData call SOF_SignMessage return NULL!", kNotLoggedIn)},
                             {"SOF_SignData"}));
}

TEST_F(SoftKeyCrypto, AnUnknownContainerSignsNothing)
{
    EXPECT_EQ(Value(L""), Do(L"signedData", {kData, L"c9"},
                             {Own("signedData starting..."), Own("signedData containerName(c9)..."),
                              Failed("signedData call SOF_SignMessage return NULL!", kUnknownContainer)},
                             {"SOF_SignData"}));
}

TEST_F(SoftKeyCrypto, AnEnvelopeIsSealedForACertificateAndOpensWithTheLogin)
{
    for (const wchar_t* container : {L"c1", L"c3"}) {
        const Value certificate = Certificate(container, 6);
        const Value envelope =
            Do(L"envelopedData", {kData, I2(1), certificate},
               {Own("envelopedData starting..."),
                Own("envelopedData flag(1) containerName(or cert)(" + Shown(certificate.AsText()) + ")..."),
                Own("envelopedData ending ok...")},
               {"SOF_EncryptDataEx"});
        const LogSteps begin = {
            Own("envelopedData starting..."),
            Own("envelopedData flag(0) containerName(or cert)(" + Shown(container) + ")...")};
        LogSteps good = begin, bad = begin;
        good.push_back(Own("envelopedData ending ok..."));
        bad.push_back(Failed("envelopedData call SOF_DecryptData return NULL!", kBadData));
        LogIn(container);
        EXPECT_EQ(kData, Do(L"envelopedData", {envelope, I2(0), container}, good, {"SOF_DecryptData"}));
        EXPECT_EQ(Value(L""), Do(L"envelopedData", {L"junk", I2(0), container}, bad, {"SOF_DecryptData"}));
    }
    EXPECT_EQ(Value(L""), Do(L"envelopedData", {kData, I2(1), L"junk"},
                             {Own("envelopedData starting..."),
                              Own("envelopedData flag(1) containerName(or cert)(junk)..."),
                              Failed("envelopedData call SOF_EncryptDataEx return NULL!", kBadData)},
                             {"SOF_EncryptDataEx"}));
}

TEST_F(SoftKeyCrypto, PublicKeyEncryptionOpensWithTheLogin)
{
    LogIn(L"c1");
    for (const wchar_t* container : {L"c1", L"c3"}) {
        const LogStep name = Own("DecDataByRSA containerName(" + Shown(container) + ")...");
        const Value secret = Plain("EncDataByCert", {Certificate(container, 6), kData}, "SOF_PubKeyEncrypt");
        EXPECT_EQ(kData, Do(L"DecDataByRSA", {container, secret},
                            {Own("DecDataByRSA starting..."), name, Own("DecDataByRSA ending ok...")},
                            {"SOF_PriKeyDecrypt"}));
        EXPECT_EQ(kData, Do(L"priKeyDecrypt", {container, secret},
                            {Own("priKeyDecrypt starting..."), Own("priKeyDecrypt call DecDataByRSA..."),
                             Own("DecDataByRSA starting..."), name, Own("DecDataByRSA ending ok..."),
                             Own("priKeyDecrypt ending...")},
                            {"SOF_PriKeyDecrypt"}));
        EXPECT_EQ(Value(L""), Do(L"DecDataByRSA", {container, L"junk"},
                                 {Own("DecDataByRSA starting..."), name,
                                  Failed("DecDataByRSA call SOF_PriKeyDecrypt return NULL!", kBadData)},
                                 {"SOF_PriKeyDecrypt"}));
    }
    const Value again = Do(
        L"pubKeyEncrypt", {Certificate(L"c1", 6), kData},
        {Own("pubKeyEncrypt starting..."), Own("pubKeyEncrypt call EncDataByCert..."),
         Own("EncDataByCert starting..."), Own("EncDataByCert ending ok..."), Own("pubKeyEncrypt ending...")},
        {"SOF_PubKeyEncrypt"});
    EXPECT_EQ(kData, Get(kCrypto, L"priKeyDecrypt", {L"c1", again}));
    EXPECT_EQ(Value(L""), PlainFailure("EncDataByCert", {L"junk", kData}, "SOF_PubKeyEncrypt", kBadData));
}

const Names kSwitched = {"SOF_GetEncryptMethod", "SOF_SetEncryptMethod", "", "SOF_SetEncryptMethod"};
Names Switched(const char* call)
{
    Names calls = kSwitched;
    calls[2] = call;
    return calls;
}

// A pair of methods with a text as key; each names an algorithm of its own, and the backend's is put back.
struct Pairing {
    const wchar_t *encrypt, *decrypt;
    std::string encryptName, decryptName, code;
};

TEST_F(SoftKeyCrypto, TextComesBackWithTheKeyThatEncryptedIt)
{
    const Pairing pairings[] = {{L"encryptData", L"decryptData", "encryptData", "decryptData", "2049"},
                                {L"EncData", L"DecData", "EncData", "decryptData", "4098"}};
    for (const Pairing& each : pairings) {
        const auto lines = [&](const std::string& name, const std::string& inner, const LogStep& outcome) {
            return LogSteps{Own(name + " starting..."),
                            Own(name + " call " + inner + "..."),
                            Own(inner + " starting..."),
                            Own(inner + " Key(key) symAlgo(" + each.code + ")..."),
                            outcome,
                            Own(name + " ending...")};
        };
        const Value secret =
            Do(each.encrypt, {L"key", kData},
               lines(each.encryptName, "SymEncryptData", Failed("SymEncryptData ending ok!", S_OK)),
               Switched("SOF_SymEncryptData"));
        EXPECT_EQ(kData,
                  Do(each.decrypt, {L"key", secret},
                     lines(each.decryptName, "SymDecryptData", Failed("SymDecryptData ending ok!", S_OK)),
                     Switched("SOF_SymDecryptData")));
        EXPECT_EQ(Value(L""),
                  Do(each.decrypt, {L"key", L"junk"},
                     lines(each.decryptName, "SymDecryptData",
                           Failed("SymDecryptData call SOF_SymDecryptData return error!", kBadData)),
                     Switched("SOF_SymDecryptData")));
        EXPECT_EQ(Value(L""), Get(kCrypto, each.decrypt, {L"Key", secret}));
    }
}

TEST_F(SoftKeyCrypto, TextUnderAHashedKeyComesBack)
{
    Names calls = {"SOF_HashData", "SOF_GetEncryptMethod", "SOF_SetEncryptMethod", "SOF_SymEncryptData",
                   "SOF_SetEncryptMethod"};
    const Value hash = Get(kCrypto, L"Hash", {L"key"});
    const auto lines = [&](const std::string& name, const std::string& inner) {
        return LogSteps{Own(name + " starting..."),
                        Own(name + " call Hash..."),
                        Own("Hash starting..."),
                        Own("Hash ending ok..."),
                        Own(name + " call SymEncryptData..."),
                        Own(inner + " starting..."),
                        Own(inner + " Key(" + Shown(hash.AsText()) + ") symAlgo(4097)..."),
                        Failed(inner + " ending ok!", S_OK),
                        Own(name + " ending...")};
    };
    const Value secret = Do(L"EncStr", {L"key", kData}, lines("EncStr", "SymEncryptData"), calls);
    calls[3] = "SOF_SymDecryptData";
    EXPECT_EQ(kData, Do(L"DecStr", {L"key", secret}, lines("DecStr", "SymDecryptData"), calls));
    EXPECT_EQ(Value(L""), Get(kCrypto, L"DecStr", {L"other", secret}));
}

TEST_F(SoftKeyCrypto, FilesComeBackWithTheKeyThatEncryptedThem)
{
    const std::wstring in = File(L"in", "bytes"), secret = *home / L"secret", out = *home / L"out";
    const auto lines = [](const std::string& name, const std::string& end, HRESULT status) {
        return LogSteps{Own(name + " starting..."), Failed(name + " " + end, status)};
    };
    EXPECT_EQ(I2(0), Do(L"encryptFile", {in, secret, L"key"}, lines("encryptFile", "ending ok!", S_OK),
                        Switched("SOF_SymEncryptFile")));
    EXPECT_EQ(I2(0), Do(L"decryptFile", {secret, out, L"key"}, lines("decryptFile", "ending ok!", S_OK),
                        Switched("SOF_SymDecryptFile")));
    EXPECT_EQ("bytes", home->ReadFile(L"out"));
    // The boolean is not looked at: only a failure says that it went wrong.
    EXPECT_EQ(I2(-1), Do(L"decryptFile", {secret, out, L"wrong"},
                         lines("decryptFile", "call SOF_SymDecryptFile return error!", kBadData),
                         Switched("SOF_SymDecryptFile")));
    EXPECT_EQ(I2(-1), Do(L"encryptFile", {*home / L"missing", out, L"key"},
                         lines("encryptFile", "call SOF_SymEncryptFile return error!", kFileFailed),
                         Switched("SOF_SymEncryptFile")));
    EXPECT_EQ("bytes", home->ReadFile(L"out"));
}

TEST_F(SoftKeyCrypto, ASecretIsSharedAndRecovered)
{
    const std::wstring shares =
        Plain("SecertSegment", {kData, I4(3), I4(2), I4(1)}, "SOF_SecertSegment").AsText();
    const std::wstring two = shares.substr(0, shares.find(L"&&&", shares.find(L"&&&") + 3) + 3);
    EXPECT_EQ(kData, Plain("SecertRecovery", {two}, "SOF_SecertRecovery"));
    const std::wstring one = shares.substr(0, shares.find(L"&&&"));
    EXPECT_EQ(Value(L""), PlainFailure("SecertRecovery", {one}, "SOF_SecertRecovery", kBadData));
    EXPECT_EQ(Value(L""),
              PlainFailure("SecertSegment", {kData, I4(1), I4(2), I4(0)}, "SOF_SecertSegment", kBadArgument));
}

TEST_F(SoftKeyCrypto, DigestsAndRandomData)
{
    EXPECT_EQ(
        Value(L"3a81oZNherrMQXNJriBBMRLm+k6JqX6iCp7u5ktV05ohkpkqJ0/BqDa6PCOj/uu9RU1EI2Q86A4qmslPpUyknw=="),
        Plain("Hash", {L"abc"}, "SOF_HashData"));
    const Value sha1 = L"qZk+NkcGgWq6PiVxeFDCbJzQ2J0=";
    EXPECT_EQ(sha1, Plain("HashData", {L"abc"}, "SOF_HashData"));
    EXPECT_EQ(sha1, Plain("HashFile", {File(L"file", "abc")}, "SOF_HashFile"));
    EXPECT_EQ(Value(L""), PlainFailure("HashFile", {*home / L"missing"}, "SOF_HashFile", kFileFailed));
    EXPECT_EQ(24u, Plain("generateRandom", {I2(16)}, "SOF_GenRandom").AsText().size());
    EXPECT_EQ(Value(L""), PlainFailure("generateRandom", {I2(-1)}, "SOF_GenRandom", kBadArgument));
}

}  // namespace
}  // namespace kzr::test
