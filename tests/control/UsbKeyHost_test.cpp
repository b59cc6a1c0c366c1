// The small host, as a program of its own, with the DLL and a stand-in of the backend registered.
#include <cstdio>

#include "ControlTest.h"
#include "com/Handles.h"
#include "support/ChildProcess.h"

namespace kzr::test {
namespace {

class UsbKeyHost : public ControlTest {
  public:
    void SetUp() override
    {
        ControlTest::SetUp();
        ASSERT_EQ(S_OK, dll->RegisterServer());
        ASSERT_EQ(S_OK, CallBackendModule("DllRegisterServer"));
        // The stand-in raises its event when it is asked for the devices.
        WriteRules("GetAllDeviceSN = event\nSOF_GetUserList = text Zo\\u00eb||c1/SN01&&&\n");
    }
    void TearDown() override
    {
        EXPECT_EQ(S_OK, CallBackendModule("DllUnregisterServer"));
        EXPECT_EQ(S_OK, dll->UnregisterServer());
        SetEnvironmentVariableW(L"KZR_TEST_BACKEND_RULES", nullptr);
        DeleteFileW(m_rules.c_str());
        ControlTest::TearDown();
    }
    ChildResult Run(const wchar_t* arguments)
    {
        return RunProgram(std::wstring(KZR_USBKEYHOST, KZR_USBKEYHOST + sizeof(KZR_USBKEYHOST) - 1),
                          arguments, 60000);
    }

  private:
    static HRESULT CallBackendModule(const char* name)
    {
        const UniqueModule module(LoadLibraryA(KZR_TEST_BACKEND));
        const auto function = reinterpret_cast<HRESULT(WINAPI*)()>(GetProcAddress(module.Get(), name));
        return function ? function() : E_NOINTERFACE;
    }
    void WriteRules(const char* rules)
    {
        wchar_t folder[MAX_PATH] = {};
        wchar_t file[MAX_PATH] = {};
        GetTempPathW(MAX_PATH, folder);
        GetTempFileNameW(folder, L"kzr", 0, file);
        m_rules = file;
        std::FILE* const out = _wfopen(file, L"wb");
        ASSERT_NE(nullptr, out);
        std::fputs(rules, out);
        std::fclose(out);
        SetEnvironmentVariableW(L"KZR_TEST_BACKEND_RULES", file);
    }
    std::wstring m_rules;
};

TEST_F(UsbKeyHost, CallsMethodsAndPrintsTheirResultsWithTheTime)
{
    const ChildResult ended = Run(L"--call getUserList --call getUserInfoByContainer,c1,8");
    ASSERT_TRUE(ended.started);
    EXPECT_EQ(0u, ended.code);
    EXPECT_NE(std::string::npos, ended.output.find(" getUserList = \"Zo\xC3\xAB||c1&&&\"")) << ended.output;
    EXPECT_NE(std::string::npos, ended.output.find(" getUserInfoByContainer,c1,8 = \"TOLV_AUTO_USBKEY\""))
        << ended.output;
    // 2024-03-05 09:07:01.042
    ASSERT_GT(ended.output.size(), 24u);
    EXPECT_EQ('-', ended.output[4]);
    EXPECT_EQ(':', ended.output[13]);
    EXPECT_EQ('.', ended.output[19]);
}

TEST_F(UsbKeyHost, PrintsEventsAndEndsAfterTheWantedNumber)
{
    const ChildResult ended =
        Run(L"--call GetUSBKeyList --call GetUSBKeyList --on-event getUserList --events 2 --seconds 30");
    EXPECT_EQ(0u, ended.code);
    EXPECT_NE(std::string::npos, ended.output.find(" event OnUSBKeyChange 1")) << ended.output;
    EXPECT_NE(std::string::npos, ended.output.find(" event OnUSBKeyChange 2")) << ended.output;
    EXPECT_NE(std::string::npos, ended.output.find(" getUserList = \"")) << ended.output;
}

TEST_F(UsbKeyHost, SaysWhenTheTimeWasOverBeforeTheEventsCame)
{
    EXPECT_EQ(3u, Run(L"--events 1 --seconds 0.3").code);
    EXPECT_EQ(0u, Run(L"--seconds 0.3").code);
}

TEST_F(UsbKeyHost, RefusesAWrongCommandLineAndAnUnknownMethod)
{
    EXPECT_EQ(2u, Run(L"--nonsense").code);
    EXPECT_EQ(2u, Run(L"--events -1").code);
    EXPECT_EQ(1u, Run(L"--call nonsense").code);
    EXPECT_EQ(0u, Run(L"--help").code);
}

}  // namespace
}  // namespace kzr::test
