// CUtil, facts about the user of a container: every type of fact, and the calls each of them makes.
#include "ForwardingRows.h"
#include "KzrSecX_h.h"

namespace kzr::test {
namespace {

LogSteps Begin(const Value& container, int type)
{
    return {Trace("CUtil: getUserInfoByContainer starting..."),
            Trace("CUtil: getUserInfoByContainer containerName(" + Shown(container) + ") TypeID(" +
                  std::to_string(type) + ")...")};
}

LogSteps End(const Value& text)
{
    return {Trace("CUtil: getUserInfoByContainer userInof(" + Shown(text) + ")..."),
            Trace("CUtil: getUserInfoByContainer ending...")};
}

LogSteps operator+(LogSteps first, const LogSteps& more)
{
    first.insert(first.end(), more.begin(), more.end());
    return first;
}

Case Row(const std::string& name, const Value& container, int type, const LogSteps& steps,
         const Value& retVal, const std::vector<User>& users = DefaultUsers())
{
    return {.name = name,
            .method = L"getUserInfoByContainer",
            .id = 4,
            .direct = Direct(&IUtil::getUserInfoByContainer),
            .arguments = {container, I2(type)},
            .steps = steps,
            .retVal = retVal,
            .users = users};
}

// A fact that is told without asking the backend.
Case Tells(const std::string& name, int type, const Value& text, const Value& container = L"c1",
           const std::vector<User>& users = DefaultUsers())
{
    return Row(name, container, type, Begin(container, type) + End(text), text, users);
}

Case TellsNothingWithALine(int type)
{
    const std::string number = std::to_string(type);
    return Row("Type" + number + "IsEmptyWithALine", L"c1", type,
               Begin(L"c1", type) +
                   LogSteps{Trace("CUtil: getUserInfoByContainer TypeID(" + number + ") return NULL...")} +
                   End(L""),
               L"");
}

Rows FactsOfNobody()
{
    Rows rows;
    for (const int type : {5, 6, 7, 8, 9, 16, 17, 18, 19, 20, 21, 22, 25})
        rows.push_back(TellsNothingWithALine(type));
    for (int type = 26; type <= 39; ++type)
        rows.push_back(Tells("Type" + std::to_string(type) + "IsEmptyWithoutALine", type, L""));
    for (const int type : {0, 42, 43, 300, 1000, 32767})
        rows.push_back(Tells("Type" + std::to_string(type) + "IsEmptyWithoutALine", type, L""));
    rows.push_back(Tells("TypeMinus1IsEmptyWithoutALine", -1, L""));
    rows.push_back(Tells("TheSmallestTypeIsEmptyWithoutALine", -32768, L""));
    return rows;
}
KZR_CASES(UtilUserInfoNothing, kUtil, FactsOfNobody());

const std::vector<User> kNoDevice = {{L"Alice", L"c1", L"", L"", L""}};

const Rows kFactsOfTheCache = {
    Tells("Type13GivesTheSerialNumber", 13, L"SN01"),
    Tells("Type13OfAnUnknownContainerIsEmpty", 13, L"", L"c3"),
    Tells("Type13TakesAContainerUpToItsSlash", 13, L"SN02", L"c2/anything"),
    Tells("Type13OfADeviceWithoutOneIsEmpty", 13, L"", L"c1", kNoDevice),
    Tells("Type13OfANullContainerIsEmpty", 13, L"", NullText()),
    Tells("Type14GivesTheCspName", 14, L"CSP1"),
    Tells("Type14OfAnUnknownContainerIsEmpty", 14, L"", L"c3"),
    Tells("Type14TakesAContainerUpToItsSlash", 14, L"CSP2", L"c2/SN01"),
    Tells("Type14OfADeviceWithoutOneIsEmpty", 14, L"", L"c1", kNoDevice),
    Tells("Type40GivesTheCspName", 40, L"CSP2", L"c2"),
    Tells("Type40OfAContainerOfOtherLetterCaseIsEmpty", 40, L"", L"C1"),
    Tells("Type40FindsNoContainerThatBeginsWithASlash", 40, L"", L"/c1"),
    Tells("Type15GivesTheLibrarysName", 15, L"EXT1"),
    Tells("Type15OfAnUnknownContainerIsEmpty", 15, L"", L"c3"),
    Tells("Type15TakesAContainerUpToItsSlash", 15, L"EXT2", L"c2/"),
    Tells("Type15OfADeviceWithoutOneIsEmpty", 15, L"", L"c1", kNoDevice),
    Tells("Type41GivesTheLibrarysName", 41, L"EXT2", L"c2"),
    Tells("Type41OfAnEmptyContainerIsEmpty", 41, L"", L""),
    Tells("Type23IsOne", 23, L"1"),
    Tells("Type23IsOneForAContainerThatDoesNotExist", 23, L"1", L"c3"),
    Tells("Type24IsOne", 24, L"1"),
    Tells("Type24IsOneForANullContainer", 24, L"1", NullText()),
    Tells("Type24IsOneInAnEmptyList", 24, L"1", L"c1", {}),
    GivenAs(Tells("", 23, L"1"), "TakesAScriptsNumber", {L"c1", I4(23)}),
    GivenAs(Tells("", 23, L"1"), "TakesABrokenNumber", {L"c1", R8(23.0)}),
    GivenAs(Tells("", 23, L"1"), "TakesATextForItsNumber", {L"c1", L"23"}),
    GivenAs(Tells("", 13, L"SN01"), "TakesVariables", {ByVariant(L"c1"), ByVariant(I2(13))}),
    GivenAs(Tells("", 0, L""), "TakesUndefinedForTypeZero", {L"c1", Empty()}),
};
KZR_CASES(UtilUserInfoCache, kUtil, kFactsOfTheCache);

Case TurnedAwayRow(const std::string& name, const Values& arguments, HRESULT result)
{
    return {
        .name = name, .method = L"getUserInfoByContainer", .id = 4, .arguments = arguments, .result = result};
}

const Rows kTurnedAway = {
    TurnedAwayRow("ATypeBeyond16Bits", {L"c1", I4(65559)}, DISP_E_OVERFLOW),
    TurnedAwayRow("ANullType", {L"c1", Null()}, DISP_E_TYPEMISMATCH),
    TurnedAwayRow("ATextThatIsNoNumber", {L"c1", L"one"}, DISP_E_TYPEMISMATCH),
    TurnedAwayRow("AMissingType", {L"c1"}, DISP_E_BADPARAMCOUNT),
};
KZR_CASES(UtilUserInfoTurnsAway, kUtil, kTurnedAway);

// Types 1 to 4: the signing certificate, and what the backend reads in it.
constexpr char kNoExport[] = "CUtil: getUserInfoByContainer SOF_ExportUserCert return NULL!";
constexpr char kNoFact[] = "CUtil: getUserInfoByContainer SOF_GetCertInfo or SOF_GetCertEntity return NULL!";

LogStep Export(const Answer& answer = L"CERT", const wchar_t* id = L"c1/SN01")
{
    return Calls(L"SOF_ExportUserCert", {id}, answer);
}

// What is asked of a certificate for this type.
LogStep Ask(int type, const Answer& answer, const Value& certificate = L"CERT")
{
    if (type == 2) return Calls(L"SOF_GetCertEntity", {certificate}, answer);
    const int field = type == 1 ? 17 : type == 3 ? 15 : 8;
    return Calls(L"SOF_GetCertInfo", {certificate, I2(field)}, answer);
}

Rows FactsOfTheCertificate(int type)
{
    const std::string t = "Type" + std::to_string(type);
    const LogSteps begin = Begin(L"c1", type);
    const auto gives = [&](const char* name, const Answer& exported, const Answer& fact, const Value& text) {
        return Row(t + name, L"c1", type,
                   begin + LogSteps{Export(exported), Ask(type, fact, exported.value)} + End(text), text);
    };
    const auto noExport = [&](const char* name, const Answer& exported, HRESULT status) {
        return Row(t + name, L"c1", type, begin + LogSteps{Export(exported), Error(kNoExport, status)}, L"");
    };
    const auto noFact = [&](const char* name, const Answer& exported, const Answer& fact, HRESULT status) {
        return Row(t + name, L"c1", type,
                   begin + LogSteps{Export(exported), Ask(type, fact), Error(kNoFact, status)}, L"");
    };
    return {
        gives("GivesTheBackendsText", L"CERT", L"Alice", L"Alice"),
        gives("KeepsTheLettersAsTheyAre", L"CERT", L"aLiCe", L"aLiCe"),
        gives("TakesAnExportWithAPositiveStatus", Fails(S_FALSE, L"CERT"), L"Alice", L"Alice"),
        gives("TakesATextWithAPositiveStatus", L"CERT", Fails(S_FALSE, L"Alice"), L"Alice"),
        noExport("EndsWhenTheExportFails", Fails(E_ACCESSDENIED), E_ACCESSDENIED),
        noExport("EndsWhenAFailedExportLeftAText", Fails(E_FAIL, L"CERT"), E_FAIL),
        noExport("EndsForAnEmptyCertificate", L"", S_OK),
        noExport("LogsThePositiveStatusOfAnEmptyExport", Fails(S_FALSE, L""), S_FALSE),
        noExport("EndsForACertificateThatIsANumber", I4(7), S_OK),
        noExport("EndsForNoCertificate", Empty(), S_OK),
        noExport("EndsWhenTheBackendCannotExport", UnknownName(), DISP_E_UNKNOWNNAME),
        noFact("EndsForAnEmptyFact", L"CERT", L"", S_OK),
        noFact("EndsForAFactThatIsANumber", L"CERT", I4(7), S_OK),
        noFact("EndsForNoFact", L"CERT", Empty(), S_OK),
    };
}

// The second call's status counts for types 1 and 4 alone.
Case FailedFact(int type, const char* name, const Answer& exported, const Answer& fact, HRESULT status)
{
    return Row("Type" + std::to_string(type) + name, L"c1", type,
               Begin(L"c1", type) + LogSteps{Export(exported), Ask(type, fact), Error(kNoFact, status)}, L"");
}

Case IgnoredFailure(int type)
{
    return Row("Type" + std::to_string(type) + "GivesTheTextThatAFailedCallLeft", L"c1", type,
               Begin(L"c1", type) + LogSteps{Export(), Ask(type, Fails(E_FAIL, L"Alice"))} + End(L"Alice"),
               L"Alice");
}

Case OfContainer(int type, const char* name, const Value& container, const wchar_t* id)
{
    return Row("Type" + std::to_string(type) + name, container, type,
               Begin(container, type) + LogSteps{Export(L"CERT", id), Ask(type, L"Bob")} + End(L"Bob"),
               L"Bob");
}

const Rows kCertificateFacts = Join({
    FactsOfTheCertificate(1),
    FactsOfTheCertificate(2),
    FactsOfTheCertificate(3),
    FactsOfTheCertificate(4),
    {
        FailedFact(1, "EndsWhenTheCallFails", L"CERT", Fails(E_ACCESSDENIED), E_ACCESSDENIED),
        FailedFact(1, "EndsWhenAFailedCallLeftAText", L"CERT", Fails(E_FAIL, L"Alice"), E_FAIL),
        FailedFact(1, "LogsTheSecondCallsPositiveStatus", L"CERT", Fails(S_FALSE, L""), S_FALSE),
        FailedFact(1, "EndsWhenTheBackendHasNoSuchMethod", L"CERT", UnknownName(), DISP_E_UNKNOWNNAME),
        FailedFact(4, "EndsWhenTheCallFails", L"CERT", Fails(E_ACCESSDENIED), E_ACCESSDENIED),
        FailedFact(4, "EndsWhenAFailedCallLeftAText", L"CERT", Fails(E_FAIL, L"Alice"), E_FAIL),
        FailedFact(4, "LogsTheSecondCallsPositiveStatus", L"CERT", Fails(S_FALSE, L""), S_FALSE),
        FailedFact(2, "LogsTheExportsStatusWhenTheCallFails", L"CERT", Fails(E_ACCESSDENIED), S_OK),
        FailedFact(2, "LogsTheExportsPositiveStatusWhenTheCallFails", Fails(S_FALSE, L"CERT"),
                   Fails(E_ACCESSDENIED), S_FALSE),
        FailedFact(2, "LogsTheExportsStatusWhenTheBackendHasNoSuchMethod", L"CERT", UnknownName(), S_OK),
        FailedFact(3, "LogsTheExportsStatusWhenTheCallFails", L"CERT", Fails(E_ACCESSDENIED), S_OK),
        FailedFact(3, "LogsTheExportsPositiveStatusWhenTheCallFails", Fails(S_FALSE, L"CERT"),
                   Fails(E_ACCESSDENIED), S_FALSE),
        IgnoredFailure(2),
        IgnoredFailure(3),
        OfContainer(1, "TakesAContainerUpToItsSlash", L"c2/anything", L"c2/SN02"),
        OfContainer(1, "AsksForAnUnknownContainerWithAnEmptyIdentifier", L"c3", L""),
        OfContainer(1, "AsksForANullContainerWithAnEmptyIdentifier", NullText(), L""),
        OfContainer(2, "FindsNoContainerThatBeginsWithASlash", L"/c1", L""),
        OfContainer(3, "AsksForAnUnknownContainerWithAnEmptyIdentifier", L"c3", L""),
        OfContainer(4, "TakesAContainerUpToItsSlash", L"c1/x/y", L"c1/SN01"),
    },
});
KZR_CASES(UtilUserInfoCertificate, kUtil, kCertificateFacts);

// Type 10: how many certificates there are, by what the two exports left.
LogSteps Exports(const Answer& signing, const Answer& exchange, const wchar_t* id = L"c1/SN01")
{
    return {Export(signing, id), Calls(L"SOF_ExportExChangeUserCert", {id}, exchange)};
}

Case Counts(const char* name, const Answer& signing, const Answer& exchange, const wchar_t* count)
{
    return Row(name, L"c1", 10, Begin(L"c1", 10) + Exports(signing, exchange) + End(count), count);
}

const Rows kCounts = {
    Counts("NoneIsZero", L"", L"", L"0"),
    Counts("OnlyASigningCertificateIsOne", L"SIGN", L"", L"1"),
    Counts("TheSameOneTwiceIsOne", L"SAME", L"SAME", L"1"),
    Counts("TwoDifferentOnesAreTwo", L"SIGN", L"EXCHANGE", L"2"),
    Counts("OnesThatDifferInLetterCaseAreTwo", L"CERT", L"cert", L"2"),
    Counts("OnesOfDifferentLengthsAreTwo", L"CERT", L"CERTS", L"2"),
    Counts("OnlyAnExchangeCertificateIsTwo", L"", L"EXCHANGE", L"2"),
    Counts("NoSigningAnswerAndAnExchangeCertificateAreTwo", Empty(), L"EXCHANGE", L"2"),
    Counts("ANumberAndAnExchangeCertificateAreTwo", I4(7), L"EXCHANGE", L"2"),
    Counts("NullAndAnExchangeCertificateAreTwo", Null(), L"EXCHANGE", L"2"),
    Counts("ASigningCertificateAndANumberAreOne", L"SIGN", I4(7), L"1"),
    Counts("ASigningCertificateAndNoAnswerAreOne", L"SIGN", Empty(), L"1"),
    Counts("TwoEqualNumbersAreZero", I4(7), I4(7), L"0"),
    Counts("NoAnswersAreZero", Empty(), Empty(), L"0"),
    Counts("TwoNullsAreZero", Null(), Null(), L"0"),
    Counts("TwoFailuresAreZero", Fails(E_FAIL), Fails(E_FAIL), L"0"),
    Counts("AFailedSigningExportsTextCounts", Fails(E_FAIL, L"SIGN"), L"", L"1"),
    Counts("AFailedExchangeExportsTextCounts", L"SIGN", Fails(E_FAIL, L"EXCHANGE"), L"2"),
    Counts("TwoFailedExportsOfTheSameTextAreOne", Fails(E_FAIL, L"SAME"), Fails(E_FAIL, L"SAME"), L"1"),
    Counts("AFailedSigningExportDoesNotStopTheOther", Fails(E_ACCESSDENIED), L"EXCHANGE", L"2"),
    Counts("ABackendWithoutTheFirstExport", UnknownName(), L"", L"0"),
    Counts("ABackendWithoutTheSecondExport", L"SIGN", UnknownName(), L"1"),
    Row("AnUnknownContainerHasAnEmptyIdentifier", L"c3", 10,
        Begin(L"c3", 10) + Exports(L"", L"", L"") + End(L"0"), L"0"),
    Row("AContainerCountsUpToItsSlash", L"c2/x", 10,
        Begin(L"c2/x", 10) + Exports(L"A", L"B", L"c2/SN02") + End(L"2"), L"2"),
};
KZR_CASES(UtilUserInfoCertificateCount, kUtil, kCounts);

// Types 11 and 12: the serial number of one of both, in small letters.
LogSteps AskSerial(const Answer& signing, const Answer& exchange, const Value& certificate,
                   const Answer& number)
{
    return Exports(signing, exchange) + LogSteps{Calls(L"SOF_GetCertInfo", {certificate, I2(2)}, number)};
}

Case Serial(int type, const char* name, const Answer& number, const Value& text)
{
    return Row("Type" + std::to_string(type) + name, L"c1", type,
               Begin(L"c1", type) +
                   AskSerial(L"SIGN", L"EXCHANGE", type == 11 ? L"SIGN" : L"EXCHANGE", number) + End(text),
               text);
}

Case SerialOf(const char* name, int type, const Answer& signing, const Answer& exchange)
{
    return Row(name, L"c1", type,
               Begin(L"c1", type) +
                   AskSerial(signing, exchange, type == 11 ? signing.value : exchange.value, L"0A") +
                   End(L"0a"),
               L"0a");
}

// A number that no text can be made of ends in the guard.
Case NoText(int type, const char* name, const Value& number)
{
    Case row =
        Row("Type" + std::to_string(type) + name, L"c1", type,
            Begin(L"c1", type) + AskSerial(L"SIGN", L"EXCHANGE", type == 11 ? L"SIGN" : L"EXCHANGE", number) +
                LogSteps{Error("Invoke CCertificate dispid(4): receive a fatal error!!!")},
            L"");
    row.mayFault = true;
    // Of a text that was never stored the platform's dispatch makes an empty one; the vtable has none.
    row.direct = nullptr;
    return row;
}

Rows SerialNumbers(int type)
{
    return {Serial(type, "GivesTheNumberInSmallLetters", L"0A1B", L"0a1b"),
            Serial(type, "ChangesCapitalsOnly", L"@AZ[`az{09", L"@az[`az{09"),
            Serial(type, "IsEmptyForAnEmptyNumber", L"", L""),
            Serial(type, "IsEmptyForNoNumber", Empty(), L""),
            Serial(type, "IsEmptyWhenTheCallFails", Fails(E_ACCESSDENIED), L""),
            Serial(type, "GivesTheTextThatAFailedCallLeft", Fails(E_FAIL, L"0A1B"), L"0a1b"),
            Serial(type, "GivesANumberAsText", I4(-42), L"-42"),
            Serial(type, "IsEmptyWhenTheBackendHasNoSuchMethod", UnknownName(), L""),
            NoText(type, "EndsInTheGuardForANumberThatIsNoText", Value::Raw(VT_ERROR, 5)),
            NoText(type, "EndsInTheGuardForNull", Null())};
}

const Rows kSerials = Join({
    SerialNumbers(11),
    SerialNumbers(12),
    {
        SerialOf("Type11AsksWithAnEmptyCertificate", 11, L"", L"EXCHANGE"),
        SerialOf("Type11AsksWithoutACertificate", 11, Empty(), L"EXCHANGE"),
        SerialOf("Type11AsksWithWhatAFailedExportLeft", 11, Fails(E_FAIL, L"SIGN"), L"EXCHANGE"),
        SerialOf("Type11AsksWithANumberAsItIs", 11, I4(7), L""),
        SerialOf("Type11DoesNotMindAFailedExchangeExport", 11, L"SIGN", Fails(E_FAIL)),
        SerialOf("Type12AsksWithAnEmptyCertificate", 12, L"SIGN", L""),
        SerialOf("Type12AsksWithoutACertificate", 12, L"SIGN", Empty()),
        SerialOf("Type12DoesNotMindAFailedSigningExport", 12, Fails(E_FAIL), L"EXCHANGE"),
        SerialOf("Type12AsksWithWhatAFailedExportLeft", 12, L"SIGN", Fails(E_FAIL, L"EXCHANGE")),
    },
});
KZR_CASES(UtilUserInfoSerialNumber, kUtil, kSerials);

}  // namespace
}  // namespace kzr::test
