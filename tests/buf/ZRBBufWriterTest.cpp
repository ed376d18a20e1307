// The writing end: row flow, cells, blobs, rectangles of NA.  Copies from a reader are in ZRBBufCopyTest.cpp.
#include "ZRBBufWriter.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <string>
#include <vector>

#include "ZRBMemoryBuf.h"
#include "support/Harness.h"

namespace {

using Lines = std::vector<std::string>;

constexpr long kDouble = 0, kFactor = 1, kString = 2, kTimeDate = 3, kBlob = 4, kUnknown = 5;
constexpr long kColumns = 6;

std::string textOf(double value) {
  if (bitsOf(value) == kDoubleNABits) return "NA";
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

// Notes every virtual write before it does it.
class LoggingWriter : public ZRBMemoryBufWriter {
public:
  LoggingWriter(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBMemoryBufWriter(buf, proc) {}
  Lines calls;

  void setDouble(long row, long column, double value) override {
    note("setDouble", row, column, textOf(value));
    ZRBMemoryBufWriter::setDouble(row, column, value);
  }
  void setLevelNum(long row, long column, long level) override {
    note("setLevelNum", row, column, std::to_string(level));
    ZRBMemoryBufWriter::setLevelNum(row, column, level);
  }
  void setString(long row, long column, const char* text) override {
    note("setString", row, column, copyOf(text));
    ZRBMemoryBufWriter::setString(row, column, text);
  }
  void setTimeDate(long row, long column, long long timeMs) override {
    note("setTimeDate", row, column, isTimeDateNA(timeMs) ? "NA" : std::to_string(timeMs));
    ZRBMemoryBufWriter::setTimeDate(row, column, timeMs);
  }
  void setBlobNA(long row, long column) override {
    note("setBlobNA", row, column, "");
    ZRBMemoryBufWriter::setBlobNA(row, column);
  }
  void setBlobOffset(long row, long column, long long offset) override {
    note("setBlobOffset", row, column, std::to_string(offset));
    ZRBMemoryBufWriter::setBlobOffset(row, column, offset);
  }
  void setBlobLength(long row, long column, long long length) override {
    note("setBlobLength", row, column, std::to_string(length));
    ZRBMemoryBufWriter::setBlobLength(row, column, length);
  }
  void setConvertString(long row, long column, const char* text) override {
    note("setConvertString", row, column, copyOf(text));
    ZRBMemoryBufWriter::setConvertString(row, column, text);
  }

private:
  void note(const char* call, long row, long column, const std::string& value) {
    calls.push_back(std::string(call) + " " + std::to_string(row) + " " + std::to_string(column) +
                    (value.empty() ? "" : " " + value));
  }
};

// A ring of 10 rows with a column of each type and one of no known type; the writer's chunk begins in ring row
// `released` mod 10.  Level names of the factor column are "red", "green", "blue".
template <class Writer = ZRBMemoryBufWriter>
class CellsHarness : public FlowHarness<ZRBMemoryBufReader, Writer> {
public:
  explicit CellsHarness(long released = 0)
      : FlowHarness<ZRBMemoryBufReader, Writer>(10, columns()), m_released(released) {
    forceColumnType(this->buf, kUnknown, 9);
    for (const char* level : {"red", "green", "blue"}) this->buf.addLevel(kFactor, level);
    for (long rest = released; rest > 0; rest -= 10) this->pass(rest < 10 ? rest : 10);
    for (long ringRow = 0; ringRow < 10; ++ringRow) fill(ringRow);
  }
  long at(long row) { return (m_released + row) % 10; }

  // What the cell of a chunk row holds; "-" is what it held before.
  std::string cell(long row, long column) { return ringCell(at(row), column); }
  std::string ringCell(long ringRow, long column) {
    ZRBBuf& cells = this->buf;
    switch (column) {
      case kDouble:
        return cells.getRawDouble(ringRow, column) == -77.0 ? "-" : textOf(cells.getRawDouble(ringRow, column));
      case kFactor: {
        const long level = cells.getRawLevelNum(ringRow, column);
        return level == 777 ? "-" : level < 0 ? "NA" : std::to_string(level);
      }
      case kString:
        return copyOf(cells.getRawString(ringRow, column));
      case kTimeDate: {
        const long long time = cells.getRawTimeDate(ringRow, column);
        return time == -77 ? "-" : ZRBObj::isTimeDateNA(time) ? "NA" : std::to_string(time);
      }
      default: {
        const long long offset = cells.getRawBlobOffset(ringRow, column),
                        length = cells.getRawBlobLength(ringRow, column);
        if (offset == -77 && length == -77) return "-";
        if (offset == -1 && length == -1) return "NA";
        return std::to_string(offset) + "+" + std::to_string(length);
      }
    }
  }
  long messages() {
    return this->producer.getNumMessages() + this->consumer.getNumMessages() + this->buf.getNumMessages() +
           this->writer.getNumMessages();
  }

private:
  static std::vector<Column> columns() {
    std::vector<Column> columns = oneColumnOfEachType();
    columns.push_back({"unknown", ZRBBuf::column_blob});
    return columns;
  }
  void fill(long ringRow) {
    ZRBBuf& cells = this->buf;
    cells.setRawDouble(ringRow, kDouble, -77.0);
    cells.setRawLevelNum(ringRow, kFactor, 777);
    cells.setRawString(ringRow, kString, "-");
    cells.setRawTimeDate(ringRow, kTimeDate, -77);
    for (const long column : {kBlob, kUnknown}) {
      cells.setRawBlobOffset(ringRow, column, -77);
      cells.setRawBlobLength(ringRow, column, -77);
    }
  }
  long m_released;
};

}  // namespace

// ---- Construction and init ----

TEST(BufWriter, a_new_writer_requests_nothing_and_has_no_blob_open) {
  class OpenWriter : public ZRBBufWriter {
  public:
    using ZRBBufWriter::m_blob_column;
    using ZRBBufWriter::m_blob_row;
    using ZRBBufWriter::ZRBBufWriter;
  };
  ZRBMemoryBuf buf;
  HarnessNode node;
  OpenWriter writer(&buf, &node);
  EXPECT_EQ(writer.getBuf(), &buf);
  EXPECT_EQ(writer.getProc(), &node);
  EXPECT_EQ(writer.getRequestRows(), 0);
  EXPECT_EQ(writer.getChunkPosition(), 0);
  EXPECT_EQ(writer.m_blob_row, -1);
  EXPECT_EQ(writer.m_blob_column, -1);
  EXPECT_EQ(writer.getNumMessages(), 0);
  EXPECT_EQ(buf.getNumWriters(), 0);
}

TEST(BufWriter, init_resets_the_request_only) {
  class OpenWriter : public ZRBMemoryBufWriter {
  public:
    using ZRBBufWriter::m_blob_column;
    using ZRBBufWriter::m_blob_row;
    using ZRBMemoryBufWriter::ZRBMemoryBufWriter;
  };
  FlowHarness<ZRBMemoryBufReader, OpenWriter> h(10, {{"d", ZRBBuf::column_double}});
  h.writer.releaseRows(3);
  h.writer.setRequestRows(4);
  h.writer.m_blob_row = 5;
  h.writer.m_blob_column = 6;
  h.writer.addWarning("old");
  EXPECT_EQ(h.writer.init(), 0);
  EXPECT_EQ(h.writer.getRequestRows(), 0);
  EXPECT_EQ(h.writer.getChunkPosition(), 3);
  EXPECT_EQ(h.writer.m_blob_row, 5);
  EXPECT_EQ(h.writer.m_blob_column, 6);
  EXPECT_EQ(h.writer.getNumMessages(), 0);
  EXPECT_EQ(h.writer.getProc(), &h.producer);
}

TEST(BufWriter, the_node_can_be_replaced_and_receives_the_errors) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  HarnessNode other;
  h.writer.setProc(&other);
  EXPECT_EQ(h.writer.getProc(), &other);
  h.writer.releaseRows(-1);
  EXPECT_EQ(other.getNumMessages(), 1);
  EXPECT_EQ(h.producer.getNumMessages(), 0);
  h.writer.setProc(&h.producer);
}

// ---- Requests ----

TEST(BufWriter, a_request_above_a_limit_is_refused_and_the_old_request_is_kept) {
  const char* const kBufLimit = "ZRBBufWriter::setRequestRows asked for more rows than ZRBBuf::getNumRows(): ";
  const char* const kNodeLimit = "ZRBBufWriter::setRequestRows asked for more rows than ZRBProc::getNumRows(): ";
  const struct {
    long capacity, nodeRows, nodeOutputRows, request;
    const char* error;
  } cases[] = {
      {3000, 5, 1000, 1000, nullptr},  // the limit is the node's output row count, and inclusive
      {3000, 5000, 1000, 1001, kNodeLimit},
      {3000, 5, 3000, 3000, nullptr},
      {3000, 5, 3001, 3001, kBufLimit},
      {3000, 5, 1000, 3001, kBufLimit},  // the ring's limit comes first
      {3000, 1000, -1, 1000, nullptr},   // an unset output row count is the row count
      {3000, 1000, -1, 1001, kNodeLimit},
      {3000, 5, 0, 0, nullptr},  // the node's limit does not apply to 0 or 1
      {3000, 5, 0, 1, nullptr},
      {3000, 5, 0, 2, kNodeLimit},
      {0, 5, 1000, 1, kBufLimit},  // the ring's limit applies to 1
      {3000, 5, 1000, -1, nullptr},
      {3000, 5, 1000, 3000000000, kBufLimit},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.request << " of " << c.capacity << ", node " << c.nodeOutputRows);
    FlowHarness<> h(3000, {{"d", ZRBBuf::column_double}});
    h.writer.setRequestRows(7);
    h.buf.setNumRows(c.capacity);
    h.producer.setNumRows(c.nodeRows);
    h.producer.setOutputNumRows(c.nodeOutputRows);
    h.writer.setRequestRows(c.request);
    EXPECT_EQ(h.writer.getRequestRows(), c.error ? 7 : c.request);
    EXPECT_EQ(messagesOf(h.producer), c.error ? Messages{c.error + std::to_string(c.request)} : Messages{});
    EXPECT_EQ(h.buf.getNumMessages() + h.writer.getNumMessages() + h.consumer.getNumMessages(), 0);
  }
}

