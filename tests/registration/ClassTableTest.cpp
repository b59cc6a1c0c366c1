// The class table and the scripts of the resources name the same classes.
#include "frame/ClassTable.h"

#include <iterator>

#include "control/Creators.h"
#include "objects/Creators.h"
#include "registration/CleanRegistry.h"

namespace kzr {

// The table's creators live in rooms that this program has not got; each answers a code of its own here.
HRESULT CreateCertificate(IUnknown*, REFIID, void**) { return 101; }
HRESULT CreateCrypto(IUnknown*, REFIID, void**) { return 102; }
HRESULT CreateDeviceMgr(IUnknown*, REFIID, void**) { return 103; }
HRESULT CreateUtil(IUnknown*, REFIID, void**) { return 104; }
HRESULT CreateUSBKeyPnPActiveXCtrl(IUnknown*, REFIID, void**) { return 105; }
HRESULT CreateUSBKeyPnPActiveXPropPage(IUnknown*, REFIID, void**) { return 106; }

namespace test {
namespace {

std::wstring ClsidText(REFCLSID clsid)
{
    wchar_t text[40];
    StringFromGUID2(clsid, text, 40);
    return text;
}

class ClassTable : public CleanRegistry {
  protected:
    const ServerModule m_server{DllPath()};
};

TEST_F(ClassTable, HoldsTheSixClassesWithTheirCreators)
{
    const struct {
        const wchar_t* clsid;
        HRESULT creatorsCode;
    } rows[] = {
        {L"{A2AC77FD-36C6-4C2A-B238-F89B35DAA570}", 101}, {L"{5B584C94-8FB4-4647-AFE6-879085600DBF}", 102},
        {L"{E5E8F6BE-7753-4041-880B-16D31F61397E}", 103}, {L"{A49B9696-751E-4402-A733-3AD46F48A5A0}", 104},
        {L"{565B8FB4-EE30-4EE3-9B5B-E285678F1F9D}", 105}, {L"{904023D8-3EB6-4079-B062-45C68095682E}", 106},
    };
    EXPECT_EQ(Classes().size(), std::size(rows));
    for (const auto& row : rows) {
        CLSID clsid{};
        CLSIDFromString(row.clsid, &clsid);
        const ClassEntry* entry = FindClass(clsid);
        ASSERT_NE(entry, nullptr) << Utf8(row.clsid);
        EXPECT_EQ(entry->create(nullptr, IID_IUnknown, nullptr), row.creatorsCode) << Utf8(row.clsid);
    }
}

TEST_F(ClassTable, FindsNoOtherClass)
{
    EXPECT_EQ(FindClass(CLSID_NULL), nullptr);
    EXPECT_EQ(FindClass(IID_IUnknown), nullptr);
}

TEST_F(ClassTable, SaysWhatTheRegistrySaysAfterRegistering)
{
    ASSERT_EQ(m_server.Register(), S_OK);
    for (const ClassEntry& entry : Classes()) {
        const std::wstring clsid = ClsidText(*entry.clsid);
        EXPECT_EQ(TextValue(entry.progId + std::wstring(L"\\CLSID"), nullptr), clsid);
        EXPECT_EQ(TextValue(L"CLSID\\" + clsid + L"\\ProgID", nullptr), entry.progId);
        const std::wstring description = TextValue(L"CLSID\\" + clsid, nullptr);
        EXPECT_EQ(TextValue(entry.progId, nullptr), description);
        const bool byScript = entry.registering == Registering::ByScript;
        ASSERT_EQ(entry.versionIndependentProgId != nullptr, byScript);
        ASSERT_EQ(entry.description != nullptr, byScript);
        if (!byScript) continue;
        EXPECT_EQ(description, entry.description);
        EXPECT_EQ(TextValue(entry.versionIndependentProgId + std::wstring(L"\\CurVer"), nullptr),
                  entry.progId);
        EXPECT_EQ(TextValue(entry.versionIndependentProgId + std::wstring(L"\\CLSID"), nullptr), clsid);
    }
}

}  // namespace
}  // namespace test
}  // namespace kzr
