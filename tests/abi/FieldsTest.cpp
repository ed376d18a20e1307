// The places of the fields in every object.  A value is set by a call and then found in the object's bytes.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "ZRBConverter.h"
#include "support/BinaryInterface.h"
#include "zrbbase.h"

namespace {

// ---- Sizes: where the fields of a derived class begin ----

static_assert(sizeof(ZRBObj) == 64);
static_assert(sizeof(ZRBBuf) == 200);
static_assert(sizeof(ZRBMemoryBuf) == sizeof(ZRBBuf));
static_assert(sizeof(ZRBBufReader) == 96);
static_assert(sizeof(ZRBMemoryBufReader) == sizeof(ZRBBufReader));
static_assert(sizeof(ZRBBufWriter) == 104);
static_assert(sizeof(ZRBMemoryBufWriter) == sizeof(ZRBBufWriter));
static_assert(sizeof(ZRBProc) == 160);
static_assert(sizeof(ZRBPipeline) == 136);
static_assert(sizeof(ZRBProcRandomReader) == 192);
static_assert(sizeof(ZRBProcNullReader) == 176);
static_assert(sizeof(ZRBProcNullWriter) == 168);
static_assert(sizeof(ZRBProcCount) >= 344);  // up to the cross root; what follows is private

// ---- Records ----

static_assert(offsetof(ZRBProcCountColumnInfo, min) == 0);
static_assert(offsetof(ZRBProcCountColumnInfo, max) == 8);
static_assert(offsetof(ZRBProcCountColumnInfo, mean) == 16);
static_assert(offsetof(ZRBProcCountColumnInfo, m2) == 24);
static_assert(offsetof(ZRBProcCountColumnInfo, count_na) == 32);
static_assert(offsetof(ZRBProcCountColumnInfo, count_ok) == 40);
static_assert(offsetof(ZRBProcCountColumnInfo, level_list) == 48);
static_assert(sizeof(ZRBProcCountColumnInfo) == 56);
static_assert(offsetof(ZRBProcCountCountInfo, value) == 0);
static_assert(offsetof(ZRBProcCountCountInfo, count) == 8);
static_assert(offsetof(ZRBProcCountCountInfo, next) == 16);
static_assert(offsetof(ZRBProcCountCountInfo, sub_list) == 20);
static_assert(sizeof(ZRBProcCountCountInfo) == 24);

struct MessageInObject {
  int severity;
  const char* text;
};
static_assert(offsetof(MessageInObject, text) == 8 && sizeof(MessageInObject) == 16);

class NoConverter final : public ZRBConverter {
public:
  void doubleToText(const double*, char*, int) override {}
  void textToDouble(const char*, double*) override {}
  void timeDateToText(const long long*, char*, int) override {}
  void textToTimeDate(const char*, long long*) override {}
};

// Always ready, never done.
class Idle final : public ZRBProc {
public:
  long execute() override { return 0; }
};

TEST(Fields, of_an_object_are_name_error_messages_count_converter) {
  ZRBObj object;
  EXPECT_EQ(valueAt<const char*>(&object, 8), nullptr);
  EXPECT_EQ(valueAt<const char*>(&object, 16), nullptr);
  EXPECT_EQ(arrayAt<MessageInObject>(&object, 24).size(), 0u);
  EXPECT_EQ(valueAt<long long>(&object, 48), 0);
  EXPECT_EQ(valueAt<void*>(&object, 56), nullptr);

  NoConverter converter;
  object.setName("name");
  object.addInformation("first");
  object.setError("second");
  object.addDebug("third");
  object.setConverter(&converter);
  EXPECT_STREQ(valueAt<const char*>(&object, 8), "name");
  EXPECT_EQ(valueAt<const char*>(&object, 8), object.getName());
  EXPECT_STREQ(valueAt<const char*>(&object, 16), "second");
  EXPECT_EQ(valueAt<const char*>(&object, 16), object.getError());
  const auto messages = arrayAt<MessageInObject>(&object, 24);
  ASSERT_EQ(messages.size(), 3u);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(messages[i].severity, object.getMessageSeverity(static_cast<long>(i)));
    EXPECT_EQ(messages[i].text, object.getMessage(static_cast<long>(i)));
  }
  EXPECT_EQ(valueAt<long long>(&object, 48), 3);
  EXPECT_EQ(valueAt<ZRBConverter*>(&object, 56), &converter);
}

