// Owning handles over the library's factories.
//
//   auto buf = zrb::make<ZRBMemoryBuf>();
//   auto count = zrb::make<ZRBProcCount>();
//   auto own = zrb::make<MyNode>(argument);      // a class of the host's own: its constructor instead of a factory
//
// Order of destruction.  Destroy the nodes before the buffers they are connected to, and the pipeline whenever you like
// (it owns nothing): declare the buffers first, then the nodes.  The other way round is safe as well, since a buffer that
// goes away takes its ends away from their nodes, but such a node has lost its connection.  A converter outlives the
// objects that use it.
#pragma once

#include <memory>
#include <utility>

#include "zrb/error.h"
#include "zrbbase.h"

namespace zrb {

template <class T>
using Handle = std::unique_ptr<T>;

// The library's factory of a class.  The host's own classes have none.
template <class T>
struct Factory {
  static constexpr bool kExists = false;
};
template <void (*create)(void**)>
struct LibraryFactory {
  static constexpr bool kExists = true;
  static void* make() {
    void* object = nullptr;
    create(&object);
    return object;
  }
};
template <>
struct Factory<ZRBBackingFileBuf> : LibraryFactory<zrb_s_create_ZRBBackingFileBuf> {};
template <>
struct Factory<ZRBMemoryBuf> : LibraryFactory<zrb_s_create_ZRBMemoryBuf> {};
template <>
struct Factory<ZRBPipeline> : LibraryFactory<zrb_s_create_ZRBPipeline> {};
template <>
struct Factory<ZRBProcCount> : LibraryFactory<zrb_s_create_ZRBProcCount> {};
template <>
struct Factory<ZRBProcIdentity> : LibraryFactory<zrb_s_create_ZRBProcIdentity> {};
template <>
struct Factory<ZRBProcLm> : LibraryFactory<zrb_s_create_ZRBProcLm> {};
template <>
struct Factory<ZRBProcNullReader> : LibraryFactory<zrb_s_create_ZRBProcNullReader> {};
template <>
struct Factory<ZRBProcNullWriter> : LibraryFactory<zrb_s_create_ZRBProcNullWriter> {};
template <>
struct Factory<ZRBProcPrintf> : LibraryFactory<zrb_s_create_ZRBProcPrintf> {};
template <>
struct Factory<ZRBProcRandomReader> : LibraryFactory<zrb_s_create_ZRBProcRandomReader> {};

// std::bad_alloc when memory runs out.
template <class T, class... Arguments>
Handle<T> make(Arguments&&... arguments) {
  if constexpr (Factory<T>::kExists) {
    static_assert(sizeof...(Arguments) == 0, "the library's objects are configured by properties");
    return Handle<T>(static_cast<T*>(Factory<T>::make()));
  } else {
    return std::make_unique<T>(std::forward<Arguments>(arguments)...);
  }
}

}  // namespace zrb
