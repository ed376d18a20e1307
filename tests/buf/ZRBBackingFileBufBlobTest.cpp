// Blobs in their file: the records to the byte, and every check of every operation in its order.
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "support/BackingFileHarness.h"

namespace {

const std::string kOf5 = "hello";
const std::string kOf0;
const std::string kOf7("\x00\x01\x02\xFD\xFE\xFF\x00", 7);
// Three records, one after the other: at 0, 29 and 53, 84 bytes in all.
const std::string kThreeBlobs = blobRecord(0, kOf5) + blobRecord(29, kOf0) + blobRecord(53, kOf7);

struct Files {
  TemporaryDirectory directory;
  std::string rows = directory.file("rows");
  std::string blobs = directory.file("blobs");
};

struct WrittenBlobs : Files, WrittenFile<> {
  WrittenBlobs() : WrittenFile<>(rows, 10, {{"b", ZRBBuf::column_blob}, {"d", ZRBBuf::column_double}}, blobs) {}
};

// Read from a blob file of the bytes given.
struct ReadBlobs : Files, ReadFile<> {
  explicit ReadBlobs(const std::string& bytes = kThreeBlobs)
      : ReadFile<>(
            (writeFile(rows, blobCellBytes(0, 5) + blobCellBytes(29, 0) + blobCellBytes(53, 7) + blobCellBytes(-1, -1)),
             writeFile(blobs, bytes), rows),
            4, 4, kOneBlob, blobs) {
    reader.setRequestRows(4);
  }
};

// Everything that is left of the open blob, `step` bytes at a time.
std::string readRest(ZRBBufReader& reader, long step = 100) {
  std::string data;
  std::string block(static_cast<std::size_t>(step), '\0');
  for (long count; (count = reader.readBlobData(block.data(), step)) > 0;)
    data.append(block, 0, static_cast<std::size_t>(count));
  return data;
}

constexpr const char* kText = "ZRBBackingFileBuf::";
std::string message(const std::string& text) { return kText + text; }

char g_bytes[100];  // somewhere to read into

}  // namespace

// ---- The records ----

TEST(BackingFileBufBlob, blobs_of_5_0_and_7_bytes_are_84_bytes_with_records_at_0_29_and_53) {
  WrittenBlobs file;
  const struct {
    const std::string& data;
    long long offset;
  } blobs[] = {{kOf5, 0}, {kOf0, 29}, {kOf7, 53}};
  long row = 0;
  for (const auto& blob : blobs) {
    EXPECT_EQ(file.writer.getBlobFileOffset(), blob.offset);
    EXPECT_EQ(file.buf.blobState(), (BlobState{blob.offset, -1, -1}));
    EXPECT_EQ(file.writer.isBlobOpen(), 0);
    ASSERT_EQ(file.writer.openBlob(row, 0), 1);
    EXPECT_EQ(file.writer.isBlobOpen(), 1);
    EXPECT_EQ(file.buf.blobState(), (BlobState{blob.offset, 0, 0}));
    const long bytes = static_cast<long>(blob.data.size());
    EXPECT_EQ(file.writer.writeBlobData(blob.data.data(), bytes), bytes);
    EXPECT_EQ(file.buf.blobState(), (BlobState{blob.offset, 0, bytes}));
    ASSERT_EQ(file.writer.closeBlob(), 1);
    EXPECT_EQ(file.buf.getRawBlobOffset(row, 0), blob.offset);
    EXPECT_EQ(file.buf.getRawBlobLength(row, 0), bytes);
    ++row;
  }
  EXPECT_EQ(file.buf.blobState(), (BlobState{84, -1, -1}));
  EXPECT_EQ(hexOf(bytesOfFile(file.blobs)), hexOf(bytesOfHex("424c4200 0000000000000000 68656c6c6f"
                                                             "0000000000000005 454c4200"
                                                             "424c4200 000000000000001d"
                                                             "0000000000000000 454c4200"
                                                             "424c4200 0000000000000035 000102fdfeff00"
                                                             "0000000000000007 454c4200")));
  EXPECT_EQ(kThreeBlobs.size(), 84u);
  EXPECT_EQ(bytesOfFile(file.blobs), kThreeBlobs);
  EXPECT_EQ(messagesOf(file.buf), Messages{});
  EXPECT_EQ(messagesOf(file.node), Messages{});
}

TEST(BackingFileBufBlob, a_blob_is_written_in_pieces_of_any_size) {
  WrittenBlobs file;
  ASSERT_EQ(file.writer.openBlob(0, 0), 1);
  for (const std::string piece : {"h", "", "el", "lo"})
    EXPECT_EQ(file.writer.writeBlobData(piece.data(), static_cast<long>(piece.size())),
              static_cast<long>(piece.size()));
  EXPECT_EQ(file.buf.getBlobOffsetInData(), 5);
  EXPECT_EQ(file.writer.closeBlob(), 1);
  EXPECT_EQ(bytesOfFile(file.blobs), blobRecord(0, kOf5));
}

