// Rows on their way into the file: exact bytes, wrap-around, failures.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "support/BackingFileHarness.h"

namespace {

// Rows of 39 bytes: 8, 2, 5, 8, 16.
const std::vector<Column> kColumns = {{"d", ZRBBuf::column_double},
                                      {"f", ZRBBuf::column_factor},
                                      {"s", ZRBBuf::column_string, 5},
                                      {"t", ZRBBuf::column_timeDate},
                                      {"b", ZRBBuf::column_blob}};

// Row `row` of a stream that has every kind of cell, NA among them; as the file is to hold it.
std::string fileRow(long long row) {
  return (row % 7 == 0 ? highByteFirst(kDoubleNABits) : numberBytes(0.25 * static_cast<double>(row))) +
         levelBytes(row % 5 == 0 ? 0xFFFF : static_cast<unsigned>(row % 300)) +
         textBytes(row % 3 == 0 ? "\xEF\xBF\xBF" : std::to_string(row % 10000), 5) +
         numberBytes(row % 11 == 0 ? 0x7FFFFFFFFFFFFFFF : -1000 * row) +
         (row % 13 == 0 ? blobCellBytes(-1, -1) : blobCellBytes(row << 40, row));
}

// The same row into a writer's chunk.
void writeRow(ZRBBufWriter& writer, long chunkRow, long long row) {
  writer.setDouble(chunkRow, 0, row % 7 == 0 ? ZRBObj::getDoubleNA() : 0.25 * static_cast<double>(row));
  writer.setLevelNum(chunkRow, 1, row % 5 == 0 ? ZRBObj::getLevelNumNA() : static_cast<long>(row % 300));
  writer.setString(chunkRow, 2, row % 3 == 0 ? nullptr : std::to_string(row % 10000).c_str());
  writer.setTimeDate(chunkRow, 3, row % 11 == 0 ? ZRBObj::getTimeDateNA() : -1000 * row);
  if (row % 13 == 0) {
    writer.setBlobNA(chunkRow, 4);
  } else {
    writer.setBlobOffset(chunkRow, 4, row << 40);
    writer.setBlobLength(chunkRow, 4, row);
  }
}

}  // namespace

// ---- Bytes ----

TEST(BackingFileBufWriting, a_small_file_of_all_types_has_these_bytes) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  WrittenFile<> file(path, 10, kColumns);
  ZRBBufWriter& writer = file.writer;
  writer.setDouble(0, 0, 1.5);
  writer.setLevelNum(0, 1, 258);
  writer.setString(0, 2, "abc");
  writer.setTimeDate(0, 3, 1000);
  writer.setBlobOffset(0, 4, 0x1122334455667788);
  writer.setBlobLength(0, 4, 5);
  writer.setDouble(1, 0, ZRBObj::getDoubleNA());
  writer.setLevelNum(1, 1, ZRBObj::getLevelNumNA());
  writer.setString(1, 2, ZRBObj::getStringNA());
  writer.setTimeDate(1, 3, ZRBObj::getTimeDateNA());
  writer.setBlobNA(1, 4);
  writer.setDouble(2, 0, -0.0);
  writer.setLevelNum(2, 1, 0);
  writer.setString(2, 2, "abcdefgh");  // cut to four characters
  writer.setTimeDate(2, 3, -2);
  writer.setBlobOffset(2, 4, 0);
  writer.setBlobLength(2, 4, 0);
  writer.releaseRows(3);
  EXPECT_EQ(hexOf(bytesOfFile(path)), hexOf(bytesOfHex("3ff8000000000000 0102 6162630000 00000000000003e8"
                                                       "1122334455667788 0000000000000005"
                                                       "7ff000017ff00001 ffff efbfbf0000 7fffffffffffffff"
                                                       "ffffffffffffffff ffffffffffffffff"
                                                       "8000000000000000 0000 6162636400 fffffffffffffffe"
                                                       "0000000000000000 0000000000000000")));
  EXPECT_EQ(messagesOf(file.buf), Messages{});
  EXPECT_EQ(file.buf.getInputRowsReleased(), 3);
}

