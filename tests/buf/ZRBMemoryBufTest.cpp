// The buffer whose rows live only in its ring.
#include "ZRBMemoryBuf.h"

#include <gtest/gtest.h>

#include <memory>
#include <typeinfo>

#include "ZRBMemoryBufReader.h"
#include "ZRBMemoryBufWriter.h"
#include "support/Harness.h"
#include "support/PropertyCall.h"
#include "zrbbase.h"

TEST(MemoryBuf, the_factory_makes_a_memory_buffer_with_the_defaults) {
  void* result = nullptr;
  zrb_s_create_ZRBMemoryBuf(&result);
  ASSERT_NE(result, nullptr);
  const std::unique_ptr<ZRBMemoryBuf> buf(static_cast<ZRBMemoryBuf*>(result));
  const ZRBMemoryBuf& made = *buf;
  EXPECT_EQ(typeid(made), typeid(ZRBMemoryBuf));
  EXPECT_EQ(buf->getNumRows(), 3000);
  EXPECT_EQ(buf->getNumColumns(), 0);
  EXPECT_EQ(buf->getDefaultMaxAutoLevels(), 500);
  EXPECT_EQ(buf->getName(), nullptr);
  EXPECT_EQ(buf->getNumMessages(), 0);
}

TEST(MemoryBuf, it_adds_no_fields_to_the_base_class) {
  EXPECT_EQ(sizeof(ZRBMemoryBuf), sizeof(ZRBBuf));
  EXPECT_EQ(sizeof(ZRBMemoryBufReader), sizeof(ZRBBufReader));
  EXPECT_EQ(sizeof(ZRBMemoryBufWriter), sizeof(ZRBBufWriter));
}

TEST(MemoryBuf, it_knows_what_kind_of_buffer_it_is) {
  ZRBMemoryBuf buf;
  ZRBBuf& base = buf;
  EXPECT_EQ(base.isZRBMemoryBuf(), 1);
  EXPECT_EQ(base.getZRBMemoryBuf(), &buf);
  EXPECT_EQ(base.isZRBBackingFileBuf(), 0);
  EXPECT_EQ(base.getZRBBackingFileBuf(), nullptr);
  EXPECT_EQ(base.isMultiPass(), 0);
  EXPECT_EQ(base.isRandomAccess(), 0);
}

TEST(MemoryBuf, it_answers_questions_about_its_kind_as_properties) {
  ZRBMemoryBuf buf;
  EXPECT_EQ(PropertyCall("is.memory.buf").get(buf).boolResult, 1);
  EXPECT_EQ(PropertyCall("is.backing.file.buf").get(buf).boolResult, 0);
  EXPECT_EQ(PropertyCall("is.multi.pass").get(buf).boolResult, 0);
  EXPECT_EQ(PropertyCall("is.random.access").get(buf).boolResult, 0);
  EXPECT_EQ(PropertyCall("total.num.rows").get(buf).longLongResult, -1);
  buf.releaseInputRows(12);
  EXPECT_EQ(PropertyCall("total.num.rows").get(buf).longLongResult, -1);
  buf.setEOF(1);
  EXPECT_EQ(PropertyCall("total.num.rows").get(buf).longLongResult, 12);
}

TEST(MemoryBuf, its_new_ends_are_of_its_own_kind_and_not_listed) {
  ZRBMemoryBuf buf;
  HarnessNode node;
  const std::unique_ptr<ZRBBufReader> reader(buf.newBufReader(&node));
  const std::unique_ptr<ZRBBufWriter> writer(buf.newBufWriter(&node));
  ASSERT_NE(reader, nullptr);
  ASSERT_NE(writer, nullptr);
  const ZRBBufReader& readerRef = *reader;
  const ZRBBufWriter& writerRef = *writer;
  EXPECT_EQ(typeid(readerRef), typeid(ZRBMemoryBufReader));
  EXPECT_EQ(typeid(writerRef), typeid(ZRBMemoryBufWriter));
  EXPECT_EQ(reader->getBuf(), &buf);
  EXPECT_EQ(reader->getProc(), &node);
  EXPECT_EQ(writer->getBuf(), &buf);
  EXPECT_EQ(writer->getProc(), &node);
  EXPECT_EQ(buf.getNumReaders(), 0);
  EXPECT_EQ(buf.getNumWriters(), 0);
  EXPECT_EQ(buf.getNumMessages() + node.getNumMessages(), 0);
}

TEST(MemoryBuf, its_created_ends_are_of_its_own_kind_and_listed) {
  ZRBMemoryBuf buf;
  HarnessNode node;
  ZRBBufReader& reader = node.readFrom(buf);
  ZRBBufWriter& writer = node.writeTo(buf);
  EXPECT_EQ(typeid(reader), typeid(ZRBMemoryBufReader));
  EXPECT_EQ(typeid(writer), typeid(ZRBMemoryBufWriter));
  EXPECT_EQ(buf.getBufReader(0), &reader);
  EXPECT_EQ(buf.getBufWriter(0), &writer);
}

TEST(MemoryBuf, its_ends_read_and_write_once_through) {
  FlowHarness<> h(10, {{"d", ZRBBuf::column_double}});
  EXPECT_EQ(h.reader.isMultiPass(), 0);
  EXPECT_EQ(h.reader.isRandomAccess(), 0);
}

TEST(MemoryBuf, rows_written_are_the_rows_read) {
  FlowHarness<> h(4, {{"d", ZRBBuf::column_double}});
  for (long row = 0; row < 3; ++row) h.writer.setDouble(row, 0, 0.5 * static_cast<double>(row));
  EXPECT_EQ(h.reader.getRowsReady(), 0);  // not before they are released
  h.writer.releaseRows(3);
  ASSERT_EQ(h.reader.getRowsReady(), 3);
  for (long row = 0; row < 3; ++row) EXPECT_EQ(h.reader.getDouble(row, 0), 0.5 * static_cast<double>(row));
}

TEST(MemoryBuf, destroying_it_unlinks_the_ends_still_listed) {
  HarnessNode node;
  {
    ZRBMemoryBuf buf;
    node.readFrom(buf);
    node.writeTo(buf);
  }
  EXPECT_EQ(node.getInputBufReader(0), nullptr);
  EXPECT_EQ(node.getOutputBufWriter(0), nullptr);
  EXPECT_EQ(node.getNumMessages(), 0);
}
