#include "zrb/iso_date.h"

#include <gtest/gtest.h>
#include <time.h>

#include <limits>
#include <random>

namespace {

constexpr long long kDay = 86'400'000;

TEST(IsoDate, dates_and_times_are_read_as_milliseconds_in_utc) {
  const struct {
    const char* text;
    long long timeMs;
  } cases[] = {
      {"1970-01-01", 0},
      {"1970-01-02", kDay},
      {"1969-12-31", -kDay},
      {"2000-02-29", 11'016 * kDay},
      {"2026-11-21", 20'778 * kDay},
      {"2026-11-21T15:04:05", 20'778 * kDay + 54'245'000},
      {"2026-11-21 15:04:05", 20'778 * kDay + 54'245'000},
      {"2026-11-21T15:04", 20'778 * kDay + 54'240'000},
      {"2026-11-21T15:04:05.123", 20'778 * kDay + 54'245'123},
      {"2026-11-21T15:04:05.1", 20'778 * kDay + 54'245'100},
      {"2026-11-21T15:04:05.123000", 20'778 * kDay + 54'245'123},
      {"2026-11-21T15:04:05Z", 20'778 * kDay + 54'245'000},
      {"2026-11-21T15:04:05+02:00", 20'778 * kDay + 54'245'000 - 7'200'000},
      {"2026-11-21T15:04:05-0230", 20'778 * kDay + 54'245'000 + 9'000'000},
      {"2026-11-21T15:04+02", 20'778 * kDay + 54'240'000 - 7'200'000},
      {"1970-01-01T00:00:00+00:01", -60'000},
      {"0000-01-01", -719'528 * kDay},
      {"9999-12-31", 2'932'896 * kDay},
      {"+012026-01-01", 3'672'879 * kDay},  // 25 cycles of 146097 days after 2026-01-01
      {"-000001-12-31", -719'529 * kDay},
  };
  for (const auto& c : cases) {
    const auto timeMs = zrb::parseIsoDate(c.text);
    ASSERT_TRUE(timeMs) << c.text;
    EXPECT_EQ(*timeMs, c.timeMs) << c.text;
  }
}

TEST(IsoDate, everything_else_is_no_date) {
  for (const char* text : {"",
                           "2026",
                           "2026-11",
                           "20261121",
                           "26-11-21",
                           "2026-1-21",
                           "2026-11-1",
                           "2026/11/21",
                           "21.11.2026",
                           "11/21/2026",
                           "2026-00-21",
                           "2026-13-21",
                           "2026-11-00",
                           "2026-11-31",
                           "2026-02-29",
                           "1900-02-29",
                           "2026-11-21T",
                           "2026-11-21T15",
                           "2026-11-21T24:00",
                           "2026-11-21T15:60",
                           "2026-11-21T15:04:60",
                           "2026-11-21T15:04:05.",
                           "2026-11-21T15:04:05,5",
                           "2026-11-21T15:04:05.1234",
                           "2026-11-21T1:04",
                           "2026-11-21t15:04",
                           "2026-11-21T15:04:05z",
                           "2026-11-21Z",
                           "2026-11-21T15:04:05+2",
                           "2026-11-21T15:04:05+24:00",
                           "2026-11-21T15:04:05+02:60",
                           "2026-11-21T15:04:05+02:",
                           "2026-11-21T15:04:05 Z",
                           " 2026-11-21",
                           "2026-11-21 ",
                           "2026-11-21T15:04:05x",
                           "-000000-01-01",
                           "+12026-01-01",
                           "02026-01-01",
                           "+1234567890-01-01",
                           "-2026-11-21",
                           "+292278995-01-01",
                           "-292275056-12-31",
                           "NA",
                           "2026-11-21\n"})
    EXPECT_FALSE(zrb::parseIsoDate(text)) << text;
}

TEST(IsoDate, a_time_is_written_in_its_shortest_form) {
  const struct {
    long long timeMs;
    const char* text;
  } cases[] = {
      {0, "1970-01-01"},
      {20'778 * kDay, "2026-11-21"},
      {20'778 * kDay + 54'245'000, "2026-11-21T15:04:05"},
      {20'778 * kDay + 54'240'000, "2026-11-21T15:04:00"},
      {20'778 * kDay + 54'245'120, "2026-11-21T15:04:05.12"},
      {20'778 * kDay + 54'245'100, "2026-11-21T15:04:05.1"},
      {20'778 * kDay + 54'245'003, "2026-11-21T15:04:05.003"},
      {1, "1970-01-01T00:00:00.001"},
      {-1, "1969-12-31T23:59:59.999"},
      {-719'528 * kDay, "0000-01-01"},
      {-719'528 * kDay - 1, "-000001-12-31T23:59:59.999"},
      {2'932'897 * kDay, "+010000-01-01"},
      {std::numeric_limits<long long>::min(), "-292275055-05-16T16:47:04.192"},
      {0x7FFFFFFFFFFFFFF0, "+292278994-08-17T07:12:55.792"},  // the last time that is not NA
  };
  for (const auto& c : cases) {
    EXPECT_EQ(zrb::isoDateText(c.timeMs), c.text);
    EXPECT_EQ(zrb::parseIsoDate(c.text), c.timeMs) << c.text;
  }
}

TEST(IsoDate, times_that_would_count_as_na_are_no_dates) {
  EXPECT_TRUE(zrb::parseIsoDate("+292278994-08-17T07:12:55.792"));
  EXPECT_FALSE(zrb::parseIsoDate("+292278994-08-17T07:12:55.793"));
}

TEST(IsoDate, every_day_of_four_thousand_years_has_the_date_of_the_c_library) {
  for (long long day = -900'000; day < 600'000; ++day) {
    const time_t seconds = static_cast<time_t>(day * 86'400);
    tm fields;
    ASSERT_NE(gmtime_r(&seconds, &fields), nullptr);
    const zrb::detail::Date date = zrb::detail::dateOfDays(day);
    ASSERT_EQ(date.year, fields.tm_year + 1900) << day;
    ASSERT_EQ(date.month, fields.tm_mon + 1) << day;
    ASSERT_EQ(date.day, fields.tm_mday) << day;
    ASSERT_EQ(zrb::detail::daysOfDate(date.year, date.month, date.day), day);
  }
}

TEST(IsoDate, what_is_written_is_read_back_for_all_times_within_its_room) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 100'000; ++i) {
    const auto timeMs = static_cast<long long>(random()) >> (i % 40);
    if (ZRBObj::isTimeDateNA(timeMs)) continue;
    const std::string text = zrb::isoDateText(timeMs);
    ASSERT_LE(text.size(), zrb::kIsoDateBytes);
    ASSERT_EQ(zrb::parseIsoDate(text), timeMs) << text;
  }
}

}  // namespace
