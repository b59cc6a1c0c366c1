#include "control/ControlWindow.h"

#include "com/ModuleCount.h"
#include "com/ModulePath.h"
#include "control/Drawing.h"
#include "control/USBKeyPnPActiveXCtrl.h"
#include "frame/FaultGuard.h"

namespace kzr {
namespace {

constexpr wchar_t kClassName[] = L"KzrSecX.USBKeyPnPActiveX";

HINSTANCE Instance() noexcept { return ThisModule(); }

// Of two apartments that make their first windows at once, one would find the class neither there nor free.
SRWLOCK g_registering = SRWLOCK_INIT;

// Registered with the first window and taken back at module shut-down, since the procedure goes with the
// module. The class belongs to the module's instance, so other builds of it may be loaded beside.
bool RegisterClassOnce(WNDPROC procedure) noexcept
{
    WNDCLASSEXW known{};
    known.cbSize = sizeof(known);
    if (GetClassInfoExW(Instance(), kClassName, &known)) {
        if (known.lpfnWndProc == procedure) return true;
        // Left behind by a module that stood at this address before.
        UnregisterClassW(kClassName, Instance());
    }
    WNDCLASSEXW made{};
    made.cbSize = sizeof(made);
    // The ellipse depends on the whole size, so every change of it draws all anew.
    made.style = CS_DBLCLKS | CS_HREDRAW | CS_VREDRAW;
    made.lpfnWndProc = procedure;
    made.hInstance = Instance();
    made.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));  // the arrow
    made.lpszClassName = kClassName;
    return RegisterClassExW(&made) != 0;
}

ControlWindow* WindowOf(HWND window) noexcept
{
    return reinterpret_cast<ControlWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
}

}  // namespace

bool ControlWindow::Create(HWND parent) noexcept
{
    AcquireSRWLockExclusive(&g_registering);
    const bool registered = RegisterClassOnce(&Procedure);
    ReleaseSRWLockExclusive(&g_registering);
    if (!registered) return false;
    const HWND made = CreateWindowExW(0, kClassName, nullptr, WS_CHILD | WS_CLIPSIBLINGS | WS_CLIPCHILDREN, 0,
                                      0, 0, 0, parent, nullptr, Instance(), this);
    // A handler inside the creation may have destroyed the window again.
    return made && m_window == made;
}

bool ControlWindow::Ensure() noexcept { return m_window || Create(HWND_MESSAGE); }

// What happens inside SetParent and ShowWindow is the container's code as well: the window may be gone after
// either.
bool ControlWindow::MoveInto(HWND parent, const RECT& position, const RECT& clip) noexcept
{
    if (!m_window && !Create(parent)) return false;
    if (GetAncestor(m_window, GA_PARENT) != parent && !SetParent(m_window, parent)) return false;
    m_placed = true;
    Place(position, clip);
    ShowWindow(m_window, SW_SHOWNA);
    return m_window != nullptr;
}

void ControlWindow::Place(const RECT& position, const RECT& clip) noexcept
{
    if (!m_window) return;
    RECT seen{};
    IntersectRect(&seen, &position, &clip);
    HRGN region = nullptr;
    if (!EqualRect(&seen, &position))
        region = CreateRectRgn(seen.left - position.left, seen.top - position.top, seen.right - position.left,
                               seen.bottom - position.top);
    // The system owns the region from here on; none at all shows the whole window.
    SetWindowRgn(m_window, region, TRUE);
    SetWindowPos(m_window, nullptr, position.left, position.top, position.right - position.left,
                 position.bottom - position.top, SWP_NOZORDER | SWP_NOACTIVATE);
}

void ControlWindow::MoveOut() noexcept
{
    m_placed = false;
    if (!m_window) return;
    ShowWindow(m_window, SW_HIDE);
    if (m_window) SetParent(m_window, HWND_MESSAGE);
}

void ControlWindow::Destroy() noexcept
{
    // WM_NCDESTROY forgets the handle.
    const HWND window = m_window;
    if (!window || DestroyWindow(window)) return;
    // The last reference went on a thread that is not the window's: cut the window off, and let it go there.
    m_window = nullptr;
    SetWindowLongPtrW(window, GWLP_USERDATA, 0);
    PostMessageW(window, WM_CLOSE, 0, 0);
}

void ControlWindow::ForgetClass() noexcept { UnregisterClassW(kClassName, Instance()); }

// From its first message to its last the window runs this module's code, so it holds the module.
LRESULT ControlWindow::Begin(HWND window, LPARAM creation) noexcept
{
    // The system sends this once; anybody else may send it again, with anything.
    if (!creation || WindowOf(window)) return FALSE;
    auto* const self =
        static_cast<ControlWindow*>(reinterpret_cast<const CREATESTRUCTW*>(creation)->lpCreateParams);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    self->m_window = window;
    self->m_placed = false;
    LockModule();
    return DefWindowProcW(window, WM_NCCREATE, 0, creation);
}

// Nothing that the control or its page throws reaches the system below: a failing creation is told by -1, any
// other message counts as handled.
LRESULT CALLBACK ControlWindow::Procedure(HWND window, UINT message, WPARAM wide, LPARAM longer) noexcept
{
    if (message == WM_NCCREATE) return Begin(window, longer);
    if (message == WM_NCDESTROY) {
        if (ControlWindow* const self = WindowOf(window)) self->m_window = nullptr;
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        // The last message of the system; sent by anybody else, it is the last for this module all the same,
        // which may be gone when the window still is there.
        SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&DefWindowProcW));
        UnlockModule();
        return DefWindowProcW(window, message, wide, longer);
    }
    ControlWindow* const self = WindowOf(window);
    if (!self) return DefWindowProcW(window, message, wide, longer);

    // A page may drop the control inside its handler.
    const ComPtr<IUnknown> alive(self->m_control.InnerUnknown());
    LRESULT answer = 0;
    if (Guarded([&] { answer = self->Handle(message, wide, longer); })) return answer;
    return message == WM_CREATE ? -1 : 0;
}

LRESULT ControlWindow::Handle(UINT message, WPARAM wide, LPARAM longer)
{
    switch (message) {
        case WM_CREATE:
            return m_control.OnCreate(m_window, wide, longer);
        case kDeviceChangeMessage:
            m_control.OnDeviceChange();
            return 0;
        case WM_PAINT:
            Paint();
            return 0;
        case WM_ERASEBKGND:
            return 1;  // the drawing fills the whole window
        case WM_MOUSEACTIVATE:
            // A click takes the focus, and the container must hear of that first.
            m_control.InPlace().ActivateUi();
            break;
        case WM_SETFOCUS:
        case WM_KILLFOCUS:
            m_control.TellFocus(message == WM_SETFOCUS);
            break;
    }
    return DefWindowProcW(m_window, message, wide, longer);
}

void ControlWindow::Paint()
{
    PAINTSTRUCT paint{};
    const HDC context = BeginPaint(m_window, &paint);
    if (!context) return;
    RECT bounds{};
    GetClientRect(m_window, &bounds);
    DrawControl(context, bounds);
    EndPaint(m_window, &paint);
}

}  // namespace kzr
