// Rows of the null nodes, many cells at a time, against one cell at a time.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "ZRBMemoryBuf.h"
#include "ZRBProcNullReader.h"
#include "ZRBProcNullWriter.h"
#include "procs/null_rows.h"
#include "support/BufSnapshot.h"
#include "support/Harness.h"

namespace {

constexpr auto kDouble = ZRBBuf::column_double;
constexpr auto kFactor = ZRBBuf::column_factor;
constexpr auto kString = ZRBBuf::column_string;
constexpr auto kTimeDate = ZRBBuf::column_timeDate;
constexpr auto kBlob = ZRBBuf::column_blob;

using Schema = std::vector<Column>;
using Prepare = std::function<void(ZRBBuf&)>;

Schema doubles(int columns) { return Schema(static_cast<std::size_t>(columns), {"x", kDouble}); }

// Schemas with one cell, runs of one type and changing types.
std::vector<Schema> schemas() {
  return {oneColumnOfEachType(),
          doubles(1),
          doubles(2),
          doubles(15),
          doubles(16),
          doubles(17),
          doubles(1000),
          {{"t", kTimeDate}, {"t", kTimeDate}, {"t", kTimeDate}},
          {{"f", kFactor}},
          {{"s", kString, 5}},
          {{"b", kBlob}},
          {{"d", kDouble}, {"f", kFactor}, {"d", kDouble}, {"d", kDouble}, {"s", kString}, {"t", kTimeDate}},
          {{"f", kFactor}, {"f", kFactor}, {"d", kDouble}, {"b", kBlob}, {"t", kTimeDate}, {"d", kDouble}}};
}

void setPlainly(ZRBBufWriter& writer, long long rowsDone, long rows) {
  for (long row = 0; row < rows; ++row) {
    const double base = static_cast<double>(rowsDone) + static_cast<double>(row);
    for (int column = 0; column < writer.getBuf()->getNumColumns(); ++column)
      writer.setConvertDouble(row, column, column + base);
  }
}

void expectSameRows(
    const Schema& schema, long capacity, const std::vector<long>& chunks, long long rowsDone = 0,
    const Prepare& prepare = [](ZRBBuf&) {}) {
  FlowHarness<> fast(capacity, schema);
  FlowHarness<> plain(capacity, schema);
  prepare(fast.buf);
  prepare(plain.buf);
  for (const long rows : chunks) {
    setNullRows(fast.writer, rowsDone, rows);
    setPlainly(plain.writer, rowsDone, rows);
    ASSERT_EQ(differenceOf(BufSnapshot(fast.buf), BufSnapshot(plain.buf)), "");
    fast.pass(rows);
    plain.pass(rows);
    rowsDone += rows;
  }
}

// Notes what it is asked, and by which object.
class NotingConverter final : public ZRBConverter {
public:
  std::vector<std::string> texts;

  void doubleToText(const double* value, char* text, int size) override {
    std::snprintf(text, static_cast<std::size_t>(size), "%.17g", *value);
    texts.push_back(text);
  }
  void textToDouble(const char* text, double* value) override {
    texts.push_back(text);
    *value = 1;
  }
  void timeDateToText(const long long*, char*, int) override {}
  void textToTimeDate(const char*, long long*) override {}
};

// Takes pages away from the program and notes which of them it wants back.
class PageWatch {
public:
  PageWatch(char* bytes, long count) {
    const auto page = static_cast<std::uintptr_t>(pageBytes());
    const auto start = reinterpret_cast<std::uintptr_t>(bytes);
    m_first = (start + page - 1) / page * page;
    m_pages = (start + static_cast<std::uintptr_t>(count)) / page - m_first / page;
    touched.clear();
    struct sigaction action = {};
    action.sa_sigaction = giveBack;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSEGV, &action, &m_before);
    mprotect(reinterpret_cast<void*>(m_first), m_pages * page, PROT_NONE);
  }
  PageWatch(const PageWatch&) = delete;
  PageWatch& operator=(const PageWatch&) = delete;
  ~PageWatch() {
    mprotect(reinterpret_cast<void*>(m_first), m_pages * static_cast<std::uintptr_t>(pageBytes()),
             PROT_READ | PROT_WRITE);
    sigaction(SIGSEGV, &m_before, nullptr);
  }

  std::size_t pages() const { return m_pages; }
  static std::size_t numTouched() { return touched.size(); }

private:
  static long pageBytes() { return sysconf(_SC_PAGESIZE); }
  static void giveBack(int, siginfo_t* info, void*) {
    const auto page = static_cast<std::uintptr_t>(pageBytes());
    const std::uintptr_t start = reinterpret_cast<std::uintptr_t>(info->si_addr) / page * page;
    touched.insert(start);
    if (mprotect(reinterpret_cast<void*>(start), page, PROT_READ | PROT_WRITE) != 0) _exit(3);
  }

  static std::set<std::uintptr_t> touched;
  std::uintptr_t m_first;
  std::size_t m_pages;
  struct sigaction m_before;
};
std::set<std::uintptr_t> PageWatch::touched;

}  // namespace

TEST(NullRows, rows_of_any_columns_come_out_the_same_across_wraps_and_odd_chunks) {
  const std::vector<Schema> all = schemas();
  for (std::size_t i = 0; i < all.size(); ++i) {
    SCOPED_TRACE(i);
    expectSameRows(all[i], 300, {100, 100, 100, 1, 99, 0, 300, 7, 250});
    expectSameRows(all[i], 37, {37, 11, 30, 1});
    expectSameRows(all[i], 1, {1, 0, 1});
  }
}

