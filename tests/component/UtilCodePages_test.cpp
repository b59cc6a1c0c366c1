// CUtil with texts beyond ASCII: what it passes on stays wide in every code page; what comes out of the user
// list passes through the code page.
#include "ForwardingRows.h"
#include "KzrSecX_h.h"

namespace kzr::test {
namespace {

const wchar_t* const kName = L"\u5f20\u4e09\u0436";
const wchar_t* const kRare = L"\U00020000\u5f20";
const wchar_t* const kPath = L"C:\\\u6587\u4ef6\\\u00e9\u05d0.txt";

Case Coder(const std::string& name, const wchar_t* method, DISPID id, const DirectCall& direct,
           const wchar_t* backend, const wchar_t* given, const wchar_t* answer)
{
    return {.name = name,
            .method = method,
            .id = id,
            .direct = direct,
            .arguments = {given},
            .steps = {Trace("CUtil: " + Shown(method) + " starting..."), Calls(backend, {given}, answer),
                      Trace("CUtil: " + Shown(method) + " ending ok...")},
            .retVal = answer};
}

Case DecodesToFile(const wchar_t* text, const wchar_t* path)
{
    return {.name = "DecodingToAFileStaysWide",
            .method = L"base64DecodeFile",
            .id = 5,
            .direct = Direct(&IUtil::base64DecodeFile),
            .arguments = {text, path},
            .steps = {Trace("CUtil: base64DecodeFile starting..."),
                      Calls(L"Base64DecodeFile", {text, path}, Bool(true)),
                      Trace("CUtil: base64DecodeFile ending ok...")},
            .retVal = I2(0)};
}

Case Info(const std::string& name, const wchar_t* container, int type, const LogSteps& calls,
          const wchar_t* text, const std::vector<User>& users = DefaultUsers())
{
    LogSteps steps = {Trace("CUtil: getUserInfoByContainer starting..."),
                      Trace("CUtil: getUserInfoByContainer containerName(" + Shown(container) + ") TypeID(" +
                            std::to_string(type) + ")...")};
    steps.insert(steps.end(), calls.begin(), calls.end());
    steps.push_back(Trace("CUtil: getUserInfoByContainer userInof(" + Shown(text) + ")..."));
    steps.push_back(Trace("CUtil: getUserInfoByContainer ending..."));
    return {.name = name,
            .method = L"getUserInfoByContainer",
            .id = 4,
            .direct = Direct(&IUtil::getUserInfoByContainer),
            .arguments = {container, I2(type)},
            .steps = steps,
            .retVal = text,
            .users = users};
}

LogStep Export(const Value& id, const Value& certificate)
{
    return Calls(L"SOF_ExportUserCert", {id}, certificate);
}
LogStep Exchange(const Value& id, const Value& certificate)
{
    return Calls(L"SOF_ExportExChangeUserCert", {id}, certificate);
}

// The names of a device do not pass through the list.
const std::vector<User> kDeviceNames = {{L"Alice", L"c1", L"SN01", kName, kRare}};

const Rows kWide = {
    Coder("AnEncodedTextStaysWide", L"base64EncodeString", 1, Direct(&IUtil::base64EncodeString),
          L"SOF_Base64Encode", kName, L"QUJD"),
    Coder("AnEncodedTextThatNoCodePageHoldsStaysWide", L"base64EncodeString", 1,
          Direct(&IUtil::base64EncodeString), L"SOF_Base64Encode", kRare, L"QUJD"),
    Coder("AnEncodedFilesNameStaysWide", L"base64EncodeFile", 2, Direct(&IUtil::base64EncodeFile),
          L"Base64EncodeFile", kPath, L"QUJD"),
    Coder("ADecodedTextStaysWide", L"base64DecodeString", 6, Direct(&IUtil::base64DecodeString),
          L"SOF_Base64Decode", L"QUJD", kName),
    Coder("ADecodedTextThatNoCodePageHoldsStaysWide", L"base64DecodeString", 6,
          Direct(&IUtil::base64DecodeString), L"SOF_Base64Decode", L"QUJD", kRare),
    DecodesToFile(kName, kPath),
    Info("AFieldOfACertificateStaysWide", L"c1", 1,
         {Export(L"c1/SN01", kRare), Calls(L"SOF_GetCertInfo", {kRare, I2(17)}, kName)}, kName),
    Info("AnEntityStaysWide", L"c1", 2,
         {Export(L"c1/SN01", kName), Calls(L"SOF_GetCertEntity", {kName}, kRare)}, kRare),
    Info("TwoCertificatesBeyondTheCodePageAreTwo", L"c1", 10,
         {Export(L"c1/SN01", L"\u5f20\u4e09"), Exchange(L"c1/SN01", L"\u674e\u56db")}, L"2"),
    Info("OnlyAsciiLettersOfASerialNumberAreLowered", L"c1", 11,
         {Export(L"c1/SN01", L"S"), Exchange(L"c1/SN01", L"E"),
          Calls(L"SOF_GetCertInfo", {L"S", I2(2)}, L"A\u00c4\u0416\uff21Z")},
         L"a\u00c4\u0416\uff21z"),
    Info("ACspsNameStaysWide", L"c1", 14, {}, kName, kDeviceNames),
    Info("ALibrarysNameStaysWide", L"c1", 15, {}, kRare, kDeviceNames),
    Info("AnUnknownContainerIsShownAsFarAsTheCodePageGoes", kRare, 23, {}, L"1"),
};

KZR_CASES(CodePage936Util, kUtil, kWide);
KZR_CASES(CodePage1252Util, kUtil, kWide);
KZR_CASES(CodePage65001Util, kUtil, kWide);

const std::vector<User> kChineseUsers = {{L"\u5f20\u4e09", L"\u5bb9\u5668", L"\u5e8f01", kName, L"EXT1"}};

const Rows kListed = {
    Info("AChineseContainerIsFound", L"\u5bb9\u5668", 1,
         {Export(L"\u5bb9\u5668/\u5e8f01", kName), Calls(L"SOF_GetCertInfo", {kName, I2(17)}, kName)}, kName,
         kChineseUsers),
    Info("AChineseSerialNumberIsGiven", L"\u5bb9\u5668", 13, {}, L"\u5e8f01", kChineseUsers),
    Info("AChineseContainersCspIsGiven", L"\u5bb9\u5668/x", 40, {}, kName, kChineseUsers),
};
KZR_CASES(CodePage936UtilContainers, kUtil, kListed);
KZR_CASES(CodePage65001UtilContainers, kUtil, kListed);

// Under a Western code page a Chinese container comes out of the list as question marks, and is not found.
const Rows kLost = {
    Info("AChineseContainerIsLost", L"\u5bb9\u5668", 13, {}, L"",
         {{L"A", L"\u5bb9\u5668", L"SN01", L"", L""}}),
    Info("AWesternContainerIsFound", L"caf\u00e9", 13, {}, L"N\u00ba1",
         {{L"A", L"caf\u00e9", L"N\u00ba1", L"", L""}}),
};
KZR_CASES(CodePage1252UtilContainers, kUtil, kLost);

}  // namespace
}  // namespace kzr::test
