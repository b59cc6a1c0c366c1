#include "registration/CleanRegistry.h"

namespace kzr::test {
namespace {

constexpr const wchar_t* kInterfaceIds[] = {
    L"{CC597DA1-EC0B-41C3-AC7A-C312DF8023AA}", L"{AE5E5DE6-FCC4-45D2-A184-26402F35CA40}",
    L"{AFE33606-C5CC-4293-A774-3E72231798A8}", L"{BEB41537-3DCC-4C96-BDEA-9FB58C6EFE26}",
    L"{8080AF8D-857A-45C4-8296-AB1301ADFA28}", L"{931F33F5-525B-4613-A5A7-D0E28115DD9A}",
};

constexpr const wchar_t* kCategories[] = {
    L"Component Categories\\{7DD95801-9882-11CF-9FA9-00AA006C42C4}",
    L"Component Categories\\{7DD95802-9882-11CF-9FA9-00AA006C42C4}",
};

void RemoveComponent()
{
    for (const wchar_t* key : kOwnKeys) RegDeleteTreeW(HKEY_CLASSES_ROOT, key);
    for (const std::wstring root : {L"Interface\\", L"Wow6432Node\\Interface\\"}) {
        for (const wchar_t* iid : kInterfaceIds) RegDeleteTreeW(HKEY_CLASSES_ROOT, (root + iid).c_str());
    }
}

}  // namespace

const Snapshot& CleanRegistry::Before()
{
    static const Snapshot before = [] {
        RemoveComponent();
        return SnapshotOf(HKEY_LOCAL_MACHINE, kClassesPath);
    }();
    return before;
}

void CleanRegistry::SetUp() { ASSERT_GT(Before().size(), 100u) << "the registry cannot be read"; }

void CleanRegistry::TearDown()
{
    RemoveComponent();
    // The categories are the machine's own: a description that stood there comes back.
    for (const wchar_t* key : kCategories) {
        const std::wstring path = L"\\" + Lower(key);
        const auto description = Before().find(path + L"|409");
        if (description != Before().end()) {
            WriteText(key, L"409", description->second.substr(3));
        } else if (Before().contains(path)) {
            RegDeleteKeyValueW(HKEY_CLASSES_ROOT, key, L"409");
        } else {
            RegDeleteTreeW(HKEY_CLASSES_ROOT, key);
        }
    }
}

void CleanRegistry::TearDownTestSuite()
{
    EXPECT_EQ(Difference(Before(), SnapshotOf(HKEY_LOCAL_MACHINE, kClassesPath)), "") << "left behind";
}

}  // namespace kzr::test
