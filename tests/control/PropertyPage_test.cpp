// The property page in a frame of ours, and the About box.
#include "ControlTest.h"
#include "support/Resources.h"

namespace kzr::test {
namespace {

class PageSite final : public IPropertyPageSite {
  public:
    long references = 0;
    int keys = 0;
    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++references); }
    STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(--references); }
    STDMETHODIMP OnStatusChange(DWORD) override { return S_OK; }
    STDMETHODIMP GetLocaleID(LCID*) override { return E_NOTIMPL; }
    STDMETHODIMP GetPageContainer(IUnknown**) override { return E_NOTIMPL; }
    STDMETHODIMP TranslateAccelerator(MSG*) override { return ++keys, S_OK; }
};

class PropertyPage : public ControlTest {
  public:
    void SetUp() override
    {
        ControlTest::SetUp();
        page = dll->Create<IPropertyPage>(kPropertyPage);
        ASSERT_TRUE(page);
    }
    void TearDown() override
    {
        page.Reset();
        ControlTest::TearDown();
    }
    ComPtr<IPropertyPage> page;
};

TEST_F(PropertyPage, IsTheControlsOnlyOne)
{
    const auto control = MakeControl();
    CAUUID pages{};
    EXPECT_EQ(S_OK, As<ISpecifyPropertyPages>(control)->GetPages(&pages));
    ASSERT_EQ(1u, pages.cElems);
    EXPECT_TRUE(IsEqualGUID(kPropertyPage, pages.pElems[0]));
    CoTaskMemFree(pages.pElems);
    EXPECT_EQ(E_POINTER, As<ISpecifyPropertyPages>(control)->GetPages(nullptr));
}

TEST_F(PropertyPage, TellsItsTitleAndSize)
{
    PROPPAGEINFO info{};
    info.cb = sizeof(info);
    EXPECT_EQ(S_OK, page->GetPageInfo(&info));
    EXPECT_STREQ(L"USBKeyPnPActiveX \x5C5E\x6027\x9875", info.pszTitle);
    EXPECT_GT(info.size.cx, 200);
    EXPECT_GT(info.size.cy, 50);
    CoTaskMemFree(info.pszTitle);
    info.cb = 0xCCCCCCCC;
    EXPECT_EQ(S_OK, page->GetPageInfo(&info)) << "some frames leave the size unsaid";
    EXPECT_EQ(sizeof(info), info.cb);
    CoTaskMemFree(info.pszTitle);
    EXPECT_EQ(E_POINTER, page->GetPageInfo(nullptr));
}

TEST_F(PropertyPage, LivesInItsFramesWindowFromActivationToDeactivation)
{
    TopWindow frame;
    const RECT place = {5, 6, 205, 106};
    EXPECT_EQ(E_UNEXPECTED, page->Show(SW_SHOW));
    EXPECT_EQ(E_UNEXPECTED, page->Move(&place));
    EXPECT_EQ(E_UNEXPECTED, page->Deactivate());
    EXPECT_EQ(S_OK, page->Activate(frame.Get(), &place, FALSE));
    const HWND window = GetWindow(frame.Get(), GW_CHILD);
    ASSERT_NE(nullptr, window);
    EXPECT_FALSE(IsWindowVisible(window));
    EXPECT_EQ(S_OK, page->Show(SW_SHOW));
    EXPECT_TRUE(IsWindowVisible(window));
    EXPECT_EQ(S_OK, page->Show(SW_HIDE));
    EXPECT_FALSE(IsWindowVisible(window));
    EXPECT_EQ(E_INVALIDARG, page->Show(SW_MAXIMIZE));
    const RECT other = {15, 16, 115, 66};
    EXPECT_EQ(S_OK, page->Move(&other));
    RECT bounds{};
    GetWindowRect(window, &bounds);
    MapWindowPoints(nullptr, frame.Get(), reinterpret_cast<POINT*>(&bounds), 2);
    EXPECT_TRUE(EqualRect(&other, &bounds));
    EXPECT_EQ(E_UNEXPECTED, page->Activate(frame.Get(), &place, FALSE)) << "it is active already";
    EXPECT_EQ(S_OK, page->Deactivate());
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(E_POINTER, page->Activate(frame.Get(), nullptr, FALSE));
}

