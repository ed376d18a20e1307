// The source of pseudo-random rows, against a second computation of its stream.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "ZRBMemoryBuf.h"
#include "ZRBProcRandomReader.h"
#include "support/Harness.h"
#include "support/LoggingEnds.h"
#include "support/PropertyCall.h"
#include "support/PropertyChains.h"
#include "support/RandomModel.h"

namespace {

const char* const kLevelNames[] = {"lev1", "lev2", "lev3", "lev4", "lev5"};
const char* const kTexts[] = {"string-one", "string-two", "string-three", "string-four", "string-five"};

std::vector<Column> doubles(int count) {
  return std::vector<Column>(static_cast<std::size_t>(count), {"x", ZRBBuf::column_double});
}

// A random reader before a buffer whose rows the test takes.
template <class Buf = ZRBMemoryBuf>
struct RandomFlow {
  std::unique_ptr<Buf> ownBuf;
  Buf& buf;
  ZRBProcRandomReader source;
  HarnessNode sink;
  ZRBBufReader& reader;

  RandomFlow(const std::vector<Column>& columns, long seed, long long totalRows, long ringRows = 3000,
             long chunkRows = 1000, std::unique_ptr<Buf> made = std::make_unique<ZRBMemoryBuf>())
      : ownBuf(std::move(made)), buf(*ownBuf), reader(sink.readFrom(buf)) {
    setColumns(buf, columns);
    buf.setNumRows(ringRows);
    source.setOutputBuf(0, &buf);
    source.setNumRows(chunkRows);
    source.setSeed(seed);
    source.setTotalRows(totalRows);
    init();
  }

  void init() {
    buf.init();
    source.init();
  }
  // The doubles of `rows` rows of all columns (which are doubles), row by row; runs the source as needed.
  std::vector<double> take(long rows) {
    std::vector<double> values;
    for (long taken = 0; taken < rows;) {
      if (reader.getRowsReady() == 0) source.execute();
      const long ready = std::min(reader.getRowsReady(), rows - taken);
      if (ready == 0) break;
      for (long row = 0; row < ready; ++row) {
        for (long column = 0; column < buf.getNumColumns(); ++column) values.push_back(reader.getDouble(row, column));
      }
      reader.releaseRows(ready);
      taken += ready;
    }
    return values;
  }
};

std::vector<double> modelDraws(long seed, long count) {
  RandomModel model(seed);
  std::vector<double> draws;
  for (long i = 0; i < count; ++i) draws.push_back(model.draw());
  return draws;
}

// The bytes of the ring as the described writer leaves them, cell by cell.
class RingModel {
public:
  RingModel(std::vector<Column> columns, long ringRows, long seed)
      : m_columns(std::move(columns)), m_ring_rows(ringRows), m_random(seed), m_levels(m_columns.size()) {
    for (const Column& column : m_columns) {
      m_offsets.push_back(m_row_bytes);
      m_row_bytes += width(column);
    }
    m_bytes.assign(static_cast<std::size_t>(m_row_bytes * ringRows), '\0');
  }

  void writeChunk(long rows) {
    for (long row = 0; row < rows; ++row) {
      const long ringRow = (m_released + row) % m_ring_rows;
      for (std::size_t column = 0; column < m_columns.size(); ++column) writeCell(ringRow, column, m_random.draw());
    }
    m_released += rows;
  }

  const std::vector<char>& bytes() const { return m_bytes; }
  long rowBytes() const { return m_row_bytes; }

private:
  static long width(const Column& column) {
    switch (column.type) {
      case ZRBBuf::column_factor:
        return 2;
      case ZRBBuf::column_string:
        return column.stringBytes;
      case ZRBBuf::column_blob:
        return 16;
      default:
        return 8;
    }
  }
  char* cell(long ringRow, std::size_t column) { return m_bytes.data() + ringRow * m_row_bytes + m_offsets[column]; }
  void writeCell(long ringRow, std::size_t column, double draw) {
    const auto index = static_cast<std::size_t>(RandomModel::tableIndex(draw));
    switch (m_columns[column].type) {
      case ZRBBuf::column_double:
        std::memcpy(cell(ringRow, column), &draw, 8);
        break;
      case ZRBBuf::column_factor: {
        std::map<std::string, long>& levels = m_levels[column];
        const long next = static_cast<long>(levels.size());
        const long level = levels.try_emplace(kLevelNames[index], next).first->second;
        cell(ringRow, column)[0] = static_cast<char>(level / 256);
        cell(ringRow, column)[1] = static_cast<char>(level % 256);
        break;
      }
      case ZRBBuf::column_string: {
        const auto bytes = static_cast<std::size_t>(m_columns[column].stringBytes);
        std::string text = kTexts[index];
        text.resize(std::min(text.size(), bytes - 1));
        text.resize(bytes, '\0');
        std::memcpy(cell(ringRow, column), text.data(), bytes);
        break;
      }
      case ZRBBuf::column_timeDate: {
        const long long timeMs = ZRBObj::getDoubleDateEpoch() + static_cast<long long>(draw * 86400000.0);
        std::memcpy(cell(ringRow, column), &timeMs, 8);
        break;
      }
      case ZRBBuf::column_blob:
        // NA, in the row that a second mapping of the ring row gives.
        std::memset(cell((m_released + ringRow) % m_ring_rows, column), 0xFF, 16);
        break;
    }
  }

