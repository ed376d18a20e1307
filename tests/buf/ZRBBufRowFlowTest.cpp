// Who may use which rows: ends, counters, ring arithmetic, end of data, deadlock.
#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>
#include <vector>

#include "ZRBMemoryBuf.h"
#include "support/Harness.h"

namespace {

// What ends and buffers did, in order.
std::vector<std::string>* g_log = nullptr;

class LogScope {
public:
  LogScope() { g_log = &lines; }
  LogScope(const LogScope&) = delete;
  LogScope& operator=(const LogScope&) = delete;
  ~LogScope() { g_log = nullptr; }
  std::vector<std::string> lines;
};

using Lines = std::vector<std::string>;

void note(const std::string& line) {
  if (g_log) g_log->push_back(line);
}

class LoggingReader : public ZRBMemoryBufReader {
public:
  LoggingReader(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBMemoryBufReader(buf, proc) {}
  ~LoggingReader() override { note("~reader " + number()); }
  int init() override {
    note("init reader " + number());
    return ZRBMemoryBufReader::init();
  }
  long long getChunkPosition() override {
    return pretendedPosition >= 0 ? pretendedPosition : ZRBMemoryBufReader::getChunkPosition();
  }
  long long pretendedPosition = -1;

private:
  std::string number() { return getName() ? getName() : "?"; }
};

class LoggingWriter : public ZRBMemoryBufWriter {
public:
  LoggingWriter(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBMemoryBufWriter(buf, proc) {}
  ~LoggingWriter() override { note(std::string("~writer ") + (getName() ? getName() : "?")); }
  int init() override {
    note(std::string("init writer ") + (getName() ? getName() : "?"));
    return ZRBMemoryBufWriter::init();
  }
};

using LoggingBuf = BufWithEnds<LoggingReader, LoggingWriter>;

class NullBuf : public ZRBMemoryBuf {
public:
  ZRBBufReader* newBufReader(ZRBProc*) override { return nullptr; }
  ZRBBufWriter* newBufWriter(ZRBProc*) override { return nullptr; }
};

}  // namespace

// ---- The base class ----

TEST(BufRowFlow, the_base_class_is_no_kind_of_buffer) {
  ZRBBuf buf;
  EXPECT_EQ(buf.isZRBMemoryBuf(), 0);
  EXPECT_EQ(buf.isZRBBackingFileBuf(), 0);
  EXPECT_EQ(buf.getZRBMemoryBuf(), nullptr);
  EXPECT_EQ(buf.getZRBBackingFileBuf(), nullptr);
  EXPECT_EQ(buf.isMultiPass(), 0);
  EXPECT_EQ(buf.isRandomAccess(), 0);
}

TEST(BufRowFlow, the_base_class_makes_no_ends) {
  ZRBBuf buf;
  HarnessNode node;
  EXPECT_EQ(buf.newBufWriter(&node), nullptr);
  EXPECT_EQ(messagesOf(buf), Messages{"ZRBBuf::newBufWriter called: shouldn't happen"});
  buf.clearMessages();
  EXPECT_EQ(buf.newBufReader(&node), nullptr);
  EXPECT_EQ(messagesOf(buf), Messages{"ZRBBuf::newBufReader called: shouldn't happen"});
  buf.clearMessages();
  EXPECT_EQ(buf.createBufWriter(&node), nullptr);
  EXPECT_EQ(buf.createBufReader(&node), nullptr);
  EXPECT_EQ(messagesOf(buf), (Messages{"ZRBBuf::newBufWriter called: shouldn't happen",
                                       "ZRBBuf::newBufReader called: shouldn't happen"}));
  EXPECT_EQ(buf.getNumWriters(), 0);
  EXPECT_EQ(buf.getNumReaders(), 0);
  EXPECT_EQ(node.getNumMessages(), 0);
}

// ---- Ends ----

TEST(BufRowFlow, created_ends_are_listed_in_order) {
  HarnessNode first, second;  // outlive the buffer: they do not know of these ends
  ZRBMemoryBuf buf;
  ZRBBufReader* const r0 = buf.createBufReader(&first);
  ZRBBufReader* const r1 = buf.createBufReader(&second);
  ZRBBufWriter* const w0 = buf.createBufWriter(&second);
  ASSERT_NE(r0, nullptr);
  ASSERT_NE(r1, nullptr);
  ASSERT_NE(w0, nullptr);
  EXPECT_EQ(buf.getNumReaders(), 2);
  EXPECT_EQ(buf.getNumWriters(), 1);
  EXPECT_EQ(buf.getBufReader(0), r0);
  EXPECT_EQ(buf.getBufReader(1), r1);
  EXPECT_EQ(buf.getBufWriter(0), w0);
  EXPECT_EQ(buf.getBufReaderProc(0), &first);
  EXPECT_EQ(buf.getBufReaderProc(1), &second);
  EXPECT_EQ(buf.getBufWriterProc(0), &second);
  EXPECT_EQ(r0->getBuf(), &buf);
  EXPECT_EQ(w0->getProc(), &second);
}

TEST(BufRowFlow, there_is_no_end_outside_the_list) {
  ZRBMemoryBuf buf;
  HarnessNode node;
  node.readFrom(buf);
  node.writeTo(buf);
  for (const int index : {-1, 1, INT_MAX, INT_MIN}) {
    EXPECT_EQ(buf.getBufReader(index), nullptr);
    EXPECT_EQ(buf.getBufWriter(index), nullptr);
    EXPECT_EQ(buf.getBufReaderProc(index), nullptr);
    EXPECT_EQ(buf.getBufWriterProc(index), nullptr);
  }
  EXPECT_NE(buf.getBufReader(0), nullptr);
}

TEST(BufRowFlow, an_end_that_could_not_be_made_is_not_listed) {
  NullBuf buf;
  HarnessNode node;
  EXPECT_EQ(buf.createBufReader(&node), nullptr);
  EXPECT_EQ(buf.createBufWriter(&node), nullptr);
  EXPECT_EQ(buf.getNumReaders(), 0);
  EXPECT_EQ(buf.getNumWriters(), 0);
  EXPECT_EQ(buf.getNumMessages(), 0);
}

TEST(BufRowFlow, an_unlinked_end_has_no_node_and_stays_listed) {
  ZRBMemoryBuf buf;
  HarnessNode node;
  ZRBBufReader& reader = node.readFrom(buf);
  ZRBBufWriter& writer = node.writeTo(buf);
  buf.unlinkBufReader(&reader);
  buf.unlinkBufWriter(&writer);
  EXPECT_EQ(reader.getProc(), nullptr);
  EXPECT_EQ(writer.getProc(), nullptr);
  EXPECT_EQ(node.getInputBufReader(0), nullptr);
  EXPECT_EQ(node.getOutputBufWriter(0), nullptr);
  EXPECT_EQ(buf.getBufReader(0), &reader);
  EXPECT_EQ(buf.getBufWriter(0), &writer);
  EXPECT_EQ(buf.getBufReaderProc(0), nullptr);
  EXPECT_EQ(buf.getBufWriterProc(0), nullptr);
  buf.unlinkBufReader(&reader);  // again: there is no node to tell
  buf.unlinkBufWriter(&writer);
  buf.unlinkBufReader(nullptr);
  buf.unlinkBufWriter(nullptr);
  EXPECT_EQ(buf.getNumReaders(), 1);
  EXPECT_EQ(buf.getNumMessages() + node.getNumMessages(), 0);
}

TEST(BufRowFlow, a_deleted_end_leaves_the_list_and_its_node) {
  LogScope log;
  LoggingBuf buf;
  HarnessNode node;
  ZRBBufReader& first = node.readFrom(buf);
  ZRBBufReader& second = node.readFrom(buf);
  ZRBBufWriter& writer = node.writeTo(buf);
  first.setName("first");
  second.setName("second");
  writer.setName("w");
  buf.deleteBufReader(&first);
  EXPECT_EQ(log.lines, Lines{"~reader first"});
  EXPECT_EQ(buf.getNumReaders(), 1);
  EXPECT_EQ(buf.getBufReader(0), &second);
  EXPECT_EQ(node.getInputBufReader(0), nullptr);
  EXPECT_EQ(node.getInputBufReader(1), &second);
  buf.deleteBufWriter(&writer);
  EXPECT_EQ(log.lines, (Lines{"~reader first", "~writer w"}));
  EXPECT_EQ(buf.getNumWriters(), 0);
  EXPECT_EQ(node.getOutputBufWriter(0), nullptr);
  buf.deleteBufReader(nullptr);
  buf.deleteBufWriter(nullptr);
  EXPECT_EQ(log.lines.size(), 2u);
  EXPECT_EQ(buf.getNumReaders(), 1);
}

TEST(BufRowFlow, a_deleted_reader_no_longer_holds_rows) {
  ZRBMemoryBuf buf;
  buf.setNumRows(10);
  HarnessNode producer, slow, fast;
  ZRBBufWriter& writer = producer.writeTo(buf);
  slow.readFrom(buf);
  ZRBBufReader& reader = fast.readFrom(buf);
  buf.init();
  writer.releaseRows(8);
  reader.releaseRows(5);
  EXPECT_EQ(buf.getOutputRowsReleased(), 0);
  slow.setInputBuf(0, nullptr);
  EXPECT_EQ(buf.getOutputRowsReleased(), 5);
  EXPECT_EQ(buf.getInputLockedRows(), 7);
}

TEST(BufRowFlow, a_buffer_destroyed_before_its_nodes_leaves_them_without_ends) {
  HarnessNode producer, consumer, other;
  {
    LogScope log;
    auto buf = std::make_unique<LoggingBuf>();
    producer.writeTo(*buf).setName("w");
    consumer.readFrom(*buf).setName("r0");
    other.readFrom(*buf).setName("r1");
    buf->init();
    log.lines.clear();
    buf.reset();
    ASSERT_EQ(log.lines.size(), 3u);  // the buffer owns its ends
  }
  EXPECT_EQ(producer.getOutputBufWriter(0), nullptr);
  EXPECT_EQ(consumer.getInputBufReader(0), nullptr);
  EXPECT_EQ(other.getInputBufReader(0), nullptr);
  EXPECT_EQ(producer.getNumMessages() + consumer.getNumMessages() + other.getNumMessages(), 0);
}

TEST(BufRowFlow, nodes_destroyed_before_their_buffer_leave_it_without_ends) {
  LogScope log;
  LoggingBuf buf;
  {
    HarnessNode producer, consumer;
    producer.writeTo(buf).setName("w");
    consumer.readFrom(buf).setName("r");
  }
  EXPECT_EQ(log.lines, (Lines{"~reader r", "~writer w"}));  // the consumer goes first
  EXPECT_EQ(buf.getNumReaders(), 0);
  EXPECT_EQ(buf.getNumWriters(), 0);
  EXPECT_EQ(buf.init(), 1);
  EXPECT_EQ(messagesOf(buf), Messages{"no writer"});
}

TEST(BufRowFlow, a_node_may_read_and_write_the_same_buffer_and_go_first_or_last) {
  for (const bool nodeFirst : {false, true}) {
    auto buf = std::make_unique<ZRBMemoryBuf>();
    auto node = std::make_unique<HarnessNode>();
    node->readFrom(*buf);
    node->readFrom(*buf);
    node->writeTo(*buf);
    EXPECT_EQ(buf->init(), 0);
    if (nodeFirst) {
      node.reset();
      EXPECT_EQ(buf->getNumReaders() + buf->getNumWriters(), 0);
    } else {
      buf.reset();
      EXPECT_EQ(node->getInputBufReader(0), nullptr);
      EXPECT_EQ(node->getInputBufReader(1), nullptr);
      EXPECT_EQ(node->getOutputBufWriter(0), nullptr);
    }
  }
}

// ---- init ----

TEST(BufRowFlow, a_buffer_without_a_writer_does_not_start) {
  ZRBMemoryBuf buf;
  setColumns(buf, {{"d", ZRBBuf::column_double}});
  buf.setOverflowCount(0, 5);
  buf.addWarning("old");
  HarnessNode consumer;
  ZRBBufReader& reader = consumer.readFrom(buf);
  reader.setRequestRows(7);
  EXPECT_EQ(buf.init(), 1);
  EXPECT_EQ(messagesOf(buf), Messages{"no writer"});
  EXPECT_EQ(buf.getBytesPerRow(), 0);  // nothing laid out
  EXPECT_EQ(buf.getDataPtr(0, 0, 8), nullptr);
  EXPECT_EQ(buf.getOverflowCount(0), 5);
  EXPECT_EQ(reader.getRequestRows(), 7);
}

TEST(BufRowFlow, a_buffer_with_two_writers_does_not_start) {
  ZRBMemoryBuf buf;
  setColumns(buf, {{"d", ZRBBuf::column_double}});
  HarnessNode first, second, third;
  first.writeTo(buf);
  ASSERT_EQ(buf.init(), 0);
  buf.releaseInputRows(5);
  buf.setEOF(1);
  second.writeTo(buf);
  EXPECT_EQ(buf.init(), 1);
  EXPECT_EQ(messagesOf(buf), Messages{"more than one writer"});
  EXPECT_EQ(buf.getInputRowsReleased(), 5);  // nothing else happened
  EXPECT_EQ(buf.getEOF(), 1);
  third.writeTo(buf);
  EXPECT_EQ(buf.init(), 1);
  EXPECT_EQ(messagesOf(buf), Messages{"more than one writer"});
  second.setOutputBuf(0, nullptr);
  third.setOutputBuf(0, nullptr);
  EXPECT_EQ(buf.init(), 0);
  EXPECT_EQ(messagesOf(buf), Messages{});
}

TEST(BufRowFlow, init_clears_the_messages_and_starts_the_stream_again) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  h.writer.setRequestRows(3);
  h.writer.releaseRows(8);
  h.reader.setRequestRows(2);
  h.reader.releaseRows(5);
  h.writer.setEOF();
  h.buf.addError("old");
  EXPECT_EQ(h.buf.init(), 0);
  EXPECT_EQ(messagesOf(h.buf), Messages{});
  EXPECT_EQ(h.buf.getInputRowsReleased(), 0);
  EXPECT_EQ(h.buf.getOutputRowsReleased(), 0);
  EXPECT_EQ(h.buf.getEOF(), 0);
  EXPECT_EQ(h.writer.getRequestRows(), 0);
  EXPECT_EQ(h.reader.getRequestRows(), 0);
  EXPECT_EQ(h.reader.getChunkPosition(), 0);
  EXPECT_EQ(h.reader.getRowsReady(), 0);
  EXPECT_EQ(h.writer.getRowsReady(), 10);
}

TEST(BufRowFlow, init_brings_back_a_reader_that_had_released_everything) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  h.writer.releaseRows(8);
  h.reader.releaseAll();
  h.buf.init();
  h.writer.releaseRows(2);
  EXPECT_EQ(h.reader.getRowsReady(), 2);
}

