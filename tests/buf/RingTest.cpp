// A ring under random use: one writer, several readers, chunks of any size, many wraps.  Every cell is checked against
// its stream row, and every counter against queues of stream rows.
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "ZRBMemoryBuf.h"
#include "support/Harness.h"

namespace {

constexpr long kDouble = 0, kFactor = 1, kString = 2, kTimeDate = 3, kBlob = 4;

// What stream row `row` holds.  NA appears in every column, at intervals that have no common factor.
struct Row {
  double number;
  long level;  // of "level 0" .. "level 8"
  std::string text;
  long long time, blobOffset, blobLength;

  explicit Row(long long row)
      : number(row % 11 == 0 ? ZRBObj::getDoubleNA() : 0.5 * static_cast<double>(row)),
        level(row % 7 == 0 ? -1 : static_cast<long>(row % 9)),
        text(row % 5 == 0 ? "<NA>" : "row " + std::to_string(row)),
        time(row % 3 == 0 ? ZRBObj::getTimeDateNA() : -1000 * row),
        blobOffset(row % 13 == 0 ? -1 : 100 * row),
        blobLength(row % 13 == 0 ? -1 : row) {}
};

// The model: each reader has a queue of the stream rows that it has not released.
class RingModel {
public:
  RingModel(long capacity, std::size_t readers) : m_capacity(capacity), m_queues(readers) {}
  long written() const { return m_written; }
  long free() const {
    std::size_t locked = 0;
    for (const auto& queue : m_queues) locked = std::max(locked, queue.size());
    return m_capacity - static_cast<long>(locked);
  }
  const std::deque<long>& queue(std::size_t reader) const { return m_queues[reader]; }
  bool gone(std::size_t reader) const { return reader < m_gone.size() && m_gone[reader]; }
  void write(long rows) {
    for (long i = 0; i < rows; ++i, ++m_written)
      for (std::size_t reader = 0; reader < m_queues.size(); ++reader)
        if (!gone(reader)) m_queues[reader].push_back(m_written);
  }
  void release(std::size_t reader, long rows) {
    m_queues[reader].erase(m_queues[reader].begin(), m_queues[reader].begin() + rows);
  }
  void releaseAll(std::size_t reader) {
    m_gone.resize(m_queues.size());
    m_gone[reader] = true;
    m_queues[reader].clear();
  }

private:
  long m_capacity;
  long m_written = 0;
  std::vector<std::deque<long>> m_queues;
  std::vector<bool> m_gone;
};

class Ring {
public:
  Ring(long capacity, std::size_t readers, unsigned seed) : m_model(capacity, readers), m_random(seed) {
    m_buf.setNumRows(capacity);
    setColumns(m_buf, {{"d", ZRBBuf::column_double},
                       {"f", ZRBBuf::column_factor},
                       {"s", ZRBBuf::column_string, 13},
                       {"t", ZRBBuf::column_timeDate},
                       {"b", ZRBBuf::column_blob}});
    m_producer.setNumRows(capacity);
    m_writer = &m_producer.writeTo(m_buf);
    for (std::size_t i = 0; i < readers; ++i) {
      m_consumers.push_back(std::make_unique<HarnessNode>());
      m_consumers.back()->setNumRows(capacity);
      m_readers.push_back(&m_consumers.back()->readFrom(m_buf));
    }
    m_buf.init();
  }

  long upTo(long n) { return static_cast<long>(m_random() % static_cast<unsigned long>(n + 1)); }
  bool oneIn(long n) { return upTo(n - 1) == 0; }
  RingModel& model() { return m_model; }
  std::size_t someReader() { return static_cast<std::size_t>(upTo(static_cast<long>(m_readers.size()) - 1)); }

  // Writes some of the free rows and releases some of those written; the others are written again later.
  void write() {
    const long free = m_model.free();
    ASSERT_EQ(m_writer->getRowsReady(), free);
    const long rows = upTo(free);
    writeRows(rows);
    const long released = oneIn(4) ? upTo(rows) : rows;
    m_writer->releaseRows(released);
    m_model.write(released);
  }

