// What columns a buffer has, and how they lie in a row.
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "ZRBMemoryBuf.h"
#include "support/Harness.h"

namespace {

// No column of a buffer with three.
const long kMissingColumns[] = {-1, 3, 4, LONG_MIN, LONG_MAX};

void makeThreeColumns(ZRBBuf& buf) {
  setColumns(buf, {{"x", ZRBBuf::column_double}, {"y", ZRBBuf::column_factor}, {"z", ZRBBuf::column_string, 10}});
}

}  // namespace

TEST(BufSchema, a_new_buffer_has_no_columns_and_room_for_3000_rows) {
  ZRBMemoryBuf buf;
  EXPECT_EQ(buf.getNumRows(), 3000);
  EXPECT_EQ(buf.getNumColumns(), 0);
  EXPECT_EQ(buf.calcBytesPerRow(), 0);
  EXPECT_EQ(buf.getBytesPerRow(), 0);
  EXPECT_EQ(buf.getDefaultMaxAutoLevels(), 500);
  EXPECT_EQ(buf.getInputRowsReleased(), 0);
  EXPECT_EQ(buf.getEOF(), 0);
  EXPECT_EQ(buf.getNumReaders(), 0);
  EXPECT_EQ(buf.getNumWriters(), 0);
  EXPECT_EQ(buf.getNumMessages(), 0);
}

TEST(BufSchema, the_column_types_have_fixed_numbers) {
  EXPECT_EQ(static_cast<int>(ZRBBuf::column_double), 0);
  EXPECT_EQ(static_cast<int>(ZRBBuf::column_factor), 1);
  EXPECT_EQ(static_cast<int>(ZRBBuf::column_string), 2);
  EXPECT_EQ(static_cast<int>(ZRBBuf::column_timeDate), 3);
  EXPECT_EQ(static_cast<int>(ZRBBuf::column_blob), 4);
  EXPECT_EQ(sizeof(ZRBBuf::column_type), 4u);
}

TEST(BufSchema, a_new_column_is_a_nameless_double_column_with_default_settings) {
  ZRBMemoryBuf buf;
  buf.setNumColumns(1);
  ASSERT_NE(buf.getColumnInfo(0), nullptr);
  EXPECT_EQ(buf.getColumnName(0), nullptr);
  EXPECT_EQ(buf.getColumnType(0), ZRBBuf::column_double);
  EXPECT_EQ(buf.getMaxAutoLevels(0), -1);
  EXPECT_EQ(buf.getOverflowLevel(0), nullptr);
  EXPECT_EQ(buf.getColumnOffsetBytes(0), 0);
  EXPECT_EQ(buf.getColumnStringBytes(0), 16);
  EXPECT_EQ(buf.getOverflowStringBytes(0), 0);
  EXPECT_EQ(buf.getOverflowCount(0), 0);
  EXPECT_EQ(buf.getColumnBlobClassName(0), nullptr);
  EXPECT_EQ(buf.getNumLevels(0), 0);
}

TEST(BufSchema, each_type_has_its_cell_width) {
  const struct {
    ZRBBuf::column_type type;
    long stringBytes, width;
  } cases[] = {
      {ZRBBuf::column_double, 16, 8},  {ZRBBuf::column_double, 40, 8},     // string bytes only matter to strings
      {ZRBBuf::column_factor, 16, 2},  {ZRBBuf::column_factor, 40, 2},     //
      {ZRBBuf::column_string, 16, 16}, {ZRBBuf::column_string, 40, 40},    //
      {ZRBBuf::column_string, 5, 5},   {ZRBBuf::column_timeDate, 16, 8},   //
      {ZRBBuf::column_blob, 16, 16},   {ZRBBuf::column_blob, 1000, 16},    //
      {ZRBBuf::column_string, 4, 4},   {ZRBBuf::column_timeDate, 999, 8},  //
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "type " << c.type << ", string bytes " << c.stringBytes);
    ZRBMemoryBuf buf;
    setColumns(buf, {{"c", c.type, c.stringBytes}});
    EXPECT_EQ(buf.getColumnWidthBytes(0), c.width);
    EXPECT_EQ(buf.calcBytesPerRow(), c.width);
  }
}

