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

// The library's factory of a class; null for the host's own classes.
template <class T>
inline constexpr void (*kFactory)(void**) = nullptr;
template <>
inline constexpr auto kFactory<ZRBMemoryBuf> = &zrb_s_create_ZRBMemoryBuf;
template <>
inline constexpr auto kFactory<ZRBPipeline> = &zrb_s_create_ZRBPipeline;
template <>
inline constexpr auto kFactory<ZRBProcCount> = &zrb_s_create_ZRBProcCount;
template <>
inline constexpr auto kFactory<ZRBProcNullReader> = &zrb_s_create_ZRBProcNullReader;
template <>
inline constexpr auto kFactory<ZRBProcNullWriter> = &zrb_s_create_ZRBProcNullWriter;
template <>
inline constexpr auto kFactory<ZRBProcRandomReader> = &zrb_s_create_ZRBProcRandomReader;

// std::bad_alloc when memory runs out.
template <class T, class... Arguments>
Handle<T> make(Arguments&&... arguments) {
  if constexpr (kFactory<T> != nullptr) {
    static_assert(sizeof...(Arguments) == 0, "the library's objects are configured by properties");
    void* object = nullptr;
    kFactory<T>(&object);
    return Handle<T>(static_cast<T*>(object));
  } else {
    return std::make_unique<T>(std::forward<Arguments>(arguments)...);
  }
}

}  // namespace zrb