TEST(BufWriter, the_limit_of_the_node_is_asked_through_its_virtual_operation) {
  class WideNode : public HarnessNode {
  public:
    long getOutputNumRows() override { return 3; }
  };
  ZRBMemoryBuf buf;
  buf.setNumRows(10);
  WideNode node;
  ZRBBufWriter& writer = node.writeTo(buf);
  writer.setRequestRows(3);
  EXPECT_EQ(writer.getRequestRows(), 3);
  writer.setRequestRows(4);
  EXPECT_EQ(writer.getRequestRows(), 3);
  EXPECT_EQ(messagesOf(node),
            Messages{"ZRBBufWriter::setRequestRows asked for more rows than ZRBProc::getNumRows(): 4"});
}

// ---- Readiness ----

TEST(BufWriter, readiness_follows_errors_then_free_rows) {
  const struct {
    const char* reason;
    long locked, request;
    bool eof, bufError;
    int ready;
  } cases[] = {
      {"a request of nothing is ready at once", 10, 0, false, false, 1},
      {"too few free rows", 8, 3, false, false, 0},
      {"exactly the rows requested", 7, 3, false, false, 1},
      {"more free rows than requested", 0, 3, false, false, 1},
      {"end of data plays no part", 7, 3, true, false, 1},
      {"nor here", 8, 3, true, false, 0},
      {"an error of the buffer", 0, 0, false, true, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reason);
    FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
    h.writer.releaseRows(c.locked);
    h.writer.setRequestRows(c.request);
    if (c.eof) h.writer.setEOF();
    if (c.bufError) h.buf.addError("broken");
    EXPECT_EQ(h.writer.getRowsReady(), 10 - c.locked);
    EXPECT_EQ(h.writer.isReady(), c.ready);
    EXPECT_EQ(h.writer.isReady(), c.ready);  // a question changes nothing
    EXPECT_EQ(h.producer.getNumMessages(), 0);
  }
}

TEST(BufWriter, only_an_error_of_the_buffer_stops_it) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  h.buf.addWarning("odd");
  h.producer.addError("the node's own business");
  h.writer.addError("odd");
  EXPECT_EQ(h.writer.isReady(), 1);
  h.buf.addError("broken");
  EXPECT_EQ(h.writer.isReady(), 0);
}

TEST(BufWriter, readiness_asks_the_buffer_for_free_rows_and_not_the_virtual_rows_ready) {
  class PretendingWriter : public ZRBMemoryBufWriter {
  public:
    PretendingWriter(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBMemoryBufWriter(buf, proc) {}
    long getRowsReady() override { return 0; }
    long getRequestRows() override { return 1000; }
  };
  FlowHarness<ZRBMemoryBufReader, PretendingWriter> h(10, {{"d", ZRBBuf::column_double}});
  h.writer.setRequestRows(10);
  EXPECT_EQ(h.writer.isReady(), 1);
}

// ---- Release and end of data ----

TEST(BufWriter, released_rows_become_readable_and_leave_the_chunk) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  h.writer.releaseRows(4);
  EXPECT_EQ(h.writer.getChunkPosition(), 4);
  EXPECT_EQ(h.writer.getRowsReady(), 6);
  EXPECT_EQ(h.writer.getBufferRowNum(0), 4);
  EXPECT_EQ(h.writer.getBufferRowNum(7), 1);
  EXPECT_EQ(h.reader.getRowsReady(), 4);
  h.writer.releaseRows(0);
  EXPECT_EQ(h.writer.getChunkPosition(), 4);
  h.writer.releaseRows(6);
  EXPECT_EQ(h.writer.getRowsReady(), 0);
  h.reader.releaseRows(10);
  EXPECT_EQ(h.writer.getRowsReady(), 10);
  EXPECT_EQ(h.producer.getNumMessages(), 0);
}

