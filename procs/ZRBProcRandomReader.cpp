// Which pseudo-random rows come from a seed?
//
// The generator combines two sequences of 64-bit integers: a multiplicative congruential one, c' = 69069 c, and a
// xor-shift one, x ^= x >> 15, x ^= x << 17 (G. Marsaglia, "Xorshift RNGs", J. Stat. Software 8(14), 2003, names the
// family).  A draw is ((x ^ c) >> 1) * 2^-31, drawn again while it is 0.  Seeds start 2^20 congruential steps apart.
#include "ZRBProcRandomReader.h"

#include "ZRBBuf.h"
#include "ZRBBufWriter.h"
#include "base/property_table.h"

using namespace property;

namespace {

constexpr long kMinSeed = 1;
constexpr unsigned long kMultiplier = 69069;
constexpr unsigned long kCongruentialOrigin = 1803752341;
constexpr unsigned long kShiftRegisterOrigin = 3697165728;
constexpr unsigned long kStepsPerSeed = 1UL << 20;
constexpr double kDrawScale = 0x1p-31;

constexpr double kTextStep = 0.2;
constexpr int kTextsUsed = 4;
// Deliberate: five texts each, of which the last is never chosen.
constexpr const char* kLevelNames[] = {"lev1", "lev2", "lev3", "lev4", "lev5"};
constexpr const char* kStringValues[] = {"string-one", "string-two", "string-three", "string-four", "string-five"};

// base^exponent modulo 2^64.
constexpr unsigned long power(unsigned long base, unsigned long exponent) {
  unsigned long result = 1;
  for (; exponent; exponent >>= 1, base *= base)
    if (exponent & 1) result *= base;
  return result;
}

// The text for a draw: trunc(value / 0.2) while that is one of the texts used, else the first.
int textIndex(double value) {
  const double steps = value / kTextStep;
  return steps < kTextsUsed ? static_cast<int>(steps) : 0;
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
  m_congruential = kCongruentialOrigin * power(kMultiplier, kStepsPerSeed * static_cast<unsigned long>(m_seed));
  m_shift_register = kShiftRegisterOrigin;
}

double ZRBProcRandomReader::draw() {
  unsigned long bits;
  do {
    m_congruential *= kMultiplier;
    m_shift_register ^= m_shift_register >> 15;
    m_shift_register ^= m_shift_register << 17;
    bits = (m_shift_register ^ m_congruential) >> 1;
  } while (bits == 0);
  return static_cast<double>(static_cast<long>(bits)) * kDrawScale;
}

long ZRBProcRandomReader::execute() {
  long rows = executeRequestRows();
  if (rows < 0) return rows;
  if (getRowsDone() + rows > m_total_rows) rows = m_total_rows - getRowsDone();
  ZRBBufWriter* writer = getOutputBufWriter(0);
  if (!writer) return -1;
  ZRBBuf* buf = writer->getBuf();
  const long numColumns = buf->getNumColumns();
  for (long row = 0; row < rows; ++row) {
    for (long column = 0; column < numColumns; ++column) {
      const double value = draw();
      if (buf->columnTypeIsFactor(column))
        writer->setConvertFactor(row, column, kLevelNames[textIndex(value)]);
      else if (buf->columnTypeIsString(column))
        writer->setConvertString(row, column, kStringValues[textIndex(value)]);
      else
        writer->setConvertDouble(row, column, value);
    }
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
