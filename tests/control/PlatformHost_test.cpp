// The control in a container that nobody here wrote: the platform's own ActiveX host window, which makes it
// by its ProgID after a registration.
#include <string>

#include "ControlTest.h"

namespace kzr::test {
namespace {

constexpr wchar_t kProgId[] = L"USBKEYPNPACTIVEX.USBKeyPnPActiveXCtrl.1";

// The host library's functions that are used here.
class HostLibrary {
  public:
    // Once, and never let go of: its window classes live as long as the process.
    static const HostLibrary& Get()
    {
        static const HostLibrary library;
        return library;
    }

    BOOL(WINAPI* init)() = nullptr;
    HRESULT(WINAPI* getControl)(HWND window, IUnknown** control) = nullptr;
    HRESULT(WINAPI* attachControl)(IUnknown* control, HWND window, IUnknown** container) = nullptr;
    HRESULT(WINAPI* advise)(IUnknown* object, IUnknown* sink, const IID* iid, DWORD* cookie) = nullptr;
    HRESULT(WINAPI* unadvise)(IUnknown* object, const IID* iid, DWORD cookie) = nullptr;

    BOOL ready = FALSE;

  private:
    HostLibrary() : m_library(LoadLibraryW(L"atl.dll"))
    {
        Find(init, "AtlAxWinInit");
        Find(getControl, "AtlAxGetControl");
        Find(attachControl, "AtlAxAttachControl");
        Find(advise, "AtlAdvise");
        Find(unadvise, "AtlUnadvise");
        ready = init && init();
    }
    template <class Function>
    void Find(Function& function, const char* name)
    {
        function = reinterpret_cast<Function>(GetProcAddress(m_library, name));
        EXPECT_NE(nullptr, function) << name;
    }
    const HMODULE m_library;
};

class PlatformHost : public ControlTest {
  public:
    void SetUp() override
    {
        ControlTest::SetUp();
        ASSERT_EQ(S_OK, dll->RegisterServer());
        ASSERT_TRUE(library.ready);
        top = std::make_unique<TopWindow>();
    }
    void TearDown() override
    {
        top.reset();
        EXPECT_EQ(S_OK, dll->UnregisterServer());
        // The system's own hold on the loaded class ends here.
        CoFreeUnusedLibraries();
        ControlTest::TearDown();
    }
    // A host window with the control in it.
    HWND Host()
    {
        const HWND host = CreateWindowExW(0, L"AtlAxWin", kProgId, WS_CHILD | WS_VISIBLE, 10, 10, 200, 100,
                                          top->Get(), nullptr, nullptr, nullptr);
        EXPECT_NE(nullptr, host);
        return host;
    }
    ComPtr<IUnknown> ControlIn(HWND host)
    {
        ComPtr<IUnknown> control;
        EXPECT_EQ(S_OK, library.getControl(host, control.put()));
        EXPECT_NE(nullptr, control.Get());
        return control;
    }

