// CUtil: Base64 of strings and files, facts about a container's user, renaming files.
#pragma once

#include "KzrSecX_h.h"
#include "frame/Answers.h"

namespace kzr {

class CUtil final : public AnsweringObject<IUtil> {
  public:
    explicit CUtil(IUnknown* outer) noexcept;
    static void Forget() noexcept;

    STDMETHODIMP base64EncodeString(BSTR sInData, BSTR* retVal) override;
    STDMETHODIMP base64EncodeFile(BSTR sFilePath, BSTR* retVal) override;
    STDMETHODIMP getUserList(BSTR* retVal) override;
    STDMETHODIMP getUserInfoByContainer(BSTR sContainerName, short TypeID, BSTR* retVal) override;
    STDMETHODIMP base64DecodeFile(BSTR sInData, BSTR sFilePath, short* retVal) override;
    STDMETHODIMP base64DecodeString(BSTR sInData, BSTR* retVal) override;
    STDMETHODIMP getUserList2(BSTR* retVal) override;
    STDMETHODIMP GetContainerNameByUniqueId(BSTR UniqueId, BSTR AppNameAndOid, BSTR* retVal) override;
    STDMETHODIMP RenameFile(BSTR oldname, BSTR newname, short* retVal) override;

  private:
    void LogFatalError(DISPID id) const override;

    void GetUserList(BSTR* retVal);
    // False when the method has ended with its failure line; `text` is the fact otherwise.
    bool FindUserInfo(const std::wstring& container, short type, std::wstring& text);
    bool SigningCertificateFact(const std::wstring& id, short type, std::wstring& text);
    std::wstring CertificateCount(const std::wstring& id);
    std::wstring SerialNumber(const std::wstring& id, short type);
};

}  // namespace kzr