TEST(BackingFileBufBlob, blobs_are_read_back_in_any_order_and_as_often_as_wanted) {
  ReadBlobs file;
  const struct {
    long row;
    const std::string& data;
  } blobs[] = {{0, kOf5}, {1, kOf0}, {2, kOf7}, {2, kOf7}, {0, kOf5}};
  for (const long step : {1L, 2L, 5L, 100L}) {
    for (const auto& blob : blobs) {
      ASSERT_EQ(file.reader.openBlob(blob.row, 0), 1);
      EXPECT_EQ(file.reader.isBlobOpen(), 1);
      EXPECT_EQ(file.reader.getBlobOffsetInData(), 0);
      EXPECT_EQ(readRest(file.reader, step), blob.data);
      EXPECT_EQ(file.reader.getBlobOffsetInData(), static_cast<long long>(blob.data.size()));
      EXPECT_EQ(file.reader.closeBlob(), 1);
      EXPECT_EQ(file.reader.isBlobOpen(), 0);
      EXPECT_EQ(file.buf.blobState(), kNoBlob);
    }
  }
  EXPECT_EQ(messagesOf(file.buf), Messages{});
}

TEST(BackingFileBufBlob, a_read_gives_no_more_than_is_left_and_then_nothing) {
  ReadBlobs file;
  ASSERT_EQ(file.reader.openBlob(0, 0), 1);
  char bytes[8] = {'#', '#', '#', '#', '#', '#', '#', '#'};
  EXPECT_EQ(file.reader.readBlobData(bytes, 3), 3);
  EXPECT_EQ(std::string(bytes, 8), "hel#####");
  EXPECT_EQ(file.reader.readBlobData(bytes, 0), 0);
  EXPECT_EQ(file.reader.readBlobData(bytes, 8), 2);
  EXPECT_EQ(std::string(bytes, 8), "lol#####") << "nothing of the record's end";
  EXPECT_EQ(file.reader.readBlobData(bytes, 8), 0);
  EXPECT_EQ(file.buf.blobState(), (BlobState{0, 5, 5}));
  EXPECT_EQ(messagesOf(file.buf), Messages{});
}

TEST(BackingFileBufBlob, a_NA_cell_has_no_blob_to_open) {
  ReadBlobs file;
  EXPECT_EQ(file.reader.isBlobNA(3, 0), 1);
  EXPECT_EQ(file.reader.isBlobNA(1, 0), 0) << "an empty blob is not NA";
  EXPECT_EQ(file.reader.openBlob(3, 0), 0);
  EXPECT_EQ(messagesOf(file.buf), Messages{message("openReadBlobData - bad blob offset: -1")});
  EXPECT_EQ(messagesOf(file.node), Messages{});
}

TEST(BackingFileBufBlob, a_column_of_another_type_has_no_blobs) {
  WrittenBlobs written;
  EXPECT_EQ(written.writer.openBlob(0, 1), 0);
  EXPECT_EQ(messagesOf(written.node), Messages{"ZRBBufWriter::openBlob - not blob column: 1"});
  EXPECT_EQ(messagesOf(written.buf), Messages{});
  ReadBlobs read;
  EXPECT_EQ(read.reader.openBlob(0, 1), 0);
  EXPECT_EQ(messagesOf(read.node), Messages{"ZRBBackingFileBufReader::openBlob - not blob column: 1"});
  EXPECT_EQ(messagesOf(read.buf), Messages{});
}

// ---- One open blob ----

TEST(BackingFileBufBlob, one_blob_is_open_at_a_time_for_writing) {
  WrittenBlobs file;
  ASSERT_EQ(file.writer.openBlob(0, 0), 1);
  file.writer.writeBlobData("he", 2);
  EXPECT_EQ(file.writer.openBlob(1, 0), 0);
  EXPECT_EQ(messagesOf(file.node), Messages{"ZRBBufWriter::openBlob - blob already open"});
  EXPECT_EQ(messagesOf(file.buf), Messages{});
  EXPECT_EQ(file.writer.openBlobData(), 0);
  EXPECT_EQ(messagesOf(file.buf), Messages{message("openWriteBlobData - blob already open")});
  EXPECT_EQ(file.buf.blobState(), (BlobState{0, 0, 2}));
  file.writer.writeBlobData("llo", 3);
  EXPECT_EQ(file.writer.closeBlob(), 1);
  EXPECT_EQ(bytesOfFile(file.blobs), blobRecord(0, kOf5));
  EXPECT_EQ(file.buf.getRawBlobLength(0, 0), 5);
  EXPECT_EQ(file.buf.getRawBlobLength(1, 0), 0) << "untouched";
}

TEST(BackingFileBufBlob, opening_a_blob_for_reading_abandons_the_open_one) {
  ReadBlobs file;
  ASSERT_EQ(file.reader.openBlob(0, 0), 1);
  file.reader.readBlobData(g_bytes, 2);
  ASSERT_EQ(file.reader.openBlob(2, 0), 1);
  EXPECT_EQ(file.buf.blobState(), (BlobState{53, 7, 0}));
  EXPECT_EQ(readRest(file.reader), kOf7);
  ASSERT_EQ(file.reader.openBlobData(2, 7), 0);
  EXPECT_EQ(file.buf.blobState(), kNoBlob) << "also when the new one cannot be opened";
  EXPECT_EQ(messagesOf(file.buf), Messages{message("openReadBlobData - incorrect header data: 2")});
}

