// Rows on their way back from the file: the cache and its moves, end of data, passes, failures.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/BackingFileHarness.h"

namespace {

// A file of rows of one double that is overwritten between the moves of its reader: row r of version v holds
// v * kVersion + r.  A cell so tells which row it is, and which version of the file it was read from.
constexpr long kVersion = 1000;

class VersionedFile {
public:
  VersionedFile(std::string path, long totalRows)
      : m_path(std::move(path)),
        m_total(totalRows),
        m_handle(open(m_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600)) {
    next();
  }
  VersionedFile(const VersionedFile&) = delete;
  VersionedFile& operator=(const VersionedFile&) = delete;
  ~VersionedFile() { close(m_handle); }

  const std::string& path() const { return m_path; }
  long version() const { return m_version; }
  void next() {
    ++m_version;
    const std::string bytes = doubleRows(0, m_total, static_cast<double>(m_version * kVersion));
    if (pwrite(m_handle, bytes.data(), bytes.size(), 0) != static_cast<long>(bytes.size()))
      throw std::runtime_error("can't write " + m_path);
  }

private:
  std::string m_path;
  long m_total;
  int m_handle;
  long m_version = 0;
};

// The rules of the cache, over numbers of rows: a second statement, for comparison.
class CacheModel {
public:
  CacheModel(long capacity, long total) : m_capacity(capacity), m_total(total), m_slots(slotCount(), 0) {}

  void restart() { m_position = m_start = m_end = m_request = 0; }
  void request(long rows, long version) {
    m_request = rows;
    move(m_position, version);
  }
  void move(long position, long version) {
    m_position = position;
    if (m_request == 0) return;
    const long wantedEnd = position + m_request;
    const bool wholeTail = m_end >= m_total;
    if (position >= m_start && (wantedEnd <= m_end || wholeTail)) return;
    const bool inside = m_start <= position && position < m_end;
    const bool onlyFrontMissing = position < m_start && m_start < position + m_capacity && wantedEnd <= m_end;
    const long loadFrom = inside ? m_end : position;
    const long loadTo = onlyFrontMissing ? m_start : position + m_capacity;
    for (long row = loadFrom; row < std::min(loadTo, m_total); ++row)
      m_slots[static_cast<std::size_t>(row % m_capacity)] = static_cast<double>(version * kVersion + row);
    const long cachedTo = onlyFrontMissing ? std::min(m_end, position + m_capacity) : position + m_capacity;
    m_start = position;
    m_end = std::max(position, std::min(cachedTo, m_total));
  }
  long position() const { return m_position; }
  long rowsReady() const { return m_start <= m_position && m_position < m_end ? m_end - m_position : 0; }
  bool eof() const { return m_position + rowsReady() >= m_total; }
  bool ready() const { return eof() || rowsReady() >= m_request; }
  const std::vector<double>& slots() const { return m_slots; }

private:
  std::size_t slotCount() const { return static_cast<std::size_t>(m_capacity); }

  long m_capacity, m_total;
  long m_start = 0, m_end = 0;  // the cached rows
  long m_position = 0, m_request = 0;
  std::vector<double> m_slots;  // what each ring row holds
};

std::vector<double> slotsOf(ZRBBuf& buf) {
  std::vector<double> slots;
  for (long row = 0; row < buf.getNumRows(); ++row) slots.push_back(buf.getRawDouble(row, 0));
  return slots;
}

// The rows in the ring that were read from this version of the file, in order.
std::vector<long> rowsReadFrom(ZRBBuf& buf, long version) {
  std::vector<long> rows;
  for (const double cell : slotsOf(buf)) {
    const long content = static_cast<long>(cell);
    if (content / kVersion == version) rows.push_back(content % kVersion);
  }
  std::sort(rows.begin(), rows.end());
  return rows;
}

using Rows = std::vector<long>;

}  // namespace

// ---- The cache ----

