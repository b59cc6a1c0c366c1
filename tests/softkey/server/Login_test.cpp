// How long a login lasts: for the process, and no longer than the key is plugged.
#include <atomic>
#include <optional>
#include <string>
#include <thread>

#include "base/File.h"
#include "softkey/server/ServerTest.h"
#include "softkey/server/Sink.h"
#include "store/Folder.h"
#include "store/Layout.h"
#include "support/ComponentTest.h"

namespace kzr::test {
namespace {

using namespace kzr::softkey;

class ServerLogin : public ServerTest {
  public:
    HRESULT Sign(const wchar_t* id) { return Call(L"SOF_SignData", {id, L"text"}).result; }
    // As if it were pulled and plugged, which nobody notices.
    void PlugUnnoticed() { WriteWholeFile(PluggingFile(Key()), ViewOf(std::to_string(++m_plugged))); }
    // Without a value while the file is being replaced.
    std::optional<softkey::Bytes> TriesAtThisMoment() const
    {
        try {
            return ReadFileIfThere(PinFile(Key()), 1 << 20);
        } catch (const Failure&) {
            return std::nullopt;
        }
    }
    std::string Key() const { return KeysFolder(home->Store().Root()) + "\\SN01"; }

  private:
    int m_plugged = 0;
};

TEST_F(ServerLogin, OneLoginServesAllContainersOfItsKeyAndNoOtherKey)
{
    LogIn(kAlice);
    EXPECT_EQ(S_OK, Sign(kAlice));
    EXPECT_EQ(S_OK, Sign(kCarol));
    EXPECT_EQ(kNotLoggedIn, Sign(kWang));
}

TEST_F(ServerLogin, ItIsTheProcesssAndNotTheControls)
{
    LogIn(kAlice);
    control.Reset();
    EXPECT_EQ(S_FALSE, dll->CanUnloadNow()) << "the login would go with the module";
    control = NewControl();
    EXPECT_EQ(S_OK, Sign(kAlice));
    const ComPtr<IDispatch> other = NewControl();
    EXPECT_EQ(S_OK, kzr::test::Call(other.Get(), L"SOF_SignData", {kCarol, L"text"}).result);
}

TEST_F(ServerLogin, PullingTheKeyEndsItAlthoughNobodyListens)
{
    LogIn(kAlice);
    LogIn(kWang);
    home->Pull("SN01");
    EXPECT_EQ(kUnknownKey, Sign(kAlice));
    home->Plug("SN01");
    EXPECT_EQ(kNotLoggedIn, Sign(kAlice));
    EXPECT_EQ(S_OK, Sign(kWang)) << "the other key's login stays";
}

TEST_F(ServerLogin, NoCallFindsItOnceTheKeyWasPulledHoweverSoonItIsBack)
{
    LogIn(kWang);
    for (int i = 0; i < 10; ++i) {
        LogIn(kAlice);
        EXPECT_EQ(S_OK, Sign(kAlice));
        home->Pull("SN01");
        home->Plug("SN01");
        ASSERT_EQ(kNotLoggedIn, Sign(kAlice)) << i;
    }
    EXPECT_EQ(S_OK, Sign(kWang));
}

TEST_F(ServerLogin, OneAfterAPullIsNotEndedByTheNewsOfIt)
{
    for (int i = 0; i < 3; ++i) {
        LogIn(kAlice);
        home->Pull("SN01");
        home->Plug("SN01");
        LogIn(kAlice);
        // As long as the watch may take to hear of it.
        EXPECT_FALSE(PumpUntil([this] { return Sign(kAlice) != S_OK; }, 700));
    }
}

TEST_F(ServerLogin, OneWhoseKeyWasPulledAndPluggedWhileItsPinWasTriedIsRefused)
{
    HRESULT result = S_OK;
    // Whoever comes to it too late tries again.
    for (int i = 0; i < 20 && result == S_OK; ++i) {
        // A try is spent before the PIN is looked at, which takes its time.
        const auto before = TriesAtThisMoment();
        std::atomic<bool> ended{false};
        const std::jthread caller([&] {
            CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
            ComPtr<IDispatch> other = NewControl();
            result = kzr::test::Call(other.Get(), L"SOF_Login", {kAlice, kWidePin}).result;
            ended = true;
            other.Reset();
            CoUninitialize();
        });
        while (!ended) {
            const auto now = TriesAtThisMoment();
            if (now && now != before) break;
            Sleep(1);
        }
        PlugUnnoticed();
    }
    EXPECT_EQ(kUnknownKey, result);
    EXPECT_EQ(kNotLoggedIn, Sign(kAlice));
}

TEST_F(ServerLogin, APullThatNobodyNoticesEndsItAllTheSame)
{
    LogIn(kAlice);
    EXPECT_EQ(S_OK, Sign(kAlice));
    PlugUnnoticed();
    EXPECT_EQ(kNotLoggedIn, Sign(kAlice));
    control.Reset();
    EXPECT_TRUE(PumpUntil([this] { return dll->CanUnloadNow() == S_OK; })) << "it stands in memory";
}

TEST_F(ServerLogin, APluggingThatCannotBeReadIsOver)
{
    for (const bool isThere : {false, true}) {
        control = NewControl();
        LogIn(kAlice);
        // Larger than a record may be.
        if (isThere)
            WriteWholeFile(PluggingFile(Key()), softkey::Bytes(300 * 1024, 'x'));
        else
            RemoveFile(PluggingFile(Key()));
        control.Reset();
        EXPECT_TRUE(PumpUntil([this] { return dll->CanUnloadNow() == S_OK; })) << isThere;
        PlugUnnoticed();
    }
}

TEST_F(ServerLogin, ItEndsWhenTheKeyIsDeleted)
{
    LogIn(kWang);
    home->Store().Delete("SN02");
    EXPECT_EQ(kUnknownKey, Sign(kWang));
}

TEST_F(ServerLogin, AWrongPinAndAChangedPinLeaveItAsItIs)
{
    LogIn(kAlice);
    EXPECT_EQ(Bool(false), Ask(L"SOF_Login", {kAlice, L"wrong!"}));
    EXPECT_EQ(S_OK, Sign(kAlice));
    EXPECT_EQ(Bool(true), Ask(L"SOF_ChangePassWd", {kAlice, kWidePin, L"654321"}));
    EXPECT_EQ(S_OK, Sign(kAlice));
}

TEST_F(ServerLogin, TheModuleMayGoOnceItHasEnded)
{
    LogIn(kAlice);
    control.Reset();
    EXPECT_EQ(S_FALSE, dll->CanUnloadNow());
    home->Pull("SN01");
    EXPECT_TRUE(PumpUntil([this] { return dll->CanUnloadNow() == S_OK; }));
}

TEST_F(ServerLogin, ACarelessClientCannotUnloadTheModuleUnderIt)
{
    LogIn(kAlice);
    control.Reset();
    // Without asking.
    dll->Unload();
    PumpUntil([] { return false; }, 700);
    dll->Load();
    control = NewControl();
    EXPECT_EQ(S_OK, Sign(kAlice));
}

}  // namespace
}  // namespace kzr::test
