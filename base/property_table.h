// The property protocol as data: one row per name, walked in order.
//
// A class keeps two constexpr tables (set and get) in its private `Properties`; what neither of its rows matches goes to
// its base class.
#pragma once

#include <cstddef>

#include "ZRBPropertyInfo.h"

template <class Object>
struct Property {
  const char* name;
  void (*apply)(Object&, ZRBPropertyInfo&);
};

// Applies the first row that matches; false: no row did, ask the base class.
template <class Object, std::size_t N>
bool applyProperty(const Property<Object> (&table)[N], Object& object, ZRBPropertyInfo& info) {
  for (const Property<Object>& property : table)
    if (info.isProperty(property.name)) {
      property.apply(object, info);
      return true;
    }
  return false;
}

namespace property {

// ---- Kinds of argument and result: which getter or setter of the request carries a value ----

struct Long {
  static long take(ZRBPropertyInfo& info) { return info.getLongArg(); }
  static void give(ZRBPropertyInfo& info, long value) { info.setLongResult(value); }
};
// An index or small number kept as int: the low 32 bits of a long.
struct Int {
  static int take(ZRBPropertyInfo& info) { return static_cast<int>(info.getLongArg()); }
};
struct LongLong {
  static long long take(ZRBPropertyInfo& info) { return info.getLongLongArg(); }
  static void give(ZRBPropertyInfo& info, long long value) { info.setLongLongResult(value); }
};
struct Double {
  static void give(ZRBPropertyInfo& info, double value) { info.setDoubleResult(value); }
};
struct Bool {
  static int take(ZRBPropertyInfo& info) { return info.getBoolArg(); }
  static void give(ZRBPropertyInfo& info, int value) { info.setBoolResult(value); }
};
struct String {
  static const char* take(ZRBPropertyInfo& info) { return info.getStringArg(); }
  static void give(ZRBPropertyInfo& info, const char* value) { info.setStringResult(value); }
};
struct Buf {
  static ZRBBuf* take(ZRBPropertyInfo& info) { return info.getBufArg(); }
  static void give(ZRBPropertyInfo& info, ZRBBuf* value) { info.setBufResult(value); }
};
struct Proc {
  static ZRBProc* take(ZRBPropertyInfo& info) { return info.getProcArg(); }
  static void give(ZRBPropertyInfo& info, ZRBProc* value) { info.setProcResult(value); }
};

// ---- Adapters: a member function as the action of a row ----
// Arguments are read one statement at a time: the first from the request, the second from its follow-on request.

// () : no argument is read.
template <auto Member, class Object>
void call(Object& object, ZRBPropertyInfo&) {
  (object.*Member)();
}

// (argument)
template <class Kind, auto Member, class Object>
void set(Object& object, ZRBPropertyInfo& info) {
  (object.*Member)(Kind::take(info));
}

// (first argument, second argument)
template <class First, class Second, auto Member, class Object>
void set2(Object& object, ZRBPropertyInfo& info) {
  const auto first = First::take(info);
  const auto second = Second::take(*info.getNextArg());
  (object.*Member)(first, second);
}

// () -> result
template <class Kind, auto Member, class Object>
void get(Object& object, ZRBPropertyInfo& info) {
  Kind::give(info, (object.*Member)());
}

// (argument) -> result
template <class Argument, class Kind, auto Member, class Object>
void getAt(Object& object, ZRBPropertyInfo& info) {
  const auto argument = Argument::take(info);
  Kind::give(info, (object.*Member)(argument));
}

// (first argument, second argument) -> result
template <class First, class Second, class Kind, auto Member, class Object>
void getAt2(Object& object, ZRBPropertyInfo& info) {
  const auto first = First::take(info);
  const auto second = Second::take(*info.getNextArg());
  Kind::give(info, (object.*Member)(first, second));
}

// Settings shared by all objects, as static functions.
template <class Kind, auto Function, class Object>
void setShared(Object&, ZRBPropertyInfo& info) {
  Function(Kind::take(info));
}
template <class Kind, auto Function, class Object>
void getShared(Object&, ZRBPropertyInfo& info) {
  Kind::give(info, Function());
}

}  // namespace property