TEST(BackingFileBufWriting, cells_stand_in_the_order_of_the_columns_without_gaps) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  WrittenFile<> file(path, 10,
                     {{"s", ZRBBuf::column_string, 4}, {"t", ZRBBuf::column_timeDate}, {"f", ZRBBuf::column_factor}});
  file.writer.setString(0, 0, "xyz");
  file.writer.setTimeDate(0, 1, 0x0102030405060708);
  file.writer.setLevelNum(0, 2, 0x0A0B);
  file.writer.releaseRows(1);
  EXPECT_EQ(hexOf(bytesOfFile(path)), hexOf(bytesOfHex("78797a00 0102030405060708 0a0b")));
}

TEST(BackingFileBufWriting, a_file_without_rows_or_without_columns_is_empty) {
  const TemporaryDirectory directory;
  WrittenFile<> noRows(directory.file("no rows"), 10);
  noRows.writer.releaseRows(0);
  noRows.writer.setEOF();
  EXPECT_EQ(bytesOfFile(directory.file("no rows")), "");
  WrittenFile<> noColumns(directory.file("no columns"), 3, {});
  noColumns.writer.releaseRows(3);
  noColumns.writer.releaseRows(2);
  EXPECT_EQ(noColumns.buf.getInputRowsReleased(), 5);
  noColumns.writer.setEOF();
  EXPECT_EQ(bytesOfFile(directory.file("no columns")), "");
  EXPECT_EQ(messagesOf(noRows.buf), Messages{});
  EXPECT_EQ(messagesOf(noColumns.buf), Messages{});
}

TEST(BackingFileBufWriting, rows_are_in_the_file_as_soon_as_they_are_released_and_not_before) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  WrittenFile<> file(path, 10);
  file.writer.setDouble(0, 0, 0);
  file.writer.setDouble(1, 0, 1);
  EXPECT_EQ(bytesOfFile(path), "");
  file.writer.releaseRows(1);
  EXPECT_EQ(bytesOfFile(path), doubleRows(0, 1));
  file.writer.releaseRows(1);
  EXPECT_EQ(bytesOfFile(path), doubleRows(0, 2));
}

// ---- The ring ----

TEST(BackingFileBufWriting, rows_that_wrap_around_the_ring_are_in_the_file_in_stream_order) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  WrittenFile<> file(path, 4);
  file.releaseDoubles(3);
  file.releaseDoubles(4);  // ring rows 3, 0, 1, 2
  EXPECT_EQ(hexOf(bytesOfFile(path)), hexOf(doubleRows(0, 7)));
  file.releaseDoubles(1);  // ring row 3, the last: no wrap
  file.releaseDoubles(4);  // the whole ring from row 0
  EXPECT_EQ(hexOf(bytesOfFile(path)), hexOf(doubleRows(0, 12)));
}

TEST(BackingFileBufWriting, rings_and_chunks_of_any_size_give_the_same_file) {
  const TemporaryDirectory directory;
  constexpr long kRows = 300;
  std::string expected;
  for (long row = 0; row < kRows; ++row) expected += fileRow(row);
  for (const long capacity : {1L, 2L, 3L, 7L, 1000L}) {
    SCOPED_TRACE(capacity);
    const std::string path = directory.file("rows");
    WrittenFile<> file(path, capacity, kColumns);
    HarnessNode consumer;
    consumer.setNumRows(capacity);
    ZRBBufReader& reader = consumer.readFrom(file.buf);
    std::mt19937 random(static_cast<unsigned>(capacity));
    const auto upTo = [&](long limit) { return std::uniform_int_distribution<long>(0, limit)(random); };
    long written = 0;
    while (written < kRows) {
      const long rows = std::min(upTo(file.writer.getRowsReady()), kRows - written);
      for (long row = 0; row < rows; ++row) writeRow(file.writer, row, written + row);
      const std::string ring = file.buf.ring();
      file.writer.releaseRows(rows);
      ASSERT_TRUE(file.buf.ring() == ring) << "the ring is no longer as it was, in the host's byte order";
      written += rows;
      ASSERT_EQ(file.buf.getInputRowsReleased(), written);
      ASSERT_EQ(bytesOfFile(path).size(), static_cast<std::size_t>(39 * written));
      reader.releaseRows(upTo(reader.getRowsReady()));
    }
    file.writer.setEOF();
    EXPECT_TRUE(bytesOfFile(path) == expected);  // hexadecimal text of it would fill pages
    EXPECT_EQ(messagesOf(file.buf), Messages{});
    EXPECT_EQ(messagesOf(file.node), Messages{});
  }
}