TEST(BufWriter, a_release_that_is_not_possible_is_refused) {
  const char* const kNegative = "ZRBBufWriter::releaseRows can't release negative rows: ";
  const char* const kTooMany = "ZRBBufWriter::releaseRows can't release more rows than are ready: ";
  const char* const kAfterEOF = "ZRBBufWriter::releaseRows can't release rows after EOF is set: ";
  const struct {
    long rows;
    bool eof;
    const char* error;
  } cases[] = {
      {-1, false, kNegative}, {LONG_MIN, false, kNegative}, {7, false, kTooMany}, {LONG_MAX, false, kTooMany},
      {6, false, nullptr},    {0, false, nullptr},          {0, true, kAfterEOF},  // nothing is too much at end of data
      {6, true, kAfterEOF},   {-1, true, kNegative},                               // the range is tested first
      {7, true, kTooMany},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.rows << (c.eof ? " at end of data" : ""));
    FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
    h.writer.releaseRows(4);
    if (c.eof) h.writer.setEOF();
    h.writer.releaseRows(c.rows);
    EXPECT_EQ(h.buf.getInputRowsReleased(), c.error ? 4 : 4 + c.rows);
    EXPECT_EQ(messagesOf(h.producer), c.error ? Messages{c.error + std::to_string(c.rows)} : Messages{});
    EXPECT_EQ(h.buf.getNumMessages() + h.writer.getNumMessages() + h.consumer.getNumMessages(), 0);
  }
}

TEST(BufWriter, a_release_asks_the_virtual_rows_ready) {
  class ModestWriter : public ZRBMemoryBufWriter {
  public:
    ModestWriter(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBMemoryBufWriter(buf, proc) {}
    long getRowsReady() override { return 2; }
  };
  FlowHarness<ZRBMemoryBufReader, ModestWriter> h(10, {{"d", ZRBBuf::column_double}});
  h.writer.releaseRows(3);
  EXPECT_EQ(messagesOf(h.producer), Messages{"ZRBBufWriter::releaseRows can't release more rows than are ready: 3"});
  EXPECT_EQ(h.buf.getInputRowsReleased(), 0);
  h.writer.releaseRows(2);
  EXPECT_EQ(h.buf.getInputRowsReleased(), 2);
}

TEST(BufWriter, release_and_end_of_data_go_through_the_virtual_operations_of_the_buffer) {
  class LoggingBuf : public ZRBMemoryBuf {
  public:
    Lines calls;
    void releaseInputRows(long rows) override { calls.push_back("releaseInputRows " + std::to_string(rows)); }
    int setEOF(int eof) override {
      calls.push_back("setEOF " + std::to_string(eof));
      return 5;
    }
  };
  LoggingBuf buf;
  buf.setNumRows(10);
  HarnessNode node;
  ZRBBufWriter& writer = node.writeTo(buf);
  buf.init();
  writer.releaseRows(3);
  writer.releaseRows(0);
  EXPECT_EQ(writer.setEOF(), 5);
  EXPECT_EQ(buf.calls, (Lines{"releaseInputRows 3", "releaseInputRows 0", "setEOF 1"}));
  EXPECT_EQ(buf.getInputRowsReleased(), 0);
  EXPECT_EQ(node.getNumMessages(), 0);
}

TEST(BufWriter, end_of_data_releases_no_pending_rows) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  h.writer.releaseRows(2);
  h.writer.setDouble(0, 0, 1.5);
  EXPECT_EQ(h.writer.setEOF(), 1);
  EXPECT_EQ(h.buf.getEOF(), 1);
  EXPECT_EQ(h.reader.getRowsReady(), 2);
  EXPECT_EQ(h.buf.getTotalNumRows(), 2);
  h.writer.setDouble(0, 0, 2.5);  // writing remains possible
  EXPECT_EQ(h.buf.getRawDouble(2, 0), 2.5);
  h.writer.releaseRows(1);
  EXPECT_EQ(h.reader.getRowsReady(), 2);
  EXPECT_EQ(messagesOf(h.producer), Messages{"ZRBBufWriter::releaseRows can't release rows after EOF is set: 1"});
}

TEST(BufWriter, chunk_rows_are_ring_rows_behind_the_released_ones) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  for (long released = 0; released < 40; released += 7) {
    EXPECT_EQ(h.writer.getChunkPosition(), released);
    for (long row = 0; row < 10; ++row) EXPECT_EQ(h.writer.getBufferRowNum(row), (released + row) % 10);
    h.pass(7);
  }
}

// ---- Cells ----

namespace {

// One write of one value into every type of column, and what each cell then holds.
struct WriteCase {
  const char* what;
  void (*write)(ZRBBufWriter& writer, long row, long column);
  const char* cells[kColumns];
};

template <class Case, std::size_t N>
void expectWrites(const Case (&cases)[N]) {
  for (const Case& c : cases) {
    for (long column = 0; column < kColumns; ++column) {
      SCOPED_TRACE(testing::Message() << c.what << " into column " << column);
      CellsHarness<> h;  // the first chunk: chunk rows are ring rows
      c.write(h.writer, 4, column);
      for (long row = 0; row < 10; ++row)
        for (long other = 0; other < kColumns; ++other)
          EXPECT_EQ(h.cell(row, other), row == 4 && other == column ? c.cells[column] : "-")
              << "row " << row << ", column " << other;
      EXPECT_EQ(h.messages(), 0);
    }
  }
}

}  // namespace

TEST(BufWriter, a_double_is_converted_to_the_type_of_the_column) {
  SavedSettings saved;
  ZRBObj::setDoubleDateEpoch(1000);
  const WriteCase cases[] = {
      {"2.75",
       [](ZRBBufWriter& w, long row, long column) { w.setDouble(row, column, 2.75); },
       {"2.75", "2", "2.75", "237601000", "NA", "-"}},
      {"-0.5",
       [](ZRBBufWriter& w, long row, long column) { w.setDouble(row, column, -0.5); },
       {"-0.5", "0", "-0.5", "-43199000", "NA", "-"}},
      {"70000",
       [](ZRBBufWriter& w, long row, long column) { w.setDouble(row, column, 70000.0); },
       {"70000", "0", "70000", "6048000001000", "NA", "-"}},
      {"NA",
       [](ZRBBufWriter& w, long row, long column) { w.setDouble(row, column, ZRBObj::getDoubleNA()); },
       {"NA", "NA", "<NA>", "NA", "NA", "-"}},
  };
  expectWrites(cases);
}

TEST(BufWriter, a_level_number_is_converted_to_the_type_of_the_column) {
  const WriteCase cases[] = {
      {"level 2",
       [](ZRBBufWriter& w, long row, long column) { w.setLevelNum(row, column, 2); },
       {"2", "2", "", "0", "NA", "-"}},
      {"a level without a name",
       [](ZRBBufWriter& w, long row, long column) { w.setLevelNum(row, column, 60000); },
       {"60000", "60000", "", "0", "NA", "-"}},
      {"the level NA",
       [](ZRBBufWriter& w, long row, long column) { w.setLevelNum(row, column, -3); },
       {"NA", "NA", "<NA>", "NA", "NA", "-"}},
  };
  expectWrites(cases);
}

