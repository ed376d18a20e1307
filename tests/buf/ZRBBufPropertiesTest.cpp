// The properties of buffers: names in order, arguments, results.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ZRBMemoryBuf.h"
#include "support/Harness.h"
#include "support/PropertyCall.h"
#include "support/PropertyChains.h"

namespace {

const Names kSetOfBuf = {"num.rows",
                         "num.columns",
                         "column.name",
                         "column.type",
                         "column.string.bytes",
                         "column.blob.class.name",
                         "column.num.levels",
                         "column.level.name",
                         "column.max.auto.levels",
                         "default.max.auto.levels",
                         "column.overflow.level",
                         "init.overflow.counts",
                         "overflow.count",
                         "overflow.string.bytes"};

const Names kGetOfBuf = {"num.rows",
                         "num.columns",
                         "column.name",
                         "column.type",
                         "column.string.bytes",
                         "column.blob.class.name",
                         "calc.bytes.per.row",
                         "column.num.levels",
                         "column.level.name",
                         "column.max.auto.levels",
                         "default.max.auto.levels",
                         "column.overflow.level",
                         "overflow.count",
                         "overflow.string.bytes",
                         "map.level.to.double",
                         "map.double.to.level",
                         "map.level.to.int",
                         "map.int.to.level",
                         "any.overflow.counts",
                         "num.readers",
                         "num.writers",
                         "reader.proc",
                         "writer.proc",
                         "eof",
                         "reader.request.rows",
                         "writer.request.rows",
                         "reader.rows.ready",
                         "writer.rows.ready",
                         "reader.is.ready",
                         "writer.is.ready",
                         "reader.chunk.position",
                         "writer.chunk.position",
                         "min.rows.to.avoid.deadlock",
                         "is.deadlock.possible",
                         "is.memory.buf",
                         "is.backing.file.buf",
                         "is.multi.pass",
                         "is.random.access",
                         "total.num.rows",
                         "input.rows.released",
                         "output.rows.released",
                         "input.rows.locked",
                         "output.rows.locked"};

// What a request and its follow-on requests were asked for, in order; requests are separated by "|".
std::string callsOf(PropertyCall& request) {
  std::string text;
  for (PropertyCall* at = &request; at; at = at->next()) {
    if (at != &request) text += " |";
    for (const std::string& call : at->calls) text += (text.empty() ? "" : " ") + call;
  }
  return text;
}

bool contains(const Names& names, const std::string& name) {
  for (const std::string& each : names)
    if (each == name) return true;
  return false;
}

// A column of each type, levels "a" and "b" in the factor column, and texts everywhere.
class PropertiesBuf : public ZRBMemoryBuf {
public:
  PropertiesBuf() {
    setNumRows(20);
    setColumns(*this, oneColumnOfEachType());
    addLevel(1, "a");
    addLevel(1, "b");
    setColumnBlobClassName(4, "picture");
    setOverflowLevel(1, "other");
    setMaxAutoLevels(1, 9);
    setDefaultMaxAutoLevels(77);
    setOverflowCount(1, 5000000000);
    setOverflowStringBytes(2, 33);
  }
};

}  // namespace

TEST(BufProperties, the_settable_names_are_tested_in_a_fixed_order) {
  ZRBMemoryBuf memory;
  ZRBBuf base;
  EXPECT_EQ(namesOfSet(memory), joined({kSetOfBuf, kObjSetNames}));
  EXPECT_EQ(namesOfSet(base), joined({kSetOfBuf, kObjSetNames}));
}

TEST(BufProperties, the_gettable_names_are_tested_in_a_fixed_order) {
  ZRBMemoryBuf memory;
  ZRBBuf base;
  EXPECT_EQ(namesOfGet(memory), joined({kGetOfBuf, kObjGetNames}));
  EXPECT_EQ(namesOfGet(base), joined({kGetOfBuf, kObjGetNames}));
}

