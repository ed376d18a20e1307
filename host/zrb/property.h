// The property protocol for hosts: typed arguments, typed results, and a clear failure for everything that does not fit.
//
//   zrb::set(buf, "num.columns", 3);
//   zrb::set(buf, "column.name", 0, "height");
//   double mean = zrb::get<double>(count, "col.mean", 2);
//   auto name = zrb::get<std::optional<std::string>>(buf, "name");
//   zrb::Property("column.level.name").with(0).with(2).with("red").set(*buf);       // the same, step by step
//
// Objects are given as reference, pointer or owning handle.  No call allocates, except for a std::string result or a
// failure.
//
// Arguments.  Any integer type for an integer argument, bool for a flag, const char* or std::string for text, a buffer or
// a node (reference, pointer or handle; also null).  A wrong or missing argument is noticed before the object changes
// anything; one too many is noticed after the property has been handled.
//
// Results.
//   long         the integer results of type long        long long    those, and the integer results of type long long
//   double       numbers                                 bool         flags
//   std::string  a copy of a text                        const char*  the library's own text: copy it before the next call
//   ZRBBuf*, ZRBProc*                                    std::optional of each of these
// "There is none" (a null text or pointer, or no result stored at all, as for "inbuf.list" of an input without a buffer)
// is null for a pointer and an empty optional; for any other type it is a ResultError.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>

#include "ZRBBuf.h"
#include "ZRBObj.h"
#include "ZRBProc.h"
#include "ZRBPropertyInfo.h"
#include "zrb/error.h"

namespace zrb {

template <class T>
concept IntegerArgument =
    std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char> && !std::same_as<T, wchar_t> &&
    !std::same_as<T, char8_t> && !std::same_as<T, char16_t> && !std::same_as<T, char32_t>;

// One property request.  It can be used again, also for other objects; texts and objects given to it are borrowed until
// the last use.
class Property {
public:
  // `name` is borrowed; it is compared byte for byte.
  explicit Property(const char* name) : m_name(name ? name : "") {
    for (std::size_t i = 0; i < m_requests.size(); ++i) m_requests[i].attach(*this, i);
  }
  Property(const Property&) = delete;
  Property& operator=(const Property&) = delete;

  // ---- Arguments, in the property's order ----
  template <IntegerArgument T>
  Property& with(T value) {
    if constexpr (std::is_unsigned_v<T> && sizeof(T) >= sizeof(long long))
      if (value > static_cast<T>(std::numeric_limits<long long>::max()))
        throw ArgumentError("property \"" + std::string(m_name) + "\": argument " + std::to_string(value) +
                            " does not fit into 64 bits with a sign");
    next().hold(static_cast<long long>(value));
    return *this;
  }
  Property& with(std::same_as<bool> auto value) {
    next().hold(value);
    return *this;
  }
  template <std::floating_point T>
  Property& with(T value) = delete;  // no property takes a floating-point number
  Property& with(const char* text) {
    next().hold(text);
    return *this;
  }
  Property& with(const std::string& text) {
    if (text.find('\0') != std::string::npos)
      throw ArgumentError("property \"" + std::string(m_name) + "\": a text argument holds a NUL");
    next().hold(text.c_str());
    return *this;
  }
  Property& with(std::nullptr_t) {
    next().holdNull();
    return *this;
  }
  Property& with(ZRBBuf* buf) {
    next().hold(buf);
    return *this;
  }
  Property& with(ZRBBuf& buf) { return with(&buf); }
  Property& with(ZRBProc* proc) {
    next().hold(proc);
    return *this;
  }
  Property& with(ZRBProc& proc) { return with(&proc); }
  template <class T>
  Property& with(const std::unique_ptr<T>& object) {
    return with(object.get());
  }

  // ---- The call ----
  void set(ZRBObj& object) {
    begin(object, "set");
    object.setProperty(&m_requests[0]);
    checkAllArgumentsUsed();
  }

  template <class Result>
  Result get(ZRBObj& object) {
    begin(object, "get");
    object.getProperty(&m_requests[0]);
    checkAllArgumentsUsed();
    return take(static_cast<Result*>(nullptr));
  }

private:
  static constexpr std::size_t kMaxArguments = 4;  // no property takes more than three

  enum class Kind { none, integer, flag, text, null, buf, proc };
  enum class ResultKind { none, isLong, isLongLong, isDouble, isBool, isText, isBuf, isProc };

