// The example of docs/file-formats.md: its dumps are the files that the library writes, and are read back.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/BackingFileHarness.h"

namespace {

// What the document shows, in the order of the text.
struct Document {
  std::vector<std::string> dumps;              // the bytes of each
  std::vector<std::pair<long, long>> columns;  // offset and size, in the table before the first dump

  Document() {
    std::ifstream stream(ZRB_DATA_DIR "/../docs/file-formats.md");
    if (!stream) throw std::runtime_error("can't read docs/file-formats.md");
    const std::regex dumpLine(R"(    ([0-9a-f]{8})(?:  ((?:[0-9a-f]{2} {1,2})+) *\|(.*)\|)?)");
    const std::regex columnLine(R"(\| (\d+) \| (\d+) \| [^|]* \|)");
    bool inDump = false;
    for (std::string line; std::getline(stream, line);) {
      std::smatch part;
      if (dumps.empty() && std::regex_match(line, part, columnLine))
        columns.emplace_back(std::stol(part[1]), std::stol(part[2]));
      if (std::regex_match(line, part, dumpLine)) {
        if (!inDump) dumps.emplace_back();
        addLine(part);
        inDump = true;
      } else {
        inDump = false;
      }
    }
  }

private:
  // A line of a dump: the offset, the bytes, and the same as text; the last line is the size alone.
  void addLine(const std::smatch& part) {
    std::string& dump = dumps.back();
    if (dump.size() != std::stoul(part[1], nullptr, 16)) throw std::runtime_error("not the offset: " + part.str());
    const std::string bytes = bytesOfHex(part[2]);
    std::string text;
    for (const char c : bytes) text += c >= ' ' && c <= '~' ? c : '.';
    if (text != part[3]) throw std::runtime_error("not the text: " + part.str());
    dump += bytes;
  }
};

const std::vector<Column> kColumns = {{"price", ZRBBuf::column_double},
                                      {"colour", ZRBBuf::column_factor},
                                      {"name", ZRBBuf::column_string, 6},
                                      {"taken", ZRBBuf::column_timeDate},
                                      {"photo", ZRBBuf::column_blob}};

// The table of the document; the fourth row is NA throughout.
struct Row {
  double price;
  const char* colour;
  const char* name;
  long long taken;
  std::string photo;
};
const Row kRows[] = {
    {1.5, "red", "apple", 1709208000000, "hello"},
    {-0.1, "green", "plum", -1, ""},
    {1e300, "red", "", 0, std::string("\x00\x01\x02\xFD\xFE\xFF\x00", 7)},
};
constexpr long kNumRows = 4;

}  // namespace

TEST(FileFormatsDocument, the_dumps_are_the_files_that_the_table_becomes) {
  const Document document;
  ASSERT_GE(document.dumps.size(), 2u) << "the file of rows and the blob file";
  const TemporaryDirectory directory;
  WrittenFile<> file(directory.file("rows"), 10, kColumns, directory.file("blobs"));
  ZRBBufWriter& writer = file.writer;
  long chunkRow = 0;
  for (const Row& row : kRows) {
    writer.setDouble(chunkRow, 0, row.price);
    writer.setString(chunkRow, 1, row.colour);
    writer.setString(chunkRow, 2, row.name);
    writer.setTimeDate(chunkRow, 3, row.taken);
    ASSERT_EQ(writer.openBlob(chunkRow, 4), 1);
    ASSERT_GE(writer.writeBlobData(row.photo.data(), static_cast<long>(row.photo.size())), 0);
    ASSERT_EQ(writer.closeBlob(), 1);
    ++chunkRow;
  }
  writer.setRectNA(chunkRow, 0, 1, 5);
  writer.releaseRows(kNumRows);
  writer.setEOF();
  EXPECT_EQ(hexOf(bytesOfFile(directory.file("rows"))), hexOf(document.dumps[0]));
  EXPECT_EQ(hexOf(bytesOfFile(directory.file("blobs"))), hexOf(document.dumps[1]));
  EXPECT_EQ(messagesOf(file.buf), Messages{});
}

TEST(FileFormatsDocument, the_dumps_read_back_are_the_table) {
  const Document document;
  ASSERT_GE(document.dumps.size(), 2u) << "the file of rows and the blob file";
  const TemporaryDirectory directory;
  writeFile(directory.file("rows"), document.dumps[0]);
  writeFile(directory.file("blobs"), document.dumps[1]);
  ReadFile<> file(directory.file("rows"), kNumRows, 10, kColumns, directory.file("blobs"));
  file.buf.addLevel(1, "red");
  file.buf.addLevel(1, "green");
  ZRBBufReader& reader = file.reader;
  reader.setRequestRows(kNumRows);
  ASSERT_EQ(reader.getRowsReady(), kNumRows);
  long chunkRow = 0;
  for (const Row& row : kRows) {
    EXPECT_EQ(reader.getDouble(chunkRow, 0), row.price);
    EXPECT_STREQ(reader.getString(chunkRow, 1), row.colour);
    EXPECT_STREQ(reader.getString(chunkRow, 2), row.name);
    EXPECT_EQ(reader.getTimeDate(chunkRow, 3), row.taken);
    ASSERT_EQ(reader.openBlob(chunkRow, 4), 1);
    char bytes[100];
    const long count = reader.readBlobData(bytes, 100);
    EXPECT_EQ(std::string(bytes, static_cast<std::size_t>(count)), row.photo);
    EXPECT_EQ(reader.closeBlob(), 1);
    ++chunkRow;
  }
  EXPECT_EQ(bitsOf(reader.getDouble(chunkRow, 0)), kDoubleNABits);
  EXPECT_EQ(reader.getLevelNum(chunkRow, 1), -1);
  EXPECT_EQ(copyOf(reader.getString(chunkRow, 2)), "<NA>");
  EXPECT_EQ(reader.getTimeDate(chunkRow, 3), ZRBObj::getTimeDateNA());
  EXPECT_EQ(reader.isBlobNA(chunkRow, 4), 1);
  EXPECT_EQ(reader.getBlobOffset(chunkRow, 4), -1);
  EXPECT_EQ(messagesOf(file.buf), Messages{});
}

TEST(FileFormatsDocument, the_columns_stand_where_the_table_says) {
  const Document document;
  const TemporaryDirectory directory;
  WrittenFile<> file(directory.file("rows"), 10, kColumns);
  ASSERT_EQ(document.columns.size(), kColumns.size());
  long column = 0;
  for (const auto& [offset, size] : document.columns) {
    EXPECT_EQ(file.buf.getBackingFileColumnOffsetBytes(column), offset);
    EXPECT_EQ(file.buf.getBackingFileColumnWidthBytes(column), size);
    ++column;
  }
  EXPECT_EQ(static_cast<unsigned long>(file.buf.getBackingFileRowBytes()) * kNumRows, document.dumps.at(0).size());
}