TEST(BufProperties, a_name_that_matches_ends_the_search) {
  PropertiesBuf buf;
  SavedSettings saved;
  for (const Names& names : {kSetOfBuf, kObjSetNames}) {
    for (const std::string& name : names) {
      SCOPED_TRACE(name);
      PropertyCall call(name);
      call.with(1).with(1).set(buf);
      EXPECT_EQ(call.asked.back(), name);
      EXPECT_EQ(call.unknown, 0);
    }
  }
  for (const Names& names : {kGetOfBuf, kObjGetNames}) {
    for (const std::string& name : names) {
      SCOPED_TRACE(name);
      PropertyCall call(name);
      call.with(1).with(1).get(buf);
      EXPECT_EQ(call.asked.back(), name);
      EXPECT_EQ(call.unknown, 0);
    }
  }
}

TEST(BufProperties, an_unknown_name_is_reported_exactly_once) {
  for (const char* name : {"no.such.property", "Num.rows", "num.rows ", "blob.file.name", "num.row"}) {
    SCOPED_TRACE(name);
    PropertiesBuf buf;
    PropertyCall set(name), get(name);
    set.with(1).with(1).set(buf);
    get.with(1).with(1).get(buf);
    EXPECT_EQ(set.unknown, 1);
    EXPECT_EQ(get.unknown, 1);
    EXPECT_EQ(callsOf(set), " |");
    EXPECT_EQ(callsOf(get), " |");
    EXPECT_EQ(set.next()->unknown + get.next()->unknown, 0);
    EXPECT_EQ(buf.getNumMessages(), 0);
  }
}

TEST(BufProperties, names_that_can_only_be_read_are_unknown_to_a_set) {
  for (const std::string& name : kGetOfBuf) {
    if (contains(kSetOfBuf, name)) continue;
    SCOPED_TRACE(name);
    PropertiesBuf buf;
    PropertyCall call(name);
    call.with(1).with(1).set(buf);
    EXPECT_EQ(call.unknown, 1);
    EXPECT_EQ(call.asked, joined({kSetOfBuf, kObjSetNames}));
    EXPECT_EQ(callsOf(call), " |");
  }
}

TEST(BufProperties, the_overflow_counts_can_be_initialised_but_not_read_by_that_name) {
  PropertiesBuf buf;
  PropertyCall call("init.overflow.counts");
  call.get(buf);
  EXPECT_EQ(call.unknown, 1);
  EXPECT_EQ(call.asked, joined({kGetOfBuf, kObjGetNames}));
  EXPECT_EQ(callsOf(call), "");
  EXPECT_EQ(buf.getOverflowCount(1), 5000000000);
}

// ---- Set ----

TEST(BufProperties, a_set_reads_its_arguments_in_order_with_the_getters_of_their_types) {
  const struct {
    const char* name;
    const char* calls;
  } cases[] = {
      {"num.rows", "getLongArg | |"},
      {"num.columns", "getLongArg | |"},
      {"column.name", "getLongArg getNextArg | getStringArg |"},
      {"column.type", "getLongArg getNextArg | getStringArg |"},
      {"column.string.bytes", "getLongArg getNextArg | getLongArg |"},
      {"column.blob.class.name", "getLongArg getNextArg | getStringArg |"},
      {"column.num.levels", "getLongArg getNextArg | getLongArg |"},
      {"column.level.name", "getLongArg getNextArg | getLongArg getNextArg | getStringArg"},
      {"column.max.auto.levels", "getLongArg getNextArg | getLongArg |"},
      {"default.max.auto.levels", "getLongArg | |"},
      {"column.overflow.level", "getLongArg getNextArg | getStringArg |"},
      {"init.overflow.counts", " | |"},
      {"overflow.count", "getLongArg getNextArg | getLongLongArg |"},
      {"overflow.string.bytes", "getLongArg getNextArg | getLongArg |"},
  };
  Names tested;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    PropertiesBuf buf;
    PropertyCall call(c.name);
    call.with(1).with(1).with(1).set(buf);
    EXPECT_EQ(callsOf(call), c.calls);
    EXPECT_EQ(call.unknown, 0);
    tested.emplace_back(c.name);
  }
  EXPECT_EQ(tested, kSetOfBuf);
}

