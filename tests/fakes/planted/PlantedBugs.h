// What PlantedBugs.dll does wrong on purpose, by the number of the method: each detector of the hardening
// tests must find its bug here before its silence about the component counts for anything.
#pragma once

#include <windows.h>

#include <oaidl.h>

namespace kzr::planted {

enum class Bug : DISPID {
    None = 1,
    HeapLeak,
    TextLeak,
    HandleLeak,
    SlotLeak,
    WindowLeak,
    OverRead,  // one character beyond the end of its text; a guard hides the fault
    Hang,
    Throw,        // a C++ exception that leaves the call
    LostLock,     // taken and not given back
    HiddenFault,  // caught inside and answered with success
    FaultAtEnd    // not in the call, but when the process ends
};

// The DLL's only export.
using MakePlanted = HRESULT (*)(IDispatch** object);

}  // namespace kzr::planted
