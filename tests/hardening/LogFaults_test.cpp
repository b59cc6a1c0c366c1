// Whatever goes wrong with the log, callers get the answers that they get without it. Each fault is a process
// of its own, which calls every method once and leaves its answers in a file, since standard output may be
// part of the fault.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>

#include "Area.h"
#include "Methods.h"
#include "QuietTest.h"
#include "support/ChildProcess.h"
#include "support/FakeLog.h"
#include "support/LogReader.h"
#include "support/TempFolder.h"

namespace kzr::test {
namespace {

constexpr wchar_t kFault[] = L"KZR_LOG_FAULT";
constexpr wchar_t kAnswers[] = L"KZR_LOG_ANSWERS";

constexpr wchar_t kLinkingProgram[] = L"Z:\\bin\\ln";
constexpr wchar_t kFullDisk[] = L"/dev/full";
constexpr wchar_t kRunningProgram[] = L"/proc/self/exe";

std::wstring Variable(const wchar_t* name)
{
    wchar_t value[1024] = {};
    GetEnvironmentVariableW(name, value, 1024);
    return value;
}

std::wstring FolderOf(const std::wstring& path) { return path.substr(0, path.rfind(L'\\')); }

// By opening it: a device has no attributes.
bool IsThere(const std::wstring& path)
{
    const HANDLE file =
        CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    CloseHandle(file);
    return true;
}

// Null where no Unix machine is beneath.
using UnixName = char*(CDECL*)(const wchar_t*);
UnixName FindUnixName()
{
    return reinterpret_cast<UnixName>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
}

// Runs a program of the build machine on a file that Windows programs know by `path`, and waits until the
// file is there or gone: its exit code is not told. False on a machine that has no such programs.
bool RunOnFile(const wchar_t* program, const std::wstring& arguments, const std::wstring& path,
               bool thereAfterwards)
{
    const UnixName unixName = FindUnixName();
    const char* const folder = unixName ? unixName(FolderOf(path).c_str()) : nullptr;
    if (!folder) return false;
    const std::string name(folder);
    RunProgram(program, arguments + L" " + std::wstring(name.begin(), name.end()) + L"/" +
                            path.substr(path.rfind(L'\\') + 1));
    for (int i = 0; i < 500 && IsThere(path) != thereAfterwards; ++i) Sleep(10);
    return IsThere(path) == thereAfterwards;
}

HANDLE OpenToAppend(const std::wstring& path)
{
    return CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                       OPEN_EXISTING, 0, nullptr);
}

// A link to the device on which every write fails for want of room.
bool PutFullDisk(const std::wstring& path)
{
    if (!RunOnFile(kLinkingProgram, std::wstring(L"-s ") + kFullDisk, path, true)) return false;
    const HANDLE file = OpenToAppend(path);
    DWORD written = 0;
    const bool isFull = file != INVALID_HANDLE_VALUE && !WriteFile(file, "x", 1, &written, nullptr);
    CloseHandle(file);
    return isFull;
}

// A link to a program that runs: nobody may write to it, not even an administrator of the build machine.
bool PutImmutable(const std::wstring& path)
{
    if (!RunOnFile(kLinkingProgram, std::wstring(L"-s ") + kRunningProgram, path, true)) return false;
    const HANDLE file = OpenToAppend(path);
    if (file == INVALID_HANDLE_VALUE) return true;
    CloseHandle(file);
    return false;
}

HANDLE OpenAlone(const std::wstring& path)
{
    return CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
}

// False for an administrator of the build machine, who writes to read-only files, too.
bool PutReadOnly(const std::wstring& path)
{
    CloseHandle(OpenAlone(path));
    if (!SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY)) return false;
    const HANDLE file = OpenToAppend(path);
    if (file == INVALID_HANDLE_VALUE) return true;
    CloseHandle(file);
    return false;
}

// Its path is that of the log file, which is not there yet; what it makes is taken away when the process has
// ended.
using Fault = std::function<bool(const std::wstring& path)>;