TEST(BackingFileBufReading, each_move_reads_the_rows_that_are_missing_and_no_others) {
  const TemporaryDirectory directory;
  VersionedFile rows(directory.file("rows"), 10);
  ReadFile<> file(rows.path(), 10, 4);
  const struct {
    long request, position;
    Rows read;
    long ready;
    int eof;
    const char* reason;
  } moves[] = {
      {2, 0, {0, 1, 2, 3}, 4, 0, "an empty cache"},
      {2, 1, {}, 3, 0, "inside, and the request is cached"},
      {2, 2, {}, 2, 0, "the request is just cached"},
      {2, 3, {4, 5, 6}, 4, 0, "inside, and the request is not: row 3 stays"},
      {2, 2, {2}, 4, 0, "only the front is missing; row 6 makes room"},
      {2, 0, {0, 1}, 4, 0, "only the front is missing"},
      {4, 0, {}, 4, 0, "a request of the whole ring is cached"},
      {2, 4, {4, 5, 6, 7}, 4, 0, "just behind the cache"},
      {2, 0, {0, 1, 2, 3}, 4, 0, "a whole ring ahead: no overlap"},
      {2, 5, {5, 6, 7, 8}, 4, 0, "behind the cache with a gap"},
      {4, 6, {9}, 4, 1, "inside; the ring would hold more than the file"},
      {4, 7, {}, 3, 1, "the rest of the file is cached, whatever is requested"},
      {4, 9, {}, 1, 1, "the last row"},
      {4, 10, {}, 0, 1, "behind the last row"},
      {4, 12, {}, 0, 1, "beyond the file"},
      {1, 2, {2, 3, 4, 5}, 4, 0, "from beyond the file back into it"},
      {1, 9, {9}, 1, 1, "the last row alone"},
      {2, 8, {8}, 2, 1, "only the front is missing, at the end of the file"},
      {1, 9, {}, 1, 1, "the cache still begins at row 8"},
      {3, 7, {7}, 3, 1, "only the front is missing, and the request is the rest of the file"},
      {1, 0, {0, 1, 2, 3}, 4, 0, "the first pass again"},
      {1, 9, {9}, 1, 1, "one row is cached"},
      {4, 8, {8, 9}, 2, 1, "more is requested than front and cache have: everything is read"},
      {1, 6, {6, 7}, 4, 1, "two rows of front"},
      {1, 3, {3, 4, 5}, 4, 0, "three rows of front; of the four cached one stays"},
  };
  for (const auto& move : moves) {
    SCOPED_TRACE(testing::Message() << "to " << move.position << " for " << move.request << ": " << move.reason);
    if (move.request != file.reader.getRequestRows()) {
      // A new request at the new position: with nothing requested, the move there reads nothing.
      file.reader.setRequestRows(0);
      file.reader.setChunkPosition(move.position);
    }
    rows.next();
    if (move.request != file.reader.getRequestRows())
      file.reader.setRequestRows(move.request);
    else
      file.reader.setChunkPosition(move.position);
    EXPECT_EQ(rowsReadFrom(file.buf, rows.version()), move.read);
    EXPECT_EQ(file.reader.getChunkPosition(), move.position);
    ASSERT_EQ(file.reader.getRowsReady(), move.ready);
    EXPECT_EQ(file.reader.getEOF(), move.eof);
    for (long row = 0; row < move.ready; ++row)
      EXPECT_EQ(static_cast<long>(file.reader.getDouble(row, 0)) % kVersion, move.position + row);
  }
  EXPECT_EQ(messagesOf(file.buf), Messages{});
  EXPECT_EQ(messagesOf(file.node), Messages{});
}

TEST(BackingFileBufReading, random_moves_requests_and_releases_agree_with_a_model_of_the_cache) {
  const TemporaryDirectory directory;
  for (const long capacity : {1L, 2L, 3L, 5L, 8L}) {
    for (const long total : {0L, 1L, 2L, 7L, 8L, 9L, 30L}) {
      SCOPED_TRACE(testing::Message() << "ring of " << capacity << ", file of " << total);
      VersionedFile rows(directory.file("rows"), total);
      ReadFile<> file(rows.path(), total, capacity);
      CacheModel model(capacity, total);
      std::mt19937 random(static_cast<unsigned>(100 * capacity + total));
      const auto upTo = [&](long limit) { return std::uniform_int_distribution<long>(0, limit)(random); };
      for (int step = 0; step < 300; ++step) {
        rows.next();
        const long action = upTo(9);
        if (action == 0 && step % 10 == 0) {
          ASSERT_EQ(file.buf.init(), 0);
          model.restart();
        } else if (action < 3) {
          const long request = upTo(capacity);
          file.reader.setRequestRows(request);
          model.request(request, rows.version());
        } else if (action < 6) {
          const long released = upTo(model.rowsReady());
          file.reader.releaseRows(released);
          model.move(model.position() + released, rows.version());
        } else {
          const long near = std::max(0L, model.position() + upTo(2 * capacity) - capacity);
          const long position = action < 9 ? near : upTo(total + 3);
          file.reader.setChunkPosition(position);
          model.move(position, rows.version());
        }
        SCOPED_TRACE(testing::Message() << "step " << step << " at " << model.position());
        ASSERT_EQ(slotsOf(file.buf), model.slots());
        ASSERT_EQ(file.reader.getChunkPosition(), model.position());
        ASSERT_EQ(file.reader.getRowsReady(), model.rowsReady());
        ASSERT_EQ(file.reader.getEOF(), model.eof());
        ASSERT_EQ(file.reader.isReady(), model.ready());
        for (long row = 0; row < model.rowsReady(); ++row)
          ASSERT_EQ(static_cast<long>(file.reader.getDouble(row, 0)) % kVersion, model.position() + row);
      }
      EXPECT_EQ(messagesOf(file.buf), Messages{});
      EXPECT_EQ(messagesOf(file.node), Messages{});
    }
  }
}