TEST(BufSchema, a_type_outside_the_enumeration_becomes_double) {
  for (const int type : {7, 5, -1, INT_MAX, INT_MIN}) {
    SCOPED_TRACE(type);
    ZRBMemoryBuf buf;
    setColumns(buf, {{"c", ZRBBuf::column_blob}});
    buf.setColumnType(0, static_cast<ZRBBuf::column_type>(type));
    EXPECT_EQ(buf.getColumnType(0), ZRBBuf::column_double);
    EXPECT_EQ(buf.columnTypeIsDouble(0), 1);
    EXPECT_EQ(buf.getColumnWidthBytes(0), 8);
  }
}

TEST(BufSchema, each_type_question_is_answered_with_1_by_one_type_only) {
  for (const int type : {0, 1, 2, 3, 4}) {
    SCOPED_TRACE(type);
    ZRBMemoryBuf buf;
    setColumns(buf, {{"c", static_cast<ZRBBuf::column_type>(type)}});
    EXPECT_EQ(buf.getColumnType(0), type);
    EXPECT_EQ(buf.columnTypeIsDouble(0), type == 0);
    EXPECT_EQ(buf.columnTypeIsFactor(0), type == 1);
    EXPECT_EQ(buf.columnTypeIsString(0), type == 2);
    EXPECT_EQ(buf.columnTypeIsTimeDate(0), type == 3);
    EXPECT_EQ(buf.columnTypeIsBlob(0), type == 4);
  }
}

TEST(BufSchema, a_change_of_type_keeps_the_other_settings_of_the_column) {
  ZRBMemoryBuf buf;
  setColumns(buf, {{"c", ZRBBuf::column_factor, 40}});
  buf.addLevel(0, "a");
  buf.setOverflowLevel(0, "other");
  buf.setColumnType(0, ZRBBuf::column_string);
  EXPECT_STREQ(buf.getColumnName(0), "c");
  EXPECT_EQ(buf.getColumnStringBytes(0), 40);
  EXPECT_STREQ(buf.getLevelName(0, 0), "a");
  EXPECT_STREQ(buf.getOverflowLevel(0), "other");
}

TEST(BufSchema, growing_keeps_the_columns_that_are_there) {
  ZRBMemoryBuf buf;
  setColumns(buf, {{"first", ZRBBuf::column_factor}, {"second", ZRBBuf::column_string, 33}});
  buf.addLevel(0, "a");
  buf.setMaxAutoLevels(0, 7);
  buf.setOverflowCount(1, 12);
  ZRBBuf::ColumnInfo* const first = buf.getColumnInfo(0);
  ZRBBuf::ColumnInfo* const second = buf.getColumnInfo(1);

  buf.setNumColumns(4);

  EXPECT_EQ(buf.getNumColumns(), 4);
  EXPECT_EQ(buf.getColumnInfo(0), first);
  EXPECT_EQ(buf.getColumnInfo(1), second);
  EXPECT_STREQ(buf.getColumnName(0), "first");
  EXPECT_EQ(buf.getColumnType(0), ZRBBuf::column_factor);
  EXPECT_STREQ(buf.getLevelName(0, 0), "a");
  EXPECT_EQ(buf.getMaxAutoLevels(0), 7);
  EXPECT_STREQ(buf.getColumnName(1), "second");
  EXPECT_EQ(buf.getColumnType(1), ZRBBuf::column_string);
  EXPECT_EQ(buf.getColumnStringBytes(1), 33);
  EXPECT_EQ(buf.getOverflowCount(1), 12);
  for (const long column : {2, 3}) {
    SCOPED_TRACE(column);
    EXPECT_EQ(buf.getColumnName(column), nullptr);
    EXPECT_EQ(buf.getColumnType(column), ZRBBuf::column_double);
    EXPECT_EQ(buf.getColumnStringBytes(column), 16);
    EXPECT_EQ(buf.getMaxAutoLevels(column), -1);
    EXPECT_EQ(buf.getNumLevels(column), 0);
  }
}

