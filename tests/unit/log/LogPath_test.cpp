// The log file's path: the per-user folder, the host's name, the process, and the dots that become
// underscores.
#include <gtest/gtest.h>

#include <windows.h>

#include <shlobj.h>

#include <string>

#include "log/Log.h"
#include "support/ChildProcess.h"
#include "support/LogReader.h"
#include "support/TempFolder.h"

namespace kzr {
namespace {

using test::TempFolder;
using test::ToNarrow;

// Where the shell looks the local folder up; put back at the end.
class LocalFolderSetting {
  public:
    explicit LocalFolderSetting(const std::wstring& folder)
    {
        RegOpenKeyExW(HKEY_CURRENT_USER,
                      L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders", 0,
                      KEY_READ | KEY_WRITE, &m_key);
        DWORD size = sizeof(m_old);
        m_hadOne =
            RegQueryValueExW(m_key, kName, nullptr, &m_type, reinterpret_cast<BYTE*>(m_old), &size) == 0;
        m_size = size;
        RegSetValueExW(m_key, kName, 0, REG_SZ, reinterpret_cast<const BYTE*>(folder.c_str()),
                       static_cast<DWORD>((folder.size() + 1) * sizeof(wchar_t)));
    }
    ~LocalFolderSetting()
    {
        if (m_hadOne) {
            RegSetValueExW(m_key, kName, 0, m_type, reinterpret_cast<const BYTE*>(m_old), m_size);
        } else {
            RegDeleteValueW(m_key, kName);
        }
        RegCloseKey(m_key);
    }

  private:
    static constexpr wchar_t kName[] = L"Local AppData";
    HKEY m_key = nullptr;
    wchar_t m_old[512] = {};
    DWORD m_size = 0;
    DWORD m_type = REG_SZ;
    bool m_hadOne = false;
};

std::string PidText() { return std::to_string(GetCurrentProcessId()); }

bool IsFolder(const std::wstring& path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

TEST(LogPath, IsMadeOfFolderHostAndProcess)
{
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    std::wstring name(program);
    name = name.substr(name.rfind(L'\\') + 1);
    EXPECT_EQ(ToNarrow(test::LogPathOf(name, GetCurrentProcessId())), LogFilePath());
    EXPECT_TRUE(
        LogFilePath().ends_with("Low\\TOLV\\log\\KzrSecX_kzr_unit_tests_exe_PID_" + PidText() + ".log"))
        << LogFilePath();
}

TEST(LogPath, TheFolderIsMadeUpToTolvAndNoFurther)
{
    const TempFolder base;
    const LocalFolderSetting setting(base / L"deep\\Local");
    std::string folder = "left over";
    GetLogFolder(folder);
    EXPECT_EQ(ToNarrow(base / L"deep\\LocalLow\\TOLV\\"), folder);
    EXPECT_TRUE(IsFolder(base / L"deep\\LocalLow\\TOLV"));
    EXPECT_FALSE(IsFolder(base / L"deep\\LocalLow\\TOLV\\log"));
    EXPECT_EQ(
        ToNarrow(base / L"deep\\LocalLow\\TOLV\\log\\KzrSecX_kzr_unit_tests_exe_PID_") + PidText() + ".log",
        LogFilePath());
    EXPECT_FALSE(IsFolder(base / L"deep\\LocalLow\\TOLV\\log"));
}

TEST(LogPath, ADotInTheFolderIsReplacedToo)
{
    const TempFolder base;
    const LocalFolderSetting setting(base / L"john.doe\\Local");
    std::string folder;
    GetLogFolder(folder);
    EXPECT_EQ(ToNarrow(base / L"john.doe\\LocalLow\\TOLV\\"), folder);
    EXPECT_EQ(ToNarrow(base / L"john_doe\\LocalLow\\TOLV\\log\\KzrSecX_kzr_unit_tests_exe_PID_") + PidText() +
                  ".log",
              LogFilePath());
}

// The shell gives the folder in the system's code page, also to a thread that has another one.
TEST(CodePage1252, TheLogFolderIsMadeWhateverTheThreadsPage)
{
    ASSERT_EQ(1252u, GetACP());
    const TempFolder base;
    const LocalFolderSetting setting(base / L"J\u00fcrgen\\Local");
    const LCID before = GetThreadLocale();
    ASSERT_TRUE(
        SetThreadLocale(MAKELCID(MAKELANGID(LANG_CHINESE, SUBLANG_CHINESE_SIMPLIFIED), SORT_DEFAULT)));
    std::string folder;
    GetLogFolder(folder);
    SetThreadLocale(before);
    EXPECT_TRUE(folder.ends_with("J\xfcrgen\\LocalLow\\TOLV\\")) << folder;
    EXPECT_TRUE(IsFolder(base / L"J\u00fcrgen\\LocalLow\\TOLV"));
}

TEST(LogPath, WithoutAFolderItIsTheFixedOne)
{
    // A file stands where the folder would have to be made.
    const TempFolder base;
    CloseHandle(CreateFileW((base / L"file").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    const LocalFolderSetting setting(base / L"file\\Local");
    std::string folder = "left over";
    GetLogFolder(folder);
    EXPECT_EQ("", folder);
    EXPECT_EQ("C:/qmr_log/KzrSecX_kzr_unit_tests_exe_PID_" + PidText() + ".log", LogFilePath());
}

KZR_CHILD(SaysItsLogPath)
{
    std::string path = LogFilePath();
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), path.data(), static_cast<DWORD>(path.size()), &written,
              nullptr);
    return 0;
}

TEST(LogPath, EveryDotOfTheHostsNameIsReplaced)
{
    const TempFolder base;
    const std::wstring program = base / L"my.own.app.exe";
    wchar_t self[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, self, MAX_PATH);
    ASSERT_TRUE(CopyFileW(self, program.c_str(), TRUE));
    const test::ChildResult ended = test::RunChild("SaysItsLogPath", program);
    ASSERT_TRUE(ended.started);
    EXPECT_TRUE(ended.output.ends_with("\\log\\KzrSecX_my_own_app_exe_PID_" +
                                       std::to_string(ended.processId) + ".log"))
        << ended.output;
}

}  // namespace
}  // namespace kzr
