// Is an object of exactly this class, and not of one that a host derives?
#pragma once

#include <cstring>

// What the first word of an object with virtual operations points to.
template <class Object>
const void* virtualTable(const Object& object) {
  const void* table;
  std::memcpy(&table, static_cast<const void*>(&object), sizeof table);
  return table;
}

// By virtual table rather than by typeid: a host's class may be built without type information.  The arguments make a
// specimen of the class.
template <class Class, class... Arguments>
bool isExactly(const auto& object, Arguments... arguments) {
  static const void* const ours = virtualTable(Class(arguments...));
  return virtualTable(object) == ours;
}
