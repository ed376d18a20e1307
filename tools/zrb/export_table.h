// The verb "export": a file of rows as CSV.
#pragma once

#include <string>

#include "output.h"

namespace zrbtool {

struct ExportOptions {
  std::string file;
  std::string out = "-";  // standard output
  bool header = true;
};

// Writes the columns that CSV can hold, all but the blobs, in the form of CsvWriter, with the texts for NA that the
// schema tells.  Every row is checked before the first one is written.  Throws Failure.
void exportTable(const ExportOptions& options, Output& standardOutput);

}  // namespace zrbtool
