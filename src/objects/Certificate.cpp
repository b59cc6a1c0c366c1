#include "objects/Certificate.h"

#include <iterator>

#include "com/Text.h"
#include "objects/Creators.h"
#include "objects/CurrentCertificate.h"
#include "objects/Validity.h"
#include "resources/DispIds.h"

namespace kzr {
namespace {

constexpr char kLogSource[] = "Certificate";

constinit TypeInfo g_typeInfo(IID_ICertificate);
constexpr ClassFacts kFacts{"CCertificate", kLogSource, IID_ICertificate, g_typeInfo};

constexpr wchar_t kNothingLoaded[] = L"Cert_No_Load";

constexpr int kParameterError = -1000;
constexpr int kFileNotEncoded = -1003;

// The backend's codes of this class: a certificate-information type and two configuration types.
constexpr short kNotAfter = 12;
constexpr long kCertificateChain = 6;
constexpr long kRevocationList = 5;

enum class Treatment { kAsReturned, kLowerCase, kDate };

// The old numbers of the basic fields, and the backend's.
struct BasicField {
    short oid;
    short type;
    Treatment treatment;
};
constexpr BasicField kBasicFields[] = {
    {1, 1, Treatment::kAsReturned},   {2, 2, Treatment::kLowerCase},    {3, 3, Treatment::kAsReturned},
    {4, 8, Treatment::kAsReturned},   {5, 11, Treatment::kDate},        {6, 12, Treatment::kDate},
    {7, 20, Treatment::kAsReturned},  {8, 19, Treatment::kAsReturned},  {41, 17, Treatment::kAsReturned},
    {42, 13, Treatment::kAsReturned}, {43, 18, Treatment::kAsReturned}, {44, 16, Treatment::kAsReturned},
    {45, 14, Treatment::kAsReturned}, {46, 15, Treatment::kAsReturned},
};

const BasicField* FindBasicField(short oid)
{
    for (const BasicField& field : kBasicFields)
        if (field.oid == oid) return &field;
    return nullptr;
}

Bstr Treated(const Variant& result, Treatment treatment)
{
    switch (treatment) {
        case Treatment::kLowerCase:
            return Bstr(std::wstring_view(LowerAscii(WideText(result.Text()))));
        case Treatment::kDate:
            return Bstr(std::wstring_view(DateWithSlashes(WideText(result.Text()))));
        default:
            return Bstr::CopyOf(result.Text());
    }
}

}  // namespace

HRESULT CreateCertificate(IUnknown* outer, REFIID iid, void** object)
{
    return CreateScriptable<CCertificate>(outer, iid, object);
}

CCertificate::CCertificate(IUnknown* outer) noexcept : AnsweringObject<ICertificate>(kFacts, outer) {}

void CCertificate::Forget() noexcept { g_typeInfo.Forget(); }

void CCertificate::LogFatalError(DISPID id) const
{
    KZR_ERROR(0, "Invoke CCertificate dispid(%d): receive a fatal error!!!", static_cast<int>(id));
}

STDMETHODIMP CCertificate::importCert(BSTR sCertSrc, short SrcType, BSTR, short* retVal)
{
    return Scripted(DISPID_ICertificate_importCert, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CCertificate: importCert starting..."),
                   KZR_TEXT("CCertificate: importCert kzrappcom or cache not initialized!")))
            return Put(retVal, -1);
        if (!sCertSrc || SrcType == 0) {
            Put(retVal, kParameterError);
            KZR_ERROR(0, "CCertificate: importCert param error!");
            return;
        }
        KZR_TRACE("CCertificate: importCert in CertSrc(%s) srctype(%d)...", BstrToString(sCertSrc).c_str(),
                  SrcType);
        bool imported = true;
        switch (SrcType) {
            case 1:
                SetCurrentCertificate(WideText(sCertSrc));
                break;
            case 5:
                imported = ImportFromContainer(
                    sCertSrc, L"SOF_ExportUserCert",
                    KZR_TEXT("CCertificate: importCert call SOF_ExportUserCert return NULL!"));
                break;
            case 6:
                imported = ImportFromContainer(
                    sCertSrc, L"SOF_ExportExChangeUserCert",
                    KZR_TEXT("CCertificate: importCert call SOF_ExportExChangeUserCert return NULL!"));
                break;
            default:
                // Logged, yet answered 0: an old page that asks for such a source must not stop there.
                KZR_ERROR(kParameterError, "CCertificate: importCert in srctype(%d) not support!", SrcType);
        }
        Put(retVal, imported ? 0 : -1);
        KZR_TRACE("CCertificate: importCert ending OK...");
    });
}

