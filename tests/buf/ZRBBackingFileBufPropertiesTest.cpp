// The properties of backing-file buffers: names in order, arguments, results.
#include <gtest/gtest.h>

#include <string>

#include "support/BackingFileHarness.h"
#include "support/PropertyCall.h"
#include "support/PropertyChains.h"

namespace {

const Names kFileSetNames = {"backing.file.name", "backing.file.total.rows", "close.backing.file", "blob.file.name",
                             "close.blob.file"};

const Names kFileGetNames = {"backing.file.name",
                             "backing.file.total.rows",
                             "backing.file.row.bytes",
                             "backing.file.column.offset.bytes",
                             "backing.file.column.width.bytes",
                             "blob.file.name"};

// Of every buffer: the schema, the levels and, for a get, the row flow.
const Names kSchemaSetNames = {"num.rows",    "num.columns",         "column.name",
                               "column.type", "column.string.bytes", "column.blob.class.name"};
const Names kLevelSetNames = {"column.num.levels",       "column.level.name",     "column.max.auto.levels",
                              "default.max.auto.levels", "column.overflow.level", "init.overflow.counts",
                              "overflow.count",          "overflow.string.bytes"};
const Names kLevelGetNames = {"column.num.levels",       "column.level.name",     "column.max.auto.levels",
                              "default.max.auto.levels", "column.overflow.level", "overflow.count",
                              "overflow.string.bytes",   "map.level.to.double",   "map.double.to.level",
                              "map.level.to.int",        "map.int.to.level",      "any.overflow.counts"};
const Names kFlowGetNames = {"num.readers",
                             "num.writers",
                             "reader.proc",
                             "writer.proc",
                             "eof",
                             "reader.request.rows",
                             "writer.request.rows",
                             "reader.rows.ready",
                             "writer.rows.ready",
                             "reader.is.ready",
                             "writer.is.ready",
                             "reader.chunk.position",
                             "writer.chunk.position",
                             "min.rows.to.avoid.deadlock",
                             "is.deadlock.possible",
                             "is.memory.buf",
                             "is.backing.file.buf",
                             "is.multi.pass",
                             "is.random.access",
                             "total.num.rows",
                             "input.rows.released",
                             "output.rows.released",
                             "input.rows.locked",
                             "output.rows.locked"};

const Names kSetNames = joined({kFileSetNames, kSchemaSetNames, kLevelSetNames, kObjSetNames});
const Names kGetNames =
    joined({kFileGetNames, kSchemaSetNames, {"calc.bytes.per.row"}, kLevelGetNames, kFlowGetNames, kObjGetNames});

}  // namespace

TEST(BackingFileBufProperties, the_names_of_the_files_come_first_then_those_of_every_buffer_and_object) {
  ZRBBackingFileBuf buf;
  expectChains(buf, kSetNames, kGetNames);
}

TEST(BackingFileBufProperties, a_name_of_one_table_only_is_unknown_to_the_other) {
  ZRBBackingFileBuf buf;
  expectUnknownToSet(buf, {"backing.file.row.bytes", "backing.file.column.offset.bytes",
                           "backing.file.column.width.bytes", "total.num.rows"});
  expectUnknownToGet(buf, {"close.backing.file", "close.blob.file", "init"});
}

TEST(BackingFileBufProperties, a_set_reads_its_argument_with_the_getter_of_its_type) {
  const PropertyRow rows[] = {
      {"backing.file.name", {"getStringArg"}},
      {"backing.file.total.rows", {"getLongLongArg"}},
      {"close.backing.file", {}},
      {"blob.file.name", {"getStringArg"}},
      {"close.blob.file", {}},
  };
  Names tested;
  for (const PropertyRow& row : rows) {
    ZRBBackingFileBuf buf;
    expectSetRow(buf, row);
    EXPECT_EQ(buf.getNumMessages(), 0);
    tested.emplace_back(row.name);
  }
  EXPECT_EQ(tested, kFileSetNames);
}

TEST(BackingFileBufProperties, a_get_stores_one_result_of_its_type) {
  const PropertyRow rows[] = {
      {"backing.file.name", {"setStringResult"}},
      {"backing.file.total.rows", {"setLongLongResult"}},
      {"backing.file.row.bytes", {"setLongResult"}},
      {"backing.file.column.offset.bytes", {"getLongArg", "setLongResult"}},
      {"backing.file.column.width.bytes", {"getLongArg", "setLongResult"}},
      {"blob.file.name", {"setStringResult"}},
  };
  Names tested;
  for (const PropertyRow& row : rows) {
    ZRBBackingFileBuf buf;
    expectGetRow(buf, row);
    EXPECT_EQ(buf.getNumMessages(), 0);
    tested.emplace_back(row.name);
  }
  EXPECT_EQ(tested, kFileGetNames);
}

TEST(BackingFileBufProperties, the_names_and_the_total_are_stored_and_returned) {
  ZRBBackingFileBuf buf;
  EXPECT_EQ(PropertyCall("backing.file.name").get(buf).stringResult, nullptr);
  EXPECT_EQ(PropertyCall("blob.file.name").get(buf).stringResult, nullptr);
  EXPECT_EQ(PropertyCall("backing.file.total.rows").get(buf).longLongResult, 0);
  PropertyCall("backing.file.name").with("rows").set(buf);
  PropertyCall("blob.file.name").with("blobs").set(buf);
  PropertyCall("backing.file.total.rows").with(5000000000LL).set(buf);
  EXPECT_EQ(PropertyCall("backing.file.name").get(buf).stringResult, buf.getBackingFileName());
  EXPECT_EQ(PropertyCall("blob.file.name").get(buf).stringResult, buf.getBlobFileName());
  EXPECT_STREQ(buf.getBackingFileName(), "rows");
  EXPECT_STREQ(buf.getBlobFileName(), "blobs");
  EXPECT_EQ(PropertyCall("backing.file.total.rows").get(buf).longLongResult, 5000000000LL);
  PropertyCall("backing.file.name").with(static_cast<const char*>(nullptr)).set(buf);
  PropertyCall("blob.file.name").with(static_cast<const char*>(nullptr)).set(buf);
  EXPECT_EQ(buf.getBackingFileName(), nullptr);
  EXPECT_EQ(buf.getBlobFileName(), nullptr);
}