TEST(BufRowFlow, a_failed_allocation_fails_init_but_starts_the_stream) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  h.writer.releaseRows(8);
  h.reader.setRequestRows(4);
  h.writer.setEOF();
  h.buf.setNumRows(268435456);
  EXPECT_EQ(h.buf.init(), 1);
  EXPECT_EQ(messagesOf(h.buf), Messages{"can't allocate buf larger than 2GB (1 columns, 268435456 rows)"});
  EXPECT_EQ(h.buf.getInputRowsReleased(), 0);
  EXPECT_EQ(h.buf.getEOF(), 0);
  EXPECT_EQ(h.reader.getRequestRows(), 0);
  EXPECT_EQ(h.reader.isReady(), 0);  // a buffer with an error stops its nodes
  EXPECT_EQ(h.writer.isReady(), 0);
}

TEST(BufRowFlow, init_initialises_the_overflow_counts) {
  FlowHarness<> h(10, {{"f", ZRBBuf::column_factor}});
  h.buf.setOverflowCount(0, 3);
  h.buf.init();
  EXPECT_EQ(h.buf.getOverflowCount(0), 0);
}

TEST(BufRowFlow, ends_are_initialised_writer_first_then_the_readers_in_order) {
  LogScope log;
  LoggingBuf buf;
  HarnessNode a, b, c;
  a.readFrom(buf).setName("r0");
  b.writeTo(buf).setName("w0");
  c.readFrom(buf).setName("r1");
  buf.init();
  EXPECT_EQ(log.lines, (Lines{"init writer w0", "init reader r0", "init reader r1"}));
}

