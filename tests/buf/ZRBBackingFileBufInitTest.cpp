// How a backing-file buffer comes to be, opens its files, closes them and goes.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "support/BackingFileHarness.h"
#include "support/PropertyCall.h"
#include "zrbbase.h"

namespace {

// The file that a handle stands for.
std::string fileOf(int handle) {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(handle), error).string();
}
int accessModeOf(int handle) { return fcntl(handle, F_GETFL) & O_ACCMODE; }

std::string pathIn(const TemporaryDirectory& directory, const std::string& name) {
  return std::filesystem::canonical(directory.file(".")).string() + "/" + name;
}

// A buffer with any number of writing and reading nodes.
struct Connected {
  FileBuf buf;
  std::vector<std::unique_ptr<HarnessNode>> nodes;

  Connected(int writers, int readers) {
    setColumns(buf, kOneDouble);
    buf.setNumRows(10);
    for (int i = 0; i < writers; ++i) newNode().writeTo(buf);
    for (int i = 0; i < readers; ++i) newNode().readFrom(buf);
  }
  HarnessNode& newNode() { return *nodes.emplace_back(std::make_unique<HarnessNode>()); }
  long messagesOfNodes() {
    long messages = 0;
    for (const auto& node : nodes) messages += node->getNumMessages();
    return messages;
  }
};

}  // namespace

// ---- Construction ----

TEST(BackingFileBufInit, the_factory_makes_a_buffer_without_files) {
  void* result = nullptr;
  zrb_s_create_ZRBBackingFileBuf(&result);
  ASSERT_NE(result, nullptr);
  const std::unique_ptr<ZRBBackingFileBuf> buf(static_cast<ZRBBackingFileBuf*>(result));
  const ZRBBackingFileBuf& made = *buf;
  EXPECT_EQ(typeid(made), typeid(ZRBBackingFileBuf));
  EXPECT_EQ(buf->getBackingFileName(), nullptr);
  EXPECT_EQ(buf->getBackingFileTotalRows(), 0);
  EXPECT_EQ(buf->getBackingFileHandle(), -1);
  EXPECT_EQ(buf->getBlobFileName(), nullptr);
  EXPECT_EQ(buf->getBlobFileHandle(), -1);
  EXPECT_EQ(buf->isBlobOpen(), 0);
  EXPECT_EQ(buf->getBlobOffsetInData(), -1);
  EXPECT_EQ(buf->getBackingFileRowBytes(), 0);
  EXPECT_EQ(buf->getNumRows(), 3000);
  EXPECT_EQ(buf->getNumColumns(), 0);
  EXPECT_EQ(buf->getDefaultMaxAutoLevels(), 500);
  EXPECT_EQ(buf->getName(), nullptr);
  EXPECT_EQ(buf->getNumMessages(), 0);
  EXPECT_EQ(FileBuf().blobState(), (BlobState{0, -1, -1}));
}

TEST(BackingFileBufInit, it_knows_what_kind_of_buffer_it_is_in_both_modes) {
  const TemporaryDirectory directory;
  WrittenFile<> written(directory.file("rows"), 5);
  ReadFile<> read(directory.file("rows"), 0, 5);
  ZRBBackingFileBuf fresh;
  ZRBBackingFileBuf* const files[] = {&fresh, &written.buf, &read.buf};
  for (ZRBBackingFileBuf* file : files) {
    ZRBBuf& buf = *file;
    EXPECT_EQ(buf.isZRBBackingFileBuf(), 1);
    EXPECT_EQ(buf.getZRBBackingFileBuf(), file);
    EXPECT_EQ(buf.isZRBMemoryBuf(), 0);
    EXPECT_EQ(buf.getZRBMemoryBuf(), nullptr);
    EXPECT_EQ(buf.isMultiPass(), 1);
    EXPECT_EQ(buf.isRandomAccess(), 1);
  }
}

