// Files and settings that no writer of this library made: nothing is read or written outside its memory, which the
// sanitizers watch, and what comes out of it is as harmless as can be.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "ZRBProcCount.h"
#include "support/BackingFileHarness.h"

namespace {

constexpr long long kMostRows = std::numeric_limits<long long>::max();
constexpr long long kFewestRows = std::numeric_limits<long long>::min();

// A memory buffer with its writer.
struct Target {
  ZRBMemoryBuf buf;
  HarnessNode node;
  ZRBBufWriter& writer;

  Target(long capacity, const std::vector<Column>& columns) : writer(node.writeTo(buf)) {
    buf.setNumRows(capacity);
    setColumns(buf, columns);
    buf.init();
  }
};

}  // namespace

// ---- Cells ----

TEST(BackingFileBufHostile, a_text_without_end_runs_on_at_most_to_the_end_of_the_ring) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  const std::vector<Column> columns = {{"s", ZRBBuf::column_string, 4}};
  writeFile(path, "abcdefghijkl");
  ReadFile<> file(path, 3, 3, columns);
  file.reader.setRequestRows(3);
  EXPECT_STREQ(file.reader.getString(0, 0), "abcdefghijkl");
  EXPECT_STREQ(file.reader.getString(2, 0), "ijkl");
  EXPECT_EQ(file.reader.getDouble(2, 0), 0.0);
  EXPECT_EQ(file.reader.getLevelNum(2, 0), 0);
  double values[3];
  file.reader.getDoubleArray(0, 0, 3, values);

  // A copy ends in its own cell, and counts the text as cut.
  Target target(3, columns);
  target.writer.copyBufData(&file.reader, 0, 0, 0, 0, 3, 1);
  target.writer.releaseRows(3);
  for (long row = 0; row < 3; ++row) EXPECT_EQ(std::strlen(target.buf.getRawString(row, 0)), 3u);
  EXPECT_EQ(target.buf.getOverflowCount(0), 3);
  EXPECT_EQ(target.buf.getOverflowStringBytes(0), 13);
}

TEST(BackingFileBufHostile, texts_without_end_are_copied_in_a_block_like_others) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  const std::vector<Column> columns = {{"s", ZRBBuf::column_string, 4}};
  writeFile(path, std::string(48, 'x'));
  ReadFile<> file(path, 12, 12, columns);
  file.reader.setRequestRows(12);
  Target target(12, columns);
  target.writer.copyBufData(&file.reader, 0, 0, 0, 0, 12, 1);
  for (long row = 0; row < 12; ++row) EXPECT_STREQ(target.buf.getRawString(row, 0), "xxx");
  EXPECT_EQ(target.buf.getOverflowCount(0), 12);
}

TEST(BackingFileBufHostile, level_numbers_without_a_level_have_no_name_and_65535_is_NA) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  const std::vector<Column> columns = {{"f", ZRBBuf::column_factor}};
  writeFile(path, levelBytes(65534) + levelBytes(65535) + levelBytes(1) + levelBytes(0) + levelBytes(2));
  ReadFile<> file(path, 5, 8, columns);
  file.buf.addLevel(0, "a");
  file.buf.addLevel(0, "b");
  file.reader.setRequestRows(5);
  const struct {
    long level;
    const char* text;
    double number;
  } cells[] = {{65534, "<null>", 65534}, {-1, "<NA>", 0}, {1, "b", 1}, {0, "a", 0}, {2, "<null>", 2}};
  for (long row = 0; row < 5; ++row) {
    SCOPED_TRACE(row);
    EXPECT_EQ(file.reader.getLevelNum(row, 0), cells[row].level);
    EXPECT_EQ(copyOf(file.reader.getString(row, 0)), cells[row].text);
    if (cells[row].level >= 0)
      EXPECT_EQ(file.reader.getDouble(row, 0), cells[row].number);
    else
      EXPECT_TRUE(ZRBObj::isDoubleNA(file.reader.getDouble(row, 0)));
  }
  // Copied by name: a level without one becomes NA.
  Target target(8, columns);
  target.writer.copyBufData(&file.reader, 0, 0, 0, 0, 5, 1);
  const long copied[] = {-1, -1, 0, 1, -1};
  for (long row = 0; row < 5; ++row) EXPECT_EQ(target.buf.getRawLevelNum(row, 0), copied[row]);
  EXPECT_EQ(target.buf.getNumLevels(0), 2);
}

