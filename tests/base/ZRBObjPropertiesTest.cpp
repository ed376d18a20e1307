// ZRBObj: construction, name, the property protocol, and the settings shared by all objects.
#include <climits>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ZRBConverter.h"
#include "support/PropertyCall.h"
#include "support/SavedSettings.h"
#include "zrbbase.h"

namespace {

using Names = std::vector<std::string>;

const Names kSetNames = {"init",
                         "name",
                         "error",
                         "warning",
                         "information",
                         "verbose",
                         "debug",
                         "max.messages",
                         "max.message.length",
                         "clear.messages",
                         "double.date.epoch",
                         "error.on.level.overflow",
                         "error.on.string.truncation",
                         "use.windows.string.encoding"};

const Names kGetNames = {"name",
                         "error",
                         "max.messages",
                         "max.message.length",
                         "num.messages",
                         "num.messages.added",
                         "message",
                         "severity",
                         "num.messages.at.level",
                         "has.error",
                         "double.date.epoch",
                         "error.on.level.overflow",
                         "error.on.string.truncation",
                         "use.windows.string.encoding"};

// The first names of a chain, up to and including `name`.
Names upTo(const Names& chain, const std::string& name) {
  Names asked;
  for (const std::string& each : chain) {
    asked.push_back(each);
    if (each == name) break;
  }
  return asked;
}

class ObjProperties : public ::testing::Test {
protected:
  ZRBObj object;
  ZRBObj other;

private:
  SavedSettings m_saved;
};

// ---- Construction and name ----

TEST_F(ObjProperties, a_new_object_has_no_name_no_message_no_error_and_no_converter) {
  EXPECT_EQ(object.getName(), nullptr);
  EXPECT_EQ(object.getError(), nullptr);
  EXPECT_EQ(object.hasError(), 0);
  EXPECT_EQ(object.getNumMessages(), 0);
  EXPECT_EQ(object.getNumMessagesAdded(), 0);
  EXPECT_EQ(object.getConverter(), nullptr);
}

TEST_F(ObjProperties, a_name_is_copied) {
  char name[] = "first";
  object.setName(name);
  name[0] = 'F';
  EXPECT_STREQ(object.getName(), "first");
  EXPECT_NE(object.getName(), name);
}

TEST_F(ObjProperties, a_later_name_replaces_the_earlier_one) {
  object.setName("first");
  object.setName("a second and much longer name");
  EXPECT_STREQ(object.getName(), "a second and much longer name");
  object.setName("");
  EXPECT_STREQ(object.getName(), "") << "an empty name is a name";
}

TEST_F(ObjProperties, a_null_name_clears_the_name) {
  object.setName("first");
  object.setName(nullptr);
  EXPECT_EQ(object.getName(), nullptr);
  object.setName(nullptr);
  EXPECT_EQ(object.getName(), nullptr);
}

TEST_F(ObjProperties, an_object_may_be_given_its_own_name) {
  object.setName("a name too long for any short form");
  object.setName(object.getName());
  EXPECT_STREQ(object.getName(), "a name too long for any short form");
}

// ---- The chain of names ----

TEST_F(ObjProperties, a_set_tests_every_name_in_order_and_ends_with_one_unknownProperty) {
  PropertyCall probe("");
  probe.set(object);
  EXPECT_EQ(probe.asked, kSetNames);
  EXPECT_EQ(probe.calls, Names{});
  EXPECT_EQ(probe.unknown, 1);
}

TEST_F(ObjProperties, a_get_tests_every_name_in_order_and_ends_with_one_unknownProperty) {
  PropertyCall probe("");
  probe.get(object);
  EXPECT_EQ(probe.asked, kGetNames);
  EXPECT_EQ(probe.calls, Names{});
  EXPECT_EQ(probe.unknown, 1);
}

TEST_F(ObjProperties, a_set_stops_at_its_name_and_reads_its_argument_once_with_the_getter_of_its_type) {
  struct {
    const char* name;
    Names calls;
  } const rows[] = {
      {"init", {}},
      {"name", {"getStringArg"}},
      {"error", {"getStringArg"}},
      {"warning", {"getStringArg"}},
      {"information", {"getStringArg"}},
      {"verbose", {"getStringArg"}},
      {"debug", {"getStringArg"}},
      {"max.messages", {"getLongArg"}},
      {"max.message.length", {"getLongArg"}},
      {"clear.messages", {}},
      {"double.date.epoch", {"getLongLongArg"}},
      {"error.on.level.overflow", {"getBoolArg"}},
      {"error.on.string.truncation", {"getBoolArg"}},
      {"use.windows.string.encoding", {"getBoolArg"}},
  };
  ASSERT_EQ(std::size(rows), kSetNames.size());
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    PropertyCall call(row.name);
    call.set(object);
    EXPECT_EQ(call.asked, upTo(kSetNames, row.name));
    EXPECT_EQ(call.calls, row.calls);
    EXPECT_EQ(call.unknown, 0);
  }
}

