#include "objects/DeviceMgr.h"

#include "com/Text.h"
#include "objects/Creators.h"
#include "resources/DispIds.h"

namespace kzr {
namespace {

constexpr char kLogSource[] = "DeviceMgr";

constinit TypeInfo g_typeInfo(IID_IDeviceMgr);
constexpr ClassFacts kFacts{"CDeviceMgr", kLogSource, IID_IDeviceMgr, g_typeInfo};

// A failed retry query has a code of its own, which scripts test for.
constexpr int kRetryQueryFailed = -1011;

// The last argument of every "WriteFile" made here.
constexpr short kWriteFlag = 0;

// A key file is reserved by writing this many blanks. A negative length is impossible and throws.
std::wstring Blanks(short count) { return StringToWide(std::string(static_cast<std::size_t>(count), ' ')); }

}  // namespace

HRESULT CreateDeviceMgr(IUnknown* outer, REFIID iid, void** object)
{
    return CreateScriptable<CDeviceMgr>(outer, iid, object);
}

CDeviceMgr::CDeviceMgr(IUnknown* outer) noexcept : AnsweringObject<IDeviceMgr>(kFacts, outer) {}

void CDeviceMgr::Forget() noexcept { g_typeInfo.Forget(); }

void CDeviceMgr::LogFatalError(DISPID id) const
{
    KZR_ERROR(0, "Invoke CDeviceMgr dispid(%d): receive a fatal error!!!", static_cast<int>(id));
}

STDMETHODIMP CDeviceMgr::userLogin(BSTR sCSPName, BSTR sUserPin, short* retVal)
{
    return Scripted(DISPID_IDeviceMgr_userLogin, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CDeviceMgr: userLogin starting..."),
                   KZR_TEXT("CDeviceMgr: userLogin kzrappcom or cache not initialized!")))
            return Put(retVal, -1);
        KZR_TRACE_TEXTS("CDeviceMgr: userLogin cspName(%s)...", sCSPName);
        const std::wstring id = AskCache(&CCacheManager::GetUniqueIdByCspName, sCSPName);
        AnswerYesNo(retVal, KZR_TEXT("CDeviceMgr: userLogin ending ok..."),
                    KZR_TEXT("CDeviceMgr: userLogin call SOF_Login return error!"), L"SOF_Login", id,
                    sUserPin);
    });
}

STDMETHODIMP CDeviceMgr::userLoginEx(BSTR sCSPName, BSTR sContainerName, BSTR sExtLib, BSTR sUserPin,
                                     short* retVal)
{
    return Scripted(DISPID_IDeviceMgr_userLoginEx, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CDeviceMgr: userLoginEx starting..."),
                   KZR_TEXT("CDeviceMgr: userLoginEx kzrappcom or cache not initialized!")))
            return Put(retVal, -1);
        KZR_TRACE_TEXTS("CDeviceMgr: userLoginEx cspName(%s) containerName(%s) extLibName(%s)...", sCSPName,
                        sContainerName, sExtLib);
        const std::wstring id = AskCache(&CCacheManager::GetUniqueIdByContainer, sContainerName);
        AnswerYesNo(retVal, KZR_TEXT("CDeviceMgr: userLoginEx ending ok..."),
                    KZR_TEXT("CDeviceMgr: userLoginEx call SOF_Login return error!"), L"SOF_Login", id,
                    sUserPin);
    });
}

STDMETHODIMP CDeviceMgr::changeUserPin(BSTR sCSPName, BSTR sExtLib, BSTR sOldPin, BSTR sNewPin, short* retVal)
{
    return Scripted(DISPID_IDeviceMgr_changeUserPin, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CDeviceMgr: changeUserPin starting..."),
                   KZR_TEXT("CDeviceMgr: changeUserPin kzrappcom or cache not initialized!")))
            return Put(retVal, -1);
        KZR_TRACE_TEXTS("CDeviceMgr: changeUserPin cspName(%s) extLibName(%s)...", sCSPName, sExtLib);
        const std::wstring id = AskCache(&CCacheManager::GetUniqueIdByExtLibName, sExtLib);
        AnswerYesNo(retVal, KZR_TEXT("CDeviceMgr: changeUserPin ending ok..."),
                    KZR_TEXT("CDeviceMgr: changeUserPin call SOF_ChangePassWd return error!"),
                    L"SOF_ChangePassWd", id, sOldPin, sNewPin);
    });
}

