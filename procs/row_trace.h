// The trace of a chunk on standard output: a header and the first rows, cells as numbers.
#pragma once

#include "ZRBBufReader.h"

struct TraceStyle {
  const char* nodeName;
  bool namesNA;       // a cell that is NA prints as "NA", not by its number
  bool showsStrings;  // the text of a string cell follows its number
};

void printTrace(const TraceStyle& style, ZRBBufReader& reader, long rows, long rowsToPrint);