TEST_F(ObjProperties, a_get_stops_at_its_name_and_stores_one_result_with_the_setter_of_its_type) {
  struct {
    const char* name;
    Names calls;
  } const rows[] = {
      {"name", {"setStringResult"}},
      {"error", {"setStringResult"}},
      {"max.messages", {"setLongResult"}},
      {"max.message.length", {"setLongResult"}},
      {"num.messages", {"setLongResult"}},
      {"num.messages.added", {"setLongResult"}},
      {"message", {"getLongArg", "setStringResult"}},
      {"severity", {"getLongArg", "setStringResult"}},
      {"num.messages.at.level", {"getStringArg", "setLongResult"}},
      {"has.error", {"setBoolResult"}},
      {"double.date.epoch", {"setLongLongResult"}},
      {"error.on.level.overflow", {"setBoolResult"}},
      {"error.on.string.truncation", {"setBoolResult"}},
      {"use.windows.string.encoding", {"setBoolResult"}},
  };
  ASSERT_EQ(std::size(rows), kGetNames.size());
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    PropertyCall call(row.name);
    call.get(object);
    EXPECT_EQ(call.asked, upTo(kGetNames, row.name));
    EXPECT_EQ(call.calls, row.calls);
    EXPECT_EQ(call.unknown, 0);
  }
}

TEST_F(ObjProperties, a_set_only_name_is_unknown_to_a_get) {
  for (const char* name : {"init", "warning", "information", "verbose", "debug", "clear.messages"}) {
    SCOPED_TRACE(name);
    object.addDebug("kept");
    PropertyCall call(name);
    call.get(object);
    EXPECT_EQ(call.unknown, 1);
    EXPECT_EQ(call.asked, kGetNames);
    EXPECT_EQ(call.calls, Names{});
    EXPECT_EQ(object.getNumMessages(), 1) << "nothing is done";
    object.clearMessages();
  }
}

TEST_F(ObjProperties, a_get_only_name_is_unknown_to_a_set) {
  for (const char* name :
       {"num.messages", "num.messages.added", "message", "severity", "num.messages.at.level", "has.error"}) {
    SCOPED_TRACE(name);
    PropertyCall call(name);
    call.with(3).set(object);
    EXPECT_EQ(call.unknown, 1);
    EXPECT_EQ(call.asked, kSetNames);
    EXPECT_EQ(call.calls, Names{});
    EXPECT_EQ(object.getNumMessages(), 0) << "nothing is done";
  }
}

TEST_F(ObjProperties, any_nonzero_answer_of_the_request_is_a_match) {
  for (const int answer : {1, -1, 256, INT_MIN}) {
    SCOPED_TRACE(answer);
    object.setName(nullptr);
    PropertyCall set("name");
    set.matchAnswer = answer;
    set.with("n").set(object);
    EXPECT_STREQ(object.getName(), "n");
    EXPECT_EQ(set.unknown, 0);
    PropertyCall get("name");
    get.matchAnswer = answer;
    get.get(object);
    EXPECT_EQ(get.calls, Names{"setStringResult"});
    EXPECT_EQ(get.unknown, 0);
  }
}

