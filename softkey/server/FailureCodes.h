// From exceptions to HRESULTs: every cause has a code of its own, which docs/softkey-methods.md explains.
#pragma once

#include <windows.h>

#include <new>

#include "base/Failure.h"
#include "com/Error.h"
#include "fault/Frames.h"

namespace kzr::softkey {

// Interface codes begin at 0x200; those below are the system's.
constexpr HRESULT InterfaceFailure(int number)
{
    return MAKE_HRESULT(SEVERITY_ERROR, FACILITY_ITF, 0x200 + number);
}

inline constexpr HRESULT kUnknownKey = InterfaceFailure(1);
inline constexpr HRESULT kUnknownContainer = InterfaceFailure(2);
inline constexpr HRESULT kNotLoggedIn = InterfaceFailure(3);
inline constexpr HRESULT kLocked = InterfaceFailure(4);
inline constexpr HRESULT kBadArgument = InterfaceFailure(5);
inline constexpr HRESULT kBadData = InterfaceFailure(6);
inline constexpr HRESULT kCryptoFailed = InterfaceFailure(7);
inline constexpr HRESULT kFileFailed = InterfaceFailure(8);
inline constexpr HRESULT kUnsupported = InterfaceFailure(9);
// Only of registration: another server holds the class.
inline constexpr HRESULT kClassHeld = InterfaceFailure(10);

constexpr HRESULT CodeOf(Cause cause)
{
    switch (cause) {
        case Cause::UnknownKey:
            return kUnknownKey;
        case Cause::UnknownContainer:
            return kUnknownContainer;
        case Cause::NotLoggedIn:
            return kNotLoggedIn;
        case Cause::Locked:
            return kLocked;
        case Cause::BadArgument:
            return kBadArgument;
        case Cause::BadData:
            return kBadData;
        case Cause::Crypto:
            return kCryptoFailed;
        case Cause::File:
            return kFileFailed;
        case Cause::Unsupported:
            return kUnsupported;
    }
    return E_UNEXPECTED;
}

// Runs what stands behind an entry of the server: no exception leaves it.
template <class Work>
HRESULT AtBoundary(Work&& work) noexcept
{
    try {
        return work();
    } catch (const Failure& failure) {
        return CodeOf(failure.Why());
    } catch (const ComError& error) {
        return error.Result();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

}  // namespace kzr::softkey