TEST(BufRowFlow, initialising_the_connections_initialises_every_end) {
  LogScope log;
  LoggingBuf buf;
  HarnessNode a, b, c;
  a.writeTo(buf).setName("w0");
  b.writeTo(buf).setName("w1");
  c.readFrom(buf).setName("r0");
  buf.releaseInputRows(5);
  buf.setEOF(1);
  buf.initConnections();
  EXPECT_EQ(log.lines, (Lines{"init writer w0", "init writer w1", "init reader r0"}));
  EXPECT_EQ(buf.getInputRowsReleased(), 5);
  EXPECT_EQ(buf.getEOF(), 1);
}

// ---- Counters ----

TEST(BufRowFlow, without_readers_nothing_is_held) {
  ZRBMemoryBuf buf;
  buf.setNumRows(10);
  HarnessNode producer;
  ZRBBufWriter& writer = producer.writeTo(buf);
  buf.init();
  for (int i = 1; i <= 5; ++i) {
    writer.releaseRows(10);
    EXPECT_EQ(buf.getInputRowsReleased(), 10 * i);
    EXPECT_EQ(buf.getOutputRowsReleased(), 10 * i);
    EXPECT_EQ(buf.getOutputLockedRows(), 0);
    EXPECT_EQ(buf.getInputLockedRows(), 10);
  }
}

