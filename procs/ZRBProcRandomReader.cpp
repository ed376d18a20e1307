// Which pseudo-random rows come from a seed?
//
// The generator is the one of procs/random_lanes.h.  Seeds start 2^20 congruential steps apart.
#include "ZRBProcRandomReader.h"

#include "ZRBBuf.h"
#include "ZRBBufWriter.h"
#include "base/property_table.h"
#include "buf/buf_access.h"
#include "procs/random_rows.h"
#include "procs/random_stream.h"
#include "procs/rows_left.h"

using namespace property;

namespace {

constexpr long kMinSeed = 1;
constexpr unsigned long kCongruentialOrigin = 1803752341;
constexpr unsigned long kShiftRegisterOrigin = 3697165728;
constexpr unsigned long kStepsPerSeed = 1UL << 20;

// base^exponent modulo 2^64.
constexpr unsigned long power(unsigned long base, unsigned long exponent) {
  unsigned long result = 1;
  for (; exponent; exponent >>= 1, base *= base)
    if (exponent & 1) result *= base;
  return result;
}

}  // namespace

ZRBProcRandomReader::ZRBProcRandomReader() : m_seed(kMinSeed), m_total_rows(0) { seedGenerator(); }
ZRBProcRandomReader::~ZRBProcRandomReader() = default;

void ZRBProcRandomReader::setSeed(long seed) { m_seed = seed < kMinSeed ? kMinSeed : seed; }
long ZRBProcRandomReader::getSeed() { return m_seed; }
void ZRBProcRandomReader::setTotalRows(long long rows) { m_total_rows = rows; }
long long ZRBProcRandomReader::getTotalRows() { return m_total_rows; }

int ZRBProcRandomReader::init() {
  ZRBProc::init();
  seedGenerator();
  checkBufs(0, 1);
  return hasError();
}

void ZRBProcRandomReader::seedGenerator() {
  m_congruential =
      kCongruentialOrigin * power(random_lanes::kMultiplier, kStepsPerSeed * static_cast<unsigned long>(m_seed));
  m_shift_register = kShiftRegisterOrigin;
}

double ZRBProcRandomReader::draw() {
  random_stream::State state{m_congruential, m_shift_register};
  const double value = random_stream::draw(state);
  m_congruential = state.congruential;
  m_shift_register = state.shiftRegister;
  return value;
}

long ZRBProcRandomReader::execute() {
  const long room = executeRequestRows();
  if (room < 0) return room;
  const long rows = rowsLeft(room, getRowsDone(), m_total_rows);
  ZRBBufWriter* writer = getOutputBufWriter(0);
  if (!writer) return -1;
  if (isOwnEnd(*writer)) {
    random_stream::State state{m_congruential, m_shift_register};
    setRandomRows(*writer, rows, state);
    m_congruential = state.congruential;
    m_shift_register = state.shiftRegister;
  } else {
    const long numColumns = writer->getBuf()->getNumColumns();
    for (long row = 0; row < rows; ++row)
      for (long column = 0; column < numColumns; ++column) setRandomCell(*writer, row, column, draw());
  }
  executeReleaseRows(rows);
  if (getRowsDone() < m_total_rows) return getRowsDone();
  setDone(1);
  return writer->setEOF();
}

struct ZRBProcRandomReader::Properties {
  static constexpr Property<ZRBProcRandomReader> setTable[] = {
      {"seed", set<Long, &ZRBProcRandomReader::setSeed>},
      {"total.rows", set<LongLong, &ZRBProcRandomReader::setTotalRows>},
  };
  static constexpr Property<ZRBProcRandomReader> getTable[] = {
      {"seed", get<Long, &ZRBProcRandomReader::getSeed>},
      {"total.rows", get<LongLong, &ZRBProcRandomReader::getTotalRows>},
  };
};

void ZRBProcRandomReader::setProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::setTable, *this, *info)) ZRBProc::setProperty(info);
}

void ZRBProcRandomReader::getProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::getTable, *this, *info)) ZRBProc::getProperty(info);
}
