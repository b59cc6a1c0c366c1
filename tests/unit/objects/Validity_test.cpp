// The date rules: what is read as a date, what is refused and how, and how days are counted.
#include "objects/Validity.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace kzr {
namespace {

using Kind = ValidityError::Kind;

// A conversion without zones: every field as it stands, in universal time, over the whole calendar.
long long Universal(std::tm& fields)
{
    long long year = fields.tm_year + 1900LL;
    long long month = fields.tm_mon + 1;
    if (month <= 2) {
        --year;
        month += 12;
    }
    const long long days = 365 * year + year / 4 - year / 100 + year / 400 + (153 * (month - 3) + 2) / 5 +
                           fields.tm_mday - 1 - 719468;
    return ((days * 24 + fields.tm_hour) * 60 + fields.tm_min) * 60 + fields.tm_sec;
}

long long Refusing(std::tm&) { return -1; }

// What a call ends in: a moment, or the kind of its error.
template <class Call>
std::optional<Kind> ErrorOf(Call&& call)
{
    try {
        call();
    } catch (const ValidityError& error) {
        return error.Reason();
    }
    return std::nullopt;
}

std::optional<Kind> MomentError(const CalendarTime& time, LocalTimeConversion convert = Universal)
{
    return ErrorOf([&] { ToMoment(time, convert); });
}

CalendarTime EndOf(int year, int month, int day) { return {year, month, day, 23, 59, 59}; }

TEST(ReferenceDate, IsTheLastSecondOfTheNamedDay)
{
    EXPECT_EQ(EndOf(2024, 1, 31), ParseReferenceDate("2024/01/31"));
    EXPECT_EQ(EndOf(2025, 12, 9), ParseReferenceDate("2025/12/09"));
}

TEST(ReferenceDate, WithOtherLengthsThanTenIsNone)
{
    const std::string date = "2024/01/3111111111111";
    for (std::size_t length = 0; length <= 20; ++length) {
        EXPECT_EQ(length == 10, ParseReferenceDate(date.substr(0, length)).has_value()) << length;
    }
    EXPECT_FALSE(ParseReferenceDate("2024/1/31"));
    EXPECT_FALSE(ParseReferenceDate("2024/01/031"));
}

TEST(ReferenceDate, NeedsBothSlashesInTheirPlaces)
{
    for (const char* text : {"2024-01-31", "2024/01-31", "2024-01/31", "2024.01.31", "01/31/2024",
                             "202/401/31", "2024/0131/", "/2024/01/1", "20240/1/31"}) {
        EXPECT_FALSE(ParseReferenceDate(text)) << text;
    }
}

TEST(ReferenceDate, TakesMonthsOneToTwelve)
{
    for (int month = 0; month <= 99; ++month) {
        char text[16];
        std::snprintf(text, sizeof text, "2024/%02d/01", month);
        EXPECT_EQ(month >= 1 && month <= 12, ParseReferenceDate(text).has_value()) << text;
    }
}

TEST(ReferenceDate, TakesDaysOneToThirtyOneInEveryMonth)
{
    for (int day = 0; day <= 99; ++day) {
        char text[16];
        std::snprintf(text, sizeof text, "2024/02/%02d", day);
        EXPECT_EQ(day >= 1 && day <= 31, ParseReferenceDate(text).has_value()) << text;
    }
    EXPECT_EQ(EndOf(2023, 4, 31), ParseReferenceDate("2023/04/31"));
}

TEST(ReferenceDate, ReadsLeadingDigitsAndZeroWithoutAny)
{
    EXPECT_EQ(EndOf(20, 1, 3), ParseReferenceDate("20x4/1x/3x"));
    EXPECT_EQ(EndOf(0, 1, 31), ParseReferenceDate("year/01/31"));
    EXPECT_FALSE(ParseReferenceDate("2024/xx/31"));
    EXPECT_FALSE(ParseReferenceDate("2024/x1/31"));
    EXPECT_FALSE(ParseReferenceDate("2024/01/xx"));
    EXPECT_FALSE(ParseReferenceDate(std::string("2024/01/\0001", 10)));
    // A digit of the neighbouring field is never read along.
    EXPECT_EQ(EndOf(2024, 1, 2), ParseReferenceDate("2024/01/02"));
}

TEST(ReferenceDate, SkipsLeadingBlanksAndReadsASign)
{
    EXPECT_EQ(EndOf(24, 1, 2), ParseReferenceDate("  24/ 1/ 2"));
    EXPECT_EQ(EndOf(24, 1, 2), ParseReferenceDate("\t\n24/+1/\r2"));
    EXPECT_EQ(EndOf(-24, 1, 2), ParseReferenceDate(" -24/01/02"));
    EXPECT_FALSE(ParseReferenceDate("2024/-1/02"));
    EXPECT_FALSE(ParseReferenceDate("2024/ -/02"));
    EXPECT_FALSE(
        ParseReferenceDate("2024/\xA0"
                           "1/02"));
}

TEST(ReferenceDate, LeavesTheYearToBeJudgedLater)
{
    for (const char* text : {"0000/01/01", "1800/01/01", "1899/12/31", "9999/12/31"}) {
        EXPECT_TRUE(ParseReferenceDate(text)) << text;
    }
}

TEST(Expiry, HasSixFieldsWithoutSeparators)
{
    EXPECT_EQ((CalendarTime{2024, 1, 31, 23, 59, 58}), ParseExpiry("20240131235958Z"));
    EXPECT_EQ((CalendarTime{2025, 1, 10, 12, 0, 0}), ParseExpiry("20250110120000"));
    EXPECT_EQ((CalendarTime{2025, 1, 10, 12, 0, 1}), ParseExpiry("20250110120001.5+0800 and more"));
    EXPECT_EQ((CalendarTime{2025, 1, 10, 12, 0, 1}), ParseExpiry("2025011012000199"));
}

TEST(Expiry, ShorterThanTwelveCharactersIsOutOfRange)
{
    const std::string text = "20251231235958Zzzzzz";
    for (std::size_t length = 0; length <= 20; ++length) {
        const auto error = ErrorOf([&] { ParseExpiry(text.substr(0, length)); });
        EXPECT_EQ(length < 12 ? std::optional(Kind::kOutOfRange) : std::nullopt, error) << length;
    }
    // Whatever the fields hold.
    EXPECT_EQ(Kind::kOutOfRange, ErrorOf([] { ParseExpiry("17009999"); }));
}

TEST(Expiry, MayLackItsSeconds)
{
    EXPECT_EQ((CalendarTime{2025, 12, 31, 23, 59, 0}), ParseExpiry("202512312359"));
    EXPECT_EQ((CalendarTime{2025, 12, 31, 23, 59, 5}), ParseExpiry("2025123123595"));
    EXPECT_EQ((CalendarTime{2025, 12, 31, 23, 59, 0}), ParseExpiry("202512312359Z"));
}

TEST(Expiry, ReadsEachFieldByItsLeadingDigits)
{
    EXPECT_EQ((CalendarTime{20, 1, 2, 3, 4, 5}), ParseExpiry("20zz 1+23x 45 "));
    EXPECT_EQ((CalendarTime{0, 0, 0, 0, 0, 0}), ParseExpiry("no date at all"));
}

TEST(Moment, TakesEveryFieldUpToItsLimit)
{
    EXPECT_EQ(std::nullopt, MomentError({2024, 1, 1, 0, 0, 0}));
    EXPECT_EQ(std::nullopt, MomentError({2024, 12, 31, 23, 59, 59}));
    EXPECT_EQ(1704067200, ToMoment({2024, 1, 1, 0, 0, 0}, Universal));
    EXPECT_EQ(1735689599, ToMoment({2024, 12, 31, 23, 59, 59}, Universal));
}

TEST(Moment, OfAFieldThatNoCalendarHasIsAnUnspecifiedFailure)
{
    for (const CalendarTime& time : {CalendarTime{2024, 0, 1, 0, 0, 0}, CalendarTime{2024, 13, 1, 0, 0, 0},
                                     CalendarTime{2024, 1, 0, 0, 0, 0}, CalendarTime{2024, 1, 32, 0, 0, 0},
                                     CalendarTime{2024, 1, 1, 24, 0, 0}, CalendarTime{2024, 1, 1, -1, 0, 0},
                                     CalendarTime{2024, 1, 1, 0, 60, 0}, CalendarTime{2024, 1, 1, 0, -1, 0},
                                     CalendarTime{2024, 1, 1, 0, 0, 60}, CalendarTime{2024, 1, 1, 0, 0, -1},
                                     CalendarTime{2024, -1, 1, 0, 0, 0}}) {
        EXPECT_EQ(Kind::kUnspecified, MomentError(time));
    }
}

TEST(Moment, OfAYearBefore1900IsAnUnspecifiedFailure)
{
    for (const int year : {-1, 0, 1, 1800, 1899}) {
        EXPECT_EQ(Kind::kUnspecified, MomentError(EndOf(year, 1, 1))) << year;
        // Also when the local-time conversion would have refused it.
        EXPECT_EQ(Kind::kUnspecified, MomentError(EndOf(year, 1, 1), Refusing)) << year;
    }
}

TEST(Moment, ThatTheLocalTimeConversionRefusesIsAnInvalidArgument)
{
    EXPECT_EQ(Kind::kInvalidArgument, MomentError(EndOf(2024, 1, 1), Refusing));
}

TEST(Moment, OutsideTheYears1970To3000IsAnInvalidArgument)
{
    for (const int year : {1900, 1901, 1969, 3001, 9999}) {
        EXPECT_EQ(Kind::kInvalidArgument, MomentError(EndOf(year, 6, 15))) << year;
        EXPECT_EQ(Kind::kInvalidArgument, MomentError(EndOf(year, 6, 15), PlatformLocalTime)) << year;
    }
    for (const int year : {1970, 1999, 2000, 2038, 2100, 2999, 3000}) {
        EXPECT_EQ(std::nullopt, MomentError(EndOf(year, 6, 15))) << year;
        EXPECT_EQ(std::nullopt, MomentError(EndOf(year, 6, 15), PlatformLocalTime)) << year;
    }
}

TEST(Moment, EndsEightHoursIntoTheYear3001OfUniversalTime)
{
    EXPECT_EQ(0, ToMoment({1970, 1, 1, 0, 0, 0}, Universal));
    EXPECT_EQ(Kind::kInvalidArgument, MomentError({1969, 12, 31, 23, 59, 59}));
    EXPECT_EQ(32535244799, ToMoment({3001, 1, 1, 7, 59, 59}, Universal));
    EXPECT_EQ(Kind::kInvalidArgument, MomentError({3001, 1, 1, 8, 0, 0}));
    EXPECT_EQ(Kind::kInvalidArgument, MomentError(EndOf(3001, 1, 1)));
    EXPECT_EQ(Kind::kInvalidArgument, MomentError(EndOf(3001, 1, 1), PlatformLocalTime));
}

TEST(Moment, AsksTheConversionToDecideAboutDaylightSaving)
{
    static std::tm seen;
    ToMoment({2024, 7, 15, 1, 2, 3}, [](std::tm& fields) -> long long {
        seen = fields;
        return 5;
    });
    EXPECT_EQ(-1, seen.tm_isdst);
    EXPECT_EQ(124, seen.tm_year);
    EXPECT_EQ(6, seen.tm_mon);
    EXPECT_EQ(15, seen.tm_mday);
    EXPECT_EQ(1, seen.tm_hour);
    EXPECT_EQ(2, seen.tm_min);
    EXPECT_EQ(3, seen.tm_sec);
}

TEST(Moment, OfADayThatTheMonthLacksLiesInTheNextMonth)
{
    for (const LocalTimeConversion convert :
         {LocalTimeConversion{Universal}, LocalTimeConversion{PlatformLocalTime}}) {
        EXPECT_EQ(ToMoment(EndOf(2024, 3, 2), convert), ToMoment(EndOf(2024, 2, 31), convert));
        EXPECT_EQ(ToMoment(EndOf(2023, 3, 3), convert), ToMoment(EndOf(2023, 2, 31), convert));
        EXPECT_EQ(ToMoment(EndOf(2023, 3, 1), convert), ToMoment(EndOf(2023, 2, 29), convert));
        EXPECT_EQ(ToMoment(EndOf(2024, 5, 1), convert), ToMoment(EndOf(2024, 4, 31), convert));
    }
}

TEST(Moment, KnowsLeapYears)
{
    const auto days = [](int year) {
        return WholeDaysBetween(ToMoment(EndOf(year, 2, 28), Universal),
                                ToMoment(EndOf(year, 3, 1), Universal));
    };
    const auto daysHere = [](int year) {
        return WholeDaysBetween(ToMoment(EndOf(year, 2, 28)), ToMoment(EndOf(year, 3, 1)));
    };
    for (const int year : {1972, 2000, 2024, 2400, 2800}) {
        EXPECT_EQ(2, days(year)) << year;
        EXPECT_EQ(2, daysHere(year)) << year;
    }
    for (const int year : {1970, 2023, 2100, 2200, 2300, 3000}) {
        EXPECT_EQ(1, days(year)) << year;
        EXPECT_EQ(1, daysHere(year)) << year;
    }
}

TEST(WholeDays, AreTruncatedTowardsZero)
{
    constexpr long long kDay = 86400;
    EXPECT_EQ(0, WholeDaysBetween(1000, 1000));
    EXPECT_EQ(0, WholeDaysBetween(1000, 1000 + kDay - 1));
    EXPECT_EQ(1, WholeDaysBetween(1000, 1000 + kDay));
    EXPECT_EQ(1, WholeDaysBetween(1000, 1000 + 2 * kDay - 1));
    EXPECT_EQ(0, WholeDaysBetween(1000 + kDay - 1, 1000));
    EXPECT_EQ(-1, WholeDaysBetween(1000 + kDay, 1000));
    EXPECT_EQ(-1, WholeDaysBetween(1000 + 2 * kDay - 1, 1000));
}

TEST(WholeDays, AreCutToSixteenBits)
{
    constexpr long long kDay = 86400;
    EXPECT_EQ(32767, WholeDaysBetween(0, 32767 * kDay));
    EXPECT_EQ(-32768, WholeDaysBetween(0, 32768 * kDay));
    EXPECT_EQ(-1, WholeDaysBetween(0, 65535 * kDay));
    EXPECT_EQ(0, WholeDaysBetween(0, 65536 * kDay));
    EXPECT_EQ(-32768, WholeDaysBetween(32768 * kDay, 0));
    EXPECT_EQ(32767, WholeDaysBetween(32769 * kDay, 0));
}

short DaysFrom(const char* reference, const char* expiry)
{
    return WholeDaysBetween(ToMoment(*ParseReferenceDate(reference)), ToMoment(ParseExpiry(expiry)));
}

TEST(DaysLeft, ACertificateOfNoonOnTheTenth)
{
    EXPECT_EQ(0, DaysFrom("2025/01/09", "20250110120000Z"));
    EXPECT_EQ(1, DaysFrom("2025/01/08", "20250110120000Z"));
    EXPECT_EQ(0, DaysFrom("2025/01/10", "20250110120000Z"));
    EXPECT_EQ(-1, DaysFrom("2025/01/11", "20250110120000Z"));
    EXPECT_EQ(-2, DaysFrom("2025/01/12", "20250110120000Z"));
}

TEST(DaysLeft, ExactlyTwentyFourHoursAreOneDay)
{
    EXPECT_EQ(1, DaysFrom("2025/01/09", "20250110235959"));
    EXPECT_EQ(0, DaysFrom("2025/01/09", "20250110235958"));
    EXPECT_EQ(0, DaysFrom("2025/01/09", "20250109235959"));
    EXPECT_EQ(-1, DaysFrom("2025/01/10", "20250109235959"));
    EXPECT_EQ(0, DaysFrom("2025/01/10", "202501100000"));
}

TEST(DaysLeft, FromThe31OfFebruaryCountsFromMarch)
{
    EXPECT_EQ(DaysFrom("2024/03/02", "20240601000000"), DaysFrom("2024/02/31", "20240601000000"));
    EXPECT_EQ(365, DaysFrom("2023/02/28", "20240228235959"));
    EXPECT_EQ(366, DaysFrom("2024/02/28", "20250228235959"));
}

TEST(DaysLeft, OverNinetyYearsRunPastSixteenBits)
{
    EXPECT_EQ(static_cast<short>(36524), DaysFrom("2000/02/29", "21000228235959"));
}

TEST(Now, IsWhatTheClockSays)
{
    const long long now = std::time(nullptr);
    EXPECT_LE(now - 5, CurrentMoment());
    EXPECT_LE(CurrentMoment(), now + 5);
}

void SetZone(const char* zone)
{
#ifdef _WIN32
    _putenv_s("TZ", zone);
    _tzset();
#else
    if (*zone) {
        setenv("TZ", zone, 1);
    } else {
        unsetenv("TZ");
    }
    tzset();
#endif
}

// Runs `body` in a time zone. Windows' C library may look at daylight saving once in a process, so there the
// body runs in a child that finds the zone when it starts; its exit code is one that only a run to the end
// gives.
void In(const char* zone, void (*body)())
{
    const char* const variable = std::getenv("TZ");
    const std::string before = variable ? variable : "";
    SetZone(zone);
#ifdef _WIN32
    const auto run = [body] {
        body();
        std::exit(testing::Test::HasFailure() ? 1 : 42);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(42), "");
#else
    body();
#endif
    SetZone(before.c_str());
}

// New York's zone in the form that each C library reads; the changes of 2025 are on 9 March and 2 November.
#ifdef _WIN32
constexpr const char* kNewYork = "EST5EDT";
#else
constexpr const char* kNewYork = "EST5EDT,M3.2.0,M11.1.0";
#endif

TEST(LocalTime, OfNewYorkIsFiveHoursBehindInWinterAndFourInSummer)
{
    In(kNewYork, [] {
        EXPECT_EQ(1736485200, ToMoment({2025, 1, 10, 0, 0, 0}));
        EXPECT_EQ(1752120000, ToMoment({2025, 7, 10, 0, 0, 0}));
    });
}

TEST(LocalTime, TheDayThatSpringForwardTakesIsOneHourShort)
{
    In(kNewYork, [] {
        // 23 hours to the same time of the next day: not a whole day yet.
        EXPECT_EQ(0, DaysFrom("2025/03/08", "20250309235959"));
        EXPECT_EQ(1, DaysFrom("2025/03/07", "20250308235959"));
        EXPECT_EQ(1, DaysFrom("2025/03/08", "20250310005959"));
        EXPECT_EQ(23 * 3600, ToMoment(EndOf(2025, 3, 9)) - ToMoment(EndOf(2025, 3, 8)));
    });
}

TEST(LocalTime, TheDayThatFallsBackIsOneHourLonger)
{
    In(kNewYork, [] {
        EXPECT_EQ(1, DaysFrom("2025/11/01", "20251102225959"));
        EXPECT_EQ(0, DaysFrom("2025/11/01", "20251102225958"));
        EXPECT_EQ(25 * 3600, ToMoment(EndOf(2025, 11, 2)) - ToMoment(EndOf(2025, 11, 1)));
    });
}

TEST(LocalTime, TheLastEveningOf3000IsOverWhereUniversalTimeIsTooFarAhead)
{
    In(kNewYork, [] { EXPECT_EQ(32535233999, ToMoment(EndOf(3000, 12, 31))); });
    In("HST10", [] {
        EXPECT_EQ(Kind::kInvalidArgument, MomentError(EndOf(3000, 12, 31), PlatformLocalTime));
        EXPECT_EQ(32535244799, ToMoment({3000, 12, 31, 21, 59, 59}));
    });
}

#ifndef _WIN32
// From a variable, the Windows C library takes one rule for daylight saving, America's; so the second zone
// and what hangs on the years before 1970 are native only.
constexpr const char* kBerlin = "CET-1CEST,M3.5.0,M10.5.0/3";

TEST(LocalTime, OfBerlinChangesOnItsOwnDays)
{
    In(kBerlin, [] {
        EXPECT_EQ(1736463600, ToMoment({2025, 1, 10, 0, 0, 0}));
        EXPECT_EQ(1752098400, ToMoment({2025, 7, 10, 0, 0, 0}));
        EXPECT_EQ(0, DaysFrom("2025/03/29", "20250330235959"));
        EXPECT_EQ(1, DaysFrom("2025/03/08", "20250309235959"));
        EXPECT_EQ(1, DaysFrom("2025/10/25", "20251026225959"));
    });
}

TEST(LocalTime, TheFirstMomentIsThatOfUniversalTimeInEveryZone)
{
    In(kBerlin, [] {
        EXPECT_EQ(Kind::kInvalidArgument, MomentError({1970, 1, 1, 0, 59, 59}, PlatformLocalTime));
        EXPECT_EQ(0, ToMoment({1970, 1, 1, 1, 0, 0}));
    });
    In(kNewYork, [] {
        EXPECT_EQ(17999, ToMoment(EndOf(1969, 12, 31)));
        EXPECT_EQ(Kind::kInvalidArgument, MomentError({1969, 12, 31, 18, 59, 59}, PlatformLocalTime));
    });
}
#endif

TEST(DateWithSlashes, DropsTheTimeOfDay)
{
    EXPECT_EQ(L"2024/01/31", DateWithSlashes(L"20240131235959Z"));
    EXPECT_EQ(L"2023/04/05", DateWithSlashes(L"20230405101112Z"));
    EXPECT_EQ(L"2023/04/05", DateWithSlashes(L"20230405"));
}

TEST(DateWithSlashes, OfAShortTextGivesWhatThereIs)
{
    EXPECT_EQ(L"//", DateWithSlashes(L""));
    EXPECT_EQ(L"2//", DateWithSlashes(L"2"));
    EXPECT_EQ(L"2024//", DateWithSlashes(L"2024"));
    EXPECT_EQ(L"2024/0/", DateWithSlashes(L"20240"));
    EXPECT_EQ(L"2024/01/", DateWithSlashes(L"202401"));
    EXPECT_EQ(L"2024/01/3", DateWithSlashes(L"2024013"));
}

TEST(DateWithSlashes, DoesNotCareWhatTheCharactersAre)
{
    EXPECT_EQ(L"\x4E8C\x96F6 x/yz/--", DateWithSlashes(L"\x4E8C\x96F6 xyz----"));
}

TEST(ValidityErrors, SayWhatTheyAre)
{
    EXPECT_STREQ("the date is not in the calendar", ValidityError(Kind::kUnspecified).what());
    EXPECT_STREQ("the date has no local time", ValidityError(Kind::kInvalidArgument).what());
    EXPECT_STREQ("the date is too short", ValidityError(Kind::kOutOfRange).what());
}

}  // namespace
}  // namespace kzr
