// What do the rows of a stream look like, column by column and level by level?
#include "ZRBProcCount.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "base/property_table.h"
#include "buf/buf_access.h"
#include "procs/count_cache.h"
#include "procs/count_lists.h"
#include "procs/count_tables.h"
#include "procs/measure.h"
#include "procs/running_stats.h"

using namespace property;

namespace {

constexpr std::size_t kMinColumnInfos = 100;
constexpr unsigned long kLastLevel = 65534;

}  // namespace

ZRBBuf* getBuf(ZRBBufReader* reader) { return reader ? reader->getBuf() : nullptr; }

ZRBProcCount::ZRBProcCount()
    : m_cross_size(0),
      m_cross_columns{},
      m_cross_checked(0),
      m_cross_values{},
      m_cross_root(CountLists::kNone),
      m_lists(std::make_unique<CountLists>(m_count_infos)),
      m_tables(std::make_unique<CountTables>(m_count_infos)),
      m_cache(std::make_unique<CountCache>()) {}

ZRBProcCount::~ZRBProcCount() = default;

int ZRBProcCount::init() {
  ZRBProc::init();
  checkBufs(1, 0);
  if (hasError()) return 1;
  m_column_infos.clear();
  m_lists->clear();
  m_tables->clear();
  m_cache->clear();
  m_cross_checked = 0;
  // Deliberate: m_cross_root stays.
  const long numColumns = getInputBuf(0)->getNumColumns();
  for (int position = 0; position < m_cross_size; ++position) {
    const int column = m_cross_columns[position];
    if (column >= 0 && column < numColumns) continue;
    setError("bad cross column number", column);
    break;
  }
  return hasError();
}

// ---- Counting ----

long ZRBProcCount::execute() {
  ZRBBufReader* reader = getInputBufReader(0);
  if (!reader) {
    setError("null input buf");
    return -1;
  }
  reader->setRequestRows(1);
  if (!reader->isReady()) return -1;
  const long rows = reader->getRowsReady();
  if (rows > 0 && (!countColumns(*reader, rows) || !countCross(*reader, rows))) return -1;
  reader->releaseRows(rows);
  if (reader->getEOF() && reader->getRowsReady() == 0) {
    m_tables->settle();
    setDone(1);
  } else {
    reader->setRequestRows(1);
  }
  return incrementRowsDone(rows);
}

bool ZRBProcCount::countColumns(ZRBBufReader& reader, long rows) {
  ZRBBuf* buf = ::getBuf(&reader);
  if (!buf) return fail("no input buf");
  if (mayCountAbreast(reader, rows)) {
    countColumnsAbreast(reader, rows);
    return true;
  }
  const int numColumns = static_cast<int>(buf->getNumColumns());
  for (int column = 0; column < numColumns; ++column) {
    ZRBProcCountColumnInfo* info = getColumnInfo(column);
    if (!info) return fail("execute: bad colInfo -- shouldn't happen");
    const ZRBBuf::column_type type = buf->getColumnType(column);
    for (long row = 0; row < rows; ++row) {
      const double x = measure(reader, type, row, column);
      addValue(*info, x);
      if (type == ZRBBuf::column_factor) ++record(findOrInsertCountInfo(&info->level_list, x)).count;
    }
  }
  return true;
}

// Every prefix of a combination is counted: the record at position p counts the rows that match up to p.
bool ZRBProcCount::countCross(ZRBBufReader& reader, long rows) {
  if (m_cross_size < 1) return true;
  ZRBBuf* buf = reader.getBuf();
  if (!m_cross_checked) {
    for (int position = 0; position < m_cross_size; ++position) {
      const int column = m_cross_columns[position];
      if (buf->columnTypeIsFactor(column)) continue;
      setError("bad cross: column not a factor", column);
      return false;
    }
    m_cross_checked = 1;
  }
  if (mayCountAbreast(reader, rows) && countCrossByCode(reader, rows)) return true;
  const long numColumns = buf->getNumColumns();
  for (long row = 0; row < rows; ++row) {
    int above = CountLists::kNone;
    for (int position = 0; position < m_cross_size; ++position) {
      const int column = m_cross_columns[position];
      above = crossRecord(above, reader.getDouble(row, column >= 0 && column < numColumns ? column : 0));
      if (above == CountLists::kNone) return fail("bad cross -- shouldn't happen");
      ++record(above).count;
    }
  }
  return true;
}

// The record of a value below the record `above` of the position before, kNone at the first.
int ZRBProcCount::crossRecord(int above, double x) {
  // Found through a copy of the head: a new record may move the one that holds it.
  int head = above == CountLists::kNone ? m_cross_root : record(above).sub_list;
  const int found = findOrInsertCountInfo(&head, x);
  if (!m_lists->isRecord(found)) return CountLists::kNone;
  (above == CountLists::kNone ? m_cross_root : record(above).sub_list) = head;
  return found;
}

