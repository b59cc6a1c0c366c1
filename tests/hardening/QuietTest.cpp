#include "QuietTest.h"

#include "support/FakeLog.h"

namespace kzr::test {
namespace {

constexpr int kErrorLevel = 3;

template <class Entry>
Entry EntryOf(const char* name)
{
    const HMODULE library = GetModuleHandleW(L"KzrLogLib_x64.dll");
    EXPECT_NE(nullptr, library) << "the counting log library is not loaded";
    const FARPROC found = library ? GetProcAddress(library, name) : nullptr;
    EXPECT_NE(nullptr, found) << "the log library that is loaded does not count";
    return reinterpret_cast<Entry>(reinterpret_cast<void*>(found));
}

struct QuietCopy {
    QuietCopy() { PutFakeLogLibrary("Counting", copy.Folder()); }
    const DllCopy copy;
};

const wchar_t* const kMethodsWithText[] = {
    L"SOF_ExportUserCert", L"SOF_ExportExChangeUserCert",
    L"SOF_GetCertInfo",    L"SOF_GetCertInfoByOid",
    L"SOF_GetCertEntity",  L"Base64EncodeFile",
    L"SOF_SignMessage",    L"SOF_SignData",
    L"SOF_SignFile",       L"SOF_GetInfoFromSignedMessage",
    L"SOF_SignDataXML",    L"SOF_GetXMLSignatureInfo",
    L"SOF_GenRandom",      L"SOF_HashData",
    L"SOF_HashFile",       L"SOF_EncryptDataEx",
    L"SOF_DecryptData",    L"SOF_PubKeyEncrypt",
    L"SOF_PriKeyDecrypt",  L"SOF_SecertSegment",
    L"SOF_SecertRecovery", L"SOF_SymEncryptData",
    L"SOF_SymDecryptData", L"ReadFile",
    L"SOF_Base64Encode",   L"SOF_Base64Decode",
};
const wchar_t* const kMethodsWithTrue[] = {
    L"SOF_VerifySignedMessage",
    L"SOF_VerifySignedData",
    L"SOF_VerifySignedFile",
    L"SOF_VerifySignedDataXML",
    L"SOF_SymEncryptFile",
    L"SOF_SymDecryptFile",
    L"SOF_Login",
    L"SOF_ChangePassWd",
    L"WriteFile",
    L"Base64DecodeFile",
    L"SetUserConfig",
};

}  // namespace

const std::wstring& QuietDll()
{
    static const QuietCopy quiet;
    return quiet.copy.Path();
}

long CountedErrorLines()
{
    const auto count = EntryOf<long (*)(int)>("CountedLines");
    return count ? count(kErrorLevel) : -1;
}

long CountedFatalLines()
{
    const auto count = EntryOf<long (*)()>("CountedFatalLines");
    return count ? count() : -1;
}

std::string LastErrorLine()
{
    const auto line = EntryOf<const char* (*)()>("LastErrorLine");
    return line ? line() : "";
}

void AnswerEverything(ScriptedBackend& backend)
{
    for (const wchar_t* const name : kMethodsWithText) backend.Allow(name, L"20300405101112Z");
    for (const wchar_t* const name : kMethodsWithTrue) backend.Allow(name, Bool(true));
    backend.Allow(L"SOF_ValidateCert", I4(0));
    backend.Allow(L"SOF_GetPinRetryCount", I4(7));
    backend.Allow(L"SOF_GetEncryptMethod", I4(2049));
    backend.Allow(L"SOF_SetEncryptMethod", I4(0));
    backend.Allow(L"GetAllDeviceSN", L"SN01;SN02;");
    backend.Allow(L"GetDeviceInfo", L"fact");
    backend.SetUsers(DefaultUsers());
}

void QuietTest::SetUp()
{
    ComponentTest::SetUp();
    UseDll(QuietDll());
    m_fatalBefore = CountedFatalLines();
    AnswerEverything(*backend);
}

void QuietTest::TearDown()
{
    if (dll && *dll) {
        EXPECT_EQ(plannedFatalLines, FatalLines()) << "the latest error: " << LastErrorLine();
    }
    ComponentTest::TearDown();
}

}  // namespace kzr::test
