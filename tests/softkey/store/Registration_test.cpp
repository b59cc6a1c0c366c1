// The backend's class in the registry: refused, taken over, put back. The registry is the real one of the
// prefix that the tests run in; what stood there comes back.
#include "registration/BackendRegistration.h"

#include <windows.h>
#include <gtest/gtest.h>

#include "base/Wide.h"
#include "registration/Registry.h"
#include "softkey/core/Support.h"

namespace kzr::softkey::test {
namespace {

using kzr::test::Snapshot;
using kzr::test::SnapshotOf;

constexpr wchar_t kClass[] = L"Software\\Classes\\CLSID\\{5D343B47-FDD0-4802-930B-EADDA0CE37D9}";
constexpr wchar_t kSettings[] = L"Software\\KzrSoftKey";
constexpr wchar_t kOurs[] = L"C:\\softkey\\KzrSoftKey_x64.dll";
constexpr wchar_t kForeign[] = L"C:\\vendor\\backend.dll";

class BackendRegistration : public testing::Test {
  protected:
    BackendRegistration() { Clean(); }
    ~BackendRegistration() override { Clean(); }

    static void Clean()
    {
        for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
            RegDeleteTreeW(root, kClass);
            RegDeleteTreeW(root, kSettings);
        }
    }

    static void Write(HKEY root, const std::wstring& path, const wchar_t* name, const std::wstring& text,
                      DWORD type = REG_SZ)
    {
        UniqueHkey key;
        ASSERT_EQ(RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, key.put(), nullptr),
                  0);
        ASSERT_EQ(RegSetValueExW(key.Get(), name, 0, type, reinterpret_cast<const BYTE*>(text.c_str()),
                                 static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))),
                  0);
    }

    // A server with everything that such a key can have.
    static void RegisterForeign(HKEY root = HKEY_LOCAL_MACHINE)
    {
        Write(root, kClass, nullptr, L"Somebody's backend");
        Write(root, std::wstring(kClass) + L"\\InprocServer32", nullptr, kForeign);
        Write(root, std::wstring(kClass) + L"\\InprocServer32", L"ThreadingModel", L"Both");
        Write(root, std::wstring(kClass) + L"\\ProgID", nullptr, L"Somebody.Backend.1");
        Write(root, std::wstring(kClass) + L"\\Path", L"Home", L"%SystemRoot%\\somebody", REG_EXPAND_SZ);
    }

    static Snapshot Machine() { return SnapshotOf(HKEY_LOCAL_MACHINE, kClass); }
    static Snapshot User() { return SnapshotOf(HKEY_CURRENT_USER, kClass); }
};

TEST_F(BackendRegistration, AFreeClassIsTakenAndGivenBack)
{
    EXPECT_FALSE(HolderOfBackendClass());
    EXPECT_FALSE(BackendIsOurs());
    RegisterBackend(kOurs, false);
    EXPECT_EQ(HolderOfBackendClass(), kOurs);
    EXPECT_TRUE(BackendIsOurs());
    const Snapshot machine = Machine();
    EXPECT_EQ(machine.at(L"\\inprocserver32|"), std::wstring(L"sz:") + kOurs);
    EXPECT_EQ(machine.at(L"\\inprocserver32|threadingmodel"), L"sz:Apartment");
    UnregisterBackend();
    EXPECT_FALSE(HolderOfBackendClass());
    EXPECT_TRUE(Machine().empty());
    EXPECT_TRUE(SnapshotOf(HKEY_LOCAL_MACHINE, kSettings).empty());
}

TEST_F(BackendRegistration, UnregisteringWhatIsNotRegisteredChangesNothing)
{
    UnregisterBackend();
    EXPECT_TRUE(Machine().empty());
}

TEST_F(BackendRegistration, AnotherServerIsNamedAndLeftAlone)
{
    for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
        Clean();
        RegisterForeign(root);
        const Snapshot machine = Machine(), user = User();
        try {
            RegisterBackend(kOurs, false);
            FAIL() << "it was taken over";
        } catch (const BackendHeld& held) {
            EXPECT_EQ(held.Holder(), kForeign);
            EXPECT_NE(std::string(held.what()).find(ToUtf8(kForeign)), std::string::npos);
        }
        EXPECT_EQ(Machine(), machine);
        EXPECT_EQ(User(), user);
        EXPECT_FALSE(BackendIsOurs());
    }
}

