// From a backend event to the page's handler: one event each, on the window's thread, in order; and
// everything that a page may do inside its handler.
#include "ControlTest.h"

namespace kzr::test {
namespace {

constexpr char kSource[] = "USBKeyPnPActiveXCtrl";
constexpr UINT kDeviceChange = 0x0401;

class ControlEvents : public ControlTest {
  public:
    // A control with a window and nobody connected.
    ComPtr<IDispatch> MakeListening()
    {
        auto control = MakeControl();
        EXPECT_EQ(S_OK, Call(control.Get(), L"EnumUsbKey").result);
        return control;
    }
};

TEST_F(ControlEvents, ABackendEventIsOneScriptEventWithItsLines)
{
    EventSink sink;
    {
        const auto control = MakeListening();
        Connect(control.Get(), &sink);
        log->Take();
        backend->FireEvent();
        EXPECT_EQ(0, sink.events) << "the event must come through the queue";
        PumpMessages();
        EXPECT_EQ(1, sink.events);
        ExpectLog({Trace("CUSBKeyPnPActiveXCtrl: OnDeviceChange starting..."),
                   Trace("CUSBKeyPnPActiveXCtrl: OnDeviceChange ending ok...")},
                  log->Take(), kSource);
        EXPECT_EQ(0u, backend->CallsOf(L"GetAllDeviceSN"));
    }
    EXPECT_EQ(0, sink.References());
}

TEST_F(ControlEvents, EventsOfEveryKindAndThreadAreTheSameEventOnTheWindowsThread)
{
    EventSink sink;
    const auto control = MakeListening();
    Connect(control.Get(), &sink);
    for (const DISPID id : {1, 2, 17, -600}) {
        backend->FireEventFromThread(id);
        PumpMessages();
        EXPECT_EQ(GetCurrentThreadId(), sink.thread);
    }
    EXPECT_EQ(4, sink.events);
}

TEST_F(ControlEvents, EachControlReceivesItsOwnEvent)
{
    EventSink left;
    EventSink right;
    const auto first = MakeListening();
    const auto second = MakeListening();
    Connect(first.Get(), &left);
    Connect(second.Get(), &right);
    backend->FireEvent();
    PumpMessages();
    EXPECT_EQ(1, left.events);
    EXPECT_EQ(1, right.events);
}

TEST_F(ControlEvents, SinksAreCalledInTheOrderInWhichTheyConnected)
{
    std::string order;
    EventSink a, b, c;
    a.during = [&] { return order += "a", S_OK; };
    b.during = [&] { return order += "b", S_OK; };
    c.during = [&] { return order += "c", S_OK; };
    const auto control = MakeListening();
    for (EventSink* sink : {&c, &a, &b}) Connect(control.Get(), sink);
    backend->FireEvent();
    PumpMessages();
    EXPECT_EQ("cab", order);
}

TEST_F(ControlEvents, ABareDispatchSinkIsAcceptedAndOneWithoutDispatchRefused)
{
    EventSink bare;
    bare.knowsEventSet = false;
    EventSink stranger;
    stranger.knowsEventSet = false;
    stranger.knowsDispatch = false;
    {
        const auto control = MakeListening();
        Connect(control.Get(), &bare);
        DWORD cookie = 77;
        EXPECT_EQ(CONNECT_E_CANNOTCONNECT, EventPoint(control.Get())->Advise(&stranger, &cookie));
        EXPECT_EQ(0u, cookie);
        EXPECT_EQ(E_POINTER, EventPoint(control.Get())->Advise(nullptr, &cookie));
        EXPECT_EQ(E_POINTER, EventPoint(control.Get())->Advise(&bare, nullptr));
        backend->FireEvent();
        PumpMessages();
        EXPECT_EQ(1, bare.events);
    }
    EXPECT_EQ(0, bare.References());
    EXPECT_EQ(0, stranger.References());
}

TEST_F(ControlEvents, ADisconnectedSinkIsLetGoAndHearsNothing)
{
    EventSink sink;
    const auto control = MakeListening();
    const DWORD cookie = Connect(control.Get(), &sink);
    EXPECT_EQ(S_OK, Disconnect(control.Get(), cookie));
    EXPECT_EQ(0, sink.References());
    EXPECT_EQ(CONNECT_E_NOCONNECTION, Disconnect(control.Get(), cookie));
    backend->FireEvent();
    PumpMessages();
    EXPECT_EQ(0, sink.events);
}

TEST_F(ControlEvents, ASinkMayDisconnectItselfAndOthersInsideItsHandler)
{
    EventSink first, second, third;
    const auto control = MakeListening();
    const DWORD cookie = Connect(control.Get(), &first);
    const DWORD other = Connect(control.Get(), &second);
    Connect(control.Get(), &third);
    first.during = [&] {
        EXPECT_EQ(S_OK, Disconnect(control.Get(), cookie));
        EXPECT_EQ(S_OK, Disconnect(control.Get(), other));
        return S_OK;
    };
    backend->FireEvent();
    PumpMessages();
    EXPECT_EQ(1, first.events);
    EXPECT_EQ(0, second.events);
    EXPECT_EQ(1, third.events);
    backend->FireEvent();
    PumpMessages();
    EXPECT_EQ(1, first.events);
    EXPECT_EQ(2, third.events);
}

TEST_F(ControlEvents, ASinkThatConnectsInsideAHandlerHearsTheNextEventOnly)
{
    EventSink first, late;
    const auto control = MakeListening();
    Connect(control.Get(), &first);
    first.during = [&] {
        if (first.events == 1) Connect(control.Get(), &late);
        return S_OK;
    };
    backend->FireEvent();
    PumpMessages();
    EXPECT_EQ(0, late.events);
    backend->FireEvent();
    PumpMessages();
    EXPECT_EQ(1, late.events);
}

TEST_F(ControlEvents, ThePageMayDropTheControlInsideItsHandler)
{
    EventSink sink;
    auto control = MakeListening();
    const HWND window = WindowOf(control.Get());
    Connect(control.Get(), &sink);
    sink.during = [&] {
        control.Reset();
        return S_OK;
    };
    backend->FireEvent();
    backend->FireEvent();
    PumpMessages();
    EXPECT_EQ(1, sink.events) << "none after the control has gone";
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(0, sink.References());
    EXPECT_EQ(0, backend->LiveControls());
}

TEST_F(ControlEvents, ThePageMayDestroyTheWindowInsideItsHandler)
{
    EventSink sink;
    const auto control = MakeListening();
    Connect(control.Get(), &sink);
    sink.during = [&] {
        DestroyWindow(WindowOf(control.Get()));
        return S_OK;
    };
    backend->FireEvent();
    PumpMessages();
    EXPECT_EQ(1, sink.events);
    EXPECT_EQ(nullptr, WindowOf(control.Get()));
}

TEST_F(ControlEvents, NavigatingAwayDropsWhatIsStillQueued)
{
    EventSink sink;
    auto control = MakeListening();
    Connect(control.Get(), &sink);
    for (int i = 0; i < 5; ++i) backend->FireEvent();
    control.Reset();
    PumpMessages();
    EXPECT_EQ(0, sink.events);
    EXPECT_EQ(0, sink.References());
}

TEST_F(ControlEvents, AnEventAfterTheWindowHasGoneReachesTheOtherControlOnly)
{
    EventSink gone, there;
    const auto first = MakeListening();
    const auto second = MakeListening();
    Connect(first.Get(), &gone);
    Connect(second.Get(), &there);
    DestroyWindow(WindowOf(first.Get()));
    backend->FireEvent();
    PumpMessages();
    EXPECT_EQ(0, gone.events);
    EXPECT_EQ(1, there.events);
}

TEST_F(ControlEvents, TheWindowThatReplacesADestroyedOneHearsEachEventOnce)
{
    EventSink sink;
    const auto control = MakeListening();
    Connect(control.Get(), &sink);
    DestroyWindow(WindowOf(control.Get()));
    Call(control.Get(), L"EnumUsbKey");
    backend->FireEvent();
    PumpMessages();
    EXPECT_EQ(1, sink.events);
}

TEST_F(ControlEvents, AHandlerThatThrowsOrFaultsHarmsNothing)
{
    for (const FaultKind kind : kAllFaults) {
        SCOPED_TRACE(NameOf(kind));
        EventSink bad, good;
        const auto control = MakeListening();
        Connect(control.Get(), &bad);
        Connect(control.Get(), &good);
        bad.during = [&] { return RaiseFault(kind), S_OK; };
        log->Take();
        backend->FireEvent();
        PumpMessages();
        EXPECT_EQ(1, bad.events);
        EXPECT_EQ(1, good.events) << "the others still hear it";
        ExpectLog({Trace("CUSBKeyPnPActiveXCtrl: OnDeviceChange starting..."),
                   Trace("CUSBKeyPnPActiveXCtrl: OnDeviceChange ending ok...")},
                  log->Take(), kSource);
        EXPECT_EQ(S_OK, Call(control.Get(), L"EnumUsbKey").result);
    }
}

TEST_F(ControlEvents, AHandlerMayCallTheControl)
{
    backend->SetUsers(DefaultUsers());
    EventSink sink;
    const auto control = MakeListening();
    Connect(control.Get(), &sink);
    Value list;
    sink.during = [&] { return list = Call(control.Get(), L"getUserList").value, S_OK; };
    backend->FireEvent();
    PumpMessages();
    EXPECT_EQ(Value(L"Alice||c1&&&Bob||c2&&&"), list);
}

TEST_F(ControlEvents, FrozenEventsAreHeldBackAndFiredAtTheThaw)
{
    EventSink sink;
    const auto control = MakeListening();
    Connect(control.Get(), &sink);
    const auto ole = As<IOleControl>(control);
    EXPECT_EQ(S_OK, ole->FreezeEvents(TRUE));
    EXPECT_EQ(S_OK, ole->FreezeEvents(TRUE));
    for (int i = 0; i < 3; ++i) backend->FireEvent();
    PumpMessages();
    EXPECT_EQ(S_OK, ole->FreezeEvents(FALSE));
    EXPECT_EQ(0, sink.events);
    EXPECT_EQ(S_OK, ole->FreezeEvents(FALSE));
    EXPECT_EQ(3, sink.events);
    EXPECT_EQ(S_OK, ole->FreezeEvents(FALSE)) << "one too many changes nothing";
    backend->FireEvent();
    PumpMessages();
    EXPECT_EQ(4, sink.events);
}

TEST_F(ControlEvents, ASinksEndMayComeBackToTheControl)
{
    EventSink sink;
    auto control = MakeListening();
    const DWORD cookie = Connect(control.Get(), &sink);
    IConnectionPoint* const point = EventPoint(control.Get()).Get();  // no reference: the control goes
    sink.onLastRelease = [&] { EXPECT_EQ(CONNECT_E_NOCONNECTION, point->Unadvise(cookie)); };
    control.Reset();
    EXPECT_EQ(0, sink.References());
}

TEST_F(ControlEvents, AMessageFromAnywhereElseIsAnEventToo)
{
    EventSink sink;
    const auto control = MakeListening();
    Connect(control.Get(), &sink);
    SendMessageW(WindowOf(control.Get()), kDeviceChange, 123, 456);
    EXPECT_EQ(1, sink.events);
}

TEST_F(ControlEvents, AnEventThatIsQueuedWhenTheControlIsActivatedIsNotLost)
{
    TopWindow top;
    Container container;
    container.window = top.Get();
    EventSink sink;
    const auto control = MakeControl();
    SetSite(control.Get(), container.Site());
    Connect(control.Get(), &sink);
    const HWND window = WindowOf(control.Get());
    log->Take();
    backend->FireEvent();
    EXPECT_EQ(S_OK, DoVerb(control.Get(), OLEIVERB_INPLACEACTIVATE));
    EXPECT_EQ(window, WindowOf(control.Get())) << "the same window all the way";
    EXPECT_EQ(std::string::npos, DescribeLog(log->Take()).find("OnCreate"));
    PumpMessages();
    EXPECT_EQ(1, sink.events);
    backend->FireEvent();
    EXPECT_EQ(S_OK, As<IOleInPlaceObject>(control)->InPlaceDeactivate());
    EXPECT_TRUE(IsMessageOnly(window));
    PumpMessages();
    EXPECT_EQ(2, sink.events);
    SetSite(control.Get(), nullptr);
    container.Take();
}

TEST_F(ControlEvents, ConnectionPointsAreFoundWalkedAndTellTheirInterface)
{
    EventSink sink;
    const auto control = MakeListening();
    const auto container = As<IConnectionPointContainer>(control);
    ComPtr<IConnectionPoint> point;
    EXPECT_EQ(CONNECT_E_NOCONNECTION, container->FindConnectionPoint(IID_IDispatch, point.put()));
    EXPECT_EQ(nullptr, point.Get());
    EXPECT_EQ(E_POINTER, container->FindConnectionPoint(IID_IPropertyNotifySink, nullptr));

    ComPtr<IEnumConnectionPoints> points;
    ASSERT_EQ(S_OK, container->EnumConnectionPoints(points.put()));
    const IID expected[] = {DIID__DUSBKeyPnPActiveXEvents, IID_IPropertyNotifySink};
    for (const IID& iid : expected) {
        ULONG fetched = 0;
        ASSERT_EQ(S_OK, points->Next(1, point.put(), &fetched));
        EXPECT_EQ(1u, fetched);
        IID told{};
        EXPECT_EQ(S_OK, point->GetConnectionInterface(&told));
        EXPECT_TRUE(IsEqualIID(iid, told));
        ComPtr<IConnectionPointContainer> back;
        EXPECT_EQ(S_OK, point->GetConnectionPointContainer(back.put()));
        EXPECT_EQ(container.Get(), back.Get());
    }
    ULONG fetched = 7;
    IConnectionPoint* none = nullptr;
    EXPECT_EQ(S_FALSE, points->Next(1, &none, &fetched));
    EXPECT_EQ(0u, fetched);
    EXPECT_EQ(S_OK, points->Reset());
    EXPECT_EQ(S_OK, points->Skip(1));
    ComPtr<IEnumConnectionPoints> copy;
    EXPECT_EQ(S_OK, points->Clone(copy.put()));
    EXPECT_EQ(S_OK, copy->Next(1, point.put(), nullptr));
    EXPECT_EQ(S_FALSE, copy->Skip(1));
    EXPECT_EQ(E_POINTER, points->Next(2, &none, nullptr));
}

TEST_F(ControlEvents, ConnectionsAreListedWithTheirCookies)
{
    EventSink sink;
    {
        const auto control = MakeListening();
        const DWORD cookie = Connect(control.Get(), &sink);
        ComPtr<IEnumConnections> connections;
        ASSERT_EQ(S_OK, EventPoint(control.Get())->EnumConnections(connections.put()));
        CONNECTDATA data{};
        ASSERT_EQ(S_OK, connections->Next(1, &data, nullptr));
        EXPECT_EQ(cookie, data.dwCookie);
        EXPECT_EQ(&sink, static_cast<IDispatch*>(data.pUnk));
        data.pUnk->Release();
        EXPECT_EQ(S_FALSE, connections->Next(1, &data, nullptr));
    }
    EXPECT_EQ(0, sink.References());
}

TEST_F(ControlEvents, TenThousandEventsInABurstAllArriveWhileTheQueueHoldsThem)
{
    constexpr int kBurst = 10000;
    EventSink sink;
    auto control = MakeListening();
    Connect(control.Get(), &sink);
    // A queue holds 10,000 messages, so an earlier one must not take a place.
    PumpMessages();
    for (int i = 0; i < kBurst; ++i) backend->FireEvent();
    EXPECT_TRUE(PumpUntil([&] { return sink.events >= kBurst; }, 60000)) << sink.events;
    EXPECT_EQ(kBurst, sink.events);
    for (int i = 0; i < kBurst; ++i) backend->FireEvent();
    control.Reset();
    PumpMessages();
    EXPECT_EQ(kBurst, sink.events) << "none after the control has gone";
}

}  // namespace
}  // namespace kzr::test