TEST(BackingFileBufBlob, init_forgets_the_open_blob_and_begins_at_0_again) {
  WrittenBlobs file;
  ASSERT_EQ(file.writer.openBlob(0, 0), 1);
  ASSERT_EQ(file.writer.closeBlob(), 1);
  ASSERT_EQ(file.writer.openBlob(1, 0), 1);
  ASSERT_EQ(file.buf.blobState(), (BlobState{24, 0, 0}));
  EXPECT_EQ(file.buf.init(), 0);
  EXPECT_EQ(file.buf.blobState(), (BlobState{0, -1, -1}));
  EXPECT_EQ(file.writer.openBlob(0, 0), 1);
  EXPECT_EQ(file.writer.closeBlob(), 1);
  EXPECT_EQ(bytesOfFile(file.blobs), blobRecord(0, ""));
}

// ---- Where the next blob goes ----

TEST(BackingFileBufBlob, the_offset_of_the_next_blob_is_recorded_and_the_file_is_not_moved) {
  WrittenBlobs file;
  file.writer.setBlobFileOffset(1000);
  EXPECT_EQ(file.writer.getBlobFileOffset(), 1000);
  ASSERT_EQ(file.writer.openBlob(0, 0), 1);
  file.writer.writeBlobData("x", 1);
  EXPECT_EQ(file.writer.closeBlob(), 1);
  EXPECT_EQ(file.buf.getRawBlobOffset(0, 0), 1000);
  EXPECT_EQ(file.writer.getBlobFileOffset(), 1025);
  EXPECT_EQ(bytesOfFile(file.blobs), blobRecord(1000, "x")) << "at the beginning of the file";
  EXPECT_EQ(messagesOf(file.buf), Messages{});
}

TEST(BackingFileBufBlob, any_offset_can_be_recorded_and_a_negative_one_opens_nothing) {
  for (const long long offset : {-1LL, -5000000000LL, std::numeric_limits<long long>::min()}) {
    WrittenBlobs file;
    file.writer.setBlobFileOffset(offset);
    EXPECT_EQ(file.writer.getBlobFileOffset(), offset);
    EXPECT_EQ(messagesOf(file.buf), Messages{});
    EXPECT_EQ(file.writer.openBlobData(), 0);
    EXPECT_EQ(bytesOfFile(file.blobs), "");
    EXPECT_EQ(file.buf.blobState(), (BlobState{offset, -1, -1}));
  }
  WrittenBlobs file;
  file.writer.setBlobFileOffset(std::numeric_limits<long long>::max());
  EXPECT_EQ(file.writer.openBlobData(), 1);
  long long offset = 0, length = 0;
  EXPECT_EQ(file.writer.closeBlobData(&offset, &length), 1);
  EXPECT_EQ(offset, std::numeric_limits<long long>::max());
  EXPECT_EQ(file.writer.openBlobData(), 0) << "the next offset has run over to a negative one";
  EXPECT_EQ(messagesOf(file.buf), Messages{message("openWriteBlobData - bad blob offset: -9.22337e+18")});
}

// ---- The seek ----

TEST(BackingFileBufBlob, a_seek_to_anything_but_0_changes_only_the_bookkeeping) {
  ReadBlobs file;
  ASSERT_EQ(file.reader.openBlob(2, 0), 1);
  EXPECT_EQ(file.reader.seekBlobData(4), 1);
  EXPECT_EQ(file.reader.getBlobOffsetInData(), 4);
  char bytes[8];
  EXPECT_EQ(file.reader.readBlobData(bytes, 8), 3) << "as much as the bookkeeping leaves";
  EXPECT_EQ(std::string(bytes, 3), kOf7.substr(0, 3)) << "from where the file stands";
  EXPECT_EQ(file.reader.getBlobOffsetInData(), 7);
  EXPECT_EQ(file.reader.readBlobData(bytes, 8), 0);
  EXPECT_EQ(file.reader.seekBlobData(100), 1) << "no limit is checked";
  EXPECT_EQ(file.reader.getBlobOffsetInData(), 100);
  EXPECT_EQ(file.reader.readBlobData(bytes, 8), 0);
  EXPECT_EQ(file.reader.seekBlobData(6), 1);
  EXPECT_EQ(file.reader.readBlobData(bytes, 8), 1);
  EXPECT_EQ(bytes[0], kOf7[3]);
  EXPECT_EQ(messagesOf(file.buf), Messages{});
}

TEST(BackingFileBufBlob, a_seek_to_0_rewinds_the_file_to_the_first_byte) {
  ReadBlobs file;
  ASSERT_EQ(file.reader.openBlob(2, 0), 1);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(readRest(file.reader), kOf7);
    EXPECT_EQ(file.reader.seekBlobData(0), 1);
    EXPECT_EQ(file.reader.getBlobOffsetInData(), 0);
  }
  EXPECT_EQ(readRest(file.reader), kOf7);
  EXPECT_EQ(file.reader.closeBlob(), 1);
  EXPECT_EQ(messagesOf(file.buf), Messages{});
}

TEST(BackingFileBufBlob, a_seek_below_0_makes_the_blob_count_as_not_open) {
  ReadBlobs file;
  ASSERT_EQ(file.reader.openBlob(2, 0), 1);
  EXPECT_EQ(file.reader.seekBlobData(-3), 1);
  EXPECT_EQ(file.buf.blobState(), (BlobState{53, 7, -3}));
  EXPECT_EQ(file.reader.isBlobOpen(), 0);
  EXPECT_EQ(file.reader.seekBlobData(0), -1);
  EXPECT_EQ(messagesOf(file.buf), Messages{message("seekBlobData - blob not open")});
}