TEST(BackingFileBufReading, nothing_is_read_without_a_request) {
  const TemporaryDirectory directory;
  VersionedFile rows(directory.file("rows"), 10);
  ReadFile<> file(rows.path(), 10, 4);
  file.reader.setChunkPosition(3);
  file.reader.setRequestRows(0);
  file.reader.setRequestRows(-2);
  EXPECT_EQ(file.reader.getChunkPosition(), 3);
  EXPECT_EQ(file.reader.getRowsReady(), 0);
  EXPECT_EQ(file.reader.getEOF(), 0);
  EXPECT_EQ(file.reader.isReady(), 1) << "of nothing requested, nothing is missing";
  EXPECT_EQ(slotsOf(file.buf), std::vector<double>(4, 0.0));
  file.reader.setRequestRows(1);
  EXPECT_EQ(file.reader.getRowsReady(), 4) << "the whole ring is filled";
  EXPECT_EQ(rowsReadFrom(file.buf, rows.version()), (Rows{3, 4, 5, 6}));
}

TEST(BackingFileBufReading, with_an_error_on_the_node_the_position_moves_but_nothing_is_read) {
  const TemporaryDirectory directory;
  VersionedFile rows(directory.file("rows"), 10);
  ReadFile<> file(rows.path(), 10, 4);
  file.node.setError("error");
  file.reader.setRequestRows(2);
  file.reader.setChunkPosition(5);
  EXPECT_EQ(file.reader.getRequestRows(), 2);
  EXPECT_EQ(file.reader.getChunkPosition(), 5);
  EXPECT_EQ(file.reader.getRowsReady(), 0);
  EXPECT_EQ(slotsOf(file.buf), std::vector<double>(4, 0.0));
  file.node.clearMessages();
  file.reader.setChunkPosition(5);
  EXPECT_EQ(file.reader.getRowsReady(), 4);
}

TEST(BackingFileBufReading, an_error_on_the_buffer_does_not_keep_rows_from_being_read_but_no_reader_is_ready) {
  const TemporaryDirectory directory;
  VersionedFile rows(directory.file("rows"), 10);
  ReadFile<> file(rows.path(), 10, 4);
  file.buf.setError("error");
  file.reader.setRequestRows(2);
  EXPECT_EQ(file.reader.getRowsReady(), 4);
  EXPECT_EQ(file.reader.getDouble(1, 0), kVersion + 1);
  EXPECT_EQ(file.reader.isReady(), 0);
}

TEST(BackingFileBufReading, a_request_that_is_refused_keeps_the_old_one_and_reads_nothing) {
  const TemporaryDirectory directory;
  VersionedFile rows(directory.file("rows"), 10);
  ReadFile<> file(rows.path(), 10, 4);
  file.node.setNumRows(3);
  file.reader.setRequestRows(5);
  EXPECT_EQ(messagesOf(file.node),
            Messages{"ZRBBufReader::setRequestRows asked for more rows than ZRBBuf::getNumRows(): 5"});
  file.node.clearMessages();
  file.reader.setRequestRows(4);
  EXPECT_EQ(messagesOf(file.node),
            Messages{"ZRBBufReader::setRequestRows asked for more rows than ZRBProc::getNumRows(): 4"});
  EXPECT_EQ(file.reader.getRequestRows(), 0);
  EXPECT_EQ(file.reader.getRowsReady(), 0);
}

