#include "server/WideText.h"

#include <limits>

#include "base/Failure.h"

namespace kzr::softkey {

std::string Utf8Of(std::wstring_view text)
{
    if (text.empty()) return {};
    if (text.size() > std::numeric_limits<int>::max() / 4)
        throw Failure(Cause::BadArgument, "the text is too long");
    const int length = static_cast<int>(text.size());
    const int size =
        WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), length, nullptr, 0, nullptr, nullptr);
    if (size <= 0) throw Failure(Cause::BadArgument, "the text is not UTF-16");
    std::string utf8(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), length, utf8.data(), size, nullptr,
                        nullptr);
    return utf8;
}

Bstr WideOf(std::string_view utf8)
{
    if (utf8.empty()) return Bstr(std::wstring_view(L""));
    if (utf8.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw Failure(Cause::BadData, "the text is too long");
    const int size = static_cast<int>(utf8.size());
    const int length = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), size, nullptr, 0);
    if (length <= 0) throw Failure(Cause::BadData, "the bytes are not a text");
    Bstr text = Bstr::Adopt(SysAllocStringLen(nullptr, static_cast<UINT>(length)));
    if (!text.Get()) throw ComError(E_OUTOFMEMORY);
    MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), size, text.Get(), length);
    return text;
}

}  // namespace kzr::softkey
