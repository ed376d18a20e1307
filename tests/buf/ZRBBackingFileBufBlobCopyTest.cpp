// Blobs on their way from one file to another.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ZRBMemoryBuf.h"
#include "support/BackingFileHarness.h"

namespace {

constexpr long kBlockBytes = 20000;

// No two stretches of it look alike.
std::string patternOf(long bytes) {
  std::string data;
  for (unsigned long i = 0; i < static_cast<unsigned long>(bytes); ++i)
    data += static_cast<char>((i * 2654435761u) >> 13 & 0xFF);
  return data;
}

// Notes what is asked of it and what it gives; can be told to fail.
class NotingReader : public ZRBBackingFileBufReader {
public:
  NotingReader(ZRBBackingFileBuf* buf, ZRBProc* proc) : ZRBBackingFileBufReader(buf, proc) {}
  long readBlobData(char* bytes, long count) override {
    asked.push_back(count);
    const bool fail = static_cast<long>(asked.size()) == failingRead;
    given.push_back(fail ? -1 : ZRBBackingFileBufReader::readBlobData(bytes, count));
    return given.back();
  }
  std::vector<long> asked, given;
  long failingRead = 0;  // counted from 1
};

struct Cell {
  long long offset, length;
};

std::string cellsOf(const std::vector<Cell>& cells) {
  std::string bytes;
  for (const Cell& cell : cells) bytes += blobCellBytes(cell.offset, cell.length);
  return bytes;
}

// From a file of the blobs given, in that order, to an empty one.  Row i of the source is blob i.
struct Copy {
  TemporaryDirectory directory;
  std::string sourceRows = directory.file("source rows");
  std::string sourceBlobs = directory.file("source blobs");
  std::string targetBlobs = directory.file("target blobs");
  std::vector<Cell> cells;
  ReadFile<NotingReader> source;
  WrittenFile<> target;

  explicit Copy(const std::vector<std::string>& blobs)
      : source((writeSource(blobs), sourceRows), static_cast<long long>(blobs.size()), 8, kOneBlob, sourceBlobs),
        target(directory.file("target rows"), 8, kOneBlob, targetBlobs) {
    source.reader.setRequestRows(static_cast<long>(blobs.size()));
  }
  void writeSource(const std::vector<std::string>& blobs) {
    std::string bytes;
    for (const std::string& blob : blobs) {
      const long long offset = static_cast<long long>(bytes.size());
      cells.push_back({offset, static_cast<long long>(blob.size())});
      bytes += blobRecord(offset, blob);
    }
    writeFile(sourceRows, cellsOf(cells));
    writeFile(sourceBlobs, bytes);
  }
  BlobState targetCell(long row) { return {target.buf.getRawBlobOffset(row, 0), target.buf.getRawBlobLength(row, 0)}; }
};

constexpr const char* kIncorrectTrailer = "ZRBBackingFileBuf::closeReadBlobData - incorrect trailer data: 0";

}  // namespace

TEST(BackingFileBufBlobCopy, data_is_copied_in_blocks_of_20000_bytes) {
  const struct {
    long bytes;
    std::vector<long> given;
  } cases[] = {
      {0, {0}},
      {1, {1, 0}},
      {19999, {19999, 0}},
      {20000, {20000, 0}},
      {20001, {20000, 1, 0}},
      {50000, {20000, 20000, 10000, 0}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.bytes);
    const std::string data = patternOf(c.bytes);
    Copy copy({data});
    EXPECT_EQ(copy.target.writer.copyBlob(&copy.source.reader, 0, 0, 3, 0), 1);
    EXPECT_EQ(copy.source.reader.given, c.given);
    EXPECT_EQ(copy.source.reader.asked, std::vector<long>(c.given.size(), kBlockBytes));
    EXPECT_EQ(copy.targetCell(3), (BlobState{0, c.bytes}));
    EXPECT_TRUE(bytesOfFile(copy.targetBlobs) == blobRecord(0, data));
    EXPECT_EQ(copy.source.buf.blobState(), kNoBlob);
    EXPECT_EQ(copy.target.buf.blobState(), (BlobState{c.bytes + 24, -1, -1}));
    EXPECT_EQ(messagesOf(copy.source.buf), Messages{});
    EXPECT_EQ(messagesOf(copy.target.buf), Messages{});
  }
}

