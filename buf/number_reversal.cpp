// Which bytes of a row are numbers, and how are they reversed?
#include "buf/number_reversal.h"

#include <algorithm>
#include <vector>

#include "ZRBBuf.h"
#include "buf/cell_codec.h"
#include "buf/column_runs.h"
#include "buf/ring_runs.h"
#include "buf/row_tiles.h"
#include "buf/word_reversal.h"

using word_reversal::kMostWords;
using word_reversal::kWordBytes;

namespace {

// Neighbouring numbers of a row, at most kMostWords.
struct Numbers {
  long offset;
  long count;
};

long numbersOf(ZRBBuf::column_type type) {
  switch (type) {
    case ZRBBuf::column_double:
    case ZRBBuf::column_timeDate:
      return 1;
    case ZRBBuf::column_blob:
      return 2;
    default:
      return 0;
  }
}

std::vector<Numbers> numbersOf(const std::vector<ColumnRun>& runs) {
  std::vector<Numbers> numbers;
  for (const ColumnRun& run : runs) {
    long offset = run.offset;
    for (long left = run.columns * numbersOf(run.type); left > 0; --left, offset += kWordBytes) {
      const bool joins = !numbers.empty() && numbers.back().count < kMostWords &&
                         numbers.back().offset + numbers.back().count * kWordBytes == offset;
      if (joins)
        ++numbers.back().count;
      else
        numbers.push_back({offset, 1});
    }
  }
  return numbers;
}

word_reversal::Reverse reversalFor(Simd simd) {
  return kernelFor<word_reversal::Reverse>(simd, word_reversal::baseline::reverse, word_reversal::avx2::reverse);
}

}  // namespace

void reverseNumbers(ZRBBuf& buf, long ringRow, long count, Simd simd) {
  const BufAccess access(buf);
  const std::vector<ColumnRun> runs = columnRuns(buf);
  if (runs.empty()) return reverseNumbersSingly(buf, ringRow, count);
  const std::vector<Numbers> numbers = numbersOf(runs);
  const word_reversal::Reverse reverse = reversalFor(simd);
  const long rowBytes = buf.getBytesPerRow();
  forEachRun(ringRow, count, buf.getNumRows(), [&](long firstRow, long rows) {
    forEachTile(rows, rowBytes, [&](long row, long tileRows) {
      char* tile = access.rowAt(firstRow + row);
      for (const Numbers& piece : numbers) reverse({tile + piece.offset, piece.count, rowBytes, tileRows});
    });
  });
}

void reverseNumbersSingly(ZRBBuf& buf, long ringRow, long count) {
  const long rowBytes = buf.getBytesPerRow();
  for (long column = 0; column < buf.getNumColumns(); ++column) {
    const long numbers = numbersOf(buf.getColumnType(column));
    forEachRun(ringRow, count, buf.getNumRows(), [&](long firstRow, long rows) {
      char* cell = buf.getDataPtr(firstRow, column, 0);
      for (long i = 0; i < rows; ++i, cell += rowBytes)
        for (long k = 0; k < numbers; ++k) cell::reverse8(cell + k * kWordBytes);
    });
  }
}