TEST(BufRowFlow, the_slowest_reader_holds_the_rows) {
  ZRBMemoryBuf buf;
  buf.setNumRows(10);
  HarnessNode producer, a, b, c;
  ZRBBufWriter& writer = producer.writeTo(buf);
  ZRBBufReader& first = a.readFrom(buf);
  ZRBBufReader& second = b.readFrom(buf);
  ZRBBufReader& third = c.readFrom(buf);
  buf.init();
  struct Counters {
    long inputReleased, outputReleased, outputLocked, inputLocked;
  };
  const auto expectCounters = [&](const Counters& expected) {
    EXPECT_EQ(buf.getInputRowsReleased(), expected.inputReleased);
    EXPECT_EQ(buf.getOutputRowsReleased(), expected.outputReleased);
    EXPECT_EQ(buf.getOutputLockedRows(), expected.outputLocked);
    EXPECT_EQ(buf.getInputLockedRows(), expected.inputLocked);
  };
  expectCounters({0, 0, 0, 10});
  writer.releaseRows(6);
  expectCounters({6, 0, 6, 4});
  first.releaseRows(6);
  second.releaseRows(2);
  expectCounters({6, 0, 6, 4});
  third.releaseRows(3);
  expectCounters({6, 2, 4, 6});
  second.releaseAll();  // follows the writer
  expectCounters({6, 3, 3, 7});
  third.releaseAll();
  expectCounters({6, 6, 0, 10});
  writer.releaseRows(9);
  expectCounters({15, 6, 9, 1});
  first.releaseAll();
  expectCounters({15, 15, 0, 10});
}

