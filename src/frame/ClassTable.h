// The classes that the module hands out, in one table: finding a class object, registering and unregistering
// all walk it. How a class is made is its own room's affair.
#pragma once

#include <windows.h>
#include <unknwn.h>

#include <span>

namespace kzr {

enum class Registering {
    ByScript,    // a script of the module's resources names every key
    AsControl,   // the standard keys of an ActiveX control
    AsPropPage,  // the standard keys of a property page
};

struct ClassEntry {
    const CLSID* clsid;
    const wchar_t* versionIndependentProgId;  // null for a class that has none
    const wchar_t* progId;
    const wchar_t* description;  // null where a string resource holds it
    HRESULT (*create)(IUnknown* outer, REFIID iid, void** object);
    Registering registering;
    UINT resource;  // the script's number, or the description's
};

std::span<const ClassEntry> Classes() noexcept;

// Null for a class that is none of ours.
const ClassEntry* FindClass(REFCLSID clsid) noexcept;

}  // namespace kzr