TEST(BufProperties, a_set_changes_what_its_name_says) {
  PropertiesBuf buf;
  PropertyCall("num.rows").with(123).set(buf);
  EXPECT_EQ(buf.getNumRows(), 123);
  PropertyCall("num.columns").with(6).set(buf);
  EXPECT_EQ(buf.getNumColumns(), 6);
  PropertyCall("column.name").with(5).with("extra").set(buf);
  EXPECT_STREQ(buf.getColumnName(5), "extra");
  PropertyCall("column.name").with(5).with(static_cast<const char*>(nullptr)).set(buf);
  EXPECT_EQ(buf.getColumnName(5), nullptr);
  PropertyCall("column.string.bytes").with(2).with(40).set(buf);
  EXPECT_EQ(buf.getColumnStringBytes(2), 40);
  PropertyCall("column.blob.class.name").with(4).with("sound").set(buf);
  EXPECT_STREQ(buf.getColumnBlobClassName(4), "sound");
  PropertyCall("column.num.levels").with(1).with(4).set(buf);
  EXPECT_EQ(buf.getNumLevels(1), 4);
  PropertyCall("column.level.name").with(1).with(3).with("d").set(buf);
  EXPECT_STREQ(buf.getLevelName(1, 3), "d");
  EXPECT_EQ(buf.getLevelName(1, 2), nullptr);
  PropertyCall("column.level.name").with(1).with(0).with(static_cast<const char*>(nullptr)).set(buf);
  EXPECT_EQ(buf.getLevelName(1, 0), nullptr);
  PropertyCall("column.max.auto.levels").with(1).with(12).set(buf);
  EXPECT_EQ(buf.getMaxAutoLevels(1), 12);
  PropertyCall("default.max.auto.levels").with(13).set(buf);
  EXPECT_EQ(buf.getDefaultMaxAutoLevels(), 13);
  PropertyCall("column.overflow.level").with(1).with("rest").set(buf);
  EXPECT_STREQ(buf.getOverflowLevel(1), "rest");
  PropertyCall("overflow.count").with(0).with(6000000000LL).set(buf);
  EXPECT_EQ(buf.getOverflowCount(0), 6000000000LL);
  PropertyCall("overflow.string.bytes").with(0).with(14).set(buf);
  EXPECT_EQ(buf.getOverflowStringBytes(0), 14);
  PropertyCall("init.overflow.counts").set(buf);
  EXPECT_EQ(buf.anyOverflowCounts(), 0);
  EXPECT_EQ(buf.getOverflowStringBytes(0), 0);
  EXPECT_EQ(buf.getNumMessages(), 0);
}

TEST(BufProperties, a_column_type_is_set_by_its_exact_name) {
  const struct {
    const char* text;
    int type;  // of a column that was a blob column
  } cases[] = {
      {"double", 0}, {"factor", 1},   {"string", 2},  {"timeDate", 3}, {"blob", 4}, {"Double", 4},
      {"DOUBLE", 4}, {"timedate", 4}, {"double ", 4}, {"", 4},         {"0", 4},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    PropertiesBuf buf;
    buf.setColumnType(2, ZRBBuf::column_blob);
    PropertyCall call("column.type");
    call.with(2).with(c.text).set(buf);
    EXPECT_EQ(buf.getColumnType(2), c.type);
    EXPECT_EQ(call.unknown, 0);
    EXPECT_EQ(buf.getNumMessages(), 0);
  }
}

