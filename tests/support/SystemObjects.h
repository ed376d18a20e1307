// Objects as a host has them: made by the factories, worked with through properties alone.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/PropertyCall.h"
#include "zrbbase.h"

template <class Class>
std::unique_ptr<Class> makeWith(void (*factory)(void**)) {
  void* made = nullptr;
  factory(&made);
  return std::unique_ptr<Class>(static_cast<Class*>(made));
}

inline std::unique_ptr<ZRBMemoryBuf> makeBuf() { return makeWith<ZRBMemoryBuf>(zrb_s_create_ZRBMemoryBuf); }
inline std::unique_ptr<ZRBPipeline> makePipeline() { return makeWith<ZRBPipeline>(zrb_s_create_ZRBPipeline); }
inline std::unique_ptr<ZRBProcCount> makeCount() { return makeWith<ZRBProcCount>(zrb_s_create_ZRBProcCount); }
inline std::unique_ptr<ZRBProcNullReader> makeNullReader() {
  return makeWith<ZRBProcNullReader>(zrb_s_create_ZRBProcNullReader);
}
inline std::unique_ptr<ZRBProcNullWriter> makeNullWriter() {
  return makeWith<ZRBProcNullWriter>(zrb_s_create_ZRBProcNullWriter);
}
inline std::unique_ptr<ZRBProcRandomReader> makeRandomReader() {
  return makeWith<ZRBProcRandomReader>(zrb_s_create_ZRBProcRandomReader);
}

// A property that no class knows fails the test by an exception: nothing of a typing mistake goes unnoticed.
template <class... Args>
void setProperty(ZRBObj& object, const char* name, Args... args) {
  PropertyCall call(name);
  (call.with(args), ...);
  call.set(object);
  if (call.unknown) throw std::logic_error(std::string("unknown property to set: ") + name);
}
template <class... Args>
PropertyCall getProperty(ZRBObj& object, const char* name, Args... args) {
  PropertyCall call(name);
  (call.with(args), ...);
  call.get(object);
  if (call.unknown) throw std::logic_error(std::string("unknown property to get: ") + name);
  return call;
}
template <class... Args>
long getLong(ZRBObj& object, const char* name, Args... args) {
  return getProperty(object, name, args...).longResult.value();
}
template <class... Args>
long long getLongLong(ZRBObj& object, const char* name, Args... args) {
  return getProperty(object, name, args...).longLongResult.value();
}
template <class... Args>
double getDouble(ZRBObj& object, const char* name, Args... args) {
  return getProperty(object, name, args...).doubleResult.value();
}
template <class... Args>
int getBool(ZRBObj& object, const char* name, Args... args) {
  return getProperty(object, name, args...).boolResult.value();
}
// "<null>" for a null text.
template <class... Args>
std::string getString(ZRBObj& object, const char* name, Args... args) {
  const char* text = getProperty(object, name, args...).stringResult.value();
  return text ? text : "<null>";
}

inline std::vector<std::string> messagesThroughProperties(ZRBObj& object) {
  std::vector<std::string> messages;
  for (long i = 0; i < getLong(object, "num.messages"); ++i) messages.push_back(getString(object, "message", i));
  return messages;
}

struct ColumnSpec {
  const char* name;
  const char* type;
};
inline void setColumnsThroughProperties(ZRBBuf& buf, const std::vector<ColumnSpec>& columns) {
  setProperty(buf, "num.columns", static_cast<long>(columns.size()));
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const long column = static_cast<long>(i);
    setProperty(buf, "column.name", column, columns[i].name);
    setProperty(buf, "column.type", column, columns[i].type);
  }
}

inline void connectOutput(ZRBProc& node, ZRBBuf& buf) { setProperty(node, "outbuf", &buf); }
inline void connectInput(ZRBProc& node, ZRBBuf& buf) { setProperty(node, "inbuf", &buf); }
inline void addToPipeline(ZRBPipeline& pipeline, ZRBBuf& buf) { setProperty(pipeline, "add.buf", &buf); }
inline void addToPipeline(ZRBPipeline& pipeline, ZRBProc& node) { setProperty(pipeline, "add.proc", &node); }
