// CCrypto: configuration calls of old, signing and verification, encryption and decryption, hashing, random
// data.
#pragma once

#include "KzrSecX_h.h"
#include "frame/Answers.h"

namespace kzr {

class CCrypto final : public AnsweringObject<ICrypto> {
  public:
    explicit CCrypto(IUnknown* outer) noexcept;
    static void Forget() noexcept;

    STDMETHODIMP setUserCfg(short CfgFlag, BSTR sCfgValue, BSTR sExt1CfgValue, BSTR sExt2CfgValue,
                            short* retVal) override;
    STDMETHODIMP setAlgFlag(short AlgType, short AlgFlag, short* retVal) override;
    STDMETHODIMP signedDataByP7(BSTR sInData, BSTR sContainerName, BSTR* retVal) override;
    STDMETHODIMP verifySignedDataByP7(BSTR sInData, short* retVal) override;
    STDMETHODIMP signedData(BSTR sInData, BSTR sContainerName, BSTR* retVal) override;
    STDMETHODIMP verifySignedData(BSTR sInData, BSTR sCert, BSTR sOriData, short* retVal) override;
    STDMETHODIMP generateRandom(short RandomLen, BSTR* retVal) override;
    STDMETHODIMP envelopedData(BSTR sInData, short flag, BSTR sContainerName, BSTR* retVal) override;
    STDMETHODIMP authUser(BSTR sInData, BSTR sContainerName, BSTR* retVal) override;
    STDMETHODIMP checkUser(BSTR sInData, BSTR sCert, BSTR sOriData, short* retVal) override;
    STDMETHODIMP decodeP7Data(BSTR sInData, short type, BSTR* retVal) override;
    STDMETHODIMP encryptFile(BSTR sInFileName, BSTR sOutFileName, BSTR sKey, short* retVal) override;
    STDMETHODIMP decryptFile(BSTR sInFileName, BSTR sOutFileName, BSTR sKey, short* retVal) override;
    STDMETHODIMP setOnceCfg(short CfgFlag, BSTR sCfgValue, BSTR sExt1CfgValue, BSTR sExt2CfgValue,
                            short* retVal) override;
    STDMETHODIMP ReadPfxToQmr(BSTR sContainerName, short KeyUsage, BSTR sPassword, BSTR sPfxFile,
                              short* retVal) override;
    STDMETHODIMP Hash(BSTR sInData, BSTR* retVal) override;
    STDMETHODIMP signFile(BSTR sFileName, BSTR sContainerName, BSTR* retVal) override;
    STDMETHODIMP verifySignFile(BSTR sFileName, BSTR sCert, BSTR SignData, short* retVal) override;
    STDMETHODIMP signedDataXML(BSTR sInDataXML, BSTR sContainnerName, BSTR* retVal) override;
    STDMETHODIMP verifySignedDataXML(BSTR sInDataXML, long* retVal) override;
    STDMETHODIMP getXMLSignatureInfo(BSTR sInDataXML, long type, BSTR* retVal) override;
    STDMETHODIMP EncStr(BSTR sKey, BSTR instr, BSTR* retVal) override;
    STDMETHODIMP DecStr(BSTR sKey, BSTR instr, BSTR* retVal) override;
    STDMETHODIMP SetSessionKey(BSTR sKey, BSTR sContainerName, long* retVal) override;
    STDMETHODIMP GetSessionKey(BSTR sContainerName, BSTR* retVal) override;
    STDMETHODIMP SetPinFlag(long flag, long* retVal) override;
    STDMETHODIMP SecertSegment(BSTR Secert, long n, long d, long Mustn, BSTR* retVal) override;
    STDMETHODIMP SecertRecovery(BSTR sInData, BSTR* retVal) override;
    STDMETHODIMP EncDataByCert(BSTR sCert, BSTR src, BSTR* retVal) override;
    STDMETHODIMP DecDataByRSA(BSTR sContainerName, BSTR EncStr, BSTR* retVal) override;
    STDMETHODIMP encryptData(BSTR sKey, BSTR inData, BSTR* retVal) override;
    STDMETHODIMP decryptData(BSTR sKey, BSTR inData, BSTR* retVal) override;
    STDMETHODIMP pubKeyEncrypt(BSTR Cert, BSTR inData, BSTR* retVal) override;
    STDMETHODIMP priKeyDecrypt(BSTR sContainerName, BSTR inData, BSTR* retVal) override;
    STDMETHODIMP HashData(BSTR inData, BSTR* retVal) override;
    STDMETHODIMP GenTSReq(BSTR HashValue, BSTR* retVal) override;
    STDMETHODIMP EncData(BSTR sKey, BSTR sInData, BSTR* retVal) override;
    STDMETHODIMP DecData(BSTR sKey, BSTR sInData, BSTR* retVal) override;
    STDMETHODIMP HashFile(BSTR sInFile, BSTR* retVal) override;
    STDMETHODIMP setUserCfgEx(short CfgFlag, BSTR sCfgValue, BSTR sExt1CfgValue, BSTR sExt2CfgValue,
                              BSTR sContainerName, short* retVal) override;

  private:
    // The backend's code for the algorithm that EncStr, DecStr and the two file methods stand for.
    static constexpr long kStringAndFileMethod = 4097;

    // The texts and names of one way of working with a switched symmetric algorithm.
    struct FileCipher;
    struct DataCipher;

    void LogFatalError(DISPID id) const override;

    std::wstring UniqueId(BSTR container) const;

    // Bodies that other methods of this object call as well.
    void SignData(BSTR sInData, BSTR sContainerName, BSTR* retVal);
    void VerifySignedData(BSTR sInData, BSTR sCert, BSTR sOriData, short* retVal);
    void HashText(BSTR sInData, BSTR* retVal);
    void EncryptByCertificate(BSTR sCert, BSTR src, BSTR* retVal);
    void DecryptByKey(BSTR sContainerName, BSTR EncStr, BSTR* retVal);

    void SymEncryptData(BSTR key, BSTR data, long symAlgo, BSTR* result);
    void SymDecryptData(BSTR key, BSTR data, long symAlgo, BSTR* result);
    void CryptData(const DataCipher& cipher, BSTR key, BSTR data, long symAlgo, BSTR* result);
    void CryptFile(const FileCipher& cipher, BSTR key, BSTR from, BSTR to, short* retVal);

    // Puts the backend on `code` and keeps its method of before in `saved`. On failure its line has been
    // written, and whatever method the backend is on by then stays.
    bool SwitchMethod(long code, long& saved, const LogText& getFailure, const LogText& setFailure);
    void RestoreMethod(long saved);
};

}  // namespace kzr
