// The platform's wide text, for the rooms that speak with it; inside, text is UTF-8.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "base/Bytes.h"

namespace kzr::softkey {

// What is no valid text becomes replacement characters.
inline std::wstring ToWide(std::string_view utf8)
{
    const int size = static_cast<int>(utf8.size());
    const int length = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(length), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, wide.data(), length);
    return wide;
}

// The same for a secret, whose every copy is wiped.
inline Secret ToSecret(std::wstring_view wide)
{
    const int size = static_cast<int>(wide.size());
    const int length = WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, nullptr, 0, nullptr, nullptr);
    Secret utf8(static_cast<std::size_t>(length));
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, reinterpret_cast<char*>(utf8.data()), length, nullptr,
                        nullptr);
    return utf8;
}

inline std::string ToUtf8(std::wstring_view wide)
{
    const int size = static_cast<int>(wide.size());
    const int length = WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, utf8.data(), length, nullptr, nullptr);
    return utf8;
}

}  // namespace kzr::softkey
