// Blocks of cells copied between buffers, against one cell at a time.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "buf/padded_text.h"
#include "support/BufSnapshot.h"
#include "support/Harness.h"
#include "support/SavedSettings.h"

namespace {

constexpr auto kDouble = ZRBBuf::column_double;
constexpr auto kFactor = ZRBBuf::column_factor;
constexpr auto kString = ZRBBuf::column_string;
constexpr auto kTimeDate = ZRBBuf::column_timeDate;

using Schema = std::vector<Column>;
using Flow = FlowHarness<>;

// What a block copy of a column of one type does, cell by cell, as the raw cells see it.
void copySingly(Flow& source, long sourceRow, long from, Flow& target, long targetRow, long to, long rows) {
  ZRBBuf& a = source.buf;
  ZRBBuf& b = target.buf;
  for (long i = 0; i < rows; ++i) {
    const long ringFrom = source.reader.getBufferRowNum(sourceRow + i);
    const long ringTo = target.writer.getBufferRowNum(targetRow + i);
    switch (a.getColumnType(from)) {
      case kFactor: {
        const long level = a.getRawLevelNum(ringFrom, from);
        b.setRawLevelNum(ringTo, to, level < 0 ? level : b.mapStringToLevelNum(to, a.getLevelName(from, level)));
        break;
      }
      case kString:
        b.setRawString(ringTo, to, a.getRawString(ringFrom, from));
        break;
      default:
        b.setRawTimeDate(ringTo, to, a.getRawTimeDate(ringFrom, from));
    }
  }
}

// The same source, and two targets: one to be filled by blocks, one cell by cell.
struct Copies {
  Flow source, block, single;

  Copies(const Schema& from, long sourceCapacity, const Schema& to, long targetCapacity)
      : source(sourceCapacity, from), block(targetCapacity, to), single(targetCapacity, to) {}

  void eachTarget(const std::function<void(ZRBBuf&)>& prepare) {
    prepare(block.buf);
    prepare(single.buf);
  }

  void copy(long sourceRow, long sourceColumn, long targetRow, long targetColumn, long rows, long columns) {
    block.writer.copyBufData(&source.reader, sourceRow, sourceColumn, targetRow, targetColumn, rows, columns);
    for (long i = 0; i < columns; ++i)
      copySingly(source, sourceRow, sourceColumn + i, single, targetRow, targetColumn + i, rows);
  }

  std::string difference() { return differenceOf(BufSnapshot(block.buf), BufSnapshot(single.buf)); }
};

// Fills the ring with texts, levels with NA, and numbers of any bytes.
void fill(Flow& flow, unsigned seed, long levels) {
  std::mt19937 random(seed);
  ZRBBuf& buf = flow.buf;
  for (long column = 0; column < buf.getNumColumns(); ++column) {
    for (long level = 0; level < levels && buf.columnTypeIsFactor(column); ++level)
      buf.addLevel(column, ("level" + std::to_string(level)).c_str());
    for (long row = 0; row < buf.getNumRows(); ++row) {
      switch (buf.getColumnType(column)) {
        case kFactor:
          buf.setRawLevelNum(row, column, random() % 8 == 0 ? -1 : static_cast<long>(random()) % levels);
          break;
        case kString:
          buf.setRawString(row, column, std::string(random() % 12, static_cast<char>('a' + random() % 26)).c_str());
          break;
        default:
          buf.setRawTimeDate(row, column, static_cast<long long>(random() * 4294967311u));
      }
    }
  }
  buf.initOverflowCounts();
}

}  // namespace