TEST(BackingFileBufInit, its_new_ends_are_of_its_own_kind_and_not_listed) {
  ZRBBackingFileBuf buf;
  HarnessNode node;
  const std::unique_ptr<ZRBBufReader> reader(buf.newBufReader(&node));
  const std::unique_ptr<ZRBBufWriter> writer(buf.newBufWriter(&node));
  ASSERT_NE(reader, nullptr);
  ASSERT_NE(writer, nullptr);
  const ZRBBufReader& readerRef = *reader;
  const ZRBBufWriter& writerRef = *writer;
  EXPECT_EQ(typeid(readerRef), typeid(ZRBBackingFileBufReader));
  EXPECT_EQ(typeid(writerRef), typeid(ZRBBackingFileBufWriter));
  EXPECT_EQ(reader->getBuf(), &buf);
  EXPECT_EQ(reader->getProc(), &node);
  EXPECT_EQ(writer->getBuf(), &buf);
  EXPECT_EQ(writer->getProc(), &node);
  EXPECT_EQ(buf.getNumReaders() + buf.getNumWriters(), 0);
}

// ---- Errors of init ----

TEST(BackingFileBufInit, the_first_fault_in_order_is_the_only_error_and_is_the_buffers) {
  const TemporaryDirectory directory;
  const std::string good = directory.file("rows");
  const std::string bad = directory.file("no such directory/rows");
  writeFile(good, doubleRows(0, 10));
  constexpr const char* kNoName = nullptr;
  const struct {
    int writers, readers;
    const char* name;
    std::string error;
  } cases[] = {
      {2, 0, good.c_str(), "more than one writer"},
      {3, 0, bad.c_str(), "more than one writer"},
      {2, 2, kNoName, "more than one writer"},  // comes before the readers and the name
      {0, 2, good.c_str(), "only one random access reader allowed"},
      {0, 3, kNoName, "only one random access reader allowed"},  // comes before the name
      {0, 2, bad.c_str(), "only one random access reader allowed"},
      {1, 2, kNoName, "ZRBBackingFileBuf: null file name"},
      {0, 1, kNoName, "ZRBBackingFileBuf: null file name"},
      {0, 0, kNoName, "ZRBBackingFileBuf: null file name"},
      {1, 0, bad.c_str(), "can't open file for write: " + bad},
      {1, 1, "", "can't open file for write: "},
      {0, 1, bad.c_str(), "can't open file for read: " + bad},
      {0, 0, bad.c_str(), "can't open file for read: " + bad},
      {0, 0, "", "can't open file for read: "},
      {0, 0, good.c_str(), ""},
      {0, 1, good.c_str(), ""},
      {1, 3, good.c_str(), ""},  // a buffer that is written may have several readers
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.writers << " writers, " << c.readers << " readers, "
                                    << (c.name ? c.name : "no name"));
    Connected connected(c.writers, c.readers);
    FileBuf& buf = connected.buf;
    const std::string blobs = directory.file("blobs");
    if (c.writers == 0) writeFile(blobs, "");
    buf.setBackingFileName(c.name);
    buf.setBlobFileName(blobs.c_str());
    const bool fails = !c.error.empty();
    EXPECT_EQ(buf.init(), fails ? 1 : 0);
    EXPECT_EQ(messagesOf(buf), fails ? Messages{c.error} : Messages{});
    EXPECT_EQ(connected.messagesOfNodes(), 0);
    // What comes after the fault is not done: no file is left open or made, and no rows are laid out.
    EXPECT_EQ(buf.getBackingFileHandle() >= 0, !fails);
    EXPECT_EQ(buf.getBlobFileHandle() >= 0, !fails);
    EXPECT_EQ(std::filesystem::exists(blobs), !fails || c.writers == 0);
    EXPECT_EQ(buf.getBytesPerRow(), fails ? 0 : 8);
    std::filesystem::remove(blobs);
  }
}

TEST(BackingFileBufInit, an_init_that_fails_leaves_the_ends_and_counts_as_they_are) {
  const TemporaryDirectory directory;
  WrittenFile<> file(directory.file("rows"), 10);
  file.releaseDoubles(3);
  file.writer.setRequestRows(4);
  file.buf.setEOF(1);
  file.buf.setBackingFileName(nullptr);
  EXPECT_EQ(file.buf.init(), 1);
  EXPECT_EQ(file.writer.getRequestRows(), 4);
  EXPECT_EQ(file.buf.getInputRowsReleased(), 3);
  EXPECT_EQ(file.buf.getEOF(), 1);
}

