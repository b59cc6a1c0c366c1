// Faults of the backend in the middle of a method: what was stored by then is the answer, nothing is done
// afterwards, and one line tells of it, under the number of the method that the client called.
#include "CryptoSwitching.h"

namespace kzr::test {
namespace {

LogStep FatalError(int id)
{
    return Error("Invoke CCrypto dispid(" + std::to_string(id) + "): receive a fatal error!!!");
}

Case Faulting(const char* name, const wchar_t* method, DISPID id, const DirectCall& direct,
              const Values& given, const LogSteps& steps, const Value& retVal)
{
    return {.name = name,
            .method = method,
            .id = id,
            // The text that is not there stays null in the vtable; automation makes an empty one of it.
            .direct = retVal == Value(L"") ? nullptr : direct,
            .arguments = given,
            .steps = steps + LogSteps{FatalError(static_cast<int>(id))},
            .retVal = retVal,
            .mayFault = true};
}

const LogSteps kSigning = {Trace("CCrypto: signedData starting..."),
                           Trace("CCrypto: signedData containerName(c1)..."),
                           Calls(L"SOF_SignData", {L"c1/SN01", L"text"}, Faults(FaultKind::Read))};
const LogSteps kVerifying = {
    Trace("CCrypto: verifySignedData starting..."),
    Calls(L"SOF_VerifySignedData", {L"cert", L"text", L"signature"}, Faults(FaultKind::Division))};
const LogSteps kEncrypting = {
    Trace("CCrypto: encryptData starting..."), Trace("CCrypto: encryptData call SymEncryptData..."),
    Trace("CCrypto: SymEncryptData starting..."), Trace("CCrypto: SymEncryptData Key(key) symAlgo(2049)...")};
const LogStep kAsked = Calls(L"SOF_GetEncryptMethod", {}, I4(257));
const LogStep kSet = Calls(L"SOF_SetEncryptMethod", {I4(2049)}, I4(0));

const std::vector<Case> kRows = {
    Faulting("SignedDataIsLeftWithoutAText", L"signedData", 5, Direct(&ICrypto::signedData), {L"text", L"c1"},
             kSigning, L""),
    Faulting("AuthUserIsNamedWhereItWasCalled", L"authUser", 9, Direct(&ICrypto::authUser), {L"text", L"c1"},
             LogSteps{Trace("CCrypto: authUser starting..."), Trace("CCrypto: authUser call signedData...")} +
                 kSigning,
             L""),
    Faulting("VerifySignedDataIsLeftAtZero", L"verifySignedData", 6, Direct(&ICrypto::verifySignedData),
             {L"signature", L"cert", L"text"}, kVerifying, I2(0)),
    Faulting("CheckUserIsNamedWhereItWasCalled", L"checkUser", 10, Direct(&ICrypto::checkUser),
             {L"signature", L"cert", L"text"},
             LogSteps{Trace("CCrypto: checkUser starting..."),
                      Trace("CCrypto: checkUser call verifySignedData...")} +
                 kVerifying,
             I2(0)),
    Faulting("VerifySignedDataXMLIsLeftAtZero", L"verifySignedDataXML", 20,
             Direct(&ICrypto::verifySignedDataXML), {L"<a/>"},
             {Trace("CCrypto: verifySignedDataXML starting..."),
              Calls(L"SOF_VerifySignedDataXML", {L"<a/>"}, Faults(FaultKind::OtherCompilersThrow))},
             I4(0)),
    Faulting("EncStrFaultsInsideItsHash", L"EncStr", 22, Direct(&ICrypto::EncStr), {L"key", L"text"},
             {Trace("CCrypto: EncStr starting..."), Trace("CCrypto: EncStr call Hash..."),
              Trace("CCrypto: Hash starting..."),
              Calls(L"SOF_HashData", {I2(8), L"key"}, Faults(FaultKind::Write))},
             L""),
    Faulting("EncryptDataFaultsWhileItAsksForTheMethod", L"encryptData", 32, Direct(&ICrypto::encryptData),
             {L"key", L"text"},
             kEncrypting + LogSteps{Calls(L"SOF_GetEncryptMethod", {}, Faults(FaultKind::Read))}, L""),
    Faulting(
        "EncryptDataFaultsWhileItSetsTheMethod", L"encryptData", 32, Direct(&ICrypto::encryptData),
        {L"key", L"text"},
        kEncrypting + LogSteps{kAsked, Calls(L"SOF_SetEncryptMethod", {I4(2049)}, Faults(FaultKind::Read))},
        L""),
    Faulting("EncryptDataThatFaultsAtWorkLeavesTheMethodAsItIs", L"encryptData", 32,
             Direct(&ICrypto::encryptData), {L"key", L"text"},
             kEncrypting +
                 LogSteps{kAsked, kSet,
                          Calls(L"SOF_SymEncryptData", {L"key", L"text"}, Faults(FaultKind::NonContinuable))},
             L""),
    Faulting("EncryptDataThatFaultsAtTheEndKeepsItsText", L"encryptData", 32, Direct(&ICrypto::encryptData),
             {L"key", L"text"},
             kEncrypting + LogSteps{kAsked, kSet, Calls(L"SOF_SymEncryptData", {L"key", L"text"}, L"cipher"),
                                    Error("CCrypto: SymEncryptData ending ok!"),
                                    Calls(L"SOF_SetEncryptMethod", {I4(257)}, Faults(FaultKind::Read))},
             L"cipher"),
    Faulting(
        "EncryptFileThatFaultsAtTheEndKeepsItsFailure", L"encryptFile", 12, Direct(&ICrypto::encryptFile),
        {L"in", L"out", L"key"},
        {Trace("CCrypto: encryptFile starting..."), kAsked, Calls(L"SOF_SetEncryptMethod", {I4(4097)}, I4(0)),
         Calls(L"SOF_SymEncryptFile", {L"key", L"in", L"out"}, Fails(E_FAIL)),
         Error("CCrypto: encryptFile call SOF_SymEncryptFile return error!", E_FAIL),
         Calls(L"SOF_SetEncryptMethod", {I4(257)}, Faults(FaultKind::CompilersThrow))},
        I2(-1)),
};
KZR_CASES(CryptoFaults, kCrypto, kRows);

}  // namespace
}  // namespace kzr::test