TEST(BackingFileBufHostile, level_numbers_without_a_level_are_counted) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  writeFile(path, levelBytes(65534) + levelBytes(65535) + levelBytes(65534));
  ZRBBackingFileBuf buf;
  ZRBProcCount count;
  setColumns(buf, {{"f", ZRBBuf::column_factor}});
  buf.setBackingFileName(path.c_str());
  buf.setBackingFileTotalRows(3);
  count.setInputBuf(0, &buf);
  ASSERT_EQ(buf.init() + count.init(), 0);
  while (!count.isDone() && count.isReady()) count.execute();
  EXPECT_EQ(count.isDone(), 1);
  EXPECT_EQ(count.getColumnNumLevels(0), 2);
  EXPECT_STREQ(count.getColumnLevelName(0, 0), "NA");
  EXPECT_EQ(copyOf(count.getColumnLevelName(0, 1)), "<null>");
  EXPECT_EQ(count.getColumnLevelInt(0, 1), 65534);
  EXPECT_EQ(count.getColumnLevelCount(0, 1), 2);
}

TEST(BackingFileBufHostile, any_bytes_are_some_cells) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  for (const int byte : {0x00, 0x7F, 0x80, 0xFF}) {
    SCOPED_TRACE(byte);
    writeFile(path, std::string(5 * 50, static_cast<char>(byte)));
    ReadFile<> file(path, 5, 5, oneColumnOfEachType());
    file.buf.addLevel(1, "a");
    file.reader.setRequestRows(5);
    for (long row = 0; row < 5; ++row) {
      for (long column = 0; column < 5; ++column) {
        file.reader.getDouble(row, column);
        file.reader.getLevelNum(row, column);
        copyOf(file.reader.getString(row, column));
        file.reader.getTimeDate(row, column);
        file.reader.getBlobLength(row, column);
        file.reader.isBlobNA(row, column);
      }
    }
    EXPECT_EQ(messagesOf(file.buf), Messages{});
  }
}

TEST(BackingFileBufHostile, a_blob_cell_that_points_nowhere_opens_nothing) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  const std::string blobs = directory.file("blobs");
  writeFile(blobs, blobRecord(0, "hello"));
  const struct {
    long long offset, length;
    std::vector<std::string> errors;  // any of them
  } cases[] = {
      {1, 5, {"ZRBBackingFileBuf::openReadBlobData - incorrect header data: 1"}},
      {29, 5, {"ZRBBackingFileBuf::openReadBlobData - error on reading header: 29"}},
      {1LL << 62,
       5,
       {"ZRBBackingFileBuf::openReadBlobData - error on seek: 4.61169e+18",  // or where files may be that large
        "ZRBBackingFileBuf::openReadBlobData - error on reading header: 4.61169e+18"}},
      {kMostRows,
       5,
       {"ZRBBackingFileBuf::openReadBlobData - error on seek: 9.22337e+18",
        "ZRBBackingFileBuf::openReadBlobData - error on reading header: 9.22337e+18"}},
      {-1, 5, {"ZRBBackingFileBuf::openReadBlobData - bad blob offset: -1"}},
      {kFewestRows, 5, {"ZRBBackingFileBuf::openReadBlobData - bad blob offset: -9.22337e+18"}},
      {0, -1, {"ZRBBackingFileBuf::openReadBlobData - bad blob length: -1"}},
      {0, kFewestRows, {"ZRBBackingFileBuf::openReadBlobData - bad blob length: -9.22337e+18"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.offset << ", " << c.length);
    writeFile(path, blobCellBytes(c.offset, c.length));
    ReadFile<> file(path, 1, 1, kOneBlob, blobs);
    file.reader.setRequestRows(1);
    EXPECT_EQ(file.reader.openBlob(0, 0), 0);
    ASSERT_EQ(messagesOf(file.buf).size(), 1u);
    const std::string error = messagesOf(file.buf)[0];
    EXPECT_TRUE(error == c.errors.front() || error == c.errors.back()) << error;
    EXPECT_EQ(file.buf.blobState(), kNoBlob);
  }
}