ZRBProcCountCountInfo& ZRBProcCount::record(int index) { return m_count_infos[static_cast<std::size_t>(index)]; }

bool ZRBProcCount::fail(const char* text) {
  setError(text);
  return false;
}

// ---- Results per column ----

ZRBProcCountColumnInfo* ZRBProcCount::getColumnInfo(int column) {
  if (column < 0) return nullptr;
  const std::size_t at = static_cast<std::size_t>(column);
  if (at >= m_column_infos.size()) {
    const double nan = getDoubleNaN();
    m_column_infos.resize(std::max({2 * m_column_infos.size(), kMinColumnInfos, at + 1}),
                          {nan, nan, nan, nan, 0, 0, CountLists::kNone});
  }
  return &m_column_infos[at];
}

ZRBProcCountColumnInfo* ZRBProcCount::findColumnInfo(int column) {
  const bool known = column >= 0 && static_cast<std::size_t>(column) < m_column_infos.size();
  return known ? &m_column_infos[static_cast<std::size_t>(column)] : nullptr;
}

double ZRBProcCount::getMin(int column) {
  ZRBProcCountColumnInfo* info = findColumnInfo(column);
  return info ? info->min : getDoubleNaN();
}

double ZRBProcCount::getMax(int column) {
  ZRBProcCountColumnInfo* info = findColumnInfo(column);
  return info ? info->max : getDoubleNaN();
}

double ZRBProcCount::getMean(int column) {
  ZRBProcCountColumnInfo* info = findColumnInfo(column);
  return info ? info->mean : getDoubleNaN();
}

double ZRBProcCount::getStdDev(int column) {
  ZRBProcCountColumnInfo* info = findColumnInfo(column);
  if (!info || info->count_ok <= 0 || std::isnan(info->m2) || info->m2 < 0.0) return getDoubleNaN();
  if (info->count_ok == 1) return 0.0;
  return std::sqrt(info->m2 / static_cast<double>(info->count_ok - 1));
}

long long ZRBProcCount::getCountNA(int column) {
  ZRBProcCountColumnInfo* info = findColumnInfo(column);
  return info ? info->count_na : 0;
}

long long ZRBProcCount::getCountOK(int column) {
  ZRBProcCountColumnInfo* info = findColumnInfo(column);
  return info ? info->count_ok : 0;
}

// ---- Values seen ----

ZRBProcCountCountInfo* ZRBProcCount::getColumnLevel(int column, int position) {
  ZRBProcCountColumnInfo* info = findColumnInfo(column);
  return info ? getCountInfoListElt(info->level_list, position) : nullptr;
}

long ZRBProcCount::getColumnNumLevels(int column) {
  ZRBProcCountColumnInfo* info = findColumnInfo(column);
  return info ? getCountInfoListLength(info->level_list) : 0;
}

double ZRBProcCount::getColumnLevelValue(int column, int position) {
  ZRBProcCountCountInfo* level = getColumnLevel(column, position);
  return level ? level->value : getDoubleNaN();
}

const char* ZRBProcCount::getColumnLevelName(int column, int position) {
  const double value = getColumnLevelValue(column, position);
  if (std::isnan(value)) return "NA";
  ZRBBuf* buf = getInputBuf(0);
  if (!buf || !buf->columnTypeIsFactor(column)) return "not.a.factor";
  return buf->mapDoubleToLevel(column, value);
}

long ZRBProcCount::getColumnLevelInt(int column, int position) {
  ZRBProcCountCountInfo* level = getColumnLevel(column, position);
  if (!level || isDoubleNA(level->value)) return getLevelNumNA();
  const long number = static_cast<long>(level->value);
  return static_cast<unsigned long>(number) > kLastLevel ? getLevelNumNA() : number;
}

long long ZRBProcCount::getColumnLevelCount(int column, int position) {
  ZRBProcCountCountInfo* level = getColumnLevel(column, position);
  return level ? level->count : 0;
}

// ---- Cross-tabulation ----

void ZRBProcCount::setCrossSize(int size) {
  m_cross_size = std::min<int>(size, kMaxCross);
  forgetCross();
}

int ZRBProcCount::getCrossSize() { return m_cross_size; }

void ZRBProcCount::setCrossColumn(int position, int column) {
  if (position < 0 || position >= kMaxCross) return;
  m_cross_columns[position] = column;
  forgetCross();
}

