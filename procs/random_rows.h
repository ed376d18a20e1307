// Rows of the random reader's draws.
#pragma once

#include "base/simd.h"
#include "procs/random_stream.h"

class ZRBBufWriter;

// Writes one cell from a draw.
void setRandomCell(ZRBBufWriter& writer, long row, long column, double draw);

// Writes the first `rows` chunk rows, one draw a cell, row by row, and moves the generator on.  Cells, levels, counters,
// messages and generator come out as from setRandomCell for each cell.
// REQUIRES: isOwnEnd(writer).
void setRandomRows(ZRBBufWriter& writer, long rows, random_stream::State& state, Simd simd = bestSimd());
