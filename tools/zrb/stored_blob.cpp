#include "stored_blob.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "ZRBBufReader.h"
#include "ZRBProc.h"
#include "bounds.h"
#include "failure.h"
#include "file_output.h"
#include "library_failure.h"
#include "stored_table.h"
#include "zrb/column.h"
#include "zrb/property.h"

namespace zrbtool {

namespace {

constexpr std::size_t kPieceBytes = 64 * 1024;

std::string expectedColumn(const StoredTable& table) {
  std::vector<std::string> names;
  for (const StoredColumn& column : table.schema.columns)
    if (column.type == ZRBBuf::column_blob) names.push_back(column.name);
  return names.empty() ? "a table with a blob column, as zrb import --blob-column makes it" : oneOf(names);
}

long columnOf(const StoredTable& table, const std::string& name) {
  const auto& columns = table.schema.columns;
  const auto found =
      std::find_if(columns.begin(), columns.end(), [&](const StoredColumn& column) { return column.name == name; });
  if (found == columns.end())
    throw failureAt(ExitStatus::usage, table.file, 0, name, {"unknown column", quote(name), expectedColumn(table)});
  if (found->type != ZRBBuf::column_blob)
    throw failureAt(
        ExitStatus::usage, table.file, 0, name,
        {"type does not fit", fmt::format("a {} column", zrb::columnTypeName(found->type)), expectedColumn(table)});
  return found - columns.begin();
}

// The one cell, in a ring of one row.
class BlobCell {
public:
  // Throws Failure.
  BlobCell(const StoredTable& table, long long row, const std::string& column)
      : m_table(table), m_row(row), m_name(column), m_column(columnOf(table, column)), m_buf(makeStoredBuf(table, 1)) {
    zrb::set(m_node, "inbuf", m_buf);
    m_buf->init();
    checkFile();
    m_node.init();
    reader().setRequestRows(1);
    reader().setChunkPosition(row - 1);
    checkFile();
    checkCell();
  }

  // Hands all bytes to take(bytes, count).
  template <class Take>
  void read(Take take) {
    bool ok = reader().openBlob(0, m_column) == 1;
    long bytes = 0;
    while (ok && (bytes = reader().readBlobData(m_piece, sizeof m_piece)) > 0) take(m_piece, bytes);
    if (!ok || bytes < 0 || reader().closeBlob() != 1 || reader().isBlobOpen())
      throw failureAt(ExitStatus::data, m_table.blobs, 0, "0",
                      {fmt::format("no blob for row {} of {}", m_row, quote(m_name)),
                       onOneLine(m_buf->getError() ? m_buf->getError() : "its end missing"),
                       fmt::format("a record of {} at {}", counted(length(), "byte"), offset())});
  }

private:
  ZRBBufReader& reader() { return *m_node.getInputBufReader(0); }
  long long offset() { return reader().getBlobOffset(0, m_column); }
  long long length() { return reader().getBlobLength(0, m_column); }

  void checkFile() {
    if (m_buf->hasError()) throw readFailure(m_table.file, *m_buf);
  }

  void checkCell() {
    const auto fail = [&](const Finding& finding) {
      throw failureAt(ExitStatus::data, m_table.file, m_row, m_name, finding);
    };
    if (offset() == -1 && length() == -1) fail({"no blob", "NA", "a row with a blob"});
    const long long most = m_table.schema.blobs->bytes - kBlobMarkBytes;
    if (offset() < 0 || length() < 0 || offset() > most || length() > most - offset())
      fail({"blob outside its file", counted(length(), "byte") + " at " + std::to_string(offset()),
            fmt::format("a record within the {} of {}", counted(m_table.schema.blobs->bytes, "byte"),
                        onOneLine(m_table.schema.blobs->file))});
  }

  const StoredTable& m_table;
  long long m_row;
  std::string m_name;
  long m_column;
  zrb::Handle<ZRBBackingFileBuf> m_buf;
  ZRBProc m_node;
  char m_piece[kPieceBytes];
};

}  // namespace

void writeBlob(const BlobOptions& options, Output& standardOutput) {
  const StoredTable table = openStored(options.file, "zrb blob");
  if (options.row > table.schema.rows)
    throw failureAt(ExitStatus::usage, table.file, 0, "0",
                    {"no such row", std::to_string(options.row),
                     fmt::format("one of its {}, counted from 1", counted(table.schema.rows, "row"))});
  BlobCell cell(table, options.row, options.column);
  cell.read([](const char*, long) {});  // the end of a record is checked when all of it has been read
  writeTo(options.out, standardOutput, [&](Output& output) {
    cell.read([&](const char* bytes, long count) { output.write({bytes, static_cast<std::size_t>(count)}); });
  });
}

}  // namespace zrbtool