TEST(BlockCopy, neighbouring_columns_of_numbers_come_over_together) {
  for (int columns = 1; columns <= 40; ++columns) {
    SCOPED_TRACE(columns);
    Schema schema;
    for (int i = 0; i < columns; ++i) schema.push_back({"x", i % 7 == 3 ? kTimeDate : kDouble});
    Copies copies(schema, 50, schema, 61);
    fill(copies.source, 1, 1);
    for (const long rows : {11, 12, 30, 50}) {
      copies.source.writer.releaseRows(50);
      copies.copy(0, 0, 0, 0, rows, columns);
      ASSERT_EQ(copies.difference(), "");
      copies.source.reader.releaseRows(50);
      copies.block.pass(rows);
      copies.single.pass(rows);
    }
  }
}

TEST(BlockCopy, gaps_and_types_between_the_columns_divide_them) {
  const Schema sources[] = {
      {{"d", kDouble}, {"f", kFactor}, {"d", kDouble}, {"d", kDouble}, {"t", kTimeDate}, {"t", kTimeDate}},
      {{"d", kDouble}, {"f", kFactor}, {"d", kDouble}, {"d", kDouble}, {"t", kTimeDate}, {"t", kTimeDate}},
      {{"s", kString, 7}, {"d", kDouble}, {"d", kDouble}, {"s", kString, 9}, {"d", kDouble}, {"d", kDouble}},
  };
  const Schema targets[] = {
      {{"d", kDouble}, {"f", kFactor}, {"d", kDouble}, {"d", kDouble}, {"t", kTimeDate}, {"t", kTimeDate}},
      {{"d", kDouble}, {"f", kFactor}, {"d", kDouble}, {"d", kDouble}, {"t", kTimeDate}, {"t", kTimeDate}},
      {{"s", kString, 9}, {"d", kDouble}, {"d", kDouble}, {"s", kString, 7}, {"d", kDouble}, {"d", kDouble}},
  };
  for (std::size_t i = 0; i < std::size(sources); ++i) {
    SCOPED_TRACE(i);
    Copies copies(sources[i], 40, targets[i], 31);
    fill(copies.source, 2, 5);
    copies.source.writer.releaseRows(40);
    for (long column = 0; column < 6; ++column) {
      for (long columns = 1; column + columns <= 6; ++columns) {
        copies.copy(3, column, 5, column, 26, columns);
        ASSERT_EQ(copies.difference(), "") << columns << " columns from " << column;
      }
    }
  }
}

TEST(BlockCopy, columns_that_were_moved_apart_or_exchanged_are_found_in_their_places) {
  const Schema schema = {{"d", kDouble}, {"d", kDouble}, {"d", kDouble}, {"d", kDouble}};
  const auto exchange = [](ZRBBuf& buf) {
    const long offset = buf.getColumnOffsetBytes(1);
    buf.setColumnOffsetBytes(1, buf.getColumnOffsetBytes(2));
    buf.setColumnOffsetBytes(2, offset);
  };
  for (const bool inSource : {false, true}) {
    Copies copies(schema, 20, schema, 20);
    fill(copies.source, 10, 1);
    if (inSource)
      exchange(copies.source.buf);
    else
      copies.eachTarget(exchange);
    copies.source.writer.releaseRows(20);
    copies.copy(0, 0, 0, 0, 20, 4);
    EXPECT_EQ(copies.difference(), "") << "in the source: " << inSource;
  }
}

TEST(BlockCopy, rings_of_different_sizes_wrap_each_by_itself) {
  const Schema from = {{"f", kFactor}, {"d", kDouble}, {"d", kDouble}, {"s", kString, 16}, {"t", kTimeDate}};
  const Schema to = {{"f", kFactor}, {"d", kDouble}, {"d", kDouble}, {"s", kString, 16}, {"t", kTimeDate}};
  Copies copies(from, 50, to, 37);
  fill(copies.source, 3, 20);
  for (int chunk = 0; chunk < 30; ++chunk) {
    const long rows = 11 + chunk % 14;
    copies.source.writer.releaseRows(rows);
    copies.copy(0, 0, 0, 0, rows, 5);
    ASSERT_EQ(copies.difference(), "") << "chunk " << chunk;
    copies.source.reader.releaseRows(rows);
    copies.block.pass(rows);
    copies.single.pass(rows);
  }
}