// Every class ends its chain with the names of ZRBObj, after its own and those of the classes between.
TEST_F(ObjProperties, a_name_unknown_to_a_class_and_all_its_bases_ends_in_exactly_one_unknownProperty) {
  struct {
    const char* className;
    void (*create)(void**);
  } const factories[] = {
      {"ZRBMemoryBuf", zrb_s_create_ZRBMemoryBuf},           {"ZRBPipeline", zrb_s_create_ZRBPipeline},
      {"ZRBProcCount", zrb_s_create_ZRBProcCount},           {"ZRBProcNullReader", zrb_s_create_ZRBProcNullReader},
      {"ZRBProcNullWriter", zrb_s_create_ZRBProcNullWriter}, {"ZRBProcRandomReader", zrb_s_create_ZRBProcRandomReader},
  };
  for (const auto& factory : factories) {
    SCOPED_TRACE(factory.className);
    void* created = nullptr;
    factory.create(&created);
    const std::unique_ptr<ZRBObj> owner(static_cast<ZRBObj*>(created));

    PropertyCall set("no.such.name");
    set.set(*owner);
    EXPECT_EQ(set.unknown, 1);
    EXPECT_EQ(set.calls, Names{});
    ASSERT_GE(set.asked.size(), kSetNames.size());
    EXPECT_EQ(Names(set.asked.end() - static_cast<std::ptrdiff_t>(kSetNames.size()), set.asked.end()), kSetNames);

    PropertyCall get("no.such.name");
    get.get(*owner);
    EXPECT_EQ(get.unknown, 1);
    EXPECT_EQ(get.calls, Names{});
    ASSERT_GE(get.asked.size(), kGetNames.size());
    EXPECT_EQ(Names(get.asked.end() - static_cast<std::ptrdiff_t>(kGetNames.size()), get.asked.end()), kGetNames);
  }
}

// ---- Effects of the sets ----

TEST_F(ObjProperties, init_set_as_a_property_runs_the_init_of_the_object_s_own_class) {
  class Counting final : public ZRBObj {
  public:
    int init() override {
      ++inits;
      return ZRBObj::init();
    }
    int inits = 0;
  };
  Counting counting;
  counting.addError("old");
  ZRBObj& asObject = counting;
  PropertyCall("init").set(asObject);
  EXPECT_EQ(counting.inits, 1);
  EXPECT_EQ(counting.getNumMessages(), 0);
}

TEST_F(ObjProperties, init_clears_the_messages_keeps_the_name_and_reports_no_error) {
  object.setName("kept");
  object.addWarning("w");
  object.addError("e");
  EXPECT_EQ(object.init(), 0);
  EXPECT_EQ(object.getNumMessages(), 0);
  EXPECT_EQ(object.getNumMessagesAdded(), 0);
  EXPECT_EQ(object.getError(), nullptr);
  EXPECT_STREQ(object.getName(), "kept");
  EXPECT_EQ(object.init(), 0) << "init may be called again";
}

TEST_F(ObjProperties, the_name_is_set_and_read_as_a_string) {
  EXPECT_EQ(PropertyCall("name").get(object).stringResult, nullptr) << "stored, and null while there is no name";
  PropertyCall("name").with("n").set(object);
  EXPECT_STREQ(object.getName(), "n");
  EXPECT_STREQ(PropertyCall("name").get(object).stringResult.value(), "n");
  PropertyCall("name").with(static_cast<const char*>(nullptr)).set(object);
  EXPECT_EQ(object.getName(), nullptr);
}

