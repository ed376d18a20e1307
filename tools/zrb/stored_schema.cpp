#include "stored_schema.h"

#include <fmt/format.h>

#include <algorithm>
#include <climits>
#include <nlohmann/json.hpp>
#include <system_error>
#include <unordered_set>

#include "bounds.h"
#include "byte_source.h"
#include "failure.h"
#include "json_text.h"
#include "utf8.h"
#include "zrb/column.h"

namespace zrbtool {

namespace {

using Json = nlohmann::json;

constexpr std::string_view kExtension = ".zrb";
constexpr const char* kExpected = "the schema that zrb import writes";

std::string shown(const Json& value) {
  if (value.is_string()) return quote(value.get_ref<const std::string&>());
  if (value.is_array()) return "an array";
  if (value.is_object()) return "an object";
  return value.dump();
}

// One value of the file with its place, as in columns[2].bytes.
class SchemaValue {
public:
  SchemaValue(const std::string& file, const Json& json, std::string place)
      : m_file(file), m_json(json), m_place(std::move(place)) {}

  [[noreturn]] void refuse(const std::string& expected) const { refuse(shown(m_json), expected); }
  [[noreturn]] void refuse(const std::string& found, const std::string& expected) const {
    throw failureAt(ExitStatus::data, m_file, 0, m_place, {"schema does not fit", found, expected});
  }

  bool has(const char* key) const { return m_json.is_object() && m_json.contains(key); }
  SchemaValue operator[](const char* key) const {
    if (!m_json.is_object()) refuse("an object");
    const std::string place = m_place == "0" ? key : m_place + "." + key;
    const auto value = m_json.find(key);
    if (value == m_json.end()) SchemaValue(m_file, m_json, place).refuse("no such key", kExpected);
    return {m_file, *value, place};
  }

  std::size_t size() const {
    if (!m_json.is_array()) refuse("an array");
    return m_json.size();
  }
  // REQUIRES: i < size().
  SchemaValue operator[](std::size_t i) const { return {m_file, m_json[i], fmt::format("{}[{}]", m_place, i)}; }

  long long wholeNumber(long long least, long long most) const {
    const bool fits = m_json.is_number_integer() &&
                      (!m_json.is_number_unsigned() || m_json.get<unsigned long long>() <= LLONG_MAX) &&
                      m_json.get<long long>() >= least && m_json.get<long long>() <= most;
    if (!fits) refuse(fmt::format("a whole number from {} to {}", least, most));
    return m_json.get<long long>();
  }
  void mustBe(long long number, const std::string& reason) const {
    if (wholeNumber(0, LLONG_MAX) != number) refuse(fmt::format("{} ({})", number, reason));
  }

  // A text without a NUL: JSON can hold one, a C string cannot.
  std::string text() const {
    if (!m_json.is_string()) refuse("a text");
    const auto& value = m_json.get_ref<const std::string&>();
    if (value.find('\0') != std::string::npos) refuse("a text without NUL");
    return value;
  }
  // A text that is the name of something.
  std::string name() const {
    std::string value = text();
    if (value.empty()) refuse("a text that is not empty");
    if (value == ZRBObj::getStringNA()) refuse("a text other than the character U+FFFF");
    return value;
  }

private:
  const std::string& m_file;
  const Json& m_json;
  std::string m_place;
};

ZRBBuf::column_type typeOf(const SchemaValue& value) {
  const std::string text = value.text();
  for (const auto type : {ZRBBuf::column_double, ZRBBuf::column_factor, ZRBBuf::column_string, ZRBBuf::column_timeDate,
                          ZRBBuf::column_blob})
    if (text == zrb::columnTypeName(type)) return type;
  value.refuse("double, factor, string, timeDate or blob");
}

void readLevels(const SchemaValue& value, std::vector<std::string>& levels) {
  const std::size_t count = value.size();
  if (count > static_cast<std::size_t>(kMostLevels))
    value.refuse(counted(static_cast<long long>(count), "level"), fmt::format("at most {}", kMostLevels));
  std::unordered_set<std::string> seen;
  levels.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    levels.push_back(value[i].name());
    if (!seen.insert(levels.back()).second) value[i].refuse("levels that differ");
  }
}

StoredColumn readColumn(const SchemaValue& value) {
  StoredColumn column;
  column.name = value["name"].name();
  column.type = typeOf(value["type"]);
  if (column.type == ZRBBuf::column_string)
    column.bytes = static_cast<long>(value["bytes"].wholeNumber(kLeastStringBytes, kMostStringBytes));
  else
    column.bytes = cellBytes(column.type, 0);
  value["bytes"].mustBe(column.bytes, fmt::format("the cell of a {}", zrb::columnTypeName(column.type)));
  column.offset = static_cast<long>(value["offset"].wholeNumber(0, kMostRowBytes));
  column.na = value["na"].text();
  if (column.type == ZRBBuf::column_factor) readLevels(value["levels"], column.levels);
  return column;
}

void readColumns(const SchemaValue& value, StoredSchema& schema) {
  std::unordered_set<std::string> names;
  const std::size_t count = value.size();
  if (count == 0) value.refuse("no column", "at least one");
  for (std::size_t i = 0; i < count; ++i) {
    const SchemaValue entry = value[i];
    schema.columns.push_back(readColumn(entry));
    const StoredColumn& column = schema.columns.back();
    if (!names.insert(column.name).second) entry["name"].refuse("names that differ");
    entry["offset"].mustBe(schema.rowBytes, "the end of the cell before");
    schema.rowBytes += column.bytes;
    if (schema.rowBytes > kMostRowBytes)
      value.refuse("a row of more bytes", fmt::format("at most {} bytes in a row", kMostRowBytes));
  }
}

StoredBlobs readBlobs(const SchemaValue& value) {
  StoredBlobs blobs;
  blobs.file = value["file"].name();
  if (blobs.file.find('/') != std::string::npos || blobs.file == "." || blobs.file == "..")
    value["file"].refuse("the name of a file in the same folder");
  blobs.bytes = value["bytes"].wholeNumber(0, LLONG_MAX);
  return blobs;
}

StoredSchema schemaOf(const SchemaValue& value) {
  if (value["format"].text() != kSchemaFormat) value["format"].refuse(quote(kSchemaFormat));
  value["version"].wholeNumber(1, LLONG_MAX);
  value["version"].mustBe(kSchemaVersion, "the version that this zrb reads");

  StoredSchema schema;
  schema.source = value["source"].text();
  readColumns(value["columns"], schema);
  value["row_bytes"].mustBe(schema.rowBytes, "the end of the last cell");
  schema.rows = value["rows"].wholeNumber(0, LLONG_MAX / schema.rowBytes);
  value["file_bytes"].mustBe(schema.rows * schema.rowBytes, "rows x row_bytes");
  const bool hasBlobs = std::any_of(schema.columns.begin(), schema.columns.end(),
                                    [](const StoredColumn& column) { return column.type == ZRBBuf::column_blob; });
  if (hasBlobs)
    schema.blobs = readBlobs(value["blobs"]);
  else if (value.has("blobs"))
    value["blobs"].refuse("no such key without a blob column");
  return schema;
}

std::string readWhole(const std::string& name) {
  std::string text;
  bool open = false;
  try {
    FileBytes bytes(name);
    open = true;
    std::string piece(64 * 1024, '\0');
    while (const std::size_t count = bytes.read(piece.data(), piece.size())) {
      text.append(piece, 0, count);
      if (static_cast<long long>(text.size()) > kMostSchemaBytes)
        throw failureAt(ExitStatus::data, name, 0, "0",
                        {"schema too large", fmt::format("more than {} bytes", kMostSchemaBytes), kExpected});
    }
  } catch (const std::system_error& error) {
    throw failureAt(ExitStatus::io, name, 0, "0",
                    {open ? "cannot read" : "cannot open", error.code().message(), kExpected});
  }
  return text;
}

}  // namespace