TEST(BlockCopy, a_column_that_does_not_exist_is_a_double_at_the_start_of_the_row) {
  Copies copies({{"d", kDouble}, {"d", kDouble}}, 20, {{"d", kDouble}, {"d", kDouble}, {"d", kDouble}}, 20);
  fill(copies.source, 4, 1);
  copies.source.writer.releaseRows(20);
  copies.copy(0, 0, 0, 1, 20, 4);
  EXPECT_EQ(copies.difference(), "");
  copies.copy(0, -1, 0, 0, 20, 3);
  EXPECT_EQ(copies.difference(), "");
  copies.copy(0, 1, 0, -1, 20, 2);
  EXPECT_EQ(copies.difference(), "");
  EXPECT_EQ(copies.block.buf.getRawDouble(3, 0), copies.source.buf.getRawDouble(3, 0));  // from 2, which is not there
}

TEST(BlockCopy, a_column_that_does_not_exist_is_left_out_where_a_row_has_no_room_for_a_double) {
  Copies copies({{"f", kFactor}}, 20, {{"d", kDouble}}, 20);
  fill(copies.source, 4, 1);
  copies.source.writer.releaseRows(20);
  copies.block.buf.setRawDouble(2, 0, 7.5);
  copies.block.writer.copyBufData(&copies.source.reader, 0, 1, 0, 0, 20, 1);
  EXPECT_EQ(copies.block.buf.getRawDouble(2, 0), 7.5);
}

TEST(BlockCopy, a_buffer_that_copies_to_itself_does_so_column_by_column) {
  const Schema schema = {{"a", kDouble}, {"b", kDouble}, {"c", kDouble}, {"d", kDouble}, {"e", kDouble}};
  struct Own {
    Flow flow;
    explicit Own(const Schema& s) : flow(40, s) { fill(flow, 5, 1); }
  };
  for (const long shift : {0, 1, 2}) {
    for (const long targetRow : {0, 3, 20}) {
      SCOPED_TRACE(testing::Message() << shift << " columns, " << targetRow << " rows");
      Own block(schema), single(schema);
      for (Flow* flow : {&block.flow, &single.flow}) flow->writer.releaseRows(20);
      // The writer's rows follow the reader's 20: rows 20 and on overlap by the ring's wrap.
      block.flow.writer.copyBufData(&block.flow.reader, 0, 0, targetRow, shift, 20, 5 - shift);
      for (long i = 0; i + shift < 5; ++i) copySingly(single.flow, 0, i, single.flow, targetRow, i + shift, 20);
      ASSERT_EQ(differenceOf(BufSnapshot(block.flow.buf), BufSnapshot(single.flow.buf)), "");
    }
  }
}

TEST(BlockCopy, texts_of_any_width_are_padded_or_cut_and_counted_alike) {
  const SavedSettings saved;
  ZRBObj::setErrorOnStringTruncation(1);
  std::mt19937 random(6);
  for (const long sourceBytes : {4, 5, 7, 8, 9, 15, 16, 17, 24, 31, 32, 33, 47, 48, 49, 63, 64, 65, 100}) {
    for (const long targetBytes : {4, 6, 7, 8, 11, 15, 16, 17, 31, 32, 33, 48, 50, 63, 64, 65, 80}) {
      SCOPED_TRACE(testing::Message() << sourceBytes << " to " << targetBytes);
      Copies copies({{"s", kString, sourceBytes}}, 80, {{"s", kString, targetBytes}}, 80);
      for (long row = 0; row < 80; ++row) {
        const std::size_t length = random() % static_cast<unsigned>(sourceBytes);
        copies.source.buf.setRawString(row, 0, std::string(length, static_cast<char>('a' + row % 26)).c_str());
        if (row % 20 == 7) copies.source.buf.setRawString(row, 0, ZRBObj::getStringNA());
        char* cell = copies.source.buf.getDataPtr(row, 0, 0);
        if (row % 20 == 13) cell[sourceBytes - 1] = 'x';                                    // something behind the text
        if (row % 20 == 17) std::memset(cell, 'y', static_cast<std::size_t>(sourceBytes));  // no end in the cell
        if (row % 20 == 18 && length + 2 < static_cast<std::size_t>(sourceBytes)) cell[length + 1] = 'z';
      }
      copies.source.writer.releaseRows(80);
      copies.copy(0, 0, 0, 0, 80, 1);
      ASSERT_EQ(copies.difference(), "");
    }
  }
}