TEST(BackingFileBufWriting, readers_of_a_buffer_that_is_written_read_the_ring_as_of_any_buffer) {
  const TemporaryDirectory directory;
  WrittenFile<> file(directory.file("rows"), 4);
  HarnessNode fast, slow;
  ZRBBufReader& fastReader = fast.readFrom(file.buf);
  ZRBBufReader& slowReader = slow.readFrom(file.buf);
  ASSERT_EQ(file.buf.init(), 0);
  file.releaseDoubles(3);
  for (ZRBBufReader* reader : {&fastReader, &slowReader}) {
    EXPECT_EQ(reader->isMultiPass(), 0);
    EXPECT_EQ(reader->isRandomAccess(), 0);
    EXPECT_EQ(reader->getTotalNumRows(), -1);
    EXPECT_EQ(reader->getEOF(), 0);
    EXPECT_EQ(reader->getRowsReady(), 3);
    for (long row = 0; row < 3; ++row) EXPECT_EQ(reader->getDouble(row, 0), row);
  }
  fastReader.setRequestRows(3);
  EXPECT_EQ(fastReader.isReady(), 1);
  fastReader.releaseRows(3);
  EXPECT_EQ(fastReader.isReady(), 0);
  EXPECT_EQ(file.writer.getRowsReady(), 1);
  slowReader.releaseRows(2);
  EXPECT_EQ(file.writer.getRowsReady(), 3);
  file.releaseDoubles(2);
  EXPECT_EQ(fastReader.getDouble(1, 0), 4);
  EXPECT_EQ(slowReader.getDouble(0, 0), 2);
  file.writer.setEOF();
  EXPECT_EQ(fastReader.getTotalNumRows(), 5);
  EXPECT_EQ(fastReader.getEOF(), 1);
  EXPECT_EQ(fastReader.getRowsReady(), 2);
  EXPECT_EQ(messagesOf(fast), Messages{});

  // The errors are those of any reader.
  slowReader.setChunkPosition(1);
  slowReader.releaseRows(-1);
  slowReader.releaseRows(4);
  slowReader.releaseAll();
  slowReader.releaseRows(-1);
  EXPECT_EQ(messagesOf(slow),
            (Messages{"ZRBBufReader::setChunkPosition attempted to set chunk position backwards to: 1",
                      "ZRBBufReader::releaseRows can't release negative rows: -1",
                      "ZRBBufReader::releaseRows can't release more rows than are ready: 4"}));
  EXPECT_EQ(messagesOf(file.buf), Messages{});
}

TEST(BackingFileBufWriting, a_reader_may_skip_rows_and_leave_while_the_buffer_is_written) {
  const TemporaryDirectory directory;
  WrittenFile<> file(directory.file("rows"), 4, kOneDouble, directory.file("blobs"));
  HarnessNode consumer;
  ZRBBufReader& reader = consumer.readFrom(file.buf);
  ASSERT_EQ(file.buf.init(), 0);
  file.releaseDoubles(3);
  reader.setChunkPosition(2);
  EXPECT_EQ(reader.getRowsReady(), 1);
  EXPECT_EQ(reader.getDouble(0, 0), 2);
  reader.releaseAll();
  EXPECT_EQ(reader.getRowsReady(), 0);
  EXPECT_EQ(reader.getChunkPosition(), 3) << "what the writer has released";
  EXPECT_TRUE(isOpenHandle(file.buf.getBackingFileHandle())) << "the writer still needs its files";
  EXPECT_TRUE(isOpenHandle(file.buf.getBlobFileHandle()));
  reader.setChunkPosition(3);
  file.releaseDoubles(1);
  EXPECT_EQ(reader.getRowsReady(), 0) << "no position brings it back";
  EXPECT_EQ(reader.getChunkPosition(), 4);
  EXPECT_EQ(messagesOf(consumer), Messages{});
  EXPECT_EQ(messagesOf(file.buf), Messages{});
}

// ---- Failures ----