TEST(BufProperties, a_null_column_type_changes_nothing) {
  PropertiesBuf buf;
  PropertyCall("column.type").with(2).with(static_cast<const char*>(nullptr)).set(buf);
  EXPECT_EQ(buf.getColumnType(2), ZRBBuf::column_string);
}

TEST(BufProperties, a_set_on_a_missing_column_is_known_and_does_nothing) {
  for (const std::string& name : kSetOfBuf) {
    if (name.rfind("column.", 0) != 0 && name.rfind("overflow.", 0) != 0) continue;
    for (const long column : {-1L, 5L}) {
      SCOPED_TRACE(name);
      PropertiesBuf buf;
      PropertyCall call(name);
      if (name == "column.level.name")
        call.with(column).with(0).with("x");
      else if (name == "column.num.levels")
        call.with(column).with(1);
      else
        call.with(column).with("x");
      call.set(buf);
      EXPECT_EQ(call.unknown, 0);
      EXPECT_EQ(buf.getNumColumns(), 5);
      EXPECT_STREQ(buf.getLevelName(1, 0), "a");
      EXPECT_EQ(buf.getNumLevels(1), 2);
      EXPECT_EQ(buf.getNumMessages(), 0);
    }
  }
}

TEST(BufProperties, init_runs_the_buffers_own_init) {
  PropertiesBuf buf;
  PropertyCall("init").set(buf);
  EXPECT_EQ(messagesOf(buf), Messages{"no writer"});
}

// ---- Get ----

TEST(BufProperties, a_get_reads_its_arguments_in_order_and_stores_one_result_of_its_type) {
  const struct {
    const char* name;
    const char* calls;
  } cases[] = {
      {"num.rows", "setLongResult | |"},
      {"num.columns", "setLongResult | |"},
      {"column.name", "getLongArg setStringResult | |"},
      {"column.type", "getLongArg setStringResult | |"},
      {"column.string.bytes", "getLongArg setLongResult | |"},
      {"column.blob.class.name", "getLongArg setStringResult | |"},
      {"calc.bytes.per.row", "setLongResult | |"},
      {"column.num.levels", "getLongArg setLongResult | |"},
      {"column.level.name", "getLongArg getNextArg setStringResult | getLongArg |"},
      {"column.max.auto.levels", "getLongArg setLongResult | |"},
      {"default.max.auto.levels", "setLongResult | |"},
      {"column.overflow.level", "getLongArg setStringResult | |"},
      {"overflow.count", "getLongArg setLongLongResult | |"},
      {"overflow.string.bytes", "getLongArg setLongResult | |"},
      {"map.level.to.double", "getLongArg getNextArg setDoubleResult | getStringArg |"},
      {"map.double.to.level", "getLongArg getNextArg setStringResult | getLongArg |"},
      {"map.level.to.int", "getLongArg getNextArg setLongResult | getStringArg |"},
      {"map.int.to.level", "getLongArg getNextArg setStringResult | getLongArg |"},
      {"any.overflow.counts", "setBoolResult | |"},
      {"num.readers", "setLongResult | |"},
      {"num.writers", "setLongResult | |"},
      {"reader.proc", "getLongArg setProcResult | |"},
      {"writer.proc", "getLongArg setProcResult | |"},
      {"eof", "setBoolResult | |"},
      {"reader.request.rows", "getLongArg setLongResult | |"},
      {"writer.request.rows", "getLongArg setLongResult | |"},
      {"reader.rows.ready", "getLongArg setLongResult | |"},
      {"writer.rows.ready", "getLongArg setLongResult | |"},
      {"reader.is.ready", "getLongArg setBoolResult | |"},
      {"writer.is.ready", "getLongArg setBoolResult | |"},
      {"reader.chunk.position", "getLongArg setLongLongResult | |"},
      {"writer.chunk.position", "getLongArg setLongLongResult | |"},
      {"min.rows.to.avoid.deadlock", "setLongResult | |"},
      {"is.deadlock.possible", "setBoolResult | |"},
      {"is.memory.buf", "setBoolResult | |"},
      {"is.backing.file.buf", "setBoolResult | |"},
      {"is.multi.pass", "setBoolResult | |"},
      {"is.random.access", "setBoolResult | |"},
      {"total.num.rows", "setLongLongResult | |"},
      {"input.rows.released", "setLongResult | |"},
      {"output.rows.released", "setLongResult | |"},
      {"input.rows.locked", "setLongResult | |"},
      {"output.rows.locked", "setLongResult | |"},
  };
  Names tested;
  for (const auto& c : cases) {
    tested.emplace_back(c.name);
    for (const long index : {0L, -1L, 99L}) {  // also for columns and ends that do not exist
      SCOPED_TRACE(testing::Message() << c.name << " of " << index);
      PropertiesBuf buf;
      HarnessNode producer, consumer;
      producer.writeTo(buf);
      consumer.readFrom(buf);
      buf.init();
      PropertyCall call(c.name);
      call.with(index).with(0).with(0).get(buf);
      EXPECT_EQ(callsOf(call), c.calls);
      EXPECT_EQ(call.unknown, 0);
    }
  }
  EXPECT_EQ(tested, kGetOfBuf);
}

