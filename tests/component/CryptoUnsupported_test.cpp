// The methods without a counterpart: the same refusal for everything, and no word to the backend.
#include "CryptoRows.h"

namespace kzr::test {
namespace {

struct Refused {
    const wchar_t* method;
    DISPID id;
    DirectCall direct;
    Value answer;

    Case Refuses(const char* name, const Values& given) const
    {
        const std::string own = "CCrypto: " + RenderForLog(method);
        return {.name = name,
                .method = method,
                .id = id,
                .direct = direct,
                .arguments = given,
                .steps = {Trace(own + " starting..."), Notice(own + " not support!")},
                .retVal = answer};
    }
};

const Refused kReadPfxToQmr = {L"ReadPfxToQmr", 15, Direct(&ICrypto::ReadPfxToQmr), I2(-1)};
const Refused kSetSessionKey = {L"SetSessionKey", 24, Direct(&ICrypto::SetSessionKey), I4(-1)};
const Refused kGetSessionKey = {L"GetSessionKey", 25, Direct(&ICrypto::GetSessionKey), L""};
const Refused kGenTSReq = {L"GenTSReq", 37, Direct(&ICrypto::GenTSReq), L""};

const std::vector<Case> kRows = {
    kReadPfxToQmr.Refuses("ReadPfxToQmrRefusesUsualArguments", {L"c1", I2(1), L"pin", L"C:\\a.pfx"}),
    kReadPfxToQmr.Refuses("ReadPfxToQmrRefusesEmptyTexts", {L"", I2(0), L"", L""}),
    kReadPfxToQmr.Refuses("ReadPfxToQmrRefusesNullTexts", {NullText(), I2(-1), NullText(), NullText()}),
    kReadPfxToQmr.Refuses("ReadPfxToQmrRefusesTheSmallestUsage", {L"c1", I2(-32768), L"pin", L"file"}),
    kReadPfxToQmr.Refuses("ReadPfxToQmrRefusesTextBeyondTheCodePage",
                          {kChinese, I2(32767), kChinese, kChinese}),
    kReadPfxToQmr.Refuses("ReadPfxToQmrRefusesTheNumbersOfScripts", {L"c1", I4(2), L"pin", L"file"}),
    kSetSessionKey.Refuses("SetSessionKeyRefusesUsualArguments", {L"key", L"c1"}),
    kSetSessionKey.Refuses("SetSessionKeyRefusesEmptyTexts", {L"", L""}),
    kSetSessionKey.Refuses("SetSessionKeyRefusesNullTexts", {NullText(), NullText()}),
    kSetSessionKey.Refuses("SetSessionKeyRefusesTextBeyondTheCodePage", {kChinese, kChinese}),
    kSetSessionKey.Refuses("SetSessionKeyRefusesNothing", {Empty(), Empty()}),
    kGetSessionKey.Refuses("GetSessionKeyRefusesAKnownContainer", {L"c1"}),
    kGetSessionKey.Refuses("GetSessionKeyRefusesAnUnknownContainer", {L"c9"}),
    kGetSessionKey.Refuses("GetSessionKeyRefusesEmptyTexts", {L""}),
    kGetSessionKey.Refuses("GetSessionKeyRefusesNullTexts", {NullText()}),
    kGetSessionKey.Refuses("GetSessionKeyRefusesTextBeyondTheCodePage", {kChinese}),
    kGenTSReq.Refuses("GenTSReqRefusesUsualArguments", {L"digest"}),
    kGenTSReq.Refuses("GenTSReqRefusesEmptyTexts", {L""}),
    kGenTSReq.Refuses("GenTSReqRefusesNullTexts", {NullText()}),
    kGenTSReq.Refuses("GenTSReqRefusesTextBeyondTheCodePage", {kChinese}),
    kGenTSReq.Refuses("GenTSReqRefusesANumber", {I4(5)}),
};
KZR_CASES(CryptoUnsupported, kCrypto, kRows);

}  // namespace
}  // namespace kzr::test