  // What the library sees: the request itself with its first argument, or a follow-on request with a further one.  The
  // last of them never holds an argument and stands for all that are missing.
  class Request final : public ZRBPropertyInfo {
  public:
    void attach(Property& property, std::size_t position) {
      m_property = &property;
      m_position = position;
    }
    void hold(long long value) { m_kind = Kind::integer, m_integer = value; }
    void hold(bool value) { m_kind = Kind::flag, m_integer = value; }
    void hold(const char* text) { m_kind = text ? Kind::text : Kind::null, m_text = text; }
    void hold(ZRBBuf* buf) { m_kind = buf ? Kind::buf : Kind::null, m_buf = buf; }
    void hold(ZRBProc* proc) { m_kind = proc ? Kind::proc : Kind::null, m_proc = proc; }
    void holdNull() { m_kind = Kind::null; }

    bool isUnused() const { return m_kind != Kind::none && !m_used; }
    void forgetUse() { m_used = false; }

    std::string describe() const {
      switch (m_kind) {
        case Kind::none:
          return "none";
        case Kind::integer:
          return "the integer " + std::to_string(m_integer);
        case Kind::flag:
          return m_integer ? "the bool true" : "the bool false";
        case Kind::text:
          return "the text \"" + std::string(m_text) + "\"";
        case Kind::null:
          return "null";
        case Kind::buf:
          return "the buffer " + describeObject(*m_buf);
        case Kind::proc:
          return "the node " + describeObject(*m_proc);
      }
      return "";
    }

    void reserved0() override {}
    int isProperty(const char* name) override { return std::strcmp(name, m_property->m_name) == 0; }
    long getLongArg() override { return static_cast<long>(getLongLongArg()); }
    void setLongResult(long value) override {
      m_property->m_result_kind = ResultKind::isLong;
      m_property->m_integer = value;
    }
    long long getLongLongArg() override {
      expect(Kind::integer, "an integer");
      return m_integer;
    }
    void setLongLongResult(long long value) override {
      m_property->m_result_kind = ResultKind::isLongLong;
      m_property->m_integer = value;
    }
    void reserved6() override {}
    void setDoubleResult(double value) override {
      m_property->m_result_kind = ResultKind::isDouble;
      m_property->m_double = value;
    }
    int getBoolArg() override {
      expect(Kind::flag, "a bool");
      return m_integer != 0;
    }
    void setBoolResult(int value) override {
      m_property->m_result_kind = ResultKind::isBool;
      m_property->m_integer = value;
    }
    const char* getStringArg() override { return expectOrNull(Kind::text, "a text") ? m_text : nullptr; }
    void setStringResult(const char* text) override {
      m_property->m_result_kind = ResultKind::isText;
      m_property->m_text = text;
    }
    ZRBBuf* getBufArg() override { return expectOrNull(Kind::buf, "a buffer") ? m_buf : nullptr; }
    void setBufResult(ZRBBuf* buf) override {
      m_property->m_result_kind = ResultKind::isBuf;
      m_property->m_buf = buf;
    }
    ZRBProc* getProcArg() override { return expectOrNull(Kind::proc, "a node") ? m_proc : nullptr; }
    void setProcResult(ZRBProc* proc) override {
      m_property->m_result_kind = ResultKind::isProc;
      m_property->m_proc = proc;
    }
    ZRBPropertyInfo* getNextArg() override {
      auto& requests = m_property->m_requests;
      return &requests[m_position + 1 < requests.size() ? m_position + 1 : m_position];
    }
    void unknownProperty() override { throw UnknownProperty(m_property->where() + ": there is no such property"); }

  private:
    void expect(Kind kind, const char* expected) {
      if (m_kind != kind)
        throw ArgumentError(m_property->where() + ": argument " + std::to_string(m_position + 1) + " has to be " +
                            expected + ", found " + describe());
      m_used = true;
    }
    bool expectOrNull(Kind kind, const char* expected) {
      if (m_kind == Kind::null)
        m_used = true;
      else
        expect(kind, expected);
      return m_kind != Kind::null;
    }

    Property* m_property = nullptr;
    std::size_t m_position = 0;  // 0 is the first argument
    Kind m_kind = Kind::none;
    bool m_used = false;
    union {
      long long m_integer = 0;
      const char* m_text;
      ZRBBuf* m_buf;
      ZRBProc* m_proc;
    };
  };

  Request& next() {
    if (m_num_arguments == kMaxArguments)
      throw ArgumentError("property \"" + std::string(m_name) + "\": no property takes more than " +
                          std::to_string(kMaxArguments) + " arguments");
    return m_requests[m_num_arguments++];
  }

  void begin(ZRBObj& object, const char* direction) {
    m_object = &object;
    m_direction = direction;
    m_result_kind = ResultKind::none;
    for (std::size_t i = 0; i < m_num_arguments; ++i) m_requests[i].forgetUse();
  }

