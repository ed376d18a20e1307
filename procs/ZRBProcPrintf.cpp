// What arrives here?
#include "ZRBProcPrintf.h"

#include "ZRBBufReader.h"
#include "base/property_table.h"
#include "procs/row_trace.h"

using namespace property;

namespace {

constexpr int kDefaultNumToPrint = 2;
constexpr TraceStyle kTraceStyle = {"ZRBProcPrintf", true, true};

}  // namespace

ZRBProcPrintf::ZRBProcPrintf() : m_num_to_print(kDefaultNumToPrint) {}
ZRBProcPrintf::~ZRBProcPrintf() = default;

int ZRBProcPrintf::init() {
  ZRBProc::init();
  checkBufs(1, 0);
  return hasError();
}

long ZRBProcPrintf::execute() {
  const long rows = executeRequestRows();
  if (rows < 0) return rows;
  ZRBBufReader* reader = getInputBufReader(0);
  if (!reader) return -1;
  printTrace(kTraceStyle, *reader, rows, m_num_to_print);
  return executeReleaseRows(rows);
}

struct ZRBProcPrintf::Properties {
  static constexpr Property<ZRBProcPrintf> setTable[] = {
      {"num.to.print", [](ZRBProcPrintf& proc, ZRBPropertyInfo& info) { proc.m_num_to_print = Int::take(info); }},
  };
  static constexpr Property<ZRBProcPrintf> getTable[] = {
      {"num.to.print", [](ZRBProcPrintf& proc, ZRBPropertyInfo& info) { info.setLongResult(proc.m_num_to_print); }},
  };
};

void ZRBProcPrintf::setProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::setTable, *this, *info)) ZRBProc::setProperty(info);
}

void ZRBProcPrintf::getProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::getTable, *this, *info)) ZRBProc::getProperty(info);
}