bool CCertificate::ImportFromContainer(BSTR container, const wchar_t* method, const LogText& failure)
{
    Variant certificate;
    const std::wstring id = AskCache(&CCacheManager::GetUniqueIdByContainer, container);
    const HRESULT called = m_backend->Call(method, certificate, id);
    if (FAILED(called) || !certificate.HasText()) {
        Error(failure, called);
        return false;
    }
    SetCurrentCertificate(WideText(certificate.Text()));
    return true;
}

STDMETHODIMP CCertificate::exportCert(short DstType, BSTR, BSTR* retVal)
{
    return Scripted(DISPID_ICertificate_exportCert, retVal, [=, this] {
        // The import's start line, as log readers know it.
        if (!Begin(KZR_TEXT("CCertificate: importCert starting..."),
                   KZR_TEXT("CCertificate: exportCert kzrappcom or cache not initialized!")))
            return Put(retVal, kNothingLoaded);
        if (DstType == 0 || !retVal) {
            Put(retVal, kNothingLoaded);
            KZR_ERROR(0, "CCertificate: exportCert param error!");
            return;
        }
        KZR_TRACE("CCertificate: exportCert in DstType(%d)...", DstType);
        const std::wstring current = CurrentCertificate();
        if (current.empty()) {
            Put(retVal, kNothingLoaded);
            KZR_NOTICE(0, "CCertificate: exportCert current cert is NULL!");
            return;
        }
        // Only the text form is given; the old file destinations write nothing.
        const std::wstring text = DstType == 1 ? current : std::wstring();
        Put(retVal, text);
        KZR_TRACE_TEXTS("CCertificate: exportCert Cert(%s)", text);
        KZR_TRACE("CCertificate: exportCert ending OK...");
    });
}

STDMETHODIMP CCertificate::getBasicCertInfoByOID(short OID, BSTR* retVal)
{
    return Scripted(DISPID_ICertificate_getBasicCertInfoByOID, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CCertificate: getBasicCertInfoByOID starting..."),
                   KZR_TEXT("CCertificate: getBasicCertInfoByOID kzrappcom or cache not initialized!")))
            return Put(retVal, L"");
        const std::wstring current = CurrentCertificate();
        if (OID < 1 || OID > 300 || current.empty()) {
            Put(retVal, L"");
            KZR_ERROR(0, "CCertificate: getBasicCertInfoByOID param error or current Cert is NULL!");
            return;
        }
        const BasicField* const field = FindBasicField(OID);
        if (!field) {
            Put(retVal, L"");
            KZR_ERROR(0, "CCertificate: getBasicCertInfoByOID OID(%d) not support!", OID);
            return;
        }
        Variant result;
        const HRESULT called = m_backend->Call(L"SOF_GetCertInfo", result, current, field->type);
        if (FAILED(called) || !result.HasText()) {
            Put(retVal, L"");
            KZR_ERROR(called, "CCertificate: getBasicCertInfoByOID call SOF_GetCertInfo return NULL!");
            return;
        }
        Bstr text = Treated(result, field->treatment);
        const std::string shown = BstrToString(text.Get());
        Put(retVal, std::move(text));
        KZR_TRACE("CCertificate: getBasicCertInfoByOID(%s)...", shown.c_str());
        KZR_TRACE("CCertificate: getBasicCertInfoByOID ending ok...");
    });
}