// ---- End of data ----

TEST(BackingFileBufReading, end_of_data_is_when_the_ready_rows_reach_the_total) {
  const struct {
    long long total;
    long capacity, request;
    long long position;
    long ready;
    int eof;
  } cases[] = {
      {100, 20, 10, 97, 3, 1},   // fewer rows than requested are left
      {100, 20, 10, 90, 10, 1},  // just the rows requested
      {100, 20, 10, 80, 20, 1},  // the ring reaches to the end
      {100, 20, 10, 79, 20, 0},  // one row is left behind the ring
      {100, 20, 10, 0, 20, 0},  {100, 20, 1, 99, 1, 1},    {100, 20, 1, 100, 0, 1}, {100, 20, 1, 101, 0, 1},
      {100, 100, 1, 0, 100, 1}, {100, 3000, 1, 0, 100, 1}, {100, 20, 0, 99, 0, 0},  // nothing requested, nothing ready
      {100, 20, 0, 100, 0, 1},  {0, 20, 1, 0, 0, 1},       {0, 20, 0, 0, 0, 1},     {-1, 20, 1, 0, 0, 1},
      {-1, 20, 0, 0, 0, 1},
  };
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  writeFile(path, doubleRows(0, 100));
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.request << " rows at " << c.position << " of " << c.total);
    ReadFile<> file(path, c.total, c.capacity);
    file.reader.setChunkPosition(c.position);
    file.reader.setRequestRows(c.request);
    ASSERT_EQ(file.reader.getRowsReady(), c.ready);
    EXPECT_EQ(file.reader.getEOF(), c.eof);
    EXPECT_EQ(file.reader.isReady(), c.eof || c.ready >= c.request);
    EXPECT_EQ(file.reader.getTotalNumRows(), c.total);
    for (long row = 0; row < c.ready; ++row)
      EXPECT_EQ(file.reader.getDouble(row, 0), static_cast<double>(c.position + row));
    EXPECT_EQ(messagesOf(file.buf), Messages{});
    EXPECT_EQ(messagesOf(file.node), Messages{});
  }
}

TEST(BackingFileBufReading, a_total_below_the_rows_of_the_file_ends_the_data_there) {
  const TemporaryDirectory directory;
  writeFile(directory.file("rows"), doubleRows(0, 10));
  ReadFile<> file(directory.file("rows"), 6, 4);
  file.reader.setRequestRows(4);
  file.reader.releaseRows(4);
  EXPECT_EQ(file.reader.getRowsReady(), 2);
  EXPECT_EQ(file.reader.getEOF(), 1);
  EXPECT_EQ(slotsOf(file.buf), (std::vector<double>{4, 5, 2, 3})) << "row 6 is not read";
}

TEST(BackingFileBufReading, a_total_that_is_raised_after_init_is_used_at_the_next_move) {
  const TemporaryDirectory directory;
  writeFile(directory.file("rows"), doubleRows(0, 10));
  ReadFile<> file(directory.file("rows"), 3, 4);
  file.reader.setRequestRows(4);
  EXPECT_EQ(file.reader.getRowsReady(), 3);
  file.buf.setBackingFileTotalRows(10);
  EXPECT_EQ(file.reader.getEOF(), 0);
  file.reader.setRequestRows(4);
  EXPECT_EQ(file.reader.getRowsReady(), 4);
  EXPECT_EQ(file.reader.getDouble(3, 0), 3);
}

TEST(BackingFileBufReading, of_a_cache_that_ended_at_a_lower_total_only_the_rows_read_are_ready) {
  const TemporaryDirectory directory;
  writeFile(directory.file("rows"), doubleRows(0, 10));
  ReadFile<> file(directory.file("rows"), 3, 4);
  file.reader.setChunkPosition(1);
  file.reader.setRequestRows(1);
  EXPECT_EQ(file.reader.getRowsReady(), 2);
  file.buf.setBackingFileTotalRows(10);
  file.reader.setChunkPosition(0);  // only the front is missing
  EXPECT_EQ(file.reader.getRowsReady(), 3);
  EXPECT_EQ(file.reader.getEOF(), 0);
  EXPECT_EQ(slotsOf(file.buf), (std::vector<double>{0, 1, 2, 0})) << "row 3 was not read";
}

