// CDeviceMgr: login and PINs, data files on the key, serial numbers, containers of a CSP.
#pragma once

#include "KzrSecX_h.h"
#include "frame/Answers.h"

namespace kzr {

class CDeviceMgr final : public AnsweringObject<IDeviceMgr> {
  public:
    explicit CDeviceMgr(IUnknown* outer) noexcept;
    static void Forget() noexcept;

    STDMETHODIMP userLogin(BSTR sCSPName, BSTR sUserPin, short* retVal) override;
    STDMETHODIMP changeUserPin(BSTR sCSPName, BSTR sExtLib, BSTR sOldPin, BSTR sNewPin,
                               short* retVal) override;
    STDMETHODIMP enumUserCertificates(BSTR sCSPName, BSTR* retVal) override;
    STDMETHODIMP getKeyRetrys(BSTR sExtLib, short* retVal) override;
    STDMETHODIMP getOldKeyInfo(BSTR sContainerName, BSTR sPwd, BSTR sDeviceType, short TypeID,
                               BSTR* retVal) override;
    STDMETHODIMP changeOldKeyPwd(BSTR sContainerName, BSTR sDeviceType, short Port, BSTR sOldPwd,
                                 BSTR sNewPwd, short* retVal) override;
    STDMETHODIMP getKeyData(BSTR sExtLib, BSTR sKeyFile, BSTR* retVal) override;
    STDMETHODIMP getKeySN(BSTR sExtLib, BSTR* retVal) override;
    STDMETHODIMP getKeySavedPass(BSTR keySN, BSTR* retVal) override;
    STDMETHODIMP setKeyData(BSTR sExtLib, BSTR sKeyFile, BSTR sData, short* retVal) override;
    STDMETHODIMP creatKeyFile(BSTR sExtLib, BSTR sKeyFile, short nMaxLen, short* retVal) override;
    STDMETHODIMP changeUserPin2(BSTR sCSPName, BSTR sExtLib, BSTR sOldPin, BSTR sNewPin1, BSTR sNewPin2,
                                short* retVal) override;
    STDMETHODIMP userLoginEx(BSTR sCSPName, BSTR sContainerName, BSTR sExtLib, BSTR sUserPin,
                             short* retVal) override;
    STDMETHODIMP changeUserPinEx(BSTR sCSPName, BSTR sContainerName, BSTR sExtLib, BSTR sOldPin, BSTR sNewPin,
                                 short* retVal) override;
    STDMETHODIMP getKeyRetrysEx(BSTR sContainerName, BSTR sExtLib, short* retVal) override;
    STDMETHODIMP getKeyDataEx(BSTR sContainerName, BSTR sExtLib, BSTR sKeyFile, BSTR* retVal) override;
    STDMETHODIMP getKeySNEx(BSTR sContainerName, BSTR sExtLib, BSTR* retVal) override;
    STDMETHODIMP setKeyDataEx(BSTR sContainerName, BSTR sExtLib, BSTR sKeyFile, BSTR sData,
                              short* retVal) override;
    STDMETHODIMP creatKeyFileEx(BSTR sContainerName, BSTR sExtLib, BSTR sKeyFile, short nMaxLen,
                                short* retVal) override;

  private:
    void LogFatalError(DISPID id) const override;
};

}  // namespace kzr
