// What the host kit throws.  The library reports by messages: every failure below is found by the kit.
#pragma once

#include <cxxabi.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <typeinfo>

#include "ZRBObj.h"

namespace zrb {

// Root of the kit's exceptions; what() names the object, what was asked of it, and what was found.
class Error : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// No class of the object knows the property, or not for this direction (set or get).
class UnknownProperty : public Error {
public:
  using Error::Error;
};

// A property was given an argument of another type than it takes, too few arguments or too many.
class ArgumentError : public Error {
public:
  using Error::Error;
};

// A property has a result of another type than asked for, or none.
class ResultError : public Error {
public:
  using Error::Error;
};

// An object of the library has an error message; what() holds all its messages.
class ObjectError : public Error {
public:
  using Error::Error;
};

namespace detail {

// Whether the class of an object was compiled with type information: the word before its first slot points there (Itanium
// C++ ABI, 2.5.2).  A node from elsewhere may be compiled without.
inline bool hasTypeInformation(const ZRBObj& object) {
  const void* const* table;
  std::memcpy(&table, static_cast<const void*>(&object), sizeof table);
  return table[-1] != nullptr;
}

inline std::string className(const ZRBObj& object) {
  if (!hasTypeInformation(object)) return "an object";
  const char* mangled = typeid(object).name();
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> readable(abi::__cxa_demangle(mangled, nullptr, nullptr, &status),
                                                        std::free);
  return status == 0 && readable ? readable.get() : mangled;
}

}  // namespace detail

// The class of an object and its name, as in: ZRBProcCount "count".
inline std::string describeObject(ZRBObj& object) {
  std::string text = detail::className(object);
  if (const char* name = object.getName()) text.append(" \"").append(name).append("\"");
  return text;
}

}  // namespace zrb
