// Events at moments when nobody expects them any more, from anywhere, and many at once: each is heard as
// often as it should be, and never after the end.
#include <ocidl.h>

#include <atomic>
#include <thread>
#include <vector>

#include "Area.h"
#include "KzrSecX_h.h"
#include "OtherThread.h"
#include "QuietTest.h"
#include "Watchdog.h"
#include "control/Container.h"
#include "support/Rounds.h"

namespace kzr::test {
namespace {

constexpr int kBurst = 10000;  // what a queue holds

class LateEvents : public QuietTest {
  public:
    ComPtr<IDispatch> MakeListening(EventSink& sink)
    {
        ComPtr<IDispatch> control = Make(kControl);
        // The first call gives it its window.
        Call(control.Get(), L"getUserList");
        Connect(control.Get(), sink);
        PumpMessages();
        return control;
    }

    void Connect(IUnknown* control, EventSink& sink)
    {
        DWORD cookie = 0;
        EXPECT_EQ(S_OK, PointOf(control)->Advise(&sink, &cookie));
        m_cookie = cookie;
    }
    HRESULT Disconnect(IUnknown* control) { return PointOf(control)->Unadvise(m_cookie); }

    // The component's own sink, as a backend has it that keeps it.
    ComPtr<IDispatch> SinkOfTheComponent()
    {
        IDispatch* const sink = backend->Sink();
        EXPECT_NE(nullptr, sink);
        return ComPtr<IDispatch>(sink);
    }

    static HRESULT FireAt(IDispatch* sink)
    {
        DISPPARAMS none{};
        return sink->Invoke(1, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr);
    }

  private:
    static ComPtr<IConnectionPoint> PointOf(IUnknown* control)
    {
        ComPtr<IConnectionPointContainer> container;
        ComPtr<IConnectionPoint> point;
        EXPECT_EQ(S_OK, control->QueryInterface(IID_IConnectionPointContainer, container.putVoid()));
        EXPECT_EQ(S_OK, container->FindConnectionPoint(__uuidof(_DUSBKeyPnPActiveXEvents), point.put()));
        return point;
    }

    DWORD m_cookie = 0;
};

TEST_F(LateEvents, InsideACallAreHeardOnceEach)
{
    Watchdog watchdog(kPatience);
    EventSink sink;
    {
        const ComPtr<IDispatch> control = MakeListening(sink);
        const ComPtr<IDispatch> crypto = Make(kCrypto);
        const int times = Rounds(200, 2000);
        for (int i = 0; i < times; ++i) {
            watchdog.Beat("an event inside a call", i);
            // From the thread of the call and from another one; heard while the call pumps, and after it.
            const bool pumps = i % 2 == 0;
            backend->Allow(L"SOF_SignData", Answer(L"signature").Running([&] {
                backend->FireEvent();
                backend->FireEventFromThread();
                if (pumps) PumpMessages();
            }));
            const int before = sink.events;
            EXPECT_EQ(Value(L"signature"), Call(crypto.Get(), L"signedData", {L"text", L"c1"}).value);
            EXPECT_EQ(pumps ? 2 : 0, sink.events - before);
            PumpMessages();
            EXPECT_EQ(2, sink.events - before);
            backend->ForgetEverything();
            AnswerEverything(*backend);
        }
        Did("late events", 2LL * times, "events inside calls");
    }
    EXPECT_EQ(0, sink.References());
}

TEST_F(LateEvents, OfABackendThatKeepsTheSinkAreHeardByNobodyAfterTheEnd)
{
    Watchdog watchdog(kPatience);
    EventSink sink;
    for (int i = 0; i < 50; ++i) {
        watchdog.Beat("an event after the end", i);
        ComPtr<IDispatch> control = MakeListening(sink);
        const ComPtr<IDispatch> late = SinkOfTheComponent();
        EXPECT_EQ(S_OK, FireAt(late.Get()));
        PumpMessages();
        EXPECT_EQ(i + 1, sink.events);
        // One in the queue when the control goes, others after that, from here and from other threads.
        EXPECT_EQ(S_OK, FireAt(late.Get()));
        control.Reset();
        EXPECT_EQ(0, backend->LiveControls());
        EXPECT_EQ(S_OK, FireAt(late.Get()));
        EXPECT_TRUE(ComesBackOnAnotherThread([&] { EXPECT_EQ(S_OK, FireAt(late.Get())); }));
        PumpMessages();
        EXPECT_EQ(i + 1, sink.events);
        EXPECT_EQ(S_FALSE, dll->CanUnloadNow()) << "whoever holds the sink needs its code";
    }
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
    EXPECT_EQ(0, sink.References());
    Did("late events", 50 * 4, "events around the end");
}

TEST_F(LateEvents, AfterTheDisconnectionOfAPageAreHeardNoMore)
{
    EventSink sink;
    const ComPtr<IDispatch> control = MakeListening(sink);
    backend->FireEvent();
    // Before it is fetched from the queue.
    EXPECT_EQ(S_OK, Disconnect(control.Get()));
    backend->FireEvent();
    PumpMessages();
    EXPECT_EQ(0, sink.events);
    EXPECT_EQ(0, sink.References());
    Connect(control.Get(), sink);
    backend->FireEvent();
    PumpMessages();
    EXPECT_EQ(1, sink.events);
}

TEST_F(LateEvents, TenThousandAtOnceFromFourThreadsAreAllHeard)
{
    Watchdog watchdog(60000);
    EventSink sink;
    const int bursts = Rounds(2, 20);
    {
        const ComPtr<IDispatch> control = MakeListening(sink);
        const ComPtr<IDispatch> target = SinkOfTheComponent();
        for (int burst = 1; burst <= bursts; ++burst) {
            watchdog.Beat("a burst", burst);
            std::vector<std::thread> threads;
            for (int i = 0; i < 4; ++i)
                threads.emplace_back([&] {
                    for (int n = 0; n < kBurst / 4; ++n) FireAt(target.Get());
                });
            for (std::thread& thread : threads) thread.join();
            EXPECT_TRUE(PumpUntil([&] { return sink.events >= burst * kBurst; }, 30000));
            PumpMessages();
            EXPECT_EQ(burst * kBurst, sink.events);
        }
    }
    EXPECT_EQ(0, sink.References());
    Did("late events", 1LL * bursts * kBurst, "events at once");
}

TEST_F(LateEvents, FromThreadsWhileControlsComeAndGoHarmNothing)
{
    Watchdog watchdog(kPatience);
    std::atomic<bool> ends{false};
    std::atomic<long> fired{0};
    // Holds the backend connection, and so the sink, for the whole time.
    const ComPtr<IDispatch> holder = Make(kUtil);
    const ComPtr<IDispatch> target = SinkOfTheComponent();
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i)
        threads.emplace_back([&] {
            while (!ends) {
                FireAt(target.Get());
                ++fired;
                // Faster than they are heard, and the queue would never be empty.
                Sleep(1);
            }
        });
    const int times = Rounds(100, 1000);
    for (int i = 0; i < times; ++i) {
        watchdog.Beat("controls under fire", i);
        EventSink sink;
        {
            const ComPtr<IDispatch> control = MakeListening(sink);
            EXPECT_TRUE(PumpUntil([&] { return sink.events > 0; }));
        }
        EXPECT_EQ(0, sink.References());
        backend->ForgetCalls();
    }
    ends = true;
    for (std::thread& thread : threads) thread.join();
    PumpMessages();
    EXPECT_LT(0, fired);
    Did("late events", fired, "events while controls come and go");
}

}  // namespace
}  // namespace kzr::test
