// How do the cells of a column come over from another buffer?
#include "buf/column_copy.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "ZRBBuf.h"
#include "base/value_codes.h"
#include "buf/buf_access.h"
#include "buf/cell_codec.h"
#include "buf/level_index.h"
#include "buf/level_translation.h"
#include "buf/padded_text.h"
#include "buf/ring_runs.h"
#include "buf/string_cell.h"

namespace {

constexpr long kNumberBytes = 8;

// One side of a copy: its rows, and its column as it is laid out.
class Side {
public:
  explicit Side(const CopyEnd& end)
      : m_access(*end.buf),
        m_end(end),
        m_info(m_access.columnInfo(end.column)),
        m_column(m_access.column(end.column)) {}

  // A column that does not exist counts as a double, where a row has room for one.
  bool has(ZRBBuf::column_type type) const {
    return m_access.capacity() >= 1 && m_column.type == type && (m_info || m_access.rowBytes() >= kNumberBytes);
  }
  ZRBBuf& buf() const { return *m_end.buf; }
  const CopyEnd& end() const { return m_end; }
  const BufAccess& access() const { return m_access; }
  ZRBBuf::ColumnInfo* info() const { return m_info; }
  const BufAccess::Column& column() const { return m_column; }

private:
  BufAccess m_access;
  CopyEnd m_end;
  ZRBBuf::ColumnInfo* m_info;
  BufAccess::Column m_column;
};

// Cells in rows on both sides.
struct Cells {
  const char* from;
  long fromRowBytes;
  char* to;
  long toRowBytes;
  long rows;
};

// Calls copy(cells) for the runs of rows that wrap on neither side.
template <class Copy>
void forEachPairOfRuns(const Side& source, const Side& target, long rows, Copy copy) {
  const BufAccess& from = source.access();
  const BufAccess& to = target.access();
  forEachRun(source.end().ringRow, from.capacity(), target.end().ringRow, to.capacity(), rows,
             [&](long fromRow, long toRow, long runRows) {
               copy(Cells{from.at(fromRow, source.column()), from.rowBytes(), to.at(toRow, target.column()),
                          to.rowBytes(), runRows});
             });
}

// Calls copy(from, to) for each cell.
template <class Copy>
void forEachCell(Cells cells, Copy copy) {
  for (long i = 0; i < cells.rows; ++i, cells.from += cells.fromRowBytes, cells.to += cells.toRowBytes)
    copy(cells.from, cells.to);
}

// ---- Numbers ----

template <std::size_t kColumns>
void copyRows(const Cells& cells) {
  forEachCell(cells, [](const char* from, char* to) { std::memcpy(to, from, kColumns * kNumberBytes); });
}

using CopyRows = void (*)(const Cells& cells);
template <std::size_t... kIndex>
constexpr std::array<CopyRows, sizeof...(kIndex)> copyRowsTable(std::index_sequence<kIndex...>) {
  return {copyRows<kIndex + 1>...};
}
constexpr auto kCopyRows = copyRowsTable(std::make_index_sequence<16>());

bool isNumber(ZRBBuf::column_type type) { return type == ZRBBuf::column_double || type == ZRBBuf::column_timeDate; }

// How many columns, of which the first is such a one, hold the same types of numbers on both sides, without gaps.
long numbersTogether(const Side& source, const Side& target, long columns) {
  long count = 1;
  for (; count < columns; ++count) {
    const long from = source.end().column + count;
    const long to = target.end().column + count;
    if (!source.access().columnInfo(from) || !target.access().columnInfo(to)) break;
    const BufAccess::Column fromColumn = source.access().column(from);
    const BufAccess::Column toColumn = target.access().column(to);
    if (fromColumn.type != toColumn.type || !isNumber(fromColumn.type)) break;
    if (fromColumn.offset != source.column().offset + count * kNumberBytes) break;
    if (toColumn.offset != target.column().offset + count * kNumberBytes) break;
  }
  return count;
}

}  // namespace

