// Which node runs next?
#include "ZRBPipeline.h"

#include <algorithm>
#include <cstring>

#include "ZRBBuf.h"
#include "ZRBProc.h"
#include "base/pointer_list.h"
#include "base/property_table.h"

using namespace property;

namespace {

constexpr std::size_t kReservedEntries = 10;

template <class Object>
void moveToEnd(std::vector<Object*>& list, Object* object) {
  if (!object) return;
  removeEntries(list, object);
  list.push_back(object);
}

template <class Object>
Object* firstNamed(const std::vector<Object*>& list, const char* name) {
  if (!name) return nullptr;
  const auto found = std::find_if(list.begin(), list.end(), [name](Object* object) {
    return object->getName() && std::strcmp(object->getName(), name) == 0;
  });
  return found == list.end() ? nullptr : *found;
}

bool mayRun(ZRBProc* proc) { return !proc->isDone() && proc->isReady(); }

void executeGuarded(ZRBProc* proc) {
  try {
    proc->execute();
  } catch (...) {
    proc->addError("exception during execution");
  }
}

}  // namespace

ZRBPipeline::ZRBPipeline() : m_cursor(0), m_last_execution_count(0), m_total_execution_count(0) {
  m_bufs.reserve(kReservedEntries);
  m_procs.reserve(kReservedEntries);
}

ZRBPipeline::~ZRBPipeline() = default;

int ZRBPipeline::init() {
  ZRBObj::init();
  m_cursor = 0;
  m_last_execution_count = 0;
  m_total_execution_count = 0;
  // Buffers first: a node's init() checks and uses its buffers.
  for (ZRBBuf* buf : m_bufs) buf->init();
  for (ZRBProc* proc : m_procs) proc->init();
  return hasError();
}

void ZRBPipeline::addProc(ZRBProc* proc) { moveToEnd(m_procs, proc); }
void ZRBPipeline::removeProc(ZRBProc* proc) { removeEntries(m_procs, proc); }
long ZRBPipeline::getNumProcs() { return static_cast<long>(m_procs.size()); }
ZRBProc* ZRBPipeline::getProc(int index) { return entryOf(m_procs, index); }
ZRBProc* ZRBPipeline::getProc(const char* name) { return firstNamed(m_procs, name); }

void ZRBPipeline::addBuf(ZRBBuf* buf) { moveToEnd(m_bufs, buf); }
void ZRBPipeline::removeBuf(ZRBBuf* buf) { removeEntries(m_bufs, buf); }
long ZRBPipeline::getNumBufs() { return static_cast<long>(m_bufs.size()); }
ZRBBuf* ZRBPipeline::getBuf(int index) { return entryOf(m_bufs, index); }
ZRBBuf* ZRBPipeline::getBuf(const char* name) { return firstNamed(m_bufs, name); }

void ZRBPipeline::execute(long long maxCount) {
  m_last_execution_count = 0;
  const int numProcs = static_cast<int>(m_procs.size());
  if (numProcs < 1) return;

  long long executed = 0;
  const auto limitReached = [&] { return maxCount > 0 && executed >= maxCount; };
  bool progress = true;
  while (progress && !limitReached()) {
    progress = false;
    for (int i = 0; i < numProcs && !limitReached(); ++i) {
      if (m_cursor >= numProcs) m_cursor = 0;
      ZRBProc* proc = m_procs[static_cast<std::size_t>(m_cursor++)];
      if (!mayRun(proc)) continue;
      executeGuarded(proc);
      proc->incrementExecuteCount();
      progress = true;
      ++executed;
    }
  }
  m_last_execution_count = executed;
  m_total_execution_count += executed;
}

long long ZRBPipeline::getLastExecutionCount() { return m_last_execution_count; }
long long ZRBPipeline::getTotalExecutionCount() { return m_total_execution_count; }
int ZRBPipeline::getAnyProcReady() { return std::any_of(m_procs.begin(), m_procs.end(), mayRun); }

struct ZRBPipeline::Properties {
  static void getProcByNumber(ZRBPipeline& pipeline, ZRBPropertyInfo& info) {
    info.setProcResult(pipeline.getProc(Int::take(info)));
  }
  static void getProcByName(ZRBPipeline& pipeline, ZRBPropertyInfo& info) {
    info.setProcResult(pipeline.getProc(info.getStringArg()));
  }
  static void getBufByNumber(ZRBPipeline& pipeline, ZRBPropertyInfo& info) {
    info.setBufResult(pipeline.getBuf(Int::take(info)));
  }
  static void getBufByName(ZRBPipeline& pipeline, ZRBPropertyInfo& info) {
    info.setBufResult(pipeline.getBuf(info.getStringArg()));
  }

  static constexpr Property<ZRBPipeline> setTable[] = {
      {"execute", set<LongLong, &ZRBPipeline::execute>},    {"add.proc", set<Proc, &ZRBPipeline::addProc>},
      {"remove.proc", set<Proc, &ZRBPipeline::removeProc>}, {"add.buf", set<Buf, &ZRBPipeline::addBuf>},
      {"remove.buf", set<Buf, &ZRBPipeline::removeBuf>},
  };

  static constexpr Property<ZRBPipeline> getTable[] = {
      {"last.execution.count", get<LongLong, &ZRBPipeline::getLastExecutionCount>},
      {"total.execution.count", get<LongLong, &ZRBPipeline::getTotalExecutionCount>},
      {"any.proc.ready", get<Bool, &ZRBPipeline::getAnyProcReady>},
      {"get.proc.by.number", getProcByNumber},
      {"get.proc.by.name", getProcByName},
      {"get.num.procs", get<Long, &ZRBPipeline::getNumProcs>},
      {"get.buf.by.number", getBufByNumber},
      {"get.buf.by.name", getBufByName},
      {"get.num.bufs", get<Long, &ZRBPipeline::getNumBufs>},
  };
};

void ZRBPipeline::setProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::setTable, *this, *info)) ZRBObj::setProperty(info);
}

void ZRBPipeline::getProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::getTable, *this, *info)) ZRBObj::getProperty(info);
}