  // Checks the rows that are ready, and releases some.
  void read(std::size_t which) {
    ZRBBufReader& reader = *m_readers[which];
    const std::deque<long>& queue = m_model.queue(which);
    const long ready = static_cast<long>(queue.size());
    ASSERT_EQ(reader.getRowsReady(), ready);
    const long row = upTo(ready);  // from some row on, a chunk
    const long rows = std::min(ready - row, 1 + upTo(40));
    for (long i = row; i < row + rows; ++i)
      ASSERT_NO_FATAL_FAILURE(expectRow(reader, i, queue[static_cast<std::size_t>(i)]));
    ASSERT_NO_FATAL_FAILURE(expectArray(reader, row, rows, queue));
    const long released = oneIn(5) ? ready : upTo(ready);
    for (long i = 0; i < released; ++i)
      ASSERT_NO_FATAL_FAILURE(expectRow(reader, i, queue[static_cast<std::size_t>(i)]));
    reader.releaseRows(released);
    m_model.release(which, released);
  }

  // Some readers jump ahead, within what is ready.
  void skip(std::size_t which) {
    const long rows = upTo(static_cast<long>(m_model.queue(which).size()));
    if (m_model.gone(which)) return;
    m_readers[which]->setChunkPosition(m_readers[which]->getChunkPosition() + rows);
    m_model.release(which, rows);
  }

  void releaseAll(std::size_t which) {
    m_readers[which]->releaseAll();
    m_model.releaseAll(which);
  }

  void expectCounters() {
    long locked = 0;
    for (std::size_t i = 0; i < m_readers.size(); ++i) {
      const long ready = static_cast<long>(m_model.queue(i).size());
      locked = std::max(locked, ready);
      ASSERT_EQ(m_readers[i]->getRowsReady(), ready);
      ASSERT_EQ(m_readers[i]->getChunkPosition(), m_model.written() - ready);
    }
    ASSERT_EQ(m_buf.getInputRowsReleased(), m_model.written());
    ASSERT_EQ(m_buf.getOutputRowsReleased(), m_model.written() - locked);
    ASSERT_EQ(m_buf.getOutputLockedRows(), locked);
    ASSERT_EQ(m_buf.getInputLockedRows(), m_buf.getNumRows() - locked);
    ASSERT_EQ(m_writer->getChunkPosition(), m_model.written());
  }

  void expectNoMessages() {
    EXPECT_EQ(messagesOf(m_buf), Messages{});
    EXPECT_EQ(messagesOf(m_producer), Messages{});
    for (const auto& consumer : m_consumers) EXPECT_EQ(messagesOf(*consumer), Messages{});
  }

  // End of data: every reader drains what is left and then has no more.
  void finish() {
    m_writer->setEOF();
    for (std::size_t which = 0; which < m_readers.size(); ++which) {
      while (!m_model.queue(which).empty()) ASSERT_NO_FATAL_FAILURE(read(which));
      EXPECT_EQ(m_readers[which]->getRowsReady(), 0);
      EXPECT_EQ(m_readers[which]->isReady(), 1);
      EXPECT_EQ(m_readers[which]->getTotalNumRows(), m_model.written());
    }
    EXPECT_EQ(m_buf.getTotalNumRows(), m_model.written());
    expectCounters();
    expectNoMessages();
  }

private:
  void writeRows(long rows) {
    const long long first = m_writer->getChunkPosition();
    if (oneIn(2)) m_writer->setRectNA(0, 0, rows, 5);  // what follows overwrites it
    if (oneIn(2)) {
      std::vector<double> numbers;
      for (long i = 0; i < rows; ++i) numbers.push_back(Row(first + i).number);
      m_writer->setDoubleArray(0, kDouble, rows, numbers.data());
    } else {
      for (long i = 0; i < rows; ++i) m_writer->setDouble(i, kDouble, Row(first + i).number);
    }
    for (long i = 0; i < rows; ++i) {
      const Row row(first + i);
      const std::string level = "level " + std::to_string(row.level);
      m_writer->setString(i, kFactor, row.level < 0 ? nullptr : level.c_str());
      m_writer->setString(i, kString, row.text == "<NA>" ? nullptr : row.text.c_str());
      m_writer->setTimeDate(i, kTimeDate, row.time);
      m_writer->setBlobOffset(i, kBlob, row.blobOffset);
      m_writer->setBlobLength(i, kBlob, row.blobLength);
    }
  }

  void expectRow(ZRBBufReader& reader, long chunkRow, long streamRow) {
    const Row row(streamRow);
    ASSERT_EQ(bitsOf(reader.getDouble(chunkRow, kDouble)), bitsOf(row.number)) << "stream row " << streamRow;
    if (row.level < 0) {
      ASSERT_EQ(reader.getLevelNum(chunkRow, kFactor), -1) << "stream row " << streamRow;
    } else {
      ASSERT_EQ(copyOf(reader.getString(chunkRow, kFactor)), "level " + std::to_string(row.level))
          << "stream row " << streamRow;
    }
    ASSERT_EQ(copyOf(reader.getString(chunkRow, kString)), row.text) << "stream row " << streamRow;
    ASSERT_EQ(reader.getTimeDate(chunkRow, kTimeDate), row.time) << "stream row " << streamRow;
    ASSERT_EQ(reader.getBlobOffset(chunkRow, kBlob), row.blobOffset) << "stream row " << streamRow;
    ASSERT_EQ(reader.getBlobLength(chunkRow, kBlob), row.blobLength) << "stream row " << streamRow;
    ASSERT_EQ(reader.isBlobNA(chunkRow, kBlob), row.blobLength < 0) << "stream row " << streamRow;
  }