TEST(BackingFileBufHostile, a_blob_longer_than_its_file_ends_with_the_file_and_cannot_be_closed) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  const std::string blobs = directory.file("blobs");
  writeFile(blobs, blobRecord(0, "hello"));
  writeFile(path, blobCellBytes(0, kMostRows));
  ReadFile<> file(path, 1, 1, kOneBlob, blobs);
  file.reader.setRequestRows(1);
  ASSERT_EQ(file.reader.openBlob(0, 0), 1);
  char bytes[100];
  EXPECT_EQ(file.reader.readBlobData(bytes, 100), 17) << "the data and the end of the record";
  EXPECT_EQ(file.reader.getBlobOffsetInData(), 17);
  EXPECT_EQ(file.reader.readBlobData(bytes, 100), 0);
  EXPECT_EQ(file.reader.closeBlob(), 0);
  EXPECT_EQ(messagesOf(file.buf), Messages{"ZRBBackingFileBuf::closeReadBlobData - error on reading trailer: 0"});
}

// ---- Totals and sizes ----

TEST(BackingFileBufHostile, absurd_totals_read_what_is_there_or_report_a_short_read) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  writeFile(path, doubleRows(0, 3));
  for (const long long total : {1LL << 62, kMostRows, -1LL, -(1LL << 62), kFewestRows}) {
    SCOPED_TRACE(total);
    ReadFile<> file(path, total, 3);
    file.reader.setRequestRows(2);
    EXPECT_EQ(file.reader.getRowsReady(), total > 0 ? 3 : 0);
    EXPECT_EQ(file.reader.getEOF(), total > 0 ? 0 : 1);
    EXPECT_EQ(messagesOf(file.buf), Messages{});
    file.reader.setChunkPosition(1);
    file.reader.setChunkPosition(2);
    if (total > 0) {
      EXPECT_EQ(messagesOf(file.buf), (Messages{"ZRBBackingFileBuf error reading file " + path,
                                                "  pos=3, first chunk=2/2 rows, nread=0/16 bytes, errno=0"}));
    } else {
      EXPECT_EQ(messagesOf(file.buf), Messages{});
    }
    EXPECT_EQ(messagesOf(file.node), Messages{});
  }
}

TEST(BackingFileBufHostile, positions_at_the_end_of_all_numbers_are_just_far_away) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  writeFile(path, doubleRows(0, 3));
  for (const long long total : {3LL, 1LL << 62, kMostRows, kFewestRows}) {
    for (const long long position : {(1LL << 62) - 1, 1LL << 62, kMostRows - 1, kMostRows}) {
      SCOPED_TRACE(testing::Message() << position << " of " << total);
      ReadFile<> file(path, total, 3);
      file.reader.setRequestRows(2);
      file.node.clearMessages();
      file.buf.clearMessages();
      file.reader.setChunkPosition(position);
      EXPECT_EQ(file.reader.getChunkPosition(), position);
      const long left = total > position ? static_cast<long>(std::min(total - position, 3LL)) : 0;
      EXPECT_EQ(file.reader.getRowsReady(), left);
      EXPECT_EQ(file.reader.getEOF(), position + left >= total);
      // The file has no such rows: the seek or the read fails, whichever the file system refuses.
      EXPECT_EQ(file.node.hasError() + file.buf.hasError(), left > 0 ? 1 : 0);
      file.buf.setBackingFileTotalRows(kFewestRows);
      file.node.clearMessages();
      file.reader.setChunkPosition(0);
      EXPECT_EQ(file.reader.getEOF(), 1) << "with the lowest total of all";
      EXPECT_EQ(messagesOf(file.node), Messages{});
    }
  }
}