TEST(BufProperties, the_schema_is_read_by_column) {
  PropertiesBuf buf;
  EXPECT_EQ(PropertyCall("num.rows").get(buf).longResult, 20);
  EXPECT_EQ(PropertyCall("num.columns").get(buf).longResult, 5);
  EXPECT_STREQ(*PropertyCall("column.name").with(3).get(buf).stringResult, "t");
  EXPECT_EQ(PropertyCall("column.string.bytes").with(2).get(buf).longResult, 16);
  EXPECT_STREQ(*PropertyCall("column.blob.class.name").with(4).get(buf).stringResult, "picture");
  EXPECT_EQ(PropertyCall("column.blob.class.name").with(3).get(buf).stringResult, nullptr);
  EXPECT_EQ(PropertyCall("calc.bytes.per.row").get(buf).longResult, 50);
}

TEST(BufProperties, column_types_are_read_as_text) {
  PropertiesBuf buf;
  const char* const types[] = {"double", "factor", "string", "timeDate", "blob"};
  for (long column = 0; column < 5; ++column)
    EXPECT_STREQ(*PropertyCall("column.type").with(column).get(buf).stringResult, types[column]);
  buf.setColumnType(1, static_cast<ZRBBuf::column_type>(7));
  EXPECT_STREQ(*PropertyCall("column.type").with(1).get(buf).stringResult, "double");
  forceColumnType(buf, 2, 9);
  EXPECT_STREQ(*PropertyCall("column.type").with(2).get(buf).stringResult, "double");
  EXPECT_STREQ(*PropertyCall("column.type").with(-1).get(buf).stringResult, "double");
  EXPECT_STREQ(*PropertyCall("column.type").with(5).get(buf).stringResult, "double");
}

TEST(BufProperties, levels_and_overflow_are_read_by_column) {
  PropertiesBuf buf;
  EXPECT_EQ(PropertyCall("column.num.levels").with(1).get(buf).longResult, 2);
  EXPECT_STREQ(*PropertyCall("column.level.name").with(1).with(1).get(buf).stringResult, "b");
  EXPECT_EQ(PropertyCall("column.level.name").with(1).with(2).get(buf).stringResult, nullptr);
  EXPECT_EQ(PropertyCall("column.max.auto.levels").with(1).get(buf).longResult, 9);
  EXPECT_EQ(PropertyCall("column.max.auto.levels").with(0).get(buf).longResult, -1);
  EXPECT_EQ(PropertyCall("default.max.auto.levels").get(buf).longResult, 77);
  EXPECT_STREQ(*PropertyCall("column.overflow.level").with(1).get(buf).stringResult, "other");
  EXPECT_EQ(PropertyCall("column.overflow.level").with(0).get(buf).stringResult, nullptr);
  EXPECT_EQ(PropertyCall("overflow.count").with(1).get(buf).longLongResult, 5000000000LL);
  EXPECT_EQ(PropertyCall("overflow.string.bytes").with(2).get(buf).longResult, 33);
  EXPECT_EQ(PropertyCall("any.overflow.counts").get(buf).boolResult, 1);
  PropertyCall("init.overflow.counts").set(buf);
  EXPECT_EQ(PropertyCall("any.overflow.counts").get(buf).boolResult, 0);
}

