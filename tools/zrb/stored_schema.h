// The schema file: what the rows of a .zrb file are.  A file of rows carries no description of itself; FILE.zrb.json,
// beside FILE.zrb, is it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ZRBBuf.h"

namespace zrbtool {

inline constexpr const char* kSchemaFormat = "zrb rows";
inline constexpr long long kSchemaVersion = 1;

struct StoredColumn {
  std::string name;
  ZRBBuf::column_type type = ZRBBuf::column_double;
  long offset = 0;                  // of the cell within its row
  long bytes = 0;                   // of the cell
  std::string na = "NA";            // what stands for NA when the rows are written as CSV
  std::vector<std::string> levels;  // of a factor, by level number
};

// Where the contents of blob columns are.
struct StoredBlobs {
  std::string file;  // a name in the folder of the rows
  long long bytes = 0;
};

struct StoredSchema {
  long long rows = 0;
  long long rowBytes = 0;
  std::optional<StoredBlobs> blobs;  // there is one exactly if there is a blob column
  std::string source;                // the file that was imported, as it was given
  std::vector<StoredColumn> columns;
};

// Whether the name is one of a file of rows, by its end.
bool isStoredName(const std::string& file);

// The names beside a file of rows.
std::string schemaName(const std::string& file);
std::string blobsName(const std::string& file);

// The cell of a column of this type; `stringBytes` is the width of a string column.
long cellBytes(ZRBBuf::column_type type, long stringBytes);

// The text of the schema file.
std::string schemaText(const StoredSchema& schema);

// Reads the schema file `name`.  The result is consistent in itself and within the bounds of the tool: names and levels
// are texts that the library can keep, offsets and sizes follow from the columns, and no size overflows.
// Throws Failure with the key that does not fit in place of a column, as in columns[2].bytes.
StoredSchema readSchema(const std::string& name);

}  // namespace zrbtool