TEST(BufSchema, an_unchanged_number_of_columns_keeps_all_of_them) {
  ZRBMemoryBuf buf;
  makeThreeColumns(buf);
  buf.setNumColumns(3);
  EXPECT_EQ(buf.getNumColumns(), 3);
  EXPECT_STREQ(buf.getColumnName(0), "x");
  EXPECT_STREQ(buf.getColumnName(2), "z");
}

TEST(BufSchema, shrinking_forgets_the_columns_beyond_the_new_end) {
  ZRBMemoryBuf buf;
  makeThreeColumns(buf);
  buf.addLevel(1, "a");
  buf.setOverflowLevel(2, "other");
  buf.setColumnBlobClassName(2, "picture");
  buf.addLevel(2, "b");

  buf.setNumColumns(2);
  EXPECT_EQ(buf.getNumColumns(), 2);
  EXPECT_EQ(buf.getColumnInfo(2), nullptr);
  EXPECT_STREQ(buf.getColumnName(0), "x");
  EXPECT_STREQ(buf.getColumnName(1), "y");
  EXPECT_STREQ(buf.getLevelName(1, 0), "a");

  buf.setNumColumns(3);
  EXPECT_EQ(buf.getColumnName(2), nullptr);
  EXPECT_EQ(buf.getColumnType(2), ZRBBuf::column_double);
  EXPECT_EQ(buf.getColumnStringBytes(2), 16);
  EXPECT_EQ(buf.getOverflowLevel(2), nullptr);
  EXPECT_EQ(buf.getColumnBlobClassName(2), nullptr);
  EXPECT_EQ(buf.getNumLevels(2), 0);
}

TEST(BufSchema, a_negative_number_of_columns_means_none) {
  ZRBMemoryBuf buf;
  makeThreeColumns(buf);
  buf.setNumColumns(-5);
  EXPECT_EQ(buf.getNumColumns(), 0);
  EXPECT_EQ(buf.calcBytesPerRow(), 0);
  EXPECT_EQ(buf.getColumnInfo(0), nullptr);
  EXPECT_EQ(buf.getNumMessages(), 0);
}

TEST(BufSchema, a_missing_column_answers_with_nothing_and_counts_as_double) {
  ZRBMemoryBuf buf;
  makeThreeColumns(buf);
  for (const long column : kMissingColumns) {
    SCOPED_TRACE(column);
    EXPECT_EQ(buf.getColumnInfo(column), nullptr);
    EXPECT_EQ(buf.getColumnName(column), nullptr);
    EXPECT_EQ(buf.getColumnType(column), ZRBBuf::column_double);
    EXPECT_EQ(buf.columnTypeIsDouble(column), 1);
    EXPECT_EQ(buf.columnTypeIsFactor(column), 0);
    EXPECT_EQ(buf.columnTypeIsString(column), 0);
    EXPECT_EQ(buf.columnTypeIsTimeDate(column), 0);
    EXPECT_EQ(buf.columnTypeIsBlob(column), 0);
    EXPECT_EQ(buf.getColumnStringBytes(column), 0);
    EXPECT_EQ(buf.getColumnBlobClassName(column), nullptr);
    EXPECT_EQ(buf.getColumnWidthBytes(column), 0);
    EXPECT_EQ(buf.getColumnOffsetBytes(column), 0);
  }
  EXPECT_EQ(buf.getNumMessages(), 0);
}

