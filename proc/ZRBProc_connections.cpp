// Which buffers does a node read and write?
#include <cstddef>

#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "ZRBProc.h"
#include "base/pointer_list.h"

namespace {

// Entries up to the last one that is connected.
template <class End>
std::size_t connectedCount(const std::vector<End*>& ends) {
  std::size_t count = ends.size();
  while (count > 0 && !ends[count - 1]) --count;
  return count;
}

// Replaces the end at `index` by one that connect() makes on `buf`, if any; disconnect(end) takes the old one back.
template <class End, class Disconnect, class Connect>
void replaceEnd(std::vector<End*>& ends, int index, ZRBBuf* buf, Disconnect disconnect, Connect connect) {
  if (index < 0) return;
  const std::size_t at = static_cast<std::size_t>(index);
  if (at >= ends.size()) {
    if (!buf) return ends.resize(connectedCount(ends));
    ends.resize(at + 1);
  }
  if (End* old = ends[at]) {
    ends[at] = nullptr;
    disconnect(old);
  }
  ends[at] = buf ? connect() : nullptr;
  ends.resize(connectedCount(ends));
}

template <class End>
bool dropEnd(std::vector<End*>& ends, End* end) {
  if (!end) return false;
  for (End*& connected : ends)
    if (connected == end) connected = nullptr;
  return true;
}

}  // namespace

void ZRBProc::setInputBuf(int index, ZRBBuf* buf) {
  replaceEnd(
      m_inputs, index, buf, [](ZRBBufReader* old) { old->getBuf()->deleteBufReader(old); },
      [&] { return buf->createBufReader(this); });
}

void ZRBProc::setOutputBuf(int index, ZRBBuf* buf) {
  replaceEnd(
      m_outputs, index, buf, [](ZRBBufWriter* old) { old->getBuf()->deleteBufWriter(old); },
      [&] { return buf->createBufWriter(this); });
}

ZRBBufReader* ZRBProc::getInputBufReader(int index) { return entryOf(m_inputs, index); }
ZRBBufWriter* ZRBProc::getOutputBufWriter(int index) { return entryOf(m_outputs, index); }

ZRBBuf* ZRBProc::getInputBuf(int index) {
  ZRBBufReader* reader = getInputBufReader(index);
  return reader ? reader->getBuf() : nullptr;
}

ZRBBuf* ZRBProc::getOutputBuf(int index) {
  ZRBBufWriter* writer = getOutputBufWriter(index);
  return writer ? writer->getBuf() : nullptr;
}

int ZRBProc::getNumInputs() { return static_cast<int>(connectedCount(m_inputs)); }
int ZRBProc::getNumOutputs() { return static_cast<int>(connectedCount(m_outputs)); }

void ZRBProc::unlinkBufReader(ZRBBufReader* reader) {
  if (dropEnd(m_inputs, reader)) reader->getBuf()->unlinkBufReader(reader);
}

void ZRBProc::unlinkBufWriter(ZRBBufWriter* writer) {
  if (dropEnd(m_outputs, writer)) writer->getBuf()->unlinkBufWriter(writer);
}
