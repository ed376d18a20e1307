// Lists of objects that are named by their number.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

// Null outside the list.
template <class Object>
Object* entryOf(const std::vector<Object*>& list, int index) {
  if (index < 0 || static_cast<std::size_t>(index) >= list.size()) return nullptr;
  return list[static_cast<std::size_t>(index)];
}

// Takes out every entry for an object.
template <class Object>
void removeEntries(std::vector<Object*>& list, Object* object) {
  list.erase(std::remove(list.begin(), list.end(), object), list.end());
}