TEST_F(PropertyPage, WhoseFrameWentCanBeActivatedInAnother)
{
    const RECT place = {0, 0, 100, 100};
    {
        TopWindow frame;
        EXPECT_EQ(S_OK, page->Activate(frame.Get(), &place, FALSE));
    }
    TopWindow frame;
    EXPECT_EQ(S_OK, page->Activate(frame.Get(), &place, FALSE));
    EXPECT_NE(nullptr, GetWindow(frame.Get(), GW_CHILD));
}

TEST_F(PropertyPage, HasNothingToApply)
{
    IUnknown* objects[] = {page.Get()};
    EXPECT_EQ(S_OK, page->SetObjects(1, objects));
    EXPECT_EQ(S_OK, page->SetObjects(0, nullptr));
    EXPECT_EQ(E_POINTER, page->SetObjects(1, nullptr));
    EXPECT_EQ(S_FALSE, page->IsPageDirty());
    EXPECT_EQ(S_OK, page->Apply());
    EXPECT_EQ(E_NOTIMPL, page->Help(L""));
}

TEST_F(PropertyPage, KeepsItsSiteUntilItIsTakenAway)
{
    PageSite site;
    PageSite other;
    TopWindow frame;
    const RECT place = {0, 0, 100, 100};
    EXPECT_EQ(S_OK, page->SetPageSite(&site));
    EXPECT_EQ(1, site.references);
    EXPECT_EQ(E_UNEXPECTED, page->SetPageSite(&other));
    MSG message{};
    EXPECT_EQ(E_UNEXPECTED, page->TranslateAccelerator(&message));
    EXPECT_EQ(S_OK, page->Activate(frame.Get(), &place, FALSE));
    EXPECT_EQ(S_OK, page->TranslateAccelerator(&message));
    EXPECT_EQ(1, site.keys);
    EXPECT_EQ(E_POINTER, page->TranslateAccelerator(nullptr));
    EXPECT_EQ(S_OK, page->SetPageSite(nullptr));
    EXPECT_EQ(0, site.references);
    EXPECT_EQ(S_FALSE, page->TranslateAccelerator(&message));
}

// The dialog that this thread shows, as its own timer finds it.
HWND g_dialog;
std::wstring g_texts;

BOOL CALLBACK CollectText(HWND child, LPARAM)
{
    wchar_t text[100];
    GetWindowTextW(child, text, 100);
    g_texts += std::wstring(text) + L"|";
    return TRUE;
}

BOOL CALLBACK FindDialog(HWND window, LPARAM)
{
    wchar_t name[20];
    GetClassNameW(window, name, 20);
    if (std::wstring(name) == L"#32770") g_dialog = window;
    return TRUE;
}

void CALLBACK CloseDialog(HWND, UINT, UINT_PTR timer, DWORD)
{
    EnumThreadWindows(GetCurrentThreadId(), FindDialog, 0);
    if (!g_dialog) return;
    KillTimer(nullptr, timer);
    EnumChildWindows(g_dialog, CollectText, 0);
    SendMessageW(g_dialog, WM_COMMAND, IDOK, 0);
}

TEST_F(ControlTest, TheAboutBoxNamesControlAndVersionAndReturnsWhenClosed)
{
    for (const Member& member : {Member(DISPID(-552)), Member(L"AboutBox")}) {
        g_dialog = nullptr;
        g_texts.clear();
        const auto control = MakeControl();
        SetTimer(nullptr, 0, 50, CloseDialog);
        EXPECT_EQ(S_OK, Call(control.Get(), member).result);
        EXPECT_NE(nullptr, g_dialog);
        EXPECT_FALSE(IsWindow(g_dialog));
        EXPECT_NE(std::wstring::npos, g_texts.find(L"USBKeyPnPActiveX|")) << Readable(g_texts);
        EXPECT_NE(std::wstring::npos, g_texts.find(L"1.0|")) << Readable(g_texts);
    }
}

TEST_F(ControlTest, ThePageMayDropTheControlWhileItsAboutBoxIsOpen)
{
    g_dialog = nullptr;
    static ComPtr<IDispatch> control;
    control = MakeControl();
    IDispatch* const bare = control.Get();
    SetTimer(nullptr, 0, 50, [](HWND window, UINT message, UINT_PTR timer, DWORD time) {
        control.Reset();
        CloseDialog(window, message, timer, time);
    });
    EXPECT_EQ(S_OK, Call(bare, DISPID(-552)).result);
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
}

}  // namespace
}  // namespace kzr::test