TEST(BackingFileBufProperties, the_layout_of_a_row_is_the_one_of_the_last_init) {
  const TemporaryDirectory directory;
  WrittenFile<> file(directory.file("rows"), 4,
                     {{"d", ZRBBuf::column_double},
                      {"f", ZRBBuf::column_factor},
                      {"s", ZRBBuf::column_string, 10},
                      {"t", ZRBBuf::column_timeDate},
                      {"b", ZRBBuf::column_blob}});
  EXPECT_EQ(PropertyCall("backing.file.row.bytes").get(file.buf).longResult, 44);
  const long offsets[] = {0, 8, 10, 20, 28};
  const long widths[] = {8, 2, 10, 8, 16};
  for (long column = 0; column < 5; ++column) {
    EXPECT_EQ(PropertyCall("backing.file.column.offset.bytes").with(column).get(file.buf).longResult, offsets[column]);
    EXPECT_EQ(PropertyCall("backing.file.column.width.bytes").with(column).get(file.buf).longResult, widths[column]);
  }
  for (const long column : {-1L, 5L}) {
    EXPECT_EQ(PropertyCall("backing.file.column.offset.bytes").with(column).get(file.buf).longResult, 0);
    EXPECT_EQ(PropertyCall("backing.file.column.width.bytes").with(column).get(file.buf).longResult, 0);
  }
  file.buf.setColumnStringBytes(2, 11);
  EXPECT_EQ(PropertyCall("backing.file.row.bytes").get(file.buf).longResult, 44);
  EXPECT_EQ(PropertyCall("calc.bytes.per.row").get(file.buf).longResult, 45);
  EXPECT_EQ(PropertyCall("backing.file.column.offset.bytes").with(3).get(file.buf).longResult, 20);
  EXPECT_EQ(PropertyCall("backing.file.column.width.bytes").with(2).get(file.buf).longResult, 11);
  EXPECT_EQ(file.buf.init(), 0);
  EXPECT_EQ(PropertyCall("backing.file.row.bytes").get(file.buf).longResult, 45);
  EXPECT_EQ(PropertyCall("backing.file.column.offset.bytes").with(3).get(file.buf).longResult, 21);
}

TEST(BackingFileBufProperties, each_file_is_closed_by_its_own_property) {
  const TemporaryDirectory directory;
  WrittenFile<> file(directory.file("rows"), 4, kOneDouble, directory.file("blobs"));
  const int rows = file.buf.getBackingFileHandle();
  const int blobs = file.buf.getBlobFileHandle();
  PropertyCall("close.backing.file").set(file.buf);
  EXPECT_EQ(file.buf.getBackingFileHandle(), -1);
  EXPECT_FALSE(isOpenHandle(rows));
  EXPECT_TRUE(isOpenHandle(blobs));
  PropertyCall("close.blob.file").set(file.buf);
  EXPECT_EQ(file.buf.getBlobFileHandle(), -1);
  EXPECT_FALSE(isOpenHandle(blobs));
  EXPECT_EQ(messagesOf(file.buf), Messages{});
}

TEST(BackingFileBufProperties, the_questions_of_every_buffer_are_answered_for_a_file) {
  const TemporaryDirectory directory;
  WrittenFile<> written(directory.file("rows"), 4);
  written.releaseDoubles(3);
  EXPECT_EQ(PropertyCall("is.memory.buf").get(written.buf).boolResult, 0);
  EXPECT_EQ(PropertyCall("is.backing.file.buf").get(written.buf).boolResult, 1);
  EXPECT_EQ(PropertyCall("is.multi.pass").get(written.buf).boolResult, 1);
  EXPECT_EQ(PropertyCall("is.random.access").get(written.buf).boolResult, 1);
  EXPECT_EQ(PropertyCall("total.num.rows").get(written.buf).longLongResult, -1);
  written.writer.setEOF();
  EXPECT_EQ(PropertyCall("total.num.rows").get(written.buf).longLongResult, 3);

  ReadFile<> read(directory.file("rows"), 3, 2);
  read.reader.setRequestRows(1);
  read.reader.setChunkPosition(2);
  EXPECT_EQ(PropertyCall("is.multi.pass").get(read.buf).boolResult, 1);
  EXPECT_EQ(PropertyCall("is.random.access").get(read.buf).boolResult, 1);
  EXPECT_EQ(PropertyCall("total.num.rows").get(read.buf).longLongResult, 3);
  EXPECT_EQ(PropertyCall("reader.chunk.position").with(0).get(read.buf).longLongResult, 2);
  EXPECT_EQ(PropertyCall("reader.rows.ready").with(0).get(read.buf).longResult, 1);
  EXPECT_EQ(PropertyCall("reader.request.rows").with(0).get(read.buf).longResult, 1);
  EXPECT_EQ(PropertyCall("reader.is.ready").with(0).get(read.buf).boolResult, 1);
}
