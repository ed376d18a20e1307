// One node's reading end: row flow, cells, blobs.
#include "ZRBBufReader.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>
#include <limits>
#include <string>
#include <vector>

#include "ZRBMemoryBuf.h"
#include "support/Harness.h"

namespace {

using Lines = std::vector<std::string>;

// One column of each type, and a last one of no known type.
constexpr long kDouble = 0, kFactor = 1, kString = 2, kTimeDate = 3, kBlob = 4, kUnknown = 5;

std::vector<Column> columnsOfAllTypes() {
  std::vector<Column> columns = oneColumnOfEachType();
  columns.push_back({"unknown", ZRBBuf::column_blob});
  return columns;
}

// A ring of 10 rows with a column of each type; the reader's chunk begins in ring row 7 and has 10 rows.
template <class Reader = ZRBMemoryBufReader>
class CellsHarness : public FlowHarness<Reader> {
public:
  CellsHarness() : FlowHarness<Reader>(10, columnsOfAllTypes()) {
    forceColumnType(this->buf, kUnknown, 9);
    this->pass(7);
    this->writer.releaseRows(10);
    for (const char* level : {"red", "green", "blue"}) this->buf.addLevel(kFactor, level);
  }
  // The ring row of a chunk row.
  static long at(long row) { return (7 + row) % 10; }
};

}  // namespace

// ---- Construction and init ----

TEST(BufReader, a_new_reader_requests_nothing_and_stands_at_the_first_row) {
  ZRBMemoryBuf buf;
  HarnessNode node;
  ZRBBufReader reader(&buf, &node);
  EXPECT_EQ(reader.getBuf(), &buf);
  EXPECT_EQ(reader.getProc(), &node);
  EXPECT_EQ(reader.getRequestRows(), 0);
  EXPECT_EQ(reader.getChunkPosition(), 0);
  EXPECT_EQ(reader.getRowsReady(), 0);
  EXPECT_EQ(reader.isMultiPass(), 0);
  EXPECT_EQ(reader.isRandomAccess(), 0);
  EXPECT_EQ(reader.getNumMessages(), 0);
  EXPECT_EQ(buf.getNumReaders(), 0);
}

TEST(BufReader, init_returns_to_the_first_row_and_requests_nothing) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  h.writer.releaseRows(5);
  h.reader.setRequestRows(4);
  h.reader.releaseRows(3);
  h.reader.addWarning("old");
  EXPECT_EQ(h.reader.init(), 0);
  EXPECT_EQ(h.reader.getRequestRows(), 0);
  EXPECT_EQ(h.reader.getChunkPosition(), 0);
  EXPECT_EQ(h.reader.getRowsReady(), 5);
  EXPECT_EQ(h.reader.getNumMessages(), 0);
  EXPECT_EQ(h.reader.getBuf(), &h.buf);
  EXPECT_EQ(h.reader.getProc(), &h.consumer);
}

TEST(BufReader, the_node_can_be_replaced_and_receives_the_errors) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  HarnessNode other;
  h.reader.setProc(&other);
  EXPECT_EQ(h.reader.getProc(), &other);
  h.reader.releaseRows(-1);
  EXPECT_EQ(other.getNumMessages(), 1);
  EXPECT_EQ(h.consumer.getNumMessages(), 0);
  h.reader.setProc(&h.consumer);
}

// ---- Requests ----

TEST(BufReader, a_request_above_a_limit_is_refused_and_the_old_request_is_kept) {
  const char* const kBufLimit = "ZRBBufReader::setRequestRows asked for more rows than ZRBBuf::getNumRows(): ";
  const char* const kNodeLimit = "ZRBBufReader::setRequestRows asked for more rows than ZRBProc::getNumRows(): ";
  const struct {
    long capacity, nodeRows, request;
    const char* error;
  } cases[] = {
      {3000, 1000, 1000, nullptr},  // limits are inclusive
      {3000, 1000, 1001, kNodeLimit}, {3000, 3000, 3000, nullptr}, {3000, 3000, 3001, kBufLimit},
      {3000, 1000, 3001, kBufLimit},  // the ring's limit comes first
      {3000, 0, 0, nullptr},          // the node's limit does not apply to 0 or 1
      {3000, 0, 1, nullptr},          {3000, 0, 2, kNodeLimit},    {3000, -5, 1, nullptr},
      {3000, -5, 2, kNodeLimit},      {0, 1000, 1, kBufLimit},  // the ring's limit applies to 1
      {0, 1000, 0, nullptr},          {3000, 1000, -1, nullptr},   {3000, 1000, 3000000000, kBufLimit},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.request << " of " << c.capacity << ", node " << c.nodeRows);
    FlowHarness<> h(3000, {{"d", ZRBBuf::column_double}});
    h.reader.setRequestRows(7);
    h.buf.setNumRows(c.capacity);
    h.consumer.setNumRows(c.nodeRows);
    h.consumer.setOutputNumRows(2000);  // plays no part
    h.reader.setRequestRows(c.request);
    EXPECT_EQ(h.reader.getRequestRows(), c.error ? 7 : c.request);
    EXPECT_EQ(messagesOf(h.consumer), c.error ? Messages{c.error + std::to_string(c.request)} : Messages{});
    EXPECT_EQ(h.buf.getNumMessages() + h.reader.getNumMessages() + h.producer.getNumMessages(), 0);
  }
}

