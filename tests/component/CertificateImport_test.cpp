// CCertificate, the current certificate: how it gets in, how it is given back, and who shares it.
#include "CertificateRows.h"

namespace kzr::test {
namespace {

LogSteps Begin(const Value& source, int type)
{
    return {Trace("CCertificate: importCert starting..."),
            Trace("CCertificate: importCert in CertSrc(" + Shown(source) + ") srctype(" +
                  std::to_string(type) + ")...")};
}

constexpr char kEnd[] = "CCertificate: importCert ending OK...";

Case Import(const std::string& name, const Value& source, int type, const LogSteps& steps, int retVal)
{
    return {.name = name,
            .method = L"importCert",
            .id = 1,
            .direct = Direct(&ICertificate::importCert),
            .arguments = {source, I2(type), L"pwd"},
            .steps = steps,
            .retVal = I2(retVal)};
}

// Every row begins with "BEFORE" as the current certificate, so that what becomes of it is seen.
Case Leaves(Case row, const Value& current)
{
    row.given = Loaded(L"BEFORE");
    row.then = [current](ComponentTest&, IDispatch* object) {
        EXPECT_EQ(current, Call(object, L"exportCert", {I2(1)}).value);
    };
    return row;
}

Case TakesText(const std::string& name, const Value& text)
{
    return Leaves(Import(name, text, 1, Begin(text, 1) + LogSteps{Trace(kEnd)}, 0), text);
}

Case ParameterError(const std::string& name, const Value& source, int type)
{
    return Leaves(Import(name, source, type,
                         {Trace("CCertificate: importCert starting..."),
                          Error("CCertificate: importCert param error!")},
                         -1000),
                  L"BEFORE");
}

// Logged as an error, answered as a success.
Case UnsupportedSource(const std::string& name, int type)
{
    return Leaves(Import(name, L"source", type,
                         Begin(L"source", type) + LogSteps{Error("CCertificate: importCert in srctype(" +
                                                                     std::to_string(type) + ") not support!",
                                                                 -1000),
                                                           Trace(kEnd)},
                         0),
                  L"BEFORE");
}

Case WithEmptyText()
{
    return Leaves(Import("AnEmptyTextLeavesNoCertificate", L"", 1, Begin(L"", 1) + LogSteps{Trace(kEnd)}, 0),
                  L"Cert_No_Load");
}

Case WithoutPassword(Case row, const std::string& name, const Values& arguments)
{
    row.name = name;
    row.arguments = arguments;
    return row;
}

const Case kAbc = TakesText("", L"abc");

const Rows kTexts = {
    TakesText("AnyTextBecomesTheCertificate", L"abc"),
    TakesText("ALongTextStaysWhole", std::wstring(12000, L'A')),
    TakesText("LineEndsAndBlanksStay", L" MIIB\r\nAAA=\n "),
    TakesText("FormatSignsStay", L"%s%d%n%%"),
    TakesText("ATextWithNullsStaysWhole", std::wstring(L"ab\0cd", 5)),
    WithEmptyText(),
    WithoutPassword(kAbc, "ThePasswordMayBeLeftOut", {L"abc", I2(1)}),
    WithoutPassword(kAbc, "ThePasswordMayBeMissing", {L"abc", I2(1), Missing()}),
    WithoutPassword(kAbc, "ThePasswordMayBeANullText", {L"abc", I2(1), NullText()}),
    WithoutPassword(kAbc, "TheTypeMayBeAScriptsNumber", {L"abc", I4(1)}),
    WithoutPassword(kAbc, "TheTypeMayBeABrokenNumber", {L"abc", R8(1.25)}),
    WithoutPassword(kAbc, "TheTypeMayBeText", {L"abc", L"1"}),
    WithoutPassword(kAbc, "ArgumentsMayBeVariables", {ByVariant(L"abc"), ByVariant(I2(1))}),
    WithoutPassword(TakesText("", L"17"), "TheTextMayBeANumber", {I4(17), I2(1)}),
    ParameterError("ANullTextIsAParameterError", NullText(), 1),
    ParameterError("ANullContainerIsAParameterError", NullText(), 5),
    ParameterError("ANullTextIsAParameterErrorForAnyType", NullText(), 3),
    ParameterError("TypeZeroIsAParameterError", L"abc", 0),
    ParameterError("NothingAtAllIsAParameterError", NullText(), 0),
    UnsupportedSource("Type2IsNotSupportedAndSucceeds", 2),
    UnsupportedSource("Type3IsNotSupportedAndSucceeds", 3),
    UnsupportedSource("Type4IsNotSupportedAndSucceeds", 4),
    UnsupportedSource("Type7IsNotSupportedAndSucceeds", 7),
    UnsupportedSource("Type8IsNotSupportedAndSucceeds", 8),
    UnsupportedSource("Type9IsNotSupportedAndSucceeds", 9),
    UnsupportedSource("TypeMinus1IsNotSupportedAndSucceeds", -1),
    UnsupportedSource("TheLargestTypeIsNotSupportedAndSucceeds", 32767),
    UnsupportedSource("TheSmallestTypeIsNotSupportedAndSucceeds", -32768),
    OnlyByDispatch("ATypeBeyond16BitsIsTurnedAway", L"importCert", 1, {L"abc", I4(65537)}, DISP_E_OVERFLOW),
    OnlyByDispatch("ANullTypeIsTurnedAway", L"importCert", 1, {L"abc", Null()}, DISP_E_TYPEMISMATCH),
};
KZR_CASES(CertificateImportOfTexts, kCertificate, kTexts);

// From a container: the signing certificate (5) or the exchange certificate (6).
std::string ExportOf(int type) { return type == 5 ? "SOF_ExportUserCert" : "SOF_ExportExChangeUserCert"; }

LogStep Export(int type, const std::wstring& id, const Answer& answer)
{
    return Calls(type == 5 ? L"SOF_ExportUserCert" : L"SOF_ExportExChangeUserCert", {id}, answer);
}

Case FromContainer(const std::string& name, int type, const Value& container, const std::wstring& id)
{
    return Leaves(Import(name, container, type,
                         Begin(container, type) + LogSteps{Export(type, id, L"CERT"), Trace(kEnd)}, 0),
                  L"CERT");
}

Rows FromContainers(int type)
{
    const std::string t = "Type" + std::to_string(type);
    const auto takes = [&](const char* name, const Answer& answer) {
        return Leaves(Import(t + name, L"c1", type,
                             Begin(L"c1", type) + LogSteps{Export(type, L"c1/SN01", answer), Trace(kEnd)}, 0),
                      answer.value);
    };
    const auto fails = [&](const char* name, const Answer& answer) {
        const HRESULT status = answer.Unknown() ? answer.lookUp : answer.result;
        return Leaves(
            Import(t + name, L"c1", type,
                   Begin(L"c1", type) +
                       LogSteps{
                           Export(type, L"c1/SN01", answer),
                           Error("CCertificate: importCert call " + ExportOf(type) + " return NULL!", status),
                           Trace(kEnd)},
                   -1),
            L"BEFORE");
    };
    return {
        takes("TakesTheBackendsText", L"CERT"),
        takes("TakesATextWithAPositiveStatus", Fails(S_FALSE, L"CERT")),
        fails("KeepsTheEarlierCertificateForAnEmptyAnswer", L""),
        fails("KeepsTheEarlierCertificateWhenTheCallFails", Fails(E_ACCESSDENIED)),
        fails("KeepsTheEarlierCertificateWhenAFailedCallLeftAText", Fails(E_FAIL, L"CERT")),
        fails("LogsThePositiveStatusOfAnEmptyAnswer", Fails(S_FALSE, L"")),
        fails("KeepsTheEarlierCertificateForANumber", I4(7)),
        fails("KeepsTheEarlierCertificateForTrue", Bool(true)),
        fails("KeepsTheEarlierCertificateForNoAnswer", Empty()),
        fails("KeepsTheEarlierCertificateForNull", Null()),
        fails("KeepsTheEarlierCertificateForANullText", NullText()),
        fails("KeepsTheEarlierCertificateWhenTheBackendCannotExport", UnknownName()),
    };
}

Rows ContainersOf(int type)
{
    std::vector<LookUp> lookUps = LookUpsByContainer();
    // A null container is a parameter error in this method.
    std::erase_if(lookUps, [](const LookUp& lookUp) { return !lookUp.key.Get().bstrVal; });
    return LookUpRows("Type" + std::to_string(type), lookUps, [type](const LookUp& lookUp) {
        return FromContainer("", type, lookUp.key, lookUp.Id());
    });
}

const Rows kContainers = Join({FromContainers(5), FromContainers(6), ContainersOf(5), ContainersOf(6)});
KZR_CASES(CertificateImportFromContainers, kCertificate, kContainers);

Case ExportRow(const std::string& name, int type, const LogSteps& steps, const Value& retVal)
{
    return {.name = name,
            .method = L"exportCert",
            .id = 2,
            .direct = Direct(&ICertificate::exportCert),
            .arguments = {I2(type), L"path"},
            .steps = steps,
            .retVal = retVal};
}

Case Gives(const std::string& name, int type, const Value& current, const Value& retVal)
{
    Case row = ExportRow(name, type,
                         {Trace("CCertificate: importCert starting..."),
                          Trace("CCertificate: exportCert in DstType(" + std::to_string(type) + ")..."),
                          Trace("CCertificate: exportCert Cert(" + Shown(retVal) + ")"),
                          Trace("CCertificate: exportCert ending OK...")},
                         retVal);
    row.given = Loaded(current);
    return row;
}

Case NothingLoaded(const std::string& name, int type)
{
    return ExportRow(name, type,
                     {Trace("CCertificate: importCert starting..."),
                      Trace("CCertificate: exportCert in DstType(" + std::to_string(type) + ")..."),
                      Notice("CCertificate: exportCert current cert is NULL!")},
                     L"Cert_No_Load");
}

Case NoDestination(const std::string& name, const Value& current)
{
    Case row = ExportRow(
        name, 0,
        {Trace("CCertificate: importCert starting..."), Error("CCertificate: exportCert param error!")},
        L"Cert_No_Load");
    row.given = Loaded(current);
    return row;
}

std::wstring FilePath()
{
    wchar_t temp[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, temp);
    return std::wstring(temp) + L"kzr_export_" + std::to_wstring(GetCurrentProcessId()) + L".cer";
}

Case WritesNoFile(const std::string& name, int type)
{
    Case row = Gives(name, type, L"CERT", L"");
    row.arguments = {I2(type), FilePath()};
    row.then = [](ComponentTest&, IDispatch*) {
        EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesW(FilePath().c_str()));
    };
    return row;
}

const Value kTextWithNull(std::wstring(L"CE\0RT", 5));

const Rows kExports = {
    Gives("GivesTheText", 1, L"CERT", L"CERT"),
    Gives("GivesALongText", 1, std::wstring(12000, L'A'), std::wstring(12000, L'A')),
    Gives("GivesATextWithNullsWhole", 1, kTextWithNull, kTextWithNull),
    WithoutPassword(Gives("", 1, L"CERT", L"CERT"), "ThePathMayBeLeftOut", {I2(1)}),
    WithoutPassword(Gives("", 1, L"CERT", L"CERT"), "ThePathMayBeANullText", {I2(1), NullText()}),
    WithoutPassword(Gives("", 1, L"CERT", L"CERT"), "TheTypeMayBeAScriptsNumber", {I4(1)}),
    WritesNoFile("Type2WritesNoFile", 2),
    WritesNoFile("Type3WritesNoFile", 3),
    Gives("Type4IsEmpty", 4, L"CERT", L""),
    Gives("TypeMinus1IsEmpty", -1, L"CERT", L""),
    Gives("TheLargestTypeIsEmpty", 32767, L"CERT", L""),
    Gives("TheSmallestTypeIsEmpty", -32768, L"CERT", L""),
    NoDestination("TypeZeroIsAParameterError", L"CERT"),
    NoDestination("TypeZeroWithoutACertificateIsAParameterErrorToo", L""),
    NothingLoaded("BeforeAnyImportThereIsNothing", 1),
    NothingLoaded("BeforeAnyImportThereIsNothingForAFileEither", 2),
    OnlyByDispatch("ATypeBeyond16BitsIsTurnedAway", L"exportCert", 2, {I4(-32769)}, DISP_E_OVERFLOW),
};
KZR_CASES(CertificateExport, kCertificate, kExports);

// What no row can say: two objects, and none.
class CertificateShared : public ComponentTest {
  public:
    static Value Exported(const ComPtr<IDispatch>& object)
    {
        return Call(object.Get(), L"exportCert", {I2(1)}).value;
    }
};

TEST_F(CertificateShared, AnObjectMadeLaterSeesWhatAnEarlierOneImported)
{
    const ComPtr<IDispatch> first = Make(kCertificate);
    Call(first.Get(), L"importCert", {L"CERT", I2(1)});
    const ComPtr<IDispatch> second = Make(kCertificate);
    EXPECT_EQ(Value(L"CERT"), Exported(second));
}

TEST_F(CertificateShared, AnObjectMadeEarlierSeesWhatALaterOneImported)
{
    const ComPtr<IDispatch> first = Make(kCertificate);
    const ComPtr<IDispatch> second = Make(kCertificate);
    Call(second.Get(), L"importCert", {L"CERT", I2(1)});
    EXPECT_EQ(Value(L"CERT"), Exported(first));
    Call(first.Get(), L"importCert", {L"OTHER", I2(1)});
    EXPECT_EQ(Value(L"OTHER"), Exported(second));
}

TEST_F(CertificateShared, ItOutlivesEveryObject)
{
    Call(Make(kCertificate).Get(), L"importCert", {L"CERT", I2(1)});
    EXPECT_EQ(0, backend->LiveControls());
    EXPECT_EQ(Value(L"CERT"), Exported(Make(kCertificate)));
}

TEST_F(CertificateShared, ItIsGoneWithTheModule)
{
    Call(Make(kCertificate).Get(), L"importCert", {L"CERT", I2(1)});
    Reload();
    EXPECT_EQ(Value(L"Cert_No_Load"), Exported(Make(kCertificate)));
}

TEST_F(CertificateShared, ExportWithoutAPlaceForTheResultIsAParameterError)
{
    const ComPtr<IDispatch> object = Make(kCertificate);
    Call(object.Get(), L"importCert", {L"CERT", I2(1)});
    ComPtr<ICertificate> certificate;
    ASSERT_EQ(S_OK, object->QueryInterface(IID_ICertificate, certificate.putVoid()));
    log->Take();
    EXPECT_EQ(S_OK, certificate->exportCert(1, nullptr, nullptr));
    ExpectLog({Trace("CCertificate: importCert starting..."), Error("CCertificate: exportCert param error!")},
              log->Take(), "Certificate");
}

}  // namespace
}  // namespace kzr::test
