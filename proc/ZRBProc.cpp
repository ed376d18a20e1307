// When may a node run, and how does it get and give back its rows?
#include "ZRBProc.h"

#include <algorithm>

#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "base/format_message.h"
#include "base/value_codes.h"

namespace {

constexpr long kDefaultNumRows = 1000;
constexpr long kSameAsInput = -1;
constexpr int kNoCallbackVal = -1;

constexpr const char* kNullInput = "null input buf";
constexpr const char* kNullOutput = "null output buf";

void (*callbackHandler)(int) = nullptr;

}  // namespace

ZRBProc::ZRBProc()
    : m_done(0),
      m_execute_count(0),
      m_rows_done(0),
      m_num_rows(kDefaultNumRows),
      m_output_num_rows(kSameAsInput),
      m_callback_val(kNoCallbackVal),
      m_callback_info(0) {
  // Deliberate: a node that the host forgets to initialise never runs.
  setError("uninitialized");
}

ZRBProc::~ZRBProc() {
  for (ZRBBufReader* reader : m_inputs)
    if (reader) reader->getBuf()->deleteBufReader(reader);
  for (ZRBBufWriter* writer : m_outputs)
    if (writer) writer->getBuf()->deleteBufWriter(writer);
}

int ZRBProc::init() {
  ZRBObj::init();
  m_done = 0;
  m_execute_count = 0;
  m_rows_done = 0;
  return hasError();
}

long ZRBProc::execute() { return 0; }

int ZRBProc::isReady() {
  if (isDone() || getError()) return 0;
  const int numInputs = getNumInputs();
  for (int i = 0; i < numInputs; ++i) {
    ZRBBufReader* reader = getInputBufReader(i);
    if (!reader || !reader->isReady()) return 0;
  }
  const int numOutputs = getNumOutputs();
  for (int i = 0; i < numOutputs; ++i) {
    ZRBBufWriter* writer = getOutputBufWriter(i);
    if (!writer || !writer->isReady()) return 0;
  }
  return 1;
}

void ZRBProc::setDone(int done) { m_done = done; }
int ZRBProc::isDone() { return m_done; }

long long ZRBProc::getExecuteCount() { return m_execute_count; }
void ZRBProc::setExecuteCount(long long count) { m_execute_count = count; }
long long ZRBProc::incrementExecuteCount() { return m_execute_count = value_codes::addWrapping(m_execute_count, 1); }

long long ZRBProc::getRowsDone() { return m_rows_done; }
void ZRBProc::setRowsDone(long long rows) { m_rows_done = rows; }
long long ZRBProc::incrementRowsDone(long rows) { return m_rows_done = value_codes::addWrapping(m_rows_done, rows); }

void ZRBProc::setNumRows(long rows) { m_num_rows = rows; }
long ZRBProc::getNumRows() { return m_num_rows; }
void ZRBProc::setOutputNumRows(long rows) { m_output_num_rows = rows; }
long ZRBProc::getOutputNumRows() { return m_output_num_rows < 0 ? getNumRows() : m_output_num_rows; }

long ZRBProc::executeRequestRows() {
  bool ok = true;
  // Requests `wanted` rows of an end and lowers `fewest` to what it has; every end is told, even after a failure.
  const auto request = [&ok](auto* end, long wanted, long& fewest) {
    end->setRequestRows(wanted);
    if (!ok) return;
    if (end->isReady())
      fewest = std::min(fewest, static_cast<long>(static_cast<int>(end->getRowsReady())));
    else
      ok = false;
  };

  long inMin = getNumRows();
  const int numInputs = getNumInputs();
  for (int i = 0; i < numInputs; ++i) {
    if (ZRBBufReader* reader = getInputBufReader(i)) {
      request(reader, getNumRows(), inMin);
    } else {
      ok = false;
      setError(kNullInput, i);
    }
  }
  long outMin = getOutputNumRows();
  const int numOutputs = getNumOutputs();
  for (int i = 0; i < numOutputs; ++i) {
    if (ZRBBufWriter* writer = getOutputBufWriter(i)) {
      request(writer, getOutputNumRows(), outMin);
    } else {
      ok = false;
      setError(kNullOutput, i);
    }
  }
  if (!ok) return -1;
  if (numInputs > 0 && numOutputs > 0) return std::min(inMin, outMin);
  if (numInputs > 0) return inMin;
  if (numOutputs > 0) return outMin;
  return 0;
}

long ZRBProc::executeReleaseRows(long rows) { return executeReleaseRows(rows, rows); }

long ZRBProc::executeReleaseRows(long inputRows, long outputRows) {
  if (const int done = isDone()) return done;
  if (getError()) return 1;

  // Deliberate: one exhausted input finishes the node; several inputs stop at the shortest.
  bool eof = false;
  const int numInputs = getNumInputs();
  for (int i = 0; i < numInputs; ++i) {
    ZRBBufReader* reader = getInputBufReader(i);
    if (!reader) {
      setError(kNullInput, i);
      continue;
    }
    reader->releaseRows(inputRows);
    if (reader->getEOF() && reader->getRowsReady() == 0)
      eof = true;
    else
      reader->setRequestRows(getNumRows());
  }
  const int numOutputs = getNumOutputs();
  for (int i = 0; i < numOutputs; ++i) {
    ZRBBufWriter* writer = getOutputBufWriter(i);
    if (!writer) {
      setError(kNullOutput, i);
      continue;
    }
    writer->releaseRows(outputRows);
    if (eof)
      writer->setEOF();
    else
      writer->setRequestRows(getOutputNumRows());
  }
  if (eof) setDone(1);
  return incrementRowsDone(inputRows);
}

void ZRBProc::checkBufs(int numInputs, int numOutputs) { checkBufs(numInputs, numInputs, numOutputs, numOutputs); }

void ZRBProc::checkBufs(int minInputs, int maxInputs, int minOutputs, int maxOutputs) {
  const int numInputs = getNumInputs();
  const int numOutputs = getNumOutputs();
  if (numInputs < minInputs || numInputs > maxInputs) {
    const std::string text =
        minInputs == maxInputs
            ? formatMessage("this node expects %d inputs, but was given %d inputs", minInputs, numInputs)
            : formatMessage("this node expects between %d and %d inputs, but was given %d inputs", minInputs, maxInputs,
                            numInputs);
    return setError(text.c_str());
  }
  if (numOutputs < minOutputs || numOutputs > maxOutputs) {
    const std::string text =
        minOutputs == maxOutputs
            ? formatMessage("this node expects %d outputs, but was given %d outputs", minOutputs, numOutputs)
            : formatMessage("this node expects between %d and %d outputs, but was given %d outputs", minOutputs,
                            maxOutputs, numOutputs);
    return setError(text.c_str());
  }
  for (int i = 0; i < numInputs; ++i)
    if (!getInputBufReader(i)) return setError("NULL input buf found");
  for (int i = 0; i < numOutputs; ++i)
    if (!getOutputBufWriter(i)) return setError("NULL output buf found");
}

void ZRBProc::setCallbackHandler(void (*handler)(int)) { callbackHandler = handler; }
void ZRBProc::setCallbackVal(int value) { m_callback_val = value; }
int ZRBProc::getCallbackVal() { return m_callback_val; }
void ZRBProc::setCallbackInfo(int info) { m_callback_info = info; }
int ZRBProc::getCallbackInfo() { return m_callback_info; }

void ZRBProc::doCallback() {
  if (!callbackHandler) return;
  try {
    callbackHandler(m_callback_val);
  } catch (...) {
    // A host's handler must not stop the node.
  }
}
