// Time-dates as ISO 8601 text: milliseconds since 1970-01-01T00:00:00 UTC, in the Gregorian calendar of all times.
#pragma once

#include <charconv>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "ZRBObj.h"

namespace zrb {

inline constexpr long long kMsPerDay = 86'400'000;

// Room that formatIsoDate() needs at most.
inline constexpr std::size_t kIsoDateBytes = 40;

namespace detail {

// A cycle of the calendar is 400 years, a century in it has 36524 days (the last one 36525), a group of four years 1461
// (the last one of a century 1460, unless it ends the cycle).
inline constexpr long long kDaysPerCycle = 146'097;
inline constexpr long long kDaysPerCentury = 36'524;
inline constexpr long long kDaysPerFourYears = 1'461;
// Days from 0000-01-01 to 1970-01-01.
inline constexpr long long kDaysBefore1970 = 719'528;
// Signed 64-bit milliseconds end in the year 292278994, and begin in -292275055.
inline constexpr long long kLargestYear = 292'300'000;

// Days before the first of each month in a common year.
inline constexpr int kDaysBeforeMonth[12] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};

inline constexpr bool isLeapYear(long long year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

inline constexpr int daysBeforeMonth(long long year, int month) {
  return kDaysBeforeMonth[month - 1] + (month > 2 && isLeapYear(year) ? 1 : 0);
}

inline constexpr int daysOfMonth(long long year, int month) {
  return month == 12 ? 31 : daysBeforeMonth(year, month + 1) - daysBeforeMonth(year, month);
}

inline constexpr long long floorDivide(long long a, long long b) { return a / b - (a % b < 0 ? 1 : 0); }

// Days from 1970-01-01 to the date.
inline constexpr long long daysOfDate(long long year, int month, int day) {
  const long long before = year - 1;  // the last whole year; year 0 is a leap year and has 366 days
  const long long leapDays = floorDivide(before, 4) - floorDivide(before, 100) + floorDivide(before, 400) + 1;
  return year * 365 + leapDays + daysBeforeMonth(year, month) + (day - 1) - kDaysBefore1970;
}

struct Date {
  long long year;
  int month;
  int day;
};

inline constexpr Date dateOfDays(long long daysSince1970) {
  const long long days = daysSince1970 + kDaysBefore1970;
  const long long cycle = floorDivide(days, kDaysPerCycle);
  long long rest = days - cycle * kDaysPerCycle;  // days into the cycle, which begins with a leap year
  long long year = cycle * 400;
  // The cycle's first century, and every century's first four years where it begins with a leap year, is a day longer.
  if (rest > kDaysPerCentury) {
    const long long centuries = (rest - 1) / kDaysPerCentury;  // 1, 2 or 3
    year += centuries * 100;
    rest -= centuries * kDaysPerCentury + 1;
    if (rest >= kDaysPerFourYears - 1) {  // years divisible by 100 but not by 400 have no leap day
      const long long groups = (rest + 1) / kDaysPerFourYears;
      year += groups * 4;
      rest -= groups * kDaysPerFourYears - 1;
    }
  } else {
    const long long groups = rest / kDaysPerFourYears;
    year += groups * 4;
    rest -= groups * kDaysPerFourYears;
  }
  while (rest >= (isLeapYear(year) ? 366 : 365)) {  // at most three times
    rest -= isLeapYear(year) ? 366 : 365;
    ++year;
  }
  int month = 12;
  while (daysBeforeMonth(year, month) > rest) --month;
  return {year, month, static_cast<int>(rest) - daysBeforeMonth(year, month) + 1};
}

// Reads a text from the left; a failed step leaves nothing behind.
class IsoDateParser {
public:
  explicit IsoDateParser(std::string_view text) : m_rest(text) {}

  std::optional<long long> parse() {
    long long year = 0;
    int month = 0, day = 0;
    if (!takeYear(year) || !take('-') || !takeTwoDigits(month, 1, 12) || !take('-') || !takeTwoDigits(day, 1, 31) ||
        day > daysOfMonth(year, month))
      return std::nullopt;
    long long msOfDay = 0, offsetMs = 0;
    if (!m_rest.empty() && !(takeTime(msOfDay) && takeZone(offsetMs))) return std::nullopt;
    if (!m_rest.empty()) return std::nullopt;
    // Midnight of the first day that 64 bits reach is itself out of reach, hence the wider sum.
    __extension__ using Wide = __int128;
    const Wide timeMs = static_cast<Wide>(daysOfDate(year, month, day)) * kMsPerDay + (msOfDay - offsetMs);
    if (timeMs < std::numeric_limits<long long>::min() || timeMs > std::numeric_limits<long long>::max())
      return std::nullopt;
    if (ZRBObj::isTimeDateNA(static_cast<long long>(timeMs))) return std::nullopt;
    return static_cast<long long>(timeMs);
  }

private:
  bool take(char expected) {
    if (m_rest.empty() || m_rest.front() != expected) return false;
    m_rest.remove_prefix(1);
    return true;
  }

  // `digits` decimal digits.
  bool takeDigits(std::size_t digits, long long& value) {
    if (m_rest.size() < digits) return false;
    value = 0;
    for (std::size_t i = 0; i < digits; ++i) {
      if (m_rest[i] < '0' || m_rest[i] > '9') return false;
      value = value * 10 + (m_rest[i] - '0');
    }
    m_rest.remove_prefix(digits);
    return true;
  }

  bool takeTwoDigits(int& value, int least, int most) {
    long long number = 0;
    if (!takeDigits(2, number) || number < least || number > most) return false;
    value = static_cast<int>(number);
    return true;
  }

  std::size_t countDigits() const {
    std::size_t digits = 0;
    while (digits < m_rest.size() && m_rest[digits] >= '0' && m_rest[digits] <= '9') ++digits;
    return digits;
  }

  // Four digits, or a sign and six to nine; there is no negative zero.
  bool takeYear(long long& year) {
    const bool negative = take('-');
    if (!negative && !take('+')) return countDigits() == 4 && takeDigits(4, year);
    const std::size_t digits = countDigits();
    if (digits < 6 || digits > 9 || !takeDigits(digits, year) || year > kLargestYear) return false;
    if (negative && year == 0) return false;
    if (negative) year = -year;
    return true;
  }

  // "T15:04", "T15:04:05", "T15:04:05.123"; a blank may stand for the T.  Digits after the milliseconds have to be zeros.
  bool takeTime(long long& msOfDay) {
    int hours = 0, minutes = 0, seconds = 0;
    long long ms = 0;
    if (!take('T') && !take(' ')) return false;
    if (!takeTwoDigits(hours, 0, 23) || !take(':') || !takeTwoDigits(minutes, 0, 59)) return false;
    if (take(':')) {
      if (!takeTwoDigits(seconds, 0, 59)) return false;
      if (take('.')) {
        const std::size_t digits = countDigits();
        if (digits == 0) return false;
        for (std::size_t i = 0; i < 3; ++i) ms = ms * 10 + (i < digits ? m_rest[i] - '0' : 0);
        for (std::size_t i = 3; i < digits; ++i)
          if (m_rest[i] != '0') return false;
        m_rest.remove_prefix(digits);
      }
    }
    msOfDay = ((hours * 60LL + minutes) * 60 + seconds) * 1000 + ms;
    return true;
  }

  // Nothing, "Z", "+02", "+02:30" or "+0230" (also with a minus).
  bool takeZone(long long& offsetMs) {
    if (m_rest.empty() || take('Z')) return true;
    const bool east = take('+');
    if (!east && !take('-')) return false;
    int hours = 0, minutes = 0;
    if (!takeTwoDigits(hours, 0, 23)) return false;
    if (!m_rest.empty()) {
      take(':');
      if (!takeTwoDigits(minutes, 0, 59)) return false;
    }
    offsetMs = (hours * 60LL + minutes) * 60'000;
    if (!east) offsetMs = -offsetMs;
    return true;
  }

  std::string_view m_rest;
};

inline char* putTwoDigits(long long value, char* text) {
  *text++ = static_cast<char>('0' + value / 10);
  *text++ = static_cast<char>('0' + value % 10);
  return text;
}

}  // namespace detail

// The time of the whole text: "2026-11-21", "2026-11-21T15:04", "2026-11-21T15:04:05.123", also with a blank for the T
// and with "Z" or an offset such as "+02:00" behind; without one the time is UTC.  Years outside 0000..9999 have a sign
// and six to nine digits.  Empty for anything else: other dates, 24:00, leap seconds, fractions finer than milliseconds.
inline std::optional<long long> parseIsoDate(std::string_view text) { return detail::IsoDateParser(text).parse(); }

// Writes the shortest form, and returns the end of the text; not terminated: the date only at midnight, else the time in
// UTC without "Z", with as many digits of the second as it needs.
// REQUIRES: room for kIsoDateBytes; the time is not NA.
inline char* formatIsoDate(long long timeMs, char* text) {
  const long long days = detail::floorDivide(timeMs, kMsPerDay);
  const detail::Date date = detail::dateOfDays(days);
  const long long year = date.year < 0 ? -date.year : date.year;
  const bool fourDigits = date.year >= 0 && date.year <= 9999;
  if (!fourDigits) *text++ = date.year < 0 ? '-' : '+';
  for (long long limit = fourDigits ? 1000 : 100'000; limit > 1 && year < limit; limit /= 10) *text++ = '0';
  text = std::to_chars(text, text + 20, year).ptr;
  *text++ = '-';
  text = detail::putTwoDigits(date.month, text);
  *text++ = '-';
  text = detail::putTwoDigits(date.day, text);

  const long long msOfDay = timeMs % kMsPerDay + (timeMs % kMsPerDay < 0 ? kMsPerDay : 0);
  if (msOfDay == 0) return text;
  *text++ = 'T';
  text = detail::putTwoDigits(msOfDay / 3'600'000, text);
  *text++ = ':';
  text = detail::putTwoDigits(msOfDay / 60'000 % 60, text);
  *text++ = ':';
  text = detail::putTwoDigits(msOfDay / 1000 % 60, text);
  long long ms = msOfDay % 1000;
  if (ms == 0) return text;
  *text++ = '.';
  for (long long digit = 100; ms > 0; ms %= digit, digit /= 10) *text++ = static_cast<char>('0' + ms / digit);
  return text;
}

inline std::string isoDateText(long long timeMs) {
  char text[kIsoDateBytes];
  return std::string(text, formatIsoDate(timeMs, text));
}

}  // namespace zrb