TEST(BufWriter, a_text_is_converted_to_the_type_of_the_column) {
  const WriteCase cases[] = {
      {"a number",
       [](ZRBBufWriter& w, long row, long column) { w.setString(row, column, "12.5"); },
       {"12.5", "3", "12.5", "0", "NA", "-"}},  // a new level
      {"a level",
       [](ZRBBufWriter& w, long row, long column) { w.setString(row, column, "green"); },
       {"0", "1", "green", "0", "NA", "-"}},
      {"the empty text",
       [](ZRBBufWriter& w, long row, long column) { w.setString(row, column, ""); },
       {"0", "NA", "", "0", "NA", "-"}},
      {"a long text",
       [](ZRBBufWriter& w, long row, long column) { w.setString(row, column, "0123456789abcdefghij"); },
       {"1.23457e+08", "3", "0123456789abcde", "0", "NA", "-"}},
      {"null",
       [](ZRBBufWriter& w, long row, long column) { w.setString(row, column, nullptr); },
       {"NA", "NA", "<NA>", "NA", "NA", "-"}},
      {"the string NA",
       [](ZRBBufWriter& w, long row, long column) { w.setString(row, column, ZRBObj::getStringNA()); },
       {"NA", "NA", "<NA>", "NA", "NA", "-"}},
  };
  expectWrites(cases);
}

TEST(BufWriter, a_time_date_is_converted_to_the_type_of_the_column) {
  SavedSettings saved;
  ZRBObj::setDoubleDateEpoch(1000);
  const WriteCase cases[] = {
      {"a time",
       [](ZRBBufWriter& w, long row, long column) { w.setTimeDate(row, column, 43201000); },
       {"0.5", "NA", "", "43201000", "NA", "-"}},  // without a converter the text is empty, which is no level
      {"NA",
       [](ZRBBufWriter& w, long row, long column) { w.setTimeDate(row, column, ZRBObj::getTimeDateNA()); },
       {"NA", "NA", "<NA>", "NA", "NA", "-"}},
  };
  expectWrites(cases);
}

TEST(BufWriter, NA_is_written_with_its_own_bytes) {
  CellsHarness<> h(3);
  h.writer.setLevelNum(1, kDouble, -1);
  EXPECT_EQ(bitsOf(h.buf.getRawDouble(4, kDouble)), kDoubleNABits);
  h.writer.setDouble(1, kDouble, std::numeric_limits<double>::quiet_NaN());  // a NaN is kept as it is
  EXPECT_EQ(bitsOf(h.buf.getRawDouble(4, kDouble)), bitsOf(std::numeric_limits<double>::quiet_NaN()));
  h.writer.setDouble(1, kTimeDate, std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(h.buf.getRawTimeDate(4, kTimeDate), 0x7FFFFFFFFFFFFFFF);
  h.writer.setTimeDate(1, kTimeDate, 0x7FFFFFFFFFFFFFF5);  // and so is a time-date that counts as NA
  EXPECT_EQ(h.buf.getRawTimeDate(4, kTimeDate), 0x7FFFFFFFFFFFFFF5);
}

TEST(BufWriter, writes_go_to_the_ring_row_of_the_chunk_row) {
  CellsHarness<> h(27);
  for (long row = 0; row < 10; ++row) {
    h.writer.setDouble(row, kDouble, static_cast<double>(row));
    h.writer.setLevelNum(row, kFactor, row);
    h.writer.setString(row, kString, std::to_string(row).c_str());
    h.writer.setTimeDate(row, kTimeDate, row);
    h.writer.setBlobOffset(row, kBlob, row);
    h.writer.setBlobLength(row, kBlob, row + 1);
  }
  for (long row = 0; row < 10; ++row) {
    const std::string text = std::to_string(row);
    const long ringRow = (7 + row) % 10;
    for (const long column : {kDouble, kFactor, kString, kTimeDate}) EXPECT_EQ(h.ringCell(ringRow, column), text);
    EXPECT_EQ(h.ringCell(ringRow, kBlob), text + "+" + std::to_string(row + 1));
  }
}

TEST(BufWriter, texts_are_converted_by_the_converter_of_the_buffer) {
  SavedSettings saved;
  TaggedConverter ofBuf("buf", 100), ofWriter("writer", 200), ofNode("node", 300), byDefault("default", 400);
  ZRBObj::setDefaultConverter(&byDefault);
  CellsHarness<> h;
  h.writer.setConverter(&ofWriter);
  h.producer.setConverter(&ofNode);
  h.writer.setDouble(0, kString, 5.0);
  EXPECT_EQ(h.cell(0, kString), "default5");
  h.buf.setConverter(&ofBuf);
  h.writer.setDouble(0, kString, 5.0);
  EXPECT_EQ(h.cell(0, kString), "buf5");
  h.writer.setString(0, kDouble, "abc");
  EXPECT_EQ(h.cell(0, kDouble), "103");
  h.writer.setString(0, kTimeDate, "abcd");
  EXPECT_EQ(h.cell(0, kTimeDate), "104");
  h.writer.setTimeDate(0, kString, 77);
  EXPECT_EQ(h.cell(0, kString), "buf77ms");
  h.writer.setTimeDate(0, kFactor, 77);
  EXPECT_EQ(h.cell(0, kFactor), "3");
  EXPECT_STREQ(h.buf.getLevelName(kFactor, 3), "buf77ms");
  h.writer.setConvertDouble(0, kFactor, 6.0);
  EXPECT_STREQ(h.buf.getLevelName(kFactor, 4), "buf6");
  h.writer.setConvertString(0, kDouble, "abc");
  EXPECT_EQ(h.cell(0, kDouble), "103");
  h.writer.setConvertString(0, kTimeDate, "abcde");
  EXPECT_EQ(h.cell(0, kTimeDate), "105");
  double value = 7.0;
  h.writer.setDoubleArray(0, kString, 1, &value);
  EXPECT_EQ(h.cell(0, kString), "buf7");
}

TEST(BufWriter, a_text_too_long_for_its_cell_is_an_error_of_the_buffer_and_not_of_the_node) {
  SavedSettings saved;
  ZRBObj::setErrorOnStringTruncation(1);
  CellsHarness<> h;
  h.writer.setString(2, kString, "0123456789abcdef");
  EXPECT_EQ(messagesOf(h.buf), Messages{"string truncated in column s"});
  EXPECT_EQ(h.buf.getOverflowCount(kString), 1);
  EXPECT_EQ(h.buf.getOverflowStringBytes(kString), 17);
  EXPECT_EQ(messagesOf(h.producer), Messages{});
  EXPECT_EQ(h.writer.isReady(), 0);
}

TEST(BufWriter, a_text_that_finds_no_level_is_an_error_of_the_buffer_and_not_of_the_node) {
  SavedSettings saved;
  ZRBObj::setErrorOnLevelOverflow(1);
  CellsHarness<> h;
  h.buf.setMaxAutoLevels(kFactor, 3);
  h.writer.setString(2, kFactor, "yellow");
  EXPECT_EQ(h.cell(2, kFactor), "NA");
  EXPECT_EQ(messagesOf(h.buf), Messages{"factor level overflow in column f"});
  EXPECT_EQ(messagesOf(h.producer), Messages{});
}

// ---- Which virtual operations a write uses ----

TEST(BufWriter, setDouble_on_a_blob_column_maps_the_row_twice) {
  const struct {
    long released, row, ringRow;
  } cases[] = {
      {0, 4, 4},               // the first chunk: both mappings agree
      {3, 1, 7},               // ring row 4 is mapped again, as chunk row 4
      {3, 9, 5},               // ring row 2
      {7, 0, 4},               // ring row 7
      {10, 4, 4}, {15, 2, 2},  // ring row 7, from 15 on: 22
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "row " << c.row << " after " << c.released);
    CellsHarness<LoggingWriter> h(c.released);
    h.writer.setDouble(c.row, kBlob, 2.5);
    EXPECT_EQ(h.writer.calls, (Lines{"setDouble " + std::to_string(c.row) + " 4 2.5",
                                     "setBlobNA " + std::to_string((c.released + c.row) % 10) + " 4"}));
    for (long ringRow = 0; ringRow < 10; ++ringRow)
      EXPECT_EQ(h.ringCell(ringRow, kBlob), ringRow == c.ringRow ? "NA" : "-") << "ring row " << ringRow;
  }
}

