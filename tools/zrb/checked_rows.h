// The node between a file of rows and a verb: no cell reaches the verb unchecked.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "stored_schema.h"
#include "zrb/node.h"

namespace zrbtool {

// Reads stored rows and writes some of their columns.  Each written cell has been checked: a factor's level has a name,
// a text ends within its cell and is UTF-8, a blob lies within the blob file.  Numbers and dates are what their bytes
// are.  Fails with the row, counted from 1, and the column.
class CheckedRows : public zrb::TransformNode {
public:
  // Column i of the output is column `columns[i]` of the file, as it is or as a factor of its texts.
  CheckedRows(std::string file, const StoredSchema& schema, std::vector<std::size_t> columns);

private:
  // The cells of one column in rows that lie one behind the other.
  struct Cells {
    const char* first;
    long stride;
    long rows;
    long long firstRow;  // its number in the file, from 1
  };

  void prepare() override;
  long runChunk() override;
  long work(long rows) override;

  void check(const Cells& cells, const StoredColumn& column) const;
  void checkLevels(const Cells& cells, const StoredColumn& column) const;
  void checkTexts(const Cells& cells, const StoredColumn& column) const;
  void checkBlobs(const Cells& cells, const StoredColumn& column) const;
  void convert(long inRow, long outRow, long rows, std::size_t i);
  void checkFile();

  std::string m_file;
  const StoredSchema& m_schema;
  std::vector<std::size_t> m_columns;
  bool m_same = false;           // whether the rows are written as they are
  std::vector<bool> m_converts;  // by output column, whether it becomes a factor
  long long m_next_row = 1;      // the number of the next row, from 1
};

}  // namespace zrbtool
