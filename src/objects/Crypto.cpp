#include "objects/Crypto.h"

#include "com/Text.h"
#include "objects/Creators.h"
#include "resources/DispIds.h"

namespace kzr {
namespace {

constexpr char kLogSource[] = "Crypto";

constinit TypeInfo g_typeInfo(IID_ICrypto);
constexpr ClassFacts kFacts{"CCrypto", kLogSource, IID_ICrypto, g_typeInfo};

// The backend's codes for the algorithms that the old methods stand for.
constexpr long kOldDataMethod = 2049;
constexpr long kDataMethod = 4098;
constexpr short kKeyDigest = 8;
constexpr short kDataDigest = 2;

// The signed message carries its content.
constexpr short kAttached = 0;

}  // namespace

HRESULT CreateCrypto(IUnknown* outer, REFIID iid, void** object)
{
    return CreateScriptable<CCrypto>(outer, iid, object);
}

CCrypto::CCrypto(IUnknown* outer) noexcept : AnsweringObject<ICrypto>(kFacts, outer) {}

void CCrypto::Forget() noexcept { g_typeInfo.Forget(); }

void CCrypto::LogFatalError(DISPID id) const
{
    KZR_ERROR(0, "Invoke CCrypto dispid(%d): receive a fatal error!!!", static_cast<int>(id));
}

std::wstring CCrypto::UniqueId(BSTR container) const
{
    return AskCache(&CCacheManager::GetUniqueIdByContainer, container);
}

// ---- Configuration: accepted, and nothing else. No check for a backend, on purpose: a script that
// configures first and then signs must see the configuration succeed.

STDMETHODIMP CCrypto::setUserCfg(short, BSTR, BSTR, BSTR, short* retVal)
{
    return Scripted(DISPID_ICrypto_setUserCfg, retVal, [=, this] {
        AnswerAccepted(retVal, 0, KZR_TEXT("CCrypto: setUserCfg starting..."),
                       KZR_TEXT("CCrypto: setUserCfg ending ok..."));
    });
}

STDMETHODIMP CCrypto::setAlgFlag(short, short, short* retVal)
{
    return Scripted(DISPID_ICrypto_setAlgFlag, retVal, [=, this] {
        AnswerAccepted(retVal, 0, KZR_TEXT("CCrypto: setAlgFlag starting..."),
                       KZR_TEXT("CCrypto: setAlgFlag ending ok..."));
    });
}

STDMETHODIMP CCrypto::setOnceCfg(short, BSTR, BSTR, BSTR, short* retVal)
{
    return Scripted(DISPID_ICrypto_setOnceCfg, retVal, [=, this] {
        AnswerAccepted(retVal, 0, KZR_TEXT("CCrypto: setOnceCfg starting..."),
                       KZR_TEXT("CCrypto: setOnceCfg ending ok..."));
    });
}

STDMETHODIMP CCrypto::SetPinFlag(long, long* retVal)
{
    return Scripted(DISPID_ICrypto_SetPinFlag, retVal, [=, this] {
        AnswerAccepted(retVal, 0, KZR_TEXT("CCrypto: SetPinFlag starting..."),
                       KZR_TEXT("CCrypto: SetPinFlag ending ok..."));
    });
}

// Names itself setUserCfg; in the log only the line number tells the two apart.
STDMETHODIMP CCrypto::setUserCfgEx(short, BSTR, BSTR, BSTR, BSTR, short* retVal)
{
    return Scripted(DISPID_ICrypto_setUserCfgEx, retVal, [=, this] {
        AnswerAccepted(retVal, 0, KZR_TEXT("CCrypto: setUserCfg starting..."),
                       KZR_TEXT("CCrypto: setUserCfg ending ok..."));
    });
}

// ---- Signing and verification.

STDMETHODIMP CCrypto::signedDataByP7(BSTR sInData, BSTR sContainerName, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_signedDataByP7, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CCrypto: signedDataByP7 starting..."),
                   KZR_TEXT("CCrypto: signedDataByP7 kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        KZR_TRACE_TEXTS("CCrypto: signedDataByP7 containerName(%s)...", sContainerName);
        AnswerText(retVal, KZR_TEXT("CCrypto: signedDataByP7 ending ok..."),
                   KZR_TEXT("CCrypto: signedDataByP7 call SOF_SignMessage return NULL!"), L"SOF_SignMessage",
                   kAttached, UniqueId(sContainerName), sInData);
    });
}