TEST(BackingFileBufWriting, a_full_device_is_one_error_and_releases_nothing) {
  WrittenFile<> file("/dev/full", 4);
  ASSERT_EQ(messagesOf(file.buf), Messages{});
  file.writer.setDouble(0, 0, 1.5);
  const std::string ring = file.buf.ring();
  file.writer.releaseRows(3);
  EXPECT_EQ(messagesOf(file.buf), Messages{"output device full while writing to /dev/full"});
  EXPECT_EQ(messagesOf(file.node), Messages{});
  EXPECT_EQ(file.buf.getInputRowsReleased(), 0);
  EXPECT_EQ(hexOf(file.buf.ring()), hexOf(ring));
  EXPECT_EQ(file.writer.getRowsReady(), 4) << "the rows stay with the writer";
  EXPECT_EQ(file.writer.isReady(), 0);
}

TEST(BackingFileBufWriting, a_device_that_is_full_for_the_first_piece_is_not_tried_again_for_the_second) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  WrittenFile<> file(path, 4);
  file.releaseDoubles(3);
  replaceHandle(file.buf.getBackingFileHandle(), "/dev/full", O_WRONLY);
  file.writer.releaseRows(4);
  EXPECT_EQ(messagesOf(file.buf), Messages{"output device full while writing to " + path});
  EXPECT_EQ(file.buf.getInputRowsReleased(), 3);
  EXPECT_EQ(bytesOfFile(path), doubleRows(0, 3));
}

TEST(BackingFileBufWriting, a_short_write_is_reported_with_its_numbers_and_releases_nothing) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  const struct {
    long capacity, before, rows;  // rows released before the failure, and by it
    std::size_t limit;            // bytes that the file may have
    const char* detail;
  } cases[] = {
      {8, 0, 3, 20, "  pos=0, first chunk=3/3 rows, nwritten=20/24 bytes, errno=0"},
      {8, 2, 3, 23, "  pos=2, first chunk=3/3 rows, nwritten=7/24 bytes, errno=0"},
      {8, 2, 3, 16, "  pos=2, first chunk=3/3 rows, nwritten=-1/24 bytes, errno=27"},  // EFBIG
      {4, 3, 3, 36, "  pos=3, second chunk=2/3 rows, nwritten=4/16 bytes, errno=0"},
      {4, 3, 3, 32, "  pos=3, second chunk=2/3 rows, nwritten=-1/16 bytes, errno=27"},
      {4, 3, 3, 31, "  pos=3, first chunk=1/3 rows, nwritten=7/8 bytes, errno=0"},  // the second is not tried
      {4, 7, 4, 56, "  pos=7, first chunk=1/4 rows, nwritten=-1/8 bytes, errno=27"},
      {1, 5, 1, 41, "  pos=5, first chunk=1/1 rows, nwritten=1/8 bytes, errno=0"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.detail);
    WrittenFile<> file(path, c.capacity);
    for (long row = 0; row < c.before; ++row) file.releaseDoubles(1);
    for (long row = 0; row < c.rows; ++row) file.writer.setDouble(row, 0, static_cast<double>(c.before + row));
    const std::string ring = file.buf.ring();
    {
      const FileSizeLimit limit(c.limit);
      file.writer.releaseRows(c.rows);
    }
    EXPECT_EQ(messagesOf(file.buf), (Messages{"ZRBBackingFileBuf error writing to file " + path, c.detail}));
    EXPECT_STREQ(file.buf.getError(), c.detail);
    EXPECT_EQ(messagesOf(file.node), Messages{});
    EXPECT_EQ(file.buf.getInputRowsReleased(), c.before);
    EXPECT_EQ(hexOf(file.buf.ring()), hexOf(ring));
    EXPECT_EQ(file.writer.isReady(), 0);
    EXPECT_EQ(hexOf(bytesOfFile(path)), hexOf(doubleRows(0, c.before + c.rows).substr(0, c.limit)))
        << "what was written stays";
  }
}

TEST(BackingFileBufWriting, an_ordinary_path_is_whole_in_the_report) {
  const TemporaryDirectory directory;
  const std::string folder = directory.file(std::string(100, 'f'));
  std::filesystem::create_directory(folder);
  const std::string path = folder + "/" + std::string(200, 'n');
  WrittenFile<> file(path, 4);
  {
    const FileSizeLimit limit(4);
    file.releaseDoubles(1);
  }
  EXPECT_EQ(messagesOf(file.buf), (Messages{"ZRBBackingFileBuf error writing to file " + path,
                                            "  pos=0, first chunk=1/1 rows, nwritten=4/8 bytes, errno=0"}));
  replaceHandle(file.buf.getBackingFileHandle(), "/dev/full", O_WRONLY);
  file.buf.clearMessages();
  file.releaseDoubles(1);
  EXPECT_EQ(messagesOf(file.buf), Messages{"output device full while writing to " + path});
}