// ---- Cells and passes ----

TEST(BackingFileBufReading, cells_of_every_type_come_back_as_they_were_written_in_every_pass) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  constexpr long kRows = 50;
  const auto number = [](long row) { return row % 7 == 0 ? ZRBObj::getDoubleNA() : 1.0 / static_cast<double>(row); };
  const auto level = [](long row) { return row % 5 == 0 ? -1L : row * 1000 % 65535; };
  const auto text = [](long row) { return row % 3 == 0 ? std::string("\xEF\xBF\xBF") : std::to_string(row * row); };
  const auto time = [](long row) { return row % 11 == 0 ? ZRBObj::getTimeDateNA() : -12345678901LL * row; };
  const auto offset = [](long row) { return row % 13 == 0 ? -1 : row * (1LL << 40); };
  {
    WrittenFile<> file(path, 7, oneColumnOfEachType());
    for (long row = 0; row < kRows; ++row) {
      file.writer.setDouble(0, 0, number(row));
      file.writer.setLevelNum(0, 1, level(row));
      file.writer.setString(0, 2, text(row).c_str());
      file.writer.setTimeDate(0, 3, time(row));
      file.writer.setBlobOffset(0, 4, offset(row));
      file.writer.setBlobLength(0, 4, offset(row) / 3);
      file.writer.releaseRows(1);
    }
    file.writer.setEOF();
  }
  for (const long capacity : {1L, 2L, 3L, 7L, 50L, 1000L}) {
    SCOPED_TRACE(capacity);
    ReadFile<> file(path, kRows, capacity, oneColumnOfEachType());
    ZRBBufReader& reader = file.reader;
    reader.setRequestRows(1);
    for (int pass = 0; pass < 3; ++pass) {
      reader.setChunkPosition(0);
      long row = 0;
      while (!(reader.getEOF() && reader.getRowsReady() == 0)) {
        const long rows = std::max(1L, reader.getRowsReady() - pass);  // other chunks in every pass
        for (long i = 0; i < rows; ++i, ++row) {
          ASSERT_EQ(bitsOf(reader.getDouble(i, 0)), bitsOf(number(row))) << row;
          ASSERT_EQ(reader.getLevelNum(i, 1), level(row)) << row;
          ASSERT_EQ(reader.getString(i, 2), text(row)) << row;
          ASSERT_EQ(reader.getTimeDate(i, 3), time(row)) << row;
          ASSERT_EQ(reader.getBlobOffset(i, 4), offset(row)) << row;
          ASSERT_EQ(reader.getBlobLength(i, 4), offset(row) / 3) << row;
        }
        reader.releaseRows(rows);
      }
      EXPECT_EQ(row, kRows);
      EXPECT_EQ(reader.getChunkPosition(), kRows);
    }
    EXPECT_EQ(messagesOf(file.buf), Messages{});
    EXPECT_EQ(messagesOf(file.node), Messages{});
  }
}

TEST(BackingFileBufReading, rows_without_columns_are_counted_through) {
  const TemporaryDirectory directory;
  writeFile(directory.file("rows"), "");
  ReadFile<> file(directory.file("rows"), 10, 4, {});
  file.reader.setRequestRows(1);
  EXPECT_EQ(file.reader.getRowsReady(), 4);
  file.reader.releaseRows(4);
  file.reader.releaseRows(4);
  EXPECT_EQ(file.reader.getRowsReady(), 2);
  EXPECT_EQ(file.reader.getEOF(), 1);
  file.reader.releaseRows(2);
  EXPECT_EQ(file.reader.getRowsReady(), 0);
  EXPECT_EQ(file.reader.getEOF(), 1);
  EXPECT_EQ(messagesOf(file.buf), Messages{});
}

TEST(BackingFileBufReading, a_reader_of_a_file_may_go_anywhere_and_read_it_again) {
  const TemporaryDirectory directory;
  writeFile(directory.file("rows"), doubleRows(0, 3));
  ReadFile<> file(directory.file("rows"), 3, 4);
  EXPECT_EQ(file.reader.isMultiPass(), 1);
  EXPECT_EQ(file.reader.isRandomAccess(), 1);
  EXPECT_EQ(file.reader.isWritingCache(), 0);
}

// ---- Release ----