TEST(BufWriter, other_values_for_a_blob_column_become_NA_through_setDouble) {
  const struct {
    const char* call;
    void (*write)(ZRBBufWriter&);
  } cases[] = {
      {"setLevelNum 1 4 2", [](ZRBBufWriter& w) { w.setLevelNum(1, kBlob, 2); }},
      {"setString 1 4 text", [](ZRBBufWriter& w) { w.setString(1, kBlob, "text"); }},
      {"setTimeDate 1 4 77", [](ZRBBufWriter& w) { w.setTimeDate(1, kBlob, 77); }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.call);
    CellsHarness<LoggingWriter> h(3);
    c.write(h.writer);
    EXPECT_EQ(h.writer.calls, (Lines{c.call, "setDouble 1 4 NA", "setBlobNA 4 4"}));
    EXPECT_EQ(h.ringCell(7, kBlob), "NA");
    EXPECT_EQ(h.ringCell(4, kBlob), "-");
  }
}

TEST(BufWriter, other_values_for_a_column_of_unknown_type_go_through_setDouble_which_writes_nothing) {
  CellsHarness<LoggingWriter> h(3);
  h.writer.setLevelNum(1, kUnknown, 2);
  h.writer.setString(1, kUnknown, "text");
  h.writer.setTimeDate(1, kUnknown, 77);
  EXPECT_EQ(h.writer.calls, (Lines{"setLevelNum 1 5 2", "setDouble 1 5 NA", "setString 1 5 text", "setDouble 1 5 NA",
                                   "setTimeDate 1 5 77", "setDouble 1 5 NA"}));
  for (long ringRow = 0; ringRow < 10; ++ringRow) EXPECT_EQ(h.ringCell(ringRow, kUnknown), "-");
}

TEST(BufWriter, a_time_date_becomes_text_through_setString) {
  TaggedConverter converter("at", 0);
  CellsHarness<LoggingWriter> h;
  h.buf.setConverter(&converter);
  h.writer.setTimeDate(1, kFactor, 77);
  h.writer.setTimeDate(2, kString, 78);
  h.writer.setTimeDate(3, kFactor, ZRBObj::getTimeDateNA());
  EXPECT_EQ(h.writer.calls, (Lines{"setTimeDate 1 1 77", "setString 1 1 at77ms", "setTimeDate 2 2 78",
                                   "setString 2 2 at78ms", "setTimeDate 3 1 NA", "setString 3 1 <NA>"}));
  EXPECT_EQ(h.cell(1, kFactor), "3");
  EXPECT_EQ(h.cell(2, kString), "at78ms");
  EXPECT_EQ(h.cell(3, kFactor), "NA");
}

TEST(BufWriter, direct_writes_use_no_other_virtual_operation) {
  CellsHarness<LoggingWriter> h;
  for (const long column : {kDouble, kFactor, kString, kTimeDate, kUnknown}) h.writer.setDouble(0, column, 1.0);
  for (const long column : {kDouble, kFactor, kString, kTimeDate}) h.writer.setLevelNum(0, column, 1);
  for (const long column : {kDouble, kFactor, kString, kTimeDate}) h.writer.setString(0, column, "1");
  for (const long column : {kDouble, kTimeDate}) h.writer.setTimeDate(0, column, 1);
  EXPECT_EQ(h.writer.calls.size(), 5u + 4u + 4u + 2u);
}

// ---- Arrays of doubles ----

