// CUtil, Base64 of texts and files: all four methods hand their work to the backend.
#include "ForwardingRows.h"
#include "KzrSecX_h.h"

namespace kzr::test {
namespace {

// The three that give a text have everything but their names in common.
Forwarding Coder(const char* name, const wchar_t* method, DISPID id, const DirectCall& direct,
                 const wchar_t* backend, const Value& text)
{
    const std::string prefix = "CUtil: " + Shown(method);
    return {name,
            method,
            id,
            direct,
            {text},
            {Trace(prefix + " starting...")},
            backend,
            {text},
            {Trace(prefix + " ending ok...")},
            prefix + " call " + Shown(backend) + " return NULL!"};
}

Forwarding EncodeString(const Value& text = L"text")
{
    return Coder("Base64EncodeString", L"base64EncodeString", 1, Direct(&IUtil::base64EncodeString),
                 L"SOF_Base64Encode", text);
}

Forwarding EncodeFile(const Value& path = L"C:\\a file.txt")
{
    return Coder("Base64EncodeFile", L"base64EncodeFile", 2, Direct(&IUtil::base64EncodeFile),
                 L"Base64EncodeFile", path);
}

Forwarding DecodeString(const Value& text = L"dGV4dA==")
{
    return Coder("Base64DecodeString", L"base64DecodeString", 6, Direct(&IUtil::base64DecodeString),
                 L"SOF_Base64Decode", text);
}

Forwarding DecodeFile(const Value& text = L"dGV4dA==", const Value& path = L"C:\\a file.txt")
{
    return {"Base64DecodeFile",
            L"base64DecodeFile",
            5,
            Direct(&IUtil::base64DecodeFile),
            {text, path},
            {Trace("CUtil: base64DecodeFile starting...")},
            L"Base64DecodeFile",
            {text, path},
            {Trace("CUtil: base64DecodeFile ending ok...")},
            "CUtil: base64DecodeFile call Base64DecodeFile return error!"};
}

// A null text is a mistake of the caller; the backend does not hear of it.
Case ParameterError(const Forwarding& call, const std::string& name, const Values& arguments,
                    const Value& retVal)
{
    Case row = GivenAs(YesRow(call, ""), name, arguments);
    row.steps = call.before;
    row.steps.push_back(Error("CUtil: " + Shown(call.method) + " param error!"));
    row.retVal = retVal;
    return row;
}

// The certificate class's text: only the source name tells the two apart.
Case FallsOver(const Forwarding& call, const Value& retVal)
{
    Case row = RowOf(
        call, "OutlivesAFaultUnderTheCertificatesName", Faults(FaultKind::Write),
        {Error("Invoke CCertificate dispid(" + std::to_string(call.id) + "): receive a fatal error!!!")},
        retVal);
    row.mayFault = true;
    // Of a text that was never stored the platform's dispatch makes an empty one; the vtable has none.
    if (retVal.Type() == VT_BSTR) row.direct = nullptr;
    return row;
}

const Value kTextWithNull(std::wstring(L"te\0xt", 5));

const Rows kEncodings = Join({
    TextOutcomes(EncodeString()),
    {
        ParameterError(EncodeString(), "OfANullTextIsAParameterError", {NullText()}, L""),
        TextRow(EncodeString(L""), "AsksTheBackendForAnEmptyTextToo"),
        TextRow(EncodeString(std::wstring(10000, L'x')), "PassesALongText"),
        TextRow(EncodeString(L"%s%s%n%d"), "ShowsFormatSignsAsTheyAre"),
        TextRow(EncodeString(L"one\r\ntwo\nthree"), "PassesLineEnds"),
        GivenAs(TextRow(EncodeString(L"te"), ""), "PassesATextUpToItsNull", {kTextWithNull}),
        GivenAs(TextRow(EncodeString(L"5"), ""), "TakesANumberForItsText", {I4(5)}),
        GivenAs(TextRow(EncodeString(L""), ""), "TakesUndefinedForAnEmptyText", {Empty()}),
        GivenAs(TextRow(EncodeString(L"text"), ""), "TakesAVariable", {ByVariant(L"text")}),
        GivenAs(TextRow(EncodeString(L"text"), ""), "TakesATextByReference", {ByRef(L"text")}),
        TurnedAway(EncodeString(), "TurnsNullAway", {Null()}, DISP_E_TYPEMISMATCH),
        TurnedAway(EncodeString(), "CannotBeCalledWithoutAText", {}, DISP_E_BADPARAMCOUNT),
        TurnedAway(EncodeString(), "CannotBeCalledWithTwoTexts", {L"a", L"b"}, DISP_E_BADPARAMCOUNT),
        FallsOver(EncodeString(), L""),
    },
});
KZR_CASES(UtilBase64EncodeString, kUtil, kEncodings);

const Rows kFileEncodings = Join({
    TextOutcomes(EncodeFile()),
    {
        ParameterError(EncodeFile(), "OfANullPathIsAParameterError", {NullText()}, L""),
        TextRow(EncodeFile(L""), "AsksTheBackendForAnEmptyPathToo"),
        TextRow(EncodeFile(L"\\\\server\\share\\..\\file"), "PassesAPathAsItIs"),
        TextRow(EncodeFile(std::wstring(400, L'p')), "PassesALongPath"),
        TurnedAway(EncodeFile(), "TurnsNullAway", {Null()}, DISP_E_TYPEMISMATCH),
    },
});
KZR_CASES(UtilBase64EncodeFile, kUtil, kFileEncodings);

const Rows kDecodings = Join({
    TextOutcomes(DecodeString()),
    {
        ParameterError(DecodeString(), "OfANullTextIsAParameterError", {NullText()}, L""),
        TextRow(DecodeString(L""), "AsksTheBackendForAnEmptyTextToo"),
        TextRow(DecodeString(L"!not Base64!"), "LeavesItToTheBackendWhatIsBase64"),
        RowOf(DecodeString(), "GivesBytesThatAreNoText", Bytes(std::string("\xff\0\xfe", 3)),
              {Trace("CUtil: base64DecodeString ending ok...")}, Bytes(std::string("\xff\0\xfe", 3))),
    },
});
KZR_CASES(UtilBase64DecodeString, kUtil, kDecodings);

const Rows kFileDecodings = Join({
    YesNoOutcomes(DecodeFile()),
    {
        ParameterError(DecodeFile(), "OfANullTextIsAParameterError", {NullText(), L"path"}, I2(-1000)),
        ParameterError(DecodeFile(), "ToANullPathIsAParameterError", {L"text", NullText()}, I2(-1000)),
        ParameterError(DecodeFile(), "OfNullsOnlyIsAParameterError", {NullText(), NullText()}, I2(-1000)),
        YesRow(DecodeFile(L"", L""), "AsksTheBackendForEmptyTextsToo"),
        YesRow(DecodeFile(L"", L"path"), "PassesAnEmptyText"),
        YesRow(DecodeFile(std::wstring(16000, L'A'), L"path"), "PassesALongText"),
        GivenAs(YesRow(DecodeFile(L"1", L"2"), ""), "TakesNumbersForTexts", {I4(1), R8(2.0)}),
        FallsOver(DecodeFile(), I2(0)),
    },
});
KZR_CASES(UtilBase64DecodeFile, kUtil, kFileDecodings);

}  // namespace
}  // namespace kzr::test
