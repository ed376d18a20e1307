// The rows of a reader's chunk in pieces that do not wrap.
#pragma once

#include "ZRBBufReader.h"
#include "buf/buf_access.h"
#include "buf/ring_runs.h"

// One piece: chunk row of its first row, its ring row, its rows.
struct ChunkRun {
  long chunkRow;
  long ringRow;
  long rows;
};

template <class Apply>
void forEachChunkRun(ZRBBufReader& reader, long rows, Apply apply) {
  long chunkRow = 0;
  forEachRun(reader.getBufferRowNum(0), rows, BufAccess(*reader.getBuf()).capacity(), [&](long ringRow, long runRows) {
    apply(ChunkRun{chunkRow, ringRow, runRows});
    chunkRow += runRows;
  });
}
