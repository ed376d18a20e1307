// Columns copied from one buffer into another.
#pragma once

#include "ZRBBuf.h"

// The first cell of a copy on one side.
struct CopyEnd {
  ZRBBuf* buf;
  long ringRow;
  long column;
};

// Each copies `rows` cells, each side wrapping in its own ring; nothing unless both columns have the type.

// `type` is double or time-date.  Also the columns that follow, at most `columns`, as long as both sides hold numbers of
// the same type without gaps.  Returns how many columns were copied.
long copyNumbers(const CopyEnd& source, const CopyEnd& target, ZRBBuf::column_type type, long columns, long rows);
void copyTexts(const CopyEnd& source, const CopyEnd& target, long rows);
// By level name.
void copyLevels(const CopyEnd& source, const CopyEnd& target, long rows);
