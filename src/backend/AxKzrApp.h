// CAxKzrApp: the process's one connection to the backend control, and the one door for calls on it by name.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <memory>

#include "backend/Arguments.h"
#include "backend/CountedHost.h"
#include "backend/KzrAppEventSink.h"
#include "backend/KzrControlSite.h"
#include "com/ComPtr.h"
#include "com/Variant.h"

namespace kzr {

class CAxKzrApp final : public std::enable_shared_from_this<CAxKzrApp> {
  public:
    // The connection, made by the first holder; one more holder is counted. Null when it could not be made:
    // then nothing is counted and the next call tries again. The pointer keeps the memory alive, the count
    // the control.
    static std::shared_ptr<CAxKzrApp> Instance();

    // Gives one holder back; the last one's disconnects and releases the control. Harmless at count 0.
    static void Release();

    // Calls a backend method by its published name under the backend lock, with both call lines.
    //   args, argCount  the arguments in reversed order, as automation passes them
    //   result          receives the backend's answer; the caller's own, initialised
    // Answers the look-up's HRESULT when that failed, else the call's; E_FAIL after the instance's release.
    // Throws a `Fault` for whatever came out of the backend instead of an HRESULT.
    HRESULT InvokeMethod(const wchar_t* methodName, VARIANT* args, unsigned argCount, VARIANT* result);

    // The same with the arguments in the backend's own order: Call(L"SOF_Login", result, id, pin).
    template <class... Values>
    HRESULT Call(const wchar_t* methodName, Variant& result, const Values&... values)
    {
        static_assert(sizeof...(values) <= Arguments::kMost);
        const Argument list[sizeof...(values) + 1] = {Argument(values)..., Argument(L"")};
        return CallWith(methodName, result, list, sizeof...(values));
    }
    HRESULT CallWith(const wchar_t* methodName, Variant& result, const Argument* values, unsigned count);

    // Registers a window for the message 0x0401; `message` is ignored, as it always was.
    void AddEventListner(HWND window, UINT message);

    ~CAxKzrApp() = default;

  private:
    CAxKzrApp() noexcept = default;

    static std::shared_ptr<CAxKzrApp> Allocate() noexcept;
    static bool MakeInstance();
    static void Destroy(const std::shared_ptr<CAxKzrApp>& instance) noexcept;
    bool Connect();
    HRESULT LoadKzrAppControl();
    HRESULT LogQueryFailure(unsigned line);
    HRESULT Advise();
    void Disconnect() noexcept;
    HRESULT DispatchByName(const wchar_t* methodName, VARIANT* args, unsigned argCount, VARIANT* result);

    ForeignPtr<IDispatch> m_control;
    HostOwner<CKzrAppEventSink> m_eventSink;
    HostOwner<CKzrControlSite> m_controlSite;
    // Being made: what comes and goes meanwhile on this thread must not end it. Under the backend lock.
    bool m_connecting = false;
    bool m_loaded = false;
    bool m_advised = false;
    DWORD m_adviseCookie = 0;
};

}  // namespace kzr