  void expectArray(ZRBBufReader& reader, long firstRow, long rows, const std::deque<long>& queue) {
    std::vector<double> numbers(static_cast<std::size_t>(rows)), times(static_cast<std::size_t>(rows));
    reader.getDoubleArray(firstRow, kDouble, rows, numbers.data());
    reader.getDoubleArray(firstRow, kTimeDate, rows, times.data());
    for (long i = 0; i < rows; ++i) {
      const Row row(queue[static_cast<std::size_t>(firstRow + i)]);
      ASSERT_EQ(bitsOf(numbers[static_cast<std::size_t>(i)]), bitsOf(row.number));
      ASSERT_EQ(bitsOf(times[static_cast<std::size_t>(i)]), bitsOf(ZRBObj::convertTimeDateToDouble(row.time)));
    }
  }

  ZRBMemoryBuf m_buf;
  HarnessNode m_producer;
  std::vector<std::unique_ptr<HarnessNode>> m_consumers;
  ZRBBufWriter* m_writer;
  std::vector<ZRBBufReader*> m_readers;
  RingModel m_model;
  std::mt19937 m_random;
};

const long kCapacities[] = {1, 2, 3, 7, 1000};

}  // namespace

TEST(Ring, every_reader_sees_every_row_in_any_chunks) {
  for (const long capacity : kCapacities) {
    for (const std::size_t readers : {std::size_t{1}, std::size_t{2}, std::size_t{4}}) {
      SCOPED_TRACE(testing::Message() << capacity << " rows, " << readers << " readers");
      Ring ring(capacity, readers, static_cast<unsigned>(capacity) * 10u + static_cast<unsigned>(readers));
      const long rows = std::max(300L, 12 * capacity);  // many wraps
      while (ring.model().written() < rows) {
        ASSERT_NO_FATAL_FAILURE(ring.write());
        ASSERT_NO_FATAL_FAILURE(ring.expectCounters());
        for (std::size_t i = 0; i < readers; ++i) ASSERT_NO_FATAL_FAILURE(ring.read(ring.someReader()));
        ASSERT_NO_FATAL_FAILURE(ring.expectCounters());
      }
      ASSERT_NO_FATAL_FAILURE(ring.finish());
    }
  }
}

TEST(Ring, readers_that_skip_rows_see_the_rows_behind_them) {
  for (const long capacity : kCapacities) {
    SCOPED_TRACE(capacity);
    Ring ring(capacity, 3, 77u + static_cast<unsigned>(capacity));
    const long rows = std::max(300L, 12 * capacity);
    while (ring.model().written() < rows) {
      ASSERT_NO_FATAL_FAILURE(ring.write());
      for (int i = 0; i < 3; ++i) {
        if (ring.oneIn(3)) ring.skip(ring.someReader());
        ASSERT_NO_FATAL_FAILURE(ring.read(ring.someReader()));
        ASSERT_NO_FATAL_FAILURE(ring.expectCounters());
      }
    }
    ASSERT_NO_FATAL_FAILURE(ring.finish());
  }
}

TEST(Ring, a_reader_that_wants_no_more_holds_no_rows) {
  for (const long capacity : kCapacities) {
    SCOPED_TRACE(capacity);
    Ring ring(capacity, 3, 99u + static_cast<unsigned>(capacity));
    const long rows = std::max(300L, 12 * capacity);
    bool leftBehind = false;
    while (ring.model().written() < rows) {
      ASSERT_NO_FATAL_FAILURE(ring.write());
      if (!leftBehind && ring.model().written() > rows / 2) {
        ring.releaseAll(1);
        leftBehind = true;
      }
      for (int i = 0; i < 3; ++i) ASSERT_NO_FATAL_FAILURE(ring.read(ring.someReader()));
      ASSERT_NO_FATAL_FAILURE(ring.expectCounters());
    }
    ASSERT_TRUE(leftBehind);
    ASSERT_NO_FATAL_FAILURE(ring.finish());
  }
}