TEST(BackingFileBufReading, the_range_of_a_release_is_checked_before_whether_everything_is_released) {
  const TemporaryDirectory directory;
  writeFile(directory.file("rows"), doubleRows(0, 10));
  const std::string negative = "ZRBBackingFileBufReader::releaseRows can't release negative rows: ";
  const std::string tooMany = "ZRBBackingFileBufReader::releaseRows can't release more rows than are ready: ";
  const struct {
    bool releasedAll;
    long rows;
    std::string error;
    long long position;  // afterwards; with everything released, what the writer has released: nothing
  } cases[] = {
      {false, -1, negative + "-1", 0},
      {false, 5, tooMany + "5", 0},
      {false, 0, "", 0},
      {false, 3, "", 3},
      {false, 4, "", 4},
      {true, -1, negative + "-1", 0},
      {true, 1, tooMany + "1", 0},
      {true, 0, "", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.rows << (c.releasedAll ? " after all" : ""));
    ReadFile<> file(directory.file("rows"), 10, 4);
    file.reader.setRequestRows(2);
    if (c.releasedAll) file.reader.releaseAll();
    file.reader.releaseRows(c.rows);
    EXPECT_EQ(messagesOf(file.node), c.error.empty() ? Messages{} : Messages{c.error});
    EXPECT_EQ(messagesOf(file.buf), Messages{});
    EXPECT_EQ(file.reader.getChunkPosition(), c.position);
  }
}

TEST(BackingFileBufReading, releasing_everything_closes_both_files_and_ends_all_moves) {
  const TemporaryDirectory directory;
  writeFile(directory.file("rows"), doubleRows(0, 10));
  writeFile(directory.file("blobs"), "");
  ReadFile<> file(directory.file("rows"), 10, 4, kOneDouble, directory.file("blobs"));
  file.reader.setRequestRows(2);
  file.reader.setChunkPosition(1);
  const int rows = file.buf.getBackingFileHandle();
  const int blobs = file.buf.getBlobFileHandle();
  file.reader.releaseAll();
  EXPECT_EQ(file.buf.getBackingFileHandle(), -1);
  EXPECT_EQ(file.buf.getBlobFileHandle(), -1);
  EXPECT_FALSE(isOpenHandle(rows));
  EXPECT_FALSE(isOpenHandle(blobs));
  EXPECT_EQ(file.reader.getRowsReady(), 0);
  EXPECT_EQ(file.reader.getChunkPosition(), 0) << "what a writer has released: there is none";
  file.reader.setChunkPosition(3);
  file.reader.setChunkPosition(-3);
  file.reader.setRequestRows(1);
  EXPECT_EQ(file.reader.getRequestRows(), 1);
  EXPECT_EQ(file.reader.getChunkPosition(), 0);
  EXPECT_EQ(file.reader.getRowsReady(), 0);
  EXPECT_EQ(messagesOf(file.buf), Messages{});
  EXPECT_EQ(messagesOf(file.node), Messages{});
  EXPECT_EQ(file.buf.init(), 0);
  file.reader.setRequestRows(1);
  EXPECT_EQ(file.reader.getRowsReady(), 4) << "init starts again";
}

TEST(BackingFileBufReading, a_derived_reader_is_asked_through_its_virtual_operations) {
  class ShyReader : public ZRBBackingFileBufReader {
  public:
    ShyReader(ZRBBackingFileBuf* buf, ZRBProc* proc) : ZRBBackingFileBufReader(buf, proc) {}
    long getRowsReady() override { return std::min(ZRBBackingFileBufReader::getRowsReady(), 1L); }
    long long getTotalNumRows() override { return 5; }
    void setChunkPosition(long long position) override {
      moves.push_back(position);
      ZRBBackingFileBufReader::setChunkPosition(position);
    }
    std::vector<long long> moves;
  };
  const TemporaryDirectory directory;
  writeFile(directory.file("rows"), doubleRows(0, 10));
  ReadFile<ShyReader> file(directory.file("rows"), 10, 4);
  file.reader.setRequestRows(2);
  EXPECT_EQ(file.reader.isReady(), 0);
  file.reader.releaseRows(2);
  EXPECT_EQ(messagesOf(file.node),
            Messages{"ZRBBackingFileBufReader::releaseRows can't release more rows than are ready: 2"});
  file.node.clearMessages();
  file.reader.releaseRows(1);
  EXPECT_EQ(file.reader.getEOF(), 0);
  file.reader.setChunkPosition(4);
  EXPECT_EQ(file.reader.getEOF(), 1) << "one row ready of a total of five";
  EXPECT_EQ(slotsOf(file.buf), (std::vector<double>{4, 1, 2, 3})) << "nothing beyond that total is read";
  EXPECT_EQ(file.reader.moves, (std::vector<long long>{0, 1, 4}));
}

