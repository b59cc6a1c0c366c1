// A thousand lives of the control, from creation to end, leave nothing behind.
#include <cstdio>

#include "ControlTest.h"
#include "support/Resources.h"

namespace kzr::test {
namespace {

constexpr int kWarmUp = 100;
constexpr int kRounds = 1000;

int WindowsOfThisThread(bool messageOnly)
{
    int count = 0;
    for (HWND each = FindWindowExW(messageOnly ? HWND_MESSAGE : nullptr, nullptr, nullptr, nullptr); each;
         each = FindWindowExW(messageOnly ? HWND_MESSAGE : nullptr, each, nullptr, nullptr))
        count += GetWindowThreadProcessId(each, nullptr) == GetCurrentThreadId();
    return count;
}

class ControlGrowth : public ControlTest {
  public:
    // Creation, activation, event, end.
    void Round(TopWindow& top)
    {
        Container container;
        container.window = top.Get();
        EventSink sink;
        {
            const auto control = MakeControl();
            SetSite(control.Get(), container.Site());
            const DWORD cookie = Connect(control.Get(), &sink);
            EXPECT_EQ(S_OK, DoVerb(control.Get(), OLEIVERB_INPLACEACTIVATE));
            backend->FireEvent();
            PumpMessages();
            EXPECT_EQ(1, sink.events);
            EXPECT_EQ(S_OK, Disconnect(control.Get(), cookie));
            EXPECT_EQ(S_OK, As<IOleObject>(control)->Close(OLECLOSE_NOSAVE));
            SetSite(control.Get(), nullptr);
        }
        container.Take();
        backend->ForgetCalls();
        EXPECT_EQ(S_OK, dll->CanUnloadNow());
    }
};

TEST_F(ControlGrowth, AThousandRoundsLeaveNothingBehind)
{
    TopWindow top;
    for (int i = 0; i < kWarmUp; ++i) Round(top);
    const ResourceCount before = CountResources();
    const int windows = WindowsOfThisThread(false);
    const int messageWindows = WindowsOfThisThread(true);
    for (int i = 0; i < kRounds; ++i) Round(top);
    const ResourceCount after = CountResources();
    std::printf(
        "%d rounds: heap %llu -> %llu bytes in %llu -> %llu blocks, handles %llu -> %llu\n", kRounds,
        static_cast<unsigned long long>(before.heapBytes), static_cast<unsigned long long>(after.heapBytes),
        static_cast<unsigned long long>(before.heapBlocks), static_cast<unsigned long long>(after.heapBlocks),
        static_cast<unsigned long long>(before.handles), static_cast<unsigned long long>(after.handles));
    EXPECT_EQ(windows, WindowsOfThisThread(false));
    EXPECT_EQ(messageWindows, WindowsOfThisThread(true));
    EXPECT_LE(after.handles, before.handles);
    // A block for each round would be seen; the platform's own few come and go.
    EXPECT_LT(after.heapBlocks, before.heapBlocks + kRounds / 10);
    EXPECT_LT(after.heapBytes, before.heapBytes + 64 * 1024);
}

}  // namespace
}  // namespace kzr::test