// What was remembered of other cross columns.
void ZRBProcCount::forgetCross() {
  m_tables->clearCross();
  m_cache->clear();
}

int ZRBProcCount::getCrossColumn(int position) {
  return position >= 0 && position < kMaxCross ? m_cross_columns[position] : 0;
}

void ZRBProcCount::setCrossIndex(int position, int levelPosition) {
  if (position >= 0 && position < m_cross_size)
    m_cross_values[position] = getColumnLevelValue(m_cross_columns[position], levelPosition);
}

long long ZRBProcCount::getCrossCount() {
  long long count = 0;
  int head = m_cross_root;
  for (int position = 0; position < m_cross_size; ++position) {
    ZRBProcCountCountInfo* info = findCountInfo(head, m_cross_values[position]);
    if (!info) return 0;
    count = info->count;
    head = info->sub_list;
  }
  return count;
}

// ---- Count records ----

// The way to every count that is read.
ZRBProcCountCountInfo* ZRBProcCount::getCountInfo(int index) {
  m_tables->settle();
  return m_lists->isRecord(index) ? &record(index) : nullptr;
}

int ZRBProcCount::newCountInfo() { return m_lists->appendForHost(); }

ZRBProcCountCountInfo* ZRBProcCount::findCountInfo(int head, double value) {
  return getCountInfo(m_lists->find(head, value));
}

int ZRBProcCount::findOrInsertCountInfo(int* head, double value) { return m_lists->findOrInsert(*head, value); }

long ZRBProcCount::getCountInfoListLength(int head) { return static_cast<long>(m_lists->elements(head).size()); }

ZRBProcCountCountInfo* ZRBProcCount::getCountInfoListElt(int head, int position) {
  const std::vector<int>& elements = m_lists->elements(head);
  const bool listed = position >= 0 && static_cast<std::size_t>(position) < elements.size();
  return listed ? getCountInfo(elements[static_cast<std::size_t>(position)]) : nullptr;
}

long ZRBProcCount::getNumCountBlocks() { return static_cast<long>(m_count_infos.size()); }

// ---- Properties ----

struct ZRBProcCount::Properties {
  // A size that an int cannot hold keeps its side of the limit.
  static void setCrossSize(ZRBProcCount& count, ZRBPropertyInfo& info) {
    count.setCrossSize(
        static_cast<int>(std::clamp<long>(info.getLongArg(), std::numeric_limits<int>::min(), kMaxCross)));
  }
  static void getCrossSize(ZRBProcCount& count, ZRBPropertyInfo& info) { info.setLongResult(count.getCrossSize()); }
  static void getCrossColumn(ZRBProcCount& count, ZRBPropertyInfo& info) {
    info.setLongResult(count.getCrossColumn(Int::take(info)));
  }
  static void getCrossCount(ZRBProcCount& count, ZRBPropertyInfo& info) {
    info.setDoubleResult(static_cast<double>(count.getCrossCount()));
  }

  static constexpr Property<ZRBProcCount> setTable[] = {
      {"cross.size", setCrossSize},
      {"cross.column", set2<Int, Int, &ZRBProcCount::setCrossColumn>},
      {"cross.index", set2<Int, Int, &ZRBProcCount::setCrossIndex>},
  };

  static constexpr Property<ZRBProcCount> getTable[] = {
      {"cross.size", getCrossSize},
      {"cross.column", getCrossColumn},
      {"col.min", getAt<Int, Double, &ZRBProcCount::getMin>},
      {"col.max", getAt<Int, Double, &ZRBProcCount::getMax>},
      {"col.mean", getAt<Int, Double, &ZRBProcCount::getMean>},
      {"col.stddev", getAt<Int, Double, &ZRBProcCount::getStdDev>},
      {"col.count.na", getAt<Int, LongLong, &ZRBProcCount::getCountNA>},
      {"col.count.ok", getAt<Int, LongLong, &ZRBProcCount::getCountOK>},
      {"col.num.levels", getAt<Int, Long, &ZRBProcCount::getColumnNumLevels>},
      {"col.level.name", getAt2<Int, Int, String, &ZRBProcCount::getColumnLevelName>},
      {"col.level.count", getAt2<Int, Int, LongLong, &ZRBProcCount::getColumnLevelCount>},
      {"col.level.int", getAt2<Int, Int, Long, &ZRBProcCount::getColumnLevelInt>},
      {"cross.count", getCrossCount},
      {"num.count.blocks", get<Long, &ZRBProcCount::getNumCountBlocks>},
  };
};

void ZRBProcCount::setProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::setTable, *this, *info)) ZRBProc::setProperty(info);
}

void ZRBProcCount::getProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::getTable, *this, *info)) ZRBProc::getProperty(info);
}
