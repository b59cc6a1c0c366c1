// Messages that only the system may send, sent to the control's window by somebody else.
#include "Area.h"
#include "QuietTest.h"

namespace kzr::test {
namespace {

class ForgedMessages : public QuietTest {
  public:
    // Those of this thread's controls that stand in no container.
    static HWND WindowAfter(HWND window)
    {
        do window = FindWindowExW(HWND_MESSAGE, window, L"KzrSecX.USBKeyPnPActiveX", nullptr);
        while (window && GetWindowThreadProcessId(window, nullptr) != GetCurrentThreadId());
        return window;
    }

    ComPtr<IDispatch> MakeWithWindow()
    {
        ComPtr<IDispatch> control = Make(kControl);
        // The first call gives it its window.
        Call(control.Get(), L"getUserList");
        return control;
    }
};

TEST_F(ForgedMessages, OfAWindowsEndCountOnce)
{
    ComPtr<IDispatch> control = MakeWithWindow();
    const HWND window = WindowAfter(nullptr);
    ASSERT_TRUE(window);
    constexpr int kTimes = 3;
    for (int i = 0; i < kTimes; ++i) SendMessageW(window, WM_NCDESTROY, 0, 0);
    EXPECT_EQ(S_FALSE, dll->CanUnloadNow()) << "the control is alive";
    // It has lost its window and makes another one, which ends as it should.
    EXPECT_EQ(S_OK, Call(control.Get(), L"getUserList").result);
    control.Reset();
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
    EXPECT_TRUE(IsWindow(window));
    EXPECT_TRUE(DestroyWindow(window));
    EXPECT_EQ(nullptr, WindowAfter(nullptr));
    // Had its end counted again, the next object would seem to be none.
    const ComPtr<IDispatch> next = Make(kUtil);
    EXPECT_EQ(S_FALSE, dll->CanUnloadNow());
    Did("malformed calls", kTimes, "forged ends of a window");
}

TEST_F(ForgedMessages, OfAWindowsEndLeaveNoneBehindThatNeedsTheModule)
{
    MakeWithWindow();
    ComPtr<IDispatch> control = MakeWithWindow();
    const HWND window = WindowAfter(nullptr);
    ASSERT_TRUE(window);
    SendMessageW(window, WM_NCDESTROY, 0, 0);
    control.Reset();
    ASSERT_EQ(S_OK, dll->CanUnloadNow());
    dll->Unload();
    ASSERT_EQ(nullptr, GetModuleHandleW(L"KzrSecX_x64.dll"));
    SendMessageW(window, WM_PAINT, 0, 0);
    SendMessageW(window, WM_USER + 1, 0, 0);
    EXPECT_TRUE(DestroyWindow(window));
    EXPECT_EQ(0, FaultCounter::Unplanned()) << FaultCounter::FirstUnplanned();
    dll->Load();
    // The window class of before is no hindrance.
    EXPECT_TRUE(MakeWithWindow());
}

}  // namespace
}  // namespace kzr::test
