// Which kind of file is a table in?
#include "csv_source.h"
#include "stored_schema.h"
#include "stored_source.h"
#include "table_source.h"

namespace zrbtool {

std::unique_ptr<TableSource> openTable(const std::string& file, const CsvOptions& options,
                                       const TableRequest& request) {
  if (isStoredName(file)) return std::make_unique<StoredSource>(file, request);
  return std::make_unique<CsvSource>(file, options, request);
}

}  // namespace zrbtool