STDMETHODIMP CCrypto::verifySignedDataByP7(BSTR sInData, short* retVal)
{
    return Scripted(DISPID_ICrypto_verifySignedDataByP7, retVal, [=, this] {
        // The signing method's start line, as log readers know it.
        if (!Begin(KZR_TEXT("CCrypto: signedDataByP7 starting..."),
                   KZR_TEXT("CCrypto: verifySignedDataByP7 kzrappcom or cache not initialized!")))
            return Put(retVal, -1);
        // No content beside the message, ever: only messages that carry theirs can verify.
        AnswerYesNo(retVal, KZR_TEXT("CCrypto: verifySignedDataByP7 ending ok..."),
                    KZR_TEXT("CCrypto: verifySignedDataByP7 call SOF_VerifySignedMessage return error!"),
                    L"SOF_VerifySignedMessage", sInData, L"");
    });
}

STDMETHODIMP CCrypto::signedData(BSTR sInData, BSTR sContainerName, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_signedData, retVal,
                    [=, this] { SignData(sInData, sContainerName, retVal); });
}

void CCrypto::SignData(BSTR sInData, BSTR sContainerName, BSTR* retVal)
{
    if (!Begin(KZR_TEXT("CCrypto: signedData starting..."),
               KZR_TEXT("CCrypto: signedData kzrappcom or cache not initialized!")))
        return Put(retVal, L"");
    KZR_TRACE_TEXTS("CCrypto: signedData containerName(%s)...", sContainerName);
    // The failure text names the message call, as log readers know it.
    AnswerText(retVal, KZR_TEXT("CCrypto: signedData ending ok..."),
               KZR_TEXT("CCrypto: signedData call SOF_SignMessage return NULL!"), L"SOF_SignData",
               UniqueId(sContainerName), sInData);
}

STDMETHODIMP CCrypto::verifySignedData(BSTR sInData, BSTR sCert, BSTR sOriData, short* retVal)
{
    return Scripted(DISPID_ICrypto_verifySignedData, retVal,
                    [=, this] { VerifySignedData(sInData, sCert, sOriData, retVal); });
}

void CCrypto::VerifySignedData(BSTR sInData, BSTR sCert, BSTR sOriData, short* retVal)
{
    if (!Begin(KZR_TEXT("CCrypto: verifySignedData starting..."),
               KZR_TEXT("CCrypto: verifySignedData kzrappcom or cache not initialized!")))
        return Put(retVal, -1);
    AnswerYesNo(retVal, KZR_TEXT("CCrypto: verifySignedData ending ok..."),
                KZR_TEXT("CCrypto: verifySignedData call SOF_VerifySignedData return error!"),
                L"SOF_VerifySignedData", sCert, sOriData, sInData);
}

STDMETHODIMP CCrypto::authUser(BSTR sInData, BSTR sContainerName, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_authUser, retVal, [=, this] {
        KZR_TRACE("CCrypto: authUser starting...");
        KZR_TRACE("CCrypto: authUser call signedData...");
        Bstr answer;
        SignData(sInData, sContainerName, answer.put());
        KZR_TRACE_TEXTS("CCrypto: authUser ending(%s)...", answer.Get());
        Put(retVal, std::move(answer));
    });
}

STDMETHODIMP CCrypto::checkUser(BSTR sInData, BSTR sCert, BSTR sOriData, short* retVal)
{
    return Scripted(DISPID_ICrypto_checkUser, retVal, [=, this] {
        KZR_TRACE("CCrypto: checkUser starting...");
        KZR_TRACE("CCrypto: checkUser call verifySignedData...");
        short answer = 0;
        VerifySignedData(sInData, sCert, sOriData, &answer);
        Put(retVal, answer);
        KZR_TRACE("CCrypto: checkUser ending(%d)...", answer);
    });
}

