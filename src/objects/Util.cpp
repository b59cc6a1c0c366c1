#include "objects/Util.h"

#include "backend/ResultText.h"
#include "com/Text.h"
#include "frame/CertificateCount.h"
#include "objects/Creators.h"
#include "resources/DispIds.h"

namespace kzr {
namespace {

constexpr char kLogSource[] = "Util";

constinit TypeInfo g_typeInfo(IID_IUtil);
constexpr ClassFacts kFacts{"CUtil", kLogSource, IID_IUtil, g_typeInfo};

// The backend's certificate-information codes that this class asks for.
constexpr short kSerialNumber = 2;
constexpr short kIssuerCommonName = 8;
constexpr short kSubjectUnit = 15;
constexpr short kSubjectCommonName = 17;

}  // namespace

HRESULT CreateUtil(IUnknown* outer, REFIID iid, void** object)
{
    return CreateScriptable<CUtil>(outer, iid, object);
}

CUtil::CUtil(IUnknown* outer) noexcept : AnsweringObject<IUtil>(kFacts, outer) {}

void CUtil::Forget() noexcept { g_typeInfo.Forget(); }

// The certificate class's text, as ever; only the source name tells the two apart.
void CUtil::LogFatalError(DISPID id) const
{
    KZR_ERROR(0, "Invoke CCertificate dispid(%d): receive a fatal error!!!", static_cast<int>(id));
}

STDMETHODIMP CUtil::base64EncodeString(BSTR sInData, BSTR* retVal)
{
    return Scripted(DISPID_IUtil_base64EncodeString, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CUtil: base64EncodeString starting..."),
                   KZR_TEXT("CUtil: base64EncodeString kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        if (!sInData) {
            KZR_ERROR(0, "CUtil: base64EncodeString param error!");
            return Put(retVal, L"");
        }
        AnswerText(retVal, KZR_TEXT("CUtil: base64EncodeString ending ok..."),
                   KZR_TEXT("CUtil: base64EncodeString call SOF_Base64Encode return NULL!"),
                   L"SOF_Base64Encode", sInData);
    });
}

STDMETHODIMP CUtil::base64EncodeFile(BSTR sFilePath, BSTR* retVal)
{
    return Scripted(DISPID_IUtil_base64EncodeFile, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CUtil: base64EncodeFile starting..."),
                   KZR_TEXT("CUtil: base64EncodeFile kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        if (!sFilePath) {
            KZR_ERROR(0, "CUtil: base64EncodeFile param error!");
            return Put(retVal, L"");
        }
        AnswerText(retVal, KZR_TEXT("CUtil: base64EncodeFile ending ok..."),
                   KZR_TEXT("CUtil: base64EncodeFile call Base64EncodeFile return NULL!"),
                   L"Base64EncodeFile", sFilePath);
    });
}

STDMETHODIMP CUtil::base64DecodeString(BSTR sInData, BSTR* retVal)
{
    return Scripted(DISPID_IUtil_base64DecodeString, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CUtil: base64DecodeString starting..."),
                   KZR_TEXT("CUtil: base64DecodeString kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        if (!sInData) {
            KZR_ERROR(0, "CUtil: base64DecodeString param error!");
            return Put(retVal, L"");
        }
        AnswerText(retVal, KZR_TEXT("CUtil: base64DecodeString ending ok..."),
                   KZR_TEXT("CUtil: base64DecodeString call SOF_Base64Decode return NULL!"),
                   L"SOF_Base64Decode", sInData);
    });
}

STDMETHODIMP CUtil::base64DecodeFile(BSTR sInData, BSTR sFilePath, short* retVal)
{
    return Scripted(DISPID_IUtil_base64DecodeFile, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CUtil: base64DecodeFile starting..."),
                   KZR_TEXT("CUtil: base64DecodeFile kzrappcom or cache not initialized!")))
            return Put(retVal, -1);
        if (!sInData || !sFilePath) {
            KZR_ERROR(0, "CUtil: base64DecodeFile param error!");
            return Put(retVal, -1000);  // a parameter error, apart from a backend's failure
        }
        AnswerYesNo(retVal, KZR_TEXT("CUtil: base64DecodeFile ending ok..."),
                    KZR_TEXT("CUtil: base64DecodeFile call Base64DecodeFile return error!"),
                    L"Base64DecodeFile", sInData, sFilePath);
    });
}

STDMETHODIMP CUtil::getUserList(BSTR* retVal)
{
    return Scripted(DISPID_IUtil_getUserList, retVal, [=, this] { GetUserList(retVal); });
}

// Runs the other method and so writes that one's lines, none of its own.
STDMETHODIMP CUtil::getUserList2(BSTR* retVal)
{
    return Scripted(DISPID_IUtil_getUserList2, retVal, [=, this] { GetUserList(retVal); });
}

// Always empty: the list is to be had from the control. Old pages still call it. The last line spells the
// name its own way.
void CUtil::GetUserList(BSTR* retVal)
{
    KZR_TRACE("CUtil: getUserList starting...");
    Put(retVal, L"");
    KZR_TRACE("CUtil: getUserList return Data(%s)...", "");
    KZR_TRACE("CUtil: GetUserList ending ok...");
}

STDMETHODIMP CUtil::GetContainerNameByUniqueId(BSTR, BSTR, BSTR* retVal)
{
    return Scripted(DISPID_IUtil_GetContainerNameByUniqueId, retVal, [=, this] {
        AnswerUnsupported(retVal, L"", KZR_TEXT("CUtil: GetContainerNameByUniqueId starting..."),
                          KZR_TEXT("CUtil: GetContainerNameByUniqueId not support!"));
    });
}