TEST(BackingFileBufHostile, rows_without_columns_are_as_many_as_the_total_says) {
  const TemporaryDirectory directory;
  writeFile(directory.file("rows"), "");
  ReadFile<> file(directory.file("rows"), kMostRows, 4, {});
  file.reader.setRequestRows(4);
  EXPECT_EQ(file.reader.getRowsReady(), 4);
  file.reader.setChunkPosition(kMostRows - 2);
  EXPECT_EQ(file.reader.getRowsReady(), 2);
  EXPECT_EQ(file.reader.getEOF(), 1);
  file.reader.releaseRows(2);
  EXPECT_EQ(file.reader.getRowsReady(), 0);
  EXPECT_EQ(file.reader.getEOF(), 1);
  EXPECT_EQ(messagesOf(file.buf), Messages{});
  EXPECT_EQ(messagesOf(file.node), Messages{});
}

TEST(BackingFileBufHostile, a_ring_larger_than_the_file_holds_the_file) {
  const TemporaryDirectory directory;
  writeFile(directory.file("rows"), doubleRows(0, 3));
  ReadFile<> file(directory.file("rows"), 3, 100000);
  file.reader.setRequestRows(100000);
  EXPECT_EQ(file.reader.getRowsReady(), 3);
  EXPECT_EQ(file.reader.getEOF(), 1);
  EXPECT_EQ(file.reader.getDouble(2, 0), 2);
  file.reader.setChunkPosition(1);
  file.reader.setChunkPosition(0);
  EXPECT_EQ(file.reader.getRowsReady(), 3);
  EXPECT_EQ(messagesOf(file.buf), Messages{});
}

TEST(BackingFileBufHostile, a_ring_that_could_not_be_allocated_is_not_read_into) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  writeFile(path, doubleRows(0, 1000));
  const struct {
    long capacity;
    const char* allocation;
    const char* detail;
  } cases[] = {
      {268435456, "can't allocate buf larger than 2GB (1 columns, 268435456 rows)",
       "  pos=0, first chunk=1000/1000 rows, nread=-1/8000 bytes, errno=14"},  // EFAULT
      {1L << 61, "can't allocate buf larger than 2GB (1 columns, 2305843009213693952 rows)",
       "  pos=0, first chunk=1000/1000 rows, nread=-1/8000 bytes, errno=14"},
  };
  for (const auto& c : cases) {
    for (const bool smallRingFirst : {true, false}) {
      SCOPED_TRACE(testing::Message() << c.capacity << (smallRingFirst ? " after a small ring" : ""));
      ReadFile<> file(path, 1000, smallRingFirst ? 2 : c.capacity);
      file.buf.setNumRows(c.capacity);
      file.node.setNumRows(c.capacity);
      EXPECT_EQ(file.buf.init(), 1);
      file.reader.setRequestRows(1);
      EXPECT_EQ(messagesOf(file.buf),
                (Messages{c.allocation, "ZRBBackingFileBuf error reading file " + path, c.detail}));
      EXPECT_EQ(file.reader.isReady(), 0);
      EXPECT_EQ(messagesOf(file.node), Messages{});
    }
  }
}

TEST(BackingFileBufHostile, a_ring_that_could_not_be_allocated_is_not_written) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  WrittenFile<> file(path, 268435456);
  EXPECT_EQ(messagesOf(file.buf), Messages{"can't allocate buf larger than 2GB (1 columns, 268435456 rows)"});
  file.buf.clearMessages();
  file.writer.releaseRows(2);
  EXPECT_EQ(messagesOf(file.buf), (Messages{"ZRBBackingFileBuf error writing to file " + path,
                                            "  pos=0, first chunk=2/2 rows, nwritten=-1/16 bytes, errno=14"}));
  EXPECT_EQ(file.buf.getInputRowsReleased(), 0);
}

TEST(BackingFileBufHostile, a_ring_of_no_rows_takes_no_request) {
  const TemporaryDirectory directory;
  writeFile(directory.file("rows"), doubleRows(0, 3));
  ReadFile<> file(directory.file("rows"), 3, 0);
  file.node.setNumRows(10);
  file.reader.setRequestRows(1);
  EXPECT_EQ(messagesOf(file.node),
            Messages{"ZRBBufReader::setRequestRows asked for more rows than ZRBBuf::getNumRows(): 1"});
  file.reader.setChunkPosition(2);
  EXPECT_EQ(file.reader.getRowsReady(), 0);
  EXPECT_EQ(file.reader.getEOF(), 0);
}
