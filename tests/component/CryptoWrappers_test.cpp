// Methods that are another method of their object with lines around it: the same backend calls, the same
// answers.
#include "CryptoRows.h"

namespace kzr::test {
namespace {

const Forwarder kAuthUser = {
    L"authUser",
    9,
    Direct(&ICrypto::authUser),
    [](const Values& given) {
        return LogSteps{Trace("CCrypto: authUser starting..."), Trace("CCrypto: authUser call signedData..."),
                        Trace("CCrypto: signedData starting..."),
                        Trace("CCrypto: signedData containerName(" + Shown(given, 1) + ")...")};
    },
    L"SOF_SignData",
    "CCrypto: signedData ending ok...",
    "CCrypto: signedData call SOF_SignMessage return NULL!",
    L""};

const Forwarder kCheckUser = {L"checkUser",
                              10,
                              Direct(&ICrypto::checkUser),
                              [](const Values&) {
                                  return LogSteps{Trace("CCrypto: checkUser starting..."),
                                                  Trace("CCrypto: checkUser call verifySignedData..."),
                                                  Trace("CCrypto: verifySignedData starting...")};
                              },
                              L"SOF_VerifySignedData",
                              "CCrypto: verifySignedData ending ok...",
                              "CCrypto: verifySignedData call SOF_VerifySignedData return error!",
                              I2(-1)};

const Forwarder kPubKeyEncrypt = {L"pubKeyEncrypt",
                                  34,
                                  Direct(&ICrypto::pubKeyEncrypt),
                                  [](const Values&) {
                                      return LogSteps{Trace("CCrypto: pubKeyEncrypt starting..."),
                                                      Trace("CCrypto: pubKeyEncrypt call EncDataByCert..."),
                                                      Trace("CCrypto: EncDataByCert starting...")};
                                  },
                                  L"SOF_PubKeyEncrypt",
                                  "CCrypto: EncDataByCert ending ok...",
                                  "CCrypto: EncDataByCert call SOF_PubKeyEncrypt return NULL!",
                                  L""};

const Forwarder kPriKeyDecrypt = {
    L"priKeyDecrypt",
    35,
    Direct(&ICrypto::priKeyDecrypt),
    [](const Values& given) {
        return LogSteps{Trace("CCrypto: priKeyDecrypt starting..."),
                        Trace("CCrypto: priKeyDecrypt call DecDataByRSA..."),
                        Trace("CCrypto: DecDataByRSA starting..."),
                        Trace("CCrypto: DecDataByRSA containerName(" + Shown(given, 0) + ")...")};
    },
    L"SOF_PriKeyDecrypt",
    "CCrypto: DecDataByRSA ending ok...",
    "CCrypto: DecDataByRSA call SOF_PriKeyDecrypt return NULL!",
    L""};

// The outer method's last line, of which two show the answer.
std::vector<Case> Ending(std::vector<Case> rows, const std::string& text, bool showsAnswer)
{
    for (Case& row : rows)
        row.steps.push_back(Trace(
            "CCrypto: " + text +
            (showsAnswer
                 ? "(" + RenderForLog(row.retVal).substr(0, RenderForLog(row.retVal).find('\0')) + ")..."
                 : "...")));
    return rows;
}

const std::vector<Case> kAuthUserRows = Ending(
    {
        kAuthUser.Gives("AuthUserGivesTheBackendsText", {L"text", L"c1"}, {L"c1/SN01", L"text"},
                        L"signature"),
        kAuthUser.Fails("AuthUserIsEmptyForAnEmptyAnswer", {L"text", L"c1"}, {L"c1/SN01", L"text"}, L""),
        kAuthUser.Fails("AuthUserIsEmptyWhenTheCallFails", {L"text", L"c1"}, {L"c1/SN01", L"text"},
                        Fails(E_ACCESSDENIED)),
        kAuthUser.Fails("AuthUserOfAFailedCallIsEmptyWhateverItAnswered", {L"text", L"c1"},
                        {L"c1/SN01", L"text"}, Fails(E_FAIL, L"left behind")),
        kAuthUser.Fails("AuthUserLogsThePositiveStatusOfAnEmptyAnswer", {L"text", L"c1"},
                        {L"c1/SN01", L"text"}, Fails(S_FALSE, L"")),
        kAuthUser.Gives("AuthUserTakesATextWithAPositiveStatus", {L"text", L"c1"}, {L"c1/SN01", L"text"},
                        Fails(S_FALSE, L"signature"), L"signature"),
        kAuthUser.Fails("AuthUserTakesANumberForAnEmptyAnswer", {L"text", L"c1"}, {L"c1/SN01", L"text"},
                        I4(7)),
        kAuthUser.Fails("AuthUserTakesNoAnswerForAnEmptyOne", {L"text", L"c1"}, {L"c1/SN01", L"text"},
                        Empty()),
        kAuthUser.Fails("AuthUserTakesANullTextForAnEmptyAnswer", {L"text", L"c1"}, {L"c1/SN01", L"text"},
                        NullText()),
        kAuthUser.Fails("AuthUserSaysWhenTheBackendHasNoSuchMethod", {L"text", L"c1"}, {L"c1/SN01", L"text"},
                        UnknownName()),
        kAuthUser.Gives("AuthUserOfTheSecondUserSendsItsFullName", {L"text", L"c2"}, {L"c2/SN02", L"text"},
                        L"signature"),
        kAuthUser.Gives("AuthUserLooksUpThePartBeforeTheSlash", {L"text", L"c1/anything/else"},
                        {L"c1/SN01", L"text"}, L"signature"),
        kAuthUser.Gives("AuthUserSendsAnEmptyNameForAnUnknownContainer", {L"text", L"c9"}, {L"", L"text"},
                        L"signature"),
        kAuthUser.Gives("AuthUserSendsAnEmptyNameForOneThatBeginsWithASlash", {L"text", L"/c1"},
                        {L"", L"text"}, L"signature"),
        kAuthUser.Gives("AuthUserTellsLargeLettersFromSmallOnes", {L"text", L"C1"}, {L"", L"text"},
                        L"signature"),
        kAuthUser.Gives("AuthUserFillsAnEmptyContainerFromNowhere", {L"text", L""}, {L"", L"text"},
                        L"signature"),
        kAuthUser.Gives("AuthUserTakesANullContainerForAnEmptyOne", {L"text", NullText()}, {L"", L"text"},
                        L"signature"),
        kAuthUser.Fails("AuthUserOfAnUnknownContainerIsWhatTheBackendMakesOfIt", {L"text", L"nobody"},
                        {L"", L"text"}, L""),
        kAuthUser.Gives("AuthUserWithoutAContainerSendsAnEmptyName", {L"text"}, {L"", L"text"}, L"signature"),
        kAuthUser.Gives("AuthUserTakesAnOmittedContainerForAnEmptyOne", {L"text", Missing()}, {L"", L"text"},
                        L"signature"),
        kAuthUser.Gives("AuthUserKeepsTextBeyondTheCodePage", {kChinese, L"c1"}, {L"c1/SN01", kChinese},
                        kChinese),
        kAuthUser.Gives("AuthUserGivesATextWithNullsWhole", {L"text", L"c1"}, {L"c1/SN01", L"text"},
                        Value(std::wstring(L"sig\0nature", 10)), std::wstring(L"sig\0nature", 10)),
        kAuthUser.Gives("AuthUserSendsANullTextAsItIs", {NullText(), L"c1"}, {L"c1/SN01", NullText()},
                        L"signature"),
    },
    "authUser ending", true);
KZR_CASES(CryptoAuthUser, kCrypto, kAuthUserRows);

const std::vector<Case> kCheckUserRows = Ending(
    {
        kCheckUser.Gives("CheckUserIsZeroForATrueAnswer", {L"signature", L"cert", L"text"},
                         {L"cert", L"text", L"signature"}, Bool(true), I2(0)),
        kCheckUser.Fails("CheckUserIsMinusOneForAFalseAnswer", {L"signature", L"cert", L"text"},
                         {L"cert", L"text", L"signature"}, Bool(false)),
        kCheckUser.Fails("CheckUserIsMinusOneWhenTheCallFails", {L"signature", L"cert", L"text"},
                         {L"cert", L"text", L"signature"}, Fails(E_ACCESSDENIED)),
        kCheckUser.Fails("CheckUserOfAFailedCallIsMinusOneWhateverItAnswered",
                         {L"signature", L"cert", L"text"}, {L"cert", L"text", L"signature"},
                         Fails(E_FAIL, Bool(true))),
        kCheckUser.Gives("CheckUserTakesATrueAnswerWithAPositiveStatus", {L"signature", L"cert", L"text"},
                         {L"cert", L"text", L"signature"}, Fails(S_FALSE, Bool(true)), I2(0)),
        kCheckUser.Fails("CheckUserOfAFalseAnswerWithAPositiveStatusIsMinusOne",
                         {L"signature", L"cert", L"text"}, {L"cert", L"text", L"signature"},
                         Fails(S_FALSE, Bool(false))),
        kCheckUser.Gives("CheckUserTakesAnyNumberButZeroForTrue", {L"signature", L"cert", L"text"},
                         {L"cert", L"text", L"signature"}, I2(2), I2(0)),
        kCheckUser.Fails("CheckUserLooksAtSixteenBitsOnly", {L"signature", L"cert", L"text"},
                         {L"cert", L"text", L"signature"}, I4(65536)),
        kCheckUser.Gives("CheckUserLooksAtAllSixteenBits", {L"signature", L"cert", L"text"},
                         {L"cert", L"text", L"signature"}, I4(0x8000), I2(0)),
        kCheckUser.Fails("CheckUserTakesNoAnswerForFalse", {L"signature", L"cert", L"text"},
                         {L"cert", L"text", L"signature"}, Empty()),
        kCheckUser.Fails("CheckUserSaysWhenTheBackendHasNoSuchMethod", {L"signature", L"cert", L"text"},
                         {L"cert", L"text", L"signature"}, UnknownName()),
        kCheckUser.Gives("CheckUserKeepsTextBeyondTheCodePage", {L"signature", L"cert", kChinese},
                         {L"cert", kChinese, L"signature"}, Bool(true), I2(0)),
    },
    "checkUser ending", true);
KZR_CASES(CryptoCheckUser, kCrypto, kCheckUserRows);

const std::vector<Case> kPubKeyEncryptRows = Ending(
    {
        kPubKeyEncrypt.Gives("PubKeyEncryptGivesTheBackendsText", {L"cert", L"text"}, {L"cert", L"text"},
                             L"cipher"),
        kPubKeyEncrypt.Fails("PubKeyEncryptIsEmptyForAnEmptyAnswer", {L"cert", L"text"}, {L"cert", L"text"},
                             L""),
        kPubKeyEncrypt.Fails("PubKeyEncryptIsEmptyWhenTheCallFails", {L"cert", L"text"}, {L"cert", L"text"},
                             Fails(E_ACCESSDENIED)),
        kPubKeyEncrypt.Fails("PubKeyEncryptOfAFailedCallIsEmptyWhateverItAnswered", {L"cert", L"text"},
                             {L"cert", L"text"}, Fails(E_FAIL, L"left behind")),
        kPubKeyEncrypt.Fails("PubKeyEncryptLogsThePositiveStatusOfAnEmptyAnswer", {L"cert", L"text"},
                             {L"cert", L"text"}, Fails(S_FALSE, L"")),
        kPubKeyEncrypt.Gives("PubKeyEncryptTakesATextWithAPositiveStatus", {L"cert", L"text"},
                             {L"cert", L"text"}, Fails(S_FALSE, L"cipher"), L"cipher"),
        kPubKeyEncrypt.Fails("PubKeyEncryptTakesANumberForAnEmptyAnswer", {L"cert", L"text"},
                             {L"cert", L"text"}, I4(7)),
        kPubKeyEncrypt.Fails("PubKeyEncryptTakesNoAnswerForAnEmptyOne", {L"cert", L"text"},
                             {L"cert", L"text"}, Empty()),
        kPubKeyEncrypt.Fails("PubKeyEncryptTakesANullTextForAnEmptyAnswer", {L"cert", L"text"},
                             {L"cert", L"text"}, NullText()),
        kPubKeyEncrypt.Fails("PubKeyEncryptSaysWhenTheBackendHasNoSuchMethod", {L"cert", L"text"},
                             {L"cert", L"text"}, UnknownName()),
        kPubKeyEncrypt.Gives("PubKeyEncryptKeepsTextBeyondTheCodePage", {L"cert", kChinese},
                             {L"cert", kChinese}, kChinese),
        kPubKeyEncrypt.Gives("PubKeyEncryptSendsEmptyAndNullTextsAsTheyAre", {NullText(), L""},
                             {NullText(), L""}, L"cipher"),
    },
    "pubKeyEncrypt ending", false);
KZR_CASES(CryptoPubKeyEncrypt, kCrypto, kPubKeyEncryptRows);

const std::vector<Case> kPriKeyDecryptRows = Ending(
    {
        kPriKeyDecrypt.Gives("PriKeyDecryptGivesTheBackendsText", {L"c1", L"cipher"}, {L"c1/SN01", L"cipher"},
                             L"text"),
        kPriKeyDecrypt.Fails("PriKeyDecryptIsEmptyForAnEmptyAnswer", {L"c1", L"cipher"},
                             {L"c1/SN01", L"cipher"}, L""),
        kPriKeyDecrypt.Fails("PriKeyDecryptIsEmptyWhenTheCallFails", {L"c1", L"cipher"},
                             {L"c1/SN01", L"cipher"}, Fails(E_ACCESSDENIED)),
        kPriKeyDecrypt.Fails("PriKeyDecryptOfAFailedCallIsEmptyWhateverItAnswered", {L"c1", L"cipher"},
                             {L"c1/SN01", L"cipher"}, Fails(E_FAIL, L"left behind")),
        kPriKeyDecrypt.Fails("PriKeyDecryptLogsThePositiveStatusOfAnEmptyAnswer", {L"c1", L"cipher"},
                             {L"c1/SN01", L"cipher"}, Fails(S_FALSE, L"")),
        kPriKeyDecrypt.Gives("PriKeyDecryptTakesATextWithAPositiveStatus", {L"c1", L"cipher"},
                             {L"c1/SN01", L"cipher"}, Fails(S_FALSE, L"text"), L"text"),
        kPriKeyDecrypt.Fails("PriKeyDecryptTakesANumberForAnEmptyAnswer", {L"c1", L"cipher"},
                             {L"c1/SN01", L"cipher"}, I4(7)),
        kPriKeyDecrypt.Fails("PriKeyDecryptTakesNoAnswerForAnEmptyOne", {L"c1", L"cipher"},
                             {L"c1/SN01", L"cipher"}, Empty()),
        kPriKeyDecrypt.Fails("PriKeyDecryptTakesANullTextForAnEmptyAnswer", {L"c1", L"cipher"},
                             {L"c1/SN01", L"cipher"}, NullText()),
        kPriKeyDecrypt.Fails("PriKeyDecryptSaysWhenTheBackendHasNoSuchMethod", {L"c1", L"cipher"},
                             {L"c1/SN01", L"cipher"}, UnknownName()),
        kPriKeyDecrypt.Gives("PriKeyDecryptOfTheSecondUserSendsItsFullName", {L"c2", L"cipher"},
                             {L"c2/SN02", L"cipher"}, L"text"),
        kPriKeyDecrypt.Gives("PriKeyDecryptLooksUpThePartBeforeTheSlash", {L"c1/anything/else", L"cipher"},
                             {L"c1/SN01", L"cipher"}, L"text"),
        kPriKeyDecrypt.Gives("PriKeyDecryptSendsAnEmptyNameForAnUnknownContainer", {L"c9", L"cipher"},
                             {L"", L"cipher"}, L"text"),
        kPriKeyDecrypt.Gives("PriKeyDecryptSendsAnEmptyNameForOneThatBeginsWithASlash", {L"/c1", L"cipher"},
                             {L"", L"cipher"}, L"text"),
        kPriKeyDecrypt.Gives("PriKeyDecryptTellsLargeLettersFromSmallOnes", {L"C1", L"cipher"},
                             {L"", L"cipher"}, L"text"),
        kPriKeyDecrypt.Gives("PriKeyDecryptFillsAnEmptyContainerFromNowhere", {L"", L"cipher"},
                             {L"", L"cipher"}, L"text"),
        kPriKeyDecrypt.Gives("PriKeyDecryptTakesANullContainerForAnEmptyOne", {NullText(), L"cipher"},
                             {L"", L"cipher"}, L"text"),
        kPriKeyDecrypt.Fails("PriKeyDecryptOfAnUnknownContainerIsWhatTheBackendMakesOfIt",
                             {L"nobody", L"cipher"}, {L"", L"cipher"}, L""),
        kPriKeyDecrypt.Gives("PriKeyDecryptKeepsTextBeyondTheCodePage", {L"c1", kChinese},
                             {L"c1/SN01", kChinese}, kChinese),
    },
    "priKeyDecrypt ending", false);
KZR_CASES(CryptoPriKeyDecrypt, kCrypto, kPriKeyDecryptRows);

// What the backend may answer; each outcome is put to the inner and to the outer method of one object.
const Answer kOutcomes[] = {L"text",
                            L"",
                            Fails(E_ACCESSDENIED),
                            Fails(E_FAIL, L"left behind"),
                            Fails(S_FALSE, L""),
                            Fails(S_FALSE, L"text"),
                            Bool(true),
                            Bool(false),
                            I4(65536),
                            I4(7),
                            Empty(),
                            Null(),
                            NullText(),
                            UnknownName()};

struct Pair {
    const wchar_t* inner;
    const wchar_t* outer;
    Values given;
    const wchar_t* backend;
};
const Pair kPairs[] = {
    {L"signedData", L"authUser", {L"text", L"c1"}, L"SOF_SignData"},
    {L"signedData", L"authUser", {L"text"}, L"SOF_SignData"},
    {L"verifySignedData", L"checkUser", {L"signature", L"cert", L"text"}, L"SOF_VerifySignedData"},
    {L"EncDataByCert", L"pubKeyEncrypt", {L"cert", L"text"}, L"SOF_PubKeyEncrypt"},
    {L"DecDataByRSA", L"priKeyDecrypt", {L"c2", L"cipher"}, L"SOF_PriKeyDecrypt"},
};

TEST_F(ComponentTest, MethodsAroundOthersAnswerAndSendWhatTheseDo)
{
    backend->SetUsers(DefaultUsers());
    const ComPtr<IDispatch> crypto = Make(kCrypto);
    for (const Pair& pair : kPairs)
        for (const Answer& outcome : kOutcomes) {
            backend->Allow(pair.backend, outcome);
            backend->ForgetCalls();
            const CallResult inner = Call(crypto.Get(), pair.inner, pair.given);
            const std::vector<RecordedCall> innerCalls = backend->AllCalls();
            backend->ForgetCalls();
            const CallResult outer = Call(crypto.Get(), pair.outer, pair.given);
            const std::vector<RecordedCall> outerCalls = backend->AllCalls();

            EXPECT_EQ(S_OK, inner.result);
            EXPECT_EQ(S_OK, outer.result);
            EXPECT_EQ(inner.value, outer.value) << RenderForLog(pair.outer);
            ASSERT_FALSE(innerCalls.empty());
            ASSERT_EQ(innerCalls.size(), outerCalls.size());
            for (std::size_t i = 0; i < innerCalls.size(); ++i)
                EXPECT_EQ(Describe(innerCalls[i]), Describe(outerCalls[i]));
        }
}

}  // namespace
}  // namespace kzr::test