TEST(BufSchema, setting_a_missing_column_changes_and_reports_nothing) {
  ZRBMemoryBuf buf;
  makeThreeColumns(buf);
  for (const long column : kMissingColumns) {
    buf.setColumnName(column, "no");
    buf.setColumnType(column, ZRBBuf::column_blob);
    buf.setColumnStringBytes(column, 99);
    buf.setColumnBlobClassName(column, "no");
    buf.setColumnOffsetBytes(column, 99);
  }
  EXPECT_EQ(buf.getNumColumns(), 3);
  EXPECT_EQ(buf.calcBytesPerRow(), 8 + 2 + 10);
  const char* const names[] = {"x", "y", "z"};
  for (const long column : {0, 1, 2}) {
    EXPECT_STREQ(buf.getColumnName(column), names[column]);
    EXPECT_EQ(buf.getColumnBlobClassName(column), nullptr);
    EXPECT_EQ(buf.getColumnOffsetBytes(column), 0);
  }
  EXPECT_EQ(buf.getNumMessages(), 0);
}

TEST(BufSchema, column_names_are_copied_and_may_be_null) {
  ZRBMemoryBuf buf;
  buf.setNumColumns(1);
  char name[] = "weight";
  buf.setColumnName(0, name);
  name[0] = '!';
  EXPECT_STREQ(buf.getColumnName(0), "weight");
  EXPECT_EQ(buf.getColumnName(0), buf.getColumnName(0));  // the stored text, not a fresh copy
  buf.setColumnName(0, "");
  EXPECT_STREQ(buf.getColumnName(0), "");
  buf.setColumnName(0, nullptr);
  EXPECT_EQ(buf.getColumnName(0), nullptr);
}

TEST(BufSchema, texts_of_a_column_may_be_set_to_themselves) {
  ZRBMemoryBuf buf;
  buf.setNumColumns(1);
  buf.setColumnName(0, "weight");
  buf.setColumnName(0, buf.getColumnName(0));
  EXPECT_STREQ(buf.getColumnName(0), "weight");
  buf.setColumnBlobClassName(0, "picture");
  buf.setColumnBlobClassName(0, buf.getColumnBlobClassName(0));
  EXPECT_STREQ(buf.getColumnBlobClassName(0), "picture");
  buf.setOverflowLevel(0, "other");
  buf.setOverflowLevel(0, buf.getOverflowLevel(0));
  EXPECT_STREQ(buf.getOverflowLevel(0), "other");
}

TEST(BufSchema, blob_class_names_are_copied_and_may_be_null) {
  ZRBMemoryBuf buf;
  setColumns(buf, {{"b", ZRBBuf::column_blob}});
  char name[] = "picture";
  buf.setColumnBlobClassName(0, name);
  name[0] = '!';
  EXPECT_STREQ(buf.getColumnBlobClassName(0), "picture");
  buf.setColumnBlobClassName(0, nullptr);
  EXPECT_EQ(buf.getColumnBlobClassName(0), nullptr);
}

TEST(BufSchema, a_column_is_found_by_its_exact_name_lowest_first) {
  ZRBMemoryBuf buf;
  buf.setNumColumns(6);
  const char* const names[] = {nullptr, "age", "", "sex", "age", "Sex"};
  for (long column = 0; column < 6; ++column) buf.setColumnName(column, names[column]);
  const struct {
    const char* name;
    long column;
  } cases[] = {
      {"age", 1},                               // the lower one of two
      {"sex", 3}, {"Sex", 5},                   // case matters
      {"", 2},                                  // an empty name is a name
      {"ag", -1}, {"age ", -1}, {nullptr, -1},  // null finds no nameless column
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(copyOf(c.name));
    EXPECT_EQ(buf.getColumnIndex(c.name), c.column);
  }
  buf.setColumnName(1, "height");
  EXPECT_EQ(buf.getColumnIndex("age"), 4);
  buf.setNumColumns(4);
  EXPECT_EQ(buf.getColumnIndex("age"), -1);
}

