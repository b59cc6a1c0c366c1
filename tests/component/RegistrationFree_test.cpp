// A host of ours that makes all four objects by its manifest, on a machine where nothing is registered.
#include <set>
#include <sstream>

#include "support/ChildProcess.h"
#include "support/ComponentTest.h"

namespace kzr::test {
namespace {

std::wstring OwnFolder()
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring text = path;
    return text.substr(0, text.rfind(L'\\') + 1);
}

bool IsRegistered(const wchar_t* name)
{
    HKEY key = nullptr;
    const bool found = RegOpenKeyExW(HKEY_CLASSES_ROOT, name, 0, KEY_READ, &key) == ERROR_SUCCESS;
    if (found) RegCloseKey(key);
    return found;
}

class RegistrationFree : public testing::Test {
  protected:
    void SetUp() override
    {
        for (const wchar_t* name : {L"CLSID\\{A2AC77FD-36C6-4C2A-B238-F89B35DAA570}",
                                    L"CLSID\\{5D343B47-FDD0-4802-930B-EADDA0CE37D9}",
                                    L"TypeLib\\{B006C93F-3057-4F95-8184-9382035E26FB}", L"TOLVSecCOM.Util"})
            ASSERT_FALSE(IsRegistered(name))
                << Readable(name) << " is registered: the test would show nothing";
        m_host = CopyBeside(L"kzr_regfree_host.exe");
        CopyBeside(L"kzr_test_backend.dll");
    }

    std::wstring CopyBeside(const wchar_t* name)
    {
        const std::wstring copy = m_dll.Folder() + name;
        EXPECT_TRUE(CopyFileW((OwnFolder() + name).c_str(), copy.c_str(), FALSE)) << Readable(name);
        return copy;
    }

    const DllCopy m_dll;
    std::wstring m_host;
};

TEST_F(RegistrationFree, AHostMakesAllFourObjectsByItsManifest)
{
    const ChildResult ended = RunChild("", m_host);
    ASSERT_TRUE(ended.started);
    EXPECT_EQ(0u, ended.code);
    std::multiset<std::string> reported;
    std::istringstream lines(ended.output);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.starts_with("ok - ") || line.starts_with("not ok - ") || line == "END")
            reported.insert(line);
    }
    std::multiset<std::string> expected = {"END", "ok - the module beside the program: 0"};
    for (const char* name : {"Certificate", "Crypto", "DeviceMgr", "Util"})
        for (const char* way : {" by its identifier: 0", " by its name: 0", " by its versioned name: 0"})
            expected.insert(std::string("ok - ") + name + way);
    EXPECT_EQ(expected, reported);
}

TEST_F(RegistrationFree, TheHostFailsWithoutTheModuleBesideIt)
{
    ASSERT_TRUE(DeleteFileW(m_dll.Path().c_str()));
    const ChildResult ended = RunChild("", m_host);
    ASSERT_TRUE(ended.started);
    EXPECT_NE(0u, ended.code) << "what made the objects was not that module: " << ended.output;
}

}  // namespace
}  // namespace kzr::test