long copyNumbers(const CopyEnd& sourceEnd, const CopyEnd& targetEnd, ZRBBuf::column_type type, long columns,
                 long rows) {
  const Side source(sourceEnd);
  const Side target(targetEnd);
  if (rows < 1 || !source.has(type) || !target.has(type)) return 0;
  // Inside one buffer the order of columns may matter.
  const long together = sourceEnd.buf == targetEnd.buf ? 1 : numbersTogether(source, target, columns);
  const std::size_t count = static_cast<std::size_t>(together);
  forEachPairOfRuns(source, target, rows, [count](const Cells& cells) {
    if (count <= kCopyRows.size()) return kCopyRows[count - 1](cells);
    forEachCell(cells, [count](const char* from, char* to) { std::memcpy(to, from, count * kNumberBytes); });
  });
  return together;
}

void copyTexts(const CopyEnd& sourceEnd, const CopyEnd& targetEnd, long rows) {
  const Side source(sourceEnd);
  const Side target(targetEnd);
  if (rows < 1 || !source.has(ZRBBuf::column_string) || !target.has(ZRBBuf::column_string)) return;
  const long targetBytes = target.column().stringBytes;
  const long bytes = std::min(source.column().stringBytes, targetBytes);
  const auto copySingly = [&](const char* from, char* to) {
    storeStringCell(from, to, targetBytes, target.buf(), targetEnd.column);
  };
  forEachPairOfRuns(source, target, rows, [&](const Cells& cells) {
    const bool padded = padded_text::withCopy(bytes, [&](auto copyPadded) {
      forEachCell(cells, [&](const char* from, char* to) {
        if (!copyPadded(from, to, bytes)) return copySingly(from, to);
        if (targetBytes > bytes) std::memset(to + bytes, 0, static_cast<std::size_t>(targetBytes - bytes));
      });
    });
    if (!padded) forEachCell(cells, copySingly);
  });
}

void copyLevels(const CopyEnd& sourceEnd, const CopyEnd& targetEnd, long rows) {
  const Side source(sourceEnd);
  const Side target(targetEnd);
  if (rows < 1 || !source.has(ZRBBuf::column_factor) || !target.has(ZRBBuf::column_factor)) return;
  ZRBBuf& sourceBuf = source.buf();
  ZRBBuf& targetBuf = target.buf();
  LevelIndex& targetLevels = BufAccess::levelIndex(*target.info());
  LevelTranslation& translation = targetLevels.translation();
  const bool translates = translation.prepare(BufAccess::levelIndex(*source.info()).stamp(), targetLevels.stamp(),
                                              sourceBuf.getNumLevels(sourceEnd.column), rows);

  const auto copySingly = [&](const char* from, char* to) {
    const long level = cell::loadLevelNum(from);
    const bool missing = ZRBObj::isLevelNumNA(level);
    const char* name = missing ? nullptr : sourceBuf.getLevelName(sourceEnd.column, level);
    // Only a level that is found is remembered: a text that overflows is to be counted each time.
    const bool found = translates && name && targetBuf.lookupLevel(targetEnd.column, name) >= 0;
    cell::storeLevelNum(to, missing ? level : targetBuf.mapStringToLevelNum(targetEnd.column, name));
    if (found) translation.setCode(static_cast<std::size_t>(level), cell::load<std::uint16_t>(to));
  };
  if (!translates) {
    forEachPairOfRuns(source, target, rows, [&](const Cells& cells) { forEachCell(cells, copySingly); });
    return;
  }
  const std::uint16_t* codes = translation.codes();
  const std::size_t numCodes = translation.numCodes();
  forEachPairOfRuns(source, target, rows, [&](const Cells& cells) {
    forEachCell(cells, [=](const char* from, char* to) {
      const std::size_t level = __builtin_bswap16(cell::load<std::uint16_t>(from));
      const std::uint16_t code = level < numCodes ? codes[level] : LevelTranslation::kUnknown;
      if (code == LevelTranslation::kUnknown) return copySingly(from, to);
      cell::store(to, code);
    });
  });
}