TEST(Fields, of_a_buffer_follow_those_of_an_object) {
  ZRBMemoryBuf buf;
  EXPECT_EQ(arrayAt<void*>(&buf, 64).size(), 0u);
  EXPECT_EQ(valueAt<long>(&buf, 88), 3000);
  EXPECT_EQ(valueAt<long>(&buf, 96), 0);
  EXPECT_EQ(valueAt<void*>(&buf, 104), nullptr);
  EXPECT_EQ(valueAt<unsigned long>(&buf, 112), 0u);
  EXPECT_EQ(valueAt<long>(&buf, 120), 0);
  EXPECT_EQ(valueAt<long>(&buf, 128), 0);
  EXPECT_EQ(valueAt<int>(&buf, 136), 0);
  EXPECT_EQ(valueAt<long>(&buf, 144), 500);
  EXPECT_EQ(arrayAt<void*>(&buf, 152).size(), 0u);
  EXPECT_EQ(arrayAt<void*>(&buf, 176).size(), 0u);

  Idle writing;
  Idle reading;
  Idle alsoReading;
  buf.setNumRows(7);
  buf.setNumColumns(3);
  buf.setDefaultMaxAutoLevels(11);
  writing.setOutputBuf(0, &buf);
  reading.setInputBuf(0, &buf);
  alsoReading.setInputBuf(0, &buf);
  ASSERT_EQ(buf.init(), 0);
  buf.releaseInputRows(5);
  buf.setEOF(1);

  const auto columns = arrayAt<ZRBBuf::ColumnInfo*>(&buf, 64);
  ASSERT_EQ(columns.size(), 3u);
  for (long column = 0; column < 3; ++column)
    EXPECT_EQ(columns[static_cast<std::size_t>(column)], buf.getColumnInfo(column));
  EXPECT_EQ(valueAt<long>(&buf, 88), 7);
  EXPECT_EQ(valueAt<long>(&buf, 96), 3);
  EXPECT_EQ(valueAt<char*>(&buf, 104), buf.getDataPtr(0, 0, 8));
  EXPECT_EQ(valueAt<unsigned long>(&buf, 112), 7u * 3u * 8u);
  EXPECT_EQ(valueAt<long>(&buf, 120), 24);
  EXPECT_EQ(valueAt<long>(&buf, 128), 5);
  EXPECT_EQ(valueAt<int>(&buf, 136), 1);
  EXPECT_EQ(valueAt<long>(&buf, 144), 11);
  const auto readers = arrayAt<ZRBBufReader*>(&buf, 152);
  ASSERT_EQ(readers.size(), 2u);
  EXPECT_EQ(readers[0], reading.getInputBufReader(0));
  EXPECT_EQ(readers[1], alsoReading.getInputBufReader(0));
  const auto writers = arrayAt<ZRBBufWriter*>(&buf, 176);
  ASSERT_EQ(writers.size(), 1u);
  EXPECT_EQ(writers[0], writing.getOutputBufWriter(0));
}

TEST(Fields, of_a_column_record_stand_in_their_order) {
  ZRBMemoryBuf buf;
  buf.setNumColumns(2);
  const void* record = buf.getColumnInfo(1);
  EXPECT_EQ(valueAt<char*>(record, 0), nullptr);
  EXPECT_EQ(valueAt<int>(record, 8), 0);
  EXPECT_EQ(valueAt<long>(record, 16), -1);
  EXPECT_EQ(valueAt<char*>(record, 24), nullptr);
  EXPECT_EQ(valueAt<long>(record, 32), 0);
  EXPECT_EQ(valueAt<long>(record, 40), 16);
  EXPECT_EQ(valueAt<long>(record, 48), 0);
  EXPECT_EQ(valueAt<long long>(record, 56), 0);
  EXPECT_EQ(valueAt<char*>(record, 64), nullptr);
  EXPECT_EQ(arrayAt<char*>(record, 72).size(), 0u);

  buf.setColumnName(1, "name");
  buf.setColumnType(1, ZRBBuf::column_timeDate);
  buf.setMaxAutoLevels(1, 21);
  buf.setOverflowLevel(1, "other");
  buf.setColumnOffsetBytes(1, 22);
  buf.setColumnStringBytes(1, 23);
  buf.setOverflowStringBytes(1, 24);
  buf.setOverflowCount(1, 0x123456789);
  buf.setColumnBlobClassName(1, "class");
  buf.setLevelName(1, 0, "zero");
  buf.setLevelName(1, 2, "two");
  EXPECT_STREQ(valueAt<char*>(record, 0), "name");
  EXPECT_EQ(valueAt<char*>(record, 0), buf.getColumnName(1));
  EXPECT_EQ(valueAt<int>(record, 8), 3);
  EXPECT_EQ(valueAt<long>(record, 16), 21);
  EXPECT_STREQ(valueAt<char*>(record, 24), "other");
  EXPECT_EQ(valueAt<long>(record, 32), 22);
  EXPECT_EQ(valueAt<long>(record, 40), 23);
  EXPECT_EQ(valueAt<long>(record, 48), 24);
  EXPECT_EQ(valueAt<long long>(record, 56), 0x123456789);
  EXPECT_STREQ(valueAt<char*>(record, 64), "class");
  const auto levels = arrayAt<const char*>(record, 72);
  ASSERT_EQ(levels.size(), 3u);
  for (long level = 0; level < 3; ++level)
    EXPECT_EQ(levels[static_cast<std::size_t>(level)], buf.getLevelName(1, level));
  EXPECT_STREQ(levels[2], "two");
}

