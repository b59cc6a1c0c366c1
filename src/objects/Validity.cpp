// Reads dates as leniently as the callers have always known it, and refuses the moments that the platform's
// own conversion refuses, the same ones everywhere.
#include "objects/Validity.h"

namespace kzr {
namespace {

// The last moment that the platform's conversion knows: eight hours into the year 3001 of universal time.
constexpr long long kLastMoment = 0x793406fffLL;
constexpr int kFirstYear = 1900;
constexpr long long kSecondsPerDay = 86400;

bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// As atoi reads a text of its own: leading blanks, a sign, digits up to the first other character, 0 if
// there are none. No field is long enough to overflow.
int LeadingNumber(std::string_view text)
{
    std::size_t i = 0;
    while (i < text.size() && IsBlank(text[i])) {
        ++i;
    }
    bool negative = false;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
        negative = text[i] == '-';
        ++i;
    }
    int value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        value = value * 10 + (text[i] - '0');
    }
    return negative ? -value : value;
}

bool IsBetween(int value, int lowest, int highest) { return value >= lowest && value <= highest; }

bool IsCalendarTime(const CalendarTime& t)
{
    return t.year >= kFirstYear && IsBetween(t.month, 1, 12) && IsBetween(t.day, 1, 31) &&
           IsBetween(t.hour, 0, 23) && IsBetween(t.minute, 0, 59) && IsBetween(t.second, 0, 59);
}

}  // namespace

const char* ValidityError::what() const noexcept
{
    switch (m_kind) {
        case Kind::kInvalidArgument:
            return "the date has no local time";
        case Kind::kOutOfRange:
            return "the date is too short";
        case Kind::kUnspecified:
            break;
    }
    return "the date is not in the calendar";
}

long long PlatformLocalTime(std::tm& fields)
{
#ifdef _WIN32
    return _mktime64(&fields);
#else
    return std::mktime(&fields);
#endif
}

std::optional<CalendarTime> ParseReferenceDate(std::string_view text)
{
    if (text.size() != 10 || text[4] != '/' || text[7] != '/') {
        return std::nullopt;
    }
    const CalendarTime time{LeadingNumber(text.substr(0, 4)),
                            LeadingNumber(text.substr(5, 2)),
                            LeadingNumber(text.substr(8, 2)),
                            23,
                            59,
                            59};
    // The day is not held against the month, and the year is judged later, as a failure of its own.
    if (!IsBetween(time.month, 1, 12) || !IsBetween(time.day, 1, 31)) {
        return std::nullopt;
    }
    return time;
}

CalendarTime ParseExpiry(std::string_view text)
{
    if (text.size() < 12) {
        throw ValidityError(ValidityError::Kind::kOutOfRange);
    }
    return {LeadingNumber(text.substr(0, 4)),  LeadingNumber(text.substr(4, 2)),
            LeadingNumber(text.substr(6, 2)),  LeadingNumber(text.substr(8, 2)),
            LeadingNumber(text.substr(10, 2)), LeadingNumber(text.substr(12, 2))};
}

long long ToMoment(const CalendarTime& local, LocalTimeConversion convert)
{
    if (!IsCalendarTime(local)) {
        throw ValidityError(ValidityError::Kind::kUnspecified);
    }
    std::tm fields{};
    fields.tm_year = local.year - 1900;
    fields.tm_mon = local.month - 1;
    fields.tm_mday = local.day;
    fields.tm_hour = local.hour;
    fields.tm_min = local.minute;
    fields.tm_sec = local.second;
    fields.tm_isdst = -1;
    const long long moment = convert(fields);
    // Some C libraries go on where the platform's own has no local time: before 1970, after 3000.
    if (moment < 0 || moment > kLastMoment) {
        throw ValidityError(ValidityError::Kind::kInvalidArgument);
    }
    return moment;
}

long long CurrentMoment()
{
#ifdef _WIN32
    return _time64(nullptr);
#else
    return std::time(nullptr);
#endif
}

short WholeDaysBetween(long long reference, long long expiry)
{
    // Callers expect the low 16 bits of a longer count.
    return static_cast<short>((expiry - reference) / kSecondsPerDay);
}

std::wstring DateWithSlashes(std::wstring_view text)
{
    const auto part = [text](std::size_t from, std::size_t length) {
        return from < text.size() ? text.substr(from, length) : std::wstring_view();
    };
    return std::wstring(part(0, 4)).append(L"/").append(part(4, 2)).append(L"/").append(part(6, 2));
}

}  // namespace kzr
