#include "table_info.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "failure.h"
#include "json_text.h"
#include "text_table.h"
#include "zrb/column.h"

namespace zrbtool {

std::string tableInfoText(const StoredTable& table) {
  const StoredSchema& schema = table.schema;
  std::string text =
      fmt::format("{}: {} of {}, {} in all\nimported from {}\n", onOneLine(table.file), counted(schema.rows, "row"),
                  counted(schema.rowBytes, "byte"), schema.rows * schema.rowBytes, onOneLine(schema.source));
  if (schema.blobs)
    text += fmt::format("blobs in {}: {}\n", onOneLine(table.blobs), counted(schema.blobs->bytes, "byte"));
  TextTable columns({Align::left, Align::left, Align::right, Align::right, Align::right, Align::left});
  columns.addRow({"column", "type", "offset", "bytes", "levels", "NA"});
  for (const StoredColumn& column : schema.columns) {
    const bool isFactor = column.type == ZRBBuf::column_factor;
    columns.addRow({column.name, zrb::columnTypeName(column.type), std::to_string(column.offset),
                    std::to_string(column.bytes), isFactor ? std::to_string(column.levels.size()) : "",
                    column.type == ZRBBuf::column_blob ? "" : quote(column.na)});
  }
  return text + "\n" + columns.render();
}

std::string tableInfoJson(const StoredTable& table) {
  nlohmann::ordered_json json;
  json["file"] = table.file;
  json["schema_file"] = schemaName(table.file);
  json["schema"] = nlohmann::ordered_json::parse(schemaText(table.schema));
  return jsonText(json);
}

}  // namespace zrbtool