STDMETHODIMP CCrypto::decodeP7Data(BSTR sInData, short type, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_decodeP7Data, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CCrypto: decodeP7Data starting..."),
                   KZR_TEXT("CCrypto: decodeP7Data kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        // Success and failure are reported under the envelope's name, as log readers know it.
        AnswerText(retVal, KZR_TEXT("CCrypto: envelopedData ending ok..."),
                   KZR_TEXT("CCrypto: envelopedData call SOF_DecryptData return NULL!"),
                   L"SOF_GetInfoFromSignedMessage", sInData, type);
    });
}

STDMETHODIMP CCrypto::signFile(BSTR sFileName, BSTR sContainerName, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_signFile, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CCrypto: signFile starting..."),
                   KZR_TEXT("CCrypto: signFile kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        KZR_TRACE_TEXTS("CCrypto: signFile containerName(%s)...", sContainerName);
        AnswerText(retVal, KZR_TEXT("CCrypto: signFile ending ok..."),
                   KZR_TEXT("CCrypto: signFile call SOF_SignFile return NULL!"), L"SOF_SignFile",
                   UniqueId(sContainerName), sFileName);
    });
}

// A false verification is an answer here, not an error: no error line.
STDMETHODIMP CCrypto::verifySignFile(BSTR sFileName, BSTR sCert, BSTR SignData, short* retVal)
{
    return Scripted(DISPID_ICrypto_verifySignFile, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CCrypto: verifySignFile starting..."),
                   KZR_TEXT("CCrypto: verifySignFile kzrappcom or cache not initialized!")))
            return Put(retVal, -1);
        Variant verdict;
        if (!AskForCode(retVal, -1, verdict,
                        KZR_TEXT("CCrypto: verifySignFile call SOF_VerifySignedFile error!"),
                        L"SOF_VerifySignedFile", sCert, sFileName, SignData))
            return;
        const int answer = verdict.Bits16() != 0 ? 0 : -1;
        Put(retVal, answer);
        KZR_TRACE("CCrypto: verifySignFile ending(%d)...", answer);
    });
}

STDMETHODIMP CCrypto::signedDataXML(BSTR sInDataXML, BSTR sContainnerName, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_signedDataXML, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CCrypto: signedDataXML starting..."),
                   KZR_TEXT("CCrypto: signedDataXML kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        KZR_TRACE_TEXTS("CCrypto: signedDataXML contaienrName(%s)...", sContainnerName);
        AnswerText(retVal, KZR_TEXT("CCrypto: signedDataXML ending ok..."),
                   KZR_TEXT("CCrypto: signedDataXML call SOF_SignDataXML return NULL!"), L"SOF_SignDataXML",
                   UniqueId(sContainnerName), sInDataXML);
    });
}

STDMETHODIMP CCrypto::verifySignedDataXML(BSTR sInDataXML, long* retVal)
{
    return Scripted(DISPID_ICrypto_verifySignedDataXML, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CCrypto: verifySignedDataXML starting..."),
                   KZR_TEXT("CCrypto: verifySignedDataXML kzrappcom or cache not initialized!")))
            return Put(retVal, -1);
        Variant verdict;
        if (!AskForCode(retVal, -1, verdict,
                        KZR_TEXT("CCrypto: verifySignedDataXML call SOF_VerifySignedDataXML error!"),
                        L"SOF_VerifySignedDataXML", sInDataXML))
            return;
        const int answer = verdict.Bits16() != 0 ? 0 : -1;
        Put(retVal, answer);
        KZR_TRACE("CCrypto: verifySignedDataXML ending(%d)...", answer);
    });
}

STDMETHODIMP CCrypto::getXMLSignatureInfo(BSTR sInDataXML, long type, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_getXMLSignatureInfo, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CCrypto: getXMLSignatureInfo starting..."),
                   KZR_TEXT("CCrypto: getXMLSignatureInfo kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        AnswerText(retVal, KZR_TEXT("CCrypto: getXMLSignatureInfo ending ok..."),
                   KZR_TEXT("CCrypto: getXMLSignatureInfo call SOF_GetXMLSignatureInfo return NULL!"),
                   L"SOF_GetXMLSignatureInfo", sInDataXML, type);
    });
}

