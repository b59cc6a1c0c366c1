#include "ShownTexts.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace kzr::test {
namespace {

// A letter in both pages that have a table: null where the page's byte would depend on the platform's taste.
struct Letter {
    wchar_t unit;
    const char* western;
    const char* chinese;
};

constexpr Letter kLetters[] = {
    {L'\x20AC', "\x80", "\x80"},
    {L'\x00E9', "\xE9", "\xA8\xA6"},
    {L'\x00FC', "\xFC", "\xA8\xB9"},
    {L'\x00FF', "\xFF", nullptr},
    {L'\x00A0', "\xA0", nullptr},
    {L'\x2026', "\x85", "\xA1\xAD"},
    {L'\x201C', "\x93", "\xA1\xB0"},
    {L'\x4E2D', "?", "\xD6\xD0"},
    {L'\x6587', "?", "\xCE\xC4"},
    // Their second bytes are a letter's or a backslash's.
    {L'\x4E02', "?", "\x81\x40"},
    {L'\x8AA0', "?", "\xD5\\"},
    {L'\xFF01', nullptr, "\xA3\xA1"},
    // Halves of pairs.
    {L'\xD83D', "?", "?"},
    {L'\xDD11', "?", "?"},
    {L'\xDBFF', "?", "?"},
    {L'\xDC00', "?", "?"},
};

constexpr std::wstring_view kPieces[] = {
    L"%s", L"%n",           L"%99999d", L"--",       L")",  L"), ",      L"param(s)(", L"\r\n",
    L"\n", L"\r",           L"\\",      L"/",        L"||", L"&&&",      L"c1/SN01",   L"[error] ",
    L"'",  L"\xD83D\xDD11", L"-1",      L"result()", L"\t", L"\x7F\x01",
};

constexpr std::size_t kLineBytes = 32768;

bool IsHigh(wchar_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLow(wchar_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

void AppendUtf8(std::string& narrow, std::uint32_t point)
{
    const auto rest = [&](int shift) { narrow += static_cast<char>(0x80 | (point >> shift & 0x3F)); };
    if (point < 0x80) {
        narrow += static_cast<char>(point);
    } else if (point < 0x800) {
        narrow += static_cast<char>(0xC0 | point >> 6);
        rest(0);
    } else if (point < 0x10000) {
        narrow += static_cast<char>(0xE0 | point >> 12);
        rest(6);
        rest(0);
    } else {
        narrow += static_cast<char>(0xF0 | point >> 18);
        rest(12);
        rest(6);
        rest(0);
    }
}

std::string ToUtf8(std::wstring_view wide)
{
    std::string narrow;
    for (std::size_t i = 0; i < wide.size(); ++i) {
        const wchar_t unit = wide[i];
        if (IsHigh(unit) && i + 1 < wide.size() && IsLow(wide[i + 1])) {
            AppendUtf8(narrow, 0x10000u + (static_cast<std::uint32_t>(unit - 0xD800) << 10) +
                                   static_cast<std::uint32_t>(wide[++i] - 0xDC00));
            continue;
        }
        // Half a pair cannot be said.
        AppendUtf8(narrow, IsHigh(unit) || IsLow(unit) ? 0xFFFD : unit);
    }
    return narrow;
}

const char* BytesOf(const Letter& letter, unsigned codePage)
{
    return codePage == 936 ? letter.chinese : letter.western;
}

}  // namespace

std::optional<std::string> NarrowByTable(std::wstring_view wide, unsigned codePage)
{
    if (codePage == 65001) return ToUtf8(wide);
    std::string narrow;
    for (const wchar_t unit : wide) {
        if (unit < 0x80) {
            narrow += static_cast<char>(unit);
            continue;
        }
        const auto letter = std::find_if(std::begin(kLetters), std::end(kLetters),
                                         [&](const Letter& one) { return one.unit == unit; });
        if (letter == std::end(kLetters) || !BytesOf(*letter, codePage)) return {};
        narrow += BytesOf(*letter, codePage);
    }
    return narrow;
}

std::wstring AnyShownText(std::mt19937& random, unsigned codePage)
{
    const auto any = [&](std::size_t limit) { return static_cast<std::size_t>(random() % limit); };
    std::wstring text;
    // Near the end of a line's room, where one byte decides whether it is written.
    if (any(30) == 0) text.assign(kLineBytes - any(400), L'x');
    if (any(200) == 0) text.assign(60000, L'y');
    for (std::size_t pieces = any(10) == 0 ? any(200) : any(8); pieces > 0; --pieces) {
        switch (any(12)) {
            case 0:
            case 1:
            case 2:
                text += kPieces[any(std::size(kPieces))];
                break;
            case 3:
                if (any(4) == 0) text += L'\0';
                break;
            case 4:
            case 5:
            case 6:
            case 7: {
                const Letter& letter = kLetters[any(std::size(kLetters))];
                if (codePage == 65001 || BytesOf(letter, codePage)) text += letter.unit;
                break;
            }
            default:
                text += static_cast<wchar_t>(1 + any(0x7F));
        }
    }
    return text;
}

}  // namespace kzr::test
