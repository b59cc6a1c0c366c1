#include "server/EventWindow.h"

#include "com/Error.h"
#include "com/ModulePath.h"

namespace kzr::softkey {
namespace {

constexpr wchar_t kClassName[] = L"KzrSoftKeyEvents";
constexpr UINT kDeliver = WM_APP;

// Of two apartments that make their first windows at once, one could find the class taken and not there yet.
Mutex g_registering;

void EnsureClass(WNDPROC procedure)
{
    const Hold held(g_registering);
    WNDCLASSEXW made{};
    made.cbSize = sizeof(made);
    made.lpfnWndProc = procedure;
    made.hInstance = reinterpret_cast<HINSTANCE>(ThisModule());
    made.lpszClassName = kClassName;
    if (!RegisterClassExW(&made) && GetLastError() != ERROR_CLASS_ALREADY_EXISTS)
        throw ComError(HRESULT_FROM_WIN32(GetLastError()));
}

}  // namespace

std::shared_ptr<EventWindow> EventWindow::Create(EventReceiver& receiver)
{
    EnsureClass(&EventWindow::Procedure);
    const std::shared_ptr<EventWindow> made(new EventWindow(receiver));
    made->m_window = CreateWindowExW(0, kClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                     reinterpret_cast<HINSTANCE>(ThisModule()), nullptr);
    if (!made->m_window) throw ComError(HRESULT_FROM_WIN32(GetLastError()));
    made->m_thread = GetCurrentThreadId();
    made->m_ofWindow = made;
    SetWindowLongPtrW(made->m_window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(made.get()));
    return made;
}

void EventWindow::ForgetClass() noexcept
{
    UnregisterClassW(kClassName, reinterpret_cast<HINSTANCE>(ThisModule()));
}

void EventWindow::Tell(const PlugEvent& event)
{
    {
        const Hold held(m_lock);
        if (!m_receiver || m_waiting.size() >= kMostWaiting) return;
        m_waiting.push_back(event);
    }
    if (IsStillThere()) PostMessageW(m_window, kDeliver, 0, 0);
}

bool EventWindow::IsStillThere() const noexcept
{
    return GetWindowThreadProcessId(m_window, nullptr) == m_thread &&
           GetWindowLongPtrW(m_window, GWLP_USERDATA) == reinterpret_cast<LONG_PTR>(this);
}

void EventWindow::Close() noexcept
{
    {
        const Hold held(m_lock);
        m_receiver = nullptr;
        m_waiting.clear();
    }
    if (!IsStillThere())
        m_ofWindow.reset();
    else if (GetCurrentThreadId() == m_thread)
        DestroyWindow(m_window);
    else
        PostMessageW(m_window, WM_CLOSE, 0, 0);  // another thread's window can only be asked to go
}

LRESULT CALLBACK EventWindow::Procedure(HWND window, UINT message, WPARAM first, LPARAM second) noexcept
{
    auto* const self = reinterpret_cast<EventWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self && message == kDeliver) {
        const std::shared_ptr<EventWindow> alive = self->m_ofWindow;
        try {
            self->Deliver();
        } catch (...) {
            // Without memory an event is lost; the next one is not.
        }
        return 0;
    }
    if (self && message == WM_NCDESTROY) {
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        const std::shared_ptr<EventWindow> last = std::move(self->m_ofWindow);
    }
    return DefWindowProcW(window, message, first, second);
}

void EventWindow::Deliver()
{
    EventReceiver* receiver = nullptr;
    std::deque<PlugEvent> events;
    {
        const Hold held(m_lock);
        if (m_receiver && m_receiver->KeepForEvents()) receiver = m_receiver;
        events.swap(m_waiting);
    }
    if (!receiver) return;
    const auto release = [](EventReceiver* kept) { kept->ReleaseForEvents(); };
    const std::unique_ptr<EventReceiver, decltype(release)> kept(receiver, release);
    for (const PlugEvent& event : events) receiver->OnPlugEvent(event);
}

}  // namespace kzr::softkey