// ---- Hashing and random data.

STDMETHODIMP CCrypto::generateRandom(short RandomLen, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_generateRandom, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CCrypto: generateRandom starting..."),
                   KZR_TEXT("CCrypto: generateRandom kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        AnswerText(retVal, KZR_TEXT("CCrypto: generateRandom ending ok..."),
                   KZR_TEXT("CCrypto: generateRandom call SOF_GenRandom return NULL!"), L"SOF_GenRandom",
                   long{RandomLen});
    });
}

STDMETHODIMP CCrypto::Hash(BSTR sInData, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_Hash, retVal, [=, this] { HashText(sInData, retVal); });
}

void CCrypto::HashText(BSTR sInData, BSTR* retVal)
{
    if (!Begin(KZR_TEXT("CCrypto: Hash starting..."),
               KZR_TEXT("CCrypto: Hash kzrappcom or cache not initialized!")))
        return Put(retVal, L"");
    AnswerText(retVal, KZR_TEXT("CCrypto: Hash ending ok..."),
               KZR_TEXT("CCrypto: Hash call SOF_HashData return NULL!"), L"SOF_HashData", kKeyDigest,
               sInData);
}

STDMETHODIMP CCrypto::HashData(BSTR inData, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_HashData, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CCrypto: HashData starting..."),
                   KZR_TEXT("CCrypto: HashData kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        AnswerText(retVal, KZR_TEXT("CCrypto: HashData ending ok..."),
                   KZR_TEXT("CCrypto: HashData call SOF_HashData return NULL!"), L"SOF_HashData", kDataDigest,
                   inData);
    });
}

STDMETHODIMP CCrypto::HashFile(BSTR sInFile, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_HashFile, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CCrypto: HashFile starting..."),
                   KZR_TEXT("CCrypto: HashFile kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        AnswerText(retVal, KZR_TEXT("CCrypto: HashFile ending ok..."),
                   KZR_TEXT("CCrypto: HashFile call SOF_HashFile return NULL!"), L"SOF_HashFile", kDataDigest,
                   sInFile);
    });
}

// ---- Envelopes, public-key encryption, secret sharing.

STDMETHODIMP CCrypto::envelopedData(BSTR sInData, short flag, BSTR sContainerName, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_envelopedData, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CCrypto: envelopedData starting..."),
                   KZR_TEXT("CCrypto: envelopedData kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        KZR_TRACE("CCrypto: envelopedData flag(%d) containerName(or cert)(%s)...", flag,
                  BstrToString(sContainerName).c_str());
        const LogText& success = KZR_TEXT("CCrypto: envelopedData ending ok...");
        if (flag == 1) {
            // Here the container's name holds the recipient's certificate, which goes as it is.
            AnswerText(retVal, success,
                       KZR_TEXT("CCrypto: envelopedData call SOF_EncryptDataEx return NULL!"),
                       L"SOF_EncryptDataEx", sContainerName, sInData);
        } else if (flag == 0) {
            AnswerText(retVal, success, KZR_TEXT("CCrypto: envelopedData call SOF_DecryptData return NULL!"),
                       L"SOF_DecryptData", UniqueId(sContainerName), sInData);
        } else {
            Put(retVal, L"");
            KZR_ERROR(0, "CCrypto: envelopedData flag(%d) error!", flag);
        }
    });
}

STDMETHODIMP CCrypto::EncDataByCert(BSTR sCert, BSTR src, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_EncDataByCert, retVal,
                    [=, this] { EncryptByCertificate(sCert, src, retVal); });
}

void CCrypto::EncryptByCertificate(BSTR sCert, BSTR src, BSTR* retVal)
{
    if (!Begin(KZR_TEXT("CCrypto: EncDataByCert starting..."),
               KZR_TEXT("CCrypto: EncDataByCert kzrappcom or cache not initialized!")))
        return Put(retVal, L"");
    AnswerText(retVal, KZR_TEXT("CCrypto: EncDataByCert ending ok..."),
               KZR_TEXT("CCrypto: EncDataByCert call SOF_PubKeyEncrypt return NULL!"), L"SOF_PubKeyEncrypt",
               sCert, src);
}