TEST(BufRowFlow, a_reader_that_jumped_ahead_of_the_writer_holds_nothing_and_counts_no_further_than_the_writer) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  h.writer.releaseRows(4);
  h.reader.setChunkPosition(100);
  EXPECT_EQ(h.buf.getOutputRowsReleased(), 4);
  EXPECT_EQ(h.buf.getOutputLockedRows(), 0);
  EXPECT_EQ(h.buf.getInputLockedRows(), 10);
}

TEST(BufRowFlow, the_positions_of_readers_are_asked_of_the_readers) {
  FlowHarness<LoggingReader, LoggingWriter> h(10, {{"d", ZRBBuf::column_double}});
  h.writer.releaseRows(8);
  h.reader.pretendedPosition = 3;
  EXPECT_EQ(h.buf.getOutputRowsReleased(), 3);
  EXPECT_EQ(h.buf.getOutputLockedRows(), 5);
  EXPECT_EQ(h.buf.getInputLockedRows(), 5);
}

TEST(BufRowFlow, released_rows_add_up) {
  ZRBMemoryBuf buf;
  buf.releaseInputRows(3);
  buf.releaseInputRows(4);
  EXPECT_EQ(buf.getInputRowsReleased(), 7);
}

TEST(BufRowFlow, counters_go_beyond_32_bits) {
  ZRBMemoryBuf buf;
  buf.releaseInputRows(3000000000L);
  buf.releaseInputRows(3000000000L);
  EXPECT_EQ(buf.getInputRowsReleased(), 6000000000L);
  EXPECT_EQ(buf.getOutputRowsReleased(), 6000000000L);
  buf.setEOF(1);
  EXPECT_EQ(buf.getTotalNumRows(), 6000000000LL);
}