TEST(BackingFileBufWriting, a_closed_file_is_an_error_and_releases_nothing) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  for (const long rows : {0L, 2L}) {
    WrittenFile<> file(path, 4);
    file.releaseDoubles(3);
    file.buf.closeBackingFile();
    const std::string ring = file.buf.ring();
    file.writer.releaseRows(rows);
    EXPECT_EQ(messagesOf(file.buf), Messages{"ZRBBackingFileBuf::releaseInputRows: file closed!"});
    EXPECT_EQ(messagesOf(file.node), Messages{});
    EXPECT_EQ(file.buf.getInputRowsReleased(), 3);
    EXPECT_EQ(file.buf.ring(), ring);
    EXPECT_EQ(bytesOfFile(path), doubleRows(0, 3));
  }
}

TEST(BackingFileBufWriting, an_older_error_of_the_buffer_keeps_the_rows_with_the_writer) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  WrittenFile<> file(path, 4);
  file.releaseDoubles(3);
  file.buf.setError("older");
  file.releaseDoubles(2);
  EXPECT_EQ(messagesOf(file.buf), Messages{"older"});
  EXPECT_EQ(file.buf.getInputRowsReleased(), 3);
  EXPECT_EQ(hexOf(bytesOfFile(path)), hexOf(doubleRows(0, 4))) << "the first piece is written, the second is not";
  for (long row = 0; row < 2; ++row) EXPECT_EQ(file.buf.getRawDouble((3 + row) % 4, 0), 3 + row);
}

TEST(BackingFileBufWriting, a_text_cut_with_the_error_flag_set_keeps_its_row_with_the_writer) {
  const SavedSettings restored;
  ZRBObj::setErrorOnStringTruncation(1);
  const TemporaryDirectory directory;
  WrittenFile<> file(directory.file("rows"), 4, {{"s", ZRBBuf::column_string, 4}});
  file.writer.setString(0, 0, "four");
  file.writer.releaseRows(1);
  EXPECT_EQ(messagesOf(file.buf), Messages{"string truncated in column s"});
  EXPECT_EQ(file.buf.getInputRowsReleased(), 0);
}

TEST(BackingFileBufWriting, a_writer_that_releases_what_it_may_not_writes_nothing) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  WrittenFile<> file(path, 4);
  file.writer.releaseRows(-1);
  file.writer.releaseRows(5);
  EXPECT_EQ(messagesOf(file.node), (Messages{"ZRBBufWriter::releaseRows can't release negative rows: -1",
                                             "ZRBBufWriter::releaseRows can't release more rows than are ready: 5"}));
  EXPECT_EQ(messagesOf(file.buf), Messages{});
  EXPECT_EQ(bytesOfFile(path), "");
}

// ---- End of data ----

TEST(BackingFileBufWriting, the_end_of_data_closes_both_files) {
  const TemporaryDirectory directory;
  WrittenFile<> file(directory.file("rows"), 4, kOneDouble, directory.file("blobs"));
  file.releaseDoubles(3);
  EXPECT_EQ(file.buf.getTotalNumRows(), -1);
  EXPECT_EQ(file.buf.setEOF(0), 0);
  EXPECT_GE(file.buf.getBackingFileHandle(), 0) << "no end of data";
  EXPECT_GE(file.buf.getBlobFileHandle(), 0);
  const int rows = file.buf.getBackingFileHandle();
  const int blobs = file.buf.getBlobFileHandle();
  EXPECT_EQ(file.writer.setEOF(), 1);
  EXPECT_EQ(file.buf.getEOF(), 1);
  EXPECT_EQ(file.buf.getBackingFileHandle(), -1);
  EXPECT_EQ(file.buf.getBlobFileHandle(), -1);
  EXPECT_FALSE(isOpenHandle(rows));
  EXPECT_FALSE(isOpenHandle(blobs));
  EXPECT_EQ(file.buf.getTotalNumRows(), 3);
  EXPECT_EQ(messagesOf(file.buf), Messages{});

  file.writer.releaseRows(1);
  EXPECT_EQ(messagesOf(file.node), Messages{"ZRBBufWriter::releaseRows can't release rows after EOF is set: 1"});
  EXPECT_EQ(messagesOf(file.buf), Messages{});
  file.buf.releaseInputRows(1);
  EXPECT_EQ(messagesOf(file.buf), Messages{"ZRBBackingFileBuf::releaseInputRows: file closed!"});
}

