// How does a chunk look in a trace?
#include "procs/row_trace.h"

#include <cstdio>

#include "ZRBBuf.h"

namespace {

// Whole numbers of 32 bits print as such, everything else with six decimals.
void printNumber(double value) {
  const bool fitsInt = value >= -2147483648.0 && value < 2147483648.0;
  const int whole = fitsInt ? static_cast<int>(value) : 0;
  if (fitsInt && value == whole)
    std::printf("%d", whole);
  else
    std::printf("%f", value);
}

void printCell(const TraceStyle& style, ZRBBufReader& reader, long row, long column) {
  ZRBBuf* buf = reader.getBuf();
  const double value = reader.getDouble(row, column);
  if (style.namesNA && ZRBObj::isDoubleNA(value))
    std::printf("NA");
  else
    printNumber(value);
  if (buf->columnTypeIsFactor(column)) {
    const char* level = buf->mapDoubleToLevel(column, value);
    std::printf(" (%s)", level ? level : "");
  } else if (style.showsStrings && buf->columnTypeIsString(column)) {
    std::printf(" (%s)", reader.getString(row, column));
  }
}

}  // namespace

void printTrace(const TraceStyle& style, ZRBBufReader& reader, long rows, long rowsToPrint) {
  const long position = reader.getChunkPosition();
  const long numColumns = reader.getBuf()->getNumColumns();
  std::printf("%s chunk pos=%ld, rows=%ld, cols=%d\n", style.nodeName, position, rows, static_cast<int>(numColumns));
  for (long row = 0; row < rows && row < rowsToPrint; ++row) {
    std::printf("%ld: ", position + row);
    for (long column = 0; column < numColumns; ++column) {
      if (column > 0) std::printf(", ");
      printCell(style, reader, row, column);
    }
    std::putchar('\n');
    std::fflush(stdout);
  }
}