TEST_F(ObjProperties, a_severity_name_adds_its_text_as_a_message_of_that_severity) {
  struct {
    const char* name;
    int severity;
  } const rows[] = {{"error", 4}, {"warning", 3}, {"information", 2}, {"verbose", 1}, {"debug", 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    object.clearMessages();
    PropertyCall(row.name).with("the text").set(object);
    ASSERT_EQ(object.getNumMessages(), 1);
    EXPECT_STREQ(object.getMessage(0), "the text");
    EXPECT_EQ(object.getMessageSeverity(0), row.severity);
    EXPECT_EQ(object.hasError(), row.severity == 4 ? 1 : 0);
    EXPECT_STREQ(PropertyCall("severity").with(0).get(object).stringResult.value(), row.name);
  }
}

TEST_F(ObjProperties, a_severity_name_with_a_null_text_adds_nothing) {
  object.addWarning("kept");
  for (const char* name : {"error", "warning", "information", "verbose", "debug"}) {
    PropertyCall(name).set(object);
    EXPECT_EQ(object.getNumMessages(), 1) << name;
    EXPECT_EQ(object.getNumMessagesAdded(), 1) << name;
  }
}

TEST_F(ObjProperties, clear_messages_clears_this_object_only) {
  object.addError("e");
  other.addError("kept");
  PropertyCall("clear.messages").set(object);
  EXPECT_EQ(object.getNumMessages(), 0);
  EXPECT_EQ(object.getNumMessagesAdded(), 0);
  EXPECT_EQ(object.hasError(), 0);
  EXPECT_STREQ(other.getError(), "kept");
}

// ---- Results of the gets ----

TEST_F(ObjProperties, messages_are_read_by_index_and_counted_by_severity_name) {
  object.addDebug("d");
  object.addWarning("w0");
  object.addWarning("w1");
  object.addError("e");
  EXPECT_EQ(PropertyCall("num.messages").get(object).longResult, 4);
  EXPECT_EQ(PropertyCall("num.messages.added").get(object).longResult, 4);
  EXPECT_EQ(PropertyCall("has.error").get(object).boolResult, 1);
  EXPECT_STREQ(PropertyCall("error").get(object).stringResult.value(), "e");
  struct {
    int index;
    const char* text;
    const char* severity;
  } const entries[] = {{0, "d", "debug"}, {1, "w0", "warning"}, {2, "w1", "warning"}, {3, "e", "error"}};
  for (const auto& entry : entries) {
    EXPECT_STREQ(PropertyCall("message").with(entry.index).get(object).stringResult.value(), entry.text);
    EXPECT_STREQ(PropertyCall("severity").with(entry.index).get(object).stringResult.value(), entry.severity);
  }
  struct {
    const char* name;
    long count;
  } const levels[] = {{"debug", 1},   {"verbose", 0}, {"information", 0},
                      {"warning", 2}, {"error", 1},   {"Error", 1},  // an unknown name counts as "debug"
                      {"nothing", 1}, {"", 1}};
  for (const auto& level : levels)
    EXPECT_EQ(PropertyCall("num.messages.at.level").with(level.name).get(object).longResult, level.count) << level.name;
  EXPECT_EQ(PropertyCall("num.messages.at.level").get(object).longResult, 1) << "null counts as \"debug\"";
}

TEST_F(ObjProperties, a_message_index_outside_the_list_gives_null_and_the_severity_debug) {
  object.addError("e");
  for (const long index : {-1L, 1L, 2L, LONG_MIN, LONG_MAX}) {
    SCOPED_TRACE(index);
    EXPECT_EQ(PropertyCall("message").with(index).get(object).stringResult, nullptr);
    EXPECT_STREQ(PropertyCall("severity").with(index).get(object).stringResult.value(), "debug");
  }
}

TEST_F(ObjProperties, without_an_error_the_error_is_null_and_has_error_is_0) {
  object.addWarning("w");
  EXPECT_EQ(PropertyCall("error").get(object).stringResult, nullptr);
  EXPECT_EQ(PropertyCall("has.error").get(object).boolResult, 0);
}

// ---- Settings shared by all objects ----

TEST_F(ObjProperties, the_shared_settings_start_at_their_defaults) {
  EXPECT_EQ(ZRBObj::getMaxMessages(), 50);
  EXPECT_EQ(ZRBObj::getMaxMessageLength(), 500);
  EXPECT_EQ(ZRBObj::getDoubleDateEpoch(), 0);
  EXPECT_EQ(ZRBObj::getErrorOnLevelOverflow(), 0);
  EXPECT_EQ(ZRBObj::getErrorOnStringTruncation(), 0);
  EXPECT_EQ(ZRBObj::getUseWindowsStringEncoding(), 0);
  EXPECT_EQ(ZRBObj::getDefaultConverter(), nullptr);
}

TEST_F(ObjProperties, a_shared_setting_set_through_one_object_is_read_through_every_other) {
  struct {
    const char* name;
    long value;
    std::function<long()> read;
  } const rows[] = {
      {"max.messages", 7, ZRBObj::getMaxMessages},
      {"max.message.length", 77, ZRBObj::getMaxMessageLength},
      {"double.date.epoch", -123456789012345, ZRBObj::getDoubleDateEpoch},
      {"error.on.level.overflow", 1, ZRBObj::getErrorOnLevelOverflow},
      {"error.on.string.truncation", 1, ZRBObj::getErrorOnStringTruncation},
      {"use.windows.string.encoding", 1, ZRBObj::getUseWindowsStringEncoding},
  };
  ZRBPipeline pipeline;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    PropertyCall(row.name).with(row.value).set(object);
    EXPECT_EQ(row.read(), row.value);
    for (ZRBObj* each : {&object, &other, static_cast<ZRBObj*>(&pipeline)}) {
      PropertyCall call(row.name);
      call.get(*each);
      const long seen = call.longResult       ? *call.longResult
                        : call.longLongResult ? static_cast<long>(*call.longLongResult)
                                              : call.boolResult.value_or(-1);
      EXPECT_EQ(seen, row.value);
    }
  }
  // Each has its own place: setting one has not moved another.
  for (const auto& row : rows) EXPECT_EQ(row.read(), row.value) << row.name;
}