    const HostLibrary& library = HostLibrary::Get();
    std::unique_ptr<TopWindow> top;
};

TEST_F(PlatformHost, MakesTheControlByItsProgIdAndActivatesItInItsWindow)
{
    const HWND host = Host();
    {
        const auto control = ControlIn(host);
        ASSERT_TRUE(control);
        const HWND window = WindowOf(control.Get());
        EXPECT_TRUE(IsChild(host, window));
        EXPECT_TRUE(IsWindowVisible(window));
        EXPECT_EQ(Value(L""), Call(As<IDispatch>(control).Get(), L"EnumUsbKey").value);
    }
    EXPECT_EQ(S_FALSE, dll->CanUnloadNow());
    DestroyWindow(host);
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
}

TEST_F(PlatformHost, ConnectsASinkThatReceivesTheEvent)
{
    EventSink sink;
    const HWND host = Host();
    {
        const auto control = ControlIn(host);
        DWORD cookie = 0;
        ASSERT_EQ(S_OK, library.advise(control.Get(), &sink, &DIID__DUSBKeyPnPActiveXEvents, &cookie));
        backend->FireEventFromThread();
        EXPECT_TRUE(PumpUntil([&] { return sink.events == 1; }));
        EXPECT_EQ(S_OK, library.unadvise(control.Get(), &DIID__DUSBKeyPnPActiveXEvents, cookie));
        backend->FireEvent();
        PumpMessages();
        EXPECT_EQ(1, sink.events);
    }
    DestroyWindow(host);
    EXPECT_EQ(0, sink.References());
}

TEST_F(PlatformHost, TheEventQueuedBeforeTheHostTookTheControlStillArrives)
{
    EventSink sink;
    const HWND host = CreateWindowExW(0, L"AtlAxWin", L"", WS_CHILD | WS_VISIBLE, 10, 10, 200, 100,
                                      top->Get(), nullptr, nullptr, nullptr);
    {
        const auto control = MakeControl();
        Call(control.Get(), L"EnumUsbKey");
        Connect(control.Get(), &sink);
        backend->FireEvent();
        ComPtr<IUnknown> container;
        ASSERT_EQ(S_OK, library.attachControl(control.Get(), host, container.put()));
        EXPECT_TRUE(IsChild(host, WindowOf(control.Get())));
        EXPECT_TRUE(PumpUntil([&] { return sink.events == 1; }));
    }
    DestroyWindow(host);
}

TEST_F(PlatformHost, ShowsTheDrawing)
{
    const HWND host = Host();
    {
        const auto control = ControlIn(host);
        const HWND window = WindowOf(control.Get());
        RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
        RECT bounds{};
        GetClientRect(window, &bounds);
        EXPECT_GT(bounds.right, 20);
        EXPECT_GT(bounds.bottom, 20);
        const HDC context = GetDC(window);
        EXPECT_EQ(RGB(255, 255, 255), GetPixel(context, bounds.right / 2, bounds.bottom / 2));
        EXPECT_EQ(RGB(0, 0, 0), GetPixel(context, bounds.right / 2, 0));
        EXPECT_EQ(RGB(0, 0, 0), GetPixel(context, 0, bounds.bottom / 2));
        ReleaseDC(window, context);
    }
    DestroyWindow(host);
}

// The property frame, found and closed by a timer of its own thread.
int g_pages;

BOOL CALLBACK CloseFrame(HWND window, LPARAM)
{
    wchar_t name[20];
    GetClassNameW(window, name, 20);
    if (std::wstring(name) != L"#32770" || !IsWindowVisible(window)) return TRUE;
    // The frame's pages are dialogs in it.
    for (HWND child = FindWindowExW(window, nullptr, L"#32770", nullptr); child;
         child = FindWindowExW(window, child, L"#32770", nullptr))
        ++g_pages;
    PostMessageW(window, WM_COMMAND, IDCANCEL, 0);
    return FALSE;
}

TEST_F(PlatformHost, ShowsThePropertyPageInThePlatformsFrame)
{
    const HWND host = Host();
    {
        const auto control = ControlIn(host);
        g_pages = 0;
        const UINT_PTR timer = SetTimer(nullptr, 0, 100, [](HWND, UINT, UINT_PTR, DWORD) {
            EnumThreadWindows(GetCurrentThreadId(), CloseFrame, 0);
        });
        EXPECT_EQ(S_OK, DoVerb(control.Get(), OLEIVERB_PROPERTIES, top->Get()));
        KillTimer(nullptr, timer);
        EXPECT_GE(g_pages, 1) << "no page stood in the frame";
    }
    DestroyWindow(host);
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
}

TEST_F(PlatformHost, ItsWindowMayGoWithEventsStillQueued)
{
    EventSink sink;
    const HWND host = Host();
    {
        const auto control = ControlIn(host);
        Connect(control.Get(), &sink);
        for (int i = 0; i < 20; ++i) backend->FireEvent();
    }
    top->Destroy();
    PumpMessages();
    EXPECT_EQ(0, sink.events);
    EXPECT_EQ(0, sink.References());
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
}

}  // namespace
}  // namespace kzr::test
