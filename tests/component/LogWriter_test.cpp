// The DLL's own log: its file, the folder that is its switch, the library beside it.
#include <gtest/gtest.h>

#include <cstdio>
#include <map>

#include "support/ChildProcess.h"
#include "support/ComponentTest.h"
#include "support/FakeLog.h"
#include "support/TempFolder.h"

namespace kzr::test {
namespace {

class LogWriter : public ComponentTest {};

std::wstring FolderOf(const std::wstring& path) { return path.substr(0, path.rfind(L'\\')); }

// The log's folder under another name for as long as this lives.
class WithoutLogFolder {
  public:
    explicit WithoutLogFolder(const LogReader& log) : m_folder(FolderOf(log.Path()))
    {
        EXPECT_TRUE(MoveFileW(m_folder.c_str(), (m_folder + L"_away").c_str())) << GetLastError();
    }
    ~WithoutLogFolder() { MoveFileW((m_folder + L"_away").c_str(), m_folder.c_str()); }

  private:
    std::wstring m_folder;
};

TEST_F(LogWriter, StartsAtLevelTraceInTheFileOfThisProcess)
{
    const ComPtr<IDispatch> util = Make(kUtil);
    const std::vector<LogRecord> records = log->Take();
    ASSERT_FALSE(records.empty());
    EXPECT_EQ("[trace] Util status(0) CUtil::FinalConstruct starting...", Describe(records[0]));
    EXPECT_EQ(static_cast<long>(GetCurrentThreadId()), records[0].thread);
}

TEST_F(LogWriter, EachLineNamesItsSourceAndTheLineOfItsCallSite)
{
    const ComPtr<IDispatch> util = Make(kUtil);
    std::map<std::string, std::map<long, std::string>> sites;
    for (const LogRecord& record : log->Take()) {
        EXPECT_GT(record.line, 0) << Describe(record);
        // One call site writes one text.
        const auto [site, isNew] = sites[record.source].emplace(record.line, record.message);
        if (!isNew && record.message.find("call KzrAppCOM") == std::string::npos) {
            EXPECT_EQ(site->second, record.message);
        }
    }
    EXPECT_EQ(1u, sites.count("Util"));
    EXPECT_EQ(1u, sites.count("AxKzrApp"));
    EXPECT_EQ(2u, sites.size());
}

TEST_F(LogWriter, LoadingAloneWritesNothing) { EXPECT_TRUE(log->Take().empty()); }

TEST_F(LogWriter, AFolderThatVanishesChangesNothingButTheLog)
{
    const ComPtr<IDispatch> crypto = Make(kCrypto);
    log->Take();
    backend->Expect(L"SOF_SignData", {L"", L"text"}, L"signature");
    {
        const WithoutLogFolder away(*log);
        EXPECT_EQ(Value(L"signature"), Call(crypto.Get(), L"signedData", {L"text", L"c1"}).value);
    }
    EXPECT_TRUE(log->Take().empty());
    backend->Expect(L"SOF_SignData", {L"", L"text"}, L"signature");
    EXPECT_EQ(Value(L"signature"), Call(crypto.Get(), L"signedData", {L"text", L"c1"}).value);
    EXPECT_EQ(5u, log->Take().size());
}

KZR_CHILD(MakesAnObjectWithoutALogFolder)
{
    CoInitialize(nullptr);
    int failure = 0;
    {
        ScriptedBackend backend;
        const TestDll dll;
        if (!dll.Create<IDispatch>(kUtil.clsid)) failure = 1;
    }
    CoUninitialize();
    return failure;
}

TEST_F(LogWriter, WithoutTheFolderTheLinesGoToStandardOutput)
{
    const WithoutLogFolder away(*log);
    const ChildResult ended = RunChild("MakesAnObjectWithoutALogFolder");
    EXPECT_EQ(0u, ended.code);
    const std::vector<LogRecord> records = ParseLog(ended.output);
    ASSERT_GE(records.size(), 10u) << ended.output;
    EXPECT_EQ("[trace] Util status(0) CUtil::FinalConstruct starting...", Describe(records.front()));
    EXPECT_EQ("[trace] Util status(0) CUtil::FinalRelease ending ok...", Describe(records.back()));
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesW(FolderOf(log->Path()).c_str()))
        << "the folder was made";
}

// The library stays loaded once it is in use, so these run in processes of their own.

constexpr wchar_t kCopyVariable[] = L"KZR_DLL_COPY";

// Loads the copy of the DLL that the environment names, which has a fake beside it, and makes an object.
KZR_CHILD(MakesAnObjectWithAFakeBesideTheDll)
{
    wchar_t path[1024] = {};
    GetEnvironmentVariableW(kCopyVariable, path, 1024);
    CoInitialize(nullptr);
    int failure = 0;
    {
        LogReader log;
        ScriptedBackend backend;
        TestDll dll(path);
        const ComPtr<IDispatch> crypto = dll.Create<IDispatch>(kCrypto.clsid);
        backend.Expect(L"SOF_SignData", {L"", L"text"}, L"signature");
        if (!crypto || !(Call(crypto.Get(), L"signedData", {L"text", L"c1"}).value == Value(L"signature")))
            failure = 1;
        std::printf("%u records in the file\n", static_cast<unsigned>(log.Take().size()));
        std::fputs(FakeLogNotes().c_str(), stdout);
    }
    CoUninitialize();
    std::fflush(stdout);
    return failure;
}

ChildResult RunWithFake(const char* fake)
{
    const DllCopy copy;
    PutFakeLogLibrary(fake, copy.Folder());
    SetEnvironmentVariableW(kCopyVariable, copy.Path().c_str());
    const ChildResult ended = RunChild("MakesAnObjectWithAFakeBesideTheDll");
    SetEnvironmentVariableW(kCopyVariable, nullptr);
    return ended;
}

TEST_F(LogWriter, ALibraryBesideTheDllGetsTheLinesInsteadOfTheFile)
{
    const ChildResult ended = RunWithFake("Whole");
    EXPECT_EQ(0u, ended.code);
    EXPECT_NE(std::string::npos, ended.output.find("0 records in the file")) << ended.output;
    EXPECT_NE(std::string::npos, ended.output.find("LogInitializeA(KzrSecX)\r\nLogOutputA(KzrSecX, Crypto, "))
        << ended.output;
    EXPECT_NE(std::string::npos,
              ended.output.find(", 8, CAxKzrApp: call KzrAppCOM SOF_SignData, result(signature)...)"))
        << ended.output;
}

TEST_F(LogWriter, ALibraryThatLacksAnEntryLeavesTheLinesInTheFile)
{
    const ChildResult ended = RunWithFake("WithoutLogTerminateA");
    EXPECT_EQ(0u, ended.code);
    EXPECT_EQ(std::string::npos, ended.output.find("LogOutputA(")) << ended.output;
    EXPECT_EQ(std::string::npos, ended.output.find("\n0 records")) << ended.output;
    EXPECT_NE(std::string::npos, ended.output.find("records in the file")) << ended.output;
    EXPECT_FALSE(ended.output.starts_with("0 records")) << ended.output;
}

TEST_F(LogWriter, ALibraryThatFaultsChangesNothingButTheLog)
{
    const ChildResult ended = RunWithFake("Faulting");
    EXPECT_EQ(0u, ended.code) << ended.output;
    EXPECT_NE(std::string::npos, ended.output.find("signedData ending ok...")) << ended.output;
}

}  // namespace
}  // namespace kzr::test
