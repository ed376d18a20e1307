// ZRBObj: conversions between cell types, and the converter for those that involve text.
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ZRBConverter.h"
#include "support/SavedSettings.h"
#include "zrbbase.h"

namespace {

constexpr long long kMsPerDay = 86400000;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr long long kTimeDateNA = 0x7FFFFFFFFFFFFFFF;
constexpr long long kLeastTimeDateNA = 0x7FFFFFFFFFFFFFF1;

std::uint64_t bitsOf(double value) {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

// The NA itself, and not just any NaN.
::testing::AssertionResult isTheDoubleNA(double value) {
  if (bitsOf(value) == 0x7FF000017FF00001u) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << value << " has the bits " << std::hex << bitsOf(value);
}

::testing::AssertionResult isTheStringNA(const char* text) {
  if (text != nullptr && std::memcmp(text, "\xEF\xBF\xBF", 4) == 0) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << (text == nullptr ? "null" : text) << " is not the string NA";
}

const char kStringNA[] = "\xEF\xBF\xBF";
const double kQuietNaN = std::numeric_limits<double>::quiet_NaN();

// Writes its own name and what it was given; notes every call.
class NamedConverter final : public ZRBConverter {
public:
  explicit NamedConverter(const char* name) : m_name(name) {}

  void doubleToText(const double* value, char* text, int size) override {
    note("doubleToText", text, size);
    std::snprintf(text, static_cast<std::size_t>(size), "%s double %g", m_name, *value);
  }
  void textToDouble(const char* text, double* value) override {
    calls.emplace_back(std::string("textToDouble ") + text);
    *value = number;
  }
  void timeDateToText(const long long* timeMs, char* text, int size) override {
    note("timeDateToText", text, size);
    std::snprintf(text, static_cast<std::size_t>(size), "%s time %lld", m_name, *timeMs);
  }
  void textToTimeDate(const char* text, long long* timeMs) override {
    calls.emplace_back(std::string("textToTimeDate ") + text);
    *timeMs = static_cast<long long>(number);
  }

  double number = 0.0;             // the value of every text
  std::vector<std::string> calls;  // the operation, and the text or the size
  std::vector<char*> targets;      // where texts were to be written

private:
  void note(const char* operation, char* text, int size) {
    calls.emplace_back(std::string(operation) + " " + std::to_string(size));
    targets.push_back(text);
  }

  const char* m_name;
};

class ObjConversions : public ::testing::Test {
protected:
  ZRBObj object;

private:
  SavedSettings m_saved;
};

// Shows the text that all objects share.
class SharedText : public ZRBObj {
public:
  static const char* get() { return m_temp_convert_string; }
};

// ---- NA in, NA out ----

TEST_F(ObjConversions, NA_converts_to_the_NA_of_every_other_type) {
  for (const double na : {ZRBObj::getDoubleNA(), kQuietNaN, -kQuietNaN}) {
    EXPECT_EQ(ZRBObj::convertDoubleToLevelNum(na), -1);
    EXPECT_TRUE(isTheStringNA(object.convertDoubleToString(na)));
    EXPECT_EQ(ZRBObj::convertDoubleToTimeDate(na), kTimeDateNA);
  }
  for (const long level : {-1L, -5L, LONG_MIN}) {
    EXPECT_TRUE(isTheDoubleNA(ZRBObj::convertLevelNumToDouble(level)));
    EXPECT_TRUE(isTheStringNA(ZRBObj::convertLevelNumToString(level)));
    EXPECT_EQ(ZRBObj::convertLevelNumToTimeDate(level), kTimeDateNA);
  }
  for (const char* text : {kStringNA, static_cast<const char*>(nullptr)}) {
    EXPECT_TRUE(isTheDoubleNA(object.convertStringToDouble(text)));
    EXPECT_EQ(ZRBObj::convertStringToLevelNum(text), -1);
    EXPECT_EQ(object.convertStringToTimeDate(text), kTimeDateNA);
  }
  for (const long long timeMs : {kTimeDateNA, kLeastTimeDateNA, kLeastTimeDateNA + 7}) {
    EXPECT_TRUE(isTheDoubleNA(ZRBObj::convertTimeDateToDouble(timeMs)));
    EXPECT_EQ(ZRBObj::convertTimeDateToLevelNum(timeMs), -1);
    EXPECT_TRUE(isTheStringNA(object.convertTimeDateToString(timeMs)));
  }
}

TEST_F(ObjConversions, NA_never_reaches_a_converter) {
  NamedConverter converter("own");
  object.setConverter(&converter);
  ZRBObj::setDefaultConverter(&converter);
  ZRBObj::setDoubleDateEpoch(1000);
  EXPECT_TRUE(isTheStringNA(object.convertDoubleToString(ZRBObj::getDoubleNA())));
  EXPECT_TRUE(isTheStringNA(object.convertDoubleToString(kQuietNaN)));
  EXPECT_TRUE(isTheDoubleNA(object.convertStringToDouble(kStringNA)));
  EXPECT_TRUE(isTheDoubleNA(object.convertStringToDouble(nullptr)));
  EXPECT_EQ(object.convertStringToTimeDate(kStringNA), kTimeDateNA);
  EXPECT_EQ(object.convertStringToTimeDate(nullptr), kTimeDateNA);
  EXPECT_TRUE(isTheStringNA(object.convertTimeDateToString(kTimeDateNA)));
  EXPECT_TRUE(isTheStringNA(object.convertTimeDateToString(kLeastTimeDateNA)));
  EXPECT_EQ(ZRBObj::convertDoubleToTimeDate(kQuietNaN), kTimeDateNA) << "the epoch is not added to NA";
  EXPECT_TRUE(isTheDoubleNA(ZRBObj::convertTimeDateToDouble(kLeastTimeDateNA)));
  EXPECT_EQ(converter.calls, std::vector<std::string>{});
}

// ---- Without a converter ----

TEST_F(ObjConversions, without_a_converter_a_number_is_written_with_six_significant_digits) {
  struct {
    double value;
    const char* text;
  } const rows[] = {{0.1, "0.1"},        {0.0, "0"},
                    {-0.0, "-0"},        {1.0, "1"},
                    {-2.5, "-2.5"},      {1234567.0, "1.23457e+06"},
                    {1e-5, "1e-05"},     {1.0 / 3.0, "0.333333"},
                    {1e300, "1e+300"},   {kInfinity, "inf"},
                    {-kInfinity, "-inf"}};
  for (const auto& row : rows) EXPECT_STREQ(object.convertDoubleToString(row.value), row.text);
}

TEST_F(ObjConversions, without_a_converter_a_text_is_read_as_far_as_it_is_a_number) {
  struct {
    const char* text;
    double value;
  } const rows[] = {
      {"0.1", 0.1},
      {"-12.5e2", -1250.0},
      {"+3", 3.0},
      {"  7", 7.0},     // leading blanks are passed over
      {"12abc", 12.0},  // nothing checks that the text ends with the number
      {"1 2", 1.0},
      {"1,5", 1.0},
      {"0x10", 16.0},
      {"inf", kInfinity},
      {"-Infinity", -kInfinity},
      {"1e999", kInfinity},
      {"-1e999", -kInfinity},
      {"1e-999", 0.0},
      {"abc", 0.0},  // no number at all
      {"", 0.0},
      {" ", 0.0},
      {"NA", 0.0},
      {"nan", 0.0},  // and a NaN is none
      {"NaN", 0.0},
      {"-nan", 0.0},
      {"nan(7)", 0.0},
      {".", 0.0},
      {"\xEF\xBF\xBFx", 0.0},  // not the string NA
  };
  for (const auto& row : rows) EXPECT_EQ(bitsOf(object.convertStringToDouble(row.text)), bitsOf(row.value)) << row.text;
}

TEST_F(ObjConversions, without_a_converter_a_text_is_the_time_date_0) {
  for (const char* text : {"", "5", "2024-02-29", "abc", "\xEF\xBF\xBFx"})
    EXPECT_EQ(object.convertStringToTimeDate(text), 0) << text;
}

TEST_F(ObjConversions, without_a_converter_a_time_date_is_an_empty_text_of_its_own) {
  const char* shared = object.convertDoubleToString(0.5);
  for (const long long timeMs : {5LL, 0LL, -1LL, LLONG_MIN, 0x7FFFFFFFFFFFFFF0LL}) {
    EXPECT_STREQ(object.convertTimeDateToString(timeMs), "");
    EXPECT_NE(object.convertTimeDateToString(timeMs), shared);
  }
  EXPECT_STREQ(shared, "0.5") << "the shared text is not written";
}

TEST_F(ObjConversions, without_a_converter_nothing_is_a_message) {
  object.convertStringToDouble("abc");
  object.convertStringToTimeDate("abc");
  object.convertTimeDateToString(5);
  ZRBObj::convertDoubleToLevelNum(1e9);
  EXPECT_EQ(object.getNumMessagesAdded(), 0);
}

// ---- The shared text ----

TEST_F(ObjConversions, every_number_is_written_into_the_one_shared_text) {
  ZRBObj other;
  const char* first = object.convertDoubleToString(0.1);
  EXPECT_STREQ(first, "0.1");
  const char* second = object.convertDoubleToString(2.5);
  EXPECT_EQ(second, first);
  EXPECT_STREQ(first, "2.5") << "the first text is overwritten";
  const char* third = other.convertDoubleToString(7.0);
  EXPECT_EQ(third, first) << "also by another object";
  EXPECT_STREQ(first, "7");
  EXPECT_EQ(first, SharedText::get());
}

TEST_F(ObjConversions, a_converter_writes_into_the_shared_text_of_1024_bytes) {
  NamedConverter converter("own");
  const char* shared = object.convertDoubleToString(1.0);
  object.setConverter(&converter);
  EXPECT_EQ(object.convertDoubleToString(2.5), shared);
  EXPECT_STREQ(shared, "own double 2.5");
  EXPECT_EQ(object.convertTimeDateToString(-77), shared);
  EXPECT_STREQ(shared, "own time -77");
  EXPECT_EQ(converter.calls, (std::vector<std::string>{"doubleToText 1024", "timeDateToText 1024"}));
  EXPECT_EQ(converter.targets, (std::vector<char*>{const_cast<char*>(shared), const_cast<char*>(shared)}));
}

TEST_F(ObjConversions, a_converter_may_fill_all_1024_bytes) {
  class Filling final : public ZRBConverter {
  public:
    void doubleToText(const double*, char* text, int size) override { fill(text, size); }
    void textToDouble(const char*, double*) override {}
    void timeDateToText(const long long*, char* text, int size) override { fill(text, size); }
    void textToTimeDate(const char*, long long*) override {}

  private:
    static void fill(char* text, int size) {
      std::memset(text, 'x', static_cast<std::size_t>(size) - 1);
      text[size - 1] = '\0';
    }
  } filling;
  object.setConverter(&filling);
  EXPECT_EQ(object.convertDoubleToString(0.0), std::string(1023, 'x'));
  EXPECT_EQ(object.convertTimeDateToString(0), std::string(1023, 'x'));
}

// ---- With a converter ----

TEST_F(ObjConversions, a_converter_reads_texts) {
  NamedConverter converter("own");
  object.setConverter(&converter);
  converter.number = 42.5;
  EXPECT_EQ(object.convertStringToDouble("abc"), 42.5);
  EXPECT_EQ(object.convertStringToTimeDate("def"), 42);
  EXPECT_EQ(object.convertStringToDouble(""), 42.5) << "an empty text is for the converter to read";
  EXPECT_EQ(converter.calls, (std::vector<std::string>{"textToDouble abc", "textToTimeDate def", "textToDouble "}));
}

TEST_F(ObjConversions, a_value_of_a_converter_is_taken_as_it_is) {
  NamedConverter converter("own");
  object.setConverter(&converter);
  converter.number = kQuietNaN;
  EXPECT_EQ(bitsOf(object.convertStringToDouble("abc")), bitsOf(kQuietNaN)) << "NaN becomes 0.0 only without converter";
  converter.number = -0.0;
  EXPECT_EQ(bitsOf(object.convertStringToDouble("abc")), bitsOf(-0.0));
}

TEST_F(ObjConversions, an_object_s_own_converter_comes_before_the_default_and_the_default_before_the_built_in) {
  NamedConverter own("own");
  NamedConverter standard("default");
  own.number = 1;
  standard.number = 2;
  ZRBObj other;

  ZRBObj::setDefaultConverter(&standard);
  EXPECT_EQ(ZRBObj::getDefaultConverter(), &standard);
  EXPECT_EQ(object.getConverter(), nullptr) << "the default is not the object's own";
  object.setConverter(&own);

  EXPECT_STREQ(object.convertDoubleToString(0.5), "own double 0.5");
  EXPECT_STREQ(other.convertDoubleToString(0.5), "default double 0.5");
  EXPECT_STREQ(object.convertTimeDateToString(5), "own time 5");
  EXPECT_STREQ(other.convertTimeDateToString(5), "default time 5");
  EXPECT_EQ(object.convertStringToDouble("x"), 1.0);
  EXPECT_EQ(other.convertStringToDouble("x"), 2.0);
  EXPECT_EQ(object.convertStringToTimeDate("x"), 1);
  EXPECT_EQ(other.convertStringToTimeDate("x"), 2);
  EXPECT_EQ(own.calls.size(), 4u) << "one conversion, one call";
  EXPECT_EQ(standard.calls.size(), 4u);

  object.setConverter(nullptr);
  EXPECT_EQ(object.convertStringToDouble("3"), 2.0) << "back to the default";
  ZRBObj::setDefaultConverter(nullptr);
  EXPECT_EQ(object.convertStringToDouble("3"), 3.0) << "back to the built-in conversion";
}

// ---- Level numbers ----

TEST_F(ObjConversions, a_level_number_becomes_its_double) {
  for (const long level : {0L, 1L, 65534L, 65535L, 70000L, 1L << 52})
    EXPECT_EQ(ZRBObj::convertLevelNumToDouble(level), static_cast<double>(level));
}

TEST_F(ObjConversions, a_double_becomes_its_level_number_truncated_toward_zero) {
  struct {
    double value;
    long level;
  } const rows[] = {{0.0, 0}, {0.999, 0}, {1.0, 1}, {3.9, 3}, {499.5, 499}, {65534.0, 65534}, {65534.999, 65534}};
  for (const auto& row : rows) EXPECT_EQ(ZRBObj::convertDoubleToLevelNum(row.value), row.level) << row.value;
}

TEST_F(ObjConversions, a_double_outside_the_level_numbers_becomes_level_0) {
  for (const double value : {-0.0, -0.5, -1.0, -1e300, -kInfinity, 65535.0, 65535.5, 70000.0, 1e300, kInfinity})
    EXPECT_EQ(ZRBObj::convertDoubleToLevelNum(value), 0) << value;
}

TEST_F(ObjConversions, level_numbers_and_texts_meet_only_in_a_buffer) {
  for (const long level : {0L, 3L, 65535L}) EXPECT_STREQ(ZRBObj::convertLevelNumToString(level), "");
  for (const char* text : {"", "3", "abc", "-1"}) EXPECT_EQ(ZRBObj::convertStringToLevelNum(text), 0);
}

TEST_F(ObjConversions, level_numbers_and_time_dates_convert_to_0) {
  ZRBObj::setDoubleDateEpoch(1000);
  for (const long level : {0L, 3L, 65535L}) EXPECT_EQ(ZRBObj::convertLevelNumToTimeDate(level), 0);
  for (const long long timeMs : {0LL, 5LL, -5LL, LLONG_MIN, 0x7FFFFFFFFFFFFFF0LL})
    EXPECT_EQ(ZRBObj::convertTimeDateToLevelNum(timeMs), 0);
}

// ---- Dates ----

TEST_F(ObjConversions, a_double_date_counts_days_from_the_epoch) {
  struct {
    long long epoch;
    double days;
    long long timeMs;
  } const rows[] = {
      {0, 0.0, 0},
      {0, 1.0, kMsPerDay},
      {0, -1.0, -kMsPerDay},
      {0, 1.5, 129600000},
      {1000, 1.5, 129601000},
      {-1000, 1.5, 129599000},
      {1000, -1.5, -129599000},
      {5, 0.99 / 86400000.0, 5},   // the product is truncated toward zero ...
      {5, -0.99 / 86400000.0, 5},  // ... from both sides, before the epoch is added
      {0, 1.99 / 86400000.0, 1},
      {0, -1.99 / 86400000.0, -1},
      {0, 19782.5, 1709208000000},
      {1LL << 60, 1.0, (1LL << 60) + kMsPerDay},
      // A product beyond 64 bits is the least number; sums wrap.
      {0, kInfinity, LLONG_MIN},
      {0, -kInfinity, LLONG_MIN},
      {7, 1e300, LLONG_MIN + 7},
      {-7, -1e300, LLONG_MAX - 6},
      {LLONG_MAX, 1.0, LLONG_MIN + kMsPerDay - 1},
  };
  for (const auto& row : rows) {
    ZRBObj::setDoubleDateEpoch(row.epoch);
    EXPECT_EQ(ZRBObj::convertDoubleToTimeDate(row.days), row.timeMs) << row.epoch << " " << row.days;
  }
}

TEST_F(ObjConversions, a_time_date_becomes_days_from_the_epoch) {
  struct {
    long long epoch;
    long long timeMs;
    double days;
  } const rows[] = {
      {0, 0, 0.0},
      {0, 43200000, 0.5},
      {0, -43200000, -0.5},
      {0, kMsPerDay, 1.0},
      {1000, 1000, 0.0},
      {1000, 0, -1000.0 / 86400000.0},
      {0, 1, 1.0 / 86400000.0},
      // Near a far epoch nothing is lost: the subtraction is one of integers.
      {(1LL << 60) + 1, (1LL << 60) + 4, 3.0 / 86400000.0},
      {-(1LL << 60), -(1LL << 60) - 1, -1.0 / 86400000.0},
      {0, 0x7FFFFFFFFFFFFFF0, 9223372036854775807.0 / 86400000.0},  // the largest that is no NA
      // Differences wrap.
      {1, LLONG_MIN, 9223372036854775807.0 / 86400000.0},
      {LLONG_MIN, 0, -9223372036854775808.0 / 86400000.0},
  };
  for (const auto& row : rows) {
    ZRBObj::setDoubleDateEpoch(row.epoch);
    EXPECT_EQ(bitsOf(ZRBObj::convertTimeDateToDouble(row.timeMs)), bitsOf(row.days)) << row.epoch << " " << row.timeMs;
  }
}

TEST_F(ObjConversions, a_whole_number_of_milliseconds_survives_the_way_through_days_on_full_days) {
  for (long long day = -40000; day <= 40000; day += 7) {
    ZRBObj::setDoubleDateEpoch(day * 3);
    const long long timeMs = day * 3 + day * kMsPerDay;
    EXPECT_EQ(ZRBObj::convertTimeDateToDouble(timeMs), static_cast<double>(day));
    EXPECT_EQ(ZRBObj::convertDoubleToTimeDate(static_cast<double>(day)), timeMs);
  }
}

}  // namespace