TEST(Fields, of_a_reader_are_buffer_node_request_and_position) {
  ZRBMemoryBuf buf;
  Idle node;
  ZRBMemoryBufReader reader(&buf, &node);
  EXPECT_EQ(valueAt<ZRBBuf*>(&reader, 64), &buf);
  EXPECT_EQ(valueAt<ZRBProc*>(&reader, 72), &node);
  EXPECT_EQ(valueAt<std::int64_t>(&reader, 80), 0);
  EXPECT_EQ(valueAt<std::int64_t>(&reader, 88), 0);
  Idle other;
  reader.setProc(&other);
  reader.setRequestRows(13);
  reader.setChunkPosition(0x123456789);
  EXPECT_EQ(valueAt<ZRBProc*>(&reader, 72), &other);
  EXPECT_EQ(valueAt<std::int64_t>(&reader, 80), 13);
  EXPECT_EQ(valueAt<std::int64_t>(&reader, 88), 0x123456789);
  reader.releaseAll();
  EXPECT_EQ(valueAt<std::int64_t>(&reader, 88), -1);
}

TEST(Fields, of_a_writer_are_buffer_node_request_and_the_cell_of_the_open_blob) {
  ZRBMemoryBuf buf;
  buf.setNumColumns(3);
  buf.setColumnType(2, ZRBBuf::column_blob);
  Idle node;
  ZRBMemoryBufWriter writer(&buf, &node);
  EXPECT_EQ(valueAt<ZRBBuf*>(&writer, 64), &buf);
  EXPECT_EQ(valueAt<ZRBProc*>(&writer, 72), &node);
  EXPECT_EQ(valueAt<std::int64_t>(&writer, 80), 0);
  EXPECT_EQ(valueAt<std::int64_t>(&writer, 88), -1);
  EXPECT_EQ(valueAt<std::int64_t>(&writer, 96), -1);
  writer.setRequestRows(13);
  EXPECT_EQ(valueAt<std::int64_t>(&writer, 80), 13);
  EXPECT_EQ(writer.openBlob(5, 2), 0) << "a memory buffer keeps no blob data, but the cell is remembered";
  EXPECT_EQ(valueAt<std::int64_t>(&writer, 88), 5);
  EXPECT_EQ(valueAt<std::int64_t>(&writer, 96), 2);
  EXPECT_EQ(writer.closeBlob(), 0);
  EXPECT_EQ(valueAt<std::int64_t>(&writer, 88), -1);
  EXPECT_EQ(valueAt<std::int64_t>(&writer, 96), -1);
}

