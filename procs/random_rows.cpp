// What does a cell hold for a draw, and how are many cells written at once?
#include "procs/random_rows.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "ZRBBuf.h"
#include "ZRBBufWriter.h"
#include "base/value_codes.h"
#include "buf/cell_codec.h"
#include "buf/column_runs.h"
#include "buf/ring_runs.h"

using random_lanes::kBlockDraws;

namespace {

constexpr double kTextStep = 0.2;
constexpr int kTextsUsed = 4;
// Deliberate: five texts each, of which the last is never chosen.
constexpr const char* kLevelNames[] = {"lev1", "lev2", "lev3", "lev4", "lev5"};
constexpr const char* kStringValues[] = {"string-one", "string-two", "string-three", "string-four", "string-five"};

// The text for a draw: trunc(value / 0.2) while that is one of the texts used, else the first.
int textIndex(double value) {
  const double steps = value / kTextStep;
  return steps < kTextsUsed ? static_cast<int>(steps) : 0;
}

// From this draw on, every text is the first; one draw in 2^32 is less.
constexpr double kFirstTextOnly = 1.0;
static_assert(kFirstTextOnly > kTextsUsed * kTextStep);

constexpr long kDrawBytes = sizeof(double);

// Cells of one piece in some rows, and the draws for them: both stride from row to row.
struct CellRows {
  char* cells;
  long rowBytes;
  const char* draws;
  long drawRowBytes;
  long rows;
};

template <class Store>
void forEachRow(CellRows at, Store store) {
  for (long i = 0; i < at.rows; ++i, at.cells += at.rowBytes, at.draws += at.drawRowBytes) store(at.cells, at.draws);
}

template <std::size_t kColumns>
void storeDoubles(const CellRows& at) {
  forEachRow(at, [](char* cells, const char* draws) { std::memcpy(cells, draws, kColumns * kDrawBytes); });
}
using StoreDoubles = void (*)(const CellRows& at);
constexpr StoreDoubles kStoreDoubles[] = {storeDoubles<1>, storeDoubles<2>, storeDoubles<3>, storeDoubles<4>,
                                          storeDoubles<5>, storeDoubles<6>, storeDoubles<7>, storeDoubles<8>};
constexpr long kMostDoubles = std::size(kStoreDoubles);

// As conversions::doubleToTimeDate, for what a draw can be.
void storeTimeDates(const CellRows& at) {
  static_assert(random_lanes::kMaxDraw * value_codes::kMsPerDay < 0x1p63);
  const long long epochMs = ZRBObj::getDoubleDateEpoch();
  forEachRow(at, [epochMs](char* cell, const char* draw) {
    const long long wholeMs = static_cast<long long>(cell::load<double>(draw) * value_codes::kMsPerDay);
    cell::store(cell, value_codes::addWrapping(epochMs, wholeMs));
  });
}

// The same bytes in every row, in moves that may overlap.
template <std::size_t kMoveBytes>
void storeBytes(const CellRows& at, const char* bytes, std::size_t count) {
  forEachRow(at, [=](char* cell, const char*) {
    for (std::size_t i = 0; i + kMoveBytes < count; i += kMoveBytes) std::memcpy(cell + i, bytes + i, kMoveBytes);
    std::memcpy(cell + count - kMoveBytes, bytes + count - kMoveBytes, kMoveBytes);
  });
}

void storeText(const CellRows& at, const std::string& bytes) {
  const std::size_t count = bytes.size();  // more than the text's 10
  return count >= 16 ? storeBytes<16>(at, bytes.data(), count) : storeBytes<8>(at, bytes.data(), count);
}

// The cells of an own writer's chunk, in the order of their draws.
class RandomCells {
public:
  explicit RandomCells(ZRBBufWriter& writer)
      : m_writer(writer), m_buf(*writer.getBuf()), m_access(m_buf), m_columns(m_buf.getNumColumns()) {
    plan();
  }

  long columns() const { return m_columns; }
  // Whether some cells must be written one by one, because more than their bytes may change.
  bool anySingle() const { return !m_single_columns.empty(); }

  // Decides by column how cells are written; again when levels may have come.
  void plan();