STDMETHODIMP CDeviceMgr::changeUserPinEx(BSTR sCSPName, BSTR sContainerName, BSTR sExtLib, BSTR sOldPin,
                                         BSTR sNewPin, short* retVal)
{
    return Scripted(DISPID_IDeviceMgr_changeUserPinEx, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CDeviceMgr: changeUserPinEx starting..."),
                   KZR_TEXT("CDeviceMgr: changeUserPinEx kzrappcom or cache not initialized!")))
            return Put(retVal, -1);
        KZR_TRACE_TEXTS("CDeviceMgr: changeUserPinEx cspName(%s) containerName(%s) extLibName(%s)...",
                        sCSPName, sContainerName, sExtLib);
        const std::wstring id = AskCache(&CCacheManager::GetUniqueIdByContainer, sContainerName);
        AnswerYesNo(retVal, KZR_TEXT("CDeviceMgr: changeUserPinEx ending ok..."),
                    KZR_TEXT("CDeviceMgr: changeUserPinEx call SOF_ChangePassWd return error!"),
                    L"SOF_ChangePassWd", id, sOldPin, sNewPin);
    });
}

STDMETHODIMP CDeviceMgr::getKeyRetrys(BSTR sExtLib, short* retVal)
{
    return Scripted(DISPID_IDeviceMgr_getKeyRetrys, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CDeviceMgr: getKeyRetrys starting..."),
                   KZR_TEXT("CDeviceMgr: getKeyRetrys kzrappcom or cache not initialized!")))
            return Put(retVal, -1);
        KZR_TRACE_TEXTS("CDeviceMgr: getKeyRetrys extLibName(%s)...", sExtLib);
        const std::wstring id = AskCache(&CCacheManager::GetUniqueIdByExtLibName, sExtLib);
        Variant count;
        if (!AskForCode(retVal, kRetryQueryFailed, count,
                        KZR_TEXT("CDeviceMgr: getKeyRetrys call SOF_GetPinRetryCount error!"),
                        L"SOF_GetPinRetryCount", id))
            return;
        Put(retVal, count.Bits16());
        KZR_TRACE("CDeviceMgr: getKeyRetrys ending(%d)...", count.Bits16());
    });
}

STDMETHODIMP CDeviceMgr::getKeyRetrysEx(BSTR sContainerName, BSTR sExtLib, short* retVal)
{
    return Scripted(DISPID_IDeviceMgr_getKeyRetrysEx, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CDeviceMgr: getKeyRetrysEx starting..."),
                   KZR_TEXT("CDeviceMgr: getKeyRetrysEx kzrappcom or cache not initialized!")))
            return Put(retVal, -1);
        KZR_TRACE_TEXTS("CDeviceMgr: getKeyRetrysEx containerName(%s) extLibName(%s)...", sContainerName,
                        sExtLib);
        const std::wstring id = AskCache(&CCacheManager::GetUniqueIdByContainer, sContainerName);
        Variant count;
        if (!AskForCode(retVal, kRetryQueryFailed, count,
                        KZR_TEXT("CDeviceMgr: getKeyRetrysEx call SOF_GetPinRetryCount error!"),
                        L"SOF_GetPinRetryCount", id))
            return;
        Put(retVal, count.Bits16());
        KZR_TRACE("CDeviceMgr: getKeyRetrysEx ending(%d)...", count.Bits16());
    });
}

// Answered from the cache alone; the backend must be there all the same.
STDMETHODIMP CDeviceMgr::enumUserCertificates(BSTR sCSPName, BSTR* retVal)
{
    return Scripted(DISPID_IDeviceMgr_enumUserCertificates, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CDeviceMgr: enumUserCertificates starting..."),
                   KZR_TEXT("CDeviceMgr: enumUserCertificates kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        const std::wstring containers = AskCache(&CCacheManager::GetContainersByCspName, sCSPName);
        Put(retVal, containers);
        KZR_TRACE_TEXTS("CDeviceMgr: enumUserCertificates(%s)...", containers);
        KZR_TRACE("CDeviceMgr: enumUserCertificates ending ok...");
    });
}

STDMETHODIMP CDeviceMgr::getKeyData(BSTR sExtLib, BSTR sKeyFile, BSTR* retVal)
{
    return Scripted(DISPID_IDeviceMgr_getKeyData, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CDeviceMgr: getKeyData starting..."),
                   KZR_TEXT("CDeviceMgr: getKeyData kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        KZR_TRACE_TEXTS("CDeviceMgr: getKeyData extLibName(%s) KeyFile(%s)...", sExtLib, sKeyFile);
        const std::wstring serial = AskCache(&CCacheManager::GetDeviceSNByExtLibName, sExtLib);
        AnswerText(retVal, KZR_TEXT("CDeviceMgr: getKeyData ending ok..."),
                   KZR_TEXT("CDeviceMgr: getKeyData call ReadFile return NULL!"), L"ReadFile", serial,
                   sKeyFile);
    });
}

