// The control's window: its class, its creation, its move between containers, its procedure. What a message
// means is the control's business.
//
// Backend events reach the control as posted messages, so there is a window from the first moment on:
// message-only at first, moved below the container's window while the control is active in place, and moved
// back afterwards. The handle stays the same all the way, and so no posted event is lost.
#pragma once

#include <windows.h>

namespace kzr {

class CUSBKeyPnPActiveXCtrl;

class ControlWindow {
  public:
    explicit ControlWindow(CUSBKeyPnPActiveXCtrl& control) noexcept : m_control(control) {}
    ControlWindow(const ControlWindow&) = delete;
    ControlWindow& operator=(const ControlWindow&) = delete;
    ~ControlWindow() { Destroy(); }

    // Null when there is none, also after somebody else has destroyed it.
    HWND Get() const noexcept { return m_window; }

    // Whether it stands in a container's window.
    bool IsPlaced() const noexcept { return m_window && m_placed; }

    // Makes sure of a window, message-only when it has to be made. False when none could be made.
    bool Ensure() noexcept;
    // Puts the window (made when needed) below a container's window and shows it.
    bool MoveInto(HWND parent, const RECT& position, const RECT& clip) noexcept;
    void Place(const RECT& position, const RECT& clip) noexcept;
    // Back to the message-only parent, unseen.
    void MoveOut() noexcept;
    void Destroy() noexcept;

    // For module shut-down only.
    static void ForgetClass() noexcept;

  private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wide, LPARAM longer) noexcept;
    static LRESULT Begin(HWND window, LPARAM creation) noexcept;
    LRESULT Handle(UINT message, WPARAM wide, LPARAM longer);
    void Paint();
    bool Create(HWND parent) noexcept;

    CUSBKeyPnPActiveXCtrl& m_control;
    HWND m_window = nullptr;
    bool m_placed = false;
};

}  // namespace kzr
