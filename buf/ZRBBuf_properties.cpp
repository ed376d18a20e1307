// Which names does a buffer answer to?
#include <cstring>

#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "base/property_table.h"

using namespace property;

namespace {

constexpr const char* kTypeNames[] = {"double", "factor", "string", "timeDate", "blob"};

// An unknown text leaves the type as it is.
void setColumnType(ZRBBuf& buf, ZRBPropertyInfo& info) {
  const long column = info.getLongArg();
  const char* text = info.getNextArg()->getStringArg();
  if (!text) return;
  for (int type = ZRBBuf::column_double; type <= ZRBBuf::column_blob; ++type)
    if (std::strcmp(text, kTypeNames[type]) == 0)
      return buf.setColumnType(column, static_cast<ZRBBuf::column_type>(type));
}

void getColumnType(ZRBBuf& buf, ZRBPropertyInfo& info) {
  const ZRBBuf::column_type type = buf.getColumnType(info.getLongArg());
  const bool known = type > ZRBBuf::column_double && type <= ZRBBuf::column_blob;
  info.setStringResult(kTypeNames[known ? type : ZRBBuf::column_double]);
}

void setLevelName(ZRBBuf& buf, ZRBPropertyInfo& info) {
  const long column = info.getLongArg();
  ZRBPropertyInfo* levelArg = info.getNextArg();
  const long level = levelArg->getLongArg();
  const char* name = levelArg->getNextArg()->getStringArg();
  buf.setLevelName(column, level, name);
}

// A level number, asked for as a long.
struct LongAsDouble {
  static double take(ZRBPropertyInfo& info) { return static_cast<double>(info.getLongArg()); }
};

// A question to the end of the given index; 0 when there is none.
template <auto GetEnd, class Kind, auto Member>
void getOfEnd(ZRBBuf& buf, ZRBPropertyInfo& info) {
  auto* end = (buf.*GetEnd)(Int::take(info));
  Kind::give(info, end ? (end->*Member)() : 0);
}
template <class Kind, auto Member>
void getOfReader(ZRBBuf& buf, ZRBPropertyInfo& info) {
  getOfEnd<&ZRBBuf::getBufReader, Kind, Member>(buf, info);
}
template <class Kind, auto Member>
void getOfWriter(ZRBBuf& buf, ZRBPropertyInfo& info) {
  getOfEnd<&ZRBBuf::getBufWriter, Kind, Member>(buf, info);
}

}  // namespace

struct ZRBBuf::Properties {
  static constexpr Property<ZRBBuf> setTable[] = {
      {"num.rows", set<Long, &ZRBBuf::setNumRows>},
      {"num.columns", set<Long, &ZRBBuf::setNumColumns>},
      {"column.name", set2<Long, String, &ZRBBuf::setColumnName>},
      {"column.type", ::setColumnType},
      {"column.string.bytes", set2<Long, Long, &ZRBBuf::setColumnStringBytes>},
      {"column.blob.class.name", set2<Long, String, &ZRBBuf::setColumnBlobClassName>},
      {"column.num.levels", set2<Long, Long, &ZRBBuf::setNumLevels>},
      {"column.level.name", ::setLevelName},
      {"column.max.auto.levels", set2<Long, Long, &ZRBBuf::setMaxAutoLevels>},
      {"default.max.auto.levels", set<Long, &ZRBBuf::setDefaultMaxAutoLevels>},
      {"column.overflow.level", set2<Long, String, &ZRBBuf::setOverflowLevel>},
      {"init.overflow.counts", call<&ZRBBuf::initOverflowCounts>},
      {"overflow.count", set2<Long, LongLong, &ZRBBuf::setOverflowCount>},
      {"overflow.string.bytes", set2<Long, Long, &ZRBBuf::setOverflowStringBytes>},
  };

