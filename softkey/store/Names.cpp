// Names, and the file names that stand for them.
#include "store/Names.h"

#include <algorithm>

#include "base/Base64.h"
#include "base/Failure.h"
#include "crypto/Digest.h"

namespace kzr::softkey {
namespace {

constexpr std::size_t kLongestSerialNumber = 64;
constexpr std::size_t kLongestCoded = 60;

bool IsSmallOrDigit(char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); }
char Small(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), Small);
    return text;
}

bool IsDeviceName(const std::string& lower)
{
    if (lower == "con" || lower == "prn" || lower == "aux" || lower == "nul") return true;
    return lower.size() == 4 && (lower.starts_with("com") || lower.starts_with("lpt")) && lower[3] >= '0' &&
           lower[3] <= '9';
}

// The length of the UTF-8 character at the text's beginning; 0 for what is none.
std::size_t CharacterLength(std::string_view text)
{
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned first = byte(0);
    if (first < 0x80) return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
    for (std::size_t at = 1; at < length; ++at) {
        if ((byte(at) & 0xC0) != 0x80) return 0;
    }
    // Over-long forms, surrogates, and what is beyond the last character.
    const unsigned second = byte(1);
    if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
        (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F))
        return 0;
    return length;
}

}  // namespace

bool IsSerialNumber(std::string_view text)
{
    const auto allowed = [](char c) { return IsSmallOrDigit(Small(c)) || c == '-' || c == '_'; };
    return !text.empty() && text.size() <= kLongestSerialNumber &&
           std::all_of(text.begin(), text.end(), allowed) && !IsDeviceName(Lower(std::string(text)));
}

void CheckSerialNumber(std::string_view text)
{
    if (IsSerialNumber(text)) return;
    throw Failure(Cause::BadArgument,
                  "a serial number is 1 to 64 letters, digits, '-' and '_', and no device name such as COM1");
}

bool IsPlainText(std::string_view text)
{
    while (!text.empty()) {
        const std::size_t length = CharacterLength(text);
        if (length == 0) return false;
        if (length == 1 && (static_cast<unsigned char>(text[0]) < 0x20 || text[0] == 0x7F)) return false;
        text.remove_prefix(length);
    }
    return true;
}

void CheckListedName(std::string_view text, std::size_t limit, const char* what)
{
    if (!text.empty() && text.size() <= limit && IsPlainText(text) &&
        text.find_first_of("|&;") == std::string_view::npos)
        return;
    throw Failure(Cause::BadArgument, std::string(what) + " is 1 to " + std::to_string(limit) +
                                          " bytes of text without control characters, '|', '&' and ';'");
}

void CheckContainerName(std::string_view text)
{
    CheckListedName(text, 64, "a container's name");
    if (text.find('/') == std::string_view::npos) return;
    throw Failure(Cause::BadArgument, "a container's name has no '/': lists put one behind it");
}

void CheckUserName(std::string_view text) { CheckListedName(text, 128, "a user's name"); }

std::string FileNameFor(std::string_view name)
{
    std::string coded = "-";
    for (const char c : name) {
        if (IsSmallOrDigit(c) || c == '-' || c == '_') {
            coded += c;
        } else {
            coded += '%' + Lower(HexUpper(ViewOf({&c, 1})));
        }
    }
    if (coded.size() <= kLongestCoded) return coded;
    // No short name begins like this.
    return "=" + Lower(HexUpper(View(Digest(HashCode::Sha256, ViewOf(name))).first(20)));
}

}  // namespace kzr::softkey
