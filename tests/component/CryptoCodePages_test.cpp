// Text beyond ASCII in arguments, containers and answers. The user list passes through the ANSI code page, so
// a container's name is found only where that page can hold it; everything else stays wide.
#include "CryptoRows.h"

namespace kzr::test {
namespace {

constexpr wchar_t kName[] = L"\u5f20\u4e09";
constexpr wchar_t kUniqueName[] = L"\u5f20\u4e09/SN01";
// The second byte of its first character is a backslash in the Chinese code page.
constexpr wchar_t kFile[] = L"C:\\\u4e57\u6587.txt";

template <UINT page>
void RunsUnder(ComponentTest&, IDispatch*)
{
    EXPECT_EQ(page, GetACP()) << "the locale of this process gives another code page";
}

LogSteps Signing(const wchar_t* container, const Values& sent, const Answer& answer)
{
    return {Trace("CCrypto: signedData starting..."),
            Trace("CCrypto: signedData containerName(" + RenderForLog(container) + ")..."),
            Calls(L"SOF_SignData", sent, answer), Trace("CCrypto: signedData ending ok...")};
}

std::vector<Case> OfAUser(const wchar_t* container, void (*check)(ComponentTest&, IDispatch*),
                          std::vector<Case> rows)
{
    for (Case& row : rows) {
        row.users = {{kName, container, L"SN01", L"CSP1", L"EXT1"}};
        row.given = check;
    }
    return rows;
}

const std::vector<Case> kChineseRows = {
    {.name = "SignedDataFindsAChineseContainer",
     .method = L"signedData",
     .id = 5,
     .direct = Direct(&ICrypto::signedData),
     .arguments = {kChinese, kName},
     .steps = Signing(kName, {kUniqueName, kChinese}, kChinese),
     .retVal = kChinese},
    {.name = "SignedDataFindsAChineseContainerBeforeASlash",
     .method = L"signedData",
     .id = 5,
     .direct = Direct(&ICrypto::signedData),
     .arguments = {L"text", L"\u5f20\u4e09/\u5f20"},
     .steps = Signing(L"\u5f20\u4e09/\u5f20", {kUniqueName, L"text"}, L"signature"),
     .retVal = L"signature"},
    {.name = "AuthUserShowsAChineseSignature",
     .method = L"authUser",
     .id = 9,
     .direct = Direct(&ICrypto::authUser),
     .arguments = {kChinese, kName},
     .steps =
         LogSteps{Trace("CCrypto: authUser starting..."), Trace("CCrypto: authUser call signedData...")} +
         Signing(kName, {kUniqueName, kChinese}, kChinese) +
         LogSteps{Trace("CCrypto: authUser ending(" + RenderForLog(kChinese) + ")...")},
     .retVal = kChinese},
    {.name = "SignFileSendsAChineseFileName",
     .method = L"signFile",
     .id = 17,
     .direct = Direct(&ICrypto::signFile),
     .arguments = {kFile, kName},
     .steps = {Trace("CCrypto: signFile starting..."),
               Trace("CCrypto: signFile containerName(" + RenderForLog(kName) + ")..."),
               Calls(L"SOF_SignFile", {kUniqueName, kFile}, L"signature"),
               Trace("CCrypto: signFile ending ok...")},
     .retVal = L"signature"},
    {.name = "EnvelopedDataOpensWithAChineseContainer",
     .method = L"envelopedData",
     .id = 8,
     .direct = Direct(&ICrypto::envelopedData),
     .arguments = {L"envelope", I2(0), kName},
     .steps = {Trace("CCrypto: envelopedData starting..."),
               Trace("CCrypto: envelopedData flag(0) containerName(or cert)(" + RenderForLog(kName) + ")..."),
               Calls(L"SOF_DecryptData", {kUniqueName, L"envelope"}, kChinese),
               Trace("CCrypto: envelopedData ending ok...")},
     .retVal = kChinese},
    {.name = "DecDataByRSAFindsAChineseContainer",
     .method = L"DecDataByRSA",
     .id = 31,
     .direct = Direct(&ICrypto::DecDataByRSA),
     .arguments = {kName, L"cipher"},
     .steps = {Trace("CCrypto: DecDataByRSA starting..."),
               Trace("CCrypto: DecDataByRSA containerName(" + RenderForLog(kName) + ")..."),
               Calls(L"SOF_PriKeyDecrypt", {kUniqueName, L"cipher"}, kChinese),
               Trace("CCrypto: DecDataByRSA ending ok...")},
     .retVal = kChinese},
    {.name = "HashFileSendsAChineseFileName",
     .method = L"HashFile",
     .id = 40,
     .direct = Direct(&ICrypto::HashFile),
     .arguments = {kFile},
     .steps = {Trace("CCrypto: HashFile starting..."), Calls(L"SOF_HashFile", {I2(2), kFile}, L"digest"),
               Trace("CCrypto: HashFile ending ok...")},
     .retVal = L"digest"},
};
KZR_CASES(CodePage936Crypto, kCrypto, OfAUser(kName, RunsUnder<936>, kChineseRows));
KZR_CASES(CodePage65001Crypto, kCrypto, OfAUser(kName, RunsUnder<65001>, kChineseRows));

const std::vector<Case> kLostRows = {
    {.name = "SignedDataDoesNotFindAContainerThatTheListHasLost",
     .method = L"signedData",
     .id = 5,
     .direct = Direct(&ICrypto::signedData),
     .arguments = {kChinese, kName},
     .steps = Signing(kName, {L"", kChinese}, kChinese),
     .retVal = kChinese},
    {.name = "SignedDataFindsWhatTheListHasMadeOfAContainer",
     .method = L"signedData",
     .id = 5,
     .direct = Direct(&ICrypto::signedData),
     .arguments = {L"text", L"??"},
     .steps = Signing(L"??",
                      {L"?"
                       L"?/SN01",
                       L"text"},
                      L"signature"),
     .retVal = L"signature"},
};
KZR_CASES(CryptoLostContainer, kCrypto, OfAUser(kName, RunsUnder<1252>, kLostRows));

const std::vector<Case> kWesternRows = {
    {.name = "SignedDataFindsAContainerWithAnAccent",
     .method = L"signedData",
     .id = 5,
     .direct = Direct(&ICrypto::signedData),
     .arguments = {L"\u00e9t\u00e9", L"caf\u00e9"},
     .steps = Signing(L"caf\u00e9", {L"caf\u00e9/SN01", L"\u00e9t\u00e9"}, L"\u00fc"),
     .retVal = L"\u00fc"},
};
KZR_CASES(CryptoWesternContainer, kCrypto, OfAUser(L"caf\u00e9", RunsUnder<1252>, kWesternRows));

}  // namespace
}  // namespace kzr::test