TEST(Fields, of_a_node_follow_those_of_an_object) {
  ZRBMemoryBuf input;
  ZRBMemoryBuf output;
  Idle node;
  EXPECT_EQ(valueAt<int>(&node, 64), 0);
  EXPECT_EQ(valueAt<long long>(&node, 72), 0);
  EXPECT_EQ(arrayAt<void*>(&node, 80).size(), 0u);
  EXPECT_EQ(arrayAt<void*>(&node, 104).size(), 0u);
  EXPECT_EQ(valueAt<long long>(&node, 128), 0);
  EXPECT_EQ(valueAt<long>(&node, 136), 1000);
  EXPECT_EQ(valueAt<long>(&node, 144), -1);
  EXPECT_EQ(valueAt<int>(&node, 152), -1);
  EXPECT_EQ(valueAt<int>(&node, 156), 0);

  node.setDone(1);
  node.setExecuteCount(0x123456789);
  node.setInputBuf(1, &input);
  node.setOutputBuf(2, &output);
  node.setRowsDone(0x987654321);
  node.setNumRows(31);
  node.setOutputNumRows(32);
  node.setCallbackVal(33);
  node.setCallbackInfo(34);
  EXPECT_EQ(valueAt<int>(&node, 64), 1);
  EXPECT_EQ(valueAt<long long>(&node, 72), 0x123456789);
  const auto inputs = arrayAt<ZRBBufReader*>(&node, 80);
  ASSERT_EQ(inputs.size(), 2u);
  EXPECT_EQ(inputs[0], nullptr);
  EXPECT_EQ(inputs[1], node.getInputBufReader(1));
  EXPECT_NE(inputs[1], nullptr);
  const auto outputs = arrayAt<ZRBBufWriter*>(&node, 104);
  ASSERT_EQ(outputs.size(), 3u);
  EXPECT_EQ(outputs[0], nullptr);
  EXPECT_EQ(outputs[1], nullptr);
  EXPECT_EQ(outputs[2], node.getOutputBufWriter(2));
  EXPECT_NE(outputs[2], nullptr);
  EXPECT_EQ(valueAt<long long>(&node, 128), 0x987654321);
  EXPECT_EQ(valueAt<long>(&node, 136), 31);
  EXPECT_EQ(valueAt<long>(&node, 144), 32);
  EXPECT_EQ(valueAt<int>(&node, 152), 33);
  EXPECT_EQ(valueAt<int>(&node, 156), 34);
}

TEST(Fields, of_a_pipeline_are_its_lists_cursor_and_counts) {
  ZRBPipeline pipeline;
  EXPECT_EQ(arrayAt<ZRBBuf*>(&pipeline, 64).size(), 0u);
  EXPECT_GE(arrayAt<ZRBBuf*>(&pipeline, 64).room(), 10u) << "room is reserved";
  EXPECT_EQ(arrayAt<ZRBProc*>(&pipeline, 88).size(), 0u);
  EXPECT_GE(arrayAt<ZRBProc*>(&pipeline, 88).room(), 10u) << "room is reserved";
  EXPECT_EQ(valueAt<int>(&pipeline, 112), 0);
  EXPECT_EQ(valueAt<long long>(&pipeline, 120), 0);
  EXPECT_EQ(valueAt<long long>(&pipeline, 128), 0);

  ZRBMemoryBuf buf;
  Idle nodes[3];
  pipeline.addBuf(&buf);
  for (Idle& node : nodes) {
    node.init();
    pipeline.addProc(&node);
  }
  pipeline.execute(3);
  pipeline.execute(2);
  const auto bufs = arrayAt<ZRBBuf*>(&pipeline, 64);
  ASSERT_EQ(bufs.size(), 1u);
  EXPECT_EQ(bufs[0], &buf);
  const auto procs = arrayAt<ZRBProc*>(&pipeline, 88);
  ASSERT_EQ(procs.size(), 3u);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(procs[i], &nodes[i]);
  EXPECT_EQ(valueAt<int>(&pipeline, 112), 2);
  EXPECT_EQ(valueAt<long long>(&pipeline, 120), 2);
  EXPECT_EQ(valueAt<long long>(&pipeline, 128), 5);
}

TEST(Fields, of_a_random_reader_are_seed_generator_and_total) {
  ZRBProcRandomReader node;
  // The seed 1 starts the congruential state 2^20 steps from its origin: twenty squarings of the multiplier.
  std::uint64_t power = 69069;
  for (int i = 0; i < 20; ++i) power *= power;
  EXPECT_EQ(valueAt<long>(&node, 160), 1);
  EXPECT_EQ(valueAt<std::uint64_t>(&node, 168), 1803752341u * power);
  EXPECT_EQ(valueAt<std::uint64_t>(&node, 176), 3697165728u);
  EXPECT_EQ(valueAt<long long>(&node, 184), 0);
  node.setSeed(41);
  node.setTotalRows(0x123456789);
  EXPECT_EQ(valueAt<long>(&node, 160), 41);
  EXPECT_EQ(valueAt<std::uint64_t>(&node, 168), 1803752341u * power) << "a new seed waits for init()";
  EXPECT_EQ(valueAt<long long>(&node, 184), 0x123456789);
}