  static constexpr Property<ZRBBuf> getTable[] = {
      {"num.rows", get<Long, &ZRBBuf::getNumRows>},
      {"num.columns", get<Long, &ZRBBuf::getNumColumns>},
      {"column.name", getAt<Long, String, &ZRBBuf::getColumnName>},
      {"column.type", ::getColumnType},
      {"column.string.bytes", getAt<Long, Long, &ZRBBuf::getColumnStringBytes>},
      {"column.blob.class.name", getAt<Long, String, &ZRBBuf::getColumnBlobClassName>},
      {"calc.bytes.per.row", get<Long, &ZRBBuf::calcBytesPerRow>},
      {"column.num.levels", getAt<Long, Long, &ZRBBuf::getNumLevels>},
      {"column.level.name", getAt2<Long, Long, String, &ZRBBuf::getLevelName>},
      {"column.max.auto.levels", getAt<Long, Long, &ZRBBuf::getMaxAutoLevels>},
      {"default.max.auto.levels", get<Long, &ZRBBuf::getDefaultMaxAutoLevels>},
      {"column.overflow.level", getAt<Long, String, &ZRBBuf::getOverflowLevel>},
      {"overflow.count", getAt<Long, LongLong, &ZRBBuf::getOverflowCount>},
      {"overflow.string.bytes", getAt<Long, Long, &ZRBBuf::getOverflowStringBytes>},
      {"map.level.to.double", getAt2<Long, String, Double, &ZRBBuf::mapLevelToDouble>},
      {"map.double.to.level", getAt2<Long, LongAsDouble, String, &ZRBBuf::mapDoubleToLevel>},
      {"map.level.to.int", getAt2<Long, String, Long, &ZRBBuf::mapStringToLevelNum>},
      {"map.int.to.level", getAt2<Long, Long, String, &ZRBBuf::mapLevelNumToString>},
      {"any.overflow.counts", get<Bool, &ZRBBuf::anyOverflowCounts>},
      {"num.readers", get<Long, &ZRBBuf::getNumReaders>},
      {"num.writers", get<Long, &ZRBBuf::getNumWriters>},
      {"reader.proc", getAt<Int, Proc, &ZRBBuf::getBufReaderProc>},
      {"writer.proc", getAt<Int, Proc, &ZRBBuf::getBufWriterProc>},
      {"eof", get<Bool, &ZRBBuf::getEOF>},
      {"reader.request.rows", getOfReader<Long, &ZRBBufReader::getRequestRows>},
      {"writer.request.rows", getOfWriter<Long, &ZRBBufWriter::getRequestRows>},
      {"reader.rows.ready", getOfReader<Long, &ZRBBufReader::getRowsReady>},
      {"writer.rows.ready", getOfWriter<Long, &ZRBBufWriter::getRowsReady>},
      {"reader.is.ready", getOfReader<Bool, &ZRBBufReader::isReady>},
      {"writer.is.ready", getOfWriter<Bool, &ZRBBufWriter::isReady>},
      {"reader.chunk.position", getOfReader<LongLong, &ZRBBufReader::getChunkPosition>},
      {"writer.chunk.position", getOfWriter<LongLong, &ZRBBufWriter::getChunkPosition>},
      {"min.rows.to.avoid.deadlock", get<Long, &ZRBBuf::getMinRowsToAvoidDeadlock>},
      {"is.deadlock.possible", get<Bool, &ZRBBuf::isDeadlockPossible>},
      {"is.memory.buf", get<Bool, &ZRBBuf::isZRBMemoryBuf>},
      {"is.backing.file.buf", get<Bool, &ZRBBuf::isZRBBackingFileBuf>},
      {"is.multi.pass", get<Bool, &ZRBBuf::isMultiPass>},
      {"is.random.access", get<Bool, &ZRBBuf::isRandomAccess>},
      {"total.num.rows", get<LongLong, &ZRBBuf::getTotalNumRows>},
      {"input.rows.released", get<Long, &ZRBBuf::getInputRowsReleased>},
      {"output.rows.released", get<Long, &ZRBBuf::getOutputRowsReleased>},
      {"input.rows.locked", get<Long, &ZRBBuf::getInputLockedRows>},
      {"output.rows.locked", get<Long, &ZRBBuf::getOutputLockedRows>},
  };
};

void ZRBBuf::setProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::setTable, *this, *info)) ZRBObj::setProperty(info);
}

void ZRBBuf::getProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::getTable, *this, *info)) ZRBObj::getProperty(info);
}
