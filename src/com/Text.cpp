#include "com/Text.h"

namespace kzr {
namespace {

std::string ToAnsi(const wchar_t* wide, int length)
{
    if (length <= 0) return {};
    const int size = WideCharToMultiByte(CP_ACP, 0, wide, length, nullptr, 0, nullptr, nullptr);
    if (size <= 0) return {};
    std::string narrow(static_cast<std::size_t>(size), '\0');
    const int made = WideCharToMultiByte(CP_ACP, 0, wide, length, narrow.data(), size, nullptr, nullptr);
    return made == size ? narrow : std::string();
}

std::wstring ToWide(UINT codePage, const char* narrow)
{
    // Counts include the terminator.
    const int size = narrow ? MultiByteToWideChar(codePage, 0, narrow, -1, nullptr, 0) : 0;
    if (size <= 1) return {};
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    const int made = MultiByteToWideChar(codePage, 0, narrow, -1, wide.data(), size);
    if (made != size) return {};
    wide.pop_back();
    return wide;
}

}  // namespace

std::string BstrToString(BSTR wide)
{
    return wide ? ToAnsi(wide, static_cast<int>(SysStringLen(wide))) : std::string();
}

std::string BstrToString(std::wstring_view wide)
{
    return ToAnsi(wide.data(), static_cast<int>(wide.size()));
}

std::wstring StringToWide(const char* narrow) { return ToWide(CP_THREAD_ACP, narrow); }

std::wstring SystemTextToWide(const char* narrow) { return ToWide(CP_ACP, narrow); }

std::wstring LowerAscii(std::wstring text)
{
    for (wchar_t& c : text)
        if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
    return text;
}

}  // namespace kzr
