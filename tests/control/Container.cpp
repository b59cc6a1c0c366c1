#include "Container.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "KzrSecX_h.h"

namespace kzr::test {

Container::~Container()
{
    EXPECT_EQ(Names(), m_calls) << "(calls of the container that no test expected)";
    EXPECT_EQ(0, m_references) << "references that the control has kept on its container";
}

Names Container::Take() { return std::exchange(m_calls, {}); }

HRESULT Container::Record(const char* name)
{
    m_calls.push_back(name);
    if (const auto run = during.find(name); run != during.end()) run->second();
    const auto answer = answers.find(name);
    return answer == answers.end() ? S_OK : answer->second;
}

STDMETHODIMP Container::QueryInterface(REFIID iid, void** object)
{
    *object = nullptr;
    const bool no =
        std::any_of(denied.begin(), denied.end(), [&](const IID& each) { return IsEqualIID(each, iid); });
    if (no) return E_NOINTERFACE;
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IOleClientSite))
        *object = static_cast<IOleClientSite*>(this);
    else if (IsEqualIID(iid, IID_IOleControlSite))
        *object = static_cast<IOleControlSite*>(this);
    else if (IsEqualIID(iid, IID_IOleInPlaceSite) || IsEqualIID(iid, IID_IOleWindow))
        *object = static_cast<IOleInPlaceSite*>(this);
    else
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

STDMETHODIMP Container::GetWindow(HWND* given)
{
    *given = window;
    return Record("GetWindow");
}

STDMETHODIMP Container::GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document,
                                         LPRECT place, LPRECT seen, LPOLEINPLACEFRAMEINFO info)
{
    EXPECT_EQ(sizeof(OLEINPLACEFRAMEINFO), info->cb);
    *document = nullptr;
    *frame = leftFrame;
    *place = position;
    *seen = clip;
    const HRESULT answer = Record("GetWindowContext");
    if (SUCCEEDED(answer)) {
        *frame = this;
        AddRef();
    }
    return answer;
}

// A popup needs no window manager.
TopWindow::TopWindow()
    : m_window(CreateWindowExW(WS_EX_TOOLWINDOW, L"STATIC", L"container",
                               WS_POPUP | WS_VISIBLE | WS_CLIPCHILDREN, 50, 50, 400, 300, nullptr, nullptr,
                               nullptr, nullptr))
{
    EXPECT_NE(nullptr, m_window) << "is there a display?";
}

TopWindow::~TopWindow() { Destroy(); }

void TopWindow::Destroy()
{
    if (HWND const gone = std::exchange(m_window, nullptr)) DestroyWindow(gone);
}

STDMETHODIMP EventSink::QueryInterface(REFIID iid, void** object)
{
    *object = nullptr;
    const bool known = IsEqualIID(iid, IID_IUnknown) || (knowsDispatch && IsEqualIID(iid, IID_IDispatch)) ||
                       (knowsEventSet && IsEqualIID(iid, DIID__DUSBKeyPnPActiveXEvents));
    if (!known) return E_NOINTERFACE;
    *object = this;
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) EventSink::Release()
{
    const long left = --m_references;
    if (left == 0 && onLastRelease) onLastRelease();
    return static_cast<ULONG>(left);
}

STDMETHODIMP EventSink::Invoke(DISPID id, REFIID iid, LCID, WORD flags, DISPPARAMS* parameters, VARIANT*,
                               EXCEPINFO*, UINT*)
{
    ++events;
    thread = GetCurrentThreadId();
    EXPECT_EQ(1, id);
    EXPECT_TRUE(IsEqualIID(iid, IID_NULL));
    EXPECT_EQ(DISPATCH_METHOD, flags);
    EXPECT_NE(nullptr, parameters);
    EXPECT_EQ(0u, parameters->cArgs);
    EXPECT_EQ(0u, parameters->cNamedArgs);
    return during ? during() : S_OK;
}

}  // namespace kzr::test
