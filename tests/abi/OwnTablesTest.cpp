// Objects whose virtual table a host made itself, word by word and without type information.
#include <array>
#include <cstring>

#include <gtest/gtest.h>

#include "ZRBProcNullReader.h"
#include "ZRBProcNullWriter.h"
#include "support/BinaryInterface.h"
#include "support/Harness.h"

namespace {

constexpr std::size_t kMostSlots = 40;  // more than any of the tables below has
constexpr long kLevel = 42;

long g_calls = 0;

double answerDouble(ZRBBufReader*, long, long) {
  ++g_calls;
  return kLevel;
}
long answerLevelNum(ZRBBufReader*, long, long) {
  ++g_calls;
  return kLevel;
}
void takeLevelNum(ZRBBufWriter*, long, long, long) { ++g_calls; }
void takeConvertDouble(ZRBBufWriter*, long, long, double) { ++g_calls; }

// Gives an object a table of the host's: that of its class up to slot `slots`, but for one slot, and no type information.
class HostTable {
public:
  template <class Function>
  HostTable(void* object, std::size_t slots, std::size_t slot, Function* function) : m_object(object) {
    const void* const* table;
    std::memcpy(&table, object, sizeof table);
    m_own = table;
    std::memcpy(m_words.data() + 2, table, slots * sizeof(void*));
    m_words[2 + slot] = reinterpret_cast<const void*>(function);
    const void* const* made = m_words.data() + 2;
    std::memcpy(object, &made, sizeof made);
    g_calls = 0;
  }
  HostTable(const HostTable&) = delete;
  HostTable& operator=(const HostTable&) = delete;
  ~HostTable() { std::memcpy(m_object, &m_own, sizeof m_own); }

private:
  void* m_object;
  const void* const* m_own;
  std::array<const void*, 2 + kMostSlots> m_words{};  // offset to top, type information, slots
};

const std::size_t kReaderTable = slotOf(&ZRBBufReader::isRandomAccess) + 1;
const std::size_t kWriterTable = slotOf(&ZRBBufWriter::setColumnNA) + 1;

TEST(OwnTables, array_reads_call_the_slots_of_the_object) {
  FlowHarness<> flow(10, oneColumnOfEachType());
  flow.writer.releaseRows(3);
  double values[3];
  {
    const HostTable table(&flow.reader, kReaderTable, slotOf(&ZRBBufReader::getLevelNum), answerLevelNum);
    flow.reader.getDoubleArray(0, 1, 3, values);
    EXPECT_EQ(g_calls, 3);
    for (const double value : values) EXPECT_EQ(value, kLevel);
  }
  {
    const HostTable table(&flow.reader, kReaderTable, slotOf(&ZRBBufReader::getDouble), answerDouble);
    flow.reader.getDoubleArray(0, 3, 3, values);
    EXPECT_EQ(g_calls, 3);
    for (const double value : values) EXPECT_EQ(value, kLevel);
  }
}

TEST(OwnTables, array_writes_call_the_slots_of_the_object) {
  FlowHarness<> flow(10, oneColumnOfEachType());
  double values[3] = {1, 2, 3};
  const HostTable table(&flow.writer, kWriterTable, slotOf(&ZRBBufWriter::setLevelNum), takeLevelNum);
  flow.writer.setDoubleArray(0, 1, 3, values);
  EXPECT_EQ(g_calls, 3);
}

TEST(OwnTables, nodes_call_the_slots_of_their_ends) {
  ZRBMemoryBuf buf;
  ZRBProcNullReader source;
  ZRBProcNullWriter sink;
  setColumns(buf, {{"a", ZRBBuf::column_double}, {"b", ZRBBuf::column_double}});
  source.setTotalRows(5);
  source.setOutputBuf(0, &buf);
  sink.setInputBuf(0, &buf);
  for (ZRBObj* object : {static_cast<ZRBObj*>(&buf), static_cast<ZRBObj*>(&source), static_cast<ZRBObj*>(&sink)})
    ASSERT_EQ(object->init(), 0);
  {
    const HostTable table(source.getOutputBufWriter(0), kWriterTable, slotOf(&ZRBBufWriter::setConvertDouble),
                          takeConvertDouble);
    source.execute();
    EXPECT_EQ(g_calls, 10);
  }
  {
    const HostTable table(sink.getInputBufReader(0), kReaderTable, slotOf(&ZRBBufReader::getDouble), answerDouble);
    sink.execute();
    EXPECT_EQ(g_calls, 10);
  }
}

}  // namespace
