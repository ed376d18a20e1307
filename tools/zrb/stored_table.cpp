#include "stored_table.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "failure.h"
#include "open_file.h"
#include "zrb/column.h"
#include "zrb/property.h"

namespace zrbtool {

namespace {

// Refuses a file that cannot be read or has another size.
void checkFile(const std::string& file, long long bytes, const std::string& why) {
  const OpenFile opened(file, O_RDONLY | O_NONBLOCK);  // a pipe does not hold the tool up
  struct stat status;
  if (!opened.isOpen() || fstat(opened.handle(), &status) != 0)
    throw failureAt(ExitStatus::io, file, 0, "0", {"cannot open", std::strerror(errno), why});
  if (!S_ISREG(status.st_mode))
    throw failureAt(ExitStatus::io, file, 0, "0", {"cannot open", "something that is no file", why});
  if (bytes >= 0 && status.st_size != bytes)
    throw failureAt(ExitStatus::data, file, 0, "0",
                    {"file does not fit its schema", counted(status.st_size, "byte"), why});
}

}  // namespace

StoredTable openStored(const std::string& file, const std::string& verb) {
  if (!isStoredName(file))
    throw Failure(ExitStatus::usage,
                  fmt::format("{}: found {}, expected the name of a file that ends in .zrb", verb, quote(file)));
  StoredTable table;
  table.file = file;
  checkFile(file, -1, "a file that zrb import wrote");
  table.schema = readSchema(schemaName(file));
  const StoredSchema& schema = table.schema;
  checkFile(file, schema.rows * schema.rowBytes,
            fmt::format("{} ({} of {})", schema.rows * schema.rowBytes, counted(schema.rows, "row"),
                        counted(schema.rowBytes, "byte")));
  if (schema.blobs) {
    const std::size_t slash = file.rfind('/');
    table.blobs = (slash == std::string::npos ? "" : file.substr(0, slash + 1)) + schema.blobs->file;
    checkFile(table.blobs, schema.blobs->bytes, fmt::format("the blob file, {}", counted(schema.blobs->bytes, "byte")));
  }
  return table;
}

zrb::Handle<ZRBBackingFileBuf> makeStoredBuf(const StoredTable& table, long ringRows) {
  auto buf = zrb::make<ZRBBackingFileBuf>();
  zrb::set(buf, "name", "stored rows");
  zrb::set(buf, "num.rows", ringRows);
  zrb::set(buf, "num.columns", table.schema.columns.size());
  for (std::size_t i = 0; i < table.schema.columns.size(); ++i) {
    const StoredColumn& column = table.schema.columns[i];
    zrb::set(buf, "column.name", i, column.name);
    zrb::set(buf, "column.type", i, zrb::columnTypeName(column.type));
    if (column.type == ZRBBuf::column_string) zrb::set(buf, "column.string.bytes", i, column.bytes);
    for (std::size_t level = 0; level < column.levels.size(); ++level)
      zrb::set(buf, "column.level.name", i, level, column.levels[level]);
  }
  zrb::set(buf, "backing.file.name", table.file);
  zrb::set(buf, "backing.file.total.rows", table.schema.rows);
  if (!table.blobs.empty()) zrb::set(buf, "blob.file.name", table.blobs);
  return buf;
}

}  // namespace zrbtool