TEST(BackingFileBufBlob, a_seek_while_writing_moves_the_bookkeeping_and_0_is_refused_after_it) {
  WrittenBlobs file;
  ASSERT_EQ(file.writer.openBlobData(), 1);
  file.writer.writeBlobData("hello", 5);
  EXPECT_EQ(file.buf.seekBlobData(3), 1);
  EXPECT_EQ(file.buf.blobState(), (BlobState{0, 0, 3}));
  EXPECT_EQ(messagesOf(file.buf), Messages{});
  EXPECT_EQ(file.buf.seekBlobData(0), -1);
  EXPECT_EQ(file.buf.blobState(), (BlobState{0, 0, 0})) << "the position is set first";
  EXPECT_EQ(messagesOf(file.buf), Messages{message("seekBlobData - writing cache")});
  file.buf.clearMessages();
  EXPECT_EQ(file.buf.seekBlobData(std::numeric_limits<long long>::max()), 1);
  EXPECT_EQ(file.writer.writeBlobData("x", 1), 1);
  EXPECT_EQ(file.writer.isBlobOpen(), 0) << "the position has run over to a negative one";
  EXPECT_EQ(messagesOf(file.buf), Messages{});
}

// ---- Close ----

TEST(BackingFileBufBlob, an_empty_blob_is_closed_right_after_it_was_opened) {
  ReadBlobs file;
  ASSERT_EQ(file.reader.openBlob(1, 0), 1);
  EXPECT_EQ(file.reader.closeBlob(), 1);
  EXPECT_EQ(file.buf.blobState(), kNoBlob);
  EXPECT_EQ(messagesOf(file.buf), Messages{});
}

TEST(BackingFileBufBlob, a_blob_read_in_part_cannot_be_closed_until_it_is_read_to_its_end) {
  ReadBlobs file;
  ASSERT_EQ(file.reader.openBlob(2, 0), 1);
  file.reader.readBlobData(g_bytes, 3);
  EXPECT_EQ(file.reader.closeBlob(), 0);
  EXPECT_EQ(messagesOf(file.buf), Messages{message("closeReadBlobData - incorrect trailer data: 53")});
  EXPECT_EQ(file.buf.blobState(), (BlobState{53, 7, 7})) << "it stays open";
  file.buf.clearMessages();
  EXPECT_EQ(file.reader.seekBlobData(0), 1);
  EXPECT_EQ(readRest(file.reader), kOf7);
  EXPECT_EQ(file.reader.closeBlob(), 1);
  EXPECT_EQ(messagesOf(file.buf), Messages{});
}

TEST(BackingFileBufBlob, a_length_other_than_the_written_one_is_noticed_at_the_close) {
  for (const long long length : {0LL, 4LL, 6LL, 17LL, 18LL, 100LL}) {
    SCOPED_TRACE(length);
    ReadBlobs file(blobRecord(0, kOf5));
    ASSERT_EQ(file.reader.openBlobData(0, length), 1);
    const std::string data = readRest(file.reader);
    EXPECT_EQ(data, blobRecord(0, kOf5).substr(12, static_cast<std::size_t>(length)));
    EXPECT_EQ(file.reader.closeBlobData(), 0);
    const char* const text = 12 + length + 12 <= 29 ? "closeReadBlobData - incorrect trailer data: 0"
                                                    : "closeReadBlobData - error on reading trailer: 0";
    EXPECT_EQ(messagesOf(file.buf), Messages{message(text)});
  }
}

TEST(BackingFileBufBlob, a_close_of_an_empty_blob_whose_file_cannot_seek_leaves_it_open_and_succeeds) {
  ReadBlobs file;
  ASSERT_EQ(file.reader.openBlob(1, 0), 1);
  replaceHandleByPipe(file.buf.getBlobFileHandle());
  EXPECT_EQ(file.reader.closeBlob(), 1);
  EXPECT_EQ(messagesOf(file.buf), Messages{message("seekBlobData - error on seek: 0")});
  EXPECT_EQ(file.buf.blobState(), (BlobState{29, 0, 0}));
}

TEST(BackingFileBufBlob, a_writers_close_without_places_for_its_results_does_nothing) {
  WrittenBlobs file;
  ASSERT_EQ(file.writer.openBlobData(), 1);
  long long value = 17;
  EXPECT_EQ(file.writer.closeBlobData(nullptr, &value), 0);
  EXPECT_EQ(file.writer.closeBlobData(&value, nullptr), 0);
  EXPECT_EQ(file.writer.closeBlobData(nullptr, nullptr), 0);
  EXPECT_EQ(value, 17);
  EXPECT_EQ(file.writer.isBlobOpen(), 1);
  EXPECT_EQ(messagesOf(file.buf), Messages{});
  EXPECT_EQ(messagesOf(file.node), Messages{});
  file.buf.closeBlobFile();
  EXPECT_EQ(file.writer.closeBlobData(nullptr, nullptr), 0) << "comes before every check";
  EXPECT_EQ(messagesOf(file.buf), Messages{});
}

TEST(BackingFileBufBlob, a_writers_close_without_an_open_blob_leaves_every_cell_alone) {
  WrittenBlobs file;
  file.writer.setBlobNA(0, 0);
  EXPECT_EQ(file.writer.closeBlob(), -1);
  EXPECT_EQ(messagesOf(file.buf), Messages{message("closeWriteBlobData - blob not open")});
  EXPECT_EQ(file.buf.getRawBlobOffset(0, 0), -1);
  EXPECT_EQ(file.buf.getRawBlobLength(0, 0), -1);
}

