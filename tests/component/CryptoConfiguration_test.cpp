// The configuration calls of old: accepted with whatever they are given, without a word to the backend, and
// without an effect on what any later method sends to it.
#include "CryptoRows.h"

namespace kzr::test {
namespace {

struct Accepted {
    const wchar_t* method;
    DISPID id;
    DirectCall direct;
    std::string own;  // as it names itself
    Value accepted;

    Case Accepts(const char* name, const Values& given) const
    {
        return {.name = name,
                .method = method,
                .id = id,
                .direct = direct,
                .arguments = given,
                .steps = {Trace(own + " starting..."), Trace(own + " ending ok...")},
                .retVal = accepted};
    }
    Case TurnsAway(const char* name, const Values& given, HRESULT result) const
    {
        return {.name = name, .method = method, .id = id, .arguments = given, .result = result};
    }
};

const Accepted kSetUserCfg = {L"setUserCfg", 1, Direct(&ICrypto::setUserCfg), "CCrypto: setUserCfg", I2(0)};
const Accepted kSetAlgFlag = {L"setAlgFlag", 2, Direct(&ICrypto::setAlgFlag), "CCrypto: setAlgFlag", I2(0)};
const Accepted kSetOnceCfg = {L"setOnceCfg", 14, Direct(&ICrypto::setOnceCfg), "CCrypto: setOnceCfg", I2(0)};
const Accepted kSetPinFlag = {L"SetPinFlag", 27, Direct(&ICrypto::SetPinFlag), "CCrypto: SetPinFlag", I4(0)};
const Accepted kSetUserCfgEx = {L"setUserCfgEx", 41, Direct(&ICrypto::setUserCfgEx), "CCrypto: setUserCfg",
                                I2(0)};

// Everything that can be configured, on the object that works afterwards.
void ConfigureAll(ComponentTest&, IDispatch* crypto)
{
    EXPECT_EQ(I2(0), Call(crypto, L"setUserCfg", {I2(1), L"a", L"b", L"c"}).value);
    EXPECT_EQ(I2(0), Call(crypto, L"setAlgFlag", {I2(3), I2(4)}).value);
    EXPECT_EQ(I2(0), Call(crypto, L"setOnceCfg", {I2(5), L"d", L"e", L"f"}).value);
    EXPECT_EQ(I4(0), Call(crypto, L"SetPinFlag", {I4(6)}).value);
    EXPECT_EQ(I2(0), Call(crypto, L"setUserCfgEx", {I2(7), L"g", L"h", L"i", L"c2"}).value);
}

const std::vector<Case> kRows = {
    kSetUserCfg.Accepts("SetUserCfgAcceptsOne", {I2(1), L"text", L"text", L"text"}),
    kSetUserCfg.Accepts("SetUserCfgAcceptsZero", {I2(0), L"text", L"text", L"text"}),
    kSetUserCfg.Accepts("SetUserCfgAcceptsMinusOne", {I2(-1), L"text", L"text", L"text"}),
    kSetUserCfg.Accepts("SetUserCfgAcceptsTheSmallestNumber", {I2(-32768), L"text", L"text", L"text"}),
    kSetUserCfg.Accepts("SetUserCfgAcceptsTheLargestNumber", {I2(32767), L"text", L"text", L"text"}),
    kSetUserCfg.Accepts("SetUserCfgAcceptsEmptyTexts", {I2(1), L"", L"", L""}),
    kSetUserCfg.Accepts("SetUserCfgAcceptsNullTexts", {I2(1), NullText(), NullText(), NullText()}),
    kSetUserCfg.Accepts("SetUserCfgAcceptsTextBeyondTheCodePage", {I2(1), kChinese, kChinese, kChinese}),
    kSetUserCfg.Accepts("SetUserCfgAcceptsMissingTexts", {I2(1), L"text"}),
    kSetUserCfg.Accepts("SetUserCfgAcceptsOmittedTexts", {I2(1), L"text", Missing(), Missing()}),
    kSetUserCfg.Accepts("SetUserCfgAcceptsOneOfTwoOptionalTexts", {I2(1), L"text", L"text"}),
    kSetUserCfg.TurnsAway("SetUserCfgTurnsANumberBeyond16BitsAway", {I4(32768), L"text", L"text", L"text"},
                          DISP_E_OVERFLOW),
    kSetUserCfg.Accepts("SetUserCfgAcceptsTheNumbersOfScripts", {I4(7), L"text", L"text", L"text"}),
    kSetAlgFlag.Accepts("SetAlgFlagAcceptsOne", {I2(1), I2(1)}),
    kSetAlgFlag.Accepts("SetAlgFlagAcceptsZero", {I2(0), I2(0)}),
    kSetAlgFlag.Accepts("SetAlgFlagAcceptsMinusOne", {I2(-1), I2(-1)}),
    kSetAlgFlag.Accepts("SetAlgFlagAcceptsTheSmallestNumber", {I2(-32768), I2(-32768)}),
    kSetAlgFlag.Accepts("SetAlgFlagAcceptsTheLargestNumber", {I2(32767), I2(32767)}),
    kSetAlgFlag.TurnsAway("SetAlgFlagTurnsANumberBeyond16BitsAway", {I4(32768), I4(32768)}, DISP_E_OVERFLOW),
    kSetAlgFlag.Accepts("SetAlgFlagAcceptsTheNumbersOfScripts", {I4(7), I4(7)}),
    kSetOnceCfg.Accepts("SetOnceCfgAcceptsOne", {I2(1), L"text", L"text", L"text"}),
    kSetOnceCfg.Accepts("SetOnceCfgAcceptsZero", {I2(0), L"text", L"text", L"text"}),
    kSetOnceCfg.Accepts("SetOnceCfgAcceptsMinusOne", {I2(-1), L"text", L"text", L"text"}),
    kSetOnceCfg.Accepts("SetOnceCfgAcceptsTheSmallestNumber", {I2(-32768), L"text", L"text", L"text"}),
    kSetOnceCfg.Accepts("SetOnceCfgAcceptsTheLargestNumber", {I2(32767), L"text", L"text", L"text"}),
    kSetOnceCfg.Accepts("SetOnceCfgAcceptsEmptyTexts", {I2(1), L"", L"", L""}),
    kSetOnceCfg.Accepts("SetOnceCfgAcceptsNullTexts", {I2(1), NullText(), NullText(), NullText()}),
    kSetOnceCfg.Accepts("SetOnceCfgAcceptsTextBeyondTheCodePage", {I2(1), kChinese, kChinese, kChinese}),
    kSetOnceCfg.Accepts("SetOnceCfgAcceptsMissingTexts", {I2(1), L"text"}),
    kSetOnceCfg.Accepts("SetOnceCfgAcceptsOmittedTexts", {I2(1), L"text", Missing(), Missing()}),
    kSetOnceCfg.Accepts("SetOnceCfgAcceptsOneOfTwoOptionalTexts", {I2(1), L"text", L"text"}),
    kSetOnceCfg.TurnsAway("SetOnceCfgTurnsANumberBeyond16BitsAway", {I4(32768), L"text", L"text", L"text"},
                          DISP_E_OVERFLOW),
    kSetOnceCfg.Accepts("SetOnceCfgAcceptsTheNumbersOfScripts", {I4(7), L"text", L"text", L"text"}),
    kSetPinFlag.Accepts("SetPinFlagAcceptsOne", {I4(1)}),
    kSetPinFlag.Accepts("SetPinFlagAcceptsZero", {I4(0)}),
    kSetPinFlag.Accepts("SetPinFlagAcceptsMinusOne", {I4(-1)}),
    kSetPinFlag.Accepts("SetPinFlagAcceptsTheSmallestNumber", {I4(-2147483647 - 1)}),
    kSetPinFlag.Accepts("SetPinFlagAcceptsTheLargestNumber", {I4(2147483647)}),
    kSetPinFlag.TurnsAway("SetPinFlagTurnsANumberBeyond32BitsAway", {R8(2147483648.0)}, DISP_E_OVERFLOW),
    kSetPinFlag.Accepts("SetPinFlagAcceptsATextForItsNumber", {L"12"}),
    kSetPinFlag.Accepts("SetPinFlagAcceptsNothing", {Empty()}),
    kSetUserCfgEx.Accepts("SetUserCfgExAcceptsOne", {I2(1), L"text", L"text", L"text", L"text"}),
    kSetUserCfgEx.Accepts("SetUserCfgExAcceptsZero", {I2(0), L"text", L"text", L"text", L"text"}),
    kSetUserCfgEx.Accepts("SetUserCfgExAcceptsMinusOne", {I2(-1), L"text", L"text", L"text", L"text"}),
    kSetUserCfgEx.Accepts("SetUserCfgExAcceptsTheSmallestNumber",
                          {I2(-32768), L"text", L"text", L"text", L"text"}),
    kSetUserCfgEx.Accepts("SetUserCfgExAcceptsTheLargestNumber",
                          {I2(32767), L"text", L"text", L"text", L"text"}),
    kSetUserCfgEx.Accepts("SetUserCfgExAcceptsEmptyTexts", {I2(1), L"", L"", L"", L""}),
    kSetUserCfgEx.Accepts("SetUserCfgExAcceptsNullTexts",
                          {I2(1), NullText(), NullText(), NullText(), NullText()}),
    kSetUserCfgEx.Accepts("SetUserCfgExAcceptsTextBeyondTheCodePage",
                          {I2(1), kChinese, kChinese, kChinese, kChinese}),
    kSetUserCfgEx.TurnsAway("SetUserCfgExTurnsANumberBeyond16BitsAway",
                            {I4(32768), L"text", L"text", L"text", L"text"}, DISP_E_OVERFLOW),
    kSetUserCfgEx.Accepts("SetUserCfgExAcceptsTheNumbersOfScripts",
                          {I4(7), L"text", L"text", L"text", L"text"}),
    {.name = "SignedDataSendsTheSameAfterConfiguration",
     .method = L"signedData",
     .id = 5,
     .direct = Direct(&ICrypto::signedData),
     .arguments = {L"text", L"c1"},
     .steps = {Trace("CCrypto: signedData starting..."), Trace("CCrypto: signedData containerName(c1)..."),
               Calls(L"SOF_SignData", {L"c1/SN01", L"text"}, L"signature"),
               Trace("CCrypto: signedData ending ok...")},
     .retVal = L"signature",
     .given = ConfigureAll},
    {.name = "SignedDataByP7SendsTheSameAfterConfiguration",
     .method = L"signedDataByP7",
     .id = 3,
     .direct = Direct(&ICrypto::signedDataByP7),
     .arguments = {L"text", L"c1"},
     .steps = {Trace("CCrypto: signedDataByP7 starting..."),
               Trace("CCrypto: signedDataByP7 containerName(c1)..."),
               Calls(L"SOF_SignMessage", {I2(0), L"c1/SN01", L"text"}, L"message"),
               Trace("CCrypto: signedDataByP7 ending ok...")},
     .retVal = L"message",
     .given = ConfigureAll},
    {.name = "EnvelopedDataSealsTheSameAfterConfiguration",
     .method = L"envelopedData",
     .id = 8,
     .direct = Direct(&ICrypto::envelopedData),
     .arguments = {L"text", I2(1), L"cert"},
     .steps = {Trace("CCrypto: envelopedData starting..."),
               Trace("CCrypto: envelopedData flag(1) containerName(or cert)(cert)..."),
               Calls(L"SOF_EncryptDataEx", {L"cert", L"text"}, L"envelope"),
               Trace("CCrypto: envelopedData ending ok...")},
     .retVal = L"envelope",
     .given = ConfigureAll},
    {.name = "EnvelopedDataOpensTheSameAfterConfiguration",
     .method = L"envelopedData",
     .id = 8,
     .direct = Direct(&ICrypto::envelopedData),
     .arguments = {L"envelope", I2(0), L"c1"},
     .steps = {Trace("CCrypto: envelopedData starting..."),
               Trace("CCrypto: envelopedData flag(0) containerName(or cert)(c1)..."),
               Calls(L"SOF_DecryptData", {L"c1/SN01", L"envelope"}, L"text"),
               Trace("CCrypto: envelopedData ending ok...")},
     .retVal = L"text",
     .given = ConfigureAll},
    {.name = "HashSendsTheSameAfterConfiguration",
     .method = L"Hash",
     .id = 16,
     .direct = Direct(&ICrypto::Hash),
     .arguments = {L"text"},
     .steps = {Trace("CCrypto: Hash starting..."), Calls(L"SOF_HashData", {I2(8), L"text"}, L"digest"),
               Trace("CCrypto: Hash ending ok...")},
     .retVal = L"digest",
     .given = ConfigureAll},
    {.name = "EncryptDataSendsTheSameAfterConfiguration",
     .method = L"encryptData",
     .id = 32,
     .direct = Direct(&ICrypto::encryptData),
     .arguments = {L"key", L"text"},
     .steps = {Trace("CCrypto: encryptData starting..."),
               Trace("CCrypto: encryptData call SymEncryptData..."),
               Trace("CCrypto: SymEncryptData starting..."),
               Trace("CCrypto: SymEncryptData Key(key) symAlgo(2049)..."),
               Calls(L"SOF_GetEncryptMethod", {}, I4(257)), Calls(L"SOF_SetEncryptMethod", {I4(2049)}, I4(0)),
               Calls(L"SOF_SymEncryptData", {L"key", L"text"}, L"cipher"),
               Error("CCrypto: SymEncryptData ending ok!"), Calls(L"SOF_SetEncryptMethod", {I4(257)}, I4(0)),
               Trace("CCrypto: encryptData ending...")},
     .retVal = L"cipher",
     .given = ConfigureAll},
};
KZR_CASES(CryptoConfiguration, kCrypto, kRows);

}  // namespace
}  // namespace kzr::test