TEST(BufProperties, levels_are_mapped_by_column_and_value) {
  PropertiesBuf buf;
  EXPECT_EQ(PropertyCall("map.level.to.double").with(1).with("b").get(buf).doubleResult, 1.0);
  EXPECT_EQ(PropertyCall("map.level.to.double").with(1).with("c").get(buf).doubleResult, 2.0);  // added
  EXPECT_EQ(bitsOf(*PropertyCall("map.level.to.double").with(1).with("").get(buf).doubleResult), kDoubleNABits);
  EXPECT_STREQ(*PropertyCall("map.double.to.level").with(1).with(1).get(buf).stringResult, "b");
  EXPECT_STREQ(*PropertyCall("map.double.to.level").with(1).with(70000).get(buf).stringResult, "a");
  EXPECT_STREQ(*PropertyCall("map.double.to.level").with(1).with(-1).get(buf).stringResult, "a");
  EXPECT_EQ(PropertyCall("map.double.to.level").with(1).with(9).get(buf).stringResult, nullptr);
  EXPECT_EQ(PropertyCall("map.level.to.int").with(1).with("b").get(buf).longResult, 1);
  EXPECT_EQ(PropertyCall("map.level.to.int").with(1).with("d").get(buf).longResult, 3);  // added
  EXPECT_EQ(PropertyCall("map.level.to.int").with(1).with(static_cast<const char*>(nullptr)).get(buf).longResult, -1);
  EXPECT_STREQ(*PropertyCall("map.int.to.level").with(1).with(0).get(buf).stringResult, "a");
  EXPECT_EQ(PropertyCall("map.int.to.level").with(1).with(-1).get(buf).stringResult, nullptr);
  EXPECT_EQ(PropertyCall("map.int.to.level").with(1).with(9).get(buf).stringResult, nullptr);
  EXPECT_EQ(buf.getNumLevels(1), 4);
}