// ---- Writing without an open blob ----

TEST(BackingFileBufBlob, blob_data_can_be_written_without_an_open_blob) {
  WrittenBlobs file;
  EXPECT_EQ(file.writer.writeBlobData("loose", 5), 5);
  EXPECT_EQ(bytesOfFile(file.blobs), "loose");
  EXPECT_EQ(file.buf.blobState(), (BlobState{0, -1, 4}));
  EXPECT_EQ(file.writer.isBlobOpen(), 0);
  EXPECT_EQ(messagesOf(file.buf), Messages{});
  EXPECT_EQ(file.writer.openBlobData(), 1);
  EXPECT_EQ(file.buf.blobState(), (BlobState{0, 0, 0})) << "what was loose does not count";
}

// ---- Every check, in its order ----

namespace {

enum Mode { kWriting, kReading };

struct Check {
  const char* reason;
  Mode mode;
  std::vector<const char*> faults;  // what is wrong, of prepare's list
  std::function<long long(ZRBBackingFileBuf& buf)> call;
  long long result;
  const char* error;  // after the class name; null: none
  BlobState state;    // afterwards
};

// Brings a buffer into the state that the faults name.  Without any: the file of three blobs, no blob open.
void prepare(FileBuf& buf, const std::vector<const char*>& faults, const std::string& blobFile) {
  for (const std::string fault : faults) {
    if (fault == "open") {
      if (buf.getNumWriters() > 0)
        buf.openWriteBlobData();
      else
        buf.openReadBlobData(0, 5);
    } else if (fault == "loose data") {
      buf.writeBlobData("loose", 5);  // sets a position without a blob
    } else if (fault == "file closed") {
      buf.closeBlobFile();
    } else if (fault == "negative offset") {
      static_cast<ZRBBackingFileBufWriter*>(buf.getBufWriter(0))->setBlobFileOffset(-7);
    } else if (fault == "no seek") {
      replaceHandleByPipe(buf.getBlobFileHandle());
    } else if (fault == "no read") {
      replaceHandle(buf.getBlobFileHandle(), blobFile, O_WRONLY);
    } else if (fault == "full") {
      replaceHandle(buf.getBlobFileHandle(), "/dev/full", O_WRONLY);
    } else if (fault == "read in part") {
      buf.readBlobData(g_bytes, 2);
    } else if (fault == "cut") {
      writeFile(blobFile, kThreeBlobs.substr(0, 17 + 11));  // in the first record's end
    }
  }
  buf.clearMessages();
}

long long openWrite(ZRBBackingFileBuf& buf) { return buf.openWriteBlobData(); }
long long closeWrite(ZRBBackingFileBuf& buf) {
  long long offset = 0, length = 0;
  return buf.closeWriteBlobData(&offset, &length);
}
auto writeData(const char* bytes, long count) {
  return [=](ZRBBackingFileBuf& buf) -> long long { return buf.writeBlobData(bytes, count); };
}
auto openRead(long long offset, long long length) {
  return [=](ZRBBackingFileBuf& buf) -> long long { return buf.openReadBlobData(offset, length); };
}
auto readData(char* bytes, long count) {
  return [=](ZRBBackingFileBuf& buf) -> long long { return buf.readBlobData(bytes, count); };
}
auto seekTo(long long position) {
  return [=](ZRBBackingFileBuf& buf) -> long long { return buf.seekBlobData(position); };
}
long long closeRead(ZRBBackingFileBuf& buf) { return buf.closeReadBlobData(); }

const std::vector<Check> kChecks = {
    // Opening for writing.
    {"all is well", kWriting, {}, openWrite, 1, nullptr, {0, 0, 0}},
    {"open comes first",
     kWriting,
     {"open", "file closed"},
     openWrite,
     0,
     "openWriteBlobData - blob already open",
     {0, 0, 0}},
    {"open in a buffer that is read",
     kReading,
     {"open"},
     openWrite,
     0,
     "openWriteBlobData - blob already open",
     {0, 5, 0}},
    {"then the mode", kReading, {"file closed"}, openWrite, 0, "openWriteBlobData - reading cache", {0, -1, -1}},
    {"then the file",
     kWriting,
     {"file closed", "negative offset"},
     openWrite,
     0,
     "openWriteBlobData - blob file not open",
     {-7, -1, -1}},
    {"then the offset",
     kWriting,
     {"full", "negative offset"},
     openWrite,
     0,
     "openWriteBlobData - bad blob offset: -7",
     {-7, -1, -1}},
    {"then the device",
     kWriting,
     {"full"},
     openWrite,
     0,
     "openWriteBlobData - error on writing header: 0",
     {0, -1, -1}},
    {"what a failure leaves",
     kWriting,
     {"loose data", "file closed"},
     openWrite,
     0,
     "openWriteBlobData - blob file not open",
     {0, -1, -1}},

    // Writing.
    {"all is well", kWriting, {"open"}, writeData("abc", 3), 3, nullptr, {0, 0, 3}},
    {"nothing to write", kWriting, {"open", "full"}, writeData("abc", 0), 0, nullptr, {0, 0, 0}},
    {"the mode comes first",
     kReading,
     {"open", "file closed"},
     writeData(nullptr, -1),
     -1,
     "writeBlobData - reading cache",
     {0, 5, 0}},
    {"then the file",
     kWriting,
     {"open", "file closed"},
     writeData(nullptr, -1),
     -1,
     "writeBlobData - blob file not open",
     {0, 0, 0}},
    {"then the bytes", kWriting, {"open"}, writeData(nullptr, -1), -1, "writeBlobData - NULL bytesPtr", {0, 0, 0}},
    {"also of nothing", kWriting, {"open"}, writeData(nullptr, 0), -1, "writeBlobData - NULL bytesPtr", {0, 0, 0}},
    {"then the length",
     kWriting,
     {"open"},
     writeData("abc", -2),
     -1,
     "writeBlobData - bad array length: -2",
     {0, 0, 0}},
    {"then the device",
     kWriting,
     {"open", "full"},
     writeData("abc", 3),
     -1,
     "writeBlobData - error on write: 3",
     {0, 0, 0}},

    // Closing what was written.
    {"all is well", kWriting, {"open"}, closeWrite, 1, nullptr, {24, -1, -1}},
    {"whether one is open comes first",
     kReading,
     {"file closed"},
     closeWrite,
     -1,
     "closeWriteBlobData - blob not open",
     {0, -1, -1}},
    {"then the mode",
     kReading,
     {"open", "file closed"},
     closeWrite,
     -1,
     "closeWriteBlobData - reading cache",
     {0, 5, 0}},
    {"then the file",
     kWriting,
     {"open", "file closed"},
     closeWrite,
     -1,
     "closeWriteBlobData - blob file not open",
     {0, 0, 0}},
    {"then the device",
     kWriting,
     {"open", "full"},
     closeWrite,
     0,
     "closeWriteBlobData - error on writing trailer: 0",
     {0, 0, 0}},

    // Opening for reading.
    {"all is well", kReading, {}, openRead(53, 7), 1, nullptr, {53, 7, 0}},
    {"any length", kReading, {}, openRead(0, 1000), 1, nullptr, {0, 1000, 0}},
    {"the mode comes first, and the open blob is lost",
     kWriting,
     {"open", "file closed"},
     openRead(-1, -1),
     0,
     "openReadBlobData - writing cache",
     kNoBlob},
    {"then the file",
     kReading,
     {"open", "file closed"},
     openRead(-1, -1),
     0,
     "openReadBlobData - blob file not open",
     kNoBlob},
    {"then the offset", kReading, {"open"}, openRead(-1, -2), 0, "openReadBlobData - bad blob offset: -1", kNoBlob},
    {"then the length", kReading, {"no seek"}, openRead(0, -2), 0, "openReadBlobData - bad blob length: -2", kNoBlob},
    {"then the seek", kReading, {"no seek"}, openRead(29, 0), 0, "openReadBlobData - error on seek: 29", kNoBlob},
    {"then the read",
     kReading,
     {"no read"},
     openRead(29, 0),
     0,
     "openReadBlobData - error on reading header: 29",
     kNoBlob},
    {"of twelve bytes", kReading, {}, openRead(73, 0), 0, "openReadBlobData - error on reading header: 73", kNoBlob},
    {"behind the file",
     kReading,
     {},
     openRead(2000000, 0),
     0,
     "openReadBlobData - error on reading header: 2e+06",
     kNoBlob},
    {"then the header",
     kReading,
     {"open"},
     openRead(12, 5),
     0,
     "openReadBlobData - incorrect header data: 12",
     kNoBlob},

    // Reading.
    {"all is well", kReading, {"open"}, readData(g_bytes, 3), 3, nullptr, {0, 5, 3}},
    {"nothing to read", kReading, {"open", "no read"}, readData(g_bytes, 0), 0, nullptr, {0, 5, 0}},
    {"whether one is open comes first",
     kWriting,
     {"file closed"},
     readData(nullptr, -1),
     -1,
     "readBlobData - blob not open",
     {0, -1, -1}},
    {"then the mode",
     kWriting,
     {"open", "file closed"},
     readData(nullptr, -1),
     -1,
     "readBlobData - writing cache",
     {0, 0, 0}},
    {"then the file",
     kReading,
     {"open", "file closed"},
     readData(nullptr, -1),
     -1,
     "readBlobData - blob file not open",
     {0, 5, 0}},
    {"then the bytes", kReading, {"open"}, readData(nullptr, -1), -1, "readBlobData - NULL bytesPtr", {0, 5, 0}},
    {"then the length",
     kReading,
     {"open"},
     readData(g_bytes, -3),
     -1,
     "readBlobData - bad array length: -3",
     {0, 5, 0}},
    {"then the read",
     kReading,
     {"open", "no read"},
     readData(g_bytes, 4),
     -1,
     "openReadBlob - error on reading: 4",
     {0, 5, 0}},

    // Seeking.
    {"all is well", kReading, {"open", "read in part"}, seekTo(0), 1, nullptr, {0, 5, 0}},
    {"not to 0", kReading, {"open", "file closed"}, seekTo(9), 1, nullptr, {0, 5, 9}},
    {"whether one is open comes first",
     kWriting,
     {"file closed"},
     seekTo(0),
     -1,
     "seekBlobData - blob not open",
     {0, -1, -1}},
    {"also not to 0", kReading, {}, seekTo(3), -1, "seekBlobData - blob not open", {0, -1, -1}},
    {"then the mode", kWriting, {"open", "file closed"}, seekTo(0), -1, "seekBlobData - writing cache", {0, 0, 0}},
    {"then the file, after the position is set",
     kReading,
     {"open", "read in part", "file closed"},
     seekTo(0),
     -1,
     "seekBlobData - blob file not open",
     {0, 5, 0}},
    {"then the seek",
     kReading,
     {"open", "read in part", "no seek"},
     seekTo(0),
     0,
     "seekBlobData - error on seek: 0",
     {0, 5, 0}},

    // Closing what was read.
    {"whether one is open comes first",
     kWriting,
     {"file closed"},
     closeRead,
     -1,
     "closeReadBlobData - blob not open",
     {0, -1, -1}},
    {"then the mode", kWriting, {"open", "file closed"}, closeRead, -1, "closeReadBlobData - writing cache", {0, 0, 0}},
    {"then the file",
     kReading,
     {"open", "file closed"},
     closeRead,
     -1,
     "closeReadBlobData - blob file not open",
     {0, 5, 0}},
    {"then the read",
     kReading,
     {"open", "no read"},
     closeRead,
     0,
     "closeReadBlobData - error on reading trailer: 0",
     {0, 5, 5}},
    {"of twelve bytes",
     kReading,
     {"open", "cut", "read in part"},
     closeRead,
     0,
     "closeReadBlobData - incorrect trailer data: 0",
     {0, 5, 5}},
    {"then the trailer", kReading, {"open"}, closeRead, 0, "closeReadBlobData - incorrect trailer data: 0", {0, 5, 5}},
};

}  // namespace

