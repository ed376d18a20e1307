#include "export_table.h"

#include <utility>
#include <vector>

#include "csv_writer.h"
#include "failure.h"
#include "file_output.h"
#include "stored_source.h"
#include "zrb/property.h"
#include "zrb/run.h"

namespace zrbtool {

namespace {

void runInto(TableSource& source, ZRBProc& sink) {
  zrb::set(sink, "num.rows", source.chunkRows());
  zrb::set(sink, "inbuf", source.buf());
  auto pipeline = zrb::make<ZRBPipeline>();
  source.addTo(*pipeline);
  zrb::set(pipeline, "add.proc", sink);
  zrb::run(*pipeline);
}

// Reads every row once: standard output cannot be taken back.
void checkRows(const StoredTable& table, const std::vector<std::size_t>& columns) {
  StoredSource source(table, columns);
  auto nowhere = zrb::make<ZRBProcNullWriter>();
  zrb::set(nowhere, "access.buf", false);
  runInto(source, *nowhere);
}

}  // namespace

void exportTable(const ExportOptions& options, Output& standardOutput) {
  const StoredTable table = openStored(options.file, "zrb export");
  CsvWriterOptions writing;
  writing.header = options.header;
  std::vector<std::size_t> columns;
  for (std::size_t i = 0; i < table.schema.columns.size(); ++i) {
    if (table.schema.columns[i].type == ZRBBuf::column_blob) continue;
    columns.push_back(i);
    writing.naTexts.push_back(table.schema.columns[i].na);
  }
  if (columns.empty())
    throw failureAt(ExitStatus::usage, options.file, 0, "0",
                    {"nothing to export", "blob columns only", "a column that CSV can hold"});
  if (isStandardOutput(options.out)) checkRows(table, columns);
  writeTo(options.out, standardOutput, [&](Output& output) {
    StoredSource source(table, columns);
    auto writer = zrb::make<CsvWriter>(output, writing);
    runInto(source, *writer);
  });
}

}  // namespace zrbtool
