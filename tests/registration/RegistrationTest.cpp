// What registering and unregistering leave in the registry, key by key.
#include <comcat.h>
#include <objsafe.h>

#include "com/ComPtr.h"
#include "registration/CleanRegistry.h"

namespace kzr::test {
namespace {

constexpr wchar_t kControlClass[] = L"{565B8FB4-EE30-4EE3-9B5B-E285678F1F9D}";
constexpr GUID kLibraryId = {0xB006C93F, 0x3057, 0x4F95, {0x81, 0x84, 0x93, 0x82, 0x03, 0x5E, 0x26, 0xFB}};

class Registration : public CleanRegistry {
  protected:
    const std::wstring m_path = DllPath();
    const ServerModule m_server{m_path};
};

TEST_F(Registration, RegisteringWritesExactlyTheKeysOfTheList)
{
    EXPECT_EQ(m_server.Register(), S_OK);
    EXPECT_EQ(DifferenceFrom(GoldenKeys(m_path)), "");
}

TEST_F(Registration, RegisteringTwiceLeavesTheSameKeys)
{
    EXPECT_EQ(m_server.Register(), S_OK);
    EXPECT_EQ(m_server.Register(), S_OK);
    EXPECT_EQ(DifferenceFrom(GoldenKeys(m_path)), "");
}

TEST_F(Registration, UnregisteringLeavesTheCategoriesAndTheControlsPlaceInThem)
{
    ASSERT_EQ(m_server.Register(), S_OK);
    EXPECT_EQ(m_server.Unregister(), S_OK);
    EXPECT_EQ(DifferenceFrom(GoldenRemains()), "");
}

TEST_F(Registration, UnregisteringTwiceSucceedsAndChangesNothingMore)
{
    ASSERT_EQ(m_server.Register(), S_OK);
    ASSERT_EQ(m_server.Unregister(), S_OK);
    EXPECT_EQ(m_server.Unregister(), S_OK);
    EXPECT_EQ(DifferenceFrom(GoldenRemains()), "");
}

TEST_F(Registration, UnregisteringWhatWasNeverRegisteredSucceedsAndTouchesNothing)
{
    EXPECT_EQ(m_server.Unregister(), S_OK);
    EXPECT_EQ(DifferenceFrom({}), "");
}

TEST_F(Registration, RegisteringAfterUnregisteringIsWholeAgain)
{
    ASSERT_EQ(m_server.Register(), S_OK);
    ASSERT_EQ(m_server.Unregister(), S_OK);
    EXPECT_EQ(m_server.Register(), S_OK);
    EXPECT_EQ(DifferenceFrom(GoldenKeys(m_path)), "");
}

TEST_F(Registration, TheUsersOwnClassesStayUntouched)
{
    const Snapshot before = SnapshotOf(HKEY_CURRENT_USER, kClassesPath);
    ASSERT_EQ(m_server.Register(), S_OK);
    EXPECT_EQ(Difference(before, SnapshotOf(HKEY_CURRENT_USER, kClassesPath)), "");
    ASSERT_EQ(m_server.Unregister(), S_OK);
    EXPECT_EQ(Difference(before, SnapshotOf(HKEY_CURRENT_USER, kClassesPath)), "");
}

TEST_F(Registration, TheDescriptionsOfTheCategoriesAreWrittenEachTime)
{
    ASSERT_EQ(m_server.Register(), S_OK);
    WriteText(L"Component Categories\\{7DD95801-9882-11CF-9FA9-00AA006C42C4}", L"409", L"another text");
    WriteText(L"Component Categories\\{7DD95802-9882-11CF-9FA9-00AA006C42C4}", L"409", L"another text");
    EXPECT_EQ(m_server.Register(), S_OK);
    EXPECT_EQ(DifferenceFrom(GoldenKeys(m_path)), "");
}

TEST_F(Registration, UnregisteringLeavesTheDescriptionsOfTheCategoriesAsTheyAre)
{
    ASSERT_EQ(m_server.Register(), S_OK);
    WriteText(L"Component Categories\\{7DD95801-9882-11CF-9FA9-00AA006C42C4}", L"409", L"another text");
    ASSERT_EQ(m_server.Unregister(), S_OK);
    EXPECT_EQ(TextValue(L"Component Categories\\{7DD95801-9882-11CF-9FA9-00AA006C42C4}", L"409"),
              L"another text");
}

TEST_F(Registration, ThePlatformSeesTheControlInBothCategoriesAndNoOtherClass)
{
    ASSERT_EQ(m_server.Register(), S_OK);
    ComPtr<ICatInformation> categories;
    ASSERT_EQ(CoCreateInstance(CLSID_StdComponentCategoriesMgr, nullptr, CLSCTX_INPROC_SERVER,
                               IID_ICatInformation, categories.putVoid()),
              S_OK);
    for (CATID category : {CATID_SafeForInitializing, CATID_SafeForScripting}) {
        for (const wchar_t* key : kOwnKeys) {
            CLSID clsid;
            const std::wstring name = key;
            if (!name.starts_with(L"CLSID\\") || FAILED(CLSIDFromString(key + 6, &clsid))) continue;
            const HRESULT member = categories->IsClassOfCategories(clsid, 1, &category, 0, &category);
            EXPECT_EQ(member, name.substr(6) == kControlClass ? S_OK : S_FALSE) << Utf8(name);
        }
    }
}

TEST_F(Registration, ThePlatformFindsEveryClassByItsProgIds)
{
    ASSERT_EQ(m_server.Register(), S_OK);
    const struct {
        const wchar_t* progId;
        const wchar_t* clsid;
    } rows[] = {
        {L"TOLVSecCOM.Certificate", L"{A2AC77FD-36C6-4C2A-B238-F89B35DAA570}"},
        {L"TOLVSecCOM.Certificate.1", L"{A2AC77FD-36C6-4C2A-B238-F89B35DAA570}"},
        {L"TOLVSecCOM.Crypto", L"{5B584C94-8FB4-4647-AFE6-879085600DBF}"},
        {L"TOLVSecCOM.Crypto.1", L"{5B584C94-8FB4-4647-AFE6-879085600DBF}"},
        {L"TOLVSecCOM.DeviceMgr", L"{E5E8F6BE-7753-4041-880B-16D31F61397E}"},
        {L"TOLVSecCOM.DeviceMgr.1", L"{E5E8F6BE-7753-4041-880B-16D31F61397E}"},
        {L"TOLVSecCOM.Util", L"{A49B9696-751E-4402-A733-3AD46F48A5A0}"},
        {L"TOLVSecCOM.Util.1", L"{A49B9696-751E-4402-A733-3AD46F48A5A0}"},
        {L"USBKEYPNPACTIVEX.USBKeyPnPActiveXCtrl.1", kControlClass},
        {L"USBKEYPNPACTIVEX.USBKeyPnPActiveXPropPage.1", L"{904023D8-3EB6-4079-B062-45C68095682E}"},
    };
    for (const auto& row : rows) {
        CLSID found{};
        CLSID expected{};
        EXPECT_EQ(CLSIDFromProgID(row.progId, &found), S_OK) << Utf8(row.progId);
        CLSIDFromString(row.clsid, &expected);
        EXPECT_TRUE(IsEqualCLSID(found, expected)) << Utf8(row.progId);
    }
}

TEST_F(Registration, TheRegisteredTypeLibraryLoads)
{
    ASSERT_EQ(m_server.Register(), S_OK);
    ComPtr<ITypeLib> library;
    EXPECT_EQ(LoadRegTypeLib(kLibraryId, 1, 0, LANG_NEUTRAL, library.put()), S_OK);
    ASSERT_TRUE(library);
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    EXPECT_TRUE(IsEqualGUID(attributes->guid, kLibraryId));
    library->ReleaseTLibAttr(attributes);
}

TEST_F(Registration, AClassKeyGoesWithEverythingThatOthersPutIntoIt)
{
    ASSERT_EQ(m_server.Register(), S_OK);
    WriteText(L"CLSID\\{A49B9696-751E-4402-A733-3AD46F48A5A0}\\Foreign\\Deep", L"name", L"text");
    EXPECT_EQ(m_server.Unregister(), S_OK);
    EXPECT_EQ(DifferenceFrom(GoldenRemains()), "");
}

TEST_F(Registration, AProgIdKeyStaysForWhatOthersPutIntoItButKeepsNothingOfOurs)
{
    ASSERT_EQ(m_server.Register(), S_OK);
    WriteText(L"TOLVSecCOM.Util\\Foreign", L"name", L"text");
    EXPECT_EQ(m_server.Unregister(), S_OK);
    Snapshot golden = GoldenRemains();
    golden[L"\\tolvseccom.util"];
    golden[L"\\tolvseccom.util\\foreign"];
    golden[L"\\tolvseccom.util\\foreign|name"] = L"sz:text";
    EXPECT_EQ(DifferenceFrom(golden), "");
}

TEST_F(Registration, RegisteringRemovesWhatAnOlderReleaseLeftInAClassKey)
{
    WriteText(L"CLSID\\{A49B9696-751E-4402-A733-3AD46F48A5A0}\\LocalServer32", nullptr, L"old.exe");
    EXPECT_EQ(m_server.Register(), S_OK);
    EXPECT_EQ(DifferenceFrom(GoldenKeys(m_path)), "");
}

struct FolderName {
    const char* label;
    const wchar_t* name;
};

class RegistrationFromFolder : public CleanRegistry, public testing::WithParamInterface<FolderName> {};

TEST_P(RegistrationFromFolder, ThePathRegistersWholeAndGoesAgain)
{
    const DllCopy copy(GetParam().name);
    const ServerModule server(copy.Path());
    EXPECT_EQ(server.Register(), S_OK);
    EXPECT_EQ(DifferenceFrom(GoldenKeys(copy.Path())), "");
    ComPtr<ITypeLib> library;
    EXPECT_EQ(LoadRegTypeLib(kLibraryId, 1, 0, LANG_NEUTRAL, library.put()), S_OK);
    EXPECT_EQ(server.Unregister(), S_OK);
    EXPECT_EQ(DifferenceFrom(GoldenRemains()), "");
}

constexpr FolderName kFolderNames[] = {
    {"Apostrophes", L"it's one's own"},
    {"PercentSigns", L"100% %MODULE% %TEMP%"},
    {"ForeignScripts", L"\u4E2D\u6587\u76EE\u5F55 \u2603 \U0001F511"},
    {"Blanks", L" two  blanks"},
    {"Syntax", L"{ a = s 'b' } d"},
};

std::string LabelOf(const testing::TestParamInfo<FolderName>& tested) { return tested.param.label; }

INSTANTIATE_TEST_SUITE_P(Names, RegistrationFromFolder, testing::ValuesIn(kFolderNames), LabelOf);

TEST_F(CleanRegistry, RegisteringFromAnotherFolderReplacesEveryPath)
{
    const DllCopy first(L"first");
    const DllCopy second(L"second");
    ASSERT_EQ(ServerModule(first.Path()).Register(), S_OK);
    const ServerModule server(second.Path());
    EXPECT_EQ(server.Register(), S_OK);
    Snapshot golden = GoldenKeys(second.Path());
    EXPECT_EQ(DifferenceFrom(golden), "");
    EXPECT_EQ(server.Unregister(), S_OK);
    EXPECT_EQ(DifferenceFrom(GoldenRemains()), "");
}

}  // namespace
}  // namespace kzr::test
