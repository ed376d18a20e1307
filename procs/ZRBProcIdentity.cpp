// What goes by, and on to the outputs?
#include "ZRBProcIdentity.h"

#include <algorithm>

#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "base/property_table.h"
#include "procs/row_trace.h"

using namespace property;

namespace {

constexpr int kDefaultNumToPrint = 2;
constexpr TraceStyle kTraceStyle = {"ZRBProcIdentity", false, false};

// Deliberate: everything but levels passes through doubles.  Pinned by "what is no factor on both sides passes as a
// double".
void copyRows(ZRBBufReader& reader, ZRBBufWriter& writer, long rows) {
  ZRBBuf* input = reader.getBuf();
  ZRBBuf* output = writer.getBuf();
  long numColumns = input->getNumColumns();
  // A column that the output lacks counts as a double at the start of its rows, where they have room for one.
  if (output->getBytesPerRow() < static_cast<long>(sizeof(double)))
    numColumns = std::min(numColumns, output->getNumColumns());
  for (long row = 0; row < rows; ++row) {
    for (long column = 0; column < numColumns; ++column) {
      const double value = reader.getDouble(row, column);
      if (output->columnTypeIsFactor(column))
        writer.setConvertFactor(row, column, input->mapDoubleToLevel(column, value));
      else
        writer.setDouble(row, column, value);
    }
  }
}

}  // namespace

ZRBProcIdentity::ZRBProcIdentity() : m_num_to_print(kDefaultNumToPrint) {}
ZRBProcIdentity::~ZRBProcIdentity() = default;

int ZRBProcIdentity::init() { return ZRBProc::init(); }

long ZRBProcIdentity::execute() {
  const long rows = executeRequestRows();
  if (rows < 0) return rows;
  if (getNumInputs() < 1) return executeReleaseRows(rows);
  ZRBBufReader* reader = getInputBufReader(0);
  printTrace(kTraceStyle, *reader, rows, m_num_to_print);
  const int numOutputs = getNumOutputs();
  for (int i = 0; i < numOutputs; ++i) copyRows(*reader, *getOutputBufWriter(i), rows);
  return executeReleaseRows(rows);
}

struct ZRBProcIdentity::Properties {
  static constexpr Property<ZRBProcIdentity> setTable[] = {
      {"num.to.print", [](ZRBProcIdentity& proc, ZRBPropertyInfo& info) { proc.m_num_to_print = Int::take(info); }},
  };
  static constexpr Property<ZRBProcIdentity> getTable[] = {
      {"num.to.print", [](ZRBProcIdentity& proc, ZRBPropertyInfo& info) { info.setLongResult(proc.m_num_to_print); }},
  };
};

void ZRBProcIdentity::setProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::setTable, *this, *info)) ZRBProc::setProperty(info);
}

void ZRBProcIdentity::getProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::getTable, *this, *info)) ZRBProc::getProperty(info);
}