// ---- Ring arithmetic ----

TEST(BufRowFlow, the_writers_rows_lie_behind_the_released_ones_modulo_the_capacity) {
  const struct {
    long capacity, released, chunkRow, ringRow;
  } cases[] = {
      {10, 0, 0, 0},    {10, 0, 9, 9}, {10, 0, 10, 0},
      {10, 7, 2, 9},    {10, 7, 3, 0}, {10, 70, 25, 5},
      {1, 12345, 7, 0}, {3, 4, 1, 2},  {7, 6000000000L, 3, (6000000000L + 3) % 7},
      {10, 0, -1, -1},  // the signed remainder
      {10, 5, -1, 4},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.released << " + " << c.chunkRow << " mod " << c.capacity);
    ZRBMemoryBuf buf;
    buf.setNumRows(c.capacity);
    buf.releaseInputRows(c.released);
    EXPECT_EQ(buf.getInputRowIndex(c.chunkRow), c.ringRow);
  }
}

TEST(BufRowFlow, a_readers_rows_lie_behind_its_position_modulo_the_capacity) {
  const struct {
    long capacity;
    long long position;
    long chunkRow, ringRow;
  } cases[] = {
      {10, 0, 0, 0},
      {10, 7, 2, 9},
      {10, 7, 3, 0},
      {10, 99, 1, 0},
      {1, 5, 9, 0},
      {3000, 3000LL * 1000000000 + 2999, 2, 1},
      {1000, (1LL << 40), 5, ((1LL << 40) + 5) % 1000},
      {10, -1, 0, -1},  // the signed remainder
      {10, -25, 2, -3},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.position << " + " << c.chunkRow << " mod " << c.capacity);
    ZRBMemoryBuf buf;
    buf.setNumRows(c.capacity);
    buf.releaseInputRows(3);  // plays no part
    EXPECT_EQ(buf.getOutputRowIndex(c.position, c.chunkRow), c.ringRow);
  }
}

// ---- End of data ----

