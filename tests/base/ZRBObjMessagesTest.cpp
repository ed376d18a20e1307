// ZRBObj: messages, severities and the error marker.
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/PropertyCall.h"
#include "support/SavedSettings.h"
#include "zrbbase.h"

namespace {

enum Severity { kDebug = 0, kVerbose = 1, kInformation = 2, kWarning = 3, kError = 4 };

class ObjMessages : public ::testing::Test {
protected:
  // The texts of the list, oldest first.
  std::vector<std::string> texts() {
    std::vector<std::string> all;
    for (long i = 0; i < object.getNumMessages(); ++i) all.emplace_back(object.getMessage(i));
    return all;
  }
  void addTimes(int times, const char* text, int severity) {
    for (int i = 0; i < times; ++i) object.addMessage(text, severity);
  }
  // The text that `add` has just added as the only message.
  std::string only() {
    EXPECT_EQ(object.getNumMessages(), 1);
    const char* text = object.getMessage(0);
    const std::string copy = text == nullptr ? "(null)" : text;
    object.clearMessages();
    return copy;
  }

  ZRBObj object;

private:
  SavedSettings m_saved;
};

// ---- Adding ----

TEST_F(ObjMessages, messages_keep_their_order_texts_and_severities) {
  object.addMessage("one", kInformation);
  object.addMessage("two", kDebug);
  object.addMessage("", kWarning);
  ASSERT_EQ(object.getNumMessages(), 3);
  EXPECT_EQ(object.getNumMessagesAdded(), 3);
  EXPECT_EQ(texts(), (std::vector<std::string>{"one", "two", ""}));
  EXPECT_EQ(object.getMessageSeverity(0), kInformation);
  EXPECT_EQ(object.getMessageSeverity(1), kDebug);
  EXPECT_EQ(object.getMessageSeverity(2), kWarning);
  EXPECT_EQ(object.hasError(), 0);
}

TEST_F(ObjMessages, each_adder_adds_its_severity) {
  struct {
    void (ZRBObj::*add)(const char*);
    int severity;
  } const adders[] = {{&ZRBObj::addDebug, 0},
                      {&ZRBObj::addVerbose, 1},
                      {&ZRBObj::addInformation, 2},
                      {&ZRBObj::addWarning, 3},
                      {&ZRBObj::addError, 4}};
  for (const auto& adder : adders) {
    object.clearMessages();
    (object.*adder.add)("text");
    ASSERT_EQ(object.getNumMessages(), 1);
    EXPECT_STREQ(object.getMessage(0), "text");
    EXPECT_EQ(object.getMessageSeverity(0), adder.severity);
    EXPECT_EQ(object.hasError(), adder.severity == kError ? 1 : 0);
  }
}

TEST_F(ObjMessages, a_message_is_a_copy_of_its_text) {
  char text[] = "text";
  object.addWarning(text);
  text[0] = 'n';
  EXPECT_STREQ(object.getMessage(0), "text");
}

TEST_F(ObjMessages, a_null_text_is_neither_stored_nor_counted) {
  object.addMessage(nullptr, kError);
  object.addDebug(nullptr);
  object.addVerbose(nullptr);
  object.addInformation(nullptr);
  object.addWarning(nullptr);
  object.addError(nullptr);
  EXPECT_EQ(object.getNumMessages(), 0);
  EXPECT_EQ(object.getNumMessagesAdded(), 0);
  EXPECT_EQ(object.hasError(), 0);
}

TEST_F(ObjMessages, a_severity_is_stored_as_given) {
  for (const int severity : {5, 9, -1, INT_MAX, INT_MIN}) {
    object.clearMessages();
    object.addMessage("odd", severity);
    EXPECT_EQ(object.getMessageSeverity(0), severity);
    EXPECT_EQ(object.getNumMessagesAtLevel(severity), 1);
    EXPECT_EQ(object.getNumMessagesAtLevel(kDebug), 0) << "compared exactly, although its name is \"debug\"";
    EXPECT_STREQ(PropertyCall("severity").with(0).get(object).stringResult.value(), "debug");
    EXPECT_EQ(object.hasError(), 0) << "only severity 4 is an error";
  }
}

TEST_F(ObjMessages, a_stored_text_ends_with_two_NULs) {
  for (const char* text : {"", "a", "a longer text that is no short string"}) {
    object.clearMessages();
    object.addWarning(text);
    const char* stored = object.getMessage(0);
    EXPECT_EQ(stored[std::strlen(text)], '\0');
    EXPECT_EQ(stored[std::strlen(text) + 1], '\0');
  }
  ZRBObj::setMaxMessageLength(3);
  object.clearMessages();
  object.addWarning("abcdef");
  EXPECT_EQ(std::memcmp(object.getMessage(0), "abc\0", 5), 0);
  object.setError("abc", "def");
  EXPECT_EQ(std::memcmp(object.getMessage(1), "a: \0", 5), 0);
}

TEST_F(ObjMessages, messages_of_one_object_are_not_those_of_another) {
  ZRBObj other;
  object.addError("mine");
  EXPECT_EQ(other.getNumMessages(), 0);
  EXPECT_EQ(other.hasError(), 0);
  EXPECT_EQ(other.getNumMessagesAdded(), 0);
}

// ---- The length limit ----

TEST_F(ObjMessages, a_message_of_600_bytes_is_stored_as_its_first_500_bytes) {
  std::string text;
  for (int i = 0; i < 600; ++i) text += static_cast<char>('a' + i % 26);
  object.addWarning(text.c_str());
  EXPECT_EQ(object.getMessage(0), text.substr(0, 500));
}

TEST_F(ObjMessages, a_message_is_cut_to_the_length_limit) {
  struct {
    long limit;
    const char* stored;
  } const rows[] = {{0, ""},     {1, "a"},    {2, "ab"},    {3, "abc"},
                    {4, "abcd"}, {5, "abcd"}, {-1, "abcd"}, {INT_MIN, "abcd"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.limit);
    ZRBObj::setMaxMessageLength(row.limit);
    object.clearMessages();
    object.setError("abcd");
    EXPECT_EQ(object.getNumMessages(), 1);
    EXPECT_STREQ(object.getMessage(0), row.stored);
    EXPECT_STREQ(object.getError(), row.stored);
    EXPECT_EQ(object.hasError(), 1) << "an empty error is an error";
  }
}

TEST_F(ObjMessages, a_negative_length_limit_does_not_cut) {
  ZRBObj::setMaxMessageLength(-1);
  const std::string text(100000, 'x');
  object.addWarning(text.c_str());
  EXPECT_EQ(object.getMessage(0), text);
}

TEST_F(ObjMessages, a_new_length_limit_leaves_stored_messages_alone) {
  object.addWarning("abcd");
  ZRBObj::setMaxMessageLength(1);
  EXPECT_STREQ(object.getMessage(0), "abcd");
}

// ---- Prefix and detail ----

TEST_F(ObjMessages, a_detail_follows_its_prefix_after_colon_and_blank) {
  object.addMessage("bad value", "why", kWarning);
  EXPECT_EQ(object.getMessageSeverity(0), kWarning);
  EXPECT_EQ(only(), "bad value: why");
  object.addMessage("bad value", "", kWarning);
  EXPECT_EQ(only(), "bad value: ");
  object.addMessage("", "why", kWarning);
  EXPECT_EQ(only(), ": why");
  object.addMessage("", "", kWarning);
  EXPECT_EQ(only(), ": ");
}

TEST_F(ObjMessages, a_null_prefix_or_detail_counts_as_empty) {
  const char* const null = nullptr;
  object.addMessage("prefix", null, kWarning);
  EXPECT_EQ(only(), "prefix: ");
  object.addMessage(null, "detail", kWarning);
  EXPECT_EQ(only(), ": detail");
  object.addMessage(null, null, kWarning);
  EXPECT_EQ(only(), ": ");
  object.addMessage(null, 5, kWarning);
  EXPECT_EQ(only(), ": 5");
  object.setError("prefix", null);
  EXPECT_EQ(only(), "prefix: ");
  object.setError(null, "detail");
  EXPECT_EQ(only(), ": detail");
}

TEST_F(ObjMessages, an_int_detail_is_written_in_decimal) {
  struct {
    int value;
    const char* text;
  } const rows[] = {{0, "n: 0"}, {-7, "n: -7"}, {INT_MAX, "n: 2147483647"}, {INT_MIN, "n: -2147483648"}};
  for (const auto& row : rows) {
    object.addMessage("n", row.value, kInformation);
    EXPECT_EQ(object.getMessageSeverity(0), kInformation);
    EXPECT_EQ(only(), row.text);
    object.setError("n", row.value);
    EXPECT_EQ(object.getMessageSeverity(0), kError);
    EXPECT_EQ(only(), row.text);
  }
}

TEST_F(ObjMessages, a_long_detail_is_written_in_decimal) {
  struct {
    long value;
    const char* text;
  } const rows[] = {
      {0, "n: 0"}, {-7, "n: -7"}, {LONG_MAX, "n: 9223372036854775807"}, {LONG_MIN, "n: -9223372036854775808"}};
  for (const auto& row : rows) {
    object.addMessage("n", row.value, kInformation);
    EXPECT_EQ(object.getMessageSeverity(0), kInformation);
    EXPECT_EQ(only(), row.text);
    object.setError("n", row.value);
    EXPECT_EQ(object.getMessageSeverity(0), kError);
    EXPECT_EQ(only(), row.text);
  }
}

TEST_F(ObjMessages, a_double_detail_has_up_to_six_significant_digits) {
  struct {
    double value;
    const char* text;
  } const rows[] = {
      {3.5, "bad value: 3.5"},
      {0.0, "bad value: 0"},
      {-0.0, "bad value: -0"},
      {100000.0, "bad value: 100000"},
      {1000000.0, "bad value: 1e+06"},
      {123456.789, "bad value: 123457"},
      {0.0001, "bad value: 0.0001"},
      {0.00001, "bad value: 1e-05"},
      {-std::numeric_limits<double>::max(), "bad value: -1.79769e+308"},
      {std::numeric_limits<double>::infinity(), "bad value: inf"},
  };
  for (const auto& row : rows) {
    object.addMessage("bad value", row.value, kWarning);
    EXPECT_EQ(object.getMessageSeverity(0), kWarning);
    EXPECT_EQ(only(), row.text);
    object.setError("bad value", row.value);
    EXPECT_EQ(object.getMessageSeverity(0), kError);
    EXPECT_EQ(only(), row.text);
  }
}

TEST_F(ObjMessages, the_length_limit_holds_for_the_joined_text) {
  ZRBObj::setMaxMessageLength(6);
  object.addMessage("bad value", 3.5, kWarning);
  EXPECT_EQ(only(), "bad : ") << "four bytes of the prefix, colon and blank, no detail";
  object.addMessage("bad", 3.5, kWarning);
  EXPECT_EQ(only(), "bad: 3");
  object.addMessage("ba", 3.5, kWarning);
  EXPECT_EQ(only(), "ba: 3.");
  object.addMessage("", "detail", kWarning);
  EXPECT_EQ(only(), ": deta");
}

TEST_F(ObjMessages, a_prefix_that_fills_the_limit_keeps_the_separator_and_loses_the_detail) {
  const std::string prefix(600, 'p');
  object.setError(prefix.c_str(), 12L);
  EXPECT_EQ(only(), std::string(498, 'p') + ": ");
  object.setError(prefix.substr(0, 490).c_str(), "a detail of 21 bytes.");
  EXPECT_EQ(only(), std::string(490, 'p') + ": a detail");
}

// Every limit with every pair of short lengths, against the rule put in other words.
TEST_F(ObjMessages, joined_texts_give_way_from_the_detail_on_at_every_limit) {
  const std::string letters = "abcdefgh";
  const std::string digits = "12345678";
  for (int limit = -1; limit <= 20; ++limit) {
    for (std::size_t prefixLength = 0; prefixLength <= letters.size(); ++prefixLength) {
      for (std::size_t detailLength = 0; detailLength <= digits.size(); ++detailLength) {
        std::string prefix = letters.substr(0, prefixLength);
        std::string detail = digits.substr(0, detailLength);
        std::string expected;
        if (limit < 0) {
          expected = prefix + ": " + detail;
        } else if (limit <= 2) {
          expected = std::string(": ").substr(0, static_cast<std::size_t>(limit));
        } else {
          const auto room = static_cast<std::size_t>(limit) - 2;
          expected = prefix.substr(0, room) + ": ";
          if (prefix.size() < room) expected += detail.substr(0, room - prefix.size());
        }
        ZRBObj::setMaxMessageLength(limit);
        object.addMessage(prefix.c_str(), detail.c_str(), kDebug);
        ASSERT_EQ(only(), expected) << "limit " << limit << ", " << prefix << ", " << detail;
        object.setError(prefix.c_str(), detail.c_str());
        ASSERT_EQ(only(), expected) << "limit " << limit << ", " << prefix << ", " << detail;
      }
    }
  }
}

TEST_F(ObjMessages, the_limits_0_to_3_leave_these_joined_texts) {
  struct {
    long limit;
    const char* stored;
  } const rows[] = {{0, ""}, {1, ":"}, {2, ": "}, {3, "a: "}, {4, "ab: "}, {5, "ab: c"}, {6, "ab: cd"}, {7, "ab: cd"}};
  for (const auto& row : rows) {
    ZRBObj::setMaxMessageLength(row.limit);
    object.setError("ab", "cd");
    EXPECT_EQ(only(), row.stored) << row.limit;
  }
}

// ---- The list limit ----

TEST_F(ObjMessages, a_flood_of_one_severity_never_hides_another) {
  addTimes(50, "debug", kDebug);
  EXPECT_EQ(object.getNumMessages(), 50);
  object.addWarning("warning");
  EXPECT_EQ(object.getNumMessages(), 51) << "stored beyond the limit: the first of its severity";
  addTimes(49, "warning", kWarning);
  EXPECT_EQ(object.getNumMessages(), 100);
  object.addWarning("dropped");
  EXPECT_EQ(object.getNumMessages(), 100);
  EXPECT_EQ(object.getNumMessagesAdded(), 101) << "a dropped message is counted";
  EXPECT_STREQ(object.getMessage(99), "warning");
  object.addDebug("dropped");
  EXPECT_EQ(object.getNumMessages(), 100);
  EXPECT_EQ(object.getNumMessagesAdded(), 102);
  object.addError("stored");
  EXPECT_EQ(object.getNumMessages(), 101);
  EXPECT_STREQ(object.getError(), "stored");
  EXPECT_STREQ(object.getMessage(0), "debug") << "nothing is discarded to make room";
}

TEST_F(ObjMessages, a_full_list_still_takes_a_severity_with_few_messages) {
  ZRBObj::setMaxMessages(3);
  object.addDebug("d0");
  object.addWarning("w0");
  object.addDebug("d1");
  object.addDebug("d2");  // the list is full, but debug has two of its own
  object.addDebug("d3");  // and now three
  object.addWarning("w1");
  object.addWarning("w2");
  object.addWarning("w3");
  EXPECT_EQ(texts(), (std::vector<std::string>{"d0", "w0", "d1", "d2", "w1", "w2"}));
  EXPECT_EQ(object.getNumMessagesAdded(), 8);
}

TEST_F(ObjMessages, a_list_limit_of_0_or_below_drops_everything) {
  for (const long limit : {0L, -1L, -50L}) {
    ZRBObj::setMaxMessages(limit);
    object.clearMessages();
    object.addError("dropped");
    object.setError("dropped", 1);
    object.addDebug("dropped");
    EXPECT_EQ(object.getNumMessages(), 0);
    EXPECT_EQ(object.getNumMessagesAdded(), 3);
    EXPECT_EQ(object.getError(), nullptr);
    EXPECT_EQ(object.hasError(), 0);
  }
}

TEST_F(ObjMessages, a_lower_list_limit_keeps_what_is_stored) {
  addTimes(10, "debug", kDebug);
  ZRBObj::setMaxMessages(5);
  EXPECT_EQ(object.getNumMessages(), 10);
  object.addDebug("dropped");
  object.addWarning("stored");
  EXPECT_EQ(object.getNumMessages(), 11);
  ZRBObj::setMaxMessages(12);
  object.addDebug("stored");
  EXPECT_EQ(object.getNumMessages(), 12) << "a higher limit takes messages again";
}

TEST_F(ObjMessages, the_list_follows_the_dropping_rule_for_any_sequence) {
  std::mt19937 random(20240229);
  for (long limit = -1; limit <= 6; ++limit) {
    ZRBObj::setMaxMessages(limit);
    object.clearMessages();
    std::vector<std::pair<int, std::string>> model;
    std::optional<std::string> error;
    long added = 0;
    for (int step = 0; step < 300; ++step) {
      const int severity = static_cast<int>(random() % 6);  // 5 is no severity, and yet a class of its own
      const std::string text = "message " + std::to_string(step);
      object.addMessage(text.c_str(), severity);
      ++added;
      long ofSeverity = 0;
      for (const auto& entry : model) ofSeverity += entry.first == severity;
      const bool listIsFull = static_cast<long>(model.size()) >= limit;
      if (!(listIsFull && ofSeverity >= limit)) {
        model.emplace_back(severity, text);
        if (severity == kError) error = text;
      }
      ASSERT_EQ(object.getNumMessages(), static_cast<long>(model.size()));
      ASSERT_EQ(object.getNumMessagesAdded(), added);
      ASSERT_EQ(object.hasError(), error ? 1 : 0);
      if (error) {
        ASSERT_EQ(object.getError(), *error);
      }
    }
    for (std::size_t i = 0; i < model.size(); ++i) {
      EXPECT_EQ(object.getMessageSeverity(static_cast<long>(i)), model[i].first);
      EXPECT_EQ(object.getMessage(static_cast<long>(i)), model[i].second);
    }
  }
}

// ---- The counter ----

TEST_F(ObjMessages, the_counter_of_added_messages_stays_at_its_largest_value) {
  class NearOverflow final : public ZRBObj {
  public:
    void setAdded(long long count) { m_num_messages_added = count; }
  };
  NearOverflow near;
  near.setAdded(LLONG_MAX - 1);
  near.addDebug("one");
  EXPECT_EQ(near.getNumMessagesAdded(), LONG_MAX);
  near.addDebug("two");
  EXPECT_EQ(near.getNumMessagesAdded(), LONG_MAX);
  near.addError("three");
  EXPECT_EQ(near.getNumMessagesAdded(), LONG_MAX);
  EXPECT_EQ(PropertyCall("num.messages.added").get(near).longResult, LONG_MAX);
  EXPECT_EQ(near.getNumMessages(), 3) << "the messages themselves are stored";
  near.clearMessages();
  EXPECT_EQ(near.getNumMessagesAdded(), 0);
}

TEST_F(ObjMessages, only_clearing_resets_the_counter) {
  ZRBObj::setMaxMessages(1);
  addTimes(5, "text", kDebug);
  EXPECT_EQ(object.getNumMessages(), 1);
  EXPECT_EQ(object.getNumMessagesAdded(), 5);
  ZRBObj::setMaxMessages(50);
  object.setName("name");
  EXPECT_EQ(object.getNumMessagesAdded(), 5);
  object.clearMessages();
  EXPECT_EQ(object.getNumMessagesAdded(), 0);
}

// ---- Errors ----

TEST_F(ObjMessages, of_two_errors_the_second_is_the_error) {
  object.setError("first");
  EXPECT_STREQ(object.getError(), "first");
  object.addWarning("between");
  object.setError("second");
  object.addDebug("after");
  EXPECT_STREQ(object.getError(), "second");
  EXPECT_EQ(object.getNumMessages(), 4);
  object.clearMessages();
  EXPECT_EQ(object.getError(), nullptr);
  EXPECT_EQ(object.hasError(), 0);
}

TEST_F(ObjMessages, the_error_is_the_stored_text_itself) {
  object.addWarning("w");
  object.setError("e");
  EXPECT_EQ(object.getError(), object.getMessage(1));
  addTimes(45, "more", kDebug);  // the list grows, the text stays
  EXPECT_STREQ(object.getError(), "e");
  EXPECT_EQ(object.getError(), object.getMessage(1));
}

TEST_F(ObjMessages, a_dropped_error_leaves_the_last_stored_one) {
  ZRBObj::setMaxMessages(2);
  object.setError("first");
  object.setError("second");
  object.setError("dropped");
  object.setError("dropped", 3);
  EXPECT_STREQ(object.getError(), "second");
  EXPECT_EQ(object.getError(), object.getMessage(1));
  EXPECT_EQ(object.getNumMessagesAdded(), 4);
}

TEST_F(ObjMessages, setError_nullptr_clears_the_slate) {
  addTimes(3, "warning", kWarning);
  object.setError(nullptr);
  EXPECT_EQ(object.getNumMessages(), 0);
  EXPECT_EQ(object.getNumMessagesAdded(), 0);
  object.setError("e");
  object.addDebug("d");
  object.setError(static_cast<const char*>(nullptr));
  EXPECT_EQ(object.getNumMessages(), 0);
  EXPECT_EQ(object.getNumMessagesAdded(), 0);
  EXPECT_EQ(object.getError(), nullptr);
  EXPECT_EQ(object.hasError(), 0);
}

// The host may pass back what the object handed out.
TEST_F(ObjMessages, an_object_may_be_given_its_own_error_again) {
  object.setError("the error, long enough for an allocation of its own");
  for (int i = 0; i < 40; ++i) object.setError(object.getError());
  ASSERT_EQ(object.getNumMessages(), 41);
  for (const std::string& text : texts()) EXPECT_EQ(text, "the error, long enough for an allocation of its own");
}

// ---- Reading ----

TEST_F(ObjMessages, an_index_outside_the_list_has_no_text_and_severity_0) {
  for (const long index : {-1L, 0L, 1L, LONG_MIN, LONG_MAX}) {
    EXPECT_EQ(object.getMessage(index), nullptr) << index;
    EXPECT_EQ(object.getMessageSeverity(index), 0) << index;
  }
  object.addError("e0");
  object.addError("e1");
  for (const long index : {-1L, 2L, 3L, LONG_MIN, LONG_MAX, 4294967296L}) {
    EXPECT_EQ(object.getMessage(index), nullptr) << index;
    EXPECT_EQ(object.getMessageSeverity(index), 0) << index;
  }
}

TEST_F(ObjMessages, messages_are_counted_by_severity) {
  for (int severity = 0; severity <= 4; ++severity) addTimes(severity + 1, "text", severity);
  for (int severity = 0; severity <= 4; ++severity) EXPECT_EQ(object.getNumMessagesAtLevel(severity), severity + 1);
  EXPECT_EQ(object.getNumMessagesAtLevel(5), 0);
  EXPECT_EQ(object.getNumMessagesAtLevel(-1), 0);
}

TEST_F(ObjMessages, a_cleared_list_takes_messages_as_a_new_one) {
  addTimes(60, "debug", kDebug);
  object.clearMessages();
  EXPECT_EQ(object.getMessage(0), nullptr);
  EXPECT_EQ(object.getNumMessagesAtLevel(kDebug), 0);
  addTimes(60, "debug", kDebug);
  EXPECT_EQ(object.getNumMessages(), 50);
  EXPECT_EQ(object.getNumMessagesAdded(), 60);
}

// ---- Severity names ----

TEST_F(ObjMessages, every_number_has_a_severity_name) {
  struct {
    int number;
    const char* name;
  } const rows[] = {{0, "debug"}, {1, "verbose"}, {2, "information"}, {3, "warning"},     {4, "error"},  {5, "debug"},
                    {7, "debug"}, {-1, "debug"},  {INT_MAX, "debug"}, {INT_MIN, "debug"}, {260, "debug"}};
  for (const auto& row : rows) EXPECT_STREQ(ZRBObj::severityNumToString(row.number), row.name) << row.number;
}

TEST_F(ObjMessages, severity_names_are_compared_exactly) {
  struct {
    const char* name;
    int number;
  } const rows[] = {{"debug", 0},  {"verbose", 1}, {"information", 2}, {"warning", 3},  {"error", 4},
                    {nullptr, 0},  {"", 0},        {"Error", 0},       {"ERROR", 0},    {"Warning", 0},
                    {"error ", 0}, {" error", 0},  {"erro", 0},        {"errors", 0},   {"warn", 0},
                    {"info", 0},   {"4", 0},       {"Verbose", 0},     {"verbosity", 0}};
  for (const auto& row : rows)
    EXPECT_EQ(ZRBObj::severityStringToNum(row.name), row.number) << (row.name == nullptr ? "null" : row.name);
}

}  // namespace