TEST(BackingFileBufBlob, every_operation_checks_in_its_order_and_reports_the_first_fault_on_the_buffer) {
  for (const Check& check : kChecks) {
    std::string faults;
    for (const char* fault : check.faults) faults += std::string(", ") + fault;
    SCOPED_TRACE(std::string(check.error ? check.error : "no error") + " (" + check.reason + ")" + faults);
    Files files;
    writeFile(files.blobs, kThreeBlobs);
    const auto run = [&](FileBuf& buf, HarnessNode& node) {
      prepare(buf, check.faults, files.blobs);
      EXPECT_EQ(check.call(buf), check.result);
      EXPECT_EQ(messagesOf(buf), check.error ? Messages{message(check.error)} : Messages{});
      EXPECT_EQ(messagesOf(node), Messages{});
      EXPECT_EQ(buf.blobState(), check.state);
      EXPECT_EQ(buf.isBlobOpen(), check.state[0] >= 0 && check.state[1] >= 0 && check.state[2] >= 0);
      EXPECT_EQ(buf.getBlobOffsetInData(), check.state[2]);
    };
    if (check.mode == kWriting) {
      WrittenFile<> file(files.rows, 4, kOneBlob, files.blobs);
      run(file.buf, file.node);
    } else {
      writeFile(files.rows, "");
      ReadFile<> file(files.rows, 0, 4, kOneBlob, files.blobs);
      run(file.buf, file.node);
    }
  }
}