STDMETHODIMP CCertificate::checkValidaty(BSTR sDate, short* retVal)
{
    return Scripted(DISPID_ICertificate_checkValidaty, retVal, [=, this] {
        if (!Begin(KZR_TEXT("CCertificate: checkValidaty starting..."),
                   KZR_TEXT("CCertificate: checkValidaty kzrappcom or cache not initialized!")))
            return Put(retVal, 0);
        const std::wstring current = CurrentCertificate();
        if (current.empty()) {
            KZR_ERROR(0, "CCertificate: checkValidaty param error or current Cert is NULL!");
            return Put(retVal, 0);
        }
        long long reference = 0;
        if (!ReferenceMoment(sDate, reference)) return Put(retVal, 0);

        Variant result;
        const HRESULT called = m_backend->Call(L"SOF_GetCertInfo", result, current, kNotAfter);
        if (FAILED(called) || !result.HasText()) {
            KZR_ERROR(called, "CCertificate: checkValidaty call SOF_GetCertInfo return NULL!");
            return Put(retVal, 0);
        }
        const std::string notAfter = BstrToString(result.Text());
        KZR_TRACE("CCertificate: checkValidaty CertNotAfter(%s)...", notAfter.c_str());
        const short days = WholeDaysBetween(reference, ToMoment(ParseExpiry(notAfter)));
        Put(retVal, days);
        KZR_TRACE("CCertificate: checkValidaty ending(%d)...", days);
    });
}

bool CCertificate::ReferenceMoment(BSTR sDate, long long& moment) const
{
    if (SysStringLen(sDate) == 0) {
        KZR_TRACE("CCertificate: checkValidaty sDate is NULL use current time...");
        moment = CurrentMoment();
        return true;
    }
    const std::string text = BstrToString(sDate);
    const auto date = ParseReferenceDate(text);
    if (!date) {
        KZR_ERROR(0, "CCertificate: in param (%s) invalid!", text.c_str());
        return false;
    }
    moment = ToMoment(*date);
    return true;
}

STDMETHODIMP CCertificate::getExtCertInfoByOID(BSTR sOID, BSTR* retVal)
{
    return Scripted(DISPID_ICertificate_getExtCertInfoByOID, retVal, [=, this] {
        // Without a backend `retVal` stays null here, where every other method gives "".
        if (!Begin(KZR_TEXT("CCertificate: getExtCertInfoByOID starting..."),
                   KZR_TEXT("CCertificate: getExtCertInfoByOID kzrappcom or cache not initialized!")))
            return;
        const std::wstring current = CurrentCertificate();
        if (SysStringLen(sOID) == 0 || current.empty()) {
            Put(retVal, L"");
            KZR_ERROR(0, "CCertificate: getExtCertInfoByOID param error or current Cert is NULL!");
            return;
        }
        // Both texts have the two names the wrong way round; log readers match on them.
        AnswerText(retVal, KZR_TEXT("CCertificate: GetCertInfoByOid ending ok..."),
                   KZR_TEXT("CCertificate: GetCertInfoByOid call getExtCertInfoByOID return NULL!"),
                   L"SOF_GetCertInfoByOid", current, sOID);
    });
}

