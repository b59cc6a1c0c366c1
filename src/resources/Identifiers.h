// The identifiers that stand outside the type library.
#pragma once

#include <windows.h>

namespace kzr {

// The property page serves the property frame and no script, so the type library does not list it.
inline constexpr CLSID kPropPageClsid = {
    0x904023D8, 0x3EB6, 0x4079, {0xB0, 0x62, 0x45, 0xC6, 0x80, 0x95, 0x68, 0x2E}};

inline constexpr wchar_t kAppId[] = L"{92A25D95-3963-45EF-895F-EA42B4DD37AA}";

inline constexpr unsigned short kLibraryMajor = 1;
inline constexpr unsigned short kLibraryMinor = 0;

// What a container may expect of the control: OLEMISC_SETCLIENTSITEFIRST, OLEMISC_ACTIVATEWHENVISIBLE,
// OLEMISC_INSIDEOUT, OLEMISC_CANTLINKINSIDE and OLEMISC_RECOMPOSEONRESIZE.
inline constexpr DWORD kControlMiscStatus = 0x20191;

}  // namespace kzr
