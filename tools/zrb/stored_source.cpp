#include "stored_source.h"

#include <algorithm>

#include "bounds.h"
#include "column_choice.h"
#include "failure.h"
#include "zrb/column.h"
#include "zrb/property.h"

namespace zrbtool {

namespace {

// A chunk: as many rows as fit into this, within limits.
constexpr long kChunkBytes = 256 * 1024;
constexpr long kMostChunkRows = 10'000;

// The columns that a verb wants, for the messages of a CSV file to serve here as well.
std::vector<std::size_t> columnsOf(const StoredTable& table, const TableRequest& request) {
  CsvLayout layout;
  layout.firstLine = 0;  // the names are in no line
  for (const StoredColumn& column : table.schema.columns) layout.columns.emplace_back().name = column.name;
  const std::vector<std::size_t> columns = chooseColumns(request, table.file, layout);
  for (const std::size_t i : columns) {
    const StoredColumn& column = table.schema.columns[i];
    if (request.asFactors && column.type == ZRBBuf::column_blob)
      throw failureAt(ExitStatus::usage, table.file, 0, column.name,
                      {"type does not fit", "a blob column", "a column of texts, numbers or dates"});
  }
  return columns;
}

}  // namespace

StoredSource::StoredSource(const std::string& file, const TableRequest& request) : m_table(openStored(file, "zrb")) {
  connect(columnsOf(m_table, request), request.asFactors);
}

StoredSource::StoredSource(StoredTable table, std::vector<std::size_t> columns) : m_table(std::move(table)) {
  connect(columns, false);
}

void StoredSource::connect(const std::vector<std::size_t>& columns, bool asFactors) {
  m_chunk_rows = std::clamp(kChunkBytes / static_cast<long>(m_table.schema.rowBytes), 1L, kMostChunkRows);
  m_stored = makeStoredBuf(m_table, m_chunk_rows);
  makeRows(columns, asFactors);
  m_node = zrb::make<CheckedRows>(m_table.file, m_table.schema, columns);
  zrb::set(m_node, "name", "checked rows");
  zrb::set(m_node, "num.rows", m_chunk_rows);
  zrb::set(m_node, "inbuf", m_stored);
  zrb::set(m_node, "outbuf", m_rows);
}

void StoredSource::makeRows(const std::vector<std::size_t>& columns, bool asFactors) {
  m_rows = zrb::make<ZRBMemoryBuf>();
  zrb::set(m_rows, "name", "rows");
  zrb::set(m_rows, "num.rows", 2 * m_chunk_rows);  // one chunk is written while the other is read
  zrb::set(m_rows, "num.columns", columns.size());
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const StoredColumn& column = m_table.schema.columns[columns[i]];
    zrb::set(m_rows, "column.name", i, column.name);
    zrb::set(m_rows, "column.type", i, zrb::columnTypeName(asFactors ? ZRBBuf::column_factor : column.type));
    if (column.type == ZRBBuf::column_string) zrb::set(m_rows, "column.string.bytes", i, column.bytes);
    zrb::set(m_rows, "column.max.auto.levels", i, kMostLevels);
    for (std::size_t level = 0; level < column.levels.size(); ++level)
      zrb::set(m_rows, "column.level.name", i, level, column.levels[level]);
  }
}

void StoredSource::addTo(ZRBPipeline& pipeline) {
  zrb::set(pipeline, "add.buf", m_stored);
  zrb::set(pipeline, "add.buf", m_rows);
  zrb::set(pipeline, "add.proc", m_node);
}

std::string StoredSource::formatText() const { return "stored as rows of " + counted(m_table.schema.rowBytes, "byte"); }

nlohmann::ordered_json StoredSource::formatJson() const {
  nlohmann::ordered_json json;
  json["row_bytes"] = m_table.schema.rowBytes;
  return json;
}

std::string StoredSource::typesHint(const std::string& declaration) const {
  return "importing again with " + optionText("--types", declaration);
}

}  // namespace zrbtool
