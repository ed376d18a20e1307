// Counting through the library's own ends against counting through a host's: the same records and the same bits.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "ZRBMemoryBuf.h"
#include "ZRBMemoryBufReader.h"
#include "ZRBPipeline.h"
#include "ZRBProcCount.h"

namespace {

// A buffer whose reader is a host's own class: every cell is read by its virtual operations.
class HostReader : public ZRBMemoryBufReader {
public:
  using ZRBMemoryBufReader::ZRBMemoryBufReader;
};
class HostBuf : public ZRBMemoryBuf {
public:
  ZRBBufReader* newBufReader(ZRBProc* proc) override { return new HostReader(this, proc); }
};

// Writes random cells of every type, NA among them, in chunks of changing size.
class RandomCells : public ZRBProc {
public:
  RandomCells(unsigned seed, long totalRows, int numLevels)
      : m_generator(seed), m_left(totalRows), m_levels(static_cast<unsigned long>(numLevels)) {}

  int init() override {
    ZRBProc::init();
    return 0;
  }

  long execute() override {
    long rows = executeRequestRows();
    if (rows < 0) return rows;
    rows = std::min({rows, m_left, 1 + static_cast<long>(m_generator() % 40)});
    for (long row = 0; row < rows; ++row) writeRow(row);
    m_left -= rows;
    executeReleaseRows(rows);
    if (m_left == 0) {
      setDone(1);
      getOutputBufWriter(0)->setEOF();
    }
    return rows;
  }

private:
  void writeRow(long row) {
    ZRBBufWriter& writer = *getOutputBufWriter(0);
    ZRBBuf& buf = *writer.getBuf();
    for (long column = 0; column < buf.getNumColumns(); ++column) {
      if (m_generator() % 10 == 0) {
        writer.setRectNA(row, column, 1, 1);
        continue;
      }
      const double x = static_cast<double>(m_generator() % 100000) / 7.0 - 5000.0;
      switch (buf.getColumnType(column)) {
        case ZRBBuf::column_double:
          writer.setDouble(row, column, x);
          break;
        case ZRBBuf::column_factor:
          writer.setLevelNum(row, column, static_cast<long>(m_generator() % m_levels));
          break;
        case ZRBBuf::column_string:
          writer.setString(row, column, std::string(m_generator() % 12, 's').c_str());
          break;
        case ZRBBuf::column_timeDate:
          writer.setTimeDate(row, column, static_cast<long long>(x * 1e9));
          break;
        case ZRBBuf::column_blob:
          writer.setBlobOffset(row, column, 0);
          writer.setBlobLength(row, column, static_cast<long long>(m_generator() % 500));
          break;
      }
    }
  }