TEST(BackingFileBufBlobCopy, blobs_of_many_rows_are_copied_one_behind_the_other_and_NA_stays_NA) {
  const std::vector<std::string> blobs = {patternOf(20001), "", patternOf(7), patternOf(40000)};
  Copy copy(blobs);
  // Rows 2, NA, 0, 1, 3 of the source.
  writeFile(copy.sourceRows, cellsOf({copy.cells[2], {-1, -1}, copy.cells[0], copy.cells[1], copy.cells[3]}));
  copy.source.buf.setBackingFileTotalRows(5);
  ASSERT_EQ(copy.source.buf.init(), 0);
  copy.source.reader.setRequestRows(5);
  copy.target.writer.copyBufData(&copy.source.reader, 0, 0, 0, 0, 5, 1);
  EXPECT_EQ(copy.targetCell(0), (BlobState{0, 7}));
  EXPECT_EQ(copy.targetCell(1), (BlobState{-1, -1}));
  EXPECT_EQ(copy.targetCell(2), (BlobState{31, 20001}));
  EXPECT_EQ(copy.targetCell(3), (BlobState{20056, 0}));
  EXPECT_EQ(copy.targetCell(4), (BlobState{20080, 40000}));
  copy.target.writer.releaseRows(5);
  copy.target.writer.setEOF();
  EXPECT_TRUE(bytesOfFile(copy.targetBlobs) ==
              blobRecord(0, blobs[2]) + blobRecord(31, blobs[0]) + blobRecord(20056, "") + blobRecord(20080, blobs[3]));
  EXPECT_EQ(hexOf(bytesOfFile(copy.directory.file("target rows"))),
            hexOf(cellsOf({{0, 7}, {-1, -1}, {31, 20001}, {20056, 0}, {20080, 40000}})));
  EXPECT_EQ(messagesOf(copy.source.buf), Messages{});
  EXPECT_EQ(messagesOf(copy.target.buf), Messages{});
}

TEST(BackingFileBufBlobCopy, the_operation_on_data_gives_the_place_of_the_copy) {
  Copy copy({"hello", "world!"});
  long long offset = -7, length = -7;
  EXPECT_EQ(copy.target.writer.copyBlobData(&copy.source.reader, 29, 6, &offset, &length), 1);
  EXPECT_EQ(offset, 0);
  EXPECT_EQ(length, 6);
  EXPECT_EQ(bytesOfFile(copy.targetBlobs), blobRecord(0, "world!"));
}

// ---- Failures ----

TEST(BackingFileBufBlobCopy, without_places_for_its_results_nothing_is_opened) {
  Copy copy({"hello"});
  long long value = 17;
  EXPECT_EQ(copy.target.writer.copyBlobData(&copy.source.reader, 0, 5, nullptr, &value), 0);
  EXPECT_EQ(copy.target.writer.copyBlobData(&copy.source.reader, 0, 5, &value, nullptr), 0);
  EXPECT_EQ(value, 17);
  EXPECT_EQ(copy.source.buf.isBlobOpen() + copy.target.buf.isBlobOpen(), 0);
  EXPECT_EQ(bytesOfFile(copy.targetBlobs), "");
  EXPECT_EQ(messagesOf(copy.source.buf), Messages{});
  EXPECT_EQ(messagesOf(copy.target.buf), Messages{});
}