TEST(NullRows, numbers_beyond_the_integers_of_a_double_are_rounded_alike) {
  for (const long long rowsDone : {(1ll << 53) - 3, (1ll << 53) + 1, (1ll << 62) + 12345, -5ll})
    expectSameRows({{"d", kDouble}, {"t", kTimeDate}, {"d", kDouble}, {"d", kDouble}, {"d", kDouble}}, 50, {20, 20, 20},
                   rowsDone);
}

TEST(NullRows, levels_overflows_and_cut_texts_are_those_of_single_cells) {
  const SavedSettings restored;
  ZRBObj::setErrorOnLevelOverflow(1);
  ZRBObj::setErrorOnStringTruncation(1);
  expectSameRows({{"f", kFactor}, {"s", kString, 4}, {"d", kDouble}, {"g", kFactor}}, 700, {600, 600, 3}, 900,
                 [](ZRBBuf& buf) { buf.setMaxAutoLevels(3, 10), buf.setOverflowLevel(3, "905"); });
}

TEST(NullRows, the_epoch_of_time_dates_counts) {
  const SavedSettings restored;
  ZRBObj::setDoubleDateEpoch(0x7FFFFFFFFFFFF000);
  expectSameRows({{"t", kTimeDate}, {"d", kDouble}}, 50, {40, 40});
}

TEST(NullRows, a_schema_changed_without_a_new_layout_is_written_in_the_order_of_cells) {
  const Schema schema = {{"f", kFactor}, {"g", kFactor}, {"d", kDouble}, {"e", kDouble}};
  expectSameRows(schema, 50, {40, 40}, 0, [](ZRBBuf& buf) { buf.setColumnType(0, kDouble); });
  expectSameRows(schema, 50, {40, 40}, 0,
                 [](ZRBBuf& buf) { buf.setColumnOffsetBytes(3, buf.getColumnOffsetBytes(2)); });
  expectSameRows(schema, 50, {40, 40}, 0, [](ZRBBuf& buf) { forceColumnType(buf, 2, 9); });
}

TEST(NullRows, a_converter_sees_the_same_numbers_in_the_same_order) {
  const Schema schema = {{"s", kString, 30}, {"d", kDouble}, {"f", kFactor}, {"t", kTimeDate}, {"z", kString, 30}};
  NotingConverter fastNotes, plainNotes;
  FlowHarness<> fast(50, schema), plain(50, schema);
  fast.buf.setConverter(&fastNotes);
  plain.buf.setConverter(&plainNotes);
  setNullRows(fast.writer, 1000, 40);
  setPlainly(plain.writer, 1000, 40);
  EXPECT_EQ(fastNotes.texts, plainNotes.texts);
  EXPECT_EQ(fastNotes.texts.size(), 120u);

  fast.pass(20);
  fast.writer.releaseRows(20);
  fastNotes.texts.clear();
  plainNotes.texts.clear();
  loadRows(fast.reader, 20);
  fast.buf.setConverter(&plainNotes);
  for (long row = 0; row < 20; ++row)
    for (long column = 0; column < 5; ++column) fast.reader.getDouble(row, column);
  EXPECT_EQ(fastNotes.texts, plainNotes.texts);
  EXPECT_EQ(fastNotes.texts.size(), 40u) << "two text columns";
}

TEST(NullRows, a_host_that_derives_the_node_or_the_end_sees_every_call) {
  struct HostNode : ZRBProcNullReader {
    int questions = 0;
    long long getRowsDone() override {
      ++questions;
      return ZRBProcNullReader::getRowsDone();
    }
  };
  struct HostReader : ZRBMemoryBufReader {
    using ZRBMemoryBufReader::ZRBMemoryBufReader;
    int reads = 0;
    double getDouble(long row, long column) override {
      ++reads;
      return ZRBMemoryBufReader::getDouble(row, column);
    }
  };
  BufWithEnds<HostReader, ZRBMemoryBufWriter> buf;
  HostNode source;
  ZRBProcNullWriter sink;
  setColumns(buf, oneColumnOfEachType());
  source.setOutputBuf(0, &buf);
  sink.setInputBuf(0, &buf);
  source.setNumRows(100);
  source.setTotalRows(100);
  buf.init();
  source.init();
  sink.init();
  source.execute();
  sink.execute();
  EXPECT_GE(source.questions, 100) << "once a row";
  EXPECT_EQ(static_cast<HostReader*>(buf.getBufReader(0))->reads, 500);
}

TEST(NullRows, the_null_writer_loads_every_page_of_its_rows) {
  const std::vector<std::pair<const char*, Schema>> kinds = {
      {"doubles", doubles(10)},
      {"no text", {{"f", kFactor}, {"d", kDouble}, {"b", kBlob}, {"t", kTimeDate}}},
      {"with a text", {{"d", kDouble}, {"d", kDouble}, {"s", kString, 4}, {"d", kDouble}}}};
  for (const auto& [name, schema] : kinds) {
    SCOPED_TRACE(name);
    ZRBMemoryBuf buf;
    ZRBProcNullReader source;
    ZRBProcNullWriter sink;
    setColumns(buf, schema);
    source.setOutputBuf(0, &buf);
    sink.setInputBuf(0, &buf);
    for (ZRBProc* node : {static_cast<ZRBProc*>(&source), static_cast<ZRBProc*>(&sink)}) node->setNumRows(3000);
    source.setTotalRows(3000);
    buf.init();
    source.init();
    sink.init();
    source.execute();
    const PageWatch watch(buf.getDataPtr(0, 0, 0), 3000 * buf.getBytesPerRow());
    sink.execute();
    EXPECT_GT(watch.pages(), 10u);
    EXPECT_EQ(watch.numTouched(), watch.pages());
    EXPECT_EQ(sink.getRowsDone(), 3000);
  }
}
