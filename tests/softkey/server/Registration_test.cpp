// The DLL registers itself for the backend's class, and leaves alone who holds it already. In a registry of
// the test's own.
#include "softkey/server/ServerTest.h"

namespace kzr::test {
namespace {

using namespace kzr::softkey;

constexpr wchar_t kOwn[] = L"Software\\KzrSoftKeyServerTest";
constexpr wchar_t kServer[] =
    L"Software\\Classes\\CLSID\\{5D343B47-FDD0-4802-930B-EADDA0CE37D9}\\InprocServer32";

class ServerRegistration : public testing::Test {
  public:
    void SetUp() override
    {
        for (const auto& [root, name] : kRoots) {
            HKEY key = nullptr;
            const std::wstring path = std::wstring(kOwn) + name;
            ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0,
                                                     KEY_ALL_ACCESS, nullptr, &key, nullptr));
            m_keys.push_back(key);
        }
        for (std::size_t i = 0; i < m_keys.size(); ++i)
            ASSERT_EQ(ERROR_SUCCESS, RegOverridePredefKey(kRoots[i].root, m_keys[i]));
    }
    void TearDown() override
    {
        for (const auto& each : kRoots) RegOverridePredefKey(each.root, nullptr);
        for (const HKEY key : m_keys) RegCloseKey(key);
        RegDeleteTreeW(HKEY_CURRENT_USER, kOwn);
    }

    static std::wstring Text(const wchar_t* name)
    {
        wchar_t text[1024] = {};
        DWORD size = sizeof(text);
        const LSTATUS read =
            RegGetValueW(HKEY_LOCAL_MACHINE, kServer, name, RRF_RT_REG_SZ, nullptr, text, &size);
        return read == ERROR_SUCCESS ? text : L"none";
    }

    const TestDll dll{SoftKeyDll()};

  private:
    struct Root {
        HKEY root;
        const wchar_t* name;
    };
    // The user's last: the keys themselves are the user's.
    const std::vector<Root> kRoots = {{HKEY_LOCAL_MACHINE, L"\\Machine"}, {HKEY_CURRENT_USER, L"\\User"}};
    std::vector<HKEY> m_keys;
};

TEST_F(ServerRegistration, TheClassLeadsToTheDllUntilItIsUnregistered)
{
    EXPECT_EQ(S_OK, dll.RegisterServer());
    wchar_t path[1024] = {};
    GetModuleFileNameW(dll.Module(), path, 1024);
    EXPECT_EQ(path, Text(nullptr));
    EXPECT_EQ(L"Apartment", Text(L"ThreadingModel"));
    EXPECT_EQ(S_OK, dll.RegisterServer()) << "again";
    EXPECT_EQ(S_OK, dll.UnregisterServer());
    EXPECT_EQ(L"none", Text(nullptr));
    EXPECT_EQ(S_OK, dll.UnregisterServer()) << "again";
}

TEST_F(ServerRegistration, NothingButTheFourEntriesIsExported)
{
    // The libraries inside must not be seen from outside.
    const auto* const base = reinterpret_cast<const unsigned char*>(dll.Module());
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(
        base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const DWORD place = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress;
    ASSERT_NE(0u, place);
    const auto* const exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + place);
    EXPECT_EQ(4u, exports->NumberOfFunctions);
    for (const char* name :
         {"DllGetClassObject", "DllCanUnloadNow", "DllRegisterServer", "DllUnregisterServer"})
        EXPECT_NE(nullptr, dll.Export(name)) << name;
}

TEST_F(ServerRegistration, AnotherServerKeepsTheClass)
{
    constexpr wchar_t kOther[] = L"C:\\other.dll";
    ASSERT_EQ(ERROR_SUCCESS,
              RegSetKeyValueW(HKEY_LOCAL_MACHINE, kServer, nullptr, REG_SZ, kOther, sizeof(kOther)));
    EXPECT_EQ(kClassHeld, dll.RegisterServer());
    EXPECT_EQ(kOther, Text(nullptr));
    EXPECT_EQ(kClassHeld, dll.UnregisterServer());
    EXPECT_EQ(kOther, Text(nullptr));
}

}  // namespace
}  // namespace kzr::test