TEST(BufProperties, the_row_flow_is_read_by_end) {
  PropertiesBuf buf;
  HarnessNode producer, first, second;
  ZRBBufWriter& writer = producer.writeTo(buf);
  ZRBBufReader& r0 = first.readFrom(buf);
  ZRBBufReader& r1 = second.readFrom(buf);
  producer.setOutputNumRows(12);
  first.setNumRows(9);
  second.setNumRows(8);
  buf.init();
  writer.setRequestRows(11);
  r0.setRequestRows(6);
  r1.setRequestRows(1);
  writer.releaseRows(7);
  r0.releaseRows(2);
  r1.releaseRows(4);

  EXPECT_EQ(PropertyCall("num.readers").get(buf).longResult, 2);
  EXPECT_EQ(PropertyCall("num.writers").get(buf).longResult, 1);
  EXPECT_EQ(PropertyCall("reader.proc").with(0).get(buf).procResult, &first);
  EXPECT_EQ(PropertyCall("reader.proc").with(1).get(buf).procResult, &second);
  EXPECT_EQ(PropertyCall("writer.proc").with(0).get(buf).procResult, &producer);
  EXPECT_EQ(PropertyCall("reader.request.rows").with(0).get(buf).longResult, 6);
  EXPECT_EQ(PropertyCall("reader.request.rows").with(1).get(buf).longResult, 1);
  EXPECT_EQ(PropertyCall("writer.request.rows").with(0).get(buf).longResult, 11);
  EXPECT_EQ(PropertyCall("reader.rows.ready").with(0).get(buf).longResult, 5);
  EXPECT_EQ(PropertyCall("reader.rows.ready").with(1).get(buf).longResult, 3);
  EXPECT_EQ(PropertyCall("writer.rows.ready").with(0).get(buf).longResult, 15);
  EXPECT_EQ(PropertyCall("reader.is.ready").with(0).get(buf).boolResult, 0);
  EXPECT_EQ(PropertyCall("reader.is.ready").with(1).get(buf).boolResult, 1);
  EXPECT_EQ(PropertyCall("writer.is.ready").with(0).get(buf).boolResult, 1);
  EXPECT_EQ(PropertyCall("reader.chunk.position").with(0).get(buf).longLongResult, 2);
  EXPECT_EQ(PropertyCall("reader.chunk.position").with(1).get(buf).longLongResult, 4);
  EXPECT_EQ(PropertyCall("writer.chunk.position").with(0).get(buf).longLongResult, 7);
  EXPECT_EQ(PropertyCall("min.rows.to.avoid.deadlock").get(buf).longResult, 21);
  EXPECT_EQ(PropertyCall("is.deadlock.possible").get(buf).boolResult, 1);
  EXPECT_EQ(PropertyCall("eof").get(buf).boolResult, 0);
  EXPECT_EQ(PropertyCall("total.num.rows").get(buf).longLongResult, -1);
  EXPECT_EQ(PropertyCall("input.rows.released").get(buf).longResult, 7);
  EXPECT_EQ(PropertyCall("output.rows.released").get(buf).longResult, 2);
  EXPECT_EQ(PropertyCall("input.rows.locked").get(buf).longResult, 15);
  EXPECT_EQ(PropertyCall("output.rows.locked").get(buf).longResult, 5);
  writer.setEOF();
  EXPECT_EQ(PropertyCall("eof").get(buf).boolResult, 1);
  EXPECT_EQ(PropertyCall("total.num.rows").get(buf).longLongResult, 7);
  EXPECT_EQ(PropertyCall("reader.is.ready").with(0).get(buf).boolResult, 1);
  EXPECT_EQ(buf.getNumMessages(), 0);
}

TEST(BufProperties, an_end_that_does_not_exist_reads_as_nothing) {
  PropertiesBuf buf;
  HarnessNode producer, consumer;
  producer.writeTo(buf);
  consumer.readFrom(buf);
  buf.init();
  buf.releaseInputRows(3);
  for (const long index : {-1L, 1L, 99L}) {
    SCOPED_TRACE(index);
    for (const std::string end : {"reader", "writer"}) {
      SCOPED_TRACE(end);
      EXPECT_EQ(PropertyCall(end + ".proc").with(index).get(buf).procResult, nullptr);
      EXPECT_EQ(PropertyCall(end + ".request.rows").with(index).get(buf).longResult, 0);
      EXPECT_EQ(PropertyCall(end + ".rows.ready").with(index).get(buf).longResult, 0);
      EXPECT_EQ(PropertyCall(end + ".is.ready").with(index).get(buf).boolResult, 0);
      EXPECT_EQ(PropertyCall(end + ".chunk.position").with(index).get(buf).longLongResult, 0);
    }
  }
  EXPECT_EQ(buf.getNumMessages(), 0);
}

TEST(BufProperties, the_number_of_an_end_is_taken_as_an_int) {
  PropertiesBuf buf;
  HarnessNode consumer;
  consumer.readFrom(buf);
  EXPECT_EQ(PropertyCall("reader.proc").with(1L << 32).get(buf).procResult, &consumer);
}

TEST(BufProperties, an_end_without_a_node_has_a_null_node) {
  PropertiesBuf buf;
  HarnessNode consumer;
  buf.unlinkBufReader(&consumer.readFrom(buf));
  EXPECT_EQ(PropertyCall("reader.proc").with(0).get(buf).procResult, nullptr);
}

