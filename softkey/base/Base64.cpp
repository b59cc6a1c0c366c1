// Base64 and hexadecimal digits. Decoding is strict: a sequence of bytes has exactly one text, so that what
// was signed or counted as text cannot come back in another spelling.
#include "base/Base64.h"

#include <algorithm>

#include "base/Failure.h"

namespace kzr::softkey {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kHexDigits[] = "0123456789ABCDEF";

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// -1 for what is no character of the alphabet.
int ValueOf(char c)
{
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    if (c == '+') return 62;
    return c == '/' ? 63 : -1;
}

[[noreturn]] void ThrowNotBase64(const char* why)
{
    throw Failure(Cause::BadData, std::string("the text is not Base64: ") + why);
}

}  // namespace

std::string Base64Encode(View bytes)
{
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::size_t have = std::min<std::size_t>(3, bytes.size() - at);
        std::uint32_t group = std::uint32_t{bytes[at]} << 16;
        if (have > 1) group |= std::uint32_t{bytes[at + 1]} << 8;
        if (have > 2) group |= bytes[at + 2];
        text += kAlphabet[group >> 18];
        text += kAlphabet[group >> 12 & 63];
        text += have > 1 ? kAlphabet[group >> 6 & 63] : '=';
        text += have > 2 ? kAlphabet[group & 63] : '=';
    }
    return text;
}

Bytes Base64Decode(std::string_view text)
{
    Bytes bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t group = 0;
    int digits = 0;
    int padding = 0;
    for (const char c : text) {
        if (IsBlank(c)) continue;
        if (c == '=') {
            ++padding;
            continue;
        }
        const int value = ValueOf(c);
        if (value < 0) ThrowNotBase64("a foreign character");
        if (padding > 0) ThrowNotBase64("characters after its end");
        group = group << 6 | static_cast<std::uint32_t>(value);
        if (++digits < 4) continue;
        bytes.push_back(static_cast<std::uint8_t>(group >> 16));
        bytes.push_back(static_cast<std::uint8_t>(group >> 8));
        bytes.push_back(static_cast<std::uint8_t>(group));
        group = 0;
        digits = 0;
    }
    if (digits == 0 ? padding != 0 : digits + padding != 4 || digits == 1) ThrowNotBase64("its length");
    // The last character's bits that no byte takes.
    if (digits == 2) {
        if ((group & 15) != 0) ThrowNotBase64("its last character");
        bytes.push_back(static_cast<std::uint8_t>(group >> 4));
    } else if (digits == 3) {
        if ((group & 3) != 0) ThrowNotBase64("its last character");
        bytes.push_back(static_cast<std::uint8_t>(group >> 10));
        bytes.push_back(static_cast<std::uint8_t>(group >> 2));
    }
    return bytes;
}

std::string HexUpper(View bytes)
{
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const std::uint8_t byte : bytes) {
        text += kHexDigits[byte >> 4];
        text += kHexDigits[byte & 15];
    }
    return text;
}

}  // namespace kzr::softkey