STDMETHODIMP CCrypto::DecDataByRSA(BSTR sContainerName, BSTR EncStr, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_DecDataByRSA, retVal,
                    [=, this] { DecryptByKey(sContainerName, EncStr, retVal); });
}

void CCrypto::DecryptByKey(BSTR sContainerName, BSTR EncStr, BSTR* retVal)
{
    if (!Begin(KZR_TEXT("CCrypto: DecDataByRSA starting..."),
               KZR_TEXT("CCrypto: DecDataByRSA kzrappcom or cache not initialized!")))
        return Put(retVal, L"");
    KZR_TRACE_TEXTS("CCrypto: DecDataByRSA containerName(%s)...", sContainerName);
    AnswerText(retVal, KZR_TEXT("CCrypto: DecDataByRSA ending ok..."),
               KZR_TEXT("CCrypto: DecDataByRSA call SOF_PriKeyDecrypt return NULL!"), L"SOF_PriKeyDecrypt",
               UniqueId(sContainerName), EncStr);
}

STDMETHODIMP CCrypto::pubKeyEncrypt(BSTR Cert, BSTR inData, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_pubKeyEncrypt, retVal, [=, this] {
        KZR_TRACE("CCrypto: pubKeyEncrypt starting...");
        KZR_TRACE("CCrypto: pubKeyEncrypt call EncDataByCert...");
        EncryptByCertificate(Cert, inData, retVal);
        KZR_TRACE("CCrypto: pubKeyEncrypt ending...");
    });
}

STDMETHODIMP CCrypto::priKeyDecrypt(BSTR sContainerName, BSTR inData, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_priKeyDecrypt, retVal, [=, this] {
        KZR_TRACE("CCrypto: priKeyDecrypt starting...");
        KZR_TRACE("CCrypto: priKeyDecrypt call DecDataByRSA...");
        DecryptByKey(sContainerName, inData, retVal);
        KZR_TRACE("CCrypto: priKeyDecrypt ending...");
    });
}

STDMETHODIMP CCrypto::SecertSegment(BSTR Secert, long n, long d, long Mustn, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_SecertSegment, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CCrypto: SecertSegment starting..."),
                   KZR_TEXT("CCrypto: SecertSegment kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        AnswerText(retVal, KZR_TEXT("CCrypto: SecertSegment ending ok..."),
                   KZR_TEXT("CCrypto: SecertSegment call SOF_SecertSegment return NULL!"),
                   L"SOF_SecertSegment", Secert, n, d, Mustn);
    });
}

STDMETHODIMP CCrypto::SecertRecovery(BSTR sInData, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_SecertRecovery, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CCrypto: SecertRecovery starting..."),
                   KZR_TEXT("CCrypto: SecertRecovery kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        AnswerText(retVal, KZR_TEXT("CCrypto: SecertRecovery ending ok..."),
                   KZR_TEXT("CCrypto: SecertRecovery call SOF_SecertRecovery return NULL!"),
                   L"SOF_SecertRecovery", sInData);
    });
}

// ---- Symmetric encryption: strings by a hashed key, data by the caller's own. The work is
// CryptoSymmetric.cpp's.

STDMETHODIMP CCrypto::EncStr(BSTR sKey, BSTR instr, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_EncStr, retVal, [=, this] {
        KZR_TRACE("CCrypto: EncStr starting...");
        KZR_TRACE("CCrypto: EncStr call Hash...");
        Bstr key;
        HashText(sKey, key.put());
        if (SysStringLen(key.Get()) == 0) return Put(retVal, L"");
        KZR_TRACE("CCrypto: EncStr call SymEncryptData...");
        SymEncryptData(key.Get(), instr, kStringAndFileMethod, retVal);
        KZR_TRACE("CCrypto: EncStr ending...");
    });
}