const std::map<std::wstring, Fault>& AllFaults()
{
    static const std::map<std::wstring, Fault> faults = {
        {L"None", [](const std::wstring&) { return true; }},
        {L"AnotherAnswer", [](const std::wstring&) { return true; }},
        {L"FolderMissing",
         [](const std::wstring& path) {
             return MoveFileW(FolderOf(path).c_str(), (FolderOf(path) + L"_away").c_str()) != 0;
         }},
        {L"FolderInItsPlace",
         [](const std::wstring& path) { return CreateDirectoryW(path.c_str(), nullptr) != 0; }},
        {L"LockedByAnother",
         [](const std::wstring& path) { return OpenAlone(path) != INVALID_HANDLE_VALUE; }},
        {L"ReadOnly", PutReadOnly},
        {L"FullDisk", PutFullDisk},
        {L"Immutable", PutImmutable},
        {L"NoOutputEither",
         [](const std::wstring& path) {
             SetStdHandle(STD_OUTPUT_HANDLE, INVALID_HANDLE_VALUE);
             return CreateDirectoryW(path.c_str(), nullptr) != 0;
         }},
        {L"OutputClosed",
         [](const std::wstring& path) {
             CloseHandle(GetStdHandle(STD_OUTPUT_HANDLE));
             return CreateDirectoryW(path.c_str(), nullptr) != 0;
         }},
        {L"WithoutLogInitializeA", [](const std::wstring&) { return true; }},
        {L"WithoutLogOutputA", [](const std::wstring&) { return true; }},
        {L"WithoutLogOutputW", [](const std::wstring&) { return true; }},
        {L"WithoutLogTerminateA", [](const std::wstring&) { return true; }},
        {L"Faulting", [](const std::wstring&) { return true; }},
    };
    return faults;
}

bool IsLibraryWithoutAnEntry(const std::wstring& fault) { return fault.starts_with(L"WithoutLog"); }
bool IsLibrary(const std::wstring& fault) { return IsLibraryWithoutAnEntry(fault) || fault == L"Faulting"; }

// What stands at the log's path under such a fault leads there; "" when it leads nowhere.
std::wstring TargetOf(const std::wstring& fault)
{
    if (fault == L"FullDisk") return kFullDisk;
    return fault == L"Immutable" ? kRunningProgram : L"";
}
bool IsLink(const std::wstring& fault) { return !TargetOf(fault).empty(); }

// Whether this machine has what such a fault is made of.
bool CanLinkTo(const std::wstring& target)
{
    std::wstring seen = L"Z:" + target;
    std::replace(seen.begin(), seen.end(), L'/', L'\\');
    return FindUnixName() && IsThere(kLinkingProgram) && IsThere(seen);
}

// One line for each method: its HRESULT and its answer.
std::string AnswersOf(const TestDll& dll)
{
    std::string answers;
    std::map<const ScriptedClass*, ComPtr<IDispatch>> objects;
    for (const HardenedMethod& method : AllMethods()) {
        if (method.IsModal()) continue;
        ComPtr<IDispatch>& object = objects[method.made];
        if (!object) object = dll.Create<IDispatch>(method.made->clsid);
        if (!object) return "an object could not be made\n";
        const bool isRandom = method.Name() == "CCrypto.generateRandom";
        const CallResult called = Call(object.Get(), method.method->id, SamplesFor(*method.method));
        char result[32];
        snprintf(result, sizeof(result), " %lx ", called.result);
        answers += method.Name() + result + (isRandom ? "" : Describe(called.value)) + "\n";
    }
    return answers;
}

