// The way of events from the watcher's thread to the apartment that made a control: a message-only window of
// that thread. What is told to it waits in a queue until the thread looks at its messages.
#pragma once

#include <windows.h>

#include <deque>
#include <memory>

#include "com/ModuleCount.h"
#include "server/Mutex.h"
#include "store/Watcher.h"

namespace kzr::softkey {

// Who gets the events, on the thread that made the window.
class EventReceiver {
  public:
    // False when it is being destroyed; otherwise it lives until ReleaseForEvents.
    virtual bool KeepForEvents() noexcept = 0;
    virtual void ReleaseForEvents() noexcept = 0;
    virtual void OnPlugEvent(const PlugEvent& event) = 0;

  protected:
    ~EventReceiver() = default;
};

class EventWindow {
  public:
    // On the thread that shall get the events. Throws ComError when no window can be made.
    static std::shared_ptr<EventWindow> Create(EventReceiver& receiver);
    // For the module's end: windows of the class are gone by then.
    static void ForgetClass() noexcept;

    // On any thread.
    void Tell(const PlugEvent& event);
    // On any thread: nothing reaches the receiver that has not begun to.
    void Close() noexcept;

    EventWindow(const EventWindow&) = delete;
    EventWindow& operator=(const EventWindow&) = delete;

  private:
    // Queues hold no more than this: who never looks at messages must not fill the memory.
    static constexpr std::size_t kMostWaiting = 1024;

    explicit EventWindow(EventReceiver& receiver) noexcept : m_receiver(&receiver) {}
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM first, LPARAM second) noexcept;
    void Deliver();
    // With its thread a window goes without a word, and its handle may be another's then.
    bool IsStillThere() const noexcept;

    Mutex m_lock;
    EventReceiver* m_receiver;
    std::deque<PlugEvent> m_waiting;
    HWND m_window = nullptr;
    DWORD m_thread = 0;
    // The window's own share of this object.
    std::shared_ptr<EventWindow> m_ofWindow;
    ModuleReference m_module;
};

}  // namespace kzr::softkey