  std::mt19937_64 m_generator;
  long m_left;
  unsigned long m_levels;
};

struct Setting {
  std::vector<int> types;
  std::vector<int> cross;
  long capacity;
  long chunkRows;
  int numLevels;
  int unnamedLevels = 0;  // that cells hold beyond the dictionary
};

void run(ZRBBuf& buf, ZRBProcCount& count, const Setting& setting) {
  buf.setNumRows(setting.capacity);
  buf.setNumColumns(static_cast<long>(setting.types.size()));
  for (std::size_t c = 0; c < setting.types.size(); ++c) {
    const long column = static_cast<long>(c);
    buf.setColumnType(column, static_cast<ZRBBuf::column_type>(setting.types[c]));
    for (int level = 0; level < setting.numLevels; ++level) buf.addLevel(column, std::to_string(level).c_str());
  }
  RandomCells source(7, 3000, setting.numLevels + setting.unnamedLevels);
  source.setNumRows(setting.chunkRows);
  source.setOutputBuf(0, &buf);
  count.setInputBuf(0, &buf);
  count.setCrossSize(static_cast<int>(setting.cross.size()));
  for (std::size_t p = 0; p < setting.cross.size(); ++p) count.setCrossColumn(static_cast<int>(p), setting.cross[p]);
  ZRBPipeline pipeline;
  pipeline.addBuf(&buf);
  pipeline.addProc(&source);
  pipeline.addProc(&count);
  pipeline.init();
  pipeline.execute(0);
  ASSERT_TRUE(count.isDone()) << (count.getError() ? count.getError() : "");
}

bool sameBytes(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

void expectSameResults(ZRBProcCount& actual, ZRBProcCount& expected, int numColumns) {
  for (int column = 0; column < numColumns; ++column) {
    const ZRBProcCountColumnInfo& a = *actual.getColumnInfo(column);
    const ZRBProcCountColumnInfo& e = *expected.getColumnInfo(column);
    EXPECT_TRUE(sameBytes(a.min, e.min) && sameBytes(a.max, e.max) && sameBytes(a.mean, e.mean) &&
                sameBytes(a.m2, e.m2))
        << "column " << column;
    EXPECT_EQ(a.count_na, e.count_na);
    EXPECT_EQ(a.count_ok, e.count_ok);
    EXPECT_EQ(a.level_list, e.level_list);
  }
  ASSERT_EQ(actual.getNumCountBlocks(), expected.getNumCountBlocks());
  for (int i = 0; i < actual.getNumCountBlocks(); ++i) {
    const ZRBProcCountCountInfo& a = *actual.getCountInfo(i);
    const ZRBProcCountCountInfo& e = *expected.getCountInfo(i);
    ASSERT_TRUE(sameBytes(a.value, e.value) && a.count == e.count && a.next == e.next && a.sub_list == e.sub_list)
        << "record " << i;
  }
}

constexpr int kDouble = 0, kFactor = 1, kString = 2, kTimeDate = 3, kBlob = 4;

}  // namespace

TEST(CountAbreast, the_librarys_own_ends_give_the_results_of_a_hosts) {
  const std::vector<Setting> settings = {
      {{kDouble, kDouble, kDouble, kDouble}, {}, 100, 30, 1},  // packed: counted where they are
      {{kDouble, kDouble, kDouble, kDouble, kDouble, kDouble, kDouble, kDouble}, {}, 1000, 1000, 1},
      {{kDouble, kDouble, kDouble}, {}, 7, 3, 1},
      {{kFactor}, {0}, 50, 20, 5},
      {{kFactor, kDouble, kFactor, kString, kTimeDate, kBlob, kFactor}, {2, 0, 6}, 64, 31, 6},
      {{kFactor, kDouble, kFactor}, {2, 0}, 1000, 400, 300},
      {{kFactor, kFactor}, {1, 1, 0, 1}, 3, 2, 4},  // a column more than once
      {{kString, kTimeDate, kBlob}, {}, 1, 1, 1},
      {std::vector<int>(37, kDouble), {}, 90, 45, 1},
      {{kDouble}, {}, 70, 35, 1},
      // Neighbouring doubles among others, also where one group of columns ends and the next begins.
      {{kFactor, kDouble, kDouble, kDouble, kDouble, kDouble, kString, kDouble, kDouble, kDouble, kDouble, kTimeDate},
       {0},
       200,
       150,
       9},
      {{kFactor, kDouble, kDouble, kDouble, kDouble, kFactor, kFactor, kDouble, kDouble, kDouble,
        kBlob,   kDouble, kDouble, kDouble, kDouble, kDouble, kDouble, kDouble, kDouble, kFactor},
       {19, 5},
       200,
       150,
       9},
  };
  for (const Setting& setting : settings) {
    SCOPED_TRACE(testing::Message() << setting.types.size() << " columns, ring of " << setting.capacity);
    ZRBMemoryBuf ownBuf;
    HostBuf hostBuf;
    ZRBProcCount own, host;
    run(ownBuf, own, setting);
    run(hostBuf, host, setting);
    expectSameResults(own, host, static_cast<int>(setting.types.size()));
    // A second run of the same nodes, whose cross list starts from the old root.
    run(ownBuf, own, setting);
    run(hostBuf, host, setting);
    expectSameResults(own, host, static_cast<int>(setting.types.size()));
  }
}

TEST(CountAbreast, levels_that_the_dictionary_does_not_name_are_counted_too) {
  const Setting setting = {{kFactor, kFactor}, {0, 1}, 100, 50, 3, 400};
  ZRBMemoryBuf ownBuf;
  HostBuf hostBuf;
  ZRBProcCount own, host;
  run(ownBuf, own, setting);
  run(hostBuf, host, setting);
  EXPECT_EQ(own.getColumnNumLevels(0), 404);  // and NA
  expectSameResults(own, host, 2);
}