  // Where `count` cells hold nothing but their draws; null where they hold more, or wrap.
  char* plainCells(long cell, long count) const;

  // Writes the cells from `cell` on, none of whose draws is below kFirstTextOnly.
  void store(long cell, long count, const char* draws) const;
  void storeSingly(long cell, long count, const char* draws) const;

private:
  // Cells of a row that are written together.
  struct Piece {
    enum class Kind { doubles, timeDate, text, level };
    Kind kind;
    long firstColumn;
    long columns;
    long offset;
    std::string bytes;  // of a cell, for a text or a level
  };

  void planColumn(const ColumnRun& run, long column);
  void storeRows(long row, long rows, long firstColumn, long endColumn, const char* draws) const;
  static void storePiece(const Piece& piece, long columns, const CellRows& at);

  ZRBBufWriter& m_writer;
  ZRBBuf& m_buf;
  BufAccess m_access;
  long m_columns;
  std::vector<Piece> m_pieces;         // in column order
  std::vector<long> m_single_columns;  // likewise; those of no piece
  bool m_all_doubles = false;          // the rows hold nothing but doubles
};

void RandomCells::plan() {
  m_pieces.clear();
  m_single_columns.clear();
  const std::vector<ColumnRun> runs = m_access.capacity() < 1 ? std::vector<ColumnRun>() : columnRuns(m_buf);
  m_all_doubles = false;
  if (runs.empty()) {
    for (long column = 0; column < m_columns; ++column) m_single_columns.push_back(column);
    return;
  }
  for (const ColumnRun& run : runs) {
    if (run.type == ZRBBuf::column_double) {
      for (long i = 0; i < run.columns; i += kMostDoubles)
        m_pieces.push_back({Piece::Kind::doubles,
                            run.firstColumn + i,
                            std::min(kMostDoubles, run.columns - i),
                            run.offset + i * kDrawBytes,
                            {}});
    } else {
      for (long i = 0; i < run.columns; ++i) planColumn(run, run.firstColumn + i);
    }
  }
  m_all_doubles =
      runs.size() == 1 && runs[0].type == ZRBBuf::column_double && m_columns * kDrawBytes == m_access.rowBytes();
}

void RandomCells::planColumn(const ColumnRun& run, long column) {
  const BufAccess::Column found = m_access.column(column);
  switch (run.type) {
    case ZRBBuf::column_timeDate:
      m_pieces.push_back({Piece::Kind::timeDate, column, 1, found.offset, {}});
      return;
    case ZRBBuf::column_factor:
      if (const long level = m_buf.lookupLevel(column, kLevelNames[0]); level >= 0) {
        char code[2];
        cell::storeLevelNum(code, level);
        m_pieces.push_back({Piece::Kind::level, column, 1, found.offset, std::string(code, sizeof code)});
        return;
      }
      break;
    case ZRBBuf::column_string: {
      std::string text = kStringValues[0];
      const std::size_t width = static_cast<std::size_t>(found.stringBytes);
      if (text.size() < width) {
        text.resize(width);
        m_pieces.push_back({Piece::Kind::text, column, 1, found.offset, std::move(text)});
        return;
      }
      break;
    }
    default:
      break;
  }
  m_single_columns.push_back(column);
}

char* RandomCells::plainCells(long cell, long count) const {
  if (!m_all_doubles) return nullptr;
  const long ringCell =
      ringRowOf(m_access.inputRowsReleased() + cell / m_columns, m_access.capacity()) * m_columns + cell % m_columns;
  if (ringCell + count > m_access.capacity() * m_columns) return nullptr;
  return m_access.rowAt(0) + ringCell * kDrawBytes;
}

void RandomCells::store(long cell, long count, const char* draws) const {
  while (count > 0) {
    const long row = cell / m_columns;
    const long column = cell % m_columns;
    const long rows = column == 0 ? count / m_columns : 0;
    const long cells = rows > 0 ? rows * m_columns : std::min(count, m_columns - column);
    storeRows(row, std::max(rows, 1L), column, rows > 0 ? m_columns : column + cells, draws);
    cell += cells;
    count -= cells;
    draws += cells * kDrawBytes;
  }
}

// Writes columns firstColumn..endColumn - 1 of some rows: of all columns, unless it is one row.
void RandomCells::storeRows(long row, long rows, long firstColumn, long endColumn, const char* draws) const {
  const long drawRowBytes = m_columns * kDrawBytes;
  const auto drawAt = [=](long i, long column) {
    return draws + i * drawRowBytes + (column - firstColumn) * kDrawBytes;
  };
  const auto firstPiece = std::partition_point(m_pieces.begin(), m_pieces.end(), [=](const Piece& piece) {
    return piece.firstColumn + piece.columns <= firstColumn;
  });
  const long firstRingRow = ringRowOf(m_access.inputRowsReleased() + row, m_access.capacity());
  long done = 0;
  forEachRun(firstRingRow, rows, m_access.capacity(), [&](long ringRow, long runRows) {
    for (auto piece = firstPiece; piece != m_pieces.end() && piece->firstColumn < endColumn; ++piece) {
      const long from = std::max(piece->firstColumn, firstColumn);
      const long to = std::min(piece->firstColumn + piece->columns, endColumn);
      char* cells = m_access.rowAt(ringRow) + piece->offset + (from - piece->firstColumn) * kDrawBytes;
      storePiece(*piece, to - from, {cells, m_access.rowBytes(), drawAt(done, from), drawRowBytes, runRows});
    }
    done += runRows;
  });
  const auto firstSingle = std::lower_bound(m_single_columns.begin(), m_single_columns.end(), firstColumn);
  if (firstSingle == m_single_columns.end() || *firstSingle >= endColumn) return;
  for (long i = 0; i < rows; ++i)
    for (auto column = firstSingle; column != m_single_columns.end() && *column < endColumn; ++column)
      setRandomCell(m_writer, row + i, *column, cell::load<double>(drawAt(i, *column)));
}

void RandomCells::storePiece(const Piece& piece, long columns, const CellRows& at) {
  switch (piece.kind) {
    case Piece::Kind::doubles:
      return kStoreDoubles[columns - 1](at);
    case Piece::Kind::timeDate:
      return storeTimeDates(at);
    case Piece::Kind::text:
      return storeText(at, piece.bytes);
    case Piece::Kind::level:
      return storeBytes<2>(at, piece.bytes.data(), 2);
  }
}

void RandomCells::storeSingly(long cell, long count, const char* draws) const {
  for (long i = 0; i < count; ++i)
    setRandomCell(m_writer, (cell + i) / m_columns, (cell + i) % m_columns, cell::load<double>(draws + i * kDrawBytes));
}

}  // namespace

