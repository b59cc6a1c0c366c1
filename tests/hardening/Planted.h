// The planted bugs, called like the component.
#pragma once

#include <cstdlib>

#include "com/ComPtr.h"
#include "fakes/planted/PlantedBugs.h"
#include "support/Dispatch.h"

namespace kzr::test {

using planted::Bug;

// The object with the bugs; null, with a failed test, when its DLL is not there. The DLL stays loaded.
ComPtr<IDispatch> MakePlanted();

inline CallResult CallPlanted(IDispatch* object, Bug bug, const Values& arguments = {})
{
    return Call(object, static_cast<DISPID>(bug), arguments);
}

// A small block of this process.
inline void LeakABlock() { static_cast<volatile char*>(std::malloc(24))[0] = 1; }

}  // namespace kzr::test
