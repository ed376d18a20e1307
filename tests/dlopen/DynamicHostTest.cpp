// A host that never saw the library's headers and is not linked with it: it loads the file, creates objects by name,
// and reaches everything else through property requests and virtual slots.
#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Declarations.h"

namespace {

// ---- The host's property request ----

class Request final : public ZRBPropertyInfo {
public:
  explicit Request(std::string name = "") : m_name(std::move(name)) {}

  // The first call fills this request, the next the one behind it, and so on.
  Request& withNumber(long long argument) {
    last().m_number = argument;
    return *this;
  }
  Request& withText(const char* argument) {
    last().m_text = argument;
    return *this;
  }
  Request& withObject(void* argument) {
    last().m_object = argument;
    return *this;
  }
  // The name must be known to the target; trySet and tryGet leave that to the caller.
  Request& set(void* target) {
    trySet(target);
    EXPECT_NE(result, "unknown") << m_name;
    return *this;
  }
  Request& get(void* target) {
    tryGet(target);
    EXPECT_NE(result, "unknown") << m_name;
    return *this;
  }
  Request& trySet(void* target) {
    callSlot<void>(target, slots::kSetProperty, static_cast<ZRBPropertyInfo*>(this));
    return *this;
  }
  Request& tryGet(void* target) {
    callSlot<void>(target, slots::kGetProperty, static_cast<ZRBPropertyInfo*>(this));
    return *this;
  }

  void entry0() override { ++reservedCalls; }
  int isProperty(const char* name) override { return m_name == name; }
  long longArg() override { return static_cast<long>(m_number); }
  void longResult(long value) override { number = value, result = "long"; }
  long long longLongArg() override { return m_number; }
  void longLongResult(long long value) override { number = value, result = "long long"; }
  void entry6() override { ++reservedCalls; }
  void doubleResult(double value) override { real = value, result = "double"; }
  int boolArg() override { return static_cast<int>(m_number); }
  void boolResult(int value) override { number = value, result = "bool"; }
  const char* stringArg() override { return m_text; }
  void stringResult(const char* value) override { text = value == nullptr ? "(null)" : value, result = "string"; }
  void* bufArg() override { return m_object; }
  void bufResult(void* buf) override { object = buf, result = "buf"; }
  void* procArg() override { return m_object; }
  void procResult(void* proc) override { object = proc, result = "proc"; }
  ZRBPropertyInfo* nextArg() override { return m_next.get(); }
  void unknown() override { result = "unknown"; }

  std::string result;  // which result was stored; empty for none
  long long number = 0;
  double real = 0.0;
  std::string text;
  void* object = nullptr;
  int reservedCalls = 0;

private:
  Request& last() {
    Request* at = this;
    while (at->m_isFilled) {
      if (!at->m_next) at->m_next = std::make_unique<Request>();
      at = at->m_next.get();
    }
    at->m_isFilled = true;
    return *at;
  }