TEST(BufReader, the_limit_of_the_node_is_asked_through_its_virtual_operation) {
  class WideNode : public HarnessNode {
  public:
    long getNumRows() override { return 3; }
  };
  ZRBMemoryBuf buf;
  buf.setNumRows(10);
  WideNode node;
  ZRBBufReader& reader = node.readFrom(buf);
  reader.setRequestRows(3);
  EXPECT_EQ(reader.getRequestRows(), 3);
  reader.setRequestRows(4);
  EXPECT_EQ(reader.getRequestRows(), 3);
  EXPECT_EQ(messagesOf(node),
            Messages{"ZRBBufReader::setRequestRows asked for more rows than ZRBProc::getNumRows(): 4"});
}

// ---- Readiness ----

TEST(BufReader, readiness_follows_errors_then_end_of_data_then_rows) {
  const struct {
    const char* reason;
    long written, request;
    bool eof, bufError;
    int ready;
  } cases[] = {
      {"a request of nothing is ready at once", 0, 0, false, false, 1},
      {"too few rows", 2, 3, false, false, 0},
      {"exactly the rows requested", 3, 3, false, false, 1},
      {"more rows than requested", 4, 3, false, false, 1},
      {"a negative request", 0, -2, false, false, 1},
      {"end of data, whatever the number of rows", 0, 3, true, false, 1},
      {"an error of the buffer", 5, 0, false, true, 0},
      {"an error of the buffer at end of data", 5, 3, true, true, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reason);
    FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
    h.writer.releaseRows(c.written);
    h.reader.setRequestRows(c.request);
    if (c.eof) h.writer.setEOF();
    if (c.bufError) h.buf.addError("broken");
    EXPECT_EQ(h.reader.isReady(), c.ready);
    EXPECT_EQ(h.reader.isReady(), c.ready);  // a question changes nothing
    EXPECT_EQ(h.consumer.getNumMessages(), 0);
  }
}

TEST(BufReader, only_an_error_of_the_buffer_stops_it) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  h.buf.addWarning("odd");
  h.consumer.addError("the node's own business");
  h.reader.addError("odd");
  EXPECT_EQ(h.reader.isReady(), 1);
  h.buf.addError("broken");
  EXPECT_EQ(h.reader.isReady(), 0);
  h.buf.clearMessages();
  EXPECT_EQ(h.reader.isReady(), 1);
}

TEST(BufReader, readiness_asks_the_virtual_end_of_data_and_rows_ready) {
  class PretendingReader : public ZRBMemoryBufReader {
  public:
    PretendingReader(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBMemoryBufReader(buf, proc) {}
    int getEOF() override { return pretendedEOF; }
    long getRowsReady() override { return pretendedRows; }
    long getRequestRows() override { return 1000; }  // not asked
    int pretendedEOF = 0;
    long pretendedRows = 0;
  };
  FlowHarness<PretendingReader> h(10, {{"d", ZRBBuf::column_double}});
  h.reader.setRequestRows(3);
  h.writer.releaseRows(5);
  EXPECT_EQ(h.reader.isReady(), 0);
  h.reader.pretendedRows = 3;
  EXPECT_EQ(h.reader.isReady(), 1);
  h.reader.pretendedRows = 2;
  EXPECT_EQ(h.reader.isReady(), 0);
  h.reader.pretendedEOF = 5;
  EXPECT_EQ(h.reader.isReady(), 1);
  h.writer.setEOF();
  h.reader.pretendedEOF = 0;
  EXPECT_EQ(h.reader.isReady(), 0);
}

// ---- Release ----

TEST(BufReader, released_rows_move_the_chunk_forward) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  h.writer.releaseRows(6);
  EXPECT_EQ(h.reader.getRowsReady(), 6);
  h.reader.releaseRows(2);
  EXPECT_EQ(h.reader.getChunkPosition(), 2);
  EXPECT_EQ(h.reader.getRowsReady(), 4);
  h.reader.releaseRows(0);
  EXPECT_EQ(h.reader.getChunkPosition(), 2);
  h.reader.releaseRows(4);
  EXPECT_EQ(h.reader.getChunkPosition(), 6);
  EXPECT_EQ(h.reader.getRowsReady(), 0);
  EXPECT_EQ(h.consumer.getNumMessages(), 0);
}

TEST(BufReader, a_release_of_rows_that_are_not_there_is_refused) {
  const struct {
    long rows;
    const char* error;
  } cases[] = {
      {-1, "ZRBBufReader::releaseRows can't release negative rows: -1"},
      {LONG_MIN, "ZRBBufReader::releaseRows can't release negative rows: -9223372036854775808"},
      {7, "ZRBBufReader::releaseRows can't release more rows than are ready: 7"},
      {LONG_MAX, "ZRBBufReader::releaseRows can't release more rows than are ready: 9223372036854775807"},
      {6, nullptr},
      {0, nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rows);
    FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
    h.pass(3);
    h.writer.releaseRows(6);
    h.reader.releaseRows(c.rows);
    EXPECT_EQ(h.reader.getChunkPosition(), c.error ? 3 : 3 + c.rows);
    EXPECT_EQ(messagesOf(h.consumer), c.error ? Messages{c.error} : Messages{});
    EXPECT_EQ(h.buf.getNumMessages() + h.reader.getNumMessages() + h.producer.getNumMessages(), 0);
  }
}

