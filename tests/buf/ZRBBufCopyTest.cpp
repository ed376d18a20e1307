// Copies of rectangles and blobs from a reader of one buffer to the writer of another.
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>
#include <vector>

#include "ZRBMemoryBuf.h"
#include "support/Harness.h"

namespace {

using Lines = std::vector<std::string>;

// Calls on both ends, in order.
Lines g_calls;

void note(const std::string& call, std::initializer_list<long long> numbers, const std::string& text = "") {
  std::string line = call;
  for (const long long number : numbers) line += " " + std::to_string(number);
  if (!text.empty()) line += " " + text;
  g_calls.push_back(line);
}

std::string textOf(double value) {
  if (bitsOf(value) == kDoubleNABits) return "NA";
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

class LoggingReader : public ZRBMemoryBufReader {
public:
  LoggingReader(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBMemoryBufReader(buf, proc) {}
  double getDouble(long row, long column) override {
    note("getDouble", {row, column});
    return ZRBMemoryBufReader::getDouble(row, column);
  }
  long getLevelNum(long row, long column) override {
    note("getLevelNum", {row, column});
    return ZRBMemoryBufReader::getLevelNum(row, column);
  }
  const char* getString(long row, long column) override {
    note("getString", {row, column});
    return ZRBMemoryBufReader::getString(row, column);
  }
  long long getTimeDate(long row, long column) override {
    note("getTimeDate", {row, column});
    return ZRBMemoryBufReader::getTimeDate(row, column);
  }
};

class LoggingWriter : public ZRBMemoryBufWriter {
public:
  LoggingWriter(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBMemoryBufWriter(buf, proc) {}
  std::vector<int> copyBlobResults;  // of the next calls; afterwards 1

  void setDouble(long row, long column, double value) override {
    note("setDouble", {row, column}, textOf(value));
    ZRBMemoryBufWriter::setDouble(row, column, value);
  }
  void setTimeDate(long row, long column, long long timeMs) override {
    note("setTimeDate", {row, column, timeMs});
    ZRBMemoryBufWriter::setTimeDate(row, column, timeMs);
  }
  void setConvertDouble(long row, long column, double value) override {
    note("setConvertDouble", {row, column}, textOf(value));
    if (through) ZRBMemoryBufWriter::setConvertDouble(row, column, value);
  }
  void setConvertString(long row, long column, const char* text) override {
    note("setConvertString", {row, column}, copyOf(text));
    if (through) ZRBMemoryBufWriter::setConvertString(row, column, text);
  }
  int copyBlob(ZRBBufReader*, long sourceRow, long sourceColumn, long targetRow, long targetColumn) override {
    note("copyBlob", {sourceRow, sourceColumn, targetRow, targetColumn});
    if (copyBlobResults.empty()) return 1;
    const int result = copyBlobResults.front();
    copyBlobResults.erase(copyBlobResults.begin());
    return result;
  }
  bool through = false;  // whether the "convert" setters also write
};

constexpr long kDouble = 0, kFactor = 1, kString = 2, kTimeDate = 3, kBlob = 4, kUnknown = 5;

std::vector<Column> columnsOfAllTypes() {
  std::vector<Column> columns = oneColumnOfEachType();
  columns.push_back({"unknown", ZRBBuf::column_blob});
  return columns;
}

// A source and a target with a column of each type and one of no known type.  The reader's chunk begins in ring row 3 of
// 20, the writer's in ring row 11 of 30.
template <class Reader = LoggingReader, class Writer = LoggingWriter>
class CopyHarness {
public:
  FlowHarness<Reader> source{20, columnsOfAllTypes()};
  FlowHarness<ZRBMemoryBufReader, Writer> target{30, columnsOfAllTypes()};
  Reader& reader = source.reader;
  Writer& writer = target.writer;

  CopyHarness() {
    forceColumnType(source.buf, kUnknown, 9);
    forceColumnType(target.buf, kUnknown, 9);
    source.pass(3);
    source.writer.releaseRows(20);
    target.pass(11);
    for (const char* level : {"red", "green", "blue"}) source.buf.addLevel(kFactor, level);
    for (const char* level : {"blue", "red"}) target.buf.addLevel(kFactor, level);
    for (long row = 0; row < 20; ++row) {
      const long ringRow = (3 + row) % 20;
      source.buf.setRawDouble(ringRow, kDouble, static_cast<double>(row) + 0.5);
      source.buf.setRawLevelNum(ringRow, kFactor, row % 3);
      source.buf.setRawString(ringRow, kString, ("text " + std::to_string(row)).c_str());
      source.buf.setRawTimeDate(ringRow, kTimeDate, 1000 + row);
      source.buf.setRawBlobOffset(ringRow, kBlob, 100 + row);
      source.buf.setRawBlobLength(ringRow, kBlob, 200 + row);
    }
    g_calls.clear();
  }
  long messages() {
    return source.buf.getNumMessages() + source.consumer.getNumMessages() + target.buf.getNumMessages() +
           target.producer.getNumMessages() + reader.getNumMessages() + writer.getNumMessages();
  }
  long targetRingRow(long row) { return (11 + row) % 30; }
  std::string targetBytes() {
    return std::string(target.buf.getDataPtr(0, 0, 0), static_cast<std::size_t>(30 * target.buf.getBytesPerRow()));
  }
};

// The calls of `rows` rows, from a pattern in which # is a source row and @ a target row.
Lines callsOfRows(const Lines& pattern, long sourceRow, long targetRow, long rows) {
  Lines calls;
  for (long i = 0; i < rows; ++i) {
    for (std::string line : pattern) {
      for (std::size_t at; (at = line.find('#')) != std::string::npos;)
        line.replace(at, 1, std::to_string(sourceRow + i));
      for (std::size_t at; (at = line.find('@')) != std::string::npos;)
        line.replace(at, 1, std::to_string(targetRow + i));
      calls.push_back(line);
    }
  }
  return calls;
}

}  // namespace

// ---- Which way a column is copied ----

TEST(BufCopy, ten_rows_go_cell_by_cell_and_eleven_in_one_block) {
  const struct {
    long column;
    Lines cellCalls;  // per row, with the values left out
  } cases[] = {
      {kDouble, {"getDouble", "setConvertDouble"}},
      {kFactor, {"getLevelNum", "setConvertString"}},
      {kString, {"getString", "setConvertString"}},
      {kTimeDate, {"getTimeDate", "setTimeDate"}},
  };
  for (const auto& c : cases) {
    for (const long rows : {1L, 10L, 11L, 20L}) {
      SCOPED_TRACE(testing::Message() << rows << " rows of column " << c.column);
      CopyHarness<> h;
      h.writer.copyBufData(&h.reader, 0, c.column, 0, c.column, rows, 1);
      Lines expected;
      if (rows < 11)
        for (long row = 0; row < rows; ++row) expected.insert(expected.end(), c.cellCalls.begin(), c.cellCalls.end());
      Lines calls;
      for (const std::string& call : g_calls) calls.push_back(call.substr(0, call.find(' ')));
      EXPECT_EQ(calls, expected);
      EXPECT_EQ(h.messages(), 0);
    }
  }
}

TEST(BufCopy, columns_of_different_types_always_go_cell_by_cell) {
  for (long sourceColumn = 0; sourceColumn < 4; ++sourceColumn) {
    for (long targetColumn = 0; targetColumn < 6; ++targetColumn) {
      if (sourceColumn == targetColumn) continue;
      SCOPED_TRACE(testing::Message() << "column " << sourceColumn << " to " << targetColumn);
      CopyHarness<> h;
      h.writer.copyBufData(&h.reader, 0, sourceColumn, 0, targetColumn, 20, 1);
      long reads = 0;
      for (const std::string& call : g_calls) reads += call.rfind("get", 0) == 0;
      EXPECT_EQ(reads, 20);
      EXPECT_EQ(h.messages(), 0);
    }
  }
}

TEST(BufCopy, a_cell_is_read_as_the_source_type_and_written_through_the_convert_setters) {
  const struct {
    long sourceColumn;
    Lines calls;
  } cases[] = {
      {kDouble, {"getDouble 2 0", "setConvertDouble 5 # 2.5", "getDouble 3 0", "setConvertDouble 6 # 3.5"}},
      {kFactor, {"getLevelNum 2 1", "setConvertString 5 # blue", "getLevelNum 3 1", "setConvertString 6 # red"}},
      {kString, {"getString 2 2", "setConvertString 5 # text 2", "getString 3 2", "setConvertString 6 # text 3"}},
  };
  for (const auto& c : cases) {
    for (long targetColumn = 0; targetColumn < 6; ++targetColumn) {
      SCOPED_TRACE(testing::Message() << "column " << c.sourceColumn << " to " << targetColumn);
      CopyHarness<> h;
      h.writer.copyBufData(&h.reader, 2, c.sourceColumn, 5, targetColumn, 2, 1);
      Lines expected = c.calls;
      for (std::string& call : expected)
        if (const std::size_t at = call.find('#'); at != std::string::npos)
          call.replace(at, 1, std::to_string(targetColumn));
      EXPECT_EQ(g_calls, expected);
    }
  }
}

TEST(BufCopy, a_time_date_is_written_as_a_time_date_whatever_the_target) {
  for (long targetColumn = 0; targetColumn < 6; ++targetColumn) {
    SCOPED_TRACE(targetColumn);
    CopyHarness<> h;
    h.writer.copyBufData(&h.reader, 2, kTimeDate, 5, targetColumn, 1, 1);
    const std::string column = std::to_string(targetColumn);
    ASSERT_GE(g_calls.size(), 2u);
    EXPECT_EQ(g_calls[0], "getTimeDate 2 3");
    EXPECT_EQ(g_calls[1], "setTimeDate 5 " + column + " 1002");
  }
}

TEST(BufCopy, NA_cells_are_written_as_NA_of_their_own_kind) {
  CopyHarness<> h;
  h.source.buf.setRawDouble(3, kDouble, ZRBObj::getDoubleNA());
  h.source.buf.setRawLevelNum(3, kFactor, -1);
  h.source.buf.setRawString(3, kString, nullptr);
  h.source.buf.setRawTimeDate(3, kTimeDate, ZRBObj::getTimeDateNA());
  h.writer.copyBufData(&h.reader, 0, 0, 0, 0, 1, 4);
  EXPECT_EQ(g_calls, (Lines{"getDouble 0 0", "setConvertDouble 0 0 NA", "getLevelNum 0 1",
                            "setConvertString 0 1 <null>", "getString 0 2", "setConvertString 0 2 <NA>",
                            "getTimeDate 0 3", "setTimeDate 0 3 9223372036854775807"}));
}

TEST(BufCopy, columns_are_copied_one_after_the_other) {
  CopyHarness<> h;
  h.writer.copyBufData(&h.reader, 0, kDouble, 1, kFactor, 2, 2);
  EXPECT_EQ(g_calls,
            (Lines{"getDouble 0 0", "setConvertDouble 1 1 0.5", "getDouble 1 0", "setConvertDouble 2 1 1.5",
                   "getLevelNum 0 1", "setConvertString 1 2 red", "getLevelNum 1 1", "setConvertString 2 2 green"}));
}

TEST(BufCopy, nothing_is_copied_without_a_reader_columns_or_rows) {
  const struct {
    const char* reason;
    bool reader;
    long rows, columns;
  } cases[] = {
      {"no reader", false, 2, 2}, {"no columns", true, 2, 0},     {"negative columns", true, 2, -1},
      {"no rows", true, 0, 6},    {"negative rows", true, -1, 6},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reason);
    CopyHarness<> h;
    const std::string before = h.targetBytes();
    h.writer.copyBufData(c.reader ? &h.reader : nullptr, 0, 0, 0, 0, c.rows, c.columns);
    EXPECT_EQ(g_calls, Lines{});
    EXPECT_EQ(h.targetBytes(), before);
    EXPECT_EQ(h.messages(), 0);
  }
}

TEST(BufCopy, a_column_of_unknown_type_is_written_as_NA) {
  CopyHarness<> h;
  h.writer.copyBufData(&h.reader, 0, kUnknown, 2, kDouble, 3, 1);
  EXPECT_EQ(g_calls, (Lines{"setDouble 2 0 NA", "setDouble 3 0 NA", "setDouble 4 0 NA"}));
  CopyHarness<> toBlob;
  toBlob.writer.copyBufData(&toBlob.reader, 0, kUnknown, 2, kBlob, 1, 1);
  EXPECT_EQ(g_calls, Lines{"setDouble 2 4 NA"});
  CopyHarness<> many;
  many.writer.copyBufData(&many.reader, 0, kUnknown, 0, kUnknown, 12, 1);
  EXPECT_EQ(g_calls, callsOfRows({"setDouble @ 5 NA"}, 0, 0, 12));
}

TEST(BufCopy, a_blob_column_in_any_other_column_is_NA) {
  for (const long targetColumn : {kDouble, kFactor, kString, kTimeDate, kUnknown}) {
    for (const long rows : {2L, 11L}) {
      SCOPED_TRACE(testing::Message() << rows << " rows to column " << targetColumn);
      CopyHarness<> h;
      h.writer.copyBufData(&h.reader, 0, kBlob, 2, targetColumn, rows, 1);
      EXPECT_EQ(g_calls, callsOfRows({"setDouble @ " + std::to_string(targetColumn) + " NA"}, 0, 2, rows));
      EXPECT_EQ(h.messages(), 0);
    }
  }
  CopyHarness<> h;
  h.writer.copyBufData(&h.reader, 0, kBlob, 2, kDouble, 1, 1);
  EXPECT_EQ(bitsOf(h.target.buf.getRawDouble(h.targetRingRow(2), kDouble)), kDoubleNABits);
}

TEST(BufCopy, blobs_are_copied_row_by_row_whatever_their_number) {
  for (const long rows : {2L, 12L}) {
    CopyHarness<> h;
    h.writer.copyBufData(&h.reader, 1, kBlob, 3, kBlob, rows, 1);
    EXPECT_EQ(g_calls, callsOfRows({"copyBlob # 4 @ 4"}, 1, 3, rows));
    EXPECT_EQ(h.messages(), 0);
  }
}

TEST(BufCopy, the_first_blob_that_cannot_be_copied_ends_the_whole_copy) {
  CopyHarness<> h;
  setColumns(h.source.buf, {{"d", ZRBBuf::column_double}, {"b", ZRBBuf::column_blob}, {"c", ZRBBuf::column_double}});
  setColumns(h.target.buf, {{"d", ZRBBuf::column_double}, {"b", ZRBBuf::column_blob}, {"c", ZRBBuf::column_double}});
  h.source.buf.initData();
  h.target.buf.initData();
  h.writer.copyBlobResults = {1, -1, 0};
  h.writer.copyBufData(&h.reader, 0, 0, 0, 0, 5, 3);
  Lines expected = callsOfRows({"getDouble # 0", "setConvertDouble @ 0 0"}, 0, 0, 5);
  for (const char* call : {"copyBlob 0 1 0 1", "copyBlob 1 1 1 1", "copyBlob 2 1 2 1"}) expected.emplace_back(call);
  EXPECT_EQ(g_calls, expected);  // neither the later rows nor the later column
  EXPECT_EQ(h.messages(), 0);
}

// ---- The cells are the same either way ----

TEST(BufCopy, block_copies_and_cell_copies_give_the_same_cells_levels_and_counts) {
  SavedSettings saved;
  ZRBObj::setErrorOnLevelOverflow(1);
  ZRBObj::setErrorOnStringTruncation(1);
  using PlainHarness = CopyHarness<ZRBMemoryBufReader, ZRBMemoryBufWriter>;
  for (const long rows : {11L, 15L, 20L}) {
    SCOPED_TRACE(rows);
    PlainHarness inBlocks, byCells;
    for (PlainHarness* h : {&inBlocks, &byCells}) {
      h->target.buf.setColumnStringBytes(kString, 7);  // "text 10" is cut
      forceColumnType(h->target.buf, kUnknown, ZRBBuf::column_blob);
      h->target.buf.initData();
      h->target.buf.setMaxAutoLevels(kFactor, 3);
      h->source.buf.addLevel(kFactor, "yellow");  // finds no level any more
      h->source.buf.setNumLevels(kFactor, 5);     // the last one has no name
      for (long row = 0; row < 20; ++row)
        h->source.buf.setRawLevelNum((3 + row) % 20, kFactor, row % 6 - (row % 6 == 5));
      h->source.buf.setRawLevelNum(5, kFactor, -1);
      h->source.buf.setRawDouble(6, kDouble, ZRBObj::getDoubleNA());
      h->source.buf.setRawDouble(7, kDouble, -0.0);
      h->source.buf.setRawString(8, kString, nullptr);
      h->source.buf.setRawTimeDate(9, kTimeDate, ZRBObj::getTimeDateNA());
      h->source.buf.setRawTimeDate(10, kTimeDate, -1);
    }
    inBlocks.writer.copyBufData(&inBlocks.reader, 0, 0, 0, 0, rows, 4);
    for (long row = 0; row < rows; ++row) byCells.writer.copyBufData(&byCells.reader, row, 0, row, 0, 1, 4);
    EXPECT_EQ(inBlocks.targetBytes(), byCells.targetBytes());
    for (const long column : {kFactor, kString}) {
      EXPECT_GT(inBlocks.target.buf.getOverflowCount(column), 0);
      EXPECT_EQ(inBlocks.target.buf.getOverflowCount(column), byCells.target.buf.getOverflowCount(column));
      EXPECT_EQ(inBlocks.target.buf.getOverflowStringBytes(column), byCells.target.buf.getOverflowStringBytes(column));
    }
    ASSERT_EQ(inBlocks.target.buf.getNumLevels(kFactor), byCells.target.buf.getNumLevels(kFactor));
    for (long level = 0; level < inBlocks.target.buf.getNumLevels(kFactor); ++level)
      EXPECT_STREQ(inBlocks.target.buf.getLevelName(kFactor, level), byCells.target.buf.getLevelName(kFactor, level));
    EXPECT_EQ(inBlocks.target.buf.getNumMessages(), 2);
    EXPECT_EQ(byCells.target.buf.getNumMessages(), 2);
    EXPECT_EQ(inBlocks.target.producer.getNumMessages() + byCells.target.producer.getNumMessages(), 0);
  }
}

TEST(BufCopy, a_NaN_that_is_not_the_NA_survives_a_copy_of_doubles) {
  for (const long rows : {1L, 11L}) {
    CopyHarness<ZRBMemoryBufReader, ZRBMemoryBufWriter> h;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    h.source.buf.setRawDouble(3, kDouble, nan);
    h.writer.copyBufData(&h.reader, 0, kDouble, 0, kDouble, rows, 1);
    EXPECT_EQ(bitsOf(h.target.buf.getRawDouble(h.targetRingRow(0), kDouble)), bitsOf(nan));
  }
}

TEST(BufCopy, a_copied_level_keeps_its_name_and_not_its_number) {
  for (const long rows : {3L, 11L}) {
    SCOPED_TRACE(rows);
    CopyHarness<ZRBMemoryBufReader, ZRBMemoryBufWriter> h;
    h.writer.copyBufData(&h.reader, 0, kFactor, 0, kFactor, rows, 1);
    const long expected[] = {1, 2, 0};  // red, green (new), blue
    for (long row = 0; row < rows; ++row)
      EXPECT_EQ(h.target.buf.getRawLevelNum(h.targetRingRow(row), kFactor), expected[row % 3]) << "row " << row;
    EXPECT_EQ(h.target.buf.getNumLevels(kFactor), 3);
    EXPECT_STREQ(h.target.buf.getLevelName(kFactor, 2), "green");
  }
}

TEST(BufCopy, values_are_converted_between_types) {
  const struct {
    long source, target;
    const char* text;  // of the target cell, for source row 1
  } cases[] = {
      {kDouble, kFactor, "level 1.5"}, {kDouble, kString, "1.5"},          {kDouble, kTimeDate, "129600000"},
      {kFactor, kString, "green"},     {kString, kFactor, "level text 1"}, {kFactor, kDouble, "0"},
      {kTimeDate, kString, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "column " << c.source << " to " << c.target);
    CopyHarness<ZRBMemoryBufReader, ZRBMemoryBufWriter> h;
    h.writer.copyBufData(&h.reader, 1, c.source, 4, c.target, 1, 1);
    const long ringRow = h.targetRingRow(4);
    std::string text;
    if (c.target == kDouble) text = textOf(h.target.buf.getRawDouble(ringRow, kDouble));
    if (c.target == kString) text = h.target.buf.getRawString(ringRow, kString);
    if (c.target == kTimeDate) text = std::to_string(h.target.buf.getRawTimeDate(ringRow, kTimeDate));
    if (c.target == kFactor)
      text = std::string("level ") + h.target.buf.getLevelName(kFactor, h.target.buf.getRawLevelNum(ringRow, kFactor));
    EXPECT_EQ(text, c.text);
  }
}

TEST(BufCopy, rows_pass_from_ring_to_ring_in_chunks_of_any_size) {
  // Rings that divide neither each other nor the chunks; chunks below and above the size of a block.
  struct Rings {
    long source, target;
  };
  for (const Rings& rings : {Rings{7, 5}, Rings{40, 13}, Rings{13, 64}, Rings{64, 33}, Rings{1, 1000}, Rings{31, 31}}) {
    SCOPED_TRACE(testing::Message() << "from " << rings.source << " to " << rings.target);
    const std::vector<Column> columns = {{"d", ZRBBuf::column_double},
                                         {"f", ZRBBuf::column_factor},
                                         {"s", ZRBBuf::column_string, 13},
                                         {"t", ZRBBuf::column_timeDate}};
    FlowHarness<> source(rings.source, columns), target(rings.target, columns);
    target.buf.addLevel(1, "level 6");  // other numbers than in the source
    std::mt19937 random(static_cast<unsigned>(rings.source * 1000 + rings.target));
    const auto upTo = [&](long n) { return static_cast<long>(random() % static_cast<unsigned long>(n + 1)); };
    long written = 0, copied = 0, read = 0;
    while (read < 3000) {
      const long write = upTo(source.writer.getRowsReady());
      for (long row = 0; row < write; ++row) {
        const long streamRow = written + row;
        source.writer.setDouble(row, 0, 0.25 * static_cast<double>(streamRow));
        source.writer.setString(row, 1, ("level " + std::to_string(streamRow % 7)).c_str());
        source.writer.setString(row, 2, ("row " + std::to_string(streamRow)).c_str());
        source.writer.setTimeDate(row, 3, 5 * streamRow);
      }
      source.writer.releaseRows(write);
      written += write;

      const long free = target.writer.getRowsReady(), ready = source.reader.getRowsReady();
      const long copy = upTo(free < ready ? free : ready);
      target.writer.copyBufData(&source.reader, 0, 0, 0, 0, copy, 4);
      source.reader.releaseRows(copy);
      target.writer.releaseRows(copy);
      copied += copy;

      ASSERT_EQ(target.reader.getRowsReady(), copied - read);
      const long take = upTo(copied - read);
      for (long row = 0; row < take; ++row) {
        const long streamRow = read + row;
        ASSERT_EQ(target.reader.getDouble(row, 0), 0.25 * static_cast<double>(streamRow));
        ASSERT_EQ(target.reader.getString(row, 1), "level " + std::to_string(streamRow % 7)) << "row " << streamRow;
        ASSERT_EQ(target.reader.getString(row, 2), "row " + std::to_string(streamRow));
        ASSERT_EQ(target.reader.getTimeDate(row, 3), 5 * streamRow);
      }
      target.reader.releaseRows(take);
      read += take;
    }
    EXPECT_EQ(target.buf.getNumLevels(1), 7);
    EXPECT_EQ(source.producer.getNumMessages() + source.consumer.getNumMessages() + target.producer.getNumMessages() +
                  target.consumer.getNumMessages(),
              0);
  }
}

// ---- Blobs: ends that follow a script ----

namespace {

class ScriptedReader : public ZRBMemoryBufReader {
public:
  ScriptedReader(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBMemoryBufReader(buf, proc) {}
  int openResult = 1;
  int closeResult = 1;
  std::vector<std::string> data;  // what each read gives, then readEnd
  long readEnd = 0;

  int isBlobNA(long row, long column) override {
    note("reader.isBlobNA", {row, column});
    return ZRBMemoryBufReader::isBlobNA(row, column);
  }
  long long getBlobOffset(long row, long column) override {
    note("reader.getBlobOffset", {row, column});
    return ZRBMemoryBufReader::getBlobOffset(row, column);
  }
  int openBlobData(long long offset, long long length) override {
    note("reader.openBlobData", {offset, length});
    return openResult;
  }
  long readBlobData(char* bytes, long count) override {
    note("reader.readBlobData", {count});
    if (m_next == data.size()) return readEnd;
    const std::string& piece = data[m_next++];
    std::memcpy(bytes, piece.data(), piece.size());
    return static_cast<long>(piece.size());
  }
  int closeBlobData() override {
    note("reader.closeBlobData", {});
    return closeResult;
  }
  int closeBlob() override {
    note("reader.closeBlob", {});
    return 1;
  }

private:
  std::size_t m_next = 0;
};

class ScriptedWriter : public ZRBMemoryBufWriter {
public:
  ScriptedWriter(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBMemoryBufWriter(buf, proc) {}
  int openResult = 1;
  int closeResult = 1;
  std::string written;
  std::vector<long> writeResults;  // of the next writes; afterwards all bytes

  int openBlobData() override {
    note("writer.openBlobData", {});
    return openResult;
  }
  long writeBlobData(const char* bytes, long count) override {
    note("writer.writeBlobData", {count});
    if (!writeResults.empty()) {
      const long result = writeResults.front();
      writeResults.erase(writeResults.begin());
      return result;
    }
    written.append(bytes, static_cast<std::size_t>(count));
    return count;
  }
  int closeBlobData(long long* offset, long long* length) override {
    note("writer.closeBlobData", {});
    *offset = 7000;
    *length = static_cast<long long>(written.size());
    return closeResult;
  }
  int closeBlob() override {
    note("writer.closeBlob", {});
    return 1;
  }
  int openBlob(long row, long column) override {
    note("writer.openBlob", {row, column});
    return 1;
  }
  void setBlobNA(long row, long column) override {
    note("writer.setBlobNA", {row, column});
    ZRBMemoryBufWriter::setBlobNA(row, column);
  }
  void setBlobOffset(long row, long column, long long offset) override {
    note("writer.setBlobOffset", {row, column, offset});
    ZRBMemoryBufWriter::setBlobOffset(row, column, offset);
  }
  void setBlobLength(long row, long column, long long length) override {
    note("writer.setBlobLength", {row, column, length});
    ZRBMemoryBufWriter::setBlobLength(row, column, length);
  }
};

using BlobHarness = CopyHarness<ScriptedReader, ScriptedWriter>;

const char kRead[] = "reader.readBlobData 20000";

}  // namespace

TEST(BufCopy, the_data_of_a_blob_is_copied_in_pieces_until_it_ends) {
  BlobHarness h;
  h.reader.data = {std::string(20000, 'a'), std::string(20000, 'b'), "c"};
  long long newOffset = -5, newLength = -6;
  EXPECT_EQ(h.writer.copyBlobData(&h.reader, 300, 40001, &newOffset, &newLength), 1);
  EXPECT_EQ(g_calls, (Lines{"reader.openBlobData 300 40001", "writer.openBlobData", kRead, "writer.writeBlobData 20000",
                            kRead, "writer.writeBlobData 20000", kRead, "writer.writeBlobData 1", kRead,
                            "reader.closeBlobData", "writer.closeBlobData"}));
  EXPECT_EQ(h.writer.written, std::string(20000, 'a') + std::string(20000, 'b') + "c");
  EXPECT_EQ(newOffset, 7000);
  EXPECT_EQ(newLength, 40001);
  EXPECT_EQ(h.messages(), 0);
}

TEST(BufCopy, an_empty_blob_has_no_data_to_copy) {
  BlobHarness h;
  long long newOffset = -5, newLength = -6;
  EXPECT_EQ(h.writer.copyBlobData(&h.reader, 300, 0, &newOffset, &newLength), 1);
  EXPECT_EQ(g_calls, (Lines{"reader.openBlobData 300 0", "writer.openBlobData", kRead, "reader.closeBlobData",
                            "writer.closeBlobData"}));
  EXPECT_EQ(newOffset, 7000);
  EXPECT_EQ(newLength, 0);
}

TEST(BufCopy, each_failure_on_the_way_ends_the_copy_of_the_data_in_its_own_manner) {
  struct Case {
    const char* reason;
    void (*prepare)(BlobHarness&);
    Lines calls;
  };
  const Case cases[] = {
      {"the reader cannot open", [](BlobHarness& h) { h.reader.openResult = 0; }, {"reader.openBlobData 300 5"}},
      {"the writer cannot open",
       [](BlobHarness& h) { h.writer.openResult = 0; },
       {"reader.openBlobData 300 5", "writer.openBlobData", "reader.closeBlobData"}},
      {"the first read fails: only the writer's blob is closed",
       [](BlobHarness& h) { h.reader.readEnd = -1; },
       {"reader.openBlobData 300 5", "writer.openBlobData", kRead, "writer.closeBlobData"}},
      {"a later read fails",
       [](BlobHarness& h) {
         h.reader.data = {"abc"};
         h.reader.readEnd = -1;
       },
       {"reader.openBlobData 300 5", "writer.openBlobData", kRead, "writer.writeBlobData 3", kRead,
        "writer.closeBlobData"}},
      {"a write is short: only the reader's blob is closed",
       [](BlobHarness& h) {
         h.reader.data = {"abc", "de"};
         h.writer.writeResults = {2};
       },
       {"reader.openBlobData 300 5", "writer.openBlobData", kRead, "writer.writeBlobData 3", "reader.closeBlobData"}},
      {"a write fails",
       [](BlobHarness& h) {
         h.reader.data = {"abc", "de"};
         h.writer.writeResults = {3, -1};
       },
       {"reader.openBlobData 300 5", "writer.openBlobData", kRead, "writer.writeBlobData 3", kRead,
        "writer.writeBlobData 2", "reader.closeBlobData"}},
      {"the reader cannot close: the writer's blob is closed all the same",
       [](BlobHarness& h) { h.reader.closeResult = 0; },
       {"reader.openBlobData 300 5", "writer.openBlobData", kRead, "reader.closeBlobData", "writer.closeBlobData"}},
      {"the writer cannot close",
       [](BlobHarness& h) { h.writer.closeResult = 0; },
       {"reader.openBlobData 300 5", "writer.openBlobData", kRead, "reader.closeBlobData", "writer.closeBlobData"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.reason);
    BlobHarness h;
    c.prepare(h);
    long long newOffset = -5, newLength = -6;
    EXPECT_EQ(h.writer.copyBlobData(&h.reader, 300, 5, &newOffset, &newLength), 0);
    EXPECT_EQ(g_calls, c.calls);
    EXPECT_EQ(newOffset, -5);  // nothing is stored
    EXPECT_EQ(newLength, -6);
    EXPECT_EQ(h.messages(), 0);
  }
}

TEST(BufCopy, negative_results_of_opening_and_closing_count_as_success) {
  // Only 0 is a failure of an operation that gives 0 or 1.
  BlobHarness h;
  h.reader.openResult = h.reader.closeResult = h.writer.openResult = h.writer.closeResult = -1;
  h.reader.data = {"abc"};
  long long newOffset = -5, newLength = -6;
  EXPECT_EQ(h.writer.copyBlobData(&h.reader, 300, 3, &newOffset, &newLength), 1);
  EXPECT_EQ(newOffset, 7000);
  EXPECT_EQ(newLength, 3);
}

TEST(BufCopy, a_write_of_more_bytes_than_asked_for_is_no_failure) {
  BlobHarness h;
  h.reader.data = {"abc"};
  h.writer.writeResults = {4};
  long long newOffset = -5, newLength = -6;
  EXPECT_EQ(h.writer.copyBlobData(&h.reader, 300, 3, &newOffset, &newLength), 1);
}

TEST(BufCopy, without_a_place_for_offset_and_length_no_data_is_copied) {
  BlobHarness h;
  long long value = -5;
  EXPECT_EQ(h.writer.copyBlobData(&h.reader, 300, 5, nullptr, &value), 0);
  EXPECT_EQ(h.writer.copyBlobData(&h.reader, 300, 5, &value, nullptr), 0);
  EXPECT_EQ(h.writer.copyBlobData(&h.reader, 300, 5, nullptr, nullptr), 0);
  EXPECT_EQ(g_calls, Lines{});
  EXPECT_EQ(value, -5);
  EXPECT_EQ(h.messages(), 0);
}

TEST(BufCopy, a_copied_blob_leaves_offset_and_length_in_the_target_cell) {
  BlobHarness h;
  h.reader.data = {"abc"};
  EXPECT_EQ(h.writer.copyBlob(&h.reader, 2, kBlob, 5, kBlob), 1);
  EXPECT_EQ(g_calls, (Lines{"reader.isBlobNA 2 4", "reader.getBlobOffset 2 4", "reader.openBlobData 102 202",
                            "writer.openBlobData", kRead, "writer.writeBlobData 3", kRead, "reader.closeBlobData",
                            "writer.closeBlobData", "writer.setBlobOffset 5 4 7000", "writer.setBlobLength 5 4 3"}));
  EXPECT_EQ(h.target.buf.getRawBlobOffset(h.targetRingRow(5), kBlob), 7000);
  EXPECT_EQ(h.target.buf.getRawBlobLength(h.targetRingRow(5), kBlob), 3);
  EXPECT_EQ(h.messages(), 0);
}

TEST(BufCopy, a_blob_whose_data_could_not_be_copied_leaves_the_target_cell_alone) {
  BlobHarness h;
  h.reader.readEnd = -1;
  const std::string before = h.targetBytes();
  EXPECT_EQ(h.writer.copyBlob(&h.reader, 2, kBlob, 5, kBlob), 0);
  EXPECT_EQ(h.targetBytes(), before);
}

TEST(BufCopy, the_data_of_a_blob_is_copied_by_the_virtual_operation_and_its_result_returned) {
  class OwnWriter : public ScriptedWriter {
  public:
    OwnWriter(ZRBMemoryBuf* buf, ZRBProc* proc) : ScriptedWriter(buf, proc) {}
    int result = 0;
    int copyBlobData(ZRBBufReader*, long long offset, long long length, long long* newOffset,
                     long long* newLength) override {
      note("writer.copyBlobData", {offset, length});
      *newOffset = 11;
      *newLength = 12;
      return result;
    }
  };
  for (const int result : {0, 1, -1, 9}) {
    SCOPED_TRACE(result);
    CopyHarness<ScriptedReader, OwnWriter> h;
    h.writer.result = result;
    EXPECT_EQ(h.writer.copyBlob(&h.reader, 2, kBlob, 5, kBlob), result);
    Lines expected = {"reader.isBlobNA 2 4", "reader.getBlobOffset 2 4", "writer.copyBlobData 102 202"};
    if (result != 0) expected.insert(expected.end(), {"writer.setBlobOffset 5 4 11", "writer.setBlobLength 5 4 12"});
    EXPECT_EQ(g_calls, expected);
  }
}

TEST(BufCopy, a_NA_blob_is_copied_as_NA_without_opening_anything) {
  BlobHarness h;
  h.source.buf.setRawBlobLength(5, kBlob, -1);  // chunk row 2; the length alone decides
  h.target.buf.setRawBlobOffset(h.targetRingRow(5), kBlob, 1);
  EXPECT_EQ(h.writer.copyBlob(&h.reader, 2, kBlob, 5, kBlob), 1);
  EXPECT_EQ(g_calls, (Lines{"reader.isBlobNA 2 4", "writer.setBlobNA 5 4"}));
  EXPECT_EQ(h.target.buf.getRawBlobOffset(h.targetRingRow(5), kBlob), -1);
  EXPECT_EQ(h.target.buf.getRawBlobLength(h.targetRingRow(5), kBlob), -1);
  EXPECT_EQ(h.messages(), 0);
}

TEST(BufCopy, a_blob_is_only_copied_from_a_blob_column_to_a_blob_column) {
  BlobHarness h;
  const std::string before = h.targetBytes();
  for (const long other : {kDouble, kFactor, kString, kTimeDate, kUnknown, -1L, 99L}) {
    SCOPED_TRACE(other);
    EXPECT_EQ(h.writer.copyBlob(&h.reader, 2, other, 5, kBlob), 0);
    EXPECT_EQ(h.writer.copyBlob(&h.reader, 2, kBlob, 5, other), 0);
  }
  EXPECT_EQ(g_calls, Lines{});
  EXPECT_EQ(h.targetBytes(), before);
  EXPECT_EQ(h.messages(), 0);
}

TEST(BufCopy, blobs_of_a_rectangle_are_copied_with_their_data) {
  BlobHarness h;
  h.source.buf.setRawBlobLength(3 + 1, kBlob, -1);
  h.reader.data = {"abc"};
  h.writer.copyBufData(&h.reader, 0, kBlob, 0, kBlob, 2, 1);
  EXPECT_EQ(h.target.buf.getRawBlobOffset(h.targetRingRow(0), kBlob), 7000);
  EXPECT_EQ(h.target.buf.getRawBlobLength(h.targetRingRow(0), kBlob), 3);
  EXPECT_EQ(h.target.buf.getRawBlobLength(h.targetRingRow(1), kBlob), -1);
}

TEST(BufCopy, blobs_of_memory_buffers_have_no_data_to_copy) {
  CopyHarness<ZRBMemoryBufReader, ZRBMemoryBufWriter> h;
  h.source.buf.setRawBlobLength(3, kBlob, -1);  // row 0 is NA, row 1 is not
  h.writer.copyBufData(&h.reader, 0, kBlob, 0, kBlob, 3, 2);
  EXPECT_EQ(h.target.buf.getRawBlobLength(h.targetRingRow(0), kBlob), -1);
  EXPECT_EQ(h.target.buf.getRawBlobLength(h.targetRingRow(1), kBlob), 0);
  EXPECT_EQ(messagesOf(h.source.consumer), Messages{"ZRBBufReader::openBlobData can't access blob data"});  // once
  EXPECT_EQ(messagesOf(h.target.producer), Messages{});
}