void WriteAnswers(const std::string& answers)
{
    const HANDLE file =
        CreateFileW(Variable(kAnswers).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    WriteFile(file, answers.data(), static_cast<DWORD>(answers.size()), &written, nullptr);
    CloseHandle(file);
}

KZR_CHILD(AnswersUnderALogFault)
{
    const std::wstring fault = Variable(kFault);
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    int code = 0;
    {
        std::wstring path = DllPath();
        if (IsLibrary(fault)) {
            // The library stays loaded as long as this process lives: the folder is its parent's.
            const std::wstring folder = FolderOf(Variable(kAnswers)) + L"\\library\\";
            path = CopyDllTo(folder);
            PutFakeLogLibrary(ToNarrow(fault).c_str(), folder);
        }
        const LogReader log;
        // Of an earlier process of this number.
        DeleteFileW(log.Path().c_str());
        ScriptedBackend backend;
        AnswerEverything(backend);
        if (fault == L"AnotherAnswer") backend.Allow(L"SOF_VerifySignedData", Bool(false));
        const TestDll dll(path);
        if (!AllFaults().at(fault)(log.Path())) return 5;
        const FaultCounter faults;
        WriteAnswers(AnswersOf(dll));
        if ((fault == L"Faulting") != (FaultCounter::Unplanned() != 0)) code = 6;
        if (backend.LiveControls() != 0 || dll.CanUnloadNow() != S_OK) code = 7;
    }
    CoUninitialize();
    return code;
}

class LogFaults : public testing::TestWithParam<const wchar_t*> {
  protected:
    // The answers, or "" when the process came to no good end.
    std::string Run(const wchar_t* fault, const std::wstring& program = L"")
    {
        m_written.clear();
        SetEnvironmentVariableW(kFault, fault);
        SetEnvironmentVariableW(kAnswers, (m_folder / L"answers").c_str());
        m_ended = RunChild("AnswersUnderALogFault", program);
        SetEnvironmentVariableW(kFault, nullptr);
        SetEnvironmentVariableW(kAnswers, nullptr);
        m_log =
            LogPathOf(program.empty() ? L"kzr_hardening_tests.exe" : program.substr(program.rfind(L'\\') + 1),
                      m_ended.processId);
        MoveFileW((FolderOf(m_log) + L"_away").c_str(), FolderOf(m_log).c_str());
        if (IsLink(fault)) {
            // Whoever read the device would read for ever, and what is linked to is nobody's to change.
            EXPECT_TRUE(RunOnFile(L"Z:\\bin\\rm", L"-f", m_log, false));
        } else {
            m_written = ReadWholeFile(m_log);
            SetFileAttributesW(m_log.c_str(), FILE_ATTRIBUTE_NORMAL);
            if (!RemoveDirectoryW(m_log.c_str())) DeleteFileW(m_log.c_str());
        }
        EXPECT_EQ(0u, m_ended.code) << "5: no such fault here, 6: a processor fault, or none of a "
                                       "library that faults, 7: something is alive";
        return m_ended.code == 0 ? ReadWholeFile(m_folder / L"answers") : "";
    }

    const std::string& Undisturbed()
    {
        static const std::string answers = Run(L"None");
        return answers;
    }

    TempFolder m_folder;
    ChildResult m_ended;
    std::wstring m_log;
    std::string m_written;
};

// How many answers there must be for a comparison to say anything.
std::size_t LinesOf(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }

TEST_P(LogFaults, ChangesNoAnswer)
{
    const std::wstring fault = GetParam();
    if (fault == L"ReadOnly") {
        const std::wstring tried = m_folder / L"read-only";
        const bool isRefused = PutReadOnly(tried);
        SetFileAttributesW(tried.c_str(), FILE_ATTRIBUTE_NORMAL);
        if (!isRefused) GTEST_SKIP() << "this user may write to read-only files; Immutable is refused to all";
    }
    if (IsLink(fault) && !CanLinkTo(TargetOf(fault)))
        GTEST_SKIP() << "made by a link of the build machine's to " << ToNarrow(TargetOf(fault))
                     << ", and there is no such machine beneath";
    ASSERT_EQ(AllMethods().size() - 1, LinesOf(Undisturbed())) << Undisturbed();
    EXPECT_EQ(Undisturbed(), Run(GetParam()));
    if (!IsLibraryWithoutAnEntry(fault)) {
        EXPECT_EQ("", m_written) << "the fault was none";
    } else {
        EXPECT_LT(500u, ParseLog(m_written).size()) << "the file takes what the library cannot";
    }
    Did("log faults", static_cast<long long>(AllMethods().size()) - 1, "answers under a fault of the log");
}

const wchar_t* const kFaults[] = {L"FolderMissing",     L"FolderInItsPlace",  L"LockedByAnother",
                                  L"ReadOnly",          L"Immutable",         L"FullDisk",
                                  L"NoOutputEither",    L"OutputClosed",      L"WithoutLogInitializeA",
                                  L"WithoutLogOutputA", L"WithoutLogOutputW", L"WithoutLogTerminateA",
                                  L"Faulting"};
INSTANTIATE_TEST_SUITE_P(, LogFaults, testing::ValuesIn(kFaults), [](const auto& tested) {
    const std::wstring name = tested.param;
    return std::string(name.begin(), name.end());
});

// The plant: one answer of the ninety methods that is another.
using LogFaultsPlant = LogFaults;

TEST_F(LogFaultsPlant, AnAnswerThatIsAnotherWouldBeSeen)
{
    ASSERT_EQ(AllMethods().size() - 1, LinesOf(Undisturbed()));
    const std::string answers = Run(L"AnotherAnswer");
    EXPECT_EQ(AllMethods().size() - 1, LinesOf(answers));
    EXPECT_NE(Undisturbed(), answers);
}

using LogOfAHost = LogFaults;

TEST_F(LogOfAHost, WhoseNameIsAFormatIsWrittenUnderThatName)
{
    wchar_t self[1024] = {};
    GetModuleFileNameW(nullptr, self, 1024);
    const std::wstring program = m_folder / L"a%n.b.exe";
    ASSERT_TRUE(CopyFileW(self, program.c_str(), TRUE));
    const std::string undisturbed = Undisturbed();
    EXPECT_EQ(undisturbed, Run(L"None", program));
    EXPECT_NE(std::wstring::npos, m_log.find(L"KzrSecX_a%n_b_exe_PID_"));
    const std::vector<LogRecord> records = ParseLog(m_written);
    ASSERT_GT(records.size(), 500u);
    for (const LogRecord& record : records) EXPECT_NE("", record.level) << record.raw;
}

}  // namespace
}  // namespace kzr::test