TEST(BackingFileBufBlob, without_a_blob_file_every_operation_says_so) {
  const TemporaryDirectory directory;
  WrittenFile<> written(directory.file("rows"), 4, kOneBlob);
  EXPECT_EQ(written.writer.openBlob(0, 0), 0);
  EXPECT_EQ(written.writer.writeBlobData("x", 1), -1);
  EXPECT_EQ(messagesOf(written.buf), (Messages{message("openWriteBlobData - blob file not open"),
                                               message("writeBlobData - blob file not open")}));
  ReadFile<> read(directory.file("rows"), 0, 4, kOneBlob);
  EXPECT_EQ(read.reader.openBlobData(0, 0), 0);
  EXPECT_EQ(messagesOf(read.buf), Messages{message("openReadBlobData - blob file not open")});
  EXPECT_EQ(messagesOf(written.node), Messages{});
  EXPECT_EQ(messagesOf(read.node), Messages{});
}

TEST(BackingFileBufBlob, a_reader_of_a_buffer_that_is_written_cannot_open_blobs_and_spoils_the_writers) {
  WrittenBlobs file;
  HarnessNode consumer;
  ZRBBufReader& reader = consumer.readFrom(file.buf);
  ASSERT_EQ(file.writer.openBlob(0, 0), 1);
  EXPECT_EQ(reader.isBlobOpen(), 1) << "the buffer has one open blob for all its ends";
  EXPECT_EQ(reader.openBlobData(0, 0), 0);
  EXPECT_EQ(messagesOf(file.buf), Messages{message("openReadBlobData - writing cache")});
  EXPECT_EQ(file.buf.blobState(), kNoBlob);
  EXPECT_EQ(file.writer.openBlobData(), 0);
  EXPECT_EQ(file.writer.getBlobFileOffset(), -1);
  EXPECT_STREQ(file.buf.getError(), message("openWriteBlobData - bad blob offset: -1").c_str());
  EXPECT_EQ(messagesOf(consumer), Messages{});
}

// ---- Short writes ----