TEST(BufSchema, a_buffer_without_columns_finds_none) {
  ZRBMemoryBuf buf;
  EXPECT_EQ(buf.getColumnIndex("x"), -1);
  EXPECT_EQ(buf.getColumnIndex(nullptr), -1);
}

TEST(BufSchema, a_string_cell_is_at_least_4_bytes_wide) {
  const struct { long bytes, stored; } cases[] = {{0, 4}, {-7, 4}, {LONG_MIN, 4}, {3, 4}, {4, 4}, {5, 5}, {1000, 1000}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.bytes);
    ZRBMemoryBuf buf;
    setColumns(buf, {{"s", ZRBBuf::column_string}});
    buf.setColumnStringBytes(0, c.bytes);
    EXPECT_EQ(buf.getColumnStringBytes(0), c.stored);
    EXPECT_EQ(buf.getColumnWidthBytes(0), c.stored);
    EXPECT_EQ(buf.getNumMessages(), 0);
  }
}

TEST(BufSchema, columns_are_packed_without_alignment_or_padding) {
  const struct {
    std::vector<Column> columns;
    std::vector<long> offsets;
    long bytesPerRow;
  } cases[] = {
      {{{"d", ZRBBuf::column_double},
        {"f", ZRBBuf::column_factor},
        {"s", ZRBBuf::column_string, 10},
        {"t", ZRBBuf::column_timeDate},
        {"b", ZRBBuf::column_blob}},
       {0, 8, 10, 20, 28},
       44},
      // a string of odd width puts everything behind it on odd addresses
      {{{"s", ZRBBuf::column_string, 5},
        {"d", ZRBBuf::column_double},
        {"f", ZRBBuf::column_factor},
        {"b", ZRBBuf::column_blob},
        {"t", ZRBBuf::column_timeDate}},
       {0, 5, 13, 15, 31},
       39},
      {{{"f", ZRBBuf::column_factor}}, {0}, 2},
      {{}, {}, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.bytesPerRow);
    ZRBMemoryBuf buf;
    buf.setNumRows(3);
    setColumns(buf, c.columns);
    EXPECT_EQ(buf.calcBytesPerRow(), c.bytesPerRow);
    EXPECT_EQ(buf.getBytesPerRow(), 0);  // not laid out yet
    buf.initData();
    EXPECT_EQ(buf.getBytesPerRow(), c.bytesPerRow);
    for (std::size_t i = 0; i < c.offsets.size(); ++i)
      EXPECT_EQ(buf.getColumnOffsetBytes(static_cast<long>(i)), c.offsets[i]) << "column " << i;
  }
}

TEST(BufSchema, bytes_per_row_change_with_the_layout_and_not_with_the_schema) {
  ZRBMemoryBuf buf;
  buf.setNumRows(3);
  makeThreeColumns(buf);
  buf.initData();
  buf.setNumColumns(1);
  EXPECT_EQ(buf.calcBytesPerRow(), 8);
  EXPECT_EQ(buf.getBytesPerRow(), 20);
  buf.initData();
  EXPECT_EQ(buf.getBytesPerRow(), 8);
}

TEST(BufSchema, an_offset_that_was_set_holds_until_the_next_layout) {
  ZRBMemoryBuf buf;
  buf.setNumRows(3);
  makeThreeColumns(buf);
  buf.setColumnOffsetBytes(1, 77);
  EXPECT_EQ(buf.getColumnOffsetBytes(1), 77);
  buf.initData();
  EXPECT_EQ(buf.getColumnOffsetBytes(1), 8);
}

TEST(BufSchema, the_capacity_is_stored_as_given) {
  ZRBMemoryBuf buf;
  for (const long rows : {1L, 0L, -1L, 3000L, LONG_MAX}) {
    buf.setNumRows(rows);
    EXPECT_EQ(buf.getNumRows(), rows);
  }
  EXPECT_EQ(buf.getNumMessages(), 0);
}
