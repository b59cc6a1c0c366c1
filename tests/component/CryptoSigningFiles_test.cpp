// Signing files and XML documents.
#include "CryptoRows.h"

namespace kzr::test {
namespace {

const Forwarder kSignFile = {L"signFile",
                             17,
                             Direct(&ICrypto::signFile),
                             [](const Values& given) {
                                 return LogSteps{
                                     Trace("CCrypto: signFile starting..."),
                                     Trace("CCrypto: signFile containerName(" + Shown(given, 1) + ")...")};
                             },
                             L"SOF_SignFile",
                             "CCrypto: signFile ending ok...",
                             "CCrypto: signFile call SOF_SignFile return NULL!",
                             L""};

const Forwarder kSignedDataXML = {
    L"signedDataXML",
    19,
    Direct(&ICrypto::signedDataXML),
    [](const Values& given) {
        return LogSteps{Trace("CCrypto: signedDataXML starting..."),
                        Trace("CCrypto: signedDataXML contaienrName(" + Shown(given, 1) + ")...")};
    },
    L"SOF_SignDataXML",
    "CCrypto: signedDataXML ending ok...",
    "CCrypto: signedDataXML call SOF_SignDataXML return NULL!",
    L""};

const std::vector<Case> kRows = {
    kSignFile.Gives("SignFileGivesTheBackendsText", {L"C:\\a.txt", L"c1"}, {L"c1/SN01", L"C:\\a.txt"},
                    L"signature"),
    kSignFile.Fails("SignFileIsEmptyForAnEmptyAnswer", {L"C:\\a.txt", L"c1"}, {L"c1/SN01", L"C:\\a.txt"},
                    L""),
    kSignFile.Fails("SignFileIsEmptyWhenTheCallFails", {L"C:\\a.txt", L"c1"}, {L"c1/SN01", L"C:\\a.txt"},
                    Fails(E_ACCESSDENIED)),
    kSignFile.Fails("SignFileOfAFailedCallIsEmptyWhateverItAnswered", {L"C:\\a.txt", L"c1"},
                    {L"c1/SN01", L"C:\\a.txt"}, Fails(E_FAIL, L"left behind")),
    kSignFile.Fails("SignFileLogsThePositiveStatusOfAnEmptyAnswer", {L"C:\\a.txt", L"c1"},
                    {L"c1/SN01", L"C:\\a.txt"}, Fails(S_FALSE, L"")),
    kSignFile.Gives("SignFileTakesATextWithAPositiveStatus", {L"C:\\a.txt", L"c1"},
                    {L"c1/SN01", L"C:\\a.txt"}, Fails(S_FALSE, L"signature"), L"signature"),
    kSignFile.Fails("SignFileTakesANumberForAnEmptyAnswer", {L"C:\\a.txt", L"c1"}, {L"c1/SN01", L"C:\\a.txt"},
                    I4(7)),
    kSignFile.Fails("SignFileTakesNoAnswerForAnEmptyOne", {L"C:\\a.txt", L"c1"}, {L"c1/SN01", L"C:\\a.txt"},
                    Empty()),
    kSignFile.Fails("SignFileTakesANullTextForAnEmptyAnswer", {L"C:\\a.txt", L"c1"},
                    {L"c1/SN01", L"C:\\a.txt"}, NullText()),
    kSignFile.Fails("SignFileSaysWhenTheBackendHasNoSuchMethod", {L"C:\\a.txt", L"c1"},
                    {L"c1/SN01", L"C:\\a.txt"}, UnknownName()),
    kSignFile.Gives("SignFileOfTheSecondUserSendsItsFullName", {L"C:\\a.txt", L"c2"},
                    {L"c2/SN02", L"C:\\a.txt"}, L"signature"),
    kSignFile.Gives("SignFileLooksUpThePartBeforeTheSlash", {L"C:\\a.txt", L"c1/anything/else"},
                    {L"c1/SN01", L"C:\\a.txt"}, L"signature"),
    kSignFile.Gives("SignFileSendsAnEmptyNameForAnUnknownContainer", {L"C:\\a.txt", L"c9"},
                    {L"", L"C:\\a.txt"}, L"signature"),
    kSignFile.Gives("SignFileSendsAnEmptyNameForOneThatBeginsWithASlash", {L"C:\\a.txt", L"/c1"},
                    {L"", L"C:\\a.txt"}, L"signature"),
    kSignFile.Gives("SignFileTellsLargeLettersFromSmallOnes", {L"C:\\a.txt", L"C1"}, {L"", L"C:\\a.txt"},
                    L"signature"),
    kSignFile.Gives("SignFileFillsAnEmptyContainerFromNowhere", {L"C:\\a.txt", L""}, {L"", L"C:\\a.txt"},
                    L"signature"),
    kSignFile.Gives("SignFileTakesANullContainerForAnEmptyOne", {L"C:\\a.txt", NullText()},
                    {L"", L"C:\\a.txt"}, L"signature"),
    kSignFile.Fails("SignFileOfAnUnknownContainerIsWhatTheBackendMakesOfIt", {L"C:\\a.txt", L"nobody"},
                    {L"", L"C:\\a.txt"}, L""),
    kSignFile.Gives("SignFileKeepsTextBeyondTheCodePage", {kChinese, L"c1"}, {L"c1/SN01", kChinese},
                    kChinese),
    kSignedDataXML.Gives("SignedDataXMLGivesTheBackendsText", {L"<a/>", L"c1"}, {L"c1/SN01", L"<a/>"},
                         L"<a>signed</a>"),
    kSignedDataXML.Fails("SignedDataXMLIsEmptyForAnEmptyAnswer", {L"<a/>", L"c1"}, {L"c1/SN01", L"<a/>"},
                         L""),
    kSignedDataXML.Fails("SignedDataXMLIsEmptyWhenTheCallFails", {L"<a/>", L"c1"}, {L"c1/SN01", L"<a/>"},
                         Fails(E_ACCESSDENIED)),
    kSignedDataXML.Fails("SignedDataXMLOfAFailedCallIsEmptyWhateverItAnswered", {L"<a/>", L"c1"},
                         {L"c1/SN01", L"<a/>"}, Fails(E_FAIL, L"left behind")),
    kSignedDataXML.Fails("SignedDataXMLLogsThePositiveStatusOfAnEmptyAnswer", {L"<a/>", L"c1"},
                         {L"c1/SN01", L"<a/>"}, Fails(S_FALSE, L"")),
    kSignedDataXML.Gives("SignedDataXMLTakesATextWithAPositiveStatus", {L"<a/>", L"c1"},
                         {L"c1/SN01", L"<a/>"}, Fails(S_FALSE, L"<a>signed</a>"), L"<a>signed</a>"),
    kSignedDataXML.Fails("SignedDataXMLTakesANumberForAnEmptyAnswer", {L"<a/>", L"c1"}, {L"c1/SN01", L"<a/>"},
                         I4(7)),
    kSignedDataXML.Fails("SignedDataXMLTakesNoAnswerForAnEmptyOne", {L"<a/>", L"c1"}, {L"c1/SN01", L"<a/>"},
                         Empty()),
    kSignedDataXML.Fails("SignedDataXMLTakesANullTextForAnEmptyAnswer", {L"<a/>", L"c1"},
                         {L"c1/SN01", L"<a/>"}, NullText()),
    kSignedDataXML.Fails("SignedDataXMLSaysWhenTheBackendHasNoSuchMethod", {L"<a/>", L"c1"},
                         {L"c1/SN01", L"<a/>"}, UnknownName()),
    kSignedDataXML.Gives("SignedDataXMLOfTheSecondUserSendsItsFullName", {L"<a/>", L"c2"},
                         {L"c2/SN02", L"<a/>"}, L"<a>signed</a>"),
    kSignedDataXML.Gives("SignedDataXMLLooksUpThePartBeforeTheSlash", {L"<a/>", L"c1/anything/else"},
                         {L"c1/SN01", L"<a/>"}, L"<a>signed</a>"),
    kSignedDataXML.Gives("SignedDataXMLSendsAnEmptyNameForAnUnknownContainer", {L"<a/>", L"c9"},
                         {L"", L"<a/>"}, L"<a>signed</a>"),
    kSignedDataXML.Gives("SignedDataXMLSendsAnEmptyNameForOneThatBeginsWithASlash", {L"<a/>", L"/c1"},
                         {L"", L"<a/>"}, L"<a>signed</a>"),
    kSignedDataXML.Gives("SignedDataXMLTellsLargeLettersFromSmallOnes", {L"<a/>", L"C1"}, {L"", L"<a/>"},
                         L"<a>signed</a>"),
    kSignedDataXML.Gives("SignedDataXMLFillsAnEmptyContainerFromNowhere", {L"<a/>", L""}, {L"", L"<a/>"},
                         L"<a>signed</a>"),
    kSignedDataXML.Gives("SignedDataXMLTakesANullContainerForAnEmptyOne", {L"<a/>", NullText()},
                         {L"", L"<a/>"}, L"<a>signed</a>"),
    kSignedDataXML.Fails("SignedDataXMLOfAnUnknownContainerIsWhatTheBackendMakesOfIt", {L"<a/>", L"nobody"},
                         {L"", L"<a/>"}, L""),
    kSignedDataXML.Gives("SignedDataXMLKeepsTextBeyondTheCodePage", {kChinese, L"c1"}, {L"c1/SN01", kChinese},
                         kChinese),
};
KZR_CASES(CryptoSigningFiles, kCrypto, kRows);

}  // namespace
}  // namespace kzr::test