STDMETHODIMP CCrypto::DecStr(BSTR sKey, BSTR instr, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_DecStr, retVal, [=, this] {
        KZR_TRACE("CCrypto: DecStr starting...");
        KZR_TRACE("CCrypto: DecStr call Hash...");
        Bstr key;
        HashText(sKey, key.put());
        if (SysStringLen(key.Get()) == 0) return Put(retVal, L"");
        KZR_TRACE("CCrypto: DecStr call SymEncryptData...");  // names the encrypting one, though it decrypts
        SymDecryptData(key.Get(), instr, kStringAndFileMethod, retVal);
        KZR_TRACE("CCrypto: DecStr ending...");
    });
}

STDMETHODIMP CCrypto::encryptData(BSTR sKey, BSTR inData, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_encryptData, retVal, [=, this] {
        KZR_TRACE("CCrypto: encryptData starting...");
        KZR_TRACE("CCrypto: encryptData call SymEncryptData...");
        SymEncryptData(sKey, inData, kOldDataMethod, retVal);
        KZR_TRACE("CCrypto: encryptData ending...");
    });
}

STDMETHODIMP CCrypto::decryptData(BSTR sKey, BSTR inData, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_decryptData, retVal, [=, this] {
        KZR_TRACE("CCrypto: decryptData starting...");
        KZR_TRACE("CCrypto: decryptData call SymDecryptData...");
        SymDecryptData(sKey, inData, kOldDataMethod, retVal);
        KZR_TRACE("CCrypto: decryptData ending...");
    });
}

STDMETHODIMP CCrypto::EncData(BSTR sKey, BSTR sInData, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_EncData, retVal, [=, this] {
        KZR_TRACE("CCrypto: EncData starting...");
        KZR_TRACE("CCrypto: EncData call SymEncryptData...");
        SymEncryptData(sKey, sInData, kDataMethod, retVal);
        KZR_TRACE("CCrypto: EncData ending...");
    });
}

// Names itself decryptData, as log readers know it.
STDMETHODIMP CCrypto::DecData(BSTR sKey, BSTR sInData, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_DecData, retVal, [=, this] {
        KZR_TRACE("CCrypto: decryptData starting...");
        KZR_TRACE("CCrypto: decryptData call SymDecryptData...");
        SymDecryptData(sKey, sInData, kDataMethod, retVal);
        KZR_TRACE("CCrypto: decryptData ending...");
    });
}

// ---- Methods without a counterpart. They look for no backend.

STDMETHODIMP CCrypto::ReadPfxToQmr(BSTR, short, BSTR, BSTR, short* retVal)
{
    return Scripted(DISPID_ICrypto_ReadPfxToQmr, retVal, [=, this] {
        AnswerUnsupported(retVal, -1, KZR_TEXT("CCrypto: ReadPfxToQmr starting..."),
                          KZR_TEXT("CCrypto: ReadPfxToQmr not support!"));
    });
}

STDMETHODIMP CCrypto::SetSessionKey(BSTR, BSTR, long* retVal)
{
    return Scripted(DISPID_ICrypto_SetSessionKey, retVal, [=, this] {
        AnswerUnsupported(retVal, -1, KZR_TEXT("CCrypto: SetSessionKey starting..."),
                          KZR_TEXT("CCrypto: SetSessionKey not support!"));
    });
}

STDMETHODIMP CCrypto::GetSessionKey(BSTR, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_GetSessionKey, retVal, [=, this] {
        AnswerUnsupported(retVal, L"", KZR_TEXT("CCrypto: GetSessionKey starting..."),
                          KZR_TEXT("CCrypto: GetSessionKey not support!"));
    });
}

STDMETHODIMP CCrypto::GenTSReq(BSTR, BSTR* retVal)
{
    return Scripted(DISPID_ICrypto_GenTSReq, retVal, [=, this] {
        AnswerUnsupported(retVal, L"", KZR_TEXT("CCrypto: GenTSReq starting..."),
                          KZR_TEXT("CCrypto: GenTSReq not support!"));
    });
}

}  // namespace kzr