TEST(BlockCopy, a_padded_text_is_one_with_zeros_to_the_end) {
  for (long width = padded_text::kLeastBytes; width <= padded_text::kMostBytes; ++width) {
    std::string cell(static_cast<std::size_t>(width), 'x');
    const auto copies = [&] {
      std::string target(cell.size(), '?');
      bool copied = false;
      EXPECT_TRUE(padded_text::withCopy(width, [&](auto copy) { copied = copy(cell.data(), target.data(), width); }));
      EXPECT_EQ(target, copied ? cell : std::string(cell.size(), '?')) << width;
      return copied;
    };
    EXPECT_FALSE(copies()) << "no end, width " << width;
    for (std::size_t end = cell.size(); end-- > 0;) {
      cell[end] = '\0';
      EXPECT_TRUE(copies()) << "end at " << end << ", width " << width;
      for (std::size_t at = end + 1; at < cell.size(); ++at) {
        cell[at] = 'x';
        EXPECT_FALSE(copies()) << "end at " << end << ", more at " << at << ", width " << width;
        cell[at] = '\0';
      }
    }
  }
  bool used = false;
  EXPECT_FALSE(padded_text::withCopy(3, [&](auto) { used = true; }));
  EXPECT_FALSE(padded_text::withCopy(65, [&](auto) { used = true; }));
  EXPECT_FALSE(used);
}

TEST(BlockCopy, levels_follow_their_names_into_any_dictionary) {
  const SavedSettings saved;
  ZRBObj::setErrorOnLevelOverflow(1);
  const std::pair<const char*, std::function<void(ZRBBuf&)>> preparations[] = {
      {"new", [](ZRBBuf&) {}},
      {"in another order",
       [](ZRBBuf& buf) {
         for (long level = 39; level >= 0; --level) buf.addLevel(0, ("level" + std::to_string(level)).c_str());
       }},
      {"room for some", [](ZRBBuf& buf) { buf.setMaxAutoLevels(0, 7); }},
      {"no room", [](ZRBBuf& buf) { buf.setMaxAutoLevels(0, 0); }},
      {"room for some and an overflow level",
       [](ZRBBuf& buf) { buf.setMaxAutoLevels(0, 7), buf.setOverflowLevel(0, "other"); }},
      {"an overflow level that is a level",
       [](ZRBBuf& buf) { buf.setMaxAutoLevels(0, 3), buf.setOverflowLevel(0, "level5"); }},
      {"a name twice", [](ZRBBuf& buf) { buf.addLevel(0, "level3"), buf.addLevel(0, "level3"); }},
      {"beyond the code of NA",
       [](ZRBBuf& buf) {
         buf.setNumLevels(0, 65540);
         for (const long level : {65534, 65535, 65536, 65539})
           buf.setLevelName(0, level, ("level" + std::to_string(level - 65530)).c_str());
       }},
  };
  for (const auto& [name, prepare] : preparations) {
    SCOPED_TRACE(name);
    Copies copies({{"f", kFactor}}, 100, {{"f", kFactor}}, 100);
    fill(copies.source, 7, 40);
    copies.source.buf.setLevelName(0, 11, nullptr);
    copies.source.buf.setLevelName(0, 12, "");
    copies.source.buf.setLevelName(0, 13, ZRBObj::getStringNA());
    copies.source.buf.setLevelName(0, 14, "level15");
    copies.source.buf.setRawLevelNum(50, 0, 41);  // no such level
    copies.source.buf.setRawLevelNum(51, 0, 65534);
    copies.eachTarget(prepare);
    for (int chunk = 0; chunk < 4; ++chunk) {
      copies.source.writer.releaseRows(70);
      copies.copy(0, 0, 0, 0, 11, 1);
      copies.copy(11, 0, 11, 0, 59, 1);
      ASSERT_EQ(copies.difference(), "") << "chunk " << chunk;
      copies.source.reader.releaseRows(70);
      copies.block.pass(70);
      copies.single.pass(70);
    }
  }
}