TEST(BufReader, a_release_asks_the_virtual_rows_ready) {
  class ModestReader : public ZRBMemoryBufReader {
  public:
    ModestReader(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBMemoryBufReader(buf, proc) {}
    long getRowsReady() override { return 2; }
  };
  FlowHarness<ModestReader> h(10, {{"d", ZRBBuf::column_double}});
  h.writer.releaseRows(6);
  h.reader.releaseRows(3);
  EXPECT_EQ(h.reader.getChunkPosition(), 0);
  EXPECT_EQ(messagesOf(h.consumer), Messages{"ZRBBufReader::releaseRows can't release more rows than are ready: 3"});
  h.reader.releaseRows(2);
  EXPECT_EQ(h.reader.getChunkPosition(), 2);
}

TEST(BufReader, a_reader_that_released_everything_has_no_rows_and_follows_the_writer) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  h.pass(3);
  h.writer.releaseRows(4);
  h.reader.setRequestRows(1);
  EXPECT_EQ(h.reader.isReady(), 1);
  h.reader.releaseAll();
  EXPECT_EQ(h.reader.getRowsReady(), 0);
  EXPECT_EQ(h.reader.getChunkPosition(), 7);
  EXPECT_EQ(h.reader.getRequestRows(), 1);
  EXPECT_EQ(h.reader.isReady(), 0);
  for (const long row : {0L, 1L, 5L, -3L, 1000L}) EXPECT_EQ(h.reader.getBufferRowNum(row), 0);
  h.writer.releaseRows(10);
  EXPECT_EQ(h.reader.getRowsReady(), 0);
  EXPECT_EQ(h.reader.getChunkPosition(), 17);
  EXPECT_EQ(h.buf.getOutputLockedRows(), 0);
  h.reader.setRequestRows(0);
  EXPECT_EQ(h.reader.isReady(), 1);
  h.reader.setRequestRows(5);
  h.writer.setEOF();
  EXPECT_EQ(h.reader.isReady(), 1);
  EXPECT_EQ(h.reader.getTotalNumRows(), 17);
  EXPECT_EQ(h.consumer.getNumMessages(), 0);
}

TEST(BufReader, after_everything_was_released_releases_are_ignored) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  h.writer.releaseRows(4);
  h.reader.releaseAll();
  for (const long rows : {1L, 0L, -1L, 100L}) h.reader.releaseRows(rows);
  h.reader.releaseAll();
  EXPECT_EQ(h.reader.getChunkPosition(), 4);
  EXPECT_EQ(messagesOf(h.consumer), Messages{});  // not even an error
}

TEST(BufReader, a_reader_that_released_everything_can_come_back_at_what_the_writer_released) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  h.writer.releaseRows(6);
  h.reader.releaseAll();
  h.reader.setChunkPosition(5);
  EXPECT_EQ(messagesOf(h.consumer),
            Messages{"ZRBBufReader::setChunkPosition attempted to set chunk position backwards to: 5"});
  EXPECT_EQ(h.reader.getRowsReady(), 0);
  h.writer.releaseRows(2);
  EXPECT_EQ(h.reader.getChunkPosition(), 8);
  h.reader.setChunkPosition(8);
  h.writer.releaseRows(3);
  EXPECT_EQ(h.reader.getChunkPosition(), 8);
  EXPECT_EQ(h.reader.getRowsReady(), 3);
  EXPECT_EQ(h.reader.getBufferRowNum(0), 8);
  EXPECT_EQ(h.consumer.getNumMessages(), 1);
}

// ---- Position ----

TEST(BufReader, the_position_moves_forward_only) {
  const struct {
    long long position;
    const char* error;
    long rowsReady;
  } cases[] = {
      {4, nullptr, 4},  // where it stands
      {5, nullptr, 3},  // forward skips rows
      {8, nullptr, 0},
      {50, nullptr, 0},  // ahead of the writer
      {3, "ZRBBufReader::setChunkPosition attempted to set chunk position backwards to: 3", 4},
      {0, "ZRBBufReader::setChunkPosition attempted to set chunk position backwards to: 0", 4},
      {-1, "ZRBBufReader::setChunkPosition attempted to set chunk position backwards to: -1", 4},
      {-12345678, "ZRBBufReader::setChunkPosition attempted to set chunk position backwards to: -1.23457e+07", 4},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.position);
    FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
    h.pass(4);
    h.writer.releaseRows(4);
    h.reader.setChunkPosition(c.position);
    EXPECT_EQ(h.reader.getChunkPosition(), c.error ? 4 : c.position);
    EXPECT_EQ(h.reader.getRowsReady(), c.rowsReady);
    EXPECT_EQ(messagesOf(h.consumer), c.error ? Messages{c.error} : Messages{});
    EXPECT_EQ(h.buf.getNumMessages() + h.reader.getNumMessages(), 0);
  }
}

