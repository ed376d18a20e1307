// The node that reads CSV: records in, typed cells out.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cell_text.h"
#include "csv_options.h"
#include "quick_cells.h"
#include "record_reader.h"
#include "sniffer.h"
#include "zrb/node.h"

namespace zrbtool {

// Sees every record after its cells were written to chunk row `row` of the output.
class RecordObserver {
public:
  virtual ~RecordObserver() = default;
  // May throw CsvError and Failure.
  virtual void onRecord(long row, const Record& record, ZRBBufWriter& writer) = 0;
};

// A source of one chunk of records per execution.  Fails with the place in the file and the way out at the first cell
// that is not what its column's type needs, and at the first record of another length.
class CsvNode : public zrb::SourceNode {
public:
  // Column i of the output is column `columns[i]` of the file.  Borrows the reader, which stands at the first row.
  CsvNode(std::string file, CsvLayout layout, std::vector<std::size_t> columns, const CsvOptions& options,
          RecordReader& reader);

  // Borrowed; null for none.
  void observe(RecordObserver* observer) { m_observer = observer; }

private:
  void prepare() override;
  long work(long rows) override;

  void writeRecord(long row, const Record& record);
  void writeCell(long row, long column, const ColumnPlan& plan, std::string_view cell);
  void writeNumber(long row, long column, const ColumnPlan& plan, std::string_view cell);
  void writeDate(long row, long column, const ColumnPlan& plan, std::string_view cell);
  void writeLevel(long row, long column, const ColumnPlan& plan, std::string_view cell);
  void writeText(long row, long column, const ColumnPlan& plan, std::string_view cell);

  std::string m_file;
  CsvLayout m_layout;
  std::vector<std::size_t> m_columns;
  CsvOptions m_options;
  NaTexts m_na;
  RecordReader& m_reader;
  RecordObserver* m_observer = nullptr;
  ZRBBuf* m_buf = nullptr;
  ZRBBufWriter* m_writer = nullptr;
  std::optional<QuickCells> m_quick;
};

}  // namespace zrbtool
