#include "com/Text.h"

namespace kzr {
namespace {

// What every page has at the same place needs no table.
bool AppendAscii(std::string& narrow, std::wstring_view wide)
{
    const std::size_t before = narrow.size();
    narrow.resize(before + wide.size());
    char* to = narrow.data() + before;
    unsigned seen = 0;
    for (const wchar_t unit : wide) {
        seen |= unit;
        *to++ = static_cast<char>(unit);
    }
    if (seen < 0x80) return true;
    narrow.resize(before);
    return false;
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

void AppendAnsi(std::string& narrow, std::wstring_view wide)
{
    const int length = static_cast<int>(wide.size());
    if (length <= 0 || AppendAscii(narrow, wide)) return;
    const int size = WideCharToMultiByte(CP_ACP, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
    if (size <= 0) return;
    const std::size_t before = narrow.size();
    narrow.resize(before + static_cast<std::size_t>(size));
    const int made =
        WideCharToMultiByte(CP_ACP, 0, wide.data(), length, narrow.data() + before, size, nullptr, nullptr);
    if (made != size) narrow.resize(before);
}

std::string BstrToString(BSTR wide)
{
    return wide ? BstrToString(std::wstring_view(wide, SysStringLen(wide))) : std::string();
}

std::string BstrToString(std::wstring_view wide)
{
    std::string narrow;
    AppendAnsi(narrow, wide);
    return narrow;
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