void setRandomCell(ZRBBufWriter& writer, long row, long column, double draw) {
  switch (writer.getBuf()->getColumnType(column)) {
    case ZRBBuf::column_factor:
      return writer.setConvertFactor(row, column, kLevelNames[textIndex(draw)]);
    case ZRBBuf::column_string:
      return writer.setConvertString(row, column, kStringValues[textIndex(draw)]);
    default:
      return writer.setConvertDouble(row, column, draw);
  }
}

void setRandomRows(ZRBBufWriter& writer, long rows, random_stream::State& state, Simd simd) {
  RandomCells cells(writer);
  const long end = rows * cells.columns();
  random_stream::Blocks blocks(state, simd);
  alignas(64) char block[kBlockDraws * kDrawBytes];
  // The first row is where levels come from; what is not found after it stays cell by cell.
  bool firstRow = cells.anySingle();
  for (long cell = 0; cell < end;) {
    const long wanted = firstRow ? cells.columns() - cell : end - cell;
    const int count = static_cast<int>(std::min<long>(wanted, kBlockDraws));
    char* plainCells = cells.plainCells(cell, count);
    char* draws = plainCells && count == kBlockDraws ? plainCells : block;
    const double least = blocks.draw(draws, count);
    if (firstRow || least < kFirstTextOnly)
      cells.storeSingly(cell, count, draws);
    else if (!plainCells)
      cells.store(cell, count, draws);
    else if (draws != plainCells)
      std::memcpy(plainCells, draws, static_cast<std::size_t>(count * kDrawBytes));
    cell += count;
    if (firstRow && cell == cells.columns()) {
      cells.plan();
      firstRow = false;
    }
  }
  state = blocks.state();
}