TEST(BufReader, a_refused_position_is_reported_as_a_floating_value) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  h.reader.setChunkPosition(12345679);
  h.reader.setChunkPosition(12345678);
  EXPECT_EQ(messagesOf(h.consumer),
            Messages{"ZRBBufReader::setChunkPosition attempted to set chunk position backwards to: 1.23457e+07"});
  EXPECT_EQ(h.reader.getChunkPosition(), 12345679);
}

TEST(BufReader, a_reader_ahead_of_the_writer_waits_for_it) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  h.reader.setChunkPosition(5);
  h.reader.setRequestRows(1);
  h.writer.releaseRows(4);
  EXPECT_EQ(h.reader.getRowsReady(), 0);
  EXPECT_EQ(h.reader.isReady(), 0);
  h.writer.releaseRows(3);
  EXPECT_EQ(h.reader.getRowsReady(), 2);
  EXPECT_EQ(h.reader.isReady(), 1);
  EXPECT_EQ(h.reader.getBufferRowNum(1), 6);
}

TEST(BufReader, a_new_position_is_compared_with_the_virtual_position) {
  class AheadReader : public ZRBMemoryBufReader {
  public:
    AheadReader(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBMemoryBufReader(buf, proc) {}
    long long getChunkPosition() override { return 20; }
    long long storedPosition() { return m_chunk_position; }
  };
  FlowHarness<AheadReader> h(10, {{"d", ZRBBuf::column_double}});
  h.reader.setChunkPosition(19);
  EXPECT_EQ(messagesOf(h.consumer),
            Messages{"ZRBBufReader::setChunkPosition attempted to set chunk position backwards to: 19"});
  EXPECT_EQ(h.reader.storedPosition(), 0);
  h.reader.setChunkPosition(20);
  EXPECT_EQ(h.reader.storedPosition(), 20);
}

TEST(BufReader, chunk_rows_are_ring_rows_from_the_position_on) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  for (long position = 0; position < 40; position += 7) {
    for (long row = 0; row < 7; ++row) EXPECT_EQ(h.reader.getBufferRowNum(row), (position + row) % 10);
    h.pass(7);
  }
}

// ---- End of data ----

TEST(BufReader, end_of_data_is_the_buffers) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  EXPECT_EQ(h.reader.getEOF(), 0);
  h.buf.setEOF(3);
  EXPECT_EQ(h.reader.getEOF(), 3);
}