TEST(BufProperties, the_virtual_questions_are_asked_of_the_derived_class) {
  class OtherBuf : public ZRBMemoryBuf {
  public:
    int isZRBMemoryBuf() override { return 0; }
    int isZRBBackingFileBuf() override { return 1; }
    int isMultiPass() override { return 1; }
    int isRandomAccess() override { return 1; }
    long getMinRowsToAvoidDeadlock() override { return 4000; }
    long long getTotalNumRows() override { return 1LL << 40; }
  };
  OtherBuf buf;
  EXPECT_EQ(PropertyCall("is.memory.buf").get(buf).boolResult, 0);
  EXPECT_EQ(PropertyCall("is.backing.file.buf").get(buf).boolResult, 1);
  EXPECT_EQ(PropertyCall("is.multi.pass").get(buf).boolResult, 1);
  EXPECT_EQ(PropertyCall("is.random.access").get(buf).boolResult, 1);
  EXPECT_EQ(PropertyCall("min.rows.to.avoid.deadlock").get(buf).longResult, 4000);
  EXPECT_EQ(PropertyCall("is.deadlock.possible").get(buf).boolResult, 1);
  EXPECT_EQ(PropertyCall("total.num.rows").get(buf).longLongResult, 1LL << 40);
}

TEST(BufProperties, the_ends_answer_with_their_own_virtual_operations) {
  class PretendingReader : public ZRBMemoryBufReader {
  public:
    PretendingReader(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBMemoryBufReader(buf, proc) {}
    long getRequestRows() override { return 101; }
    long getRowsReady() override { return 102; }
    int isReady() override { return 1; }
    long long getChunkPosition() override { return 1LL << 40; }
  };
  class PretendingWriter : public ZRBMemoryBufWriter {
  public:
    PretendingWriter(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBMemoryBufWriter(buf, proc) {}
    long getRequestRows() override { return 201; }
    long getRowsReady() override { return 202; }
    int isReady() override { return 0; }
    long long getChunkPosition() override { return 1LL << 41; }
  };
  FlowHarness<PretendingReader, PretendingWriter> h(10, {{"d", ZRBBuf::column_double}});
  EXPECT_EQ(PropertyCall("reader.request.rows").with(0).get(h.buf).longResult, 101);
  EXPECT_EQ(PropertyCall("reader.rows.ready").with(0).get(h.buf).longResult, 102);
  EXPECT_EQ(PropertyCall("reader.is.ready").with(0).get(h.buf).boolResult, 1);
  EXPECT_EQ(PropertyCall("reader.chunk.position").with(0).get(h.buf).longLongResult, 1LL << 40);
  EXPECT_EQ(PropertyCall("writer.request.rows").with(0).get(h.buf).longResult, 201);
  EXPECT_EQ(PropertyCall("writer.rows.ready").with(0).get(h.buf).longResult, 202);
  EXPECT_EQ(PropertyCall("writer.is.ready").with(0).get(h.buf).boolResult, 0);
  EXPECT_EQ(PropertyCall("writer.chunk.position").with(0).get(h.buf).longLongResult, 1LL << 41);
}

// ---- Ends as objects ----

TEST(BufProperties, readers_and_writers_have_the_properties_of_every_object_and_no_others) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  ZRBObj* const ends[] = {&h.reader, &h.writer};
  for (ZRBObj* end : ends) {
    EXPECT_EQ(namesOfSet(*end), kObjSetNames);
    EXPECT_EQ(namesOfGet(*end), kObjGetNames);
    PropertyCall set("no.such.property"), get("no.such.property");
    EXPECT_EQ(set.set(*end).unknown, 1);
    EXPECT_EQ(get.get(*end).unknown, 1);
    PropertyCall("name").with("end").set(*end);
    EXPECT_STREQ(end->getName(), "end");
  }
}