// ---- Failures ----

TEST(BackingFileBufReading, a_negative_position_is_an_error_and_changes_nothing) {
  const TemporaryDirectory directory;
  writeFile(directory.file("rows"), doubleRows(0, 10));
  const struct {
    long long position;
    const char* text;
  } cases[] = {{-1, "-1"}, {-3000000000, "-3e+09"}, {std::numeric_limits<long long>::min(), "-9.22337e+18"}};
  for (const auto& c : cases) {
    ReadFile<> file(directory.file("rows"), 10, 4);
    file.reader.setRequestRows(2);
    file.reader.setChunkPosition(1);
    file.reader.setChunkPosition(c.position);
    EXPECT_EQ(messagesOf(file.node),
              Messages{std::string("ZRBBackingFileBufReader::setChunkPosition can't set position: ") + c.text});
    EXPECT_EQ(messagesOf(file.buf), Messages{});
    EXPECT_EQ(file.reader.getChunkPosition(), 1);
    EXPECT_EQ(file.reader.getRowsReady(), 3);
  }
}

TEST(BackingFileBufReading, a_closed_file_is_an_error_of_the_node_even_where_the_rows_are_cached) {
  const TemporaryDirectory directory;
  writeFile(directory.file("rows"), doubleRows(0, 10));
  const Messages closed{"ZRBBackingFileBufReader::setChunkPosition: file closed!"};
  const struct {
    const char* reason;
    void (*move)(ZRBBufReader& reader);
    long long position;
    Messages errors;
  } cases[] = {
      {"a row that is not cached", [](ZRBBufReader& reader) { reader.setChunkPosition(7); }, 7, closed},
      {"a cached row", [](ZRBBufReader& reader) { reader.setChunkPosition(1); }, 1, closed},
      {"a release", [](ZRBBufReader& reader) { reader.releaseRows(2); }, 2, closed},
      {"a request", [](ZRBBufReader& reader) { reader.setRequestRows(1); }, 0, closed},
      {"no request", [](ZRBBufReader& reader) { reader.setRequestRows(0); }, 0, {}},
      {"a negative position",
       [](ZRBBufReader& reader) { reader.setChunkPosition(-1); },
       0,
       {"ZRBBackingFileBufReader::setChunkPosition can't set position: -1"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reason);
    ReadFile<> file(directory.file("rows"), 10, 4);
    file.reader.setRequestRows(2);
    file.buf.closeBackingFile();
    c.move(file.reader);
    EXPECT_EQ(messagesOf(file.node), c.errors);
    EXPECT_EQ(messagesOf(file.buf), Messages{});
    EXPECT_EQ(file.reader.getChunkPosition(), c.position);
  }
}

TEST(BackingFileBufReading, a_file_cut_underneath_is_reported_with_the_numbers_of_the_short_read) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  const struct {
    long position;       // of the first load, of four rows
    long next, request;  // of a second load; negative: there is none
    std::size_t bytes;   // of the file when the last load is made
    const char* detail;
    long ready;  // as if the load had been whole
  } cases[] = {
      {0, -1, 1, 29, "  pos=0, first chunk=4/4 rows, nread=29/32 bytes, errno=0", 4},
      {0, -1, 1, 0, "  pos=0, first chunk=4/4 rows, nread=0/32 bytes, errno=0", 4},
      {3, -1, 1, 40, "  pos=3, second chunk=3/4 rows, nread=8/24 bytes, errno=0", 4},
      {3, -1, 1, 32, "  pos=3, second chunk=3/4 rows, nread=0/24 bytes, errno=0", 4},
      {3, -1, 1, 27, "  pos=3, first chunk=1/4 rows, nread=3/8 bytes, errno=0", 4},
      {8, -1, 1, 71, "  pos=8, first chunk=2/2 rows, nread=7/16 bytes, errno=0", 2},
      {0, 2, 4, 40, "  pos=4, first chunk=2/2 rows, nread=8/16 bytes, errno=0", 4},  // two rows stay
      {5, 3, 1, 25, "  pos=3, first chunk=1/2 rows, nread=1/8 bytes, errno=0", 4},   // only the front is missing
      {5, 3, 1, 32, "  pos=3, second chunk=1/2 rows, nread=0/8 bytes, errno=0", 4},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.detail);
    writeFile(path, doubleRows(0, 10));
    ReadFile<> file(path, 10, 4);
    file.reader.setChunkPosition(c.position);
    if (c.next >= 0) {
      file.reader.setRequestRows(1);
      ASSERT_EQ(messagesOf(file.buf), Messages{});
      file.reader.setRequestRows(0);
      file.reader.setChunkPosition(c.next);
    }
    writeFile(path, doubleRows(0, 10).substr(0, c.bytes));
    file.reader.setRequestRows(c.request);
    EXPECT_EQ(messagesOf(file.buf), (Messages{"ZRBBackingFileBuf error reading file " + path, c.detail}));
    EXPECT_EQ(messagesOf(file.node), Messages{});
    EXPECT_EQ(file.reader.getRowsReady(), c.ready);
    EXPECT_EQ(file.reader.isReady(), 0);
  }
}

