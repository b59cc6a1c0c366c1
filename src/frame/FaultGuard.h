// The guard around everything that callers from outside can enter: nothing leaves it but an answer.
#pragma once

#include <windows.h>

#include <type_traits>

#include "fault/Frames.h"

namespace kzr {

// Runs `thunk`; false when an exception of any kind or a processor fault ended it, with the HRESULT that
// stands for it in `caught` (E_OUTOFMEMORY, a ComError's own, else E_FAIL). All locks taken inside are free
// again then.
bool RunGuarded(Thunk thunk, void* context, HRESULT& caught) noexcept;

template <class Body>
bool Guarded(Body&& body, HRESULT& caught) noexcept
{
    return RunGuarded([](void* context) { (*static_cast<std::remove_reference_t<Body>*>(context))(); }, &body,
                      caught);
}

template <class Body>
bool Guarded(Body&& body) noexcept
{
    HRESULT ignored = S_OK;
    return Guarded(body, ignored);
}

// A body that answers an HRESULT, as one function for whoever runs it.
using ResultThunk = HRESULT (*)(void* context);

template <class Body>
constexpr ResultThunk ResultThunkOf =
    [](void* context) -> HRESULT { return (*static_cast<Body*>(context))(); };

// Runs such a body; what it throws becomes the answer.
HRESULT RunGuardedResult(ResultThunk thunk, void* context) noexcept;

template <class Body>
HRESULT GuardedResult(Body&& body) noexcept
{
    return RunGuardedResult(ResultThunkOf<std::remove_reference_t<Body>>, &body);
}

}  // namespace kzr
