// Rows of a pipeline kept in a file and counted later, as often as wanted: made by the factories and driven through
// properties alone.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "support/SystemObjects.h"
#include "support/TemporaryDirectory.h"

namespace {

using Texts = std::vector<std::string>;

// No blob column: a source that writes it as NA maps the ring row twice, so which cells it reaches depends on the chunks.
const std::vector<ColumnSpec> kColumns = {
    {"x", "double"}, {"f", "factor"}, {"s", "string"}, {"t", "timeDate"}, {"y", "double"}};
constexpr int kNumColumns = 5;
constexpr long long kRows = 4321;

std::unique_ptr<ZRBBackingFileBuf> makeFileBuf(const std::string& path, long ringRows) {
  std::unique_ptr<ZRBBackingFileBuf> buf = makeWith<ZRBBackingFileBuf>(zrb_s_create_ZRBBackingFileBuf);
  setColumnsThroughProperties(*buf, kColumns);
  setProperty(*buf, "num.rows", ringRows);
  setProperty(*buf, "backing.file.name", path.c_str());
  return buf;
}

std::unique_ptr<ZRBProcRandomReader> makeSource(long chunkRows) {
  std::unique_ptr<ZRBProcRandomReader> source = makeRandomReader();
  setProperty(*source, "seed", 20260117);
  setProperty(*source, "num.rows", chunkRows);
  setProperty(*source, "total.rows", kRows);
  return source;
}

// The figures of a count node as text; doubles by their bits.
Texts figuresOf(ZRBProcCount& count) {
  Texts figures;
  for (int column = 0; column < kNumColumns; ++column) {
    for (const char* name : {"col.min", "col.max", "col.mean", "col.stddev"}) {
      const double value = getDouble(count, name, column);
      std::uint64_t bits;
      std::memcpy(&bits, &value, sizeof bits);
      figures.push_back(name + std::string(" ") + std::to_string(bits));
    }
    for (const char* name : {"col.count.na", "col.count.ok"})
      figures.push_back(name + std::string(" ") + std::to_string(getLongLong(count, name, column)));
    for (long level = 0; level < getLong(count, "col.num.levels", column); ++level)
      figures.push_back(getString(count, "col.level.name", column, level) + " " +
                        std::to_string(getLongLong(count, "col.level.count", column, level)));
  }
  figures.push_back("rows " + std::to_string(getLongLong(count, "rows.done")));
  return figures;
}

void run(ZRBPipeline& pipeline) {
  setProperty(pipeline, "init");
  setProperty(pipeline, "execute", 0LL);
}

// Random rows through `buf` into a count node, all in one pipeline.
Texts figuresThrough(ZRBBuf& buf, long chunkRows) {
  const auto source = makeSource(chunkRows);
  const auto count = makeCount();
  const auto pipeline = makePipeline();
  connectOutput(*source, buf);
  connectInput(*count, buf);
  addToPipeline(*pipeline, buf);
  addToPipeline(*pipeline, *source);
  addToPipeline(*pipeline, *count);
  run(*pipeline);
  EXPECT_EQ(messagesThroughProperties(buf), Texts{});
  EXPECT_EQ(messagesThroughProperties(*source), Texts{});
  EXPECT_EQ(messagesThroughProperties(*count), Texts{});
  EXPECT_EQ(getBool(*count, "done"), 1);
  return figuresOf(*count);
}

Texts figuresInMemory() {
  const auto buf = makeBuf();
  setColumnsThroughProperties(*buf, kColumns);
  return figuresThrough(*buf, 1000);
}

struct Sizes {
  long ringRows, chunkRows;
};
const Sizes kSizes[] = {{1, 1}, {2, 1}, {3, 3}, {7, 5}, {1000, 999}, {5000, 4321}};

}  // namespace