TEST(BackingFileBufBlobCopy, a_blob_that_cannot_be_opened_leaves_the_target_alone) {
  Copy copy({"hello"});
  copy.target.writer.setBlobOffset(0, 0, 111);
  writeFile(copy.sourceBlobs, "nothing of the kind");
  EXPECT_EQ(copy.target.writer.copyBlob(&copy.source.reader, 0, 0, 0, 0), 0);
  EXPECT_EQ(messagesOf(copy.source.buf), Messages{"ZRBBackingFileBuf::openReadBlobData - incorrect header data: 0"});
  EXPECT_EQ(messagesOf(copy.target.buf), Messages{});
  EXPECT_EQ(copy.target.buf.isBlobOpen(), 0);
  EXPECT_EQ(bytesOfFile(copy.targetBlobs), "");
  EXPECT_EQ(copy.targetCell(0), (BlobState{111, 0}));
}

TEST(BackingFileBufBlobCopy, where_the_target_cannot_open_the_source_is_closed) {
  for (const bool empty : {true, false}) {
    Copy copy({empty ? "" : "hello"});
    ASSERT_EQ(copy.target.writer.openBlobData(), 1);
    EXPECT_EQ(copy.target.writer.copyBlob(&copy.source.reader, 0, 0, 0, 0), 0);
    EXPECT_EQ(messagesOf(copy.target.buf), Messages{"ZRBBackingFileBuf::openWriteBlobData - blob already open"});
    EXPECT_EQ(copy.source.reader.asked, std::vector<long>{});
    // A close before the end of the data fails, like any.
    EXPECT_EQ(messagesOf(copy.source.buf), empty ? Messages{} : Messages{kIncorrectTrailer});
    EXPECT_EQ(copy.source.buf.isBlobOpen(), empty ? 0 : 1);
    EXPECT_EQ(copy.targetCell(0), (BlobState{0, 0}));
  }
}

TEST(BackingFileBufBlobCopy, a_read_that_fails_closes_the_target_and_leaves_the_source_open) {
  const std::string data = patternOf(50000);
  Copy copy({data});
  copy.source.reader.failingRead = 3;
  copy.target.writer.setBlobNA(0, 0);
  EXPECT_EQ(copy.target.writer.copyBlob(&copy.source.reader, 0, 0, 0, 0), 0);
  EXPECT_EQ(copy.source.buf.blobState(), (BlobState{0, 50000, 40000}));
  EXPECT_EQ(copy.target.buf.blobState(), (BlobState{40024, -1, -1}));
  EXPECT_TRUE(bytesOfFile(copy.targetBlobs) == blobRecord(0, data.substr(0, 40000)));
  EXPECT_EQ(copy.targetCell(0), (BlobState{-1, -1}));
  EXPECT_EQ(messagesOf(copy.target.buf), Messages{});
}

TEST(BackingFileBufBlobCopy, a_source_that_is_cut_is_not_taken_for_whole) {
  const std::string data = patternOf(50000);
  Copy copy({data});
  writeFile(copy.sourceBlobs, blobRecord(0, data).substr(0, 12 + 30000));
  EXPECT_EQ(copy.target.writer.copyBlob(&copy.source.reader, 0, 0, 0, 0), 0);
  EXPECT_EQ(copy.source.reader.given, (std::vector<long>{20000, 10000, 0}));
  EXPECT_EQ(messagesOf(copy.source.buf),
            Messages{"ZRBBackingFileBuf::closeReadBlobData - error on reading trailer: 0"});
  EXPECT_EQ(copy.source.buf.isBlobOpen(), 1);
  EXPECT_EQ(messagesOf(copy.target.buf), Messages{});
  EXPECT_EQ(copy.target.buf.blobState(), (BlobState{30024, -1, -1})) << "closed, with what there was";
  EXPECT_EQ(copy.targetCell(0), (BlobState{0, 0}));
}