TEST(Fields, of_a_null_reader_are_access_and_total) {
  ZRBProcNullReader node;
  EXPECT_EQ(valueAt<int>(&node, 160), 1);
  EXPECT_EQ(valueAt<long long>(&node, 168), 0);
  node.setAccessBuf(0);
  node.setTotalRows(0x123456789);
  EXPECT_EQ(valueAt<int>(&node, 160), 0);
  EXPECT_EQ(valueAt<long long>(&node, 168), 0x123456789);
}

TEST(Fields, of_a_null_writer_is_access) {
  ZRBProcNullWriter node;
  EXPECT_EQ(valueAt<int>(&node, 160), 1);
  node.setAccessBuf(0);
  EXPECT_EQ(valueAt<int>(&node, 160), 0);
}

TEST(Fields, of_a_count_node_are_its_records_and_the_cross_tabulation) {
  ZRBMemoryBuf buf;
  ZRBProcNullReader source;
  ZRBProcCount count;
  EXPECT_EQ(arrayAt<ZRBProcCountColumnInfo>(&count, 160).size(), 0u);
  EXPECT_EQ(arrayAt<ZRBProcCountCountInfo>(&count, 184).size(), 0u);
  EXPECT_EQ(valueAt<int>(&count, 208), 0);
  EXPECT_EQ(valueAt<int>(&count, 336), -1);

  // Two factor columns of four rows; the cross-tabulation is of the second alone.
  buf.setNumColumns(2);
  buf.setColumnType(0, ZRBBuf::column_factor);
  buf.setColumnType(1, ZRBBuf::column_factor);
  source.setOutputBuf(0, &buf);
  source.setTotalRows(4);
  count.setInputBuf(0, &buf);
  count.setCrossSize(1);
  for (int position = 0; position < 10; ++position) count.setCrossColumn(position, 40 + position);
  for (std::size_t position = 0; position < 10; ++position)
    EXPECT_EQ(valueAt<int>(&count, 212 + 4 * position), 40 + static_cast<int>(position));
  count.setCrossColumn(0, 1);
  ASSERT_EQ(buf.init(), 0);
  ASSERT_EQ(source.init(), 0);
  ASSERT_EQ(count.init(), 0);
  EXPECT_EQ(valueAt<int>(&count, 208), 1);
  EXPECT_EQ(valueAt<int>(&count, 252), 0) << "the cross columns are not yet checked";
  source.execute();
  count.execute();
  ASSERT_EQ(count.hasError(), 0);
  EXPECT_EQ(valueAt<int>(&count, 252), 1);

  const auto columns = arrayAt<ZRBProcCountColumnInfo>(&count, 160);
  ASSERT_GE(columns.size(), 2u);
  EXPECT_EQ(&columns[0], count.getColumnInfo(0));
  EXPECT_EQ(&columns[1], count.getColumnInfo(1));
  EXPECT_EQ(columns[1].count_ok, 4);
  const auto records = arrayAt<ZRBProcCountCountInfo>(&count, 184);
  ASSERT_EQ(records.size(), 12u) << "four levels of each column, and four of the cross-tabulation";
  for (int i = 0; i < 12; ++i) EXPECT_EQ(&records[static_cast<std::size_t>(i)], count.getCountInfo(i));
  const int root = valueAt<int>(&count, 336);
  ASSERT_GE(root, 0);
  EXPECT_NE(root, columns[0].level_list);
  EXPECT_NE(root, columns[1].level_list);
  EXPECT_EQ(records[static_cast<std::size_t>(root)].value, 0.0);
  EXPECT_EQ(count.getCountInfoListLength(root), 4);

  count.setCrossSize(10);
  for (int position = 0; position < 10; ++position) {
    count.setCrossColumn(position, 1);
    count.setCrossIndex(position, position % 4);
  }
  EXPECT_EQ(valueAt<int>(&count, 208), 10);
  for (std::size_t position = 0; position < 10; ++position)
    EXPECT_EQ(valueAt<double>(&count, 256 + 8 * position), static_cast<double>(position % 4));
}

}  // namespace