TEST(BackingFileBufReading, the_numbers_of_a_short_read_stay_in_the_byte_order_of_the_file) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  writeFile(path, doubleRows(1, 3));
  ReadFile<> file(path, 4, 4);
  file.reader.setRequestRows(1);
  EXPECT_EQ(hexOf(file.buf.ring()), hexOf(doubleRows(1, 3) + std::string(8, '\0')));
}

TEST(BackingFileBufReading, a_read_that_fails_is_reported_with_its_errno) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("rows");
  writeFile(path, doubleRows(0, 10));
  ReadFile<> writeOnly(path, 10, 4);
  replaceHandle(writeOnly.buf.getBackingFileHandle(), path, O_WRONLY);
  writeOnly.reader.setRequestRows(1);
  EXPECT_EQ(messagesOf(writeOnly.buf), (Messages{"ZRBBackingFileBuf error reading file " + path,
                                                 "  pos=0, first chunk=4/4 rows, nread=-1/32 bytes, errno=9"}));

  const std::string folder = directory.file(".");
  ReadFile<> ofDirectory(folder, 10, 4);
  ASSERT_EQ(messagesOf(ofDirectory.buf), Messages{}) << "a directory can be opened for read";
  ofDirectory.reader.setRequestRows(1);
  EXPECT_EQ(messagesOf(ofDirectory.buf), (Messages{"ZRBBackingFileBuf error reading file " + folder,
                                                   "  pos=0, first chunk=4/4 rows, nread=-1/32 bytes, errno=21"}));
}

TEST(BackingFileBufReading, a_seek_that_fails_is_an_error_of_the_node_with_the_byte_offset) {
  const TemporaryDirectory directory;
  writeFile(directory.file("rows"), doubleRows(0, 10));
  const struct {
    long long position;
    const char* offset;
  } cases[] = {{0, "0"}, {3, "24"}, {1000000, "8e+06"}};
  for (const auto& c : cases) {
    ReadFile<> file(directory.file("rows"), 2000000, 4);
    replaceHandleByPipe(file.buf.getBackingFileHandle());
    file.reader.setChunkPosition(c.position);
    file.reader.setRequestRows(1);
    EXPECT_EQ(messagesOf(file.node),
              Messages{std::string("ZRBBackingFileBufReader::setChunkPosition error on seek: ") + c.offset});
    EXPECT_EQ(messagesOf(file.buf), Messages{});
    EXPECT_EQ(file.reader.getChunkPosition(), c.position);
    EXPECT_EQ(file.reader.getRowsReady(), 4) << "the cache is set before the seek";
    EXPECT_EQ(slotsOf(file.buf), std::vector<double>(4, 0.0));
  }
}

TEST(BackingFileBufReading, an_ordinary_path_is_whole_in_the_report) {
  const TemporaryDirectory directory;
  const std::string path = directory.file(std::string(250, 'n'));
  writeFile(path, "");
  ReadFile<> file(path, 1, 4);
  file.reader.setRequestRows(1);
  EXPECT_EQ(messagesOf(file.buf), (Messages{"ZRBBackingFileBuf error reading file " + path,
                                            "  pos=0, first chunk=1/1 rows, nread=0/8 bytes, errno=0"}));
}
