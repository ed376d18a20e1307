// A count node behind a buffer that the test fills, and comparisons with the model of it.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "ZRBMemoryBuf.h"
#include "ZRBProcCount.h"
#include "support/CountModel.h"
#include "support/Harness.h"

// The same bits, all NaNs being one: which NaN an operation gives is not prescribed.
inline bool sameDouble(double a, double b) { return (std::isnan(a) && std::isnan(b)) || bitsOf(a) == bitsOf(b); }

constexpr double kNA = std::numeric_limits<double>::quiet_NaN();  // stands for NA in tables of values

// values[column][row]; NaN is NA, a factor's values are level numbers.
using Values = std::vector<std::vector<double>>;

struct CountFlow {
  ZRBMemoryBuf buf;
  HarnessNode source;
  ZRBProcCount node;
  ZRBBufWriter& writer;

  // Columns of the types double and factor.
  explicit CountFlow(const std::vector<ZRBBuf::column_type>& types, long ringRows = 3000)
      : writer(source.writeTo(buf)) {
    buf.setNumRows(ringRows);
    buf.setNumColumns(static_cast<long>(types.size()));
    for (std::size_t i = 0; i < types.size(); ++i) buf.setColumnType(static_cast<long>(i), types[i]);
    node.setInputBuf(0, &buf);
    init();
  }

  int init() {
    buf.init();
    return node.init();
  }

  // Hands rows over without running the node.
  void release(const Values& values) {
    const long rows = values.empty() ? 0 : static_cast<long>(values[0].size());
    for (std::size_t i = 0; i < values.size(); ++i) {
      const long column = static_cast<long>(i);
      for (long row = 0; row < rows; ++row) {
        const double x = values[i][static_cast<std::size_t>(row)];
        if (buf.columnTypeIsFactor(column)) {
          writer.setLevelNum(row, column, std::isnan(x) ? ZRBObj::getLevelNumNA() : static_cast<long>(x));
        } else {
          writer.setDouble(row, column, std::isnan(x) ? ZRBObj::getDoubleNA() : x);
        }
      }
    }
    writer.releaseRows(rows);
  }
  // One chunk.
  void count(const Values& values) {
    release(values);
    node.execute();
  }
  std::vector<bool> factors() {
    std::vector<bool> result;
    for (long column = 0; column < buf.getNumColumns(); ++column) result.push_back(buf.columnTypeIsFactor(column) != 0);
    return result;
  }
};

// Rows first..first+rows-1 of a table.
inline Values rowsOf(const Values& table, std::size_t first, std::size_t rows) {
  Values part;
  for (const std::vector<double>& column : table) {
    const auto begin = column.begin() + static_cast<std::ptrdiff_t>(first);
    part.emplace_back(begin, begin + static_cast<std::ptrdiff_t>(rows));
  }
  return part;
}

// Every count record: value, count and links.
inline void expectSameRecords(ZRBProcCount& node, ModelRecords& model) {
  ASSERT_EQ(node.getNumCountBlocks(), static_cast<long>(model.records.size()));
  for (int i = 0; model.holds(i); ++i) {
    const ZRBProcCountCountInfo* record = node.getCountInfo(i);
    ASSERT_NE(record, nullptr) << i;
    const ModelRecord& expected = model.at(i);
    ASSERT_TRUE(sameDouble(record->value, expected.value)) << i << ": " << record->value << ", " << expected.value;
    ASSERT_EQ(record->count, expected.count) << i;
    ASSERT_EQ(record->next, expected.next) << i;
    ASSERT_EQ(record->sub_list, expected.subList) << i;
  }
  EXPECT_EQ(node.getCountInfo(static_cast<int>(model.records.size())), nullptr);
}

inline void expectSameColumn(ZRBProcCount& node, int column, ModelColumn& expected) {
  EXPECT_TRUE(sameDouble(node.getMin(column), expected.min)) << node.getMin(column) << ", " << expected.min;
  EXPECT_TRUE(sameDouble(node.getMax(column), expected.max)) << node.getMax(column) << ", " << expected.max;
  EXPECT_TRUE(sameDouble(node.getMean(column), expected.mean)) << node.getMean(column) << ", " << expected.mean;
  EXPECT_TRUE(sameDouble(node.getStdDev(column), expected.stdDev()))
      << node.getStdDev(column) << ", " << expected.stdDev();
  EXPECT_EQ(node.getCountNA(column), expected.countNA);
  EXPECT_EQ(node.getCountOK(column), expected.countOK);
  const ZRBProcCountColumnInfo* info = node.getColumnInfo(column);
  ASSERT_NE(info, nullptr);
  EXPECT_TRUE(sameDouble(info->m2, expected.m2)) << info->m2 << ", " << expected.m2;
  EXPECT_EQ(info->level_list, expected.levelList);
}