TEST(BufReader, the_total_number_of_rows_is_known_at_the_virtual_end_of_data) {
  class EndedReader : public ZRBMemoryBufReader {
  public:
    EndedReader(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBMemoryBufReader(buf, proc) {}
    int getEOF() override { return pretendedEOF; }
    int pretendedEOF = 0;
  };
  FlowHarness<EndedReader> h(10, {{"d", ZRBBuf::column_double}});
  h.pass(6);
  EXPECT_EQ(h.reader.getTotalNumRows(), -1);
  h.writer.setEOF();
  EXPECT_EQ(h.reader.getTotalNumRows(), -1);
  h.reader.pretendedEOF = 1;
  EXPECT_EQ(h.reader.getTotalNumRows(), 6);
  h.buf.setEOF(0);
  EXPECT_EQ(h.reader.getTotalNumRows(), 6);
}

// ---- Cells ----

TEST(BufReader, a_double_can_be_read_from_every_column) {
  SavedSettings saved;
  ZRBObj::setDoubleDateEpoch(1000);
  CellsHarness<> h;
  const long row = 4, ringRow = h.at(row);
  const auto read = [&](long column) { return h.reader.getDouble(row, column); };

  for (const double value : {3.5, -0.0, 1e300, std::numeric_limits<double>::quiet_NaN()}) {
    h.buf.setRawDouble(ringRow, kDouble, value);
    EXPECT_EQ(bitsOf(read(kDouble)), bitsOf(value));
  }
  h.buf.setRawDouble(ringRow, kDouble, ZRBObj::getDoubleNA());
  EXPECT_EQ(bitsOf(read(kDouble)), kDoubleNABits);

  h.buf.setRawLevelNum(ringRow, kFactor, 2);
  EXPECT_EQ(read(kFactor), 2.0);
  h.buf.setRawLevelNum(ringRow, kFactor, 60000);  // without a level
  EXPECT_EQ(read(kFactor), 60000.0);
  h.buf.setRawLevelNum(ringRow, kFactor, -1);
  EXPECT_EQ(bitsOf(read(kFactor)), kDoubleNABits);

  h.buf.setRawString(ringRow, kString, "2.5 kg");
  EXPECT_EQ(read(kString), 2.5);
  h.buf.setRawString(ringRow, kString, "abc");
  EXPECT_EQ(read(kString), 0.0);
  h.buf.setRawString(ringRow, kString, nullptr);
  EXPECT_EQ(bitsOf(read(kString)), kDoubleNABits);

  h.buf.setRawTimeDate(ringRow, kTimeDate, 1000 + 43200000);
  EXPECT_EQ(read(kTimeDate), 0.5);
  h.buf.setRawTimeDate(ringRow, kTimeDate, ZRBObj::getTimeDateNA());
  EXPECT_EQ(bitsOf(read(kTimeDate)), kDoubleNABits);

  EXPECT_EQ(bitsOf(read(kBlob)), kDoubleNABits);
  EXPECT_EQ(bitsOf(read(kUnknown)), kDoubleNABits);
}

TEST(BufReader, a_level_number_can_be_read_from_every_column) {
  CellsHarness<> h;
  const long row = 4, ringRow = h.at(row);
  const auto read = [&](long column) { return h.reader.getLevelNum(row, column); };

  const struct {
    double value;
    long level;
  } doubles[] = {{3.9, 3}, {-0.5, 0}, {70000.0, 0}, {65534.0, 65534}, {ZRBObj::getDoubleNA(), -1}};
  for (const auto& c : doubles) {
    h.buf.setRawDouble(ringRow, kDouble, c.value);
    EXPECT_EQ(read(kDouble), c.level) << c.value;
  }
  for (const long level : {0L, 2L, 60000L, -1L}) {
    h.buf.setRawLevelNum(ringRow, kFactor, level);
    EXPECT_EQ(read(kFactor), level);
  }
  h.buf.setRawString(ringRow, kString, "green");
  EXPECT_EQ(read(kString), 0);
  h.buf.setRawString(ringRow, kString, nullptr);
  EXPECT_EQ(read(kString), -1);
  h.buf.setRawTimeDate(ringRow, kTimeDate, 12345);
  EXPECT_EQ(read(kTimeDate), 0);
  h.buf.setRawTimeDate(ringRow, kTimeDate, ZRBObj::getTimeDateNA());
  EXPECT_EQ(read(kTimeDate), -1);
  EXPECT_EQ(read(kBlob), -1);
  EXPECT_EQ(read(kUnknown), -1);
  EXPECT_EQ(h.buf.getNumLevels(kFactor), 3);
}

TEST(BufReader, a_string_can_be_read_from_every_column) {
  CellsHarness<> h;
  h.buf.setNumLevels(kFactor, 4);  // level 3 has no name
  const long row = 4, ringRow = h.at(row);
  const auto read = [&](long column) { return copyOf(h.reader.getString(row, column)); };

  h.buf.setRawDouble(ringRow, kDouble, 0.1);
  EXPECT_EQ(read(kDouble), "0.1");
  h.buf.setRawDouble(ringRow, kDouble, ZRBObj::getDoubleNA());
  EXPECT_EQ(read(kDouble), "<NA>");

  h.buf.setRawLevelNum(ringRow, kFactor, 1);
  EXPECT_EQ(read(kFactor), "green");
  EXPECT_EQ(h.reader.getString(row, kFactor), h.buf.getLevelName(kFactor, 1));  // borrowed, not copied
  h.buf.setRawLevelNum(ringRow, kFactor, 3);
  EXPECT_EQ(read(kFactor), "<null>");
  h.buf.setRawLevelNum(ringRow, kFactor, 1000);
  EXPECT_EQ(read(kFactor), "<null>");
  h.buf.setRawLevelNum(ringRow, kFactor, -1);
  ASSERT_NE(h.reader.getString(row, kFactor), nullptr);
  EXPECT_EQ(read(kFactor), "<NA>");

  h.buf.setRawString(ringRow, kString, "text");
  EXPECT_EQ(read(kString), "text");
  EXPECT_EQ(h.reader.getString(row, kString), h.buf.getRawString(ringRow, kString));  // the cell itself
  h.buf.setRawString(ringRow, kString, nullptr);
  EXPECT_EQ(read(kString), "<NA>");

  h.buf.setRawTimeDate(ringRow, kTimeDate, 12345);
  EXPECT_EQ(read(kTimeDate), "");
  h.buf.setRawTimeDate(ringRow, kTimeDate, ZRBObj::getTimeDateNA());
  EXPECT_EQ(read(kTimeDate), "<NA>");

  EXPECT_EQ(read(kBlob), "<NA>");
  EXPECT_EQ(read(kUnknown), "<NA>");
}

TEST(BufReader, a_time_date_can_be_read_from_every_column) {
  SavedSettings saved;
  ZRBObj::setDoubleDateEpoch(1000);
  CellsHarness<> h;
  const long row = 4, ringRow = h.at(row);
  const long long na = ZRBObj::getTimeDateNA();
  const auto read = [&](long column) { return h.reader.getTimeDate(row, column); };

  h.buf.setRawDouble(ringRow, kDouble, 1.5);
  EXPECT_EQ(read(kDouble), 1000 + 129600000);
  h.buf.setRawDouble(ringRow, kDouble, ZRBObj::getDoubleNA());
  EXPECT_EQ(read(kDouble), na);
  h.buf.setRawLevelNum(ringRow, kFactor, 2);
  EXPECT_EQ(read(kFactor), 0);
  h.buf.setRawLevelNum(ringRow, kFactor, -1);
  EXPECT_EQ(read(kFactor), na);
  h.buf.setRawString(ringRow, kString, "2024-06-01");
  EXPECT_EQ(read(kString), 0);
  h.buf.setRawString(ringRow, kString, nullptr);
  EXPECT_EQ(read(kString), na);
  for (const long long time : {12345LL, -1LL, na, 0x7FFFFFFFFFFFFFF5LL, LLONG_MIN}) {
    h.buf.setRawTimeDate(ringRow, kTimeDate, time);
    EXPECT_EQ(read(kTimeDate), time);
  }
  EXPECT_EQ(read(kBlob), na);
  EXPECT_EQ(read(kUnknown), na);
}

TEST(BufReader, texts_are_converted_by_the_converter_of_the_buffer) {
  SavedSettings saved;
  TaggedConverter ofBuf("buf", 100), ofReader("reader", 200), ofNode("node", 300), byDefault("default", 400);
  ZRBObj::setDefaultConverter(&byDefault);
  CellsHarness<> h;
  h.buf.setRawDouble(h.at(0), kDouble, 5.0);
  h.buf.setRawString(h.at(0), kString, "abc");
  h.buf.setRawTimeDate(h.at(0), kTimeDate, 77);
  h.reader.setConverter(&ofReader);
  h.consumer.setConverter(&ofNode);

  EXPECT_STREQ(h.reader.getString(0, kDouble), "default5");
  h.buf.setConverter(&ofBuf);
  EXPECT_EQ(h.reader.getDouble(0, kString), 103.0);
  EXPECT_EQ(h.reader.getTimeDate(0, kString), 103);
  EXPECT_STREQ(h.reader.getString(0, kDouble), "buf5");
  EXPECT_STREQ(h.reader.getString(0, kTimeDate), "buf77ms");
  double value;
  h.reader.getDoubleArray(0, kString, 1, &value);
  EXPECT_EQ(value, 103.0);
}

TEST(BufReader, a_converted_text_lasts_until_the_next_conversion) {
  CellsHarness<> h;
  h.buf.setRawDouble(h.at(0), kDouble, 1.0);
  h.buf.setRawDouble(h.at(1), kDouble, 2.0);
  const char* const first = h.reader.getString(0, kDouble);
  EXPECT_STREQ(first, "1");
  const char* const second = h.reader.getString(1, kDouble);
  EXPECT_EQ(first, second);
  EXPECT_STREQ(first, "2");
}

TEST(BufReader, every_chunk_row_is_read_from_its_ring_row) {
  CellsHarness<> h;
  for (long row = 0; row < 10; ++row) {
    h.buf.setRawDouble(h.at(row), kDouble, static_cast<double>(row));
    h.buf.setRawLevelNum(h.at(row), kFactor, 100 + row);
    h.buf.setRawString(h.at(row), kString, std::to_string(row).c_str());
    h.buf.setRawTimeDate(h.at(row), kTimeDate, 1000 + row);
    h.buf.setRawBlobOffset(h.at(row), kBlob, 2000 + row);
    h.buf.setRawBlobLength(h.at(row), kBlob, 3000 + row);
  }
  for (long row = 0; row < 10; ++row) {
    EXPECT_EQ(h.reader.getDouble(row, kDouble), static_cast<double>(row));
    EXPECT_EQ(h.reader.getLevelNum(row, kFactor), 100 + row);
    EXPECT_EQ(h.reader.getString(row, kString), std::to_string(row));
    EXPECT_EQ(h.reader.getTimeDate(row, kTimeDate), 1000 + row);
    EXPECT_EQ(h.reader.getBlobOffset(row, kBlob), 2000 + row);
    EXPECT_EQ(h.reader.getBlobLength(row, kBlob), 3000 + row);
  }
}

// ---- Arrays of doubles ----

TEST(BufReader, an_array_of_doubles_can_be_read_from_every_column) {
  CellsHarness<> h;
  for (long row = 0; row < 10; ++row) {
    h.buf.setRawDouble(h.at(row), kDouble, 0.5 * static_cast<double>(row));
    h.buf.setRawLevelNum(h.at(row), kFactor, row);
    h.buf.setRawString(h.at(row), kString, std::to_string(10 * row).c_str());
    h.buf.setRawTimeDate(h.at(row), kTimeDate, 86400000 * row);
  }
  h.buf.setRawDouble(h.at(3), kDouble, ZRBObj::getDoubleNA());
  h.buf.setRawLevelNum(h.at(3), kFactor, -1);
  h.buf.setRawString(h.at(3), kString, nullptr);
  h.buf.setRawTimeDate(h.at(3), kTimeDate, ZRBObj::getTimeDateNA());
  const double perRow[] = {0.5, 1.0, 10.0, 1.0};
  for (const long column : {kDouble, kFactor, kString, kTimeDate}) {
    SCOPED_TRACE(column);
    double values[9];
    h.reader.getDoubleArray(1, column, 8, values + 0);  // wraps: ring rows 8, 9, 0, ...
    for (long i = 0; i < 8; ++i) {
      if (i == 2)
        EXPECT_EQ(bitsOf(values[i]), kDoubleNABits);
      else
        EXPECT_EQ(values[i], perRow[column] * static_cast<double>(i + 1)) << i;
    }
  }
  for (const long column : {kBlob, kUnknown}) {
    double values[] = {1.0, 1.0, 1.0};
    h.reader.getDoubleArray(1, column, 2, values);
    EXPECT_EQ(bitsOf(values[0]), kDoubleNABits);
    EXPECT_EQ(bitsOf(values[1]), kDoubleNABits);
    EXPECT_EQ(values[2], 1.0);
  }
}

TEST(BufReader, an_array_of_no_doubles_is_left_alone) {
  CellsHarness<> h;
  for (const long column : {kDouble, kFactor, kString, kTimeDate, kBlob, kUnknown}) {
    for (const long count : {0L, -1L, LONG_MIN}) {
      double value = 7.0;
      h.reader.getDoubleArray(0, column, count, &value);
      EXPECT_EQ(value, 7.0);
    }
  }
}

namespace {

class LoggingReader : public ZRBMemoryBufReader {
public:
  LoggingReader(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBMemoryBufReader(buf, proc) {}
  Lines calls;

  double getDouble(long row, long column) override {
    note("getDouble %ld %ld", row, column);
    return 41.0;
  }
  long getLevelNum(long row, long column) override {
    note("getLevelNum %ld %ld", row, column);
    return row == 2 ? -1 : 42;
  }
  const char* getString(long row, long column) override {
    note("getString %ld %ld", row, column);
    return "43";
  }
  long long getTimeDate(long row, long column) override {
    note("getTimeDate %ld %ld", row, column);
    return 44;
  }
  long long getBlobLength(long row, long column) override {
    note("getBlobLength %ld %ld", row, column);
    return pretendedLength;
  }
  long long getBlobOffset(long row, long column) override {
    note("getBlobOffset %ld %ld", row, column);
    return 46;
  }
  int openBlobData(long long offset, long long length) override {
    note("openBlobData %ld %ld", static_cast<long>(offset), static_cast<long>(length));
    return 47;
  }
  int closeBlobData() override {
    calls.emplace_back("closeBlobData");
    return 48;
  }
  long long pretendedLength = 45;

private:
  void note(const char* format, long first, long second) {
    std::string text = format;
    for (const long value : {first, second}) text.replace(text.find("%ld"), 3, std::to_string(value));
    calls.push_back(text);
  }
};

}  // namespace

TEST(BufReader, an_array_of_doubles_is_read_through_the_virtual_cell_reads_of_the_columns_type) {
  CellsHarness<LoggingReader> h;
  const struct {
    long column;
    Lines calls;
    double first, second;
  } cases[] = {
      {kDouble, {}, 0.0, 0.0},  // straight from the ring
      {kFactor, {"getLevelNum 1 1", "getLevelNum 2 1"}, 42.0, ZRBObj::getDoubleNA()},
      {kString, {"getString 1 2", "getString 2 2"}, 43.0, 43.0},
      {kTimeDate, {"getDouble 1 3", "getDouble 2 3"}, 41.0, 41.0},
      {kBlob, {"getDouble 1 4", "getDouble 2 4"}, 41.0, 41.0},
      {kUnknown, {"getDouble 1 5", "getDouble 2 5"}, 41.0, 41.0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.column);
    h.reader.calls.clear();
    double values[2];
    h.reader.getDoubleArray(1, c.column, 2, values);
    EXPECT_EQ(h.reader.calls, c.calls);
    EXPECT_EQ(values[0], c.first);
    EXPECT_EQ(bitsOf(values[1]), bitsOf(c.second));
  }
}

TEST(BufReader, cell_reads_do_not_go_through_each_other) {
  // What is asked of the raw cell is converted at once: overriding getDouble changes no other read.
  class WrongDoubles : public ZRBMemoryBufReader {
  public:
    WrongDoubles(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBMemoryBufReader(buf, proc) {}
    double getDouble(long, long) override { return 41.0; }
  };
  CellsHarness<WrongDoubles> h;
  h.buf.setRawDouble(h.at(0), kDouble, 3.0);
  EXPECT_EQ(h.reader.getLevelNum(0, kDouble), 3);
  EXPECT_STREQ(h.reader.getString(0, kDouble), "3");
  EXPECT_EQ(h.reader.getTimeDate(0, kDouble), 3 * 86400000);
}

// ---- Blobs ----

TEST(BufReader, a_blob_cell_has_an_offset_and_a_length_and_is_NA_by_its_length_alone) {
  const struct {
    long long offset, length;
    int na;
  } cases[] = {{100, 5, 0},      {0, 0, 0}, {-1, -1, 1}, {100, -1, 1}, {-1, 5, 0}, {1LL << 40, 1LL << 41, 0},
               {0, LLONG_MIN, 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.offset << ", " << c.length);
    CellsHarness<> h;
    h.buf.setRawBlobOffset(h.at(2), kBlob, c.offset);
    h.buf.setRawBlobLength(h.at(2), kBlob, c.length);
    EXPECT_EQ(h.reader.getBlobOffset(2, kBlob), c.offset);
    EXPECT_EQ(h.reader.getBlobLength(2, kBlob), c.length);
    EXPECT_EQ(h.reader.isBlobNA(2, kBlob), c.na);
    EXPECT_EQ(h.consumer.getNumMessages(), 0);
  }
}

TEST(BufReader, a_column_of_another_type_has_no_blobs) {
  CellsHarness<> h;
  for (const long column : {kDouble, kFactor, kString, kTimeDate, kUnknown, -1L, 99L}) {
    SCOPED_TRACE(column);
    EXPECT_EQ(h.reader.getBlobLength(0, column), -1);
    EXPECT_EQ(h.reader.getBlobOffset(0, column), -1);
    EXPECT_EQ(h.reader.isBlobNA(0, column), 1);
  }
  EXPECT_EQ(h.consumer.getNumMessages(), 0);
}

TEST(BufReader, whether_a_blob_is_NA_asks_the_virtual_length) {
  CellsHarness<LoggingReader> h;
  h.buf.setRawBlobLength(h.at(0), kBlob, -1);
  EXPECT_EQ(h.reader.isBlobNA(0, kBlob), 0);
  h.reader.pretendedLength = -2;
  EXPECT_EQ(h.reader.isBlobNA(3, kDouble), 1);
  EXPECT_EQ(h.reader.calls, (Lines{"getBlobLength 0 4", "getBlobLength 3 0"}));
}

TEST(BufReader, only_blob_columns_can_be_opened) {
  for (const long column : {kDouble, kFactor, kString, kTimeDate, kUnknown}) {
    SCOPED_TRACE(column);
    CellsHarness<LoggingReader> h;
    EXPECT_EQ(h.reader.openBlob(0, column), 0);
    EXPECT_EQ(messagesOf(h.consumer),
              Messages{"ZRBBackingFileBufReader::openBlob - not blob column: " + std::to_string(column)});
    EXPECT_EQ(h.reader.calls, Lines{});
    EXPECT_EQ(h.buf.getNumMessages() + h.reader.getNumMessages(), 0);
  }
}

TEST(BufReader, opening_a_blob_reads_length_and_offset_of_the_cell_and_opens_its_data) {
  CellsHarness<LoggingReader> h;
  EXPECT_EQ(h.reader.openBlob(3, kBlob), 47);
  EXPECT_EQ(h.reader.calls, (Lines{"getBlobLength 3 4", "getBlobOffset 3 4", "openBlobData 46 45"}));
  EXPECT_EQ(h.consumer.getNumMessages(), 0);
}

TEST(BufReader, closing_a_blob_closes_its_data) {
  CellsHarness<LoggingReader> h;
  EXPECT_EQ(h.reader.closeBlob(), 48);
  EXPECT_EQ(h.reader.calls, Lines{"closeBlobData"});
}

TEST(BufReader, without_a_blob_store_every_access_to_data_is_an_error_of_the_node) {
  char bytes[4] = "abc";
  const struct {
    const char* name;
    long long (*call)(ZRBBufReader&, char*);
    long long result;
    const char* error;
  } cases[] = {
      {"openBlobData", [](ZRBBufReader& r, char*) { return static_cast<long long>(r.openBlobData(0, 0)); }, 0,
       "ZRBBufReader::openBlobData can't access blob data"},
      {"openBlob", [](ZRBBufReader& r, char*) { return static_cast<long long>(r.openBlob(0, kBlob)); }, 0,
       "ZRBBufReader::openBlobData can't access blob data"},
      {"readBlobData", [](ZRBBufReader& r, char* b) { return static_cast<long long>(r.readBlobData(b, 3)); }, -1,
       "ZRBBufReader::readBlobData can't access blob data"},
      {"seekBlobData", [](ZRBBufReader& r, char*) { return static_cast<long long>(r.seekBlobData(0)); }, 0,
       "ZRBBufReader::seekBlobData can't access blob data"},
      {"closeBlobData", [](ZRBBufReader& r, char*) { return static_cast<long long>(r.closeBlobData()); }, 0,
       "ZRBBufReader::closeBlobData can't access blob data"},
      {"closeBlob", [](ZRBBufReader& r, char*) { return static_cast<long long>(r.closeBlob()); }, 0,
       "ZRBBufReader::closeBlobData can't access blob data"},
      {"getBlobOffsetInData", [](ZRBBufReader& r, char*) { return r.getBlobOffsetInData(); }, 0, nullptr},
      {"isBlobOpen", [](ZRBBufReader& r, char*) { return static_cast<long long>(r.isBlobOpen()); }, 0, nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    CellsHarness<> h;
    EXPECT_EQ(c.call(h.reader, bytes), c.result);
    EXPECT_EQ(messagesOf(h.consumer), c.error ? Messages{c.error} : Messages{});
    EXPECT_STREQ(bytes, "abc");
    EXPECT_EQ(h.buf.getNumMessages() + h.reader.getNumMessages() + h.producer.getNumMessages(), 0);
  }
}