TEST(BackingFileBufWriting, the_end_of_data_with_an_open_blob_closes_the_files_and_is_an_error) {
  const TemporaryDirectory directory;
  for (const bool throughWriter : {true, false}) {
    WrittenFile<> file(directory.file("rows"), 4, kOneBlob, directory.file("blobs"));
    ASSERT_EQ(file.writer.openBlobData(), 1);
    if (throughWriter)
      file.writer.setEOF();
    else
      file.buf.setEOF(7);
    EXPECT_EQ(messagesOf(file.buf), Messages{"ZRBBackingFileBuf::setEOF - can't setEOF while blob still open"});
    EXPECT_EQ(messagesOf(file.node), Messages{});
    EXPECT_EQ(file.buf.getEOF(), throughWriter ? 1 : 7);
    EXPECT_EQ(file.buf.getBackingFileHandle(), -1);
    EXPECT_EQ(file.buf.getBlobFileHandle(), -1);
    EXPECT_EQ(file.buf.blobState(), (BlobState{0, 0, 0})) << "the blob stays open";
  }
}

TEST(BackingFileBufWriting, a_buffer_that_is_read_only_counts_released_rows_and_keeps_its_files_at_end_of_data) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  writeFile(path, doubleRows(0, 3));
  writeFile(directory.file("blobs"), "");
  ReadFile<> file(path, 3, 4, kOneDouble, directory.file("blobs"));
  file.buf.releaseInputRows(2);
  EXPECT_EQ(file.buf.getInputRowsReleased(), 2);
  EXPECT_EQ(file.buf.setEOF(1), 1);
  EXPECT_EQ(file.buf.getEOF(), 1);
  EXPECT_GE(file.buf.getBackingFileHandle(), 0);
  EXPECT_GE(file.buf.getBlobFileHandle(), 0);
  file.buf.closeBackingFile();
  file.buf.releaseInputRows(1);
  EXPECT_EQ(file.buf.getInputRowsReleased(), 3);
  EXPECT_EQ(file.buf.getTotalNumRows(), 3) << "the rows of the file, whatever is released";
  file.buf.setBackingFileTotalRows(9);
  EXPECT_EQ(file.buf.getTotalNumRows(), 9);
  EXPECT_EQ(messagesOf(file.buf), Messages{});
  EXPECT_EQ(bytesOfFile(path), doubleRows(0, 3));
}

// ---- Derived buffers ----

TEST(BackingFileBufWriting, the_writer_calls_the_operations_of_a_derived_buffer) {
  struct HostBuf : ZRBBackingFileBuf {
    std::vector<std::string> calls;
    void releaseInputRows(long rows) override {
      calls.push_back("releaseInputRows " + std::to_string(rows));
      ZRBBackingFileBuf::releaseInputRows(rows);
    }
    int setEOF(int eof) override {
      calls.push_back("setEOF " + std::to_string(eof));
      return ZRBBackingFileBuf::setEOF(eof);
    }
  };
  const TemporaryDirectory directory;
  HostBuf buf;
  HarnessNode node;
  ZRBBufWriter& writer = node.writeTo(buf);
  setColumns(buf, kOneDouble);
  buf.setBackingFileName(directory.file("rows").c_str());
  ASSERT_EQ(buf.init(), 0);
  buf.calls.clear();
  writer.setDouble(0, 0, 7);
  writer.releaseRows(1);
  writer.setEOF();
  EXPECT_EQ(buf.calls, (std::vector<std::string>{"releaseInputRows 1", "setEOF 1"}));
  EXPECT_EQ(hexOf(bytesOfFile(directory.file("rows"))), hexOf(numberBytes(7.0)));
}