STDMETHODIMP CCertificate::validateCert(BSTR sCertChain, BSTR sCRL, short* retVal)
{
    return Scripted(DISPID_ICertificate_validateCert, retVal, [=, this] {
        // The start line of another method, as log readers know it.
        if (!Begin(KZR_TEXT("CCertificate: getExtCertInfoByOID starting..."),
                   KZR_TEXT("CCertificate: validateCert kzrappcom or cache not initialized!")))
            return Put(retVal, -1);
        const std::wstring current = CurrentCertificate();
        if (current.empty()) {
            KZR_ERROR(0, "CCertificate: validateCert param error or current Cert is NULL!");
            return Put(retVal, -1);
        }
        if (!ConfigureFromFile(sCertChain, kCertificateChain, retVal)) return;
        if (!ConfigureFromFile(sCRL, kRevocationList, retVal)) return;

        Variant code;
        if (!AskForCode(retVal, -1, code, KZR_TEXT("CCertificate: validateCert call SOF_ValidateCert error!"),
                        L"SOF_ValidateCert", current))
            return;
        Put(retVal, code.Bits16());
        KZR_TRACE("CCertificate: validateCert ending(%d)...", code.Bits16());
    });
}

// A text of more than one character is always taken for a file's name: it would count as Base64 data only
// with its first "\" and its first ":" both at the very beginning, which no text has. What is configured
// stays configured.
bool CCertificate::ConfigureFromFile(BSTR fileName, long configType, short* retVal)
{
    if (SysStringLen(fileName) <= 1) return true;
    Variant encoded;
    const HRESULT read = m_backend->Call(L"Base64EncodeFile", encoded, fileName);
    if (FAILED(read) || !encoded.HasText()) {
        Put(retVal, kFileNotEncoded);
        KZR_ERROR(read, "CCertificate: validateCert call Base64EncodeFile return NULL!");
        return false;
    }
    Variant accepted;
    const HRESULT configured = m_backend->Call(L"SetUserConfig", accepted, configType, encoded);
    if (FAILED(configured) || accepted.Bits16() == 0)
        KZR_NOTICE(configured, "CCertificate: validateCert call SetUserConfig return FALSE!");
    return true;
}

STDMETHODIMP CCertificate::modifyPFXPwd(BSTR, BSTR, BSTR, short* retVal)
{
    return Scripted(DISPID_ICertificate_modifyPFXPwd, retVal, [=, this] {
        AnswerUnsupported(retVal, -1, KZR_TEXT("CCertificate: modifyPFXPwd starting..."),
                          KZR_TEXT("CCertificate: modifyPFXPwd not support!"));
    });
}

STDMETHODIMP CCertificate::modifyPFXPwd2(BSTR, BSTR, BSTR, BSTR, short* retVal)
{
    return Scripted(DISPID_ICertificate_modifyPFXPwd2, retVal, [=, this] {
        AnswerUnsupported(retVal, -1, KZR_TEXT("CCertificate: modifyPFXPwd2 starting..."),
                          KZR_TEXT("CCertificate: modifyPFXPwd2 not support!"));
    });
}

STDMETHODIMP CCertificate::SavePFXToCBIEx(BSTR, long, BSTR, long* retVal)
{
    return Scripted(DISPID_ICertificate_SavePFXToCBIEx, retVal, [=, this] {
        AnswerUnsupported(retVal, -1, KZR_TEXT("CCertificate: SavePFXToCBIEx starting..."),
                          KZR_TEXT("CCertificate: SavePFXToCBIEx not support!"));
    });
}

// Writes the lines of the saving method, as ever.
STDMETHODIMP CCertificate::ParseCBIToPFXEx(BSTR, BSTR* retVal)
{
    return Scripted(DISPID_ICertificate_ParseCBIToPFXEx, retVal, [=, this] {
        AnswerUnsupported(retVal, L"", KZR_TEXT("CCertificate: SavePFXToCBIEx starting..."),
                          KZR_TEXT("CCertificate: SavePFXToCBIEx not support!"));
    });
}

STDMETHODIMP CCertificate::ClearConfig(BSTR, long* retVal)
{
    return Scripted(DISPID_ICertificate_ClearConfig, retVal, [=, this] {
        AnswerUnsupported(retVal, 0, KZR_TEXT("CCertificate: ClearConfig starting..."),
                          KZR_TEXT("CCertificate: ClearConfig not support!"));
    });
}

}  // namespace kzr
