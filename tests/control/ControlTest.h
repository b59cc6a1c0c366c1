// The fixture of the control's tests: a component test that knows the control's interfaces, its lines and its
// window.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <ocidl.h>
#include <olectl.h>
#include <oleidl.h>

#include "Container.h"
#include "KzrSecX_h.h"
#include "support/ComponentTest.h"

namespace kzr::test {

template <class Wanted>
ComPtr<Wanted> As(IUnknown* object)
{
    void* found = nullptr;
    EXPECT_EQ(S_OK, object->QueryInterface(__uuidof(Wanted), &found));
    return ComPtr<Wanted>::Adopt(static_cast<Wanted*>(found));
}
template <class Wanted, class Have>
ComPtr<Wanted> As(const ComPtr<Have>& object)
{
    return As<Wanted>(object.Get());
}

class ControlTest : public ComponentTest {
  public:
    using ComponentTest::ComponentTest;

    ComPtr<IDispatch> MakeControl() { return Make(kControl); }

    // The control's window; null when it has none.
    static HWND WindowOf(IUnknown* control);
    static bool IsMessageOnly(HWND window);
    static HRESULT DoVerb(IUnknown* control, LONG verb, HWND parent = nullptr);
    static void SetSite(IUnknown* control, IOleClientSite* site);

    static DWORD Connect(IUnknown* control, IUnknown* sink);
    static HRESULT Disconnect(IUnknown* control, DWORD cookie);
    static ComPtr<IConnectionPoint> EventPoint(IUnknown* control);

    // The lines (and calls) of one window's making, with the user list empty: the first holder of the backend
    // makes it, a later one only counts.
    static LogSteps StepsOfOnCreate(int references = 1);
    static LogSteps StepsOfConstruction();
    // With the backend's end when this was the last holder; -1 when the control never had a reference.
    static LogSteps StepsOfDestruction(int references = 0);
};

LogSteps operator+(LogSteps left, const LogSteps& right);

}  // namespace kzr::test