STDMETHODIMP CDeviceMgr::getKeyDataEx(BSTR sContainerName, BSTR sExtLib, BSTR sKeyFile, BSTR* retVal)
{
    return Scripted(DISPID_IDeviceMgr_getKeyDataEx, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CDeviceMgr: getKeyDataEx starting..."),
                   KZR_TEXT("CDeviceMgr: getKeyDataEx kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        // Under the plain method's name, as log readers know it.
        KZR_TRACE_TEXTS("CDeviceMgr: getKeyData containerName(%s) extLibName(%s) KeyFile(%s)...",
                        sContainerName, sExtLib, sKeyFile);
        const std::wstring serial = AskCache(&CCacheManager::GetDeviceSNByContainer, sContainerName);
        AnswerText(retVal, KZR_TEXT("CDeviceMgr: getKeyDataEx ending ok..."),
                   KZR_TEXT("CDeviceMgr: getKeyDataEx call ReadFile return NULL!"), L"ReadFile", serial,
                   sKeyFile);
    });
}

STDMETHODIMP CDeviceMgr::getKeySN(BSTR sExtLib, BSTR* retVal)
{
    return Scripted(DISPID_IDeviceMgr_getKeySN, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CDeviceMgr: getKeySN starting..."),
                   KZR_TEXT("CDeviceMgr: getKeySN kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        KZR_TRACE_TEXTS("CDeviceMgr: getKeySN extLibName(%s) ...", sExtLib);
        const std::wstring serial = AskCache(&CCacheManager::GetDeviceSNByExtLibName, sExtLib);
        Put(retVal, serial);
        KZR_TRACE_TEXTS("CDeviceMgr: getKeySN(%s)...", serial);
        KZR_TRACE("CDeviceMgr: getKeySN ending ok...");
    });
}

STDMETHODIMP CDeviceMgr::getKeySNEx(BSTR sContainerName, BSTR sExtLib, BSTR* retVal)
{
    return Scripted(DISPID_IDeviceMgr_getKeySNEx, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CDeviceMgr: getKeySNEx starting..."),
                   KZR_TEXT("CDeviceMgr: getKeySNEx kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        KZR_TRACE_TEXTS("CDeviceMgr: getKeySNEx extLibName(%s) ...", sExtLib);
        const std::wstring serial = AskCache(&CCacheManager::GetDeviceSNByContainer, sContainerName);
        Put(retVal, serial);
        KZR_TRACE_TEXTS("CDeviceMgr: getKeySNEx(%s)...", serial);
        KZR_TRACE("CDeviceMgr: getKeySNEx ending ok...");
    });
}

STDMETHODIMP CDeviceMgr::setKeyData(BSTR sExtLib, BSTR sKeyFile, BSTR sData, short* retVal)
{
    return Scripted(DISPID_IDeviceMgr_setKeyData, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CDeviceMgr: setKeyData starting..."),
                   KZR_TEXT("CDeviceMgr: setKeyData kzrappcom or cache not initialized!")))
            return Put(retVal, -1);
        KZR_TRACE_TEXTS("CDeviceMgr: setKeyData extLibName(%s) KeyFile(%s)...", sExtLib, sKeyFile);
        const std::wstring serial = AskCache(&CCacheManager::GetDeviceSNByExtLibName, sExtLib);
        AnswerYesNo(retVal, KZR_TEXT("CDeviceMgr: setKeyData ending ok..."),
                    KZR_TEXT("CDeviceMgr: setKeyData call WriteFile error!"), L"WriteFile", serial, sKeyFile,
                    sData, kWriteFlag);
    });
}

STDMETHODIMP CDeviceMgr::setKeyDataEx(BSTR sContainerName, BSTR sExtLib, BSTR sKeyFile, BSTR sData,
                                      short* retVal)
{
    return Scripted(DISPID_IDeviceMgr_setKeyDataEx, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CDeviceMgr: setKeyDataEx starting..."),
                   KZR_TEXT("CDeviceMgr: setKeyDataEx kzrappcom or cache not initialized!")))
            return Put(retVal, -1);
        KZR_TRACE_TEXTS("CDeviceMgr: setKeyDataEx extLibName(%s) KeyFile(%s)...", sExtLib, sKeyFile);
        const std::wstring serial = AskCache(&CCacheManager::GetDeviceSNByContainer, sContainerName);
        AnswerYesNo(retVal, KZR_TEXT("CDeviceMgr: setKeyDataEx ending ok..."),
                    KZR_TEXT("CDeviceMgr: setKeyDataEx call WriteFile error!"), L"WriteFile", serial,
                    sKeyFile, sData, kWriteFlag);
    });
}