  std::string m_name;
  bool m_isFilled = false;
  long long m_number = 0;
  const char* m_text = nullptr;
  void* m_object = nullptr;
  std::unique_ptr<Request> m_next;
};

// ---- The loaded library ----

// Loaded by the first test and never unloaded: the library keeps a text buffer until the process ends.
void* library() {
  static void* const handle = dlopen(ZRB_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
  return handle;
}

class DynamicHost : public ::testing::Test {
protected:
  void SetUp() override { ASSERT_NE(library(), nullptr) << ZRB_LIBRARY_PATH; }
  void TearDown() override {
    for (auto object = m_objects.rbegin(); object != m_objects.rend(); ++object)
      callSlot<void>(*object, slots::kDelete);
    setDefaultConverter(nullptr);
  }

  // Deleted at the end of the test, the latest first: create buffers before the nodes that use them.
  void* create(const std::string& className) {
    const auto factory = function<CreateObject>("zrb_s_create_" + className);
    void* object = nullptr;
    if (factory != nullptr) factory(&object);
    EXPECT_NE(object, nullptr) << className;
    m_objects.push_back(object);
    return object;
  }
  template <class Function>
  Function function(const std::string& name) {
    void* address = dlsym(library(), name.c_str());
    EXPECT_NE(address, nullptr) << name;
    return reinterpret_cast<Function>(address);
  }

  // A buffer with the columns "x" double, "f" factor, "s" string of 12 bytes and "t" time-date.
  void* createBuf(long rows) {
    void* buf = create("ZRBMemoryBuf");
    Request("num.rows").withNumber(rows).set(buf);
    Request("num.columns").withNumber(4).set(buf);
    const char* const columns[][2] = {{"x", "double"}, {"f", "factor"}, {"s", "string"}, {"t", "timeDate"}};
    for (int i = 0; i < 4; ++i) {
      Request("column.name").withNumber(i).withText(columns[i][0]).set(buf);
      Request("column.type").withNumber(i).withText(columns[i][1]).set(buf);
    }
    Request("column.string.bytes").withNumber(2).withNumber(12).set(buf);
    return buf;
  }
  void* createSource(void* buf, long long rows, long long seed) {
    void* source = create("ZRBProcRandomReader");
    Request("total.rows").withNumber(rows).set(source);
    Request("seed").withNumber(seed).set(source);
    Request("outbuf").withObject(buf).set(source);
    return source;
  }
  void setDefaultConverter(ZRBConverter* converter) {
    using SetDefaultConverter = void (*)(ZRBConverter*);
    const auto set = function<SetDefaultConverter>("_ZN6ZRBObj19setDefaultConverterEP12ZRBConverter");
    if (set != nullptr) set(converter);
  }
  void expectNoError(void* object) {
    EXPECT_EQ(Request("has.error").get(object).number, 0) << Request("error").get(object).text;
  }

private:
  std::vector<void*> m_objects;
};

// ---- What the random reader must have written, from its definition ----

class Draws {
public:
  explicit Draws(std::uint64_t seed) {
    std::uint64_t power = 69069;
    for (std::uint64_t exponent = seed << 20; exponent != 0; exponent >>= 1) {
      if (exponent & 1) m_congruential *= power;
      power *= power;
    }
  }
  double next() {
    std::uint64_t mixed = 0;
    while (mixed == 0) {
      m_congruential *= 69069;
      m_shifted ^= m_shifted >> 15;
      m_shifted ^= m_shifted << 17;
      mixed = (m_shifted ^ m_congruential) >> 1;
    }
    return static_cast<double>(mixed) * 0x1p-31;
  }

private:
  std::uint64_t m_congruential = 1803752341;
  std::uint64_t m_shifted = 3697165728;
};

// One row of the buffer of createBuf().  A draw is almost never below 0.8, so that the texts are always the first.
struct Row {
  double x;
  long long timeMs;
};
std::vector<Row> expectedRows(std::uint64_t seed, int count) {
  Draws draws(seed);
  std::vector<Row> rows;
  for (int i = 0; i < count; ++i) {
    Row row = {};
    row.x = draws.next();
    EXPECT_GE(draws.next(), 0.8);  // "f"
    EXPECT_GE(draws.next(), 0.8);  // "s"
    row.timeMs = static_cast<long long>(draws.next() * 86400000.0);
    rows.push_back(row);
  }
  return rows;
}

struct Statistics {
  double min = 0, max = 0, mean = 0, m2 = 0;
  long long n = 0;
  void add(double value) {
    if (n == 0) min = max = mean = value;
    min = std::min(min, value);
    max = std::max(max, value);
    const double oldMean = mean;
    mean = oldMean + (value - oldMean) / static_cast<double>(n + 1);
    m2 += (value - oldMean) * (value - mean);
    ++n;
  }
  double standardDeviation() const { return std::sqrt(m2 / static_cast<double>(n - 1)); }
};

// ---- Tests ----

TEST_F(DynamicHost, counts_random_rows_through_a_pipeline) {
  constexpr int kRows = 2500;
  void* buf = createBuf(300);
  void* source = createSource(buf, kRows, 5);
  void* count = create("ZRBProcCount");
  void* pipeline = create("ZRBPipeline");
  Request("num.rows").withNumber(64).set(source);
  Request("num.rows").withNumber(100).set(count);
  Request("name").withText("counter").set(count);
  Request("inbuf").withObject(buf).set(count);
  Request("cross.size").withNumber(1).set(count);
  Request("cross.column").withNumber(0).withNumber(1).set(count);
  Request("add.buf").withObject(buf).set(pipeline);
  Request("add.proc").withObject(source).set(pipeline);
  Request("add.proc").withObject(count).set(pipeline);
  Request("init").set(pipeline);
  for (void* object : {buf, source, count, pipeline}) expectNoError(object);
  EXPECT_EQ(Request("any.proc.ready").get(pipeline).number, 1);
  Request("execute").withNumber(0).set(pipeline);
  for (void* object : {buf, source, count, pipeline}) expectNoError(object);

  EXPECT_EQ(Request("get.num.procs").get(pipeline).number, 2);
  EXPECT_EQ(Request("get.proc.by.name").withText("counter").get(pipeline).object, count);
  EXPECT_EQ(Request("get.proc.by.number").withNumber(0).get(pipeline).object, source);
  EXPECT_EQ(Request("get.buf.by.number").withNumber(0).get(pipeline).object, buf);
  EXPECT_EQ(Request("inbuf.list").withNumber(0).get(count).object, buf);
  EXPECT_EQ(Request("done").get(source).number, 1);
  EXPECT_EQ(Request("done").get(count).number, 1);
  EXPECT_EQ(Request("rows.done").get(count).number, kRows);
  EXPECT_EQ(Request("total.num.rows").get(buf).number, kRows);
  EXPECT_EQ(Request("last.execution.count").get(pipeline).number,
            Request("execute.count").get(source).number + Request("execute.count").get(count).number);

  Statistics x;
  Statistics days;
  for (const Row& row : expectedRows(5, kRows)) {
    x.add(row.x);
    days.add(static_cast<double>(row.timeMs) / 86400000.0);
  }
  const struct {
    int column;
    const Statistics& statistics;
  } columns[] = {{0, x}, {3, days}};
  for (const auto& each : columns) {
    SCOPED_TRACE(each.column);
    EXPECT_EQ(Request("col.min").withNumber(each.column).get(count).real, each.statistics.min);
    EXPECT_EQ(Request("col.max").withNumber(each.column).get(count).real, each.statistics.max);
    EXPECT_EQ(Request("col.mean").withNumber(each.column).get(count).real, each.statistics.mean);
    EXPECT_EQ(Request("col.stddev").withNumber(each.column).get(count).real, each.statistics.standardDeviation());
    EXPECT_EQ(Request("col.count.ok").withNumber(each.column).get(count).number, kRows);
    EXPECT_EQ(Request("col.count.na").withNumber(each.column).get(count).number, 0);
  }
  EXPECT_EQ(Request("col.mean").withNumber(2).get(count).real, 10.0) << "the length of \"string-one\"";
  EXPECT_EQ(Request("col.num.levels").withNumber(1).get(count).number, 1);
  EXPECT_EQ(Request("col.level.name").withNumber(1).withNumber(0).get(count).text, "lev1");
  EXPECT_EQ(Request("col.level.count").withNumber(1).withNumber(0).get(count).number, kRows);
  EXPECT_EQ(Request("col.level.int").withNumber(1).withNumber(0).get(count).number, 0);
  Request("cross.index").withNumber(0).withNumber(0).set(count);
  EXPECT_EQ(Request("cross.count").get(count).real, kRows);
}

TEST_F(DynamicHost, drives_a_node_by_its_slots) {
  void* buf = createBuf(300);
  void* source = createSource(buf, 250, 1);

  EXPECT_EQ(callSlot<int>(source, slots::kNodeIsReady), 0) << "uninitialized";
  ASSERT_EQ(callSlot<int>(buf, slots::kInit), 0);
  ASSERT_EQ(callSlot<int>(source, slots::kInit), 0);
  EXPECT_EQ(callSlot<int>(source, slots::kNodeIsReady), 1);

  EXPECT_EQ(callSlot<long>(source, slots::kGetNumRows), 1000);
  EXPECT_EQ(callSlot<long>(source, slots::kGetOutputNumRows), 1000);
  callSlot<void>(source, slots::kSetNumRows, 77L);
  EXPECT_EQ(callSlot<long>(source, slots::kGetNumRows), 77);
  callSlot<void>(source, slots::kSetOutputNumRows, 100L);
  EXPECT_EQ(callSlot<long>(source, slots::kGetOutputNumRows), 100);
  EXPECT_EQ(callSlot<long>(buf, slots::kMinRowsToAvoidDeadlock), 100);
  EXPECT_EQ(callSlot<int>(buf, slots::kIsDeadlockPossible), 0);

  callSlot<void>(source, slots::kSetExecuteCount, 4LL);
  EXPECT_EQ(callSlot<long long>(source, slots::kIncrementExecuteCount), 5);
  EXPECT_EQ(callSlot<long long>(source, slots::kGetExecuteCount), 5);

  EXPECT_EQ(callSlot<long>(source, slots::kExecuteRequestRows), 100);
  EXPECT_EQ(callSlot<long>(source, slots::kExecute), 100);
  EXPECT_EQ(callSlot<long long>(source, slots::kGetRowsDone), 100);
  EXPECT_EQ(callSlot<int>(source, slots::kIsDone), 0);
  EXPECT_EQ(callSlot<long long>(buf, slots::kBufTotalNumRows), -1);
  callSlot<long>(source, slots::kExecute);
  callSlot<long>(source, slots::kExecute);
  EXPECT_EQ(callSlot<long long>(source, slots::kGetRowsDone), 250) << "the last chunk is the remainder";
  EXPECT_EQ(callSlot<int>(source, slots::kIsDone), 1);
  EXPECT_EQ(callSlot<long long>(buf, slots::kBufTotalNumRows), 250);

  EXPECT_NE(callSlot<long>(source, slots::kExecuteReleaseRows, 1L), 0) << "done";
  callSlot<void>(source, slots::kSetDone, 0);
  EXPECT_EQ(callSlot<int>(source, slots::kIsDone), 0);
  callSlot<void>(source, slots::kSetRowsDone, 7LL);
  EXPECT_EQ(callSlot<long long>(source, slots::kIncrementRowsDone, 3L), 10);
  expectNoError(source);
  callSlot<void>(source, slots::kCheckBufs, 0, 1);
  expectNoError(source);
  callSlot<void>(source, slots::kCheckBufs, 1, 0);
  EXPECT_EQ(Request("error").get(source).text, "this node expects 1 inputs, but was given 0 inputs");
  EXPECT_NE(callSlot<long>(source, slots::kExecuteReleaseRowsOfBoth, 0L, 1L), 0) << "an error";
  EXPECT_EQ(callSlot<long long>(source, slots::kGetRowsDone), 10) << "and nothing released";
  Request("clear.messages").set(source);
  callSlot<void>(source, slots::kCheckBufRanges, 0, 3, 2, 4);
  EXPECT_EQ(Request("error").get(source).text, "this node expects between 2 and 4 outputs, but was given 1 outputs");
}

TEST_F(DynamicHost, asks_a_buffer_what_it_is) {
  void* buf = create("ZRBMemoryBuf");
  EXPECT_EQ(callSlot<int>(buf, slots::kIsMemoryBuf), 1);
  EXPECT_EQ(callSlot<int>(buf, slots::kIsBackingFileBuf), 0);
  EXPECT_EQ(callSlot<void*>(buf, slots::kGetMemoryBuf), buf);
  EXPECT_EQ(callSlot<void*>(buf, slots::kGetBackingFileBuf), nullptr);
  EXPECT_EQ(callSlot<int>(buf, slots::kBufIsMultiPass), 0);
  EXPECT_EQ(callSlot<int>(buf, slots::kBufIsRandomAccess), 0);
  EXPECT_EQ(callSlot<int>(buf, slots::kInit), 1);
  EXPECT_EQ(Request("error").get(buf).text, "no writer");
}

TEST_F(DynamicHost, reads_the_cells_of_a_source_through_a_reader_of_its_own) {
  constexpr int kRows = 250;
  void* buf = createBuf(300);
  void* source = createSource(buf, kRows, 9);
  Request("num.rows").withNumber(300).set(source);
  void* reader = callSlot<void*>(buf, slots::kNewBufReader, source);
  ASSERT_NE(reader, nullptr);
  ASSERT_EQ(callSlot<int>(buf, slots::kInit), 0);
  ASSERT_EQ(callSlot<int>(source, slots::kInit), 0);
  callSlot<int>(reader, slots::kInit);

  callSlot<void>(reader, slots::kSetRequestRows, 200L);
  EXPECT_EQ(callSlot<long>(reader, slots::kGetRequestRows), 200);
  EXPECT_EQ(callSlot<int>(reader, slots::kEndIsReady), 0);
  EXPECT_EQ(callSlot<long>(reader, slots::kGetRowsReady), 0);
  EXPECT_EQ(callSlot<long long>(reader, slots::kReaderTotalNumRows), -1);
  callSlot<long>(source, slots::kExecute);
  EXPECT_EQ(callSlot<int>(reader, slots::kEndIsReady), 1);
  EXPECT_EQ(callSlot<long>(reader, slots::kGetRowsReady), kRows);
  EXPECT_EQ(callSlot<int>(reader, slots::kReaderGetEOF), 1);
  EXPECT_EQ(callSlot<long long>(reader, slots::kReaderTotalNumRows), kRows);

  const std::vector<Row> rows = expectedRows(9, kRows);
  std::vector<double> values(kRows);
  callSlot<void>(reader, slots::kGetDoubleArray, 0L, 0L, static_cast<long>(kRows), values.data());
  for (long i = 0; i < kRows; ++i) {
    const Row& row = rows[static_cast<std::size_t>(i)];
    EXPECT_EQ(callSlot<double>(reader, slots::kGetDouble, i, 0L), row.x);
    EXPECT_EQ(values[static_cast<std::size_t>(i)], row.x);
    EXPECT_EQ(callSlot<long>(reader, slots::kGetLevelNum, i, 1L), 0);
    EXPECT_STREQ(callSlot<const char*>(reader, slots::kGetString, i, 1L), "lev1");
    EXPECT_STREQ(callSlot<const char*>(reader, slots::kGetString, i, 2L), "string-one");
    EXPECT_EQ(callSlot<long long>(reader, slots::kGetTimeDate, i, 3L), row.timeMs);
  }

  callSlot<void>(reader, slots::kReaderReleaseRows, 100L);
  EXPECT_EQ(callSlot<long long>(reader, slots::kReaderChunkPosition), 100);
  EXPECT_EQ(callSlot<double>(reader, slots::kGetDouble, 0L, 0L), rows[100].x);
  callSlot<void>(reader, slots::kReaderSetChunkPosition, 249LL);
  EXPECT_EQ(callSlot<long>(reader, slots::kGetRowsReady), 1);
  EXPECT_EQ(callSlot<double>(reader, slots::kGetDouble, 0L, 0L), rows[249].x);
  callSlot<void>(reader, slots::kReaderReleaseAll);
  EXPECT_EQ(callSlot<long>(reader, slots::kGetRowsReady), 0);
  EXPECT_EQ(callSlot<long long>(reader, slots::kReaderChunkPosition), kRows);
  expectNoError(source);
  callSlot<void>(reader, slots::kDelete);
}

// Numbers as "<value>", time-dates as "@value".
class Brackets final : public ZRBConverter {
public:
  void writeDouble(const double* value, char* text, int size) override {
    std::snprintf(text, static_cast<std::size_t>(size), "<%g>", *value);
  }
  void readDouble(const char* text, double* value) override { *value = text[0] == '<' ? std::atof(text + 1) : -1.0; }
  void writeTimeDate(const long long* timeMs, char* text, int size) override {
    std::snprintf(text, static_cast<std::size_t>(size), "@%lld", *timeMs);
  }
  void readTimeDate(const char* text, long long* timeMs) override {
    *timeMs = text[0] == '@' ? std::atoll(text + 1) : -1;
  }
};

TEST_F(DynamicHost, writes_cells_through_a_writer_and_reads_them_back_through_its_own_converter) {
  void* buf = createBuf(10);
  void* node = createSource(buf, 0, 1);  // owns the listed ends; never run
  ASSERT_EQ(callSlot<int>(buf, slots::kInit), 0);
  ASSERT_EQ(callSlot<int>(node, slots::kInit), 0);
  void* writer = callSlot<void*>(buf, slots::kNewBufWriter, node);
  void* reader = callSlot<void*>(buf, slots::kNewBufReader, node);
  ASSERT_NE(writer, nullptr);
  ASSERT_NE(reader, nullptr);

  Brackets brackets;
  setDefaultConverter(&brackets);

  callSlot<void>(writer, slots::kSetRequestRows, 10L);
  EXPECT_EQ(callSlot<int>(writer, slots::kEndIsReady), 1);
  EXPECT_EQ(callSlot<long>(writer, slots::kGetRowsReady), 10);
  EXPECT_EQ(callSlot<long long>(writer, slots::kWriterChunkPosition), 0);
  callSlot<void>(writer, slots::kSetDouble, 0L, 0L, 2.5);
  callSlot<void>(writer, slots::kSetString, 0L, 1L, "blue");
  callSlot<void>(writer, slots::kSetDouble, 0L, 2L, 0.5);
  callSlot<void>(writer, slots::kSetTimeDate, 0L, 3L, -77LL);
  callSlot<void>(writer, slots::kSetConvertString, 1L, 0L, "<12.5>");
  callSlot<void>(writer, slots::kSetLevelNum, 1L, 1L, 0L);
  callSlot<void>(writer, slots::kSetConvertString, 1L, 2L, "plain");
  callSlot<void>(writer, slots::kSetConvertString, 1L, 3L, "@4096");
  callSlot<void>(writer, slots::kSetRectNA, 2L, 0L, 1L, 4L);
  callSlot<void>(writer, slots::kWriterReleaseRows, 3L);
  EXPECT_EQ(callSlot<long long>(writer, slots::kWriterChunkPosition), 3);

  const char* const texts[3][4] = {{"<2.5>", "blue", "<0.5>", "@-77"},
                                   {"<12.5>", "blue", "plain", "@4096"},
                                   {"\xEF\xBF\xBF", "\xEF\xBF\xBF", "\xEF\xBF\xBF", "\xEF\xBF\xBF"}};
  ASSERT_EQ(callSlot<long>(reader, slots::kGetRowsReady), 3);
  for (long row = 0; row < 3; ++row)
    for (long column = 0; column < 4; ++column)
      EXPECT_STREQ(callSlot<const char*>(reader, slots::kGetString, row, column), texts[row][column]);
  EXPECT_EQ(callSlot<double>(reader, slots::kGetDouble, 0L, 2L), 0.5) << "\"<0.5>\" read by the converter";

  callSlot<void>(writer, slots::kSetDouble, 0L, 0L, 1.0);
  callSlot<void>(writer, slots::kSetColumnNA, 0L);
  EXPECT_EQ(callSlot<int>(writer, slots::kWriterSetEOF), 1);
  callSlot<void>(writer, slots::kWriterReleaseRows, 1L);
  EXPECT_EQ(Request("error").get(node).text, "ZRBBufWriter::releaseRows can't release rows after EOF is set: 1");

  callSlot<void>(reader, slots::kDelete);
  callSlot<void>(writer, slots::kDelete);
}

TEST_F(DynamicHost, every_kind_of_request_arrives_and_no_reserved_entry_is_called) {
  void* buf = createBuf(30);
  void* source = createSource(buf, 10, 3);
  void* pipeline = create("ZRBPipeline");
  struct {
    void* object;
    Request request;
    const char* result;
  } gets[] = {
      {buf, Request("num.rows"), "long"},
      {source, Request("total.rows"), "long long"},
      {buf, std::move(Request("map.level.to.double").withNumber(1).withText("new")), "double"},
      {source, Request("done"), "bool"},
      {source, Request("error"), "string"},
      {source, std::move(Request("outbuf.list").withNumber(0)), "buf"},
      {buf, std::move(Request("writer.proc").withNumber(0)), "proc"},
      {pipeline, std::move(Request("get.proc.by.name").withText("none")), "proc"},
      {source, std::move(Request("inbuf.list").withNumber(0)), ""},  // no such buffer: nothing is stored
      {source, Request("no.such.name"), "unknown"},
      {source, Request("init"), "unknown"},
  };
  for (auto& get : gets) {
    get.request.tryGet(get.object);
    EXPECT_EQ(get.request.result, get.result);
    EXPECT_EQ(get.request.reservedCalls, 0);
  }
  Request flag("error.on.level.overflow");
  flag.withNumber(1).set(source);
  EXPECT_EQ(Request("error.on.level.overflow").get(buf).number, 1);
  flag = Request("error.on.level.overflow");
  flag.withNumber(0).set(buf);
  EXPECT_EQ(Request("error.on.level.overflow").get(pipeline).number, 0);
  EXPECT_EQ(Request("num.rows").withNumber(20).trySet(pipeline).result, "unknown");
}

}  // namespace
