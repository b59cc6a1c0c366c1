// Symmetric encryption of texts with a hashed key: what Hash gives is the key, and without it nothing is
// done.
#include "CryptoSwitching.h"

namespace kzr::test {
namespace {

LogSteps BeginOfHash(const std::string& own)
{
    return {Trace("CCrypto: " + own + " starting..."), Trace("CCrypto: " + own + " call Hash..."),
            Trace("CCrypto: Hash starting...")};
}

// No key comes of the hash: the operation is not begun, and the method says nothing more.
Case WithoutAKey(const Switching& method, const char* name, const Answer& hash)
{
    Case row = method.Row(name, {}, L"");
    row.steps = BeginOfHash(RenderForLog(method.method)) +
                LogSteps{Calls(L"SOF_HashData", {I2(8), L"key"}, hash),
                         Error("CCrypto: Hash call SOF_HashData return NULL!", StatusOf(hash))};
    return row;
}

// The same as with the hash that the other rows have, but with this one.
Case WithTheHash(const Switching& method, const char* name, const Answer& hash, const wchar_t* key)
{
    Switching other = method;
    other.sent = {key, L"text"};
    Case row = other.Works(name, L"result", L"result");
    for (LogStep& step : row.steps) {
        if (step.method == L"SOF_HashData") step.answer = hash;
        if (const std::size_t at = step.message.find("Key(digest)"); at != step.message.npos)
            step.message.replace(at, 11, "Key(" + RenderForLog(key) + ")");
    }
    return row;
}

const Switching kEncStr = {L"EncStr",
                           22,
                           Direct(&ICrypto::EncStr),
                           {L"key", L"text"},
                           [](const Values& given) {
                               return BeginOfHash("EncStr") +
                                      LogSteps{Calls(L"SOF_HashData", {I2(8), given[0]}, L"digest"),
                                               Trace("CCrypto: Hash ending ok..."),
                                               Trace("CCrypto: EncStr call SymEncryptData..."),
                                               Trace("CCrypto: SymEncryptData starting..."),
                                               Trace("CCrypto: SymEncryptData Key(digest) symAlgo(4097)...")};
                           },
                           4097,
                           "SymEncryptData",
                           L"SOF_SymEncryptData",
                           {L"digest", L"text"},
                           {Trace("CCrypto: EncStr ending...")},
                           L"result",
                           L""};

const Switching kDecStr = {L"DecStr",
                           23,
                           Direct(&ICrypto::DecStr),
                           {L"key", L"text"},
                           [](const Values& given) {
                               return BeginOfHash("DecStr") +
                                      LogSteps{Calls(L"SOF_HashData", {I2(8), given[0]}, L"digest"),
                                               Trace("CCrypto: Hash ending ok..."),
                                               Trace("CCrypto: DecStr call SymEncryptData..."),
                                               Trace("CCrypto: SymDecryptData starting..."),
                                               Trace("CCrypto: SymDecryptData Key(digest) symAlgo(4097)...")};
                           },
                           4097,
                           "SymDecryptData",
                           L"SOF_SymDecryptData",
                           {L"digest", L"text"},
                           {Trace("CCrypto: DecStr ending...")},
                           L"result",
                           L""};

const std::vector<Case> kRows = {
    kEncStr.Works("EncStrGivesTheBackendsText", L"result", L"result"),
    kEncStr.Works("EncStrOfAnEmptyAnswerIsASuccess", L"", L""),
    kEncStr.Works("EncStrOfAPositiveStatusSaysSoInItsSuccessLine", Fails(S_FALSE, L"result"), L"result"),
    kEncStr.Works("EncStrTakesANumberForAnEmptyAnswer", I4(7), L""),
    kEncStr.Works("EncStrTakesNoAnswerForAnEmptyOne", Empty(), L""),
    kEncStr.Works("EncStrTakesANullTextForAnEmptyAnswer", NullText(), L""),
    kEncStr.Works("EncStrKeepsTextBeyondTheCodePage", kChinese, kChinese),
    kEncStr.Breaks("EncStrFailsWithTheBackend", Fails(E_ACCESSDENIED)),
    kEncStr.Breaks("EncStrOfAFailedCallFailsWhateverItAnswered", Fails(E_FAIL, L"left behind")),
    kEncStr.Breaks("EncStrSaysWhenTheBackendHasNoSuchMethod", UnknownName()),
    kEncStr.CannotAsk("EncStrStopsWhenItCannotAskForTheMethod", Fails(E_ACCESSDENIED)),
    kEncStr.CannotAsk("EncStrStopsWhenAskingIsUnknown", UnknownName()),
    kEncStr.CannotSet("EncStrStopsWhenItCannotSetTheMethod", Fails(E_ACCESSDENIED, I4(0))),
    kEncStr.CannotSet("EncStrStopsWhenTheMethodIsRefused", I4(1)),
    kEncStr.CannotSet("EncStrStopsWhenTheMethodIsRefusedWithAPositiveStatus", Fails(S_FALSE, I4(-1))),
    kEncStr.Sets("EncStrGoesOnAfterAPositiveStatus", Fails(S_FALSE, I4(0))),
    kEncStr.Saves("EncStrPutsTheOldMethodBack", I4(1025), 1025),
    kEncStr.Saves("EncStrPutsANegativeMethodBack", I4(-1), -1),
    kEncStr.RestoresInVain("EncStrDoesNotMindThatTheOldMethodIsRefused", I4(1)),
    kEncStr.RestoresInVain("EncStrDoesNotMindThatTheOldMethodCannotBeSet", Fails(E_FAIL)),
    kEncStr.Takes("EncStrHashesAKeyBeyondTheCodePage", {kChinese, kChinese}, {L"digest", kChinese}),
    kEncStr.Takes("EncStrHashesAnEmptyKey", {L"", L""}, {L"digest", L""}),
    kEncStr.Takes("EncStrSendsANullTextAsItIs", {L"key", NullText()}, {L"digest", NullText()}),
    WithoutAKey(kEncStr, "EncStrStopsWhenTheHashIsEmpty", L""),
    WithoutAKey(kEncStr, "EncStrStopsWhenTheHashFails", Fails(E_ACCESSDENIED)),
    WithoutAKey(kEncStr, "EncStrStopsWhenTheHashIsANumber", I4(7)),
    WithoutAKey(kEncStr, "EncStrStopsWhenTheHashIsNothing", Empty()),
    WithoutAKey(kEncStr, "EncStrStopsWhenTheHashIsEmptyWithAPositiveStatus", Fails(S_FALSE, L"")),
    WithoutAKey(kEncStr, "EncStrStopsWhenTheBackendCannotHash", UnknownName()),
    WithoutAKey(kEncStr, "EncStrStopsWhenTheHashFailsAfterAnswering", Fails(E_FAIL, L"digest")),
    WithTheHash(kEncStr, "EncStrUsesTheHashAsItStands", L"AB cd=", L"AB cd="),
    WithTheHash(kEncStr, "EncStrUsesAHashWithAPositiveStatus", Fails(S_FALSE, L"half"), L"half"),
    kDecStr.Works("DecStrGivesTheBackendsText", L"result", L"result"),
    kDecStr.Works("DecStrOfAnEmptyAnswerIsASuccess", L"", L""),
    kDecStr.Works("DecStrOfAPositiveStatusSaysSoInItsSuccessLine", Fails(S_FALSE, L"result"), L"result"),
    kDecStr.Works("DecStrTakesANumberForAnEmptyAnswer", I4(7), L""),
    kDecStr.Works("DecStrTakesNoAnswerForAnEmptyOne", Empty(), L""),
    kDecStr.Works("DecStrTakesANullTextForAnEmptyAnswer", NullText(), L""),
    kDecStr.Works("DecStrKeepsTextBeyondTheCodePage", kChinese, kChinese),
    kDecStr.Breaks("DecStrFailsWithTheBackend", Fails(E_ACCESSDENIED)),
    kDecStr.Breaks("DecStrOfAFailedCallFailsWhateverItAnswered", Fails(E_FAIL, L"left behind")),
    kDecStr.Breaks("DecStrSaysWhenTheBackendHasNoSuchMethod", UnknownName()),
    kDecStr.CannotAsk("DecStrStopsWhenItCannotAskForTheMethod", Fails(E_ACCESSDENIED)),
    kDecStr.CannotAsk("DecStrStopsWhenAskingIsUnknown", UnknownName()),
    kDecStr.CannotSet("DecStrStopsWhenItCannotSetTheMethod", Fails(E_ACCESSDENIED, I4(0))),
    kDecStr.CannotSet("DecStrStopsWhenTheMethodIsRefused", I4(1)),
    kDecStr.CannotSet("DecStrStopsWhenTheMethodIsRefusedWithAPositiveStatus", Fails(S_FALSE, I4(-1))),
    kDecStr.Sets("DecStrGoesOnAfterAPositiveStatus", Fails(S_FALSE, I4(0))),
    kDecStr.Saves("DecStrPutsTheOldMethodBack", I4(1025), 1025),
    kDecStr.Saves("DecStrPutsANegativeMethodBack", I4(-1), -1),
    kDecStr.RestoresInVain("DecStrDoesNotMindThatTheOldMethodIsRefused", I4(1)),
    kDecStr.RestoresInVain("DecStrDoesNotMindThatTheOldMethodCannotBeSet", Fails(E_FAIL)),
    kDecStr.Takes("DecStrHashesAKeyBeyondTheCodePage", {kChinese, kChinese}, {L"digest", kChinese}),
    kDecStr.Takes("DecStrHashesAnEmptyKey", {L"", L""}, {L"digest", L""}),
    kDecStr.Takes("DecStrSendsANullTextAsItIs", {L"key", NullText()}, {L"digest", NullText()}),
    WithoutAKey(kDecStr, "DecStrStopsWhenTheHashIsEmpty", L""),
    WithoutAKey(kDecStr, "DecStrStopsWhenTheHashFails", Fails(E_ACCESSDENIED)),
    WithoutAKey(kDecStr, "DecStrStopsWhenTheHashIsANumber", I4(7)),
    WithoutAKey(kDecStr, "DecStrStopsWhenTheHashIsNothing", Empty()),
    WithoutAKey(kDecStr, "DecStrStopsWhenTheHashIsEmptyWithAPositiveStatus", Fails(S_FALSE, L"")),
    WithoutAKey(kDecStr, "DecStrStopsWhenTheBackendCannotHash", UnknownName()),
    WithoutAKey(kDecStr, "DecStrStopsWhenTheHashFailsAfterAnswering", Fails(E_FAIL, L"digest")),
    WithTheHash(kDecStr, "DecStrUsesTheHashAsItStands", L"AB cd=", L"AB cd="),
    WithTheHash(kDecStr, "DecStrUsesAHashWithAPositiveStatus", Fails(S_FALSE, L"half"), L"half"),
};
KZR_CASES(CryptoStrings, kCrypto, kRows);

}  // namespace
}  // namespace kzr::test
