#include "Forwarders.h"

namespace kzr::test {
namespace {

// What AnswerEverything gives for every text.
const wchar_t* const kAnswer = L"20300405101112Z";

std::vector<Forwarder> Make()
{
    const Value yes = I2(0), no = I2(-1), text(kAnswer), small(L"20300405101112z"), none(L""),
                users(L"Alice||c1&&&Bob||c2&&&"), devices(L"fact||fact&&&fact||fact&&&");
    // What the algorithm was before, and is again afterwards.
    const Values saved = {I4(2049)};
    const auto *const certificate = &kCertificate, *const crypto = &kCrypto, *const device = &kDeviceMgr,
                      *const util = &kUtil, *const control = &kControl;
    return {
        {certificate, L"importCert", {L"c1", I2(5), L""}, L"SOF_ExportUserCert", Turns::Kept, yes},
        {certificate, L"importCert", {L"c1", I2(6), L""}, L"SOF_ExportExChangeUserCert", Turns::Kept, yes},
        {certificate, L"getBasicCertInfoByOID", {I2(1)}, L"SOF_GetCertInfo", Turns::Text, text},
        {certificate, L"checkValidaty", {L"2030/04/01"}, L"SOF_GetCertInfo", Turns::Days, I2(4)},
        {certificate, L"getExtCertInfoByOID", {L"1.2.3"}, L"SOF_GetCertInfoByOid", Turns::Text, text},
        {certificate, L"validateCert", {L"chain", L""}, L"Base64EncodeFile", Turns::GoText, I2(0), I2(-1003)},
        {certificate, L"validateCert", {L"chain", L"list"}, L"SetUserConfig", Turns::Ignored, I2(0)},
        {certificate, L"validateCert", {L"chain", L"list"}, L"SOF_ValidateCert", Turns::Code, I2(0), I2(-1)},
        {certificate,
         L"validateCert",
         {L"chain", L"list"},
         L"Base64EncodeFile",
         Turns::GoText,
         I2(0),
         I2(-1003),
         0,
         {L"list"}},
        {certificate,
         L"validateCert",
         {L"chain", L"list"},
         L"SetUserConfig",
         Turns::Ignored,
         I2(0),
         {},
         0,
         {I4(5), text}},
        {certificate, L"validateCert", {L"", L""}, L"SOF_ValidateCert", Turns::Code, I2(0), I2(-1)},

        {crypto, L"signedDataByP7", {L"text", L"c1"}, L"SOF_SignMessage", Turns::Text, text},
        {crypto, L"verifySignedDataByP7", {L"text"}, L"SOF_VerifySignedMessage", Turns::YesNo, yes},
        {crypto, L"signedData", {L"text", L"c1"}, L"SOF_SignData", Turns::Text, text},
        {crypto, L"verifySignedData", {L"a", L"b", L"c"}, L"SOF_VerifySignedData", Turns::YesNo, yes},
        {crypto, L"generateRandom", {I2(8)}, L"SOF_GenRandom", Turns::Text, text},
        {crypto, L"envelopedData", {L"text", I2(1), L"c1"}, L"SOF_EncryptDataEx", Turns::Text, text},
        {crypto, L"envelopedData", {L"text", I2(0), L"c1"}, L"SOF_DecryptData", Turns::Text, text},
        {crypto, L"authUser", {L"text", L"c1"}, L"SOF_SignData", Turns::Text, text},
        {crypto, L"checkUser", {L"a", L"b", L"c"}, L"SOF_VerifySignedData", Turns::YesNo, yes},
        {crypto, L"decodeP7Data", {L"text", I2(1)}, L"SOF_GetInfoFromSignedMessage", Turns::Text, text},
        {crypto, L"encryptFile", {L"a", L"b", L"k"}, L"SOF_GetEncryptMethod", Turns::Go, yes, no, 1},
        {crypto, L"encryptFile", {L"a", L"b", L"k"}, L"SOF_SetEncryptMethod", Turns::GoZero, yes, no, 1},
        {crypto, L"encryptFile", {L"a", L"b", L"k"}, L"SOF_SymEncryptFile", Turns::Success, yes, no, 1},
        {crypto,
         L"encryptFile",
         {L"a", L"b", L"k"},
         L"SOF_SetEncryptMethod",
         Turns::Restored,
         yes,
         {},
         1,
         saved},
        {crypto, L"decryptFile", {L"a", L"b", L"k"}, L"SOF_GetEncryptMethod", Turns::Go, yes, no, 1},
        {crypto, L"decryptFile", {L"a", L"b", L"k"}, L"SOF_SetEncryptMethod", Turns::GoZero, yes, no, 1},
        {crypto, L"decryptFile", {L"a", L"b", L"k"}, L"SOF_SymDecryptFile", Turns::Success, yes, no, 1},
        {crypto,
         L"decryptFile",
         {L"a", L"b", L"k"},
         L"SOF_SetEncryptMethod",
         Turns::Restored,
         yes,
         {},
         1,
         saved},
        {crypto, L"Hash", {L"text"}, L"SOF_HashData", Turns::Text, text},
        {crypto, L"signFile", {L"file", L"c1"}, L"SOF_SignFile", Turns::Text, text},
        {crypto, L"verifySignFile", {L"f", L"b", L"c"}, L"SOF_VerifySignedFile", Turns::Verdict, yes, no},
        {crypto, L"signedDataXML", {L"<x/>", L"c1"}, L"SOF_SignDataXML", Turns::Text, text},
        {crypto,
         L"verifySignedDataXML",
         {L"<x/>"},
         L"SOF_VerifySignedDataXML",
         Turns::Verdict,
         I4(0),
         I4(-1)},
        {crypto, L"getXMLSignatureInfo", {L"<x/>", I4(1)}, L"SOF_GetXMLSignatureInfo", Turns::Text, text},
        {crypto, L"EncStr", {L"key", L"text"}, L"SOF_HashData", Turns::GoText, text, none, 1},
        {crypto, L"EncStr", {L"key", L"text"}, L"SOF_GetEncryptMethod", Turns::Go, text, none, 1},
        {crypto, L"EncStr", {L"key", L"text"}, L"SOF_SetEncryptMethod", Turns::GoZero, text, none, 1},
        {crypto, L"EncStr", {L"key", L"text"}, L"SOF_SymEncryptData", Turns::AnyText, text, none, 1},
        {crypto, L"EncStr", {L"key", L"text"}, L"SOF_SetEncryptMethod", Turns::Restored, text, {}, 1, saved},
        {crypto, L"DecStr", {L"key", L"text"}, L"SOF_HashData", Turns::GoText, text, none, 1},
        {crypto, L"DecStr", {L"key", L"text"}, L"SOF_GetEncryptMethod", Turns::Go, text, none, 1},
        {crypto, L"DecStr", {L"key", L"text"}, L"SOF_SetEncryptMethod", Turns::GoZero, text, none, 1},
        {crypto, L"DecStr", {L"key", L"text"}, L"SOF_SymDecryptData", Turns::AnyText, text, none, 1},
        {crypto, L"DecStr", {L"key", L"text"}, L"SOF_SetEncryptMethod", Turns::Restored, text, {}, 1, saved},
        {crypto, L"SecertSegment", {L"text", I4(3), I4(2), I4(1)}, L"SOF_SecertSegment", Turns::Text, text},
        {crypto, L"SecertRecovery", {L"text"}, L"SOF_SecertRecovery", Turns::Text, text},
        {crypto, L"EncDataByCert", {L"cert", L"text"}, L"SOF_PubKeyEncrypt", Turns::Text, text},
        {crypto, L"DecDataByRSA", {L"c1", L"text"}, L"SOF_PriKeyDecrypt", Turns::Text, text},
        {crypto, L"encryptData", {L"key", L"text"}, L"SOF_GetEncryptMethod", Turns::Go, text, none, 1},
        {crypto, L"encryptData", {L"key", L"text"}, L"SOF_SetEncryptMethod", Turns::GoZero, text, none, 1},
        {crypto, L"encryptData", {L"key", L"text"}, L"SOF_SymEncryptData", Turns::AnyText, text, none, 1},
        {crypto, L"decryptData", {L"key", L"text"}, L"SOF_GetEncryptMethod", Turns::Go, text, none, 1},
        {crypto, L"decryptData", {L"key", L"text"}, L"SOF_SetEncryptMethod", Turns::GoZero, text, none, 1},
        {crypto, L"decryptData", {L"key", L"text"}, L"SOF_SymDecryptData", Turns::AnyText, text, none, 1},
        {crypto, L"pubKeyEncrypt", {L"cert", L"text"}, L"SOF_PubKeyEncrypt", Turns::Text, text},
        {crypto, L"priKeyDecrypt", {L"c1", L"text"}, L"SOF_PriKeyDecrypt", Turns::Text, text},
        {crypto, L"HashData", {L"text"}, L"SOF_HashData", Turns::Text, text},
        {crypto, L"EncData", {L"key", L"text"}, L"SOF_GetEncryptMethod", Turns::Go, text, none, 1},
        {crypto, L"EncData", {L"key", L"text"}, L"SOF_SetEncryptMethod", Turns::GoZero, text, none, 1},
        {crypto, L"EncData", {L"key", L"text"}, L"SOF_SymEncryptData", Turns::AnyText, text, none, 1},
        {crypto, L"EncData", {L"key", L"text"}, L"SOF_SetEncryptMethod", Turns::Restored, text, {}, 1, saved},
        {crypto, L"DecData", {L"key", L"text"}, L"SOF_GetEncryptMethod", Turns::Go, text, none, 1},
        {crypto, L"DecData", {L"key", L"text"}, L"SOF_SetEncryptMethod", Turns::GoZero, text, none, 1},
        {crypto, L"DecData", {L"key", L"text"}, L"SOF_SymDecryptData", Turns::AnyText, text, none, 1},
        {crypto, L"DecData", {L"key", L"text"}, L"SOF_SetEncryptMethod", Turns::Restored, text, {}, 1, saved},
        {crypto, L"HashFile", {L"file"}, L"SOF_HashFile", Turns::Text, text},

        {device, L"userLogin", {L"fact", L"1234"}, L"SOF_Login", Turns::YesNo, yes},
        {device, L"changeUserPin", {L"x", L"fact", L"a", L"b"}, L"SOF_ChangePassWd", Turns::YesNo, yes},
        {device, L"getKeyRetrys", {L"fact"}, L"SOF_GetPinRetryCount", Turns::Code, I2(7), I2(-1011)},
        {device, L"getKeyData", {L"fact", L"file"}, L"ReadFile", Turns::Text, text},
        {device, L"setKeyData", {L"fact", L"file", L"data"}, L"WriteFile", Turns::YesNo, yes},
        {device, L"creatKeyFile", {L"fact", L"file", I2(8)}, L"WriteFile", Turns::YesNo, yes},
        {device, L"userLoginEx", {L"", L"c1", L"", L"1234"}, L"SOF_Login", Turns::YesNo, yes},
        {device, L"changeUserPinEx", {L"", L"c1", L"", L"a", L"b"}, L"SOF_ChangePassWd", Turns::YesNo, yes},
        {device, L"getKeyRetrysEx", {L"c1", L""}, L"SOF_GetPinRetryCount", Turns::Code, I2(7), I2(-1011)},
        {device, L"getKeyDataEx", {L"c1", L"", L"file"}, L"ReadFile", Turns::Text, text},
        {device, L"setKeyDataEx", {L"c1", L"", L"file", L"data"}, L"WriteFile", Turns::YesNo, yes},
        {device, L"creatKeyFileEx", {L"c1", L"", L"file", I2(8)}, L"WriteFile", Turns::YesNo, yes},

        {util, L"base64EncodeString", {L"text"}, L"SOF_Base64Encode", Turns::Text, text},
        {util, L"base64EncodeFile", {L"file"}, L"Base64EncodeFile", Turns::Text, text},
        {util, L"getUserInfoByContainer", {L"c1", I2(1)}, L"SOF_ExportUserCert", Turns::GoText, text, none},
        {util, L"getUserInfoByContainer", {L"c1", I2(1)}, L"SOF_GetCertInfo", Turns::Units, text},
        {util, L"getUserInfoByContainer", {L"c1", I2(2)}, L"SOF_ExportUserCert", Turns::GoText, text, none},
        {util, L"getUserInfoByContainer", {L"c1", I2(2)}, L"SOF_GetCertEntity", Turns::Value, text},
        {util, L"getUserInfoByContainer", {L"c1", I2(3)}, L"SOF_GetCertInfo", Turns::Value, text},
        {util, L"getUserInfoByContainer", {L"c1", I2(4)}, L"SOF_GetCertInfo", Turns::Units, text},
        {util, L"getUserInfoByContainer", {L"c1", I2(10)}, L"SOF_ExportUserCert", Turns::Signing, L"1"},
        {util,
         L"getUserInfoByContainer",
         {L"c1", I2(10)},
         L"SOF_ExportExChangeUserCert",
         Turns::Exchange,
         L"1"},
        {util, L"getUserInfoByContainer", {L"c1", I2(11)}, L"SOF_ExportUserCert", Turns::Passed, small},
        {util,
         L"getUserInfoByContainer",
         {L"c1", I2(11)},
         L"SOF_ExportExChangeUserCert",
         Turns::Ignored,
         small},
        {util, L"getUserInfoByContainer", {L"c1", I2(11)}, L"SOF_GetCertInfo", Turns::Changed, small},
        {util, L"getUserInfoByContainer", {L"c1", I2(12)}, L"SOF_ExportUserCert", Turns::Ignored, small},
        {util,
         L"getUserInfoByContainer",
         {L"c1", I2(12)},
         L"SOF_ExportExChangeUserCert",
         Turns::Passed,
         small},
        {util, L"getUserInfoByContainer", {L"c1", I2(12)}, L"SOF_GetCertInfo", Turns::Changed, small},
        {util, L"base64DecodeFile", {L"text", L"file"}, L"Base64DecodeFile", Turns::YesNo, yes},
        {util, L"base64DecodeString", {L"text"}, L"SOF_Base64Decode", Turns::Text, text},

        {control,
         L"getUserInfoByContainer",
         {L"c1", I2(1)},
         L"SOF_ExportUserCert",
         Turns::GoText,
         text,
         none},
        {control, L"getUserInfoByContainer", {L"c1", I2(4)}, L"SOF_GetCertInfo", Turns::Units, text},
        {control,
         L"getUserInfoByContainer",
         {L"c1", I2(10)},
         L"SOF_ExportUserCert",
         Turns::Signing,
         L"1",
         L"0"},
        {control,
         L"getUserInfoByContainer",
         {L"c1", I2(10)},
         L"SOF_ExportExChangeUserCert",
         Turns::Exchange,
         L"1",
         L"0"},
        {control, L"getUserList", {}, L"SOF_GetUserList", Turns::List, users},
        {control, L"getUserList", {}, L"GetDeviceInfo", Turns::Described, users},
        {control, L"GetUSBKeyList", {}, L"GetAllDeviceSN", Turns::List, devices},
        {control, L"GetUSBKeyList", {}, L"GetDeviceInfo", Turns::Devices, devices},
    };
}

Outcome If(bool good, const Value& then, const Value& otherwise, int errorsWhenGood = 0)
{
    return {good ? then : otherwise, good ? errorsWhenGood : 1};
}

// The guard's line, and nothing as the answer.
Outcome End(const Forwarder& forwarder)
{
    Outcome outcome{Value(L""), 1};
    outcome.ends = true;
    if (forwarder.isControl()) {
        outcome.retVal = Empty();
        outcome.result = DISP_E_EXCEPTION;
    }
    return outcome;
}

// Both as the platform does it.
bool CanBeCopied(const Value& value)
{
    VARIANT copy;
    VariantInit(&copy);
    const HRESULT result = VariantCopy(&copy, const_cast<VARIANT*>(&value.Get()));
    VariantClear(&copy);
    return SUCCEEDED(result);
}
bool BecomesText(const Value& value, std::wstring& text)
{
    VARIANT changed;
    VariantInit(&changed);
    if (FAILED(VariantChangeType(&changed, const_cast<VARIANT*>(&value.Get()), 0, VT_BSTR))) return false;
    text = Value::Adopt(changed).AsText();
    return true;
}

Outcome OutcomeOfChange(const Forwarder& forwarder, const Value& value)
{
    std::wstring text;
    const bool missing = value.Type() == VT_EMPTY || value.Type() == VT_NULL;
    if (forwarder.turns == Turns::Described && missing) return {forwarder.good, 0};
    if (!BecomesText(value, text)) return End(forwarder);
    if (forwarder.turns == Turns::Described) return {forwarder.good, 0};
    for (wchar_t& unit : text)
        if (unit >= L'A' && unit <= L'Z') unit += L'a' - L'A';
    return {Value(text), 0};
}

Outcome OutcomeOfCertificate(const Forwarder& forwarder, bool called, bool hasText)
{
    if (!called && forwarder.failed.Type() != VT_EMPTY) return {forwarder.failed, 0};
    return {Value(forwarder.turns == Turns::Signing || hasText ? L"2" : L"1"), 0};
}

}  // namespace

std::string Forwarder::Name() const
{
    return std::string(made->name) + "." + Readable(method) + Describe(arguments) + " with " +
           Readable(backend) + (when.empty() ? "" : Describe(when));
}

void Forwarder::LetAnswer(ScriptedBackend& scripted, const Answer& answer) const
{
    if (when.empty())
        scripted.Allow(backend, answer);
    else
        scripted.Allow(backend, when, answer);
}

const std::vector<Forwarder>& Forwarders()
{
    static const std::vector<Forwarder> all = Make();
    return all;
}

Outcome OutcomeOf(const Forwarder& forwarder, const Answer& answer)
{
    const bool called = SUCCEEDED(answer.result) && !answer.Unknown();
    const VARIANT& bits = answer.value.Get();
    const bool hasText = bits.vt == VT_BSTR && SysStringLen(bits.bstrVal) > 0;
    const Value none(L"");
    Outcome outcome;
    // Bits are taken as they stand, and these are an address.
    const bool address = (bits.vt == VT_BSTR || (bits.vt & VT_ARRAY) != 0) && bits.ullVal != 0;
    const bool takesLowBits = forwarder.turns == Turns::YesNo || forwarder.turns == Turns::Code ||
                              forwarder.turns == Turns::Verdict;
    if (called && address && takesLowBits) return {none, 0, true, true};
    switch (forwarder.turns) {
        case Turns::Text:
            return If(called && hasText, answer.value, none);
        case Turns::Units:
            return If(called && hasText, Value(answer.value.AsText()), none);
        case Turns::YesNo:
            return If(called && bits.iVal != 0, I2(0), I2(-1));
        case Turns::Code:
            return If(called, I2(bits.iVal), forwarder.failed);
        case Turns::Verdict:
            return If(called, bits.iVal != 0 ? forwarder.good : forwarder.failed, forwarder.failed);
        case Turns::AnyText:
            return {called && bits.vt == VT_BSTR ? answer.value : none, 1};
        case Turns::Success:
            return {called ? forwarder.good : forwarder.failed, 1};
        case Turns::Go:
            return If(called, forwarder.good, forwarder.failed, forwarder.errorsWhenGood);
        case Turns::GoText:
            return If(called && hasText, forwarder.good, forwarder.failed, forwarder.errorsWhenGood);
        case Turns::GoZero:
            return If(called && bits.lVal == 0, forwarder.good, forwarder.failed, forwarder.errorsWhenGood);
        case Turns::Kept:
            return If(called && hasText, I2(0), I2(-1));
        case Turns::Days:
            outcome = If(called && hasText, I2(0), I2(0));
            outcome.ends = called && hasText && !answer.value.AsText().starts_with(L"20");
            outcome.errorLines += outcome.ends;
            outcome.anyRetVal = called && hasText && !outcome.ends;
            return outcome;
        case Turns::List:
            outcome = If(called && hasText, none, none);
            outcome.anyRetVal = called && hasText;
            return outcome;
        case Turns::Ignored:
        case Turns::Restored:
            return {forwarder.good, forwarder.errorsWhenGood};
        case Turns::Value:
            return If(hasText, Value(answer.value.AsText()), none);
        case Turns::Passed:
            return CanBeCopied(answer.value) ? Outcome{forwarder.good, 0} : End(forwarder);
        case Turns::Changed:
        case Turns::Described:
            return OutcomeOfChange(forwarder, answer.value);
        case Turns::Signing:
        case Turns::Exchange:
            return OutcomeOfCertificate(forwarder, called, hasText);
        case Turns::Devices: {
            if (!called || !hasText) return {none, 0};
            const std::wstring name = answer.value.AsText(), device = name + L"||" + name + L"&&&";
            return {Value(device + device), 0};
        }
    }
    return outcome;
}

// What was stored before the call is the answer: nothing, or all.
Outcome OutcomeOfFault(const Forwarder& forwarder)
{
    Outcome outcome = End(forwarder);
    if (forwarder.turns == Turns::Restored) {
        outcome.retVal = forwarder.good;
        outcome.errorLines += forwarder.errorsWhenGood;
    } else if (!forwarder.isControl() && forwarder.good.Type() != VT_BSTR) {
        outcome.retVal = forwarder.good.Type() == VT_I4 ? I4(0) : I2(0);
    }
    return outcome;
}

std::vector<OddResult> OddResults()
{
    VARIANT array{};
    array.vt = VT_ARRAY | VT_I4;
    array.parray = SafeArrayCreateVector(VT_I4, 0, 3);
    return {{"nothing", Empty()},
            {"null", Null()},
            {"a short of 0", I2(0)},
            {"a short of -1", I2(-1)},
            {"a long with no low bits", I4(0x10000)},
            {"a long with low bits", I4(0x10001)},
            {"a long of 0", I4(0)},
            {"a byte", Value::Raw(VT_UI1, 7)},
            {"a hyper", Value::Raw(VT_I8, 0x7FFFFFFFFFFFFFFF)},
            {"a single", Value::Raw(VT_R4, 0x3F800001)},
            {"a double", R8(1e300)},
            {"a currency", Value::Raw(VT_CY, 0x8000000000000000)},
            {"a date", Value::Raw(VT_DATE, 0x41CDCD6500000000)},
            {"true", Bool(true)},
            {"false", Bool(false)},
            {"an error", Error(E_FAIL)},
            {"a null text", NullText()},
            {"an empty text", Value(L"")},
            {"a text with nulls", Value(std::wstring(L"one\0two\0", 8))},
            {"a text with an odd byte", Bytes("abcdefg")},
            {"a long text", Value(std::wstring(100000, L'x'))},
            {"no object", Value::Raw(VT_UNKNOWN, 0)},
            {"an array", Value::Adopt(array)},
            {"an unknown type", Value::Raw(0x0FFF, 0x1234)}};
}

}  // namespace kzr::test