TEST_F(ObjProperties, a_flag_is_cleared_again_through_another_object) {
  for (const char* name : {"error.on.level.overflow", "error.on.string.truncation", "use.windows.string.encoding"}) {
    PropertyCall(name).with(1).set(object);
    EXPECT_EQ(PropertyCall(name).get(other).boolResult, 1) << name;
    PropertyCall(name).with(0).set(other);
    EXPECT_EQ(PropertyCall(name).get(object).boolResult, 0) << name;
  }
}

TEST_F(ObjProperties, the_static_accessors_work_without_an_object) {
  ZRBObj::setMaxMessages(3);
  EXPECT_EQ(ZRBObj::getMaxMessages(), 3);
  ZRBObj::setMaxMessageLength(4);
  EXPECT_EQ(ZRBObj::getMaxMessageLength(), 4);
  ZRBObj::setDoubleDateEpoch(LLONG_MIN);
  EXPECT_EQ(ZRBObj::getDoubleDateEpoch(), LLONG_MIN);
  ZRBObj::setErrorOnLevelOverflow(1);
  EXPECT_EQ(ZRBObj::getErrorOnLevelOverflow(), 1);
  ZRBObj::setErrorOnStringTruncation(1);
  EXPECT_EQ(ZRBObj::getErrorOnStringTruncation(), 1);
  ZRBObj::setUseWindowsStringEncoding(1);
  EXPECT_EQ(ZRBObj::getUseWindowsStringEncoding(), 1);
}

TEST_F(ObjProperties, the_message_limits_keep_the_low_32_bits) {
  struct {
    long given;
    long kept;
  } const rows[] = {
      {0, 0},
      {-1, -1},
      {2147483647, 2147483647},
      {2147483648, -2147483648},
      {4294967295, -1},
      {4294967296, 0},
      {4294967303, 7},
      {LONG_MAX, -1},
      {LONG_MIN, 0},
      {-2147483649, 2147483647},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.given);
    PropertyCall("max.messages").with(row.given).set(object);
    EXPECT_EQ(PropertyCall("max.messages").get(other).longResult, row.kept);
    PropertyCall("max.message.length").with(row.given).set(object);
    EXPECT_EQ(PropertyCall("max.message.length").get(other).longResult, row.kept);
    ZRBObj::setMaxMessages(row.given);
    EXPECT_EQ(ZRBObj::getMaxMessages(), row.kept);
    ZRBObj::setMaxMessageLength(row.given);
    EXPECT_EQ(ZRBObj::getMaxMessageLength(), row.kept);
  }
}

TEST_F(ObjProperties, the_date_epoch_keeps_64_bits) {
  for (const long long epoch : {LLONG_MAX, LLONG_MIN, 4294967303LL, -1LL}) {
    PropertyCall("double.date.epoch").with(epoch).set(object);
    EXPECT_EQ(PropertyCall("double.date.epoch").get(other).longLongResult, epoch);
  }
}

// ---- Converter ----

class Spelling final : public ZRBConverter {
public:
  explicit Spelling(bool* destroyed) : m_destroyed(destroyed) {}
  ~Spelling() { *m_destroyed = true; }
  void doubleToText(const double*, char* text, int) override {
    text[0] = 'd';
    text[1] = '\0';
  }
  void textToDouble(const char*, double* value) override { *value = 1.0; }
  void timeDateToText(const long long*, char* text, int) override {
    text[0] = 't';
    text[1] = '\0';
  }
  void textToTimeDate(const char*, long long* timeMs) override { *timeMs = 2; }

private:
  bool* m_destroyed;
};

TEST_F(ObjProperties, destroying_an_object_leaves_its_converter_alive) {
  bool destroyed = false;
  {
    auto converter = std::make_unique<Spelling>(&destroyed);
    {
      ZRBObj shortLived;
      shortLived.setConverter(converter.get());
      EXPECT_EQ(shortLived.getConverter(), converter.get());
    }
    EXPECT_FALSE(destroyed);
    object.setConverter(converter.get());
    EXPECT_STREQ(object.convertDoubleToString(2.5), "d") << "the converter still works for another object";
    object.setConverter(nullptr);
    EXPECT_EQ(object.getConverter(), nullptr);
    EXPECT_FALSE(destroyed);
  }
  EXPECT_TRUE(destroyed);
}

}  // namespace
