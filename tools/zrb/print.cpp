#include "print.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include "ZRBProcPrintf.h"
#include "failure.h"
#include "text_table.h"
#include "zrb/handle.h"
#include "zrb/iso_date.h"
#include "zrb/node.h"
#include "zrb/number_text.h"
#include "zrb/property.h"
#include "zrb/run.h"

namespace zrbtool {

namespace {

constexpr const char* kNaText = "NA";

std::string cellText(ZRBBufReader& reader, long row, long column, ZRBBuf::column_type type) {
  switch (type) {
    case ZRBBuf::column_double: {
      const double value = reader.getDouble(row, column);
      return ZRBObj::isDoubleNA(value) ? kNaText : zrb::numberText(value);
    }
    case ZRBBuf::column_timeDate: {
      const long long timeMs = reader.getTimeDate(row, column);
      return ZRBObj::isTimeDateNA(timeMs) ? kNaText : zrb::isoDateText(timeMs);
    }
    case ZRBBuf::column_blob:
      return reader.isBlobNA(row, column) ? kNaText : counted(reader.getBlobLength(row, column), "byte");
    default: {
      const char* text = reader.getString(row, column);  // a factor's level name
      return ZRBObj::isStringNA(text) ? kNaText : text;
    }
  }
}

// A sink that keeps its rows as lines of a table.
class TableOfRows : public zrb::SinkNode {
public:
  std::string render() const { return m_table.render(); }

private:
  void prepare() override {
    ZRBBuf& buf = *input().getBuf();
    std::vector<Align> alignments;
    std::vector<std::string> names;
    m_types.clear();
    for (long column = 0; column < buf.getNumColumns(); ++column) {
      m_types.push_back(buf.getColumnType(column));
      alignments.push_back(m_types.back() == ZRBBuf::column_double ? Align::right : Align::left);
      const char* name = buf.getColumnName(column);
      names.emplace_back(name ? name : "");
    }
    m_table = TextTable(std::move(alignments));
    m_table.addRow(std::move(names));
  }

  void work(long rows) override {
    for (long row = 0; row < rows; ++row) {
      std::vector<std::string> cells;
      for (std::size_t column = 0; column < m_types.size(); ++column)
        cells.push_back(cellText(input(), row, static_cast<long>(column), m_types[column]));
      m_table.addRow(std::move(cells));
    }
  }

  std::vector<ZRBBuf::column_type> m_types;
  TextTable m_table{{}};
};

// Runs until `sink` has seen `mostRows` rows, or all there are.
// `check` is called after every chunk of a node, and may throw.
void runFirstRows(TableSource& source, ZRBProc& sink, long long mostRows, void (*check)()) {
  zrb::set(sink, "name", "print");
  zrb::set(sink, "inbuf", source.buf());
  auto pipeline = zrb::make<ZRBPipeline>();
  source.addTo(*pipeline);
  zrb::set(pipeline, "add.proc", sink);
  // No node gets a chance to do more rows than are still wanted.
  const auto limitChunks = [&](long long rows) {
    const long chunk = static_cast<long>(std::min<long long>(rows, source.chunkRows()));
    zrb::forEachNode(*pipeline, [&](ZRBProc& node) { zrb::set(node, "num.rows", chunk); });
    // It waits for what it asked for when its last chunk ended, which may be more.
    sink.getInputBufReader(0)->setRequestRows(chunk);
  };
  limitChunks(std::max(mostRows, 1LL));
  zrb::set(pipeline, "init");
  zrb::checkAll(*pipeline);
  while (sink.getRowsDone() < mostRows && !sink.isDone()) {
    limitChunks(mostRows - sink.getRowsDone());
    zrb::set(pipeline, "execute", 1);  // one chunk of one node, in turn
    check();
    zrb::checkAll(*pipeline);
    if (zrb::get<long long>(pipeline, "last.execution.count") == 0)
      throw zrb::Error("rows to print wait for room that nobody provides");
  }
}

// The library's node prints to the C library's standard output, and does not look whether that succeeds.
void checkStandardOutput() {
  if (!std::ferror(stdout)) return;
  const int reason = errno;
  if (reason == EPIPE) throw Failure(ExitStatus::io, "");
  throw failureAt(ExitStatus::io, "standard output", 0, "0",
                  {"cannot write", std::strerror(reason), "room for the output"});
}

}  // namespace

std::string firstRowsText(TableSource& source, long long mostRows) {
  TableOfRows table;
  runFirstRows(source, table, mostRows, [] {});
  return table.render();
}

void traceFirstRows(TableSource& source, long long mostRows) {
  const auto trace = zrb::make<ZRBProcPrintf>();
  zrb::set(trace, "num.to.print", source.chunkRows());
  runFirstRows(source, *trace, mostRows, checkStandardOutput);
  std::fflush(stdout);
  checkStandardOutput();
}

}  // namespace zrbtool
