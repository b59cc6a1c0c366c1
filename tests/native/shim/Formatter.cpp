// The platform's formatter, for the log line's fuzzer.
#include <windows.h>

#include <cstdio>
#include <vector>

int _vsnprintf(char* buffer, std::size_t size, const char* format, va_list arguments)
{
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length < 0) return -1;
    std::vector<char> whole(static_cast<std::size_t>(length) + 1);
    vsnprintf(whole.data(), whole.size(), format, arguments);
    const bool fits = static_cast<std::size_t>(length) <= size;
    std::memcpy(buffer, whole.data(), fits ? std::min(whole.size(), size) : size);
    return fits ? length : -1;
}
