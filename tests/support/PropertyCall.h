// A property request for tests: carries typed arguments, keeps the result, and records every question asked of it.
#pragma once

#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ZRBObj.h"
#include "ZRBPropertyInfo.h"

class PropertyCall final : public ZRBPropertyInfo {
public:
  // An empty name matches nothing: the request then sees every name of the chain (see `asked`).
  explicit PropertyCall(std::string name) : m_name(std::move(name)) {}

  // ---- Arguments: the first call fills this request, the next its follow-on request, and so on ----
  PropertyCall& with(long value) {
    return last([&](PropertyCall& at) { at.m_number = value; });
  }
  PropertyCall& with(int value) { return with(static_cast<long>(value)); }
  PropertyCall& with(long long value) { return with(static_cast<long>(value)); }
  PropertyCall& with(const char* value) {
    return last([&](PropertyCall& at) { at.m_text = value; });
  }
  PropertyCall& with(ZRBBuf* value) {
    return last([&](PropertyCall& at) { at.m_buf = value; });
  }
  PropertyCall& with(ZRBProc* value) {
    return last([&](PropertyCall& at) { at.m_proc = value; });
  }

  PropertyCall& set(ZRBObj& object) {
    object.setProperty(this);
    return *this;
  }
  PropertyCall& get(ZRBObj& object) {
    object.getProperty(this);
    return *this;
  }

  int matchAnswer = 1;  // what isProperty answers to the request's own name

  // ---- What happened ----
  std::vector<std::string> asked;  // every name the chain tested, in order
  std::vector<std::string> calls;  // every other operation, in order: "getLongArg", "setStringResult", ...
  int unknown = 0;                 // calls of unknownProperty()

  // ---- Results: set only by the setter of that type ----
  std::optional<long> longResult;
  std::optional<long long> longLongResult;
  std::optional<double> doubleResult;
  std::optional<int> boolResult;
  std::optional<const char*> stringResult;
  std::optional<ZRBBuf*> bufResult;
  std::optional<ZRBProc*> procResult;

  // The follow-on request (for what was called on it); null when there is none.
  PropertyCall* next() { return m_next.get(); }

  // ---- ZRBPropertyInfo ----
  void reserved0() override { note("reserved0"); }
  int isProperty(const char* name) override {
    asked.emplace_back(name);
    return !m_name.empty() && m_name == name ? matchAnswer : 0;
  }
  long getLongArg() override { return note("getLongArg"), m_number; }
  void setLongResult(long value) override { note("setLongResult"), longResult = value; }
  long long getLongLongArg() override { return note("getLongLongArg"), m_number; }
  void setLongLongResult(long long value) override { note("setLongLongResult"), longLongResult = value; }
  void reserved6() override { note("reserved6"); }
  void setDoubleResult(double value) override { note("setDoubleResult"), doubleResult = value; }
  int getBoolArg() override { return note("getBoolArg"), static_cast<int>(m_number); }
  void setBoolResult(int value) override { note("setBoolResult"), boolResult = value; }
  const char* getStringArg() override { return note("getStringArg"), m_text; }
  void setStringResult(const char* text) override { note("setStringResult"), stringResult = text; }
  ZRBBuf* getBufArg() override { return note("getBufArg"), m_buf; }
  void setBufResult(ZRBBuf* buf) override { note("setBufResult"), bufResult = buf; }
  ZRBProc* getProcArg() override { return note("getProcArg"), m_proc; }
  void setProcResult(ZRBProc* proc) override { note("setProcResult"), procResult = proc; }
  ZRBPropertyInfo* getNextArg() override {
    note("getNextArg");
    if (!m_next) m_next = std::make_unique<PropertyCall>("");
    return m_next.get();
  }
  void unknownProperty() override { ++unknown; }

private:
  template <class Fill>
  PropertyCall& last(Fill fill) {
    PropertyCall* at = this;
    while (at->m_filled) {
      if (!at->m_next) at->m_next = std::make_unique<PropertyCall>("");
      at = at->m_next.get();
    }
    fill(*at);
    at->m_filled = true;
    return *this;
  }
  void note(const char* call) { calls.emplace_back(call); }

  std::string m_name;
  bool m_filled = false;
  long m_number = 0;
  const char* m_text = nullptr;
  ZRBBuf* m_buf = nullptr;
  ZRBProc* m_proc = nullptr;
  std::unique_ptr<PropertyCall> m_next;
};

// Every name that `object` tests for a set or a get, in order; the probe matches none of them.
inline std::vector<std::string> namesOfSet(ZRBObj& object) { return PropertyCall("").set(object).asked; }
inline std::vector<std::string> namesOfGet(ZRBObj& object) { return PropertyCall("").get(object).asked; }