TEST(BackingFileBufInit, an_init_that_fails_closes_the_files_of_the_last_one) {
  const TemporaryDirectory directory;
  WrittenFile<> file(directory.file("rows"), 10, kOneDouble, directory.file("blobs"));
  const int rows = file.buf.getBackingFileHandle();
  const int blobs = file.buf.getBlobFileHandle();
  ASSERT_TRUE(isOpenHandle(rows) && isOpenHandle(blobs));
  file.buf.setBackingFileName(nullptr);
  EXPECT_EQ(file.buf.init(), 1);
  EXPECT_EQ(file.buf.getBackingFileHandle(), -1);
  EXPECT_EQ(file.buf.getBlobFileHandle(), -1);
  EXPECT_FALSE(isOpenHandle(rows));
  EXPECT_FALSE(isOpenHandle(blobs));
}

TEST(BackingFileBufInit, a_blob_file_that_cannot_be_opened_is_a_debug_message_and_no_error) {
  const TemporaryDirectory directory;
  const std::string rows = directory.file("rows");
  const std::string bad = directory.file("no such directory/blobs");
  WrittenFile<> written(rows, 10, kOneDouble, bad);
  EXPECT_EQ(messagesOf(written.buf), Messages{"debug: can't open file for write: " + bad});
  EXPECT_EQ(written.buf.hasError(), 0);
  EXPECT_EQ(written.buf.getBlobFileHandle(), -1);
  EXPECT_EQ(written.buf.init(), 0);
  written.releaseDoubles(2);
  EXPECT_EQ(written.buf.getInputRowsReleased(), 2);

  ReadFile<> read(rows, 2, 10, kOneDouble, bad);
  EXPECT_EQ(messagesOf(read.buf), Messages{"debug: can't open file for read: " + bad});
  EXPECT_EQ(read.buf.hasError(), 0);
  EXPECT_EQ(read.buf.getBlobFileHandle(), -1);
  EXPECT_EQ(read.buf.init(), 0);
  read.reader.setRequestRows(2);
  EXPECT_EQ(read.reader.isReady(), 1);
  EXPECT_EQ(read.reader.getRowsReady(), 2);
}

TEST(BackingFileBufInit, rows_that_cannot_be_allocated_are_an_error_after_the_files_are_open) {
  const TemporaryDirectory directory;
  WrittenFile<> file(directory.file("rows"), 268435456);  // of 8 bytes: one byte more than 2 GB less 1
  EXPECT_EQ(messagesOf(file.buf), Messages{"can't allocate buf larger than 2GB (1 columns, 268435456 rows)"});
  EXPECT_EQ(file.buf.init(), 1);
  EXPECT_GE(file.buf.getBackingFileHandle(), 0);
}

TEST(BackingFileBufInit, an_ordinary_path_is_whole_in_the_message_and_a_long_one_is_cut_at_the_limit) {
  const std::string prefix = "can't open file for read: ";
  for (const std::size_t length : {474u, 475u, 3000u}) {
    ZRBBackingFileBuf buf;
    const std::string name = "/" + std::string(length - 1, 'x');
    buf.setBackingFileName(name.c_str());
    EXPECT_EQ(buf.init(), 1);
    EXPECT_EQ(messagesOf(buf), Messages{(prefix + name).substr(0, 500)});
  }
}

// ---- What init does ----