TEST(BufRowFlow, the_total_number_of_rows_is_unknown_until_end_of_data) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  EXPECT_EQ(h.buf.getTotalNumRows(), -1);
  h.writer.releaseRows(6);
  EXPECT_EQ(h.buf.getTotalNumRows(), -1);
  h.buf.setEOF(1);
  EXPECT_EQ(h.buf.getTotalNumRows(), 6);
  h.buf.setEOF(0);
  EXPECT_EQ(h.buf.getTotalNumRows(), -1);
}

TEST(BufRowFlow, the_end_of_data_flag_is_kept_and_returned_as_given) {
  ZRBMemoryBuf buf;
  for (const int flag : {1, 0, 7, -1}) {
    EXPECT_EQ(buf.setEOF(flag), flag);
    EXPECT_EQ(buf.getEOF(), flag);
  }
  EXPECT_EQ(buf.getTotalNumRows(), 0);
}

// ---- Deadlock ----

TEST(BufRowFlow, too_small_a_ring_makes_deadlock_possible) {
  struct Case {
    const char* reason;
    long capacity;
    std::vector<long> outputRows, readerRows;  // of the writing and the reading nodes
    long minimum;
    int possible;
  };
  const Case cases[] = {
      {"the largest of both sides are added", 3000, {2000}, {500, 1200}, 3200, 1},
      {"the sum may equal the capacity", 3200, {2000}, {500, 1200}, 3200, 0},
      {"no readers", 2000, {2000}, {}, 2000, 0},
      {"no ends", 3000, {}, {}, 0, 0},
      {"no ends and no capacity", 0, {}, {}, 0, 0},
      {"no writers", 100, {}, {101}, 101, 1},
      {"several writers", 100, {3, 60, 20}, {40}, 100, 0},
      {"maxima start at 0", 100, {5}, {-7}, 5, 0},
      {"a sum beyond the largest number stays there", 100, {LONG_MAX}, {LONG_MAX}, LONG_MAX, 1},
      {"a negative output count of the node means its row count", 3000, {-1}, {500}, 1500, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.reason);
    ZRBMemoryBuf buf;
    buf.setNumRows(c.capacity);
    std::vector<std::unique_ptr<HarnessNode>> nodes;
    for (const long rows : c.outputRows) {
      nodes.push_back(std::make_unique<HarnessNode>());
      nodes.back()->setOutputNumRows(rows);
      nodes.back()->writeTo(buf);
    }
    for (const long rows : c.readerRows) {
      nodes.push_back(std::make_unique<HarnessNode>());
      nodes.back()->setNumRows(rows);
      nodes.back()->readFrom(buf);
    }
    EXPECT_EQ(buf.getMinRowsToAvoidDeadlock(), c.minimum);
    EXPECT_EQ(buf.isDeadlockPossible(), c.possible);
    EXPECT_EQ(buf.getNumMessages(), 0);
  }
}

TEST(BufRowFlow, the_row_counts_are_asked_of_the_nodes) {
  class WideNode : public HarnessNode {
  public:
    long getNumRows() override { return 70; }
    long getOutputNumRows() override { return 40; }
  };
  ZRBMemoryBuf buf;
  buf.setNumRows(109);
  WideNode producer, consumer;
  producer.writeTo(buf);
  consumer.readFrom(buf);
  EXPECT_EQ(buf.getMinRowsToAvoidDeadlock(), 110);
  EXPECT_EQ(buf.isDeadlockPossible(), 1);
}

TEST(BufRowFlow, whether_deadlock_is_possible_follows_an_overridden_minimum) {
  class DemandingBuf : public ZRBMemoryBuf {
  public:
    long minimum = 0;
    long getMinRowsToAvoidDeadlock() override { return minimum; }
  };
  DemandingBuf buf;
  buf.setNumRows(10);
  buf.minimum = 10;
  EXPECT_EQ(buf.isDeadlockPossible(), 0);
  buf.minimum = 11;
  EXPECT_EQ(buf.isDeadlockPossible(), 1);
}
