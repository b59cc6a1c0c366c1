// Site and sink: their answers, their lives, and the messages that events become.
#include <atomic>
#include <thread>

#include "support/NothrowNew.h"
#include "unit/backend/BackendFixture.h"

namespace kzr::test {
namespace {

constexpr UINT kMessage = 0x0401;

struct Arrived {
    HWND window;
    WPARAM first;
    LPARAM second;
    bool operator==(const Arrived&) const = default;
};
std::vector<Arrived> g_arrived;

// A message-only window that notes every 0x0401.
class Listener {
  public:
    Listener()
    {
        static const ATOM registered = [] {
            WNDCLASSW kind{};
            kind.lpfnWndProc = [](HWND window, UINT message, WPARAM first, LPARAM second) -> LRESULT {
                if (message == kMessage) g_arrived.push_back({window, first, second});
                return DefWindowProcW(window, message, first, second);
            };
            kind.hInstance = GetModuleHandleW(nullptr);
            kind.lpszClassName = L"KzrTestListener";
            return RegisterClassW(&kind);
        }();
        m_window = CreateWindowExW(0, MAKEINTATOM(registered), L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                   GetModuleHandleW(nullptr), nullptr);
        EXPECT_NE(nullptr, m_window);
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    ~Listener()
    {
        if (IsWindow(m_window)) DestroyWindow(m_window);
    }
    HWND Window() const { return m_window; }

  private:
    HWND m_window = nullptr;
};

class EventSink : public BackendFixture {
  protected:
    void SetUp() override
    {
        g_arrived.clear();
        BackendFixture::SetUp();
    }
    // The windows that got the message, in their order.
    static std::vector<HWND> Windows()
    {
        PumpMessages();
        std::vector<HWND> windows;
        for (const Arrived& arrived : g_arrived) {
            EXPECT_EQ(0u, arrived.first);
            EXPECT_EQ(0, arrived.second);
            windows.push_back(arrived.window);
        }
        g_arrived.clear();
        return windows;
    }
    using HWNDs = std::vector<HWND>;
};

const LogSteps kAdded = {Trace("CAxKzrApp::AddEventListner starting..."),
                         Trace("CAxKzrApp::AddEventListner ending ok...")};

TEST_F(EventSink, EachListenerGetsOneBareMessageForEachEventInTheOrderOfRegistration)
{
    const Listener first, second, third;
    const std::shared_ptr<CAxKzrApp> app = Loaded();
    for (const Listener* listener : {&second, &first, &third}) {
        app->AddEventListner(listener->Window(), kMessage);
        ExpectLines(kAdded);
    }
    backend->FireEvent(1);
    EXPECT_EQ((HWNDs{second.Window(), first.Window(), third.Window()}), Windows());
    backend->FireEvent(-777);
    backend->FireEvent(0);
    EXPECT_EQ((HWNDs{second.Window(), first.Window(), third.Window(), second.Window(), first.Window(),
                     third.Window()}),
              Windows());
    CAxKzrApp::Release();
}

TEST_F(EventSink, TheSameWindowTwiceIsOneListener)
{
    const Listener listener, other;
    const std::shared_ptr<CAxKzrApp> app = Loaded();
    app->AddEventListner(listener.Window(), kMessage);
    app->AddEventListner(other.Window(), kMessage);
    TakeLog();
    app->AddEventListner(listener.Window(), kMessage);
    ExpectLines(kAdded);
    backend->FireEvent();
    EXPECT_EQ((HWNDs{listener.Window(), other.Window()}), Windows());
    CAxKzrApp::Release();
}

TEST_F(EventSink, TheMessageThatIsAskedForIsIgnored)
{
    const Listener listener;
    const std::shared_ptr<CAxKzrApp> app = Loaded();
    app->AddEventListner(listener.Window(), 0x0777);
    app->AddEventListner(listener.Window(), 0);
    backend->FireEvent();
    EXPECT_EQ((HWNDs{listener.Window()}), Windows());
    CAxKzrApp::Release();
}

TEST_F(EventSink, AddingBeforeItIsLoadedAddsNothing)
{
    const Listener listener;
    std::shared_ptr<CAxKzrApp> app;
    // Only what the backend lets in while it loads can see it then.
    backend->At(Step::SetUserConfig).Runs([&] {
        app = CAxKzrApp::Instance();
        TakeLog();
        app->AddEventListner(listener.Window(), kMessage);
    });
    CAxKzrApp::Instance();
    const std::vector<LogRecord> records = TakeLog();
    ASSERT_GE(records.size(), 2u);
    EXPECT_EQ("[trace] AxKzrApp status(0) CAxKzrApp::AddEventListner starting...", Describe(records[0]));
    EXPECT_EQ("[error] AxKzrApp status(0) CAxKzrApp::AddEventListner not Instance yet!",
              Describe(records[1]));
    EXPECT_EQ("CAxKzrApp::LoadKzrAppControl ending ok...", records[2].message);
    backend->FireEvent();
    EXPECT_EQ(HWNDs{}, Windows());
    CAxKzrApp::Release();
    CAxKzrApp::Release();
}

TEST_F(EventSink, AddingAfterTheReleaseAddsNothing)
{
    const Listener listener;
    const std::shared_ptr<CAxKzrApp> app = Loaded();
    CAxKzrApp::Release();
    TakeLog();
    app->AddEventListner(listener.Window(), kMessage);
    ExpectLines({kAdded[0], Error("CAxKzrApp::AddEventListner not Instance yet!")});
}

TEST_F(EventSink, ANewInstanceBeginsWithoutListeners)
{
    const Listener listener;
    Loaded()->AddEventListner(listener.Window(), kMessage);
    CAxKzrApp::Release();
    Loaded();
    backend->FireEvent();
    EXPECT_EQ(HWNDs{}, Windows());
    CAxKzrApp::Release();
}

TEST_F(EventSink, AWindowThatHasGoneCostsNothing)
{
    const Listener first, last;
    const std::shared_ptr<CAxKzrApp> app = Loaded();
    {
        const Listener gone;
        app->AddEventListner(first.Window(), kMessage);
        app->AddEventListner(gone.Window(), kMessage);
        app->AddEventListner(last.Window(), kMessage);
        app->AddEventListner(nullptr, kMessage);
    }
    backend->FireEvent();
    EXPECT_EQ((HWNDs{first.Window(), last.Window()}), Windows());
    CAxKzrApp::Release();
}

TEST_F(EventSink, AnEventOnAnotherThreadArrivesOnTheWindows)
{
    const Listener listener;
    const std::shared_ptr<CAxKzrApp> app = Loaded();
    app->AddEventListner(listener.Window(), kMessage);
    backend->FireEventFromThread();
    EXPECT_EQ((HWNDs{listener.Window()}), Windows());
    CAxKzrApp::Release();
}

TEST_F(EventSink, AnEventNeverArrivesInsideTheCallThatRaisesIt)
{
    const Listener listener;
    const std::shared_ptr<CAxKzrApp> app = Loaded();
    app->AddEventListner(listener.Window(), kMessage);
    backend->FireEvent();
    EXPECT_TRUE(g_arrived.empty());
    EXPECT_EQ((HWNDs{listener.Window()}), Windows());
    CAxKzrApp::Release();
}

TEST_F(EventSink, AnEventInTheMiddleOfACallTakesNoLock)
{
    const Listener listener;
    const std::shared_ptr<CAxKzrApp> app = Loaded();
    app->AddEventListner(listener.Window(), kMessage);
    // This thread holds the backend lock; the event's thread must not need it.
    backend->Expect(L"SOF_Method", {}, Answer(L"x").Running([this] { backend->FireEventFromThread(); }));
    Variant result;
    EXPECT_EQ(S_OK, app->Call(L"SOF_Method", result));
    EXPECT_EQ((HWNDs{listener.Window()}), Windows());
    CAxKzrApp::Release();
}

TEST_F(EventSink, WritesNoLine)
{
    const Listener listener;
    const std::shared_ptr<CAxKzrApp> app = Loaded();
    app->AddEventListner(listener.Window(), kMessage);
    TakeLog();
    backend->FireEvent();
    EXPECT_TRUE(TakeLog().empty());
    CAxKzrApp::Release();
}

TEST_F(EventSink, EventsWhileListenersAreAddedLoseNone)
{
    constexpr int kListeners = 40;
    std::vector<std::unique_ptr<Listener>> listeners;
    for (int i = 0; i < kListeners; ++i) listeners.push_back(std::make_unique<Listener>());
    const std::shared_ptr<CAxKzrApp> app = Loaded();
    std::atomic<bool> done{false};
    std::thread firing([&] {
        do backend->FireEvent();
        while (!done);
    });
    for (const auto& listener : listeners) app->AddEventListner(listener->Window(), kMessage);
    done = true;
    firing.join();
    Windows();
    backend->FireEvent();
    HWNDs expected;
    for (const auto& listener : listeners) expected.push_back(listener->Window());
    EXPECT_EQ(expected, Windows());
    CAxKzrApp::Release();
}

// Lives: the backend lets go too late, or too early.

TEST_F(EventSink, ASinkThatTheBackendKeepsOutlivesTheInstance)
{
    const Listener listener;
    const long before = ModuleLockCount();
    backend->keepsSink = true;
    backend->keepsSite = true;
    std::shared_ptr<CAxKzrApp> app = Loaded();
    app->AddEventListner(listener.Window(), kMessage);
    app.reset();
    CAxKzrApp::Release();
    EXPECT_EQ(0, backend->LiveControls());
    EXPECT_EQ(before + 2, ModuleLockCount());
    backend->FireEvent();
    EXPECT_EQ((HWNDs{listener.Window()}), Windows());
    backend->FireEventFromThread();
    EXPECT_EQ((HWNDs{listener.Window()}), Windows());
    EXPECT_EQ(S_OK, backend->Site()->ShowObject());
    backend->LetGo();
    EXPECT_EQ(before, ModuleLockCount());
}

TEST_F(EventSink, ReferencesGivenBackTooOftenFreeNothingThatIsUsed)
{
    const Listener listener;
    const long before = ModuleLockCount();
    backend->overReleaseSite = 3;
    backend->overReleaseSink = 3;
    std::shared_ptr<CAxKzrApp> app = Loaded();
    EXPECT_EQ(before + 2, ModuleLockCount());
    app->AddEventListner(listener.Window(), kMessage);
    backend->FireEvent();
    EXPECT_EQ((HWNDs{listener.Window()}), Windows());
    EXPECT_EQ(S_OK, backend->Site()->ShowObject());
    app.reset();
    CAxKzrApp::Release();
    EXPECT_EQ(before, ModuleLockCount());
}

TEST_F(EventSink, SiteAndSinkCountAsLiveObjects)
{
    const long before = ModuleLockCount();
    std::shared_ptr<CAxKzrApp> app = Loaded();
    EXPECT_EQ(before + 2, ModuleLockCount());
    app.reset();
    CAxKzrApp::Release();
    EXPECT_EQ(before, ModuleLockCount());
}

// The tables of answers.

TEST_F(EventSink, TheSiteAnswersTwoInterfacesAndItsTable)
{
    CKzrControlSite* made = nullptr;
    ASSERT_EQ(S_OK, CKzrControlSite::Create(&made));
    IOleClientSite* const site = made;
    EXPECT_EQ(E_NOTIMPL, site->SaveObject());
    IMoniker* moniker = nullptr;
    EXPECT_EQ(E_NOTIMPL, site->GetMoniker(1, 1, &moniker));
    IOleContainer* container = nullptr;
    EXPECT_EQ(E_NOINTERFACE, site->GetContainer(&container));
    EXPECT_EQ(S_OK, site->ShowObject());
    EXPECT_EQ(S_OK, site->OnShowWindow(TRUE));
    EXPECT_EQ(S_OK, site->OnShowWindow(FALSE));
    EXPECT_EQ(E_NOTIMPL, site->RequestNewObjectLayout());
    for (const IID* iid : {&IID_IUnknown, &IID_IOleClientSite}) {
        void* answer = nullptr;
        EXPECT_EQ(S_OK, site->QueryInterface(*iid, &answer));
        EXPECT_EQ(site, answer);
        EXPECT_EQ(0u, site->Release());
    }
    for (const IID* iid : {&IID_IDispatch, &IID_IOleInPlaceSite, &IID_IOleControlSite, &kBackendEvents}) {
        void* answer = site;
        EXPECT_EQ(E_NOINTERFACE, site->QueryInterface(*iid, &answer));
        EXPECT_EQ(nullptr, answer);
    }
    made->ReleaseOwner();
}

TEST_F(EventSink, TheSinkAnswersThreeInterfacesAndItsTable)
{
    CKzrAppEventSink* made = nullptr;
    ASSERT_EQ(S_OK, CKzrAppEventSink::Create(&made));
    IDispatch* const sink = made;
    UINT count = 5;
    EXPECT_EQ(E_NOTIMPL, sink->GetTypeInfoCount(&count));
    ITypeInfo* info = nullptr;
    EXPECT_EQ(E_NOTIMPL, sink->GetTypeInfo(0, 0, &info));
    wchar_t text[] = L"OnChange";
    LPOLESTR name = text;
    DISPID id = 0;
    EXPECT_EQ(E_NOTIMPL, sink->GetIDsOfNames(IID_NULL, &name, 1, 0, &id));
    EXPECT_EQ(S_OK, sink->Invoke(1, IID_NULL, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(S_OK,
              sink->Invoke(-5, IID_IUnknown, 99, DISPATCH_PROPERTYGET, nullptr, nullptr, nullptr, nullptr));
    for (const IID* iid : {&IID_IUnknown, &IID_IDispatch, &kBackendEvents}) {
        void* answer = nullptr;
        EXPECT_EQ(S_OK, sink->QueryInterface(*iid, &answer));
        EXPECT_EQ(sink, answer);
        EXPECT_EQ(0u, sink->Release());
    }
    for (const IID* iid : {&IID_IOleClientSite, &IID_IConnectionPoint}) {
        void* answer = sink;
        EXPECT_EQ(E_NOINTERFACE, sink->QueryInterface(*iid, &answer));
        EXPECT_EQ(nullptr, answer);
    }
    made->ReleaseOwner();
}

TEST_F(EventSink, BothBeginWithoutAReferenceAndLockTheModule)
{
    const long before = ModuleLockCount();
    CKzrControlSite* site = nullptr;
    CKzrAppEventSink* sink = nullptr;
    ASSERT_EQ(S_OK, CKzrControlSite::Create(&site));
    ASSERT_EQ(S_OK, CKzrAppEventSink::Create(&sink));
    EXPECT_EQ(before + 2, ModuleLockCount());
    EXPECT_EQ(1u, site->AddRef());
    EXPECT_EQ(1u, sink->AddRef());
    EXPECT_EQ(2u, sink->AddRef());
    EXPECT_EQ(1u, sink->Release());
    site->ReleaseOwner();
    sink->ReleaseOwner();
    EXPECT_EQ(before + 2, ModuleLockCount());
    EXPECT_EQ(0u, site->Release());
    EXPECT_EQ(0u, sink->Release());
    EXPECT_EQ(before, ModuleLockCount());
}

TEST_F(EventSink, BothNeedAPlaceToBePut)
{
    EXPECT_EQ(E_POINTER, CKzrControlSite::Create(nullptr));
    EXPECT_EQ(E_POINTER, CKzrAppEventSink::Create(nullptr));
}

TEST_F(EventSink, BothSayWhenThereIsNoMemory)
{
    CKzrControlSite* site = nullptr;
    CKzrAppEventSink* sink = nullptr;
    const NothrowNewFails none;
    EXPECT_EQ(E_OUTOFMEMORY, CKzrControlSite::Create(&site));
    EXPECT_EQ(E_OUTOFMEMORY, CKzrAppEventSink::Create(&sink));
}

TEST_F(EventSink, WithoutMemoryTheInstanceIsNotMade)
{
    const LogSteps lines = {Trace("CAxKzrApp::Instance starting..."),
                            Trace("CAxKzrApp::Instance new CAxKzrApp..."),
                            Error("CAxKzrApp::Instancenew CAxKzrApp out of memory!")};
    {
        const NothrowNewFails noObject;
        EXPECT_FALSE(CAxKzrApp::Instance());
    }
    ExpectLines(lines);
    {
        const PlainNewFails noCounts;
        EXPECT_FALSE(CAxKzrApp::Instance());
    }
    ExpectLines(lines);
    CAxKzrApp::Release();
    ExpectLines(
        {Trace("CAxKzrApp::Release starting..."), Trace("CAxKzrApp::Release ref_counts is 0, return ok...")});
}

TEST_F(EventSink, WithoutMemoryForTheSiteOrTheSinkLoadingFailsWithTheQueryLine)
{
    for (const Step step : {Step::QueryOleObject, Step::SetClientSite}) {
        std::optional<NothrowNewFails> none;
        backend->At(step).Runs([&] { none.emplace(); });
        EXPECT_FALSE(CAxKzrApp::Instance());
        none.reset();
        backend->At(step) = StepRule();
        const std::vector<LogRecord> records = TakeLog();
        ASSERT_EQ(6u, records.size());
        EXPECT_EQ("CAxKzrApp::LoadKzrAppControl Failed to query interface in KzrApp control!",
                  records[4].message);
        EXPECT_EQ("CAxKzrApp::Instance LoadKzrAppControl error!", records[5].message);
        EXPECT_EQ(0, backend->LiveControls());
    }
}

}  // namespace
}  // namespace kzr::test