bool isStoredName(const std::string& file) {
  return file.size() > kExtension.size() &&
         file.compare(file.size() - kExtension.size(), kExtension.size(), kExtension) == 0;
}

std::string schemaName(const std::string& file) { return file + ".json"; }
std::string blobsName(const std::string& file) { return file + ".blobs"; }

long cellBytes(ZRBBuf::column_type type, long stringBytes) {
  switch (type) {
    case ZRBBuf::column_factor:
      return 2;
    case ZRBBuf::column_string:
      return stringBytes;
    case ZRBBuf::column_blob:
      return 16;
    default:
      return 8;
  }
}

std::string schemaText(const StoredSchema& schema) {
  nlohmann::ordered_json json;
  json["format"] = kSchemaFormat;
  json["version"] = kSchemaVersion;
  json["rows"] = schema.rows;
  json["row_bytes"] = schema.rowBytes;
  json["file_bytes"] = schema.rows * schema.rowBytes;
  if (schema.blobs) json["blobs"] = {{"file", schema.blobs->file}, {"bytes", schema.blobs->bytes}};
  json["source"] = schema.source;
  json["columns"] = nlohmann::ordered_json::array();
  for (const StoredColumn& column : schema.columns) {
    nlohmann::ordered_json entry;
    entry["name"] = column.name;
    entry["type"] = zrb::columnTypeName(column.type);
    entry["offset"] = column.offset;
    entry["bytes"] = column.bytes;
    entry["na"] = column.na;
    if (column.type == ZRBBuf::column_factor) entry["levels"] = column.levels;
    json["columns"].push_back(std::move(entry));
  }
  return jsonText(json);
}

StoredSchema readSchema(const std::string& name) {
  const std::string text = readWhole(name);
  const auto refuse = [&](std::size_t at) {
    at = std::min(at, text.size());
    const auto line = 1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n');
    const std::string found = at < text.size() ? quote(std::string_view(text).substr(at, 1)) : "the end of the file";
    throw failureAt(ExitStatus::data, name, line, "0", {"schema is no JSON", found, kExpected});
  };
  // The parser takes a NUL for the end of the text.
  if (const std::size_t nul = text.find('\0'); nul != std::string::npos) refuse(nul);
  Json json;
  try {
    json = Json::parse(text);
  } catch (const Json::parse_error& error) {
    refuse(error.byte > 0 ? error.byte - 1 : 0);
  } catch (const Json::exception&) {  // a number beyond the range of a double
    throw failureAt(ExitStatus::data, name, 0, "0", {"schema is no JSON", "a number out of range", kExpected});
  }
  return schemaOf(SchemaValue(name, json, "0"));
}

}  // namespace zrbtool
