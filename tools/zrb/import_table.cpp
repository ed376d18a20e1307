#include "import_table.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "blob_columns.h"
#include "bounds.h"
#include "csv_source.h"
#include "failure.h"
#include "library_failure.h"
#include "na_texts_seen.h"
#include "open_file.h"
#include "output.h"
#include "replaced_files.h"
#include "stored_schema.h"
#include "utf8.h"
#include "zrb/property.h"
#include "zrb/run.h"

namespace zrbtool {

namespace {

void checkNames(const ImportOptions& options) {
  const auto refuse = [](const std::string& found, const std::string& expected) {
    throw Failure(ExitStatus::usage, fmt::format("zrb import: found {}, expected {}", quote(found), expected));
  };
  if (!isStoredName(options.out)) refuse(options.out, "a name for the rows that ends in .zrb");
  if (isStoredName(options.file)) refuse(options.file, "a CSV file to import");
}

// The places of the path columns in the file; the blob columns become the last ones of the buffer.
std::vector<BlobSource> addBlobColumns(const ImportOptions& options, CsvSource& source) {
  const std::vector<ColumnPlan>& columns = source.layout().columns;
  std::vector<BlobSource> blobs;
  long column = source.buf().getNumColumns();
  zrb::set(source.buf(), "num.columns", column + static_cast<long>(options.blobs.size()));
  for (const BlobColumn& blob : options.blobs) {
    if (source.buf().getColumnIndex(blob.name.c_str()) >= 0)
      throw Failure(ExitStatus::usage,
                    fmt::format("zrb import: --blob-column: found {}, which is the name of another column, expected "
                                "names that differ",
                                quote(blob.name)));
    const auto path = std::find_if(columns.begin(), columns.end(),
                                   [&](const ColumnPlan& plan) { return plan.name == blob.pathColumn; });
    if (path == columns.end()) throw unknownColumn(options.file, source.layout(), blob.pathColumn);
    zrb::set(source.buf(), "column.name", column, blob.name);
    zrb::set(source.buf(), "column.type", column, "blob");
    blobs.push_back({column++, static_cast<std::size_t>(path - columns.begin())});
  }
  return blobs;
}

void checkRowBytes(const ImportOptions& options, ZRBBuf& buf) {
  const long bytes = zrb::get<long>(buf, "calc.bytes.per.row");
  if (bytes > kMostRowBytes)
    throw failureAt(ExitStatus::data, options.file, 0, "0",
                    {"row too wide", counted(bytes, "byte"),
                     fmt::format("at most {} (--types NAME=string:BYTES makes texts narrower)", kMostRowBytes)});
}

// Both observers of the CSV node.
class ImportObserver : public RecordObserver {
public:
  ImportObserver(NaTextsSeen& na, BlobColumns& blobs) : m_na(na), m_blobs(blobs) {}
  void onRecord(long row, const Record& record, ZRBBufWriter& writer) override {
    m_na.look(record);
    m_blobs.store(row, record, writer);
  }

private:
  NaTextsSeen& m_na;
  BlobColumns& m_blobs;
};

void runImport(const ImportOptions& options, CsvSource& source) {
  auto pipeline = zrb::make<ZRBPipeline>();
  source.addTo(*pipeline);
  try {
    zrb::run(*pipeline);
  } catch (const zrb::ObjectError&) {
    ZRBBuf& buf = source.buf();
    if (!buf.hasError()) throw;
    throw writeFailure(options.out, buf);
  }
}

std::string lastName(const std::string& path) { return path.substr(path.rfind('/') + 1); }

StoredSchema schemaOf(const ImportOptions& options, CsvSource& source, const NaTextsSeen& na, long long blobBytes) {
  ZRBBuf& buf = source.buf();
  StoredSchema schema;
  schema.rows = zrb::get<long long>(source.node(), "rows.done");
  schema.source = isUtf8(options.file) ? options.file : onOneLine(options.file);
  for (long i = 0; i < buf.getNumColumns(); ++i) {
    StoredColumn& column = schema.columns.emplace_back();
    column.name = buf.getColumnName(i);
    column.type = buf.getColumnType(i);
    column.offset = zrb::get<long>(buf, "backing.file.column.offset.bytes", i);
    column.bytes = zrb::get<long>(buf, "backing.file.column.width.bytes", i);
    column.na = na.text(static_cast<std::size_t>(i));
    for (long level = 0; level < buf.getNumLevels(i); ++level) column.levels.emplace_back(buf.getLevelName(i, level));
  }
  schema.rowBytes = zrb::get<long>(buf, "backing.file.row.bytes");
  if (!options.blobs.empty()) schema.blobs = {lastName(blobsName(options.out)), blobBytes};
  return schema;
}

void writeSchema(const std::string& name, const std::string& target, const StoredSchema& schema) {
  const std::string text = schemaText(schema);
  if (static_cast<long long>(text.size()) > kMostSchemaBytes)
    throw failureAt(ExitStatus::data, target, 0, "0",
                    {"schema too large", counted(static_cast<long long>(text.size()), "byte"),
                     fmt::format("at most {} (--types NAME=string keeps texts out of it)", kMostSchemaBytes)});
  const OpenFile file = openToWrite(name, target);
  Output output(file.handle(), target);
  output.write(text);
  output.flush();
}

}  // namespace

BlobColumn parseBlobColumn(const std::string& text) {
  const std::size_t equals = text.rfind('=');
  if (equals == std::string::npos || equals == 0 || equals + 1 == text.size() || !isUtf8(text))
    throw Failure(ExitStatus::usage,
                  fmt::format("zrb import: --blob-column: found {}, expected NAME=PATHCOLUMN", quote(text)));
  return {text.substr(0, equals), text.substr(equals + 1)};
}

void importTable(const ImportOptions& options) {
  checkNames(options);
  CsvSource source(options.file, options.csv, {}, zrb::make<ZRBBackingFileBuf>());
  ZRBBuf& buf = source.buf();
  BlobColumns blobs(options.file, blobsName(options.out), source.layout().columns, options.csv,
                    addBlobColumns(options, source));
  checkRowBytes(options, buf);

  ReplacedFiles files;
  zrb::set(buf, "backing.file.name", files.add(options.out));
  if (options.blobs.empty())
    files.addRemoval(blobsName(options.out));
  else
    zrb::set(buf, "blob.file.name", files.add(blobsName(options.out)));

  NaTextsSeen na(source.layout().columns, options.csv);
  ImportObserver observer(na, blobs);
  source.node().observe(&observer);
  runImport(options, source);

  const std::string& schema = files.add(schemaName(options.out));
  writeSchema(schema, schemaName(options.out), schemaOf(options, source, na, blobs.fileBytes()));
  files.commit();
}

}  // namespace zrbtool
