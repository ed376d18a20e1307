// A table that a verb reads, whatever it is stored in.
#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ZRBBuf.h"
#include "ZRBPipeline.h"
#include "csv_options.h"
#include "failure.h"

namespace zrbtool {

// What a verb wants of a table.
struct TableRequest {
  // These columns only, in this order; none: all columns.  Each text is the name of a column, or else names separated by
  // commas.
  std::vector<std::string> columns;
  bool asFactors = false;  // every column as a factor
};

// The rows of a table come out of buf() when the pipeline runs.  The verb connects its node to buf() and runs; the buffer
// and whatever fills it belong to the source.
class TableSource {
public:
  virtual ~TableSource() = default;

  // Its columns have their names and types.
  virtual ZRBBuf& buf() = 0;
  // Adds the buffer and the nodes that fill it.
  virtual void addTo(ZRBPipeline& pipeline) = 0;
  // Rows of a chunk, for the verb's node.
  virtual long chunkRows() = 0;

  // As the user gave it.
  virtual const std::string& file() const = 0;
  // How the file was read, for people and for programs.
  virtual std::string formatText() const = 0;
  virtual nlohmann::ordered_json formatJson() const = 0;
  // How the user gives a column another type, for the advice of a message; `declaration` is its NAME=TYPE.  As for CSV
  // where the source does not know better: --types x=factor
  virtual std::string typesHint(const std::string& declaration) const { return optionText("--types", declaration); }
};

// Throws Failure.  The options are for CSV files.
std::unique_ptr<TableSource> openTable(const std::string& file, const CsvOptions& options, const TableRequest& request);

}  // namespace zrbtool
