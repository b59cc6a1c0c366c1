// CCertificate, checkValidaty: the days from a date to the end of validity, and what is no date.
#include <ctime>

#include "CertificateRows.h"

namespace kzr::test {
namespace {

constexpr char kStart[] = "CCertificate: checkValidaty starting...";
constexpr char kCurrentTime[] = "CCertificate: checkValidaty sDate is NULL use current time...";

Case Row(const std::string& name, const Value& date, const LogSteps& more, int retVal)
{
    return {.name = name,
            .method = L"checkValidaty",
            .id = 4,
            .direct = Direct(&ICertificate::checkValidaty),
            .arguments = {date},
            .steps = LogSteps{Trace(kStart)} + more,
            .retVal = I2(retVal),
            .given = Loaded(L"CERT")};
}

LogStep Ask(const Answer& notAfter) { return Calls(L"SOF_GetCertInfo", {L"CERT", I2(12)}, notAfter); }

LogStep NotAfterLine(const Value& notAfter)
{
    return Trace("CCertificate: checkValidaty CertNotAfter(" + Shown(notAfter) + ")...");
}

Case Days(const std::string& name, const Value& date, const Answer& notAfter, int days)
{
    return Row(name, date,
               {Ask(notAfter), NotAfterLine(notAfter.value),
                Trace("CCertificate: checkValidaty ending(" + std::to_string(days) + ")...")},
               days);
}

Case InvalidDate(const std::string& name, const Value& date)
{
    return Row(name, date, {Error("CCertificate: in param (" + Shown(date) + ") invalid!")}, 0);
}

Case NoAnswer(const std::string& name, const Answer& notAfter)
{
    const HRESULT status = notAfter.Unknown() ? notAfter.lookUp : notAfter.result;
    return Row(
        name, L"2025/01/09",
        {Ask(notAfter), Error("CCertificate: checkValidaty call SOF_GetCertInfo return NULL!", status)}, 0);
}

Case EndsInTheGuard(Case row)
{
    row.steps.push_back(Error("Invoke CCertificate dispid(4): receive a fatal error!!!"));
    row.mayFault = true;
    return row;
}

// The reference's failures come before the backend is asked, the expiry's after.
Case ImpossibleDate(const std::string& name, const Value& date)
{
    return EndsInTheGuard(Row(name, date, {}, 0));
}
Case ImpossibleExpiry(const std::string& name, const Value& notAfter)
{
    return EndsInTheGuard(Row(name, L"2025/01/09", {Ask(notAfter), NotAfterLine(notAfter)}, 0));
}

const wchar_t* const kExpiry = L"20250110120000Z";

const Rows kDays = {
    Days("TwelveHoursShortOfADayIsZero", L"2025/01/09", kExpiry, 0),
    Days("ADayAndTwelveHoursIsOne", L"2025/01/08", kExpiry, 1),
    Days("TwelveHoursAfterwardsIsZero", L"2025/01/10", kExpiry, 0),
    Days("ADayAndTwelveHoursAfterwardsIsMinusOne", L"2025/01/11", kExpiry, -1),
    Days("ExactlyOneDayIsOne", L"2025/01/09", L"20250110235959", 1),
    Days("ASecondLessThanADayIsZero", L"2025/01/09", L"20250110235958", 0),
    Days("TheSameSecondIsZero", L"2025/01/09", L"20250109235959", 0),
    Days("ASecondLessThanADayAfterwardsIsZero", L"2025/01/11", L"20250111000000", 0),
    Days("ExactlyOneDayAgoIsMinusOne", L"2025/01/11", L"20250110235959", -1),
    Days("AYearIs365Days", L"2025/03/01", L"20260301235959", 365),
    Days("ALeapYearIs366Days", L"2024/01/01", L"20250101235959", 366),
    Days("TheYear2000IsALeapYear", L"2000/02/28", L"20000301235959", 2),
    Days("TheYear2100IsNoLeapYear", L"2100/02/28", L"21000301235959", 1),
    Days("February31IsADayInMarch", L"2024/02/31", L"20240303235959", 1),
    Days("April31IsTheFirstOfMay", L"2023/04/31", L"20230502235959", 1),
    Days("AnExpiryOnFebruary31IsADayInMarch", L"2024/03/01", L"20240231235959", 1),
    Days("TheFirstDaysAreCounted", L"1970/01/02", L"19700104235959", 2),
    Days("TheLastDaysAreCounted", L"3000/12/01", L"30001230235959", 29),
    Days("TheLargestCountThatFitsIsWhole", L"2000/01/01", L"20890917235959", 32767),
    Days("OneMoreIsCutTo16Bits", L"2000/01/01", L"20890918235959", -32768),
    Days("65536DaysAreCutToZero", L"2000/01/01", L"21790607235959", 0),
    Days("65537DaysAreCutToOne", L"2000/01/01", L"21790608235959", 1),
    Days("65537DaysAgoAreCutToMinusOne", L"2179/06/08", L"20000101235959", -1),
    Days("AlmostTheWholeRangeIsCut", L"1970/01/02", L"30001230235959", 48882 - 65536),
    Days("TakesATextWithAPositiveStatus", L"2025/01/08", Fails(S_FALSE, kExpiry), 1),
};
KZR_CASES(CertificateDays, kCertificate, kDays);

const Rows kForms = {
    InvalidDate("HyphensAreInvalid", L"2024-01-31"),
    InvalidDate("DotsAreInvalid", L"2024.01.31"),
    InvalidDate("BackslashesAreInvalid", L"2024\\01\\31"),
    InvalidDate("OneWrongSeparatorIsInvalid", L"2024/01-31"),
    InvalidDate("TheOtherWrongSeparatorIsInvalid", L"2024-01/31"),
    InvalidDate("Month13IsInvalid", L"2024/13/01"),
    InvalidDate("Month0IsInvalid", L"2024/00/01"),
    InvalidDate("Month99IsInvalid", L"2024/99/01"),
    InvalidDate("ANegativeMonthIsInvalid", L"2024/-1/01"),
    InvalidDate("AMonthWithoutDigitsIsInvalid", L"2024/ab/01"),
    InvalidDate("Day32IsInvalid", L"2024/01/32"),
    InvalidDate("Day0IsInvalid", L"2024/01/00"),
    InvalidDate("ANegativeDayIsInvalid", L"2024/01/-5"),
    InvalidDate("ADayWithoutDigitsIsInvalid", L"2024/01/x1"),
    InvalidDate("OneCharacterIsInvalid", L"2"),
    InvalidDate("NineCharactersAreInvalid", L"2024/01/3"),
    InvalidDate("ElevenCharactersAreInvalid", L"2024/01/311"),
    InvalidDate("ABlankAtTheEndIsInvalid", L"2024/01/31 "),
    InvalidDate("ShortPartsAreInvalid", L"2024/1/31"),
    InvalidDate("DayFirstIsInvalid", L"31/01/2024"),
    InvalidDate("ATimeAsWellIsInvalid", L"2024/01/31 12:00:00"),
    InvalidDate("EightDigitsAreInvalid", L"20240131"),
    InvalidDate("FormatSignsAreShownAsTheyAre", L"%s%d%n%x%%"),
    InvalidDate("ANullCharacterInPlaceOfASlashIsInvalid", std::wstring(L"2024\00001/31", 10)),
    Days("Month1AndDay1AreValid", L"2025/01/01", L"20250102235959", 1),
    Days("Month12AndDay31AreValid", L"2024/12/31", L"20250101235959", 1),
    Days("AMonthIsReadToItsFirstOtherCharacter", L"2025/1x/09", kExpiry, 0),
    Days("ADayIsReadToItsFirstOtherCharacter", L"2025/01/8x", kExpiry, 1),
    Days("ALeadingBlankIsSkipped", L"2025/ 1/ 8", kExpiry, 1),
    Days("APlusSignIsRead", L"2025/+1/+8", kExpiry, 1),
    GivenAs(InvalidDate("", L"20240131"), "ANumberIsTakenForItsText", {I4(20240131)}),
    GivenAs(Days("", L"2025/01/08", kExpiry, 1), "AVariableIsTaken", {ByVariant(L"2025/01/08")}),
    OnlyByDispatch("NullIsTurnedAway", L"checkValidaty", 4, {Null()}, DISP_E_TYPEMISMATCH),
};
KZR_CASES(CertificateDateForms, kCertificate, kForms);

const Rows kImpossible = {
    ImpossibleDate("TheYear1899IsImpossible", L"1899/12/31"),
    ImpossibleDate("TheYear1800IsImpossible", L"1800/01/01"),
    ImpossibleDate("TheYear0IsImpossible", L"0000/01/01"),
    ImpossibleDate("AYearWithoutDigitsIsImpossible", L"year/01/01"),
    ImpossibleDate("AYearOfTwoDigitsIsImpossible", L"20x5/01/01"),
    ImpossibleDate("ANegativeYearIsImpossible", L"-999/01/01"),
    ImpossibleDate("TheYear1900HasNoLocalTime", L"1900/01/01"),
    ImpossibleDate("TheYear1969HasNoLocalTime", L"1969/06/30"),
    ImpossibleDate("TheYear3001HasNoLocalTime", L"3001/01/02"),
    ImpossibleDate("TheYear9999HasNoLocalTime", L"9999/12/31"),
};
KZR_CASES(CertificateImpossibleDates, kCertificate, kImpossible);

const Rows kExpiries = {
    Days("SecondsMayBeMissing", L"2025/01/09", L"202501102359", 0),
    Days("OneDigitOfSecondsIsEnough", L"2025/01/09", L"2025011023595", 0),
    Days("AllSecondsCount", L"2025/01/09", L"20250110235959", 1),
    Days("WhateverFollowsTheSecondsIsDropped", L"2025/01/09", L"20250110235959.123+0800", 1),
    Days("SecondsWithoutDigitsAreZero", L"2025/01/09", L"202501102359Z", 0),
    Days("MinutesWithoutDigitsAreZero", L"2025/01/08", L"2025010923xx59", 0),
    Days("HoursWithoutDigitsAreZero", L"2025/01/08", L"20250109xx5959", 0),
    ImpossibleExpiry("OneCharacterIsTooShort", L"2"),
    ImpossibleExpiry("ADateAloneIsTooShort", L"20250110"),
    ImpossibleExpiry("ElevenCharactersAreTooShort", L"20250110120"),
    ImpossibleExpiry("LettersAreImpossible", L"Jan 10 2025 12:00"),
    ImpossibleExpiry("ADateWithSlashesIsImpossible", L"2025/01/10 12:00:00"),
    ImpossibleExpiry("TheYear1899IsImpossible", L"18991231235959"),
    ImpossibleExpiry("Month0IsImpossible", L"20250010120000"),
    ImpossibleExpiry("Month13IsImpossible", L"20251310120000"),
    ImpossibleExpiry("Day0IsImpossible", L"20250100120000"),
    ImpossibleExpiry("Day32IsImpossible", L"20250132120000"),
    ImpossibleExpiry("Hour24IsImpossible", L"20250110240000"),
    ImpossibleExpiry("Minute60IsImpossible", L"20250110126000"),
    ImpossibleExpiry("Second60IsImpossible", L"20250110120060"),
    ImpossibleExpiry("ANegativeHourIsImpossible", L"20250110-10000"),
    ImpossibleExpiry("TheYear1969HasNoLocalTime", L"19690630120000"),
    ImpossibleExpiry("TheYear3001HasNoLocalTime", L"30010102120000"),
    ImpossibleExpiry("TheYear9999HasNoLocalTime", L"99991231235959"),
    NoAnswer("AnEmptyAnswerIsZero", L""),
    NoAnswer("AFailedCallIsZero", Fails(E_ACCESSDENIED)),
    NoAnswer("AFailedCallThatLeftATextIsZero", Fails(E_FAIL, kExpiry)),
    NoAnswer("AnEmptyAnswersPositiveStatusIsLogged", Fails(S_FALSE, L"")),
    NoAnswer("ANumberIsNoAnswer", I4(20250110)),
    NoAnswer("NothingIsNoAnswer", Empty()),
    NoAnswer("ANullTextIsNoAnswer", NullText()),
    NoAnswer("TheBackendHasNoSuchMethod", UnknownName()),
};
KZR_CASES(CertificateExpiry, kCertificate, kExpiries);

// A moment half a day beside whole days from now, so that no test takes long enough to matter.
std::wstring TimeIn(int days, int hours)
{
    const __time64_t moment = _time64(nullptr) + days * 86400LL + hours * 3600LL;
    const std::tm* const local = _localtime64(&moment);
    wchar_t text[32] = {};
    wcsftime(text, 32, L"%Y%m%d%H%M%SZ", local);
    return text;
}

Case FromNow(const std::string& name, const Values& arguments, int days, int hours, int expected)
{
    Case row = Days(name, L"", TimeIn(days, hours), expected);
    row.arguments = arguments;
    row.steps.insert(row.steps.begin() + 1, Trace(kCurrentTime));
    return row;
}

Case NotLoaded(const std::string& name, const Value& date)
{
    Case row =
        Row(name, date, {Error("CCertificate: checkValidaty param error or current Cert is NULL!")}, 0);
    row.given = nullptr;
    return row;
}

Case FailsFromNow()
{
    Case row = NoAnswer("AFailedCallAfterTheCurrentTimeIsZero", Fails(E_FAIL));
    row.arguments = {};
    row.steps.insert(row.steps.begin() + 1, Trace(kCurrentTime));
    return row;
}

const Rows kNow = {
    FromNow("ADateLeftOutIsNow", {}, 10, 12, 10),
    FromNow("AnEmptyDateIsNow", {L""}, 10, 12, 10),
    FromNow("ANullDateIsNow", {NullText()}, 100, 12, 100),
    FromNow("AMissingDateIsNow", {Missing()}, 10, 12, 10),
    FromNow("AnUndefinedDateIsNow", {Empty()}, 10, 12, 10),
    FromNow("TwelveHoursLeftIsZero", {L""}, 0, 12, 0),
    FromNow("TwelveHoursOverIsZero", {L""}, 0, -12, 0),
    FromNow("TenDaysAndAHalfOverIsMinusTen", {L""}, -10, -12, -10),
    FailsFromNow(),
    NotLoaded("WithoutACertificateItIsZero", L"2025/01/09"),
    NotLoaded("WithoutACertificateNoDateIsLookedAt", L"2024-01-31"),
    NotLoaded("WithoutACertificateAndDateItIsZero", L""),
};
KZR_CASES(CertificateDaysFromNow, kCertificate, kNow);

}  // namespace
}  // namespace kzr::test
