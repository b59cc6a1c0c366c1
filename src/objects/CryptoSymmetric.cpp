// CCrypto's symmetric work: the backend is switched to the algorithm that an old method stands for, and back
// again after the one operation. The steps are separate backend calls; callers that switch at the same time
// may meet each other's algorithm, which old hosts never do.
#include "com/Text.h"
#include "objects/Crypto.h"
#include "resources/DispIds.h"

namespace kzr {
namespace {

constexpr char kLogSource[] = "Crypto";

}  // namespace

struct CCrypto::FileCipher {
    const wchar_t* method;
    const LogText &start, &notInitialized, &getFailure, &setFailure, &success, &failure;
};

struct CCrypto::DataCipher {
    const wchar_t* method;
    const LogText &getFailure, &setFailure, &success, &failure;
};

bool CCrypto::SwitchMethod(long code, long& saved, const LogText& getFailure, const LogText& setFailure)
{
    Variant current;
    HRESULT called = m_backend->Call(L"SOF_GetEncryptMethod", current);
    if (FAILED(called)) {
        Error(getFailure, called);
        return false;
    }
    saved = current.Bits32();

    Variant refused;  // 0 is success
    called = m_backend->Call(L"SOF_SetEncryptMethod", refused, code);
    if (FAILED(called) || refused.Bits32() != 0) {
        Error(setFailure, called);
        return false;
    }
    return true;
}

void CCrypto::RestoreMethod(long saved)
{
    Variant ignored;
    m_backend->Call(L"SOF_SetEncryptMethod", ignored, saved);
}

STDMETHODIMP CCrypto::encryptFile(BSTR sInFileName, BSTR sOutFileName, BSTR sKey, short* retVal)
{
    return Scripted(DISPID_ICrypto_encryptFile, retVal, [=, this] {
        CryptFile({L"SOF_SymEncryptFile", KZR_TEXT("CCrypto: encryptFile starting..."),
                   KZR_TEXT("CCrypto: encryptFile kzrappcom or cache not initialized!"),
                   KZR_TEXT("CCrypto: encryptFile call SOF_GetEncryptMethod return NULL!"),
                   KZR_TEXT("CCrypto: encryptFile call SOF_SetEncryptMethod return NULL!"),
                   KZR_TEXT("CCrypto: encryptFile ending ok!"),
                   KZR_TEXT("CCrypto: encryptFile call SOF_SymEncryptFile return error!")},
                  sKey, sInFileName, sOutFileName, retVal);
    });
}

STDMETHODIMP CCrypto::decryptFile(BSTR sInFileName, BSTR sOutFileName, BSTR sKey, short* retVal)
{
    return Scripted(DISPID_ICrypto_decryptFile, retVal, [=, this] {
        CryptFile({L"SOF_SymDecryptFile", KZR_TEXT("CCrypto: decryptFile starting..."),
                   KZR_TEXT("CCrypto: decryptFile kzrappcom or cache not initialized!"),
                   KZR_TEXT("CCrypto: decryptFile call SOF_GetEncryptMethod return NULL!"),
                   KZR_TEXT("CCrypto: decryptFile call SOF_SetEncryptMethod return NULL!"),
                   KZR_TEXT("CCrypto: decryptFile ending ok!"),
                   KZR_TEXT("CCrypto: decryptFile call SOF_SymDecryptFile return error!")},
                  sKey, sInFileName, sOutFileName, retVal);
    });
}

// Only the HRESULT decides: the backend's boolean is not looked at. Both lines stand at level error, the
// success line too, on purpose.
void CCrypto::CryptFile(const FileCipher& cipher, BSTR key, BSTR from, BSTR to, short* retVal)
{
    long saved = 0;
    if (!Begin(cipher.start, cipher.notInitialized) ||
        !SwitchMethod(kStringAndFileMethod, saved, cipher.getFailure, cipher.setFailure))
        return Put(retVal, -1);

    Variant ignored;
    const HRESULT called = m_backend->Call(cipher.method, ignored, key, from, to);
    Put(retVal, FAILED(called) ? -1 : 0);
    Error(FAILED(called) ? cipher.failure : cipher.success, called);
    RestoreMethod(saved);
}

void CCrypto::SymEncryptData(BSTR key, BSTR data, long symAlgo, BSTR* result)
{
    if (!Begin(KZR_TEXT("CCrypto: SymEncryptData starting..."),
               KZR_TEXT("CCrypto: SymEncryptData kzrappcom or cache not initialized!")))
        return Put(result, L"");
    KZR_TRACE("CCrypto: SymEncryptData Key(%s) symAlgo(%d)...", BstrToString(key).c_str(),
              static_cast<int>(symAlgo));
    CryptData(
        {L"SOF_SymEncryptData", KZR_TEXT("CCrypto: SymEncryptData call SOF_GetEncryptMethod return NULL!"),
         KZR_TEXT("CCrypto: SymEncryptData call SOF_SetEncryptMethod return NULL!"),
         KZR_TEXT("CCrypto: SymEncryptData ending ok!"),
         KZR_TEXT("CCrypto: SymEncryptData call SOF_SymEncryptData return error!")},
        key, data, symAlgo, result);
}

void CCrypto::SymDecryptData(BSTR key, BSTR data, long symAlgo, BSTR* result)
{
    if (!Begin(KZR_TEXT("CCrypto: SymDecryptData starting..."),
               KZR_TEXT("CCrypto: SymDecryptData kzrappcom or cache not initialized!")))
        return Put(result, L"");
    KZR_TRACE("CCrypto: SymDecryptData Key(%s) symAlgo(%d)...", BstrToString(key).c_str(),
              static_cast<int>(symAlgo));
    CryptData(
        {L"SOF_SymDecryptData", KZR_TEXT("CCrypto: SymDecryptData call SOF_GetEncryptMethod return NULL!"),
         KZR_TEXT("CCrypto: SymDecryptData call SOF_SetEncryptMethod return NULL!"),
         KZR_TEXT("CCrypto: SymDecryptData ending ok!"),
         KZR_TEXT("CCrypto: SymDecryptData call SOF_SymDecryptData return error!")},
        key, data, symAlgo, result);
}

// An empty text is a result like any other here. Levels as with files.
void CCrypto::CryptData(const DataCipher& cipher, BSTR key, BSTR data, long symAlgo, BSTR* result)
{
    long saved = 0;
    if (!SwitchMethod(symAlgo, saved, cipher.getFailure, cipher.setFailure)) return Put(result, L"");

    Variant made;
    const HRESULT called = m_backend->Call(cipher.method, made, key, data);
    Put(result, SUCCEEDED(called) ? Bstr::CopyOf(made.Text()) : Bstr(L""));
    Error(FAILED(called) ? cipher.failure : cipher.success, called);
    RestoreMethod(saved);
}

}  // namespace kzr
