// Who writes and reads this buffer, and who may use which rows?
//
// Ring invariants between any two public calls (N = capacity; a buffer with a writer):
//  (1) 0 <= output rows released <= input rows released.
//  (2) locked = input released - output released <= N.
//  (3) While stream row r is locked, its cells are in ring row r mod N; afterwards the bytes are the writer's.
#include <algorithm>

#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "ZRBProc.h"
#include "base/pointer_list.h"
#include "buf/buf_access.h"
#include "buf/saturating.h"

ZRBBufWriter* ZRBBuf::createBufWriter(ZRBProc* proc) {
  ZRBBufWriter* writer = newBufWriter(proc);
  if (writer) m_writers.push_back(writer);
  return writer;
}

ZRBBufReader* ZRBBuf::createBufReader(ZRBProc* proc) {
  ZRBBufReader* reader = newBufReader(proc);
  if (reader) m_readers.push_back(reader);
  return reader;
}

void ZRBBuf::deleteBufWriter(ZRBBufWriter* writer) {
  if (!writer) return;
  unlinkBufWriter(writer);
  removeEntries(m_writers, writer);
  delete writer;
}

void ZRBBuf::deleteBufReader(ZRBBufReader* reader) {
  if (!reader) return;
  unlinkBufReader(reader);
  removeEntries(m_readers, reader);
  delete reader;
}

void ZRBBuf::unlinkBufWriter(ZRBBufWriter* writer) {
  if (!writer || !writer->getProc()) return;
  ZRBProc* proc = writer->getProc();
  writer->setProc(nullptr);
  proc->unlinkBufWriter(writer);
}

void ZRBBuf::unlinkBufReader(ZRBBufReader* reader) {
  if (!reader || !reader->getProc()) return;
  ZRBProc* proc = reader->getProc();
  reader->setProc(nullptr);
  proc->unlinkBufReader(reader);
}

long ZRBBuf::getNumReaders() { return static_cast<long>(m_readers.size()); }
long ZRBBuf::getNumWriters() { return static_cast<long>(m_writers.size()); }
ZRBBufReader* ZRBBuf::getBufReader(int index) { return entryOf(m_readers, index); }
ZRBBufWriter* ZRBBuf::getBufWriter(int index) { return entryOf(m_writers, index); }

ZRBProc* ZRBBuf::getBufReaderProc(int index) {
  ZRBBufReader* reader = getBufReader(index);
  return reader ? reader->getProc() : nullptr;
}

ZRBProc* ZRBBuf::getBufWriterProc(int index) {
  ZRBBufWriter* writer = getBufWriter(index);
  return writer ? writer->getProc() : nullptr;
}

void ZRBBuf::initConnections() {
  for (ZRBBufWriter* writer : m_writers) writer->init();
  for (ZRBBufReader* reader : m_readers) reader->init();
}

void ZRBBuf::releaseInputRows(long rows) { m_input_rows_released += rows; }
long ZRBBuf::getInputRowsReleased() { return m_input_rows_released; }

long ZRBBuf::getOutputRowsReleased() {
  long long released = m_input_rows_released;
  for (ZRBBufReader* reader : m_readers) released = std::min(released, reader->getChunkPosition());
  return released;
}

long ZRBBuf::getOutputLockedRows() { return m_input_rows_released - getOutputRowsReleased(); }
long ZRBBuf::getInputLockedRows() { return m_num_rows - getOutputLockedRows(); }

long ZRBBuf::getInputRowIndex(long chunkRow) { return getOutputRowIndex(m_input_rows_released, chunkRow); }

long ZRBBuf::getOutputRowIndex(long long position, long chunkRow) { return ringRowOf(position + chunkRow, m_num_rows); }

int ZRBBuf::setEOF(int eof) {
  m_eof = eof;
  return eof;
}

int ZRBBuf::getEOF() { return m_eof; }

long long ZRBBuf::getTotalNumRows() { return getEOF() ? getInputRowsReleased() : -1; }

long ZRBBuf::getMinRowsToAvoidDeadlock() {
  long mostWritten = 0;
  for (ZRBBufWriter* writer : m_writers) mostWritten = std::max(mostWritten, writer->getProc()->getOutputNumRows());
  long mostRead = 0;
  for (ZRBBufReader* reader : m_readers) mostRead = std::max(mostRead, reader->getProc()->getNumRows());
  return addSaturating(mostWritten, mostRead);
}

int ZRBBuf::isDeadlockPossible() { return getMinRowsToAvoidDeadlock() > m_num_rows; }
