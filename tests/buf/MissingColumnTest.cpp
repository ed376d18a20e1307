// A column that does not exist counts as a double at the start of the row, for all that readers and writers do with cells.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <string>

#include "support/Harness.h"

namespace {

constexpr long kMissing[] = {-1, 2, 1000, LONG_MAX, LONG_MIN};

// Two doubles a row; the cells of row 3 hold 11 and 12.
struct Doubles : FlowHarness<> {
  Doubles() : FlowHarness<>(10, {{"a", ZRBBuf::column_double}, {"b", ZRBBuf::column_double}}) {
    writer.setDouble(3, 0, 11);
    writer.setDouble(3, 1, 12);
  }
  double first() { return buf.getRawDouble(3, 0); }
};

}  // namespace

TEST(MissingColumn, is_read_as_the_double_at_the_start_of_the_row) {
  Doubles h;
  h.writer.releaseRows(10);
  for (const long column : kMissing) {
    SCOPED_TRACE(column);
    EXPECT_EQ(h.reader.getDouble(3, column), 11);
    EXPECT_EQ(h.reader.getLevelNum(3, column), 11);
    EXPECT_STREQ(h.reader.getString(3, column), "11");
    EXPECT_EQ(h.reader.getTimeDate(3, column), 11LL * 86400000);
    double values[2] = {};
    h.reader.getDoubleArray(3, column, 1, values);
    EXPECT_EQ(values[0], 11);
    EXPECT_EQ(values[1], 0);
  }
}

TEST(MissingColumn, is_written_as_the_double_at_the_start_of_the_row) {
  struct Case {
    const char* name;
    void (*write)(ZRBBufWriter& writer, long column);
    double expected;
  };
  const Case cases[] = {
      {"setDouble", [](ZRBBufWriter& w, long c) { w.setDouble(3, c, 21); }, 21},
      {"setLevelNum", [](ZRBBufWriter& w, long c) { w.setLevelNum(3, c, 22); }, 22},
      {"setString", [](ZRBBufWriter& w, long c) { w.setString(3, c, "23.5"); }, 23.5},
      {"setTimeDate", [](ZRBBufWriter& w, long c) { w.setTimeDate(3, c, 43200000); }, 0.5},
      {"setConvertDouble", [](ZRBBufWriter& w, long c) { w.setConvertDouble(3, c, 24); }, 24},
      {"setConvertString", [](ZRBBufWriter& w, long c) { w.setConvertString(3, c, "25"); }, 25},
      {"setDoubleArray",
       [](ZRBBufWriter& w, long c) {
         double value = 26;
         w.setDoubleArray(3, c, 1, &value);
       },
       26},
  };
  for (const Case& c : cases)
    for (const long column : kMissing) {
      Doubles h;
      c.write(h.writer, column);
      EXPECT_EQ(h.first(), c.expected) << c.name << ", column " << column;
      EXPECT_EQ(h.buf.getRawDouble(3, 1), 12) << c.name << ", column " << column;
    }
}

TEST(MissingColumn, has_no_blobs) {
  for (const long column : kMissing) {
    Doubles h;
    EXPECT_EQ(h.writer.openBlob(3, column), 0);
    EXPECT_EQ(messagesOf(h.producer), Messages{"ZRBBufWriter::openBlob - not blob column: " + std::to_string(column)});
    h.writer.releaseRows(10);
    EXPECT_EQ(h.reader.openBlob(3, column), 0);
    EXPECT_EQ(messagesOf(h.consumer),
              Messages{"ZRBBackingFileBufReader::openBlob - not blob column: " + std::to_string(column)});
    EXPECT_EQ(h.reader.isBlobNA(3, column), 1);
  }
}