TEST_F(BackendRegistration, EveryKindOfServerHolds)
{
    const struct {
        const wchar_t* key;
        const wchar_t* name;
        const wchar_t* value;
        const wchar_t* holder;
    } rows[] = {
        {L"\\LocalServer32", nullptr, L"C:\\vendor\\server.exe", L"C:\\vendor\\server.exe"},
        {L"\\InprocHandler32", nullptr, L"ole32.dll", L"ole32.dll"},
        {L"\\TreatAs", nullptr, L"{00000000-0000-0000-0000-000000000001}",
         L"the class {00000000-0000-0000-0000-000000000001}"},
        {L"", L"AppID", L"{00000000-0000-0000-0000-000000000002}",
         L"the application {00000000-0000-0000-0000-000000000002}"},
    };
    for (const auto& row : rows) {
        Clean();
        Write(HKEY_LOCAL_MACHINE, std::wstring(kClass) + row.key, row.name, row.value);
        EXPECT_EQ(HolderOfBackendClass(), row.holder);
        EXPECT_THROW(RegisterBackend(kOurs, false), BackendHeld);
    }
}

TEST_F(BackendRegistration, AReplacedServerComesBackWithAllItsKeys)
{
    RegisterForeign();
    RegisterForeign(HKEY_CURRENT_USER);
    const Snapshot machine = Machine(), user = User();
    RegisterBackend(kOurs, true);
    EXPECT_EQ(HolderOfBackendClass(), kOurs);
    EXPECT_TRUE(BackendIsOurs());
    EXPECT_TRUE(User().empty());
    EXPECT_FALSE(Machine().contains(L"\\progid"));
    // Once more, from elsewhere: what was kept stays kept.
    RegisterBackend(L"D:\\moved\\KzrSoftKey_x64.dll", false);
    EXPECT_EQ(HolderOfBackendClass(), L"D:\\moved\\KzrSoftKey_x64.dll");
    UnregisterBackend();
    EXPECT_EQ(Machine(), machine);
    EXPECT_EQ(User(), user);
    EXPECT_TRUE(SnapshotOf(HKEY_LOCAL_MACHINE, kSettings).empty());
    EXPECT_TRUE(SnapshotOf(HKEY_CURRENT_USER, kSettings).empty());
}

TEST_F(BackendRegistration, AServerThatRegisteredItselfOverOursIsLeftAlone)
{
    RegisterBackend(kOurs, false);
    RegisterForeign();
    EXPECT_FALSE(BackendIsOurs());
    const Snapshot machine = Machine();
    EXPECT_THROW(UnregisterBackend(), BackendHeld);
    EXPECT_THROW(RegisterBackend(kOurs, false), BackendHeld);
    EXPECT_EQ(Machine(), machine);
}

// The machine's key can be made by nobody; the user's could be moved.
TEST_F(BackendRegistration, WithoutTheRightToTheMachineNothingIsChanged)
{
    const kzr::test::Snapshot empty = Machine();
    RegisterForeign(HKEY_CURRENT_USER);
    const Snapshot before = User();
    UniqueHkey volatileRoot = kzr::test::MakeVolatileKey(HKEY_CURRENT_USER, L"Software\\KzrSoftKeyTestRoot");
    ASSERT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, volatileRoot.Get()), 0);
    const auto cause = CauseOf([] { RegisterBackend(kOurs, true); });
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    volatileRoot = UniqueHkey();
    RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\KzrSoftKeyTestRoot");
    EXPECT_EQ(cause, Cause::File);
    EXPECT_EQ(kzr::test::Difference(before, User()), "");
    EXPECT_EQ(kzr::test::Difference(empty, Machine()), "");
}

TEST_F(BackendRegistration, AHalfKeptCopyIsNeverPutBack)
{
    RegisterBackend(kOurs, false);
    Write(HKEY_LOCAL_MACHINE, std::wstring(kSettings) + L"\\Replaced\\Class\\InprocServer32", nullptr,
          kForeign);
    UnregisterBackend();
    EXPECT_FALSE(HolderOfBackendClass());
    EXPECT_TRUE(SnapshotOf(HKEY_LOCAL_MACHINE, kSettings).empty());
}

}  // namespace
}  // namespace kzr::softkey::test