TEST(BackingFileBufInit, a_writer_makes_the_files_for_the_owner_alone_and_empties_old_ones) {
  const TemporaryDirectory directory;
  const mode_t oldMask = umask(0);
  WrittenFile<> file(directory.file("rows"), 10, kOneDouble, directory.file("blobs"));
  umask(oldMask);
  for (const std::string name : {"rows", "blobs"}) {
    struct stat status;
    ASSERT_EQ(stat(directory.file(name).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600u) << name;
    EXPECT_EQ(status.st_size, 0) << name;
  }
  EXPECT_EQ(fileOf(file.buf.getBackingFileHandle()), pathIn(directory, "rows"));
  EXPECT_EQ(fileOf(file.buf.getBlobFileHandle()), pathIn(directory, "blobs"));
  EXPECT_EQ(accessModeOf(file.buf.getBackingFileHandle()), O_WRONLY);
  EXPECT_EQ(accessModeOf(file.buf.getBlobFileHandle()), O_WRONLY);

  writeFile(directory.file("rows"), "old rows");
  writeFile(directory.file("blobs"), "old blobs");
  EXPECT_EQ(file.buf.init(), 0);
  EXPECT_EQ(bytesOfFile(directory.file("rows")), "");
  EXPECT_EQ(bytesOfFile(directory.file("blobs")), "");
}

TEST(BackingFileBufInit, without_a_writer_the_files_are_only_read) {
  const TemporaryDirectory directory;
  writeFile(directory.file("rows"), doubleRows(0, 3));
  writeFile(directory.file("blobs"), "some blobs");
  ReadFile<> file(directory.file("rows"), 3, 10, kOneDouble, directory.file("blobs"));
  EXPECT_EQ(messagesOf(file.buf), Messages{});
  EXPECT_EQ(fileOf(file.buf.getBackingFileHandle()), pathIn(directory, "rows"));
  EXPECT_EQ(fileOf(file.buf.getBlobFileHandle()), pathIn(directory, "blobs"));
  EXPECT_EQ(accessModeOf(file.buf.getBackingFileHandle()), O_RDONLY);
  EXPECT_EQ(accessModeOf(file.buf.getBlobFileHandle()), O_RDONLY);
  file.reader.setRequestRows(3);
  file.reader.releaseRows(3);
  file.reader.releaseAll();
  EXPECT_EQ(bytesOfFile(directory.file("rows")), doubleRows(0, 3));
  EXPECT_EQ(bytesOfFile(directory.file("blobs")), "some blobs");
}

TEST(BackingFileBufInit, without_a_name_there_is_no_blob_file_and_no_message) {
  const TemporaryDirectory directory;
  WrittenFile<> file(directory.file("rows"), 10);
  EXPECT_EQ(file.buf.getBlobFileHandle(), -1);
  EXPECT_EQ(messagesOf(file.buf), Messages{});
}

TEST(BackingFileBufInit, it_lays_out_the_rows_and_starts_the_ends_and_counts_afresh) {
  const TemporaryDirectory directory;
  WrittenFile<> file(directory.file("rows"), 10, oneColumnOfEachType(), directory.file("blobs"));
  HarnessNode consumer;
  consumer.setNumRows(10);
  ZRBBufReader& reader = consumer.readFrom(file.buf);
  EXPECT_EQ(file.buf.getBytesPerRow(), 50);
  file.writer.setRequestRows(4);
  file.writer.releaseRows(3);
  reader.setRequestRows(3);
  reader.releaseRows(2);
  file.writer.openBlobData();
  file.writer.writeBlobData("data", 4);
  file.writer.setEOF();
  file.buf.addWarning("old");
  file.buf.setError("old");
  EXPECT_EQ(file.buf.blobState(), (BlobState{0, 0, 4}));

  EXPECT_EQ(file.buf.init(), 0);
  EXPECT_EQ(messagesOf(file.buf), Messages{});
  EXPECT_EQ(file.writer.getRequestRows(), 0);
  EXPECT_EQ(reader.getRequestRows(), 0);
  EXPECT_EQ(reader.getChunkPosition(), 0);
  EXPECT_EQ(file.buf.blobState(), (BlobState{0, -1, -1}));
  EXPECT_EQ(file.buf.getInputRowsReleased(), 0);
  EXPECT_EQ(file.buf.getEOF(), 0);
}

TEST(BackingFileBufInit, a_reading_buffer_starts_its_reader_with_nothing_cached) {
  const TemporaryDirectory directory;
  writeFile(directory.file("rows"), doubleRows(0, 8));
  ReadFile<> file(directory.file("rows"), 8, 4);
  file.reader.setRequestRows(1);
  file.reader.setChunkPosition(5);
  ASSERT_EQ(file.reader.getRowsReady(), 3);
  EXPECT_EQ(file.buf.init(), 0);
  EXPECT_EQ(file.reader.getChunkPosition(), 0);
  EXPECT_EQ(file.reader.getRequestRows(), 0);
  EXPECT_EQ(file.reader.getRowsReady(), 0);
  writeFile(directory.file("rows"), doubleRows(0, 8, 100));
  file.reader.setRequestRows(1);
  EXPECT_EQ(file.reader.getDouble(0, 0), 100);
}

TEST(BackingFileBufInit, the_mode_is_fixed_until_the_next_init) {
  const TemporaryDirectory directory;
  writeFile(directory.file("rows"), doubleRows(0, 8));
  ReadFile<> file(directory.file("rows"), 8, 4);
  EXPECT_EQ(file.reader.isWritingCache(), 0);
  HarnessNode producer;
  producer.setNumRows(4);
  ZRBBufWriter& writer = producer.writeTo(file.buf);
  EXPECT_EQ(file.reader.isWritingCache(), 0);
  EXPECT_EQ(file.buf.getTotalNumRows(), 8);
  EXPECT_EQ(file.buf.init(), 0);
  EXPECT_EQ(file.reader.isWritingCache(), 1);
  EXPECT_EQ(file.buf.getTotalNumRows(), -1);
  file.buf.deleteBufWriter(&writer);
  EXPECT_EQ(file.reader.isWritingCache(), 1);
  EXPECT_EQ(file.buf.init(), 0);
  EXPECT_EQ(file.reader.isWritingCache(), 0);
}

// ---- Names and handles ----

TEST(BackingFileBufInit, the_names_are_copied_and_can_be_taken_away) {
  ZRBBackingFileBuf buf;
  std::string rows = "rows";
  std::string blobs = "blobs";
  buf.setBackingFileName(rows.c_str());
  buf.setBlobFileName(blobs.c_str());
  rows[0] = blobs[0] = '?';
  EXPECT_STREQ(buf.getBackingFileName(), "rows");
  EXPECT_STREQ(buf.getBlobFileName(), "blobs");
  buf.setBackingFileName(buf.getBackingFileName());  // its own old text
  EXPECT_STREQ(buf.getBackingFileName(), "rows");
  buf.setBackingFileName(nullptr);
  buf.setBlobFileName(nullptr);
  EXPECT_EQ(buf.getBackingFileName(), nullptr);
  EXPECT_EQ(buf.getBlobFileName(), nullptr);
}

TEST(BackingFileBufInit, a_file_is_closed_once_and_no_other_file_in_its_place) {
  const TemporaryDirectory directory;
  WrittenFile<> file(directory.file("rows"), 10, kOneDouble, directory.file("blobs"));
  const struct {
    void (ZRBBackingFileBuf::*close)();
    int (ZRBBackingFileBuf::*handle)();
  } cases[] = {{&ZRBBackingFileBuf::closeBackingFile, &ZRBBackingFileBuf::getBackingFileHandle},
               {&ZRBBackingFileBuf::closeBlobFile, &ZRBBackingFileBuf::getBlobFileHandle}};
  for (const auto& c : cases) {
    const int handle = (file.buf.*c.handle)();
    ASSERT_TRUE(isOpenHandle(handle));
    (file.buf.*c.close)();
    EXPECT_EQ((file.buf.*c.handle)(), -1);
    EXPECT_FALSE(isOpenHandle(handle));
    replaceHandle(handle, "/dev/null", O_RDONLY);  // the number now stands for another file
    (file.buf.*c.close)();
    EXPECT_TRUE(isOpenHandle(handle));
    close(handle);
  }
  EXPECT_EQ(messagesOf(file.buf), Messages{});
}

TEST(BackingFileBufInit, destroying_it_closes_the_files_and_unlinks_the_ends) {
  const TemporaryDirectory directory;
  HarnessNode producer, consumer;
  int rows, blobs;
  {
    FileBuf buf;
    setColumns(buf, kOneDouble);
    buf.setBackingFileName(directory.file("rows").c_str());
    buf.setBlobFileName(directory.file("blobs").c_str());
    producer.writeTo(buf);
    consumer.readFrom(buf);
    ASSERT_EQ(buf.init(), 0);
    rows = buf.getBackingFileHandle();
    blobs = buf.getBlobFileHandle();
    ASSERT_TRUE(isOpenHandle(rows) && isOpenHandle(blobs));
  }
  EXPECT_FALSE(isOpenHandle(rows));
  EXPECT_FALSE(isOpenHandle(blobs));
  EXPECT_EQ(producer.getOutputBufWriter(0), nullptr);
  EXPECT_EQ(consumer.getInputBufReader(0), nullptr);
  EXPECT_EQ(producer.getNumMessages() + consumer.getNumMessages(), 0);
}

TEST(BackingFileBufInit, init_runs_by_its_property) {
  ZRBBackingFileBuf buf;
  PropertyCall("init").set(buf);
  EXPECT_EQ(messagesOf(buf), Messages{"ZRBBackingFileBuf: null file name"});
}
