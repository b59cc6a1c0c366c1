// CCertificate, validateCert: what the backend is configured with first, and whose verdict it is.
#include "CertificateRows.h"

namespace kzr::test {
namespace {

constexpr char kEncodingFailed[] = "CCertificate: validateCert call Base64EncodeFile return NULL!";

// The start line is another method's, as ever.
Case Row(const std::string& name, const Values& arguments, const LogSteps& more, int retVal)
{
    return {.name = name,
            .method = L"validateCert",
            .id = 6,
            .direct = Direct(&ICertificate::validateCert),
            .arguments = arguments,
            .steps = LogSteps{Trace("CCertificate: getExtCertInfoByOID starting...")} + more,
            .retVal = I2(retVal),
            .given = Loaded(L"CERT")};
}

LogStep Encode(const Value& path, const Answer& answer) { return Calls(L"Base64EncodeFile", {path}, answer); }

// 6 is the chain, 5 the revocation list.
LogStep Configure(int type, const Value& text, const Answer& answer = Bool(true))
{
    return Calls(L"SetUserConfig", {I4(type), text}, answer);
}
LogSteps Configured(int type, const Value& path)
{
    return {Encode(path, L"BASE64"), Configure(type, L"BASE64")};
}

LogSteps Verdict(const Answer& answer, int code)
{
    return {Calls(L"SOF_ValidateCert", {L"CERT"}, answer),
            Trace("CCertificate: validateCert ending(" + std::to_string(code) + ")...")};
}
LogSteps Good() { return Verdict(I4(0), 0); }

Case Gives(const std::string& name, const Answer& answer, int code)
{
    return Row(name, {L"", L""}, Verdict(answer, code), code);
}

Case Fails(const std::string& name, const Answer& answer)
{
    const HRESULT status = answer.Unknown() ? answer.lookUp : answer.result;
    return Row(name, {L"", L""},
               {Calls(L"SOF_ValidateCert", {L"CERT"}, answer),
                Error("CCertificate: validateCert call SOF_ValidateCert error!", status)},
               -1);
}

const Rows kVerdicts = {
    Gives("ZeroPassesThrough", I4(0), 0),
    Gives("ACodePassesThrough", I4(5), 5),
    Gives("ANegativeCodePassesThrough", I4(-7), -7),
    Gives("AShortCodePassesThrough", I2(-32768), -32768),
    Gives("ALongCodeIsCutTo16Bits", I4(0x20005), 5),
    Gives("ALongCodesSignIsItsBit15", I4(0x0000FFFE), -2),
    Gives("TrueIsMinusOne", Bool(true), -1),
    Gives("FalseIsZero", Bool(false), 0),
    Gives("ABrokenNumberGivesItsBits", Value::Raw(VT_R4, 0x3F800003), 3),
    Gives("NoAnswerIsZero", Empty(), 0),
    Gives("ANullTextIsZero", NullText(), 0),
    Gives("ACodeWithAPositiveStatusPassesThrough", test::Fails(S_FALSE, I4(5)), 5),
    Fails("AFailedCallIsMinusOne", test::Fails(E_ACCESSDENIED)),
    Fails("AFailedCallThatLeftACodeIsMinusOne", test::Fails(E_FAIL, I4(5))),
    Fails("ABackendWithoutTheMethodIsMinusOne", UnknownName()),
};
KZR_CASES(CertificateVerdict, kCertificate, kVerdicts);

Case NotLoaded(const std::string& name, const Values& arguments)
{
    Case row =
        Row(name, arguments, {Error("CCertificate: validateCert param error or current Cert is NULL!")}, -1);
    row.given = nullptr;
    return row;
}

// A file that cannot be read ends it: no verdict is asked for.
LogSteps Unreadable(const Value& path, const Answer& answer)
{
    const HRESULT status = answer.Unknown() ? answer.lookUp : answer.result;
    return {Encode(path, answer), Error(kEncodingFailed, status)};
}
Case UnreadableChain(const std::string& name, const Answer& answer)
{
    return Row(name, {L"C:\\chain.p7b", L"C:\\list.crl"}, Unreadable(L"C:\\chain.p7b", answer), -1003);
}
Case UnreadableList(const std::string& name, const Answer& answer)
{
    return Row(name, {L"", L"C:\\list.crl"}, Unreadable(L"C:\\list.crl", answer), -1003);
}

// A refused configuration is worth a notice, no more.
LogSteps Refused(int type, const Value& path, const Answer& answer)
{
    LogStep notice = Notice("CCertificate: validateCert call SetUserConfig return FALSE!");
    notice.status = static_cast<unsigned>(answer.Unknown() ? answer.lookUp : answer.result);
    return {Encode(path, L"BASE64"), Configure(type, L"BASE64", answer), notice};
}
Case GoesOnWithoutChain(const std::string& name, const Answer& answer)
{
    return Row(name, {L"chain.p7b", L""}, Refused(6, L"chain.p7b", answer) + Good(), 0);
}
Case GoesOnWithoutList(const std::string& name, const Answer& answer)
{
    return Row(name, {L"", L"list.crl"}, Refused(5, L"list.crl", answer) + Good(), 0);
}

Case TakesChain(const std::string& name, const Value& chain)
{
    return Row(name, {chain, L""}, Configured(6, chain) + Good(), 0);
}
Case TakesList(const std::string& name, const Value& list)
{
    return Row(name, {L"", list}, Configured(5, list) + Good(), 0);
}
Case TakesNoFile(const std::string& name, const Values& arguments) { return Row(name, arguments, Good(), 0); }

// What the encoding gave goes on as it is.
Case PassesEncoding(const std::string& name, const Value& encoded)
{
    return Row(name, {L"chain.p7b", L""},
               LogSteps{Encode(L"chain.p7b", encoded), Configure(6, encoded)} + Good(), 0);
}

const Rows kFiles = {
    TakesNoFile("EmptyTextsAreNoFiles", {L"", L""}),
    TakesNoFile("TheListMayBeLeftOut", {L""}),
    TakesNoFile("TheListMayBeMissing", {L"", Missing()}),
    TakesNoFile("NullTextsAreNoFiles", {NullText(), NullText()}),
    TakesNoFile("OneCharacterIsNoFile", {L"c", L"l"}),
    TakesNoFile("UndefinedIsNoFile", {Empty(), Empty()}),
    TakesChain("AChainIsEncodedAndConfigured", L"C:\\chain.p7b"),
    TakesChain("TwoCharactersAreAFile", L"cc"),
    TakesChain("AChainInBase64IsAFileAllTheSame", L"MIIBxTCCAW8CAQAwDQYJKoZIhvcNAQEE"),
    TakesChain("ABackslashInFrontMakesNoData", L"\\:data"),
    TakesChain("AColonInFrontMakesNoData", L":\\data"),
    TakesChain("ALongPathIsAFile", std::wstring(500, L'p')),
    TakesList("AListIsEncodedAndConfigured", L"C:\\list.crl"),
    TakesList("TwoCharactersAreAList", L"ll"),
    TakesList("ABackslashInFrontOfAListMakesNoData", L"\\:data"),
    Row("AChainIsConfiguredBeforeAList", {L"chain.p7b", L"list.crl"},
        Configured(6, L"chain.p7b") + Configured(5, L"list.crl") + Good(), 0),
    Row("TheVerdictIsGivenAfterBoth", {L"chain.p7b", L"list.crl"},
        Configured(6, L"chain.p7b") + Configured(5, L"list.crl") + Verdict(I4(9), 9), 9),
    PassesEncoding("ALongEncodingIsPassedWhole", std::wstring(10000, L'B')),
    PassesEncoding("AnEncodingOfOneBlankIsPassed", L" "),
    Row("AnEncodingWithAPositiveStatusIsTaken", {L"chain.p7b", L""},
        LogSteps{Encode(L"chain.p7b", test::Fails(S_FALSE, L"BASE64")), Configure(6, L"BASE64")} + Good(), 0),
    UnreadableChain("AChainThatCannotBeReadEndsIt", test::Fails(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND))),
    UnreadableChain("AnEmptyChainEndsIt", L""),
    UnreadableChain("AnEmptyChainsPositiveStatusIsLogged", test::Fails(S_FALSE, L"")),
    UnreadableChain("AFailedEncodingThatLeftATextEndsIt", test::Fails(E_FAIL, L"BASE64")),
    UnreadableChain("AChainThatIsANumberEndsIt", I4(7)),
    UnreadableChain("NoChainAtAllEndsIt", Empty()),
    UnreadableChain("ANullChainEndsIt", NullText()),
    UnreadableChain("ABackendThatCannotEncodeEndsIt", UnknownName()),
    UnreadableList("AListThatCannotBeReadEndsIt", test::Fails(E_ACCESSDENIED)),
    UnreadableList("AnEmptyListEndsIt", L""),
    UnreadableList("AListThatIsTrueEndsIt", Bool(true)),
    Row("AnUnreadableListEndsItAfterTheChainIsConfigured", {L"chain.p7b", L"list.crl"},
        Configured(6, L"chain.p7b") + Unreadable(L"list.crl", test::Fails(E_FAIL)), -1003),
    GoesOnWithoutChain("ARefusedChainIsANotice", Bool(false)),
    GoesOnWithoutChain("AChainWhoseCallFailsIsANotice", test::Fails(E_ACCESSDENIED)),
    GoesOnWithoutChain("AFailedCallThatLeftTrueIsANotice", test::Fails(E_FAIL, Bool(true))),
    GoesOnWithoutChain("ARefusalsPositiveStatusIsLogged", test::Fails(S_FALSE, Bool(false))),
    GoesOnWithoutChain("AnAnswerWithoutLow16BitsIsANotice", I4(0x10000)),
    GoesOnWithoutChain("NoAnswerIsANotice", Empty()),
    GoesOnWithoutList("ARefusedListIsANotice", Bool(false)),
    GoesOnWithoutList("AListWhoseCallFailsIsANotice", test::Fails(E_FAIL)),
    Row("AShortNumberAcceptsAChain", {L"chain.p7b", L""},
        LogSteps{Encode(L"chain.p7b", L"BASE64"), Configure(6, L"BASE64", I2(1))} + Good(), 0),
    Row("BothRefusalsAreNoticed", {L"chain.p7b", L"list.crl"},
        Refused(6, L"chain.p7b", Bool(false)) + Refused(5, L"list.crl", Bool(false)) + Good(), 0),
    NotLoaded("WithoutACertificateItIsMinusOne", {L"", L""}),
    NotLoaded("WithoutACertificateNoFileIsRead", {L"chain.p7b", L"list.crl"}),
    OnlyByDispatch("NullIsTurnedAway", L"validateCert", 6, {Null()}, DISP_E_TYPEMISMATCH),
};
KZR_CASES(CertificateChainAndList, kCertificate, kFiles);

}  // namespace
}  // namespace kzr::test
