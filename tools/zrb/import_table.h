// The verb "import": a CSV file into a file of rows, with its schema and its blobs.
#pragma once

#include <string>
#include <vector>

#include "csv_options.h"

namespace zrbtool {

// A new blob column, and the column that names the files with its contents.
struct BlobColumn {
  std::string name;
  std::string pathColumn;
};

struct ImportOptions {
  std::string file;  // "-" is standard input
  std::string out;   // ends in .zrb
  CsvOptions csv;
  std::vector<BlobColumn> blobs;
};

// "NAME=PATHCOLUMN"; the last equals sign divides.  Throws Failure (usage).
BlobColumn parseBlobColumn(const std::string& text);

// Writes OUT, OUT.json and, with blob columns, OUT.blobs: all of them, or none.  Throws Failure.
void importTable(const ImportOptions& options);

}  // namespace zrbtool
