// What clients know the server by. The class and the event interface are the backend's own: whoever looks for
// a backend finds this one.
#pragma once

#include <windows.h>
#include <oaidl.h>

namespace kzr::softkey {

// {5D343B47-FDD0-4802-930B-EADDA0CE37D9}
inline constexpr CLSID kServerClass = {
    0x5D343B47, 0xFDD0, 0x4802, {0x93, 0x0B, 0xEA, 0xDD, 0xA0, 0xCE, 0x37, 0xD9}};

// {DFDABA17-D518-42A6-81DE-C90C8EC32BCF}
inline constexpr IID kEventsInterface = {
    0xDFDABA17, 0xD518, 0x42A6, {0x81, 0xDE, 0xC9, 0x0C, 0x8E, 0xC3, 0x2B, 0xCF}};

// Each event has one argument, the key's serial number.
inline constexpr DISPID kKeyPlugged = 1;
inline constexpr DISPID kKeyPulled = 2;

}  // namespace kzr::softkey
