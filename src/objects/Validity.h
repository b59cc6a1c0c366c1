// The date rules of the certificate object: reading its two date forms, turning them into moments of local
// time, counting days. Portable; the only thing taken from the platform is the C library's conversion of
// local time.
#pragma once

#include <ctime>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

namespace kzr {

// A date that cannot be worked with. It ends the method that met it.
class ValidityError : public std::exception {
  public:
    enum class Kind {
        kUnspecified,      // a field that no calendar has
        kInvalidArgument,  // a date that the local-time conversion refuses
        kOutOfRange,       // a text too short to hold the fields
    };

    explicit ValidityError(Kind kind) noexcept : m_kind(kind) {}
    Kind Reason() const noexcept { return m_kind; }
    const char* what() const noexcept override;

  private:
    Kind m_kind;
};

struct CalendarTime {
    int year;
    int month;
    int day;
    int hour;
    int minute;
    int second;

    bool operator==(const CalendarTime&) const = default;
};

// Seconds since 1970 in universal time, or -1; normalises its argument as the C library's mktime does.
using LocalTimeConversion = long long (*)(std::tm&);
long long PlatformLocalTime(std::tm& fields);

// YYYY/MM/DD: the last second of that day, or nothing when the text is no such date.
std::optional<CalendarTime> ParseReferenceDate(std::string_view text);

// YYYYMMDDhhmmss, where the seconds may be missing and anything may follow.
CalendarTime ParseExpiry(std::string_view text);

// The moment of a local time, daylight saving decided by the system. 31 February is a day in March.
long long ToMoment(const CalendarTime& local, LocalTimeConversion convert = PlatformLocalTime);
long long CurrentMoment();

short WholeDaysBetween(long long reference, long long expiry);

// YYYYMMDD... as YYYY/MM/DD; a shorter text gives as much of each part as it has.
std::wstring DateWithSlashes(std::wstring_view text);

}  // namespace kzr
