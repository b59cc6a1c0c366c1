// The control's scripted methods. They return their results; the dispatch turns what they throw into failed
// calls.
#include "backend/ResultText.h"
#include "com/Text.h"
#include "control/AboutBox.h"
#include "control/SerialNumbers.h"
#include "control/USBKeyPnPActiveXCtrl.h"
#include "frame/CertificateCount.h"
#include "frame/UserListRefresh.h"

namespace kzr {
namespace {

constexpr char kLogSource[] = "USBKeyPnPActiveXCtrl";

// The backend's certificate-information and device-information codes that this class asks for.
constexpr short kIssuerCommonName = 8;
constexpr short kSubjectCommonName = 17;
constexpr long kExtLibName = 8;
constexpr long kCspName = 9;

}  // namespace

bool CUSBKeyPnPActiveXCtrl::Begin(const LogText& start, const LogText& notInitialized) const
{
    WriteText(kLogSource, start, kLogTrace, 0);
    if (m_backend && m_cache) return true;
    WriteText(kLogSource, notInitialized, kLogError, 0);
    return false;
}

void CUSBKeyPnPActiveXCtrl::Unsupported(const LogText& start, const LogText& notice) const
{
    WriteText(kLogSource, start, kLogTrace, 0);
    WriteText(kLogSource, notice, kLogNotice, 0);
}

// Kept for old pages.
Bstr CUSBKeyPnPActiveXCtrl::EnumUsbKey()
{
    KZR_TRACE("CUSBKeyPnPActiveXCtrl: EnumUsbKey starting...");
    KZR_TRACE("CUSBKeyPnPActiveXCtrl: EnumUsbKey ending ok...");
    return Bstr(L"");
}

// The refreshed list, read back from the cache: bare container names, where the backend's list has unique
// identifiers. The last line spells the name its own way.
Bstr CUSBKeyPnPActiveXCtrl::getUserList()
{
    if (!Begin(KZR_TEXT("CUSBKeyPnPActiveXCtrl: getUserList starting..."),
               KZR_TEXT("CUSBKeyPnPActiveXCtrl: getUserList kzrappcom or cache not initialized!")))
        return Bstr(L"");
    bool refreshed = false;
    const HRESULT called = RefreshUserList(m_backend.get(), m_cache, refreshed);
    if (!refreshed) {
        KZR_ERROR(called, "CUSBKeyPnPActiveXCtrl: getUserList call SOF_GetUserList return NULL!");
        return Bstr(L"");
    }
    const std::wstring list = m_cache->GetUserList();
    KZR_TRACE_TEXTS("CUSBKeyPnPActiveXCtrl: getUserList return Data(%s)...", list);
    KZR_TRACE("CUSBKeyPnPActiveXCtrl: GetUserList ending ok...");
    return Bstr(list);
}

Bstr CUSBKeyPnPActiveXCtrl::getUserInfoByContainer(BSTR strContainerName, short type)
{
    if (!Begin(KZR_TEXT("CUSBKeyPnPActiveXCtrl: getUserInfoByContainer starting..."),
               KZR_TEXT("CUSBKeyPnPActiveXCtrl: getUserInfoByContainer kzrappcom or cache not initialized!")))
        return Bstr(L"");
    KZR_TRACE("CUSBKeyPnPActiveXCtrl: getUserInfoByContainer containerName(%s) type(%d)...",
              BstrToString(strContainerName).c_str(), type);
    std::wstring text;
    if (!FindUserInfo(WideText(strContainerName), type, text)) return Bstr(L"");
    KZR_TRACE_TEXTS("CUSBKeyPnPActiveXCtrl: getUserInfoByContainer ending(%s)...", text);
    return Bstr(text);
}

bool CUSBKeyPnPActiveXCtrl::FindUserInfo(const std::wstring& container, short type, std::wstring& text)
{
    const std::wstring id = m_cache->GetUniqueIdByContainer(container);  // for every type, used or not
    switch (type) {
        case 1:
            return CertificateFact(id, kSubjectCommonName, text);
        case 4:
            return CertificateFact(id, kIssuerCommonName, text);
        case 8:
            text = L"TOLV_AUTO_USBKEY";  // the device type that old pages expect of any container
            break;
        case 10:
            text = CertificateCount(id);
            break;
        case 14:
            text = m_cache->GetCspNameByContainer(container);
            break;
        case 15:
            text = m_cache->GetExtLibNameByContainer(container);
            break;
        default:
            break;  // everything else is empty
    }
    return true;
}

bool CUSBKeyPnPActiveXCtrl::CertificateFact(const std::wstring& id, short code, std::wstring& text)
{
    Variant certificate;
    HRESULT called = m_backend->Call(L"SOF_ExportUserCert", certificate, id);
    if (FAILED(called) || !certificate.HasText()) {
        KZR_ERROR(called,
                  "CUSBKeyPnPActiveXCtrl: getUserInfoByContainer call SOF_ExportUserCert return NULL!");
        return false;
    }
    Variant fact;
    called = m_backend->Call(L"SOF_GetCertInfo", fact, certificate, code);
    if (FAILED(called) || !fact.HasText()) {
        KZR_ERROR(called, "CUSBKeyPnPActiveXCtrl: getUserInfoByContainer call SOF_GetCertInfo return NULL!");
        return false;
    }
    text = ResultToText(fact);
    return true;
}

// A failed export means that there is none, whatever the other one would have given.
std::wstring CUSBKeyPnPActiveXCtrl::CertificateCount(const std::wstring& id)
{
    Variant signing;
    Variant exchange;
    if (FAILED(m_backend->Call(L"SOF_ExportUserCert", signing, id))) return L"0";
    if (FAILED(m_backend->Call(L"SOF_ExportExChangeUserCert", exchange, id))) return L"0";
    return CertificateCountText(signing, exchange);
}

Bstr CUSBKeyPnPActiveXCtrl::GetUSBKeyList()
{
    if (!Begin(KZR_TEXT("CUSBKeyPnPActiveXCtrl: GetUSBKeyList starting..."),
               KZR_TEXT("CUSBKeyPnPActiveXCtrl: GetUSBKeyList kzrappcom or cache not initialized!")))
        return Bstr(L"");
    Variant answer;
    const HRESULT called = m_backend->Call(L"GetAllDeviceSN", answer);
    if (FAILED(called) || !answer.HasText()) {
        KZR_ERROR(called, "CUSBKeyPnPActiveXCtrl: GetUSBKeyList call GetAllDeviceSN return NULL!");
        return Bstr(L"");
    }
    const std::wstring numbers = ResultToText(answer);
    std::wstring list;
    for (std::wstring_view rest = numbers; !rest.empty();)
        list += KeyItem(std::wstring(TakeSerialNumber(rest)));
    KZR_TRACE_TEXTS("CUSBKeyPnPActiveXCtrl: GetUSBKeyList return Data(%s)...", list);
    return Bstr(list);
}

std::wstring CUSBKeyPnPActiveXCtrl::KeyItem(const std::wstring& deviceSN)
{
    Variant cspName;
    Variant extLibName;
    if (FAILED(m_backend->Call(L"GetDeviceInfo", cspName, deviceSN, kCspName)) || !cspName.HasText() ||
        FAILED(m_backend->Call(L"GetDeviceInfo", extLibName, deviceSN, kExtLibName)) ||
        !extLibName.HasText()) {
        KZR_NOTICE(0, "CUSBKeyPnPActiveXCtrl: GetUSBKeyList call GetDeviceInfo return NULL!");
        return {};
    }
    return ResultToText(cspName) + L"||" + ResultToText(extLibName) + L"&&&";
}

// Kept for old pages: news of devices comes as the backend's events, which need no registration.
void CUSBKeyPnPActiveXCtrl::RegisterDeviceInterface()
{
    KZR_TRACE("CUSBKeyPnPActiveXCtrl: RegisterDeviceInterface starting...");
    KZR_TRACE("CUSBKeyPnPActiveXCtrl: RegisterDeviceInterface ending ok...");
}

long CUSBKeyPnPActiveXCtrl::SetLoginState(BSTR, BSTR)
{
    Unsupported(KZR_TEXT("CUSBKeyPnPActiveXCtrl: SetLoginState starting..."),
                KZR_TEXT("CUSBKeyPnPActiveXCtrl: SetLoginState not support!"));
    return 0;
}

Bstr CUSBKeyPnPActiveXCtrl::GetSavedPass(BSTR)
{
    Unsupported(KZR_TEXT("CUSBKeyPnPActiveXCtrl: GetSavedPass starting..."),
                KZR_TEXT("CUSBKeyPnPActiveXCtrl: GetSavedPass not support!"));
    return Bstr(L"");
}

long CUSBKeyPnPActiveXCtrl::GetPassSaveState(BSTR)
{
    Unsupported(KZR_TEXT("CUSBKeyPnPActiveXCtrl: GetPassSaveState starting..."),
                KZR_TEXT("CUSBKeyPnPActiveXCtrl: GetPassSaveState not support!"));
    return 0;
}

long CUSBKeyPnPActiveXCtrl::SaveUserPass(BSTR, BSTR)
{
    Unsupported(KZR_TEXT("CUSBKeyPnPActiveXCtrl: SaveUserPass starting..."),
                KZR_TEXT("CUSBKeyPnPActiveXCtrl: SaveUserPass not support!"));
    return 0;
}

long CUSBKeyPnPActiveXCtrl::DelUserPass(BSTR)
{
    Unsupported(KZR_TEXT("CUSBKeyPnPActiveXCtrl: DelUserPass starting..."),
                KZR_TEXT("CUSBKeyPnPActiveXCtrl: DelUserPass not support!"));
    return 0;
}

void CUSBKeyPnPActiveXCtrl::AboutBox() { ShowAboutBox(m_window.IsPlaced() ? m_window.Get() : nullptr); }

}  // namespace kzr