TEST(BackingFileBufBlob, a_record_cut_by_the_size_limit_is_reported_where_it_is_cut) {
  const struct {
    std::size_t limit;
    int opened;
    long written;
    int closed;  // only when opened and written
    const char* error;
    BlobState state;
  } cases[] = {
      {0, 0, 0, 0, "openWriteBlobData - error on writing header: 0", {0, -1, -1}},
      {11, 0, 0, 0, "openWriteBlobData - error on writing header: 0", {0, -1, -1}},
      {12, 1, -1, 0, "writeBlobData - error on write: 5", {0, 0, 0}},
      {16, 1, -1, 0, "writeBlobData - error on write: 5", {0, 0, 0}},
      {17, 1, 5, 0, "closeWriteBlobData - error on writing trailer: 0", {0, 5, 5}},
      {28, 1, 5, 0, "closeWriteBlobData - error on writing trailer: 0", {0, 5, 5}},
      {29, 1, 5, 1, nullptr, {29, -1, -1}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.limit);
    WrittenBlobs file;
    file.writer.setBlobNA(0, 0);
    {
      const FileSizeLimit limit(c.limit);
      ASSERT_EQ(file.writer.openBlob(0, 0), c.opened);
      if (c.opened) {
        ASSERT_EQ(file.writer.writeBlobData("hello", 5), c.written);
      }
      if (c.written > 0) {
        ASSERT_EQ(file.writer.closeBlob(), c.closed);
      }
    }
    EXPECT_EQ(messagesOf(file.buf), c.error ? Messages{message(c.error)} : Messages{});
    EXPECT_EQ(messagesOf(file.node), Messages{});
    EXPECT_EQ(file.buf.blobState(), c.state);
    EXPECT_EQ(file.buf.getRawBlobOffset(0, 0), c.error ? -1 : 0) << "a cell gets what was closed";
    EXPECT_EQ(bytesOfFile(file.blobs), blobRecord(0, kOf5).substr(0, c.limit));
  }
}

// ---- Damaged files ----

namespace {

struct Outcome {
  int opened;
  std::string data;
  int closed;
  Messages errors;
};

// Opens, reads and closes the three blobs.
std::vector<Outcome> readThreeBlobs(const std::string& bytes) {
  ReadBlobs file(bytes);
  std::vector<Outcome> outcomes;
  for (long row = 0; row < 3; ++row) {
    Outcome outcome{file.reader.openBlob(row, 0), "", 0, {}};
    if (outcome.opened) {
      outcome.data = readRest(file.reader);
      outcome.closed = file.reader.closeBlob();
    }
    outcome.errors = messagesOf(file.buf);
    file.buf.clearMessages();
    outcomes.push_back(outcome);
  }
  return outcomes;
}

struct Record {
  std::size_t offset, length;
  std::size_t end() const { return offset + length + 24; }
  std::string data() const { return kThreeBlobs.substr(offset + 12, length); }
};
constexpr Record kRecords[] = {{0, 5}, {29, 0}, {53, 7}};

}  // namespace

TEST(BackingFileBufBlob, every_damaged_byte_of_a_record_is_noticed_or_is_data) {
  for (std::size_t at = 0; at < kThreeBlobs.size(); ++at) {
    for (const char flip : {'\x01', '\x80', '\xFF'}) {
      SCOPED_TRACE(testing::Message() << "byte " << at << " flipped by " << static_cast<int>(flip));
      std::string bytes = kThreeBlobs;
      bytes[at] = static_cast<char>(bytes[at] ^ flip);
      const std::vector<Outcome> outcomes = readThreeBlobs(bytes);
      for (std::size_t i = 0; i < 3; ++i) {
        const Record& record = kRecords[i];
        const std::string offset = ": " + std::to_string(record.offset);
        const bool inHeader = at >= record.offset && at < record.offset + 12;
        const bool inTrailer = at >= record.end() - 12 && at < record.end();
        EXPECT_EQ(outcomes[i].opened, inHeader ? 0 : 1);
        EXPECT_EQ(outcomes[i].data, inHeader ? "" : bytes.substr(record.offset + 12, record.length));
        EXPECT_EQ(outcomes[i].closed, inHeader || inTrailer ? 0 : 1);
        Messages errors;
        if (inHeader) errors = {message("openReadBlobData - incorrect header data" + offset)};
        if (inTrailer) errors = {message("closeReadBlobData - incorrect trailer data" + offset)};
        EXPECT_EQ(outcomes[i].errors, errors);
      }
    }
  }
}

TEST(BackingFileBufBlob, a_file_cut_anywhere_loses_the_blobs_behind_the_cut) {
  for (std::size_t size = 0; size <= kThreeBlobs.size(); ++size) {
    SCOPED_TRACE(testing::Message() << "cut to " << size);
    const std::vector<Outcome> outcomes = readThreeBlobs(kThreeBlobs.substr(0, size));
    for (std::size_t i = 0; i < 3; ++i) {
      const Record& record = kRecords[i];
      const std::string offset = ": " + std::to_string(record.offset);
      const std::size_t data = record.offset + 12;
      const bool noHeader = size < data;
      const bool noTrailer = size < record.end();
      EXPECT_EQ(outcomes[i].opened, noHeader ? 0 : 1);
      const std::size_t left = noHeader ? 0 : std::min(size - data, record.length);
      EXPECT_EQ(outcomes[i].data, record.data().substr(0, left)) << "a short read is no error";
      EXPECT_EQ(outcomes[i].closed, noTrailer ? 0 : 1);
      Messages errors;
      if (noHeader)
        errors = {message("openReadBlobData - error on reading header" + offset)};
      else if (noTrailer)
        errors = {message("closeReadBlobData - error on reading trailer" + offset)};
      EXPECT_EQ(outcomes[i].errors, errors);
    }
  }
}