TEST(BackingFile, random_rows_written_to_a_file_are_counted_twice_over_with_the_figures_of_memory) {
  const Texts expected = figuresInMemory();
  ASSERT_GT(expected.size(), 30u);
  const TemporaryDirectory directory;
  std::string firstFile;
  for (const Sizes& sizes : kSizes) {
    SCOPED_TRACE(testing::Message() << "ring of " << sizes.ringRows << ", chunks of " << sizes.chunkRows);
    const std::string path = directory.file("rows");
    long rowBytes = 0;
    {
      const auto buf = makeFileBuf(path, sizes.ringRows);
      const auto source = makeSource(sizes.chunkRows);
      const auto pipeline = makePipeline();
      connectOutput(*source, *buf);
      addToPipeline(*pipeline, *buf);
      addToPipeline(*pipeline, *source);
      run(*pipeline);
      EXPECT_EQ(messagesThroughProperties(*buf), Texts{});
      EXPECT_EQ(messagesThroughProperties(*source), Texts{});
      EXPECT_EQ(getBool(*source, "done"), 1);
      EXPECT_EQ(getLongLong(*buf, "total.num.rows"), kRows);
      rowBytes = getLong(*buf, "backing.file.row.bytes");
    }
    EXPECT_EQ(rowBytes, 8 + 2 + 16 + 8 + 8);
    ASSERT_EQ(bytesOfFile(path).size(), static_cast<std::size_t>(kRows * rowBytes));
    if (firstFile.empty()) firstFile = bytesOfFile(path);
    EXPECT_TRUE(bytesOfFile(path) == firstFile) << "the file depends on ring and chunks";

    for (const long ringRows : {1L, 7L, 1000L, 9999L}) {
      SCOPED_TRACE(testing::Message() << "read through a ring of " << ringRows);
      const auto buf = makeFileBuf(path, ringRows);
      setProperty(*buf, "backing.file.total.rows", kRows);
      setProperty(*buf, "column.level.name", 1, 0, "lev1");  // the file of rows has no dictionary
      const auto count = makeCount();
      const auto pipeline = makePipeline();
      connectInput(*count, *buf);
      addToPipeline(*pipeline, *buf);
      addToPipeline(*pipeline, *count);
      for (int pass = 0; pass < 2; ++pass) {
        run(*pipeline);
        EXPECT_EQ(messagesThroughProperties(*buf), Texts{});
        EXPECT_EQ(messagesThroughProperties(*count), Texts{});
        EXPECT_EQ(getBool(*count, "done"), 1);
        EXPECT_EQ(figuresOf(*count), expected) << "pass " << pass;
      }
    }
  }
}

TEST(BackingFile, rows_are_counted_while_they_are_written_with_the_figures_of_memory) {
  const Texts expected = figuresInMemory();
  const TemporaryDirectory directory;
  std::string firstFile;
  for (const Sizes& sizes : kSizes) {
    SCOPED_TRACE(testing::Message() << "ring of " << sizes.ringRows << ", chunks of " << sizes.chunkRows);
    const std::string path = directory.file("rows");
    const auto buf = makeFileBuf(path, sizes.ringRows);
    EXPECT_EQ(figuresThrough(*buf, sizes.chunkRows), expected);
    if (firstFile.empty()) firstFile = bytesOfFile(path);
    EXPECT_TRUE(bytesOfFile(path) == firstFile);
  }
}

TEST(BackingFile, a_full_device_stops_the_pipeline_with_the_buffers_error) {
  const auto buf = makeFileBuf("/dev/full", 100);
  const auto source = makeSource(10);
  const auto pipeline = makePipeline();
  connectOutput(*source, *buf);
  addToPipeline(*pipeline, *buf);
  addToPipeline(*pipeline, *source);
  run(*pipeline);
  EXPECT_EQ(messagesThroughProperties(*buf), Texts{"output device full while writing to /dev/full"});
  EXPECT_EQ(getBool(*buf, "has.error"), 1);
  EXPECT_EQ(getLong(*buf, "input.rows.released"), 0);
  EXPECT_EQ(getBool(*source, "done"), 0);
  EXPECT_EQ(getBool(*pipeline, "any.proc.ready"), 0);
  EXPECT_EQ(getLongLong(*pipeline, "last.execution.count"), 1);
}

TEST(BackingFile, a_file_shorter_than_its_total_stops_the_pipeline_with_the_buffers_error) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  writeFile(path, std::string(42 * 5 + 7, '\0'));
  const auto buf = makeFileBuf(path, 4);
  setProperty(*buf, "backing.file.total.rows", 9LL);
  const auto count = makeCount();
  const auto pipeline = makePipeline();
  connectInput(*count, *buf);
  addToPipeline(*pipeline, *buf);
  addToPipeline(*pipeline, *count);
  run(*pipeline);
  EXPECT_EQ(messagesThroughProperties(*buf), (Texts{"ZRBBackingFileBuf error reading file " + path,
                                                    "  pos=4, first chunk=4/4 rows, nread=49/168 bytes, errno=0"}));
  EXPECT_EQ(getBool(*count, "done"), 0);
  EXPECT_EQ(getLongLong(*count, "rows.done"), 4);
  EXPECT_EQ(getBool(*pipeline, "any.proc.ready"), 0);
}

TEST(BackingFile, closing_the_file_by_its_property_stops_the_pipeline) {
  const TemporaryDirectory directory;
  const auto buf = makeFileBuf(directory.file("rows"), 100);
  const auto source = makeSource(10);
  const auto pipeline = makePipeline();
  connectOutput(*source, *buf);
  addToPipeline(*pipeline, *buf);
  addToPipeline(*pipeline, *source);
  setProperty(*pipeline, "init");
  setProperty(*pipeline, "execute", 3LL);
  EXPECT_EQ(getLong(*buf, "input.rows.released"), 30);
  setProperty(*buf, "close.backing.file");
  setProperty(*pipeline, "execute", 0LL);
  EXPECT_EQ(messagesThroughProperties(*buf), Texts{"ZRBBackingFileBuf::releaseInputRows: file closed!"});
  EXPECT_EQ(getLong(*buf, "input.rows.released"), 30);
  EXPECT_EQ(bytesOfFile(directory.file("rows")).size(), 30u * 42u);
}