TEST(BlockCopy, changed_dictionaries_are_noticed) {
  const std::pair<const char*, std::function<void(Copies&)>> changes[] = {
      {"a level of the source is renamed", [](Copies& c) { c.source.buf.setLevelName(0, 2, "level9"); }},
      {"a level of the source loses its name", [](Copies& c) { c.source.buf.setLevelName(0, 2, nullptr); }},
      {"the source starts anew",
       [](Copies& c) {
         c.source.buf.setNumLevels(0, 0);
         for (long level = 0; level < 10; ++level)
           c.source.buf.addLevel(0, ("level" + std::to_string(9 - level)).c_str());
       }},
      {"the source gets more levels",
       [](Copies& c) {
         c.source.buf.addLevel(0, "new");
         c.source.buf.setRawLevelNum(40, 0, 10);
       }},
      {"a level of the target is renamed",
       [](Copies& c) { c.eachTarget([](ZRBBuf& buf) { buf.setLevelName(0, 3, "renamed"); }); }},
      {"a lower level of the target gets a name",
       [](Copies& c) { c.eachTarget([](ZRBBuf& buf) { buf.setLevelName(0, 0, buf.getLevelName(0, 4)); }); }},
      {"the target loses levels", [](Copies& c) { c.eachTarget([](ZRBBuf& buf) { buf.setNumLevels(0, 2); }); }},
      {"the target's column is made anew",
       [](Copies& c) {
         c.eachTarget([](ZRBBuf& buf) { buf.setNumColumns(0), buf.setNumColumns(1), buf.setColumnType(0, kFactor); });
       }},
  };
  for (const auto& [name, change] : changes) {
    SCOPED_TRACE(name);
    Copies copies({{"f", kFactor}}, 100, {{"f", kFactor}}, 100);
    fill(copies.source, 8, 10);
    copies.eachTarget([](ZRBBuf& buf) { buf.setNumLevels(0, 1); });
    copies.source.writer.releaseRows(100);
    copies.copy(0, 0, 0, 0, 100, 1);
    ASSERT_EQ(copies.difference(), "");
    change(copies);
    copies.copy(20, 0, 0, 0, 80, 1);
    ASSERT_EQ(copies.difference(), "");
  }
}

TEST(BlockCopy, sources_that_take_turns_are_not_mixed_up) {
  Copies first({{"f", kFactor}}, 100, {{"f", kFactor}}, 100);
  Flow second(100, {{"f", kFactor}});
  fill(first.source, 9, 30);
  for (long level = 2000; level > 0; --level) second.buf.addLevel(0, ("level" + std::to_string(level)).c_str());
  for (long row = 0; row < 100; ++row) second.buf.setRawLevelNum(row, 0, 1999 - row * 7);
  first.source.writer.releaseRows(100);
  second.writer.releaseRows(100);
  for (int turn = 0; turn < 12; ++turn) {
    first.copy(0, 0, 0, 0, 15, 1);
    for (int again = 0; again <= turn % 3; ++again) {
      first.block.writer.copyBufData(&second.reader, 20, 0, 15, 0, 15, 1);
      copySingly(second, 20, 0, first.single, 15, 0, 15);
    }
    ASSERT_EQ(first.difference(), "") << "turn " << turn;
    first.block.pass(30);
    first.single.pass(30);
  }
}