// Local: neither the backend nor the cache is needed or looked for.
STDMETHODIMP CUtil::RenameFile(BSTR oldname, BSTR newname, short* retVal)
{
    return Scripted(DISPID_IUtil_RenameFile, retVal, [=, this] {
        KZR_TRACE("CUtil: RenameFile starting...");
        KZR_TRACE_TEXTS("CUtil: RenameFile oldName(%s) newName(%s)...", oldname, newname);
        const std::wstring from = WideText(oldname);
        const std::wstring to = WideText(newname);
        const short answer = MoveFileW(from.c_str(), to.c_str()) ? 0 : -1;
        Put(retVal, answer);
        KZR_TRACE("CUtil: RenameFile ending(%d)...", answer);
    });
}

STDMETHODIMP CUtil::getUserInfoByContainer(BSTR sContainerName, short TypeID, BSTR* retVal)
{
    return Scripted(DISPID_IUtil_getUserInfoByContainer, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CUtil: getUserInfoByContainer starting..."),
                   KZR_TEXT("CUtil: getUserInfoByContainer kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        KZR_TRACE("CUtil: getUserInfoByContainer containerName(%s) TypeID(%d)...",
                  BstrToString(sContainerName).c_str(), TypeID);
        std::wstring text;
        if (!FindUserInfo(WideText(sContainerName), TypeID, text)) return Put(retVal, L"");
        Put(retVal, text);
        KZR_TRACE_TEXTS("CUtil: getUserInfoByContainer userInof(%s)...", text);
        KZR_TRACE("CUtil: getUserInfoByContainer ending...");
    });
}

bool CUtil::FindUserInfo(const std::wstring& container, short type, std::wstring& text)
{
    const std::wstring id = m_cache->GetUniqueIdByContainer(container);  // for every type, used or not
    switch (type) {
        case 1:
        case 2:
        case 3:
        case 4:
            return SigningCertificateFact(id, type, text);
        case 5:
        case 6:
        case 7:
        case 8:
        case 9:
        case 16:
        case 17:
        case 18:
        case 19:
        case 20:
        case 21:
        case 22:
        case 25:
            KZR_TRACE("CUtil: getUserInfoByContainer TypeID(%d) return NULL...", type);
            break;
        case 10:
            text = CertificateCount(id);
            break;
        case 11:
        case 12:
            text = SerialNumber(id, type);
            break;
        case 13:
            text = m_cache->GetDeviceSNByContainer(container);
            break;
        case 14:
        case 40:
            text = m_cache->GetCspNameByContainer(container);
            break;
        case 15:
        case 41:
            text = m_cache->GetExtLibNameByContainer(container);
            break;
        case 23:
        case 24:
            text = L"1";
            break;
        default:
            break;  // everything else is empty, without a line
    }
    return true;
}

// Types 1 to 4. The second call's HRESULT counts for 1 and 4 only; a failing one of 2 or 3 is noticed through
// its empty result alone, and its line then carries the export's status. Old callers know it so.
bool CUtil::SigningCertificateFact(const std::wstring& id, short type, std::wstring& text)
{
    Variant certificate;
    HRESULT called = m_backend->Call(L"SOF_ExportUserCert", certificate, id);
    if (FAILED(called) || !certificate.HasText()) {
        KZR_ERROR(called, "CUtil: getUserInfoByContainer SOF_ExportUserCert return NULL!");
        return false;
    }

    Variant fact;
    switch (type) {
        case 1:
            called = m_backend->Call(L"SOF_GetCertInfo", fact, certificate, kSubjectCommonName);
            break;
        case 2:
            m_backend->Call(L"SOF_GetCertEntity", fact, certificate);
            break;
        case 3:
            m_backend->Call(L"SOF_GetCertInfo", fact, certificate, kSubjectUnit);
            break;
        case 4:
            called = m_backend->Call(L"SOF_GetCertInfo", fact, certificate, kIssuerCommonName);
            break;
    }
    if (FAILED(called) || !fact.HasText()) {
        KZR_ERROR(called, "CUtil: getUserInfoByContainer SOF_GetCertInfo or SOF_GetCertEntity return NULL!");
        return false;
    }
    text = ChangedToText(fact);
    return true;
}

// Both exports' HRESULTs are ignored: what they left as results decides.
std::wstring CUtil::CertificateCount(const std::wstring& id)
{
    Variant signing;
    Variant exchange;
    m_backend->Call(L"SOF_ExportUserCert", signing, id);
    m_backend->Call(L"SOF_ExportExChangeUserCert", exchange, id);
    return CertificateCountText(signing, exchange);
}

// Type 11 the signing certificate's, 12 the exchange certificate's. Both are exported either way, used as
// they come, and nothing here is checked. A result without a text, VT_NULL too, ends in the guard.
std::wstring CUtil::SerialNumber(const std::wstring& id, short type)
{
    Variant signing;
    Variant exchange;
    Variant number;
    m_backend->Call(L"SOF_ExportUserCert", signing, id);
    m_backend->Call(L"SOF_ExportExChangeUserCert", exchange, id);
    m_backend->Call(L"SOF_GetCertInfo", number, (type == 11 ? signing : exchange), kSerialNumber);
    return LowerAscii(ChangedToText(number));
}

}  // namespace kzr
