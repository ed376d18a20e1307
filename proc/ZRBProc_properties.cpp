// Which names does every node answer to?
#include "ZRBBuf.h"
#include "ZRBProc.h"
#include "base/property_table.h"

using namespace property;

namespace {

constexpr long kDataPasses = 1;  // every node makes a single pass over its data

template <auto SetBuf>
void setFirst(ZRBProc& proc, ZRBPropertyInfo& info) {
  (proc.*SetBuf)(0, info.getBufArg());
}

// No buffer there: no result is stored.
template <auto GetBuf>
void getListed(ZRBProc& proc, ZRBPropertyInfo& info) {
  if (ZRBBuf* buf = (proc.*GetBuf)(Int::take(info))) info.setBufResult(buf);
}

void getDataPassCount(ZRBProc&, ZRBPropertyInfo& info) { info.setLongResult(kDataPasses); }

// A number kept as int, answered as a long.
template <auto Get>
void getInt(ZRBProc& proc, ZRBPropertyInfo& info) {
  info.setLongResult((proc.*Get)());
}

}  // namespace

struct ZRBProc::Properties {
  static constexpr Property<ZRBProc> setTable[] = {
      {"num.rows", set<Long, &ZRBProc::setNumRows>},
      {"output.num.rows", set<Long, &ZRBProc::setOutputNumRows>},
      {"inbuf", setFirst<&ZRBProc::setInputBuf>},
      {"outbuf", setFirst<&ZRBProc::setOutputBuf>},
      {"inbuf.list", set2<Int, Buf, &ZRBProc::setInputBuf>},
      {"outbuf.list", set2<Int, Buf, &ZRBProc::setOutputBuf>},
      {"execute", call<&ZRBProc::execute>},
      {"rows.done", set<LongLong, &ZRBProc::setRowsDone>},
      {"execute.count", set<LongLong, &ZRBProc::setExecuteCount>},
      {"callback.val", set<Int, &ZRBProc::setCallbackVal>},
      {"callback.info", set<Int, &ZRBProc::setCallbackInfo>},
  };

  static constexpr Property<ZRBProc> getTable[] = {
      {"num.rows", get<Long, &ZRBProc::getNumRows>},
      {"output.num.rows", get<Long, &ZRBProc::getOutputNumRows>},
      {"num.inbufs", getInt<&ZRBProc::getNumInputs>},
      {"num.outbufs", getInt<&ZRBProc::getNumOutputs>},
      {"inbuf.list", getListed<&ZRBProc::getInputBuf>},
      {"outbuf.list", getListed<&ZRBProc::getOutputBuf>},
      {"done", get<Bool, &ZRBProc::isDone>},
      {"ready", get<Bool, &ZRBProc::isReady>},
      {"rows.done", get<LongLong, &ZRBProc::getRowsDone>},
      {"execute.count", get<LongLong, &ZRBProc::getExecuteCount>},
      {"data.pass.count", getDataPassCount},
      {"callback.val", getInt<&ZRBProc::getCallbackVal>},
      {"callback.info", getInt<&ZRBProc::getCallbackInfo>},
  };
};

void ZRBProc::setProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::setTable, *this, *info)) ZRBObj::setProperty(info);
}

void ZRBProc::getProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::getTable, *this, *info)) ZRBObj::getProperty(info);
}