TEST(BackingFileBufBlobCopy, a_write_that_fails_closes_the_source_and_leaves_the_target_open) {
  Copy copy({patternOf(50000)});
  {
    const FileSizeLimit limit(30000);
    EXPECT_EQ(copy.target.writer.copyBlob(&copy.source.reader, 0, 0, 0, 0), 0);
  }
  EXPECT_EQ(messagesOf(copy.target.buf), Messages{"ZRBBackingFileBuf::writeBlobData - error on write: 20000"});
  EXPECT_EQ(copy.target.buf.blobState(), (BlobState{0, 0, 20000}));
  EXPECT_EQ(copy.targetCell(0), (BlobState{0, 0}));
  EXPECT_EQ(messagesOf(copy.source.buf), Messages{kIncorrectTrailer}) << "closed before the end of its data";

  // The next blob of the target is refused until the open one is closed.
  EXPECT_EQ(copy.target.writer.openBlob(1, 0), 0);
  EXPECT_EQ(messagesOf(copy.target.node), Messages{"ZRBBufWriter::openBlob - blob already open"});
  long long offset = 0, length = 0;
  EXPECT_EQ(copy.target.writer.closeBlobData(&offset, &length), 1);
  EXPECT_EQ(copy.target.writer.openBlob(1, 0), 1);
}

TEST(BackingFileBufBlobCopy, a_trailer_that_cannot_be_written_is_a_failure_and_leaves_the_target_open) {
  Copy copy({"hello"});
  {
    const FileSizeLimit limit(12 + 5 + 6);
    EXPECT_EQ(copy.target.writer.copyBlob(&copy.source.reader, 0, 0, 0, 0), 0);
  }
  EXPECT_EQ(messagesOf(copy.target.buf),
            Messages{"ZRBBackingFileBuf::closeWriteBlobData - error on writing trailer: 0"});
  EXPECT_EQ(copy.target.buf.blobState(), (BlobState{0, 5, 5}));
  EXPECT_EQ(copy.source.buf.blobState(), kNoBlob) << "the source was read to its end and closed";
  EXPECT_EQ(messagesOf(copy.source.buf), Messages{});
  EXPECT_EQ(copy.targetCell(0), (BlobState{0, 0}));
}

TEST(BackingFileBufBlobCopy, the_first_blob_that_cannot_be_copied_ends_the_whole_copy) {
  Copy copy({"one", "two", "three"});
  std::string bytes = bytesOfFile(copy.sourceBlobs);
  bytes[27] = 'X';  // in the header of the second record
  writeFile(copy.sourceBlobs, bytes);
  copy.target.writer.copyBufData(&copy.source.reader, 0, 0, 0, 0, 3, 1);
  EXPECT_EQ(copy.targetCell(0), (BlobState{0, 3}));
  EXPECT_EQ(copy.targetCell(1), (BlobState{0, 0}));
  EXPECT_EQ(copy.targetCell(2), (BlobState{0, 0}));
  EXPECT_EQ(bytesOfFile(copy.targetBlobs), blobRecord(0, "one"));
  EXPECT_EQ(messagesOf(copy.source.buf), Messages{"ZRBBackingFileBuf::openReadBlobData - incorrect header data: 27"});
}

TEST(BackingFileBufBlobCopy, a_memory_buffer_takes_no_data_and_gives_none) {
  Copy copy({""});
  ZRBMemoryBuf memory;
  HarnessNode node;
  setColumns(memory, kOneBlob);
  ZRBBufWriter& writer = node.writeTo(memory);
  ZRBBufReader& reader = node.readFrom(memory);
  ASSERT_EQ(memory.init(), 0);
  EXPECT_EQ(writer.copyBlob(&copy.source.reader, 0, 0, 0, 0), 0);
  EXPECT_EQ(messagesOf(node), Messages{"ZRBBufWriter::openBlobData can't access blob data"});
  EXPECT_EQ(copy.source.buf.isBlobOpen(), 0) << "the source was closed again";
  node.clearMessages();
  writer.setBlobOffset(0, 0, 0);
  writer.setBlobLength(0, 0, 5);
  writer.releaseRows(1);
  EXPECT_EQ(copy.target.writer.copyBlob(&reader, 0, 0, 0, 0), 0);
  EXPECT_EQ(messagesOf(node), Messages{"ZRBBufReader::openBlobData can't access blob data"});
  EXPECT_EQ(copy.target.buf.isBlobOpen(), 0);
}
