// CCertificate: the process-wide current certificate, its fields, its validity.
#pragma once

#include "KzrSecX_h.h"
#include "frame/Answers.h"

namespace kzr {

class CCertificate final : public AnsweringObject<ICertificate> {
  public:
    explicit CCertificate(IUnknown* outer) noexcept;
    static void Forget() noexcept;

    STDMETHODIMP importCert(BSTR sCertSrc, short SrcType, BSTR sPwd, short* retVal) override;
    STDMETHODIMP exportCert(short DstType, BSTR sCertPath, BSTR* retVal) override;
    STDMETHODIMP getBasicCertInfoByOID(short OID, BSTR* retVal) override;
    STDMETHODIMP checkValidaty(BSTR sDate, short* retVal) override;
    STDMETHODIMP getExtCertInfoByOID(BSTR sOID, BSTR* retVal) override;
    STDMETHODIMP validateCert(BSTR sCertChain, BSTR sCRL, short* retVal) override;
    STDMETHODIMP modifyPFXPwd(BSTR sPFXPath, BSTR sOldPwd, BSTR sNewPwd, short* retVal) override;
    STDMETHODIMP modifyPFXPwd2(BSTR sPFXPath, BSTR sOldPwd, BSTR sNewPwd1, BSTR sNewPwd2,
                               short* retVal) override;
    STDMETHODIMP SavePFXToCBIEx(BSTR sCBIFilePath, long type, BSTR sContainName, long* retVal) override;
    STDMETHODIMP ParseCBIToPFXEx(BSTR sCBIFilePath, BSTR* retVal) override;
    STDMETHODIMP ClearConfig(BSTR username, long* retVal) override;

  private:
    void LogFatalError(DISPID id) const override;

    bool ImportFromContainer(BSTR container, const wchar_t* method, const LogText& failure);
    // The reference moment of checkValidaty; false when the text is no date, which has been logged then.
    bool ReferenceMoment(BSTR sDate, long long& moment) const;
    // False when the file could not be read, which ends validateCert.
    bool ConfigureFromFile(BSTR fileName, long configType, short* retVal);
};

}  // namespace kzr
