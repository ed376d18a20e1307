// Looks at classes and objects as the compiler laid them out (Itanium C++ ABI on x86-64).
#pragma once

#include <cstddef>
#include <cstring>

// Slot of a virtual method: the pointer to member holds 1 + its byte offset in the vtable.
template <class Method>
std::size_t slotOf(Method method) {
  std::ptrdiff_t word[2];
  static_assert(sizeof method == sizeof word);
  std::memcpy(word, &method, sizeof word);
  return static_cast<std::size_t>(word[0] - 1) / sizeof(void*);
}

// The value that an object holds at a byte offset.
template <class Value>
Value valueAt(const void* object, std::size_t offset) {
  Value value;
  std::memcpy(&value, static_cast<const char*>(object) + offset, sizeof value);
  return value;
}

// A growable array as it stands in an object: three pointers.
template <class Element>
struct ArrayInObject {
  const Element* begin;
  const Element* end;
  const Element* endOfRoom;

  std::size_t size() const { return static_cast<std::size_t>(end - begin); }
  std::size_t room() const { return static_cast<std::size_t>(endOfRoom - begin); }
  const Element& operator[](std::size_t i) const { return begin[i]; }
};
template <class Element>
ArrayInObject<Element> arrayAt(const void* object, std::size_t offset) {
  return valueAt<ArrayInObject<Element>>(object, offset);
}
