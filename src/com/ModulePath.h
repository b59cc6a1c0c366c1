// The component's own module, its handle and its file; and the file of any other.
#pragma once

#include <windows.h>

#include <string>

extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace kzr {

inline HMODULE ThisModule() noexcept { return reinterpret_cast<HMODULE>(&__ImageBase); }

// A module's full path, of any length; the host program's for null. Empty when the system does not tell.
inline std::wstring ModulePath(HMODULE module = ThisModule())
{
    for (std::wstring path(MAX_PATH, L'\0'); path.size() <= 32768; path.resize(path.size() * 2)) {
        const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) return {};
        if (length < path.size()) return path.substr(0, length);
    }
    return {};
}

}  // namespace kzr