  // As in: ZRBProcCount "count": get "col.mean"
  std::string where() const { return describeObject(*m_object) + ": " + m_direction + " \"" + m_name + "\""; }

  void checkAllArgumentsUsed() const {
    for (std::size_t i = 0; i < m_num_arguments; ++i)
      if (m_requests[i].isUnused())
        throw ArgumentError(where() + ": argument " + std::to_string(i + 1) + " is one too many, found " +
                            m_requests[i].describe());
  }

  bool hasNoValue() const {
    switch (m_result_kind) {
      case ResultKind::none:
        return true;
      case ResultKind::isText:
        return !m_text;
      case ResultKind::isBuf:
        return !m_buf;
      case ResultKind::isProc:
        return !m_proc;
      default:
        return false;
    }
  }

  const char* foundResult() const {
    switch (m_result_kind) {
      case ResultKind::none:
        return "no result";
      case ResultKind::isLong:
        return "a long";
      case ResultKind::isLongLong:
        return "a long long";
      case ResultKind::isDouble:
        return "a double";
      case ResultKind::isBool:
        return "a bool";
      case ResultKind::isText:
        return m_text ? "a text" : "a null text";
      case ResultKind::isBuf:
        return m_buf ? "a buffer" : "a null buffer";
      case ResultKind::isProc:
        return m_proc ? "a node" : "a null node";
    }
    return "";
  }

  void expectResult(bool fits, const char* expected) const {
    if (!fits) throw ResultError(where() + ": asked for " + expected + ", found " + foundResult());
  }
  bool isNoneOr(ResultKind kind) const { return m_result_kind == ResultKind::none || m_result_kind == kind; }

  // One overload per result type; the pointer only chooses.
  long take(long*) const {
    expectResult(m_result_kind == ResultKind::isLong, "a long");
    return static_cast<long>(m_integer);
  }
  long long take(long long*) const {
    expectResult(m_result_kind == ResultKind::isLong || m_result_kind == ResultKind::isLongLong, "a long long");
    return m_integer;
  }
  double take(double*) const {
    expectResult(m_result_kind == ResultKind::isDouble, "a double");
    return m_double;
  }
  bool take(bool*) const {
    expectResult(m_result_kind == ResultKind::isBool, "a bool");
    return m_integer != 0;
  }
  const char* take(const char**) const {
    expectResult(isNoneOr(ResultKind::isText), "a text");
    return m_result_kind == ResultKind::isText ? m_text : nullptr;
  }
  std::string take(std::string*) const {
    expectResult(m_result_kind == ResultKind::isText && m_text, "a text");
    return m_text;
  }
  ZRBBuf* take(ZRBBuf**) const {
    expectResult(isNoneOr(ResultKind::isBuf), "a buffer");
    return m_result_kind == ResultKind::isBuf ? m_buf : nullptr;
  }
  ZRBProc* take(ZRBProc**) const {
    expectResult(isNoneOr(ResultKind::isProc), "a node");
    return m_result_kind == ResultKind::isProc ? m_proc : nullptr;
  }
  template <class Value>
  std::optional<Value> take(std::optional<Value>*) const {
    if (m_result_kind == ResultKind::none) return std::nullopt;
    if (hasNoValue()) {
      // A null of another type is still a result of another type.
      using Pointer = std::conditional_t<std::is_same_v<Value, std::string>, const char*, Value>;
      take(static_cast<Pointer*>(nullptr));
      return std::nullopt;
    }
    return take(static_cast<Value*>(nullptr));
  }

  const char* m_name;
  std::array<Request, kMaxArguments + 1> m_requests;
  std::size_t m_num_arguments = 0;
  ZRBObj* m_object = nullptr;
  const char* m_direction = "";
  ResultKind m_result_kind = ResultKind::none;
  union {
    long long m_integer = 0;
    double m_double;
    const char* m_text;
    ZRBBuf* m_buf;
    ZRBProc* m_proc;
  };
};

// The object behind a reference, a pointer or an owning handle.
inline ZRBObj& objectOf(ZRBObj& object) { return object; }
inline ZRBObj& objectOf(ZRBObj* object) {
  if (!object) throw Error("a property was asked of a null object");
  return *object;
}
template <class T>
ZRBObj& objectOf(const std::unique_ptr<T>& handle) {
  return objectOf(handle.get());
}

template <class Object, class... Arguments>
void set(Object&& object, const char* name, Arguments&&... arguments) {
  Property property(name);
  (property.with(arguments), ...);
  property.set(objectOf(object));
}

template <class Result, class Object, class... Arguments>
Result get(Object&& object, const char* name, Arguments&&... arguments) {
  Property property(name);
  (property.with(arguments), ...);
  return property.get<Result>(objectOf(object));
}

}  // namespace zrb