  std::vector<Column> m_columns;
  std::vector<long> m_offsets;
  long m_row_bytes = 0;
  long m_ring_rows;
  long m_released = 0;
  RandomModel m_random;
  std::vector<std::map<std::string, long>> m_levels;
  std::vector<char> m_bytes;
};

// ---- Settings and wiring ----

TEST(RandomReader, a_new_node_has_seed_1_and_no_rows_to_produce) {
  ZRBProcRandomReader node;
  EXPECT_EQ(node.getSeed(), 1);
  EXPECT_EQ(node.getTotalRows(), 0);
  EXPECT_EQ(messagesOf(node), Messages{"uninitialized"});
}

TEST(RandomReader, a_seed_below_1_counts_as_1) {
  ZRBProcRandomReader node;
  struct {
    long given, kept;
  } const cases[] = {{7, 7}, {0, 1}, {-5, 1}, {LONG_MAX, LONG_MAX}, {LONG_MIN, 1}, {1, 1}};
  for (const auto& c : cases) {
    node.setSeed(c.given);
    EXPECT_EQ(node.getSeed(), c.kept) << c.given;
  }
}

TEST(RandomReader, total_rows_are_kept_unchecked) {
  ZRBProcRandomReader node;
  for (const long long rows : {5000000000LL, -3LL, 0LL}) {
    node.setTotalRows(rows);
    EXPECT_EQ(node.getTotalRows(), rows);
  }
}

TEST(RandomReader, wants_no_input_and_one_output) {
  ZRBMemoryBuf buf;
  {
    ZRBProcRandomReader node;
    EXPECT_EQ(node.init(), 1);
    EXPECT_EQ(messagesOf(node), Messages{"this node expects 1 outputs, but was given 0 outputs"});
  }
  {
    ZRBProcRandomReader node;
    node.setInputBuf(0, &buf);
    node.setOutputBuf(0, &buf);
    EXPECT_EQ(node.init(), 1);
    EXPECT_EQ(messagesOf(node), Messages{"this node expects 0 inputs, but was given 1 inputs"});
  }
  {
    ZRBProcRandomReader node;
    node.setOutputBuf(1, &buf);
    EXPECT_EQ(node.init(), 1);
    EXPECT_EQ(messagesOf(node), Messages{"this node expects 1 outputs, but was given 2 outputs"});
    node.setOutputBuf(1, nullptr);
    node.setOutputBuf(0, &buf);
    EXPECT_EQ(node.init(), 0);
    EXPECT_EQ(messagesOf(node), Messages{});
  }
}

// ---- The stream ----

TEST(RandomReaderStream, starts_with_these_draws) {
  // From the two recurrences in exact integer arithmetic, each draw rounded once.
  struct {
    long seed;
    std::vector<double> draws;
  } const cases[] = {
      {1, {2319423942.1628075, 2375292166.1162624, 251736656.7834874, 1395867012.0664344, 2370853125.629054}},
      {2, {468015388.4157373, 2786611237.6094265, 698691273.1809484, 2196949641.196317, 3905077405.2550306}},
      {3, {3035957618.6803856, 2008960835.0752468, 2138941886.0159092, 573246349.8262, 3320674550.881007}},
      {7, {1666132681.371792, 1688785117.063528, 2145642395.9260654, 213350369.34573126, 41974416.38491343}},
  };
  for (const auto& c : cases) {
    RandomFlow flow(doubles(1), c.seed, 5);
    EXPECT_EQ(flow.take(5), c.draws) << c.seed;
  }
}

TEST(RandomReaderStream, is_drawn_row_by_row_over_all_columns) {
  RandomFlow flow(doubles(3), 11, 2000);
  EXPECT_EQ(flow.take(2000), modelDraws(11, 6000));
}

TEST(RandomReaderStream, fills_the_ring_byte_for_byte_as_computed_independently) {
  const std::vector<Column> mixed = {
      {"d", ZRBBuf::column_double},   {"f", ZRBBuf::column_factor}, {"s", ZRBBuf::column_string},
      {"t", ZRBBuf::column_timeDate}, {"b", ZRBBuf::column_blob},   {"cut", ZRBBuf::column_string, 7},
      {"g", ZRBBuf::column_factor},   {"e", ZRBBuf::column_double}, {"wide", ZRBBuf::column_string, 40}};
  struct {
    long seed, ringRows, chunkRows;
    long long totalRows;
  } const cases[] = {
      {1, 3000, 1000, 5000},   {2, 1000, 300, 4321},  {12345, 7, 3, 2000},         {99, 1, 1, 500},
      {4294967297, 2, 1, 500}, {1L << 43, 3, 2, 700}, {LONG_MAX, 5000, 999, 4000}, {3401709654011, 700, 700, 3001},
  };
  for (const auto& c : cases) {
    RandomFlow flow(mixed, c.seed, c.totalRows, c.ringRows, c.chunkRows);
    RingModel model(mixed, c.ringRows, c.seed);
    ASSERT_EQ(flow.buf.getBytesPerRow(), model.rowBytes());
    long long rows = 0;
    while (!flow.source.isDone()) {
      flow.source.execute();
      const long ready = flow.reader.getRowsReady();
      ASSERT_GT(ready, 0) << "seed " << c.seed;
      model.writeChunk(ready);
      ASSERT_EQ(std::memcmp(flow.buf.getDataPtr(0, 0, 8), model.bytes().data(), model.bytes().size()), 0)
          << "seed " << c.seed << ", ring " << c.ringRows << ", within rows " << rows << ".." << rows + ready - 1;
      flow.reader.releaseRows(ready);
      rows += ready;
    }
    EXPECT_EQ(rows, c.totalRows);
    EXPECT_EQ(messagesOf(flow.source), Messages{});
    EXPECT_EQ(messagesOf(flow.buf), Messages{});
  }
}

TEST(RandomReaderStream, draws_are_above_0_and_at_most_2_to_the_32) {
  RandomFlow flow(doubles(1), 5, 50000, 3000, 1000);
  double largest = 0;
  for (const double draw : flow.take(50000)) {
    ASSERT_GT(draw, 0);
    ASSERT_LE(draw, 4294967296.0);
    largest = std::max(largest, draw);
  }
  EXPECT_GT(largest, 4200000000.0);  // far beyond the unit interval
}

TEST(RandomReaderStream, seeds_below_1_and_seed_1_give_the_same_rows) {
  const std::vector<double> expected = modelDraws(1, 1500);
  for (const long seed : {1L, 0L, -5L, LONG_MIN}) {
    RandomFlow flow(doubles(1), seed, 1500);
    EXPECT_EQ(flow.take(1500), expected) << seed;
  }
}

TEST(RandomReaderStream, does_not_depend_on_ring_and_chunk_sizes) {
  const std::vector<double> expected = modelDraws(42, 2 * 2500);
  struct {
    long ringRows, chunkRows;
  } const cases[] = {{1, 1}, {2, 1}, {3, 2}, {7, 3}, {7, 7}, {1000, 999}, {1000, 1}, {3000, 1000}};
  for (const auto& c : cases) {
    RandomFlow flow(doubles(2), 42, 2500, c.ringRows, c.chunkRows);
    EXPECT_EQ(flow.take(2500), expected) << c.ringRows << " " << c.chunkRows;
  }
}

TEST(RandomReaderStream, a_new_seed_waits_for_init) {
  RandomFlow flow(doubles(1), 1, 100, 100, 10);
  EXPECT_EQ(flow.take(10), modelDraws(1, 10));
  flow.source.setSeed(2);
  EXPECT_EQ(flow.source.getSeed(), 2);
  std::vector<double> next = modelDraws(1, 20);
  next.erase(next.begin(), next.begin() + 10);
  EXPECT_EQ(flow.take(10), next);
  flow.init();
  EXPECT_EQ(flow.take(10), modelDraws(2, 10));
}

TEST(RandomReaderStream, init_starts_the_stream_over) {
  RandomFlow flow(doubles(1), 3, 2500);
  EXPECT_EQ(flow.take(1700), modelDraws(3, 1700));
  flow.init();
  EXPECT_EQ(flow.take(2500), modelDraws(3, 2500));
  EXPECT_EQ(flow.source.isDone(), 1);
  flow.init();
  EXPECT_EQ(flow.source.isDone(), 0);
  EXPECT_EQ(flow.take(2500), modelDraws(3, 2500));
}

TEST(RandomReaderStream, a_seed_set_before_the_first_init_is_used) {
  // The constructor seeds from 1; only init takes the seed that was set since.
  ZRBMemoryBuf buf;
  setColumns(buf, doubles(1));
  ZRBProcRandomReader source;
  HarnessNode sink;
  source.setOutputBuf(0, &buf);
  ZRBBufReader& reader = sink.readFrom(buf);
  buf.init();
  source.setTotalRows(3);
  source.setSeed(2);
  source.clearMessages();
  source.execute();
  EXPECT_EQ(reader.getDouble(0, 0), modelDraws(1, 1)[0]);
  buf.init();
  source.init();
  source.execute();
  EXPECT_EQ(reader.getDouble(0, 0), modelDraws(2, 1)[0]);
}

TEST(RandomReaderStream, a_draw_of_zero_is_passed_over) {
  // The lower bits of a step are the same with every seed; for the first step where they are 0 there is a seed with
  // which the whole number is 0.
  const long long step = RandomModel::stepWithLowBitsZero(0);
  const long seed = RandomModel::seedFor(step, 0);
  RandomModel model(seed);
  std::vector<double> expected;
  for (long long i = 0; i < step + 5; ++i) expected.push_back(model.draw());
  ASSERT_EQ(model.steps(), step + 6) << "this seed has no draw of zero";
  RandomFlow flow(doubles(1), seed, step + 5);
  EXPECT_TRUE(flow.take(static_cast<long>(step) + 5) == expected);  // a million values: not to be printed
}

// ---- Levels and texts ----

TEST(RandomReaderTexts, nearly_every_cell_holds_the_first_text) {
  RandomFlow flow({{"f", ZRBBuf::column_factor}, {"s", ZRBBuf::column_string}}, 1, 1000);
  flow.source.execute();
  for (long row = 0; row < 1000; ++row) {
    ASSERT_STREQ(flow.reader.getString(row, 0), "lev1");
    ASSERT_STREQ(flow.reader.getString(row, 1), "string-one");
  }
  EXPECT_EQ(flow.buf.getNumLevels(0), 1);
}

TEST(RandomReaderTexts, a_draw_below_0_8_selects_by_fifths_and_any_other_the_first) {
  struct {
    double draw;
    int index;
  } const cases[] = {
      {0.001, 0},       {0.1, 0},   {0.195, 0}, {0.205, 1},     {0.3, 1},         {0.395, 1}, {0.405, 2},
      {0.5, 2},         {0.595, 2}, {0.605, 3}, {0.7, 3},       {0.795, 3},       {0.805, 0}, {0.9, 0},
      {0.995, 0},       {1.005, 0}, {1.3, 0},   {2147483.0, 0}, {429496729.0, 0},  // the last draws whose fifths fit into 32 bits
      {429496730.0, 0},
  };
  for (const auto& c : cases) {
    for (const long step : {0L, 1L, 2L, 33L}) {  // even steps fill the factor, odd ones the string
      const long seed = RandomModel::seedFor(step, static_cast<std::uint64_t>(c.draw * 2147483648.0));
      RandomModel model(seed);
      double draw = 0;
      for (long i = 0; i <= step; ++i) draw = model.draw();
      ASSERT_NEAR(draw, c.draw, 0.001);  // the lower bits of a draw cannot be chosen: 2^21 / 2^31
      const auto index = static_cast<std::size_t>(c.index);

      RandomFlow flow({{"f", ZRBBuf::column_factor}, {"s", ZRBBuf::column_string}}, seed, 20);
      flow.source.execute();
      EXPECT_STREQ(flow.reader.getString(step / 2, step % 2), step % 2 ? kTexts[index] : kLevelNames[index])
          << c.draw << " at step " << step;
      EXPECT_EQ(flow.buf.lookupLevel(0, "lev5"), -1);
    }
  }
}

TEST(RandomReaderTexts, levels_are_numbered_as_they_are_met) {
  const long seed = RandomModel::seedFor(0, static_cast<std::uint64_t>(0.5 * 2147483648.0));
  RandomFlow flow({{"f", ZRBBuf::column_factor}}, seed, 3);
  flow.source.execute();
  ASSERT_EQ(flow.buf.getNumLevels(0), 2);
  EXPECT_STREQ(flow.buf.getLevelName(0, 0), "lev3");
  EXPECT_STREQ(flow.buf.getLevelName(0, 1), "lev1");
  EXPECT_EQ(flow.reader.getLevelNum(0, 0), 0);
  EXPECT_EQ(flow.reader.getLevelNum(1, 0), 1);
  EXPECT_EQ(flow.reader.getLevelNum(2, 0), 1);
}

// ---- How cells are written ----

TEST(RandomReaderCells, are_written_through_the_converting_setters_of_the_writer) {
  CallLog log;
  RandomFlow<LoggingBuf> flow({{"d", ZRBBuf::column_double},
                               {"f", ZRBBuf::column_factor},
                               {"s", ZRBBuf::column_string},
                               {"t", ZRBBuf::column_timeDate},
                               {"b", ZRBBuf::column_blob}},
                              6, 2, 3000, 1000, std::make_unique<LoggingBuf>(log, "out"));
  log.clear();
  flow.source.execute();
  const std::vector<double> draw = modelDraws(6, 10);
  EXPECT_EQ(changesOf(log),
            (CallLog{"out.setRequestRows(1000)",                              //
                     "out.setConvertDouble(0, 0, " + logText(draw[0]) + ")",  //
                     "out.setConvertFactor(0, 1, \"lev1\")",                  //
                     "out.setConvertString(0, 2, \"string-one\")",            //
                     "out.setConvertDouble(0, 3, " + logText(draw[3]) + ")",  //
                     "out.setConvertDouble(0, 4, " + logText(draw[4]) + ")",  //
                     "out.setConvertDouble(1, 0, " + logText(draw[5]) + ")",  //
                     "out.setConvertFactor(1, 1, \"lev1\")",                  //
                     "out.setConvertString(1, 2, \"string-one\")",            //
                     "out.setConvertDouble(1, 3, " + logText(draw[8]) + ")",  //
                     "out.setConvertDouble(1, 4, " + logText(draw[9]) + ")",  //
                     "out.releaseRows(2)", "out.setRequestRows(1000)", "out.setEOF"}));
}

TEST(RandomReaderCells, dates_are_draws_in_days_after_the_epoch) {
  const SavedSettings saved;
  ZRBObj::setDoubleDateEpoch(-1000);
  RandomFlow flow({{"t", ZRBBuf::column_timeDate}}, 8, 3);
  flow.source.execute();
  const std::vector<double> draw = modelDraws(8, 3);
  for (std::size_t row = 0; row < 3; ++row) {
    EXPECT_EQ(flow.reader.getTimeDate(static_cast<long>(row), 0),
              -1000 + static_cast<long long>(draw[row] * 86400000.0));
  }
}

// ---- Chunks ----

TEST(RandomReaderChunks, the_last_one_is_the_remainder_and_ends_the_data) {
  RandomFlow flow(doubles(1), 1, 2500);
  EXPECT_EQ(flow.source.execute(), 1000);
  EXPECT_EQ(flow.source.execute(), 2000);
  EXPECT_EQ(flow.source.isDone(), 0);
  EXPECT_EQ(flow.buf.getEOF(), 0);
  EXPECT_EQ(flow.source.execute(), 1);  // the result of setting end of data
  EXPECT_EQ(flow.source.isDone(), 1);
  EXPECT_EQ(flow.buf.getEOF(), 1);
  EXPECT_EQ(flow.buf.getTotalNumRows(), 2500);
  EXPECT_EQ(flow.source.getRowsDone(), 2500);
  EXPECT_EQ(messagesOf(flow.source), Messages{});
}

TEST(RandomReaderChunks, a_total_of_whole_chunks_ends_with_the_last_of_them) {
  RandomFlow flow(doubles(1), 1, 2000);
  flow.source.execute();
  EXPECT_EQ(flow.source.isDone(), 0);
  flow.source.execute();
  EXPECT_EQ(flow.source.isDone(), 1);
  EXPECT_EQ(flow.buf.getTotalNumRows(), 2000);
}

TEST(RandomReaderChunks, without_rows_to_produce_the_first_one_is_empty_and_ends_the_data) {
  RandomFlow flow(doubles(1), 1, 0);
  EXPECT_EQ(flow.source.execute(), 1);
  EXPECT_EQ(flow.source.isDone(), 1);
  EXPECT_EQ(flow.buf.getTotalNumRows(), 0);
  EXPECT_EQ(messagesOf(flow.source), Messages{});
}

TEST(RandomReaderChunks, the_result_of_the_last_one_is_what_the_writer_answers) {
  CallLog log;
  RandomFlow<LoggingBuf> flow(doubles(1), 1, 10, 3000, 1000, std::make_unique<LoggingBuf>(log, "out"));
  flow.buf.writer().eofResult = 4711;
  EXPECT_EQ(flow.source.execute(), 4711);
}

TEST(RandomReaderChunks, a_full_ring_gives_minus_1_and_draws_nothing) {
  RandomFlow flow(doubles(1), 4, 100, 25, 10);
  EXPECT_EQ(flow.source.execute(), 10);
  EXPECT_EQ(flow.source.execute(), 20);
  EXPECT_EQ(flow.source.execute(), -1);
  EXPECT_EQ(flow.source.execute(), -1);
  EXPECT_EQ(flow.source.getRowsDone(), 20);
  EXPECT_EQ(messagesOf(flow.source), Messages{});
  EXPECT_EQ(flow.take(100), modelDraws(4, 100));
}

TEST(RandomReaderChunks, a_missing_output_is_passed_back) {
  ZRBMemoryBuf buf;
  ZRBProcRandomReader node;
  node.setOutputBuf(1, &buf);
  node.clearMessages();
  EXPECT_EQ(node.execute(), -1);
  EXPECT_EQ(messagesOf(node), Messages{"null output buf: 0"});
}

TEST(RandomReaderChunks, follow_the_output_size_of_the_node) {
  RandomFlow flow(doubles(1), 1, 100, 3000, 1000);
  flow.source.setOutputNumRows(30);
  EXPECT_EQ(flow.source.execute(), 30);
  EXPECT_EQ(flow.source.execute(), 60);
  EXPECT_EQ(flow.source.execute(), 90);
  EXPECT_EQ(flow.source.execute(), 1);
  EXPECT_EQ(flow.take(100), modelDraws(1, 100));
}

TEST(RandomReaderChunks, rows_done_count_toward_the_total) {
  RandomFlow flow(doubles(1), 1, 100);
  flow.source.setRowsDone(95);
  flow.source.execute();
  EXPECT_EQ(flow.source.isDone(), 1);
  EXPECT_EQ(flow.buf.getTotalNumRows(), 5);
}

TEST(RandomReaderChunks, a_negative_total_is_refused_by_the_writer) {
  RandomFlow flow(doubles(1), 1, -3);
  flow.source.execute();
  EXPECT_EQ(messagesOf(flow.source), Messages{"ZRBBufWriter::releaseRows can't release negative rows: -3"});
  EXPECT_EQ(flow.source.isDone(), 1);
  EXPECT_EQ(flow.buf.getTotalNumRows(), 0);
}

TEST(RandomReaderChunks, rows_without_columns_flow_too) {
  RandomFlow flow(doubles(0), 1, 1500);
  flow.source.execute();
  flow.source.execute();
  EXPECT_EQ(flow.buf.getTotalNumRows(), 1500);
}

// ---- Properties ----

TEST(RandomReaderProperties, names_are_tested_in_order_and_an_unknown_one_is_reported_once) {
  ZRBProcRandomReader node;
  expectChains(node, joined({{"seed", "total.rows"}, kProcSetNames, kObjSetNames}),
               joined({{"seed", "total.rows"}, kProcGetNames, kObjGetNames}));
}

TEST(RandomReaderProperties, use_the_operation_of_their_type) {
  ZRBProcRandomReader node;
  expectSetRow(node, {"seed", {"getLongArg"}});
  expectSetRow(node, {"total.rows", {"getLongLongArg"}});
  expectGetRow(node, {"seed", {"setLongResult"}});
  expectGetRow(node, {"total.rows", {"setLongLongResult"}});
}

TEST(RandomReaderProperties, are_read_back) {
  ZRBProcRandomReader node;
  PropertyCall("seed").with(12).set(node);
  EXPECT_EQ(PropertyCall("seed").get(node).longResult, 12);
  PropertyCall("seed").with(-1).set(node);
  EXPECT_EQ(PropertyCall("seed").get(node).longResult, 1);
  PropertyCall("total.rows").with(5000000000).set(node);
  EXPECT_EQ(PropertyCall("total.rows").get(node).longLongResult, 5000000000);
  EXPECT_EQ(PropertyCall("data.pass.count").get(node).longResult, 1);
}

}  // namespace