STDMETHODIMP CDeviceMgr::creatKeyFile(BSTR sExtLib, BSTR sKeyFile, short nMaxLen, short* retVal)
{
    return Scripted(DISPID_IDeviceMgr_creatKeyFile, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CDeviceMgr: creatKeyFile starting..."),
                   KZR_TEXT("CDeviceMgr: creatKeyFile kzrappcom or cache not initialized!")))
            return Put(retVal, -1);
        KZR_TRACE_TEXTS("CDeviceMgr: creatKeyFile extLibName(%s) KeyFile(%s)...", sExtLib, sKeyFile);
        const std::wstring serial = AskCache(&CCacheManager::GetDeviceSNByExtLibName, sExtLib);
        AnswerYesNo(retVal, KZR_TEXT("CDeviceMgr: creatKeyFile ending ok..."),
                    KZR_TEXT("CDeviceMgr: creatKeyFile call WriteFile error!"), L"WriteFile", serial,
                    sKeyFile, Blanks(nMaxLen), kWriteFlag);
    });
}

STDMETHODIMP CDeviceMgr::creatKeyFileEx(BSTR sContainerName, BSTR sExtLib, BSTR sKeyFile, short nMaxLen,
                                        short* retVal)
{
    return Scripted(DISPID_IDeviceMgr_creatKeyFileEx, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CDeviceMgr: creatKeyFileEx starting..."),
                   KZR_TEXT("CDeviceMgr: creatKeyFileEx kzrappcom or cache not initialized!")))
            return Put(retVal, -1);
        KZR_TRACE_TEXTS("CDeviceMgr: creatKeyFileEx extLibName(%s) KeyFile(%s)...", sExtLib, sKeyFile);
        const std::wstring serial = AskCache(&CCacheManager::GetDeviceSNByContainer, sContainerName);
        AnswerYesNo(retVal, KZR_TEXT("CDeviceMgr: creatKeyFileEx ending ok..."),
                    KZR_TEXT("CDeviceMgr: creatKeyFileEx call WriteFile error!"), L"WriteFile", serial,
                    sKeyFile, Blanks(nMaxLen), kWriteFlag);
    });
}

STDMETHODIMP CDeviceMgr::getOldKeyInfo(BSTR, BSTR, BSTR, short, BSTR* retVal)
{
    return Scripted(DISPID_IDeviceMgr_getOldKeyInfo, retVal, [=, this] {
        AnswerUnsupported(retVal, L"", KZR_TEXT("CDeviceMgr: getOldKeyInfo starting..."),
                          KZR_TEXT("CDeviceMgr: getOldKeyInfo not support!"));
    });
}

STDMETHODIMP CDeviceMgr::changeOldKeyPwd(BSTR, BSTR, short, BSTR, BSTR, short* retVal)
{
    return Scripted(DISPID_IDeviceMgr_changeOldKeyPwd, retVal, [=, this] {
        AnswerUnsupported(retVal, -1, KZR_TEXT("CDeviceMgr: changeOldKeyPwd starting..."),
                          KZR_TEXT("CDeviceMgr: changeOldKeyPwd not support!"));
    });
}

STDMETHODIMP CDeviceMgr::getKeySavedPass(BSTR, BSTR* retVal)
{
    return Scripted(DISPID_IDeviceMgr_getKeySavedPass, retVal, [=, this] {
        AnswerUnsupported(retVal, L"", KZR_TEXT("CDeviceMgr: getKeySavedPass starting..."),
                          KZR_TEXT("CDeviceMgr: getKeySavedPass not support!"));
    });
}

STDMETHODIMP CDeviceMgr::changeUserPin2(BSTR, BSTR, BSTR, BSTR, BSTR, short* retVal)
{
    return Scripted(DISPID_IDeviceMgr_changeUserPin2, retVal, [=, this] {
        AnswerUnsupported(retVal, -1, KZR_TEXT("CDeviceMgr: changeUserPin2 starting..."),
                          KZR_TEXT("CDeviceMgr: changeUserPin2 not support!"));
    });
}

}  // namespace kzr