TEST(BufWriter, an_array_of_doubles_is_written_to_every_type_of_column) {
  CellsHarness<LoggingWriter> h(7);
  double values[] = {1.0, 2.5, ZRBObj::getDoubleNA(), 70000.0};
  const struct {
    long column;
    Lines calls;
    const char* cells[4];
  } cases[] = {
      {kDouble, {}, {"1", "2.5", "NA", "70000"}},  // at once, wrapping in the ring
      {kFactor,
       {"setLevelNum 1 1 1", "setLevelNum 2 1 2", "setLevelNum 3 1 -1", "setLevelNum 4 1 0"},
       {"1", "2", "NA", "0"}},  // numbers of levels, not their names
      {kString,
       {"setString 1 2 1", "setString 2 2 2.5", "setString 3 2 <NA>", "setString 4 2 70000"},
       {"1", "2.5", "<NA>", "70000"}},
      {kTimeDate,
       {"setTimeDate 1 3 86400000", "setTimeDate 2 3 216000000", "setTimeDate 3 3 NA", "setTimeDate 4 3 6048000000000"},
       {"86400000", "216000000", "NA", "6048000000000"}},
      {kUnknown,
       {"setDouble 1 5 NA", "setDouble 2 5 NA", "setDouble 3 5 NA", "setDouble 4 5 NA"},
       {"-", "-", "-", "-"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.column);
    h.writer.calls.clear();
    h.writer.setDoubleArray(1, c.column, 4, values);
    EXPECT_EQ(h.writer.calls, c.calls);
    EXPECT_EQ(h.cell(0, c.column), "-");
    for (long i = 0; i < 4; ++i) EXPECT_EQ(h.cell(1 + i, c.column), c.cells[i]) << i;
    EXPECT_EQ(h.cell(5, c.column), "-");
  }
  EXPECT_EQ(h.buf.getNumLevels(kFactor), 3);  // no level was made
  EXPECT_EQ(h.messages(), 0);
}

TEST(BufWriter, an_array_of_doubles_makes_the_cells_of_a_blob_column_NA) {
  CellsHarness<LoggingWriter> h;
  double values[] = {1.0, 2.0};
  h.writer.setDoubleArray(3, kBlob, 2, values);
  EXPECT_EQ(h.writer.calls, (Lines{"setDouble 3 4 NA", "setBlobNA 3 4", "setDouble 4 4 NA", "setBlobNA 4 4"}));
  EXPECT_EQ(h.cell(3, kBlob), "NA");
  EXPECT_EQ(h.cell(4, kBlob), "NA");
  EXPECT_EQ(h.cell(5, kBlob), "-");
}

TEST(BufWriter, an_array_of_no_doubles_writes_nothing) {
  CellsHarness<LoggingWriter> h;
  double value = 1.0;
  for (long column = 0; column < kColumns; ++column)
    for (const long count : {0L, -1L, LONG_MIN}) h.writer.setDoubleArray(0, column, count, &value);
  EXPECT_EQ(h.writer.calls, Lines{});
  for (long row = 0; row < 10; ++row)
    for (long column = 0; column < kColumns; ++column) EXPECT_EQ(h.cell(row, column), "-");
}

// ---- The "convert" setters ----

TEST(BufWriter, a_converted_double_goes_through_the_setter_of_the_columns_type) {
  SavedSettings saved;
  ZRBObj::setDoubleDateEpoch(1000);
  const struct {
    double value;
    long column;
    Lines calls;
    const char* cell;
  } cases[] = {
      {2.0, kDouble, {"setDouble 4 0 2"}, "2"},
      {2.0, kFactor, {"setString 4 1 2"}, "3"},  // the level named "2"
      {2.0, kString, {"setString 4 2 2"}, "2"},
      {2.0, kTimeDate, {"setTimeDate 4 3 172801000"}, "172801000"},
      {2.0, kBlob, {"setDouble 4 4 NA", "setBlobNA 4 4"}, "NA"},
      {2.0, kUnknown, {"setDouble 4 5 NA"}, "-"},
      {ZRBObj::getDoubleNA(), kDouble, {"setDouble 4 0 NA"}, "NA"},
      {ZRBObj::getDoubleNA(), kFactor, {"setString 4 1 <NA>"}, "NA"},
      {ZRBObj::getDoubleNA(), kString, {"setString 4 2 <NA>"}, "<NA>"},
      {ZRBObj::getDoubleNA(), kTimeDate, {"setTimeDate 4 3 NA"}, "NA"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.value << " into column " << c.column);
    CellsHarness<LoggingWriter> h;
    h.writer.setConvertDouble(4, c.column, c.value);
    EXPECT_EQ(h.writer.calls, c.calls);
    EXPECT_EQ(h.cell(4, c.column), c.cell);
  }
}

TEST(BufWriter, a_converted_text_goes_through_the_setter_of_the_columns_type) {
  struct Case {
    const char* text;
    long column;
    Lines calls;
    const char* cell;
  };
  const Case cases[] = {
      {"2.5", kDouble, {"setDouble 4 0 2.5"}, "2.5"},
      {"green", kFactor, {"setLevelNum 4 1 1"}, "1"},
      {"new", kFactor, {"setLevelNum 4 1 3"}, "3"},
      {"", kFactor, {"setLevelNum 4 1 -1"}, "NA"},
      {"text", kString, {"setString 4 2 text"}, "text"},
      {"", kString, {"setString 4 2 "}, ""},
      {"some day", kTimeDate, {"setTimeDate 4 3 0"}, "0"},
      {"text", kBlob, {"setString 4 4 <NA>", "setDouble 4 4 NA", "setBlobNA 4 4"}, "NA"},
      {"text", kUnknown, {"setString 4 5 <NA>", "setDouble 4 5 NA"}, "-"},
      // NA is NA whatever the type
      {nullptr, kDouble, {"setString 4 0 <NA>"}, "NA"},
      {nullptr, kFactor, {"setString 4 1 <NA>"}, "NA"},
      {nullptr, kString, {"setString 4 2 <NA>"}, "<NA>"},
      {nullptr, kTimeDate, {"setString 4 3 <NA>"}, "NA"},
      {nullptr, kBlob, {"setString 4 4 <NA>", "setDouble 4 4 NA", "setBlobNA 4 4"}, "NA"},
      {nullptr, kUnknown, {"setString 4 5 <NA>", "setDouble 4 5 NA"}, "-"},
      {"\xEF\xBF\xBF", kDouble, {"setString 4 0 <NA>"}, "NA"},
      {"\xEF\xBF\xBF", kFactor, {"setString 4 1 <NA>"}, "NA"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(copyOf(c.text) + " into column " + std::to_string(c.column));
    CellsHarness<LoggingWriter> h;
    h.writer.setConvertString(4, c.column, c.text);
    Lines calls = c.calls;
    calls.insert(calls.begin(), "setConvertString 4 " + std::to_string(c.column) + " " + copyOf(c.text));
    if (copyOf(c.text).empty()) calls.front().pop_back();
    for (std::string& call : calls)
      while (!call.empty() && call.back() == ' ') call.pop_back();
    EXPECT_EQ(h.writer.calls, calls);
    EXPECT_EQ(h.cell(4, c.column), c.cell);
  }
}

TEST(BufWriter, a_converted_factor_is_a_converted_string) {
  CellsHarness<LoggingWriter> h;
  h.writer.setConvertFactor(4, kFactor, "green");
  h.writer.setConvertFactor(5, kDouble, "2.5");
  EXPECT_EQ(h.writer.calls, (Lines{"setConvertString 4 1 green", "setLevelNum 4 1 1", "setConvertString 5 0 2.5",
                                   "setDouble 5 0 2.5"}));
  EXPECT_EQ(h.cell(4, kFactor), "1");
  EXPECT_EQ(h.cell(5, kDouble), "2.5");
}

TEST(BufWriter, level_numbers_of_an_array_and_of_a_converted_double_differ) {
  // An array gives numbers of levels; a converted double gives the level that the number names.
  CellsHarness<> h;
  double value = 2.0;
  h.writer.setDoubleArray(0, kFactor, 1, &value);
  h.writer.setConvertDouble(1, kFactor, value);
  EXPECT_EQ(h.cell(0, kFactor), "2");
  EXPECT_EQ(h.cell(1, kFactor), "3");
  EXPECT_STREQ(h.buf.getLevelName(kFactor, 3), "2");
}

// ---- Blob cells ----

TEST(BufWriter, offset_and_length_of_a_blob_cell_are_set_one_by_one) {
  CellsHarness<> h(3);
  h.writer.setBlobOffset(1, kBlob, 1LL << 40);
  EXPECT_EQ(h.ringCell(4, kBlob), "1099511627776+-77");
  h.writer.setBlobLength(1, kBlob, 5);
  EXPECT_EQ(h.ringCell(4, kBlob), "1099511627776+5");
  h.writer.setBlobNA(1, kBlob);
  EXPECT_EQ(h.ringCell(4, kBlob), "NA");
  for (long ringRow = 0; ringRow < 10; ++ringRow) EXPECT_EQ(h.ringCell(ringRow, kBlob), ringRow == 4 ? "NA" : "-");
  EXPECT_EQ(h.messages(), 0);
}

TEST(BufWriter, a_blob_for_a_column_of_another_type_is_written_as_NA_through_setDouble) {
  const struct {
    const char* call;
    void (*write)(ZRBBufWriter&, long);
  } writes[] = {
      {"setBlobNA 1 # ", [](ZRBBufWriter& w, long column) { w.setBlobNA(1, column); }},
      {"setBlobOffset 1 # 7", [](ZRBBufWriter& w, long column) { w.setBlobOffset(1, column, 7); }},
      {"setBlobLength 1 # 8", [](ZRBBufWriter& w, long column) { w.setBlobLength(1, column, 8); }},
  };
  const struct {
    long column;
    const char* cell;
  } columns[] = {{kDouble, "NA"}, {kFactor, "NA"}, {kString, "<NA>"}, {kTimeDate, "NA"}, {kUnknown, "-"}};
  for (const auto& write : writes) {
    for (const auto& c : columns) {
      SCOPED_TRACE(testing::Message() << write.call << " into column " << c.column);
      CellsHarness<LoggingWriter> h(3);
      write.write(h.writer, c.column);
      const std::string column = std::to_string(c.column);
      std::string call = write.call;
      call.replace(call.find('#'), 1, column);
      while (call.back() == ' ') call.pop_back();
      EXPECT_EQ(h.writer.calls, (Lines{call, "setDouble 1 " + column + " NA"}));
      EXPECT_EQ(h.cell(1, c.column), c.cell);
      EXPECT_EQ(h.messages(), 0);
    }
  }
}

TEST(BufWriter, without_a_blob_store_every_access_to_data_is_an_error_of_the_node) {
  const struct {
    const char* name;
    long long (*call)(ZRBBufWriter&);
    long long result;
    const char* error;
  } cases[] = {
      {"openBlobData", [](ZRBBufWriter& w) { return static_cast<long long>(w.openBlobData()); }, 0,
       "ZRBBufWriter::openBlobData can't access blob data"},
      {"openBlob", [](ZRBBufWriter& w) { return static_cast<long long>(w.openBlob(1, kBlob)); }, 0,
       "ZRBBufWriter::openBlobData can't access blob data"},
      {"writeBlobData", [](ZRBBufWriter& w) { return static_cast<long long>(w.writeBlobData("abc", 3)); }, -1,
       "ZRBBufWriter::writeBlobData can't access blob data"},
      {"closeBlobData",
       [](ZRBBufWriter& w) {
         long long offset = 5, length = 6;
         const int result = w.closeBlobData(&offset, &length);
         return offset == 5 && length == 6 ? static_cast<long long>(result) : 99;
       },
       0, "ZRBBufWriter::closeBlobData can't access blob data"},
      {"closeBlob", [](ZRBBufWriter& w) { return static_cast<long long>(w.closeBlob()); }, 0,
       "ZRBBufWriter::closeBlobData can't access blob data"},
      {"setBlobFileOffset", [](ZRBBufWriter& w) { return w.setBlobFileOffset(7), 0LL; }, 0,
       "ZRBBufWriter::setBlobFileOffset can't access blob data"},
      {"getBlobFileOffset", [](ZRBBufWriter& w) { return w.getBlobFileOffset(); }, 0,
       "ZRBBufWriter::getBlobFileOffset can't access blob data"},
      {"isBlobOpen", [](ZRBBufWriter& w) { return static_cast<long long>(w.isBlobOpen()); }, 0, nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    CellsHarness<> h;
    EXPECT_EQ(c.call(h.writer), c.result);
    EXPECT_EQ(messagesOf(h.producer), c.error ? Messages{c.error} : Messages{});
    EXPECT_EQ(h.messages(), c.error ? 1 : 0);  // on no other object
    for (long row = 0; row < 10; ++row) EXPECT_EQ(h.cell(row, kBlob), "-");
  }
}

// ---- Opening and closing blobs, with a store that follows a script ----

namespace {

class ScriptedWriter : public LoggingWriter {
public:
  ScriptedWriter(ZRBMemoryBuf* buf, ZRBProc* proc) : LoggingWriter(buf, proc) {}
  int blobOpen = 0;
  int openResult = 1;
  int closeResult = 1;
  bool closeStores = true;  // whether closing gives an offset and a length

  int isBlobOpen() override { return blobOpen; }
  int openBlobData() override {
    calls.emplace_back("openBlobData");
    return openResult;
  }
  int closeBlobData(long long* offset, long long* length) override {
    calls.emplace_back("closeBlobData");
    if (closeStores) {
      *offset = 100;
      *length = 5;
    }
    return closeResult;
  }
  long blobRow() { return m_blob_row; }
  long blobColumn() { return m_blob_column; }
};

}  // namespace

TEST(BufWriter, only_blob_columns_can_be_opened) {
  for (const long column : {kDouble, kFactor, kString, kTimeDate, kUnknown}) {
    SCOPED_TRACE(column);
    CellsHarness<ScriptedWriter> h;
    h.writer.blobOpen = 1;  // the column is tested first
    EXPECT_EQ(h.writer.openBlob(2, column), 0);
    EXPECT_EQ(messagesOf(h.producer), Messages{"ZRBBufWriter::openBlob - not blob column: " + std::to_string(column)});
    EXPECT_EQ(h.messages(), 1);
    EXPECT_EQ(h.writer.calls, Lines{});
    EXPECT_EQ(h.writer.blobRow(), -1);
    EXPECT_EQ(h.writer.blobColumn(), -1);
  }
}

TEST(BufWriter, a_second_blob_cannot_be_opened) {
  CellsHarness<ScriptedWriter> h;
  EXPECT_EQ(h.writer.openBlob(2, kBlob), 1);
  h.writer.blobOpen = 1;
  EXPECT_EQ(h.writer.openBlob(3, kBlob), 0);
  EXPECT_EQ(messagesOf(h.producer), Messages{"ZRBBufWriter::openBlob - blob already open"});
  EXPECT_EQ(h.writer.calls, Lines{"openBlobData"});
  EXPECT_EQ(h.writer.blobRow(), 2);  // the first one's cell is kept
  EXPECT_EQ(h.writer.blobColumn(), kBlob);
}

TEST(BufWriter, after_an_open_that_failed_another_cell_can_be_opened) {
  CellsHarness<ScriptedWriter> h;
  h.writer.openResult = 0;
  EXPECT_EQ(h.writer.openBlob(2, kBlob), 0);
  h.writer.openResult = 1;
  EXPECT_EQ(h.writer.openBlob(3, kBlob), 1);  // whether a blob is open is asked of isBlobOpen()
  EXPECT_EQ(h.writer.blobRow(), 3);
  EXPECT_EQ(h.messages(), 0);
}

TEST(BufWriter, opening_a_blob_remembers_its_cell_and_opens_the_data) {
  for (const int result : {1, 7, 0}) {
    SCOPED_TRACE(result);
    CellsHarness<ScriptedWriter> h;
    h.writer.openResult = result;
    EXPECT_EQ(h.writer.openBlob(2, kBlob), result);
    EXPECT_EQ(h.writer.calls, Lines{"openBlobData"});
    EXPECT_EQ(h.writer.blobRow(), 2);
    EXPECT_EQ(h.writer.blobColumn(), kBlob);
    EXPECT_EQ(h.messages(), 0);
    EXPECT_EQ(h.cell(2, kBlob), "-");
  }
}

TEST(BufWriter, closing_a_blob_stores_offset_and_length_in_its_cell) {
  CellsHarness<ScriptedWriter> h(3);
  h.writer.openBlob(2, kBlob);
  h.writer.calls.clear();
  EXPECT_EQ(h.writer.closeBlob(), 1);
  EXPECT_EQ(h.writer.calls, (Lines{"closeBlobData", "setBlobOffset 2 4 100", "setBlobLength 2 4 5"}));
  EXPECT_EQ(h.cell(2, kBlob), "100+5");
  EXPECT_EQ(h.writer.blobRow(), -1);
  EXPECT_EQ(h.writer.blobColumn(), -1);
  EXPECT_EQ(h.messages(), 0);
}

TEST(BufWriter, what_closing_a_blob_stores_depends_on_its_result) {
  const struct {
    const char* reason;
    int result;
    bool stores;
    const char* cell;
  } cases[] = {
      {"closed", 1, true, "100+5"},
      {"not closed", 0, true, "-"},
      {"any nonzero result counts, a failing one included", -1, true, "100+5"},
      {"a failing close that gives no offset can only store NA", -1, false, "NA"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reason);
    CellsHarness<ScriptedWriter> h;
    h.writer.openBlob(2, kBlob);
    h.writer.closeResult = c.result;
    h.writer.closeStores = c.stores;
    EXPECT_EQ(h.writer.closeBlob(), c.result);
    EXPECT_EQ(h.cell(2, kBlob), c.cell);
    EXPECT_EQ(h.writer.blobRow(), -1);
    EXPECT_EQ(h.writer.blobColumn(), -1);
  }
}

TEST(BufWriter, closing_without_an_open_blob_stores_nothing) {
  CellsHarness<ScriptedWriter> h;
  EXPECT_EQ(h.writer.closeBlob(), 1);
  EXPECT_EQ(h.writer.calls, Lines{"closeBlobData"});
  for (long row = 0; row < 10; ++row)
    for (long column = 0; column < kColumns; ++column) EXPECT_EQ(h.cell(row, column), "-");
}

TEST(BufWriter, closing_a_blob_whose_column_is_no_longer_one_stores_nothing) {
  CellsHarness<ScriptedWriter> h;
  h.writer.openBlob(2, kBlob);
  h.buf.setColumnType(kBlob, ZRBBuf::column_double);
  h.writer.calls.clear();
  EXPECT_EQ(h.writer.closeBlob(), 1);
  EXPECT_EQ(h.writer.calls, Lines{"closeBlobData"});
  EXPECT_EQ(h.cell(2, kBlob), "-");
  EXPECT_EQ(h.writer.blobColumn(), -1);
}

TEST(BufWriter, a_blob_that_a_memory_buffer_could_not_open_leaves_no_cell_behind_after_closing) {
  class OpenWriter : public ZRBMemoryBufWriter {
  public:
    using ZRBBufWriter::m_blob_column;
    using ZRBBufWriter::m_blob_row;
    using ZRBMemoryBufWriter::ZRBMemoryBufWriter;
  };
  CellsHarness<OpenWriter> h;
  EXPECT_EQ(h.writer.openBlob(2, kBlob), 0);
  EXPECT_EQ(h.writer.m_blob_row, 2);
  EXPECT_EQ(h.writer.closeBlob(), 0);
  EXPECT_EQ(h.writer.m_blob_row, -1);
  EXPECT_EQ(h.writer.m_blob_column, -1);
  EXPECT_EQ(h.cell(2, kBlob), "-");
  EXPECT_EQ(messagesOf(h.producer), (Messages{"ZRBBufWriter::openBlobData can't access blob data",
                                              "ZRBBufWriter::closeBlobData can't access blob data"}));
}

// ---- Rectangles of NA ----

TEST(BufWriter, a_rectangle_of_NA_covers_rows_and_columns_and_wraps) {
  const char* const na[] = {"NA", "NA", "<NA>", "NA", "NA"};
  const struct {
    long row, column, rows, columns;
  } cases[] = {{0, 0, 10, 5}, {1, 1, 3, 2}, {2, 3, 6, 2},  {9, 0, 1, 1}, {0, 4, 1, 1},
               {4, 2, 0, 2},  {4, 2, 3, 0}, {4, 2, -1, 2}, {4, 2, 3, -1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.rows << " x " << c.columns << " at " << c.row << ", " << c.column);
    CellsHarness<LoggingWriter> h(7);
    h.writer.setRectNA(c.row, c.column, c.rows, c.columns);
    for (long row = 0; row < 10; ++row) {
      for (long column = 0; column < 5; ++column) {
        const bool inside = row >= c.row && row < c.row + c.rows && column >= c.column && column < c.column + c.columns;
        EXPECT_EQ(h.cell(row, column), inside ? na[column] : "-") << "row " << row << ", column " << column;
      }
    }
    EXPECT_EQ(h.writer.calls, Lines{});  // whole columns at once
    EXPECT_EQ(h.messages(), 0);
    EXPECT_EQ(h.buf.anyOverflowCounts(), 0);
  }
}

TEST(BufWriter, a_column_of_unknown_type_in_a_rectangle_of_NA_goes_through_setDouble) {
  CellsHarness<LoggingWriter> h(7);
  h.writer.setRectNA(1, kBlob, 3, 2);
  EXPECT_EQ(h.writer.calls, (Lines{"setDouble 1 5 NA", "setDouble 2 5 NA", "setDouble 3 5 NA"}));
  for (long row = 0; row < 10; ++row) {
    EXPECT_EQ(h.cell(row, kBlob), row >= 1 && row <= 3 ? "NA" : "-");
    EXPECT_EQ(h.cell(row, kUnknown), "-");
  }
}

TEST(BufWriter, a_column_beyond_the_last_in_a_rectangle_of_NA_is_a_double_at_the_start_of_the_row) {
  for (const long column : {-1L, 6L, LONG_MAX}) {
    CellsHarness<> h(7);
    h.writer.setRectNA(2, column, 1, 1);
    EXPECT_EQ(h.cell(2, kDouble), "NA") << column;
    EXPECT_EQ(h.cell(1, kDouble), "-") << column;
  }
}

TEST(BufWriter, a_column_of_NA_covers_the_rows_of_the_chunk) {
  CellsHarness<> h(7);
  h.writer.setDouble(0, kDouble, 1.0);
  h.writer.releaseRows(4);  // four rows are the reader's now
  ASSERT_EQ(h.writer.getRowsReady(), 6);
  h.writer.setColumnNA(kDouble);
  EXPECT_EQ(h.ringCell(7, kDouble), "1");
  for (const long ringRow : {8, 9, 0}) EXPECT_EQ(h.ringCell(ringRow, kDouble), "-");
  for (const long ringRow : {1, 2, 3, 4, 5, 6}) EXPECT_EQ(h.ringCell(ringRow, kDouble), "NA");
  for (long ringRow = 0; ringRow < 10; ++ringRow) EXPECT_EQ(h.ringCell(ringRow, kFactor), "-");
}

TEST(BufWriter, a_column_of_NA_is_a_rectangle_over_the_virtual_rows_ready) {
  class RectWriter : public ZRBMemoryBufWriter {
  public:
    RectWriter(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBMemoryBufWriter(buf, proc) {}
    std::string call;
    long getRowsReady() override { return 4; }
    void setRectNA(long row, long column, long numRows, long numColumns) override {
      for (const long value : {row, column, numRows, numColumns}) call += std::to_string(value) + " ";
    }
  };
  CellsHarness<RectWriter> h;
  h.writer.setColumnNA(3);
  EXPECT_EQ(h.writer.call, "0 3 4 1 ");
}
