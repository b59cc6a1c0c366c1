// How a class states its interfaces in one line: compares, casts and adds the reference, nothing by hand.
#pragma once

#include <windows.h>
#include <unknwn.h>

namespace kzr {

// One interface that an object answers to, already cast to its own table.
struct InterfaceEntry {
    const IID* iid;
    IUnknown* pointer;
};

// Finds `iid` among `entries`, adds the reference and stores it; E_NOINTERFACE with null otherwise.
template <int N>
HRESULT AnswerInterface(const InterfaceEntry (&entries)[N], REFIID iid, void** object) noexcept
{
    if (!object) return E_POINTER;
    *object = nullptr;
    for (const InterfaceEntry& entry : entries) {
        if (!IsEqualIID(*entry.iid, iid)) continue;
        entry.pointer->AddRef();
        *object = entry.pointer;
        return S_OK;
    }
    return E_NOINTERFACE;
}

}  // namespace kzr
