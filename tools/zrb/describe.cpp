#include "describe.h"

#include <algorithm>

#include "zrb/handle.h"
#include "zrb/property.h"
#include "zrb/run.h"

namespace zrbtool {

namespace {

std::vector<LevelCount> levelsOf(ZRBProcCount& count, long column) {
  std::vector<LevelCount> levels;
  const long seen = zrb::get<long>(count, "col.num.levels", column);
  for (long position = 0; position < seen; ++position) {
    // By the number: a level may have the name that NA is given here.
    if (ZRBObj::isLevelNumNA(zrb::get<long>(count, "col.level.int", column, position))) continue;
    levels.push_back({zrb::get<std::string>(count, "col.level.name", column, position),
                      zrb::get<long long>(count, "col.level.count", column, position)});
  }
  std::sort(levels.begin(), levels.end(), [](const LevelCount& a, const LevelCount& b) {
    return a.count != b.count ? a.count > b.count : a.name < b.name;
  });
  return levels;
}

ColumnSummary summaryOf(ZRBProcCount& count, ZRBBuf& buf, long column) {
  ColumnSummary summary;
  summary.name = zrb::get<std::string>(buf, "column.name", column);
  summary.type = buf.getColumnType(column);
  summary.n = zrb::get<long long>(count, "col.count.ok", column);
  summary.na = zrb::get<long long>(count, "col.count.na", column);
  summary.min = zrb::get<double>(count, "col.min", column);
  summary.max = zrb::get<double>(count, "col.max", column);
  summary.mean = zrb::get<double>(count, "col.mean", column);
  summary.sd = zrb::get<double>(count, "col.stddev", column);
  if (summary.type == ZRBBuf::column_factor) summary.levels = levelsOf(count, column);
  return summary;
}

}  // namespace

Description describe(TableSource& source) {
  auto count = zrb::make<ZRBProcCount>();
  zrb::set(count, "name", "count");
  zrb::set(count, "num.rows", source.chunkRows());
  zrb::set(count, "inbuf", source.buf());
  auto pipeline = zrb::make<ZRBPipeline>();
  source.addTo(*pipeline);
  zrb::set(pipeline, "add.proc", count);
  zrb::run(*pipeline);

  Description description;
  description.file = source.file();
  description.formatText = source.formatText();
  description.formatJson = source.formatJson();
  description.rows = zrb::get<long long>(count, "rows.done");
  const long columns = zrb::get<long>(source.buf(), "num.columns");
  for (long column = 0; column < columns; ++column)
    description.columns.push_back(summaryOf(*count, source.buf(), column));
  return description;
}

}  // namespace zrbtool
