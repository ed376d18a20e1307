#include "generate.h"

#include <fmt/format.h>

#include <algorithm>

#include "csv_options.h"
#include "csv_writer.h"
#include "failure.h"
#include "utf8.h"
#include "zrb/column.h"
#include "zrb/handle.h"
#include "zrb/run.h"

namespace zrbtool {

std::vector<std::pair<std::string, ZRBBuf::column_type>> parseSchema(const std::string& text) {
  std::vector<std::pair<std::string, ZRBBuf::column_type>> schema;
  std::string entry;
  bool open = false;  // whether a comma of the name may have split the entry
  const auto refuse = [&](const std::string& expected) {
    throw Failure(ExitStatus::usage, fmt::format("zrb: --schema: found {}, expected {}", quote(entry), expected));
  };
  for (const std::string& piece : splitAtCommas(text)) {
    entry += open ? "," + piece : piece;
    open = true;
    const std::size_t colon = entry.rfind(':');
    if (colon == std::string::npos) continue;  // the comma belongs to the name
    const std::string name = entry.substr(0, colon);
    const auto type = parseColumnType(entry.substr(colon + 1));
    if (!type) refuse("NAME:TYPE with double, factor, string or timeDate");
    if (name.empty() || !isUtf8(name)) refuse("a name that is UTF-8 and not empty");
    if (std::any_of(schema.begin(), schema.end(), [&](const auto& column) { return column.first == name; }))
      refuse("names that differ");
    schema.emplace_back(name, *type);
    entry.clear();
    open = false;
  }
  if (open) refuse("NAME:TYPE,NAME:TYPE,...");
  return schema;
}

void generate(const GenerateOptions& options, Output& output) {
  auto buf = zrb::make<ZRBMemoryBuf>();
  zrb::set(buf, "num.columns", options.schema.size());
  for (std::size_t i = 0; i < options.schema.size(); ++i) {
    zrb::set(buf, "column.name", i, options.schema[i].first);
    zrb::set(buf, "column.type", i, zrb::columnTypeName(options.schema[i].second));
  }

  auto reader = zrb::make<ZRBProcRandomReader>();
  zrb::set(reader, "seed", options.seed);
  zrb::set(reader, "total.rows", options.rows);
  zrb::set(reader, "outbuf", buf);
  auto writer = zrb::make<CsvWriter>(output);
  zrb::set(writer, "inbuf", buf);

  auto pipeline = zrb::make<ZRBPipeline>();
  zrb::set(pipeline, "add.buf", buf);
  zrb::set(pipeline, "add.proc", reader);
  zrb::set(pipeline, "add.proc", writer);
  zrb::run(*pipeline);
  output.flush();
}

}  // namespace zrbtool
