// Property calls are made per cell by some hosts: the normal case must not allocate.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "zrb/handle.h"
#include "zrb/property.h"

namespace {

long g_allocations = 0;

}  // namespace

// Not inlined: g++ would take the pair malloc and operator delete for a mistake.
[[gnu::noinline]] void* operator new(std::size_t size) {
  ++g_allocations;
  if (void* memory = std::malloc(size > 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

template <class Action>
long allocationsOf(Action action) {
  const long before = g_allocations;
  action();
  return g_allocations - before;
}

TEST(Property, allocations_are_counted_here) {
  // Called by name: a new expression whose object is unused may be left out by the compiler.
  EXPECT_EQ(allocationsOf([] { operator delete(operator new(sizeof(long))); }), 1);
}

TEST(Property, a_call_does_not_allocate) {
  auto buf = zrb::make<ZRBMemoryBuf>();
  auto count = zrb::make<ZRBProcCount>();
  zrb::set(buf, "num.columns", 1);
  zrb::set(buf, "column.level.name", 0, 0, "a");
  zrb::set(count, "inbuf", buf);
  EXPECT_EQ(allocationsOf([&] { zrb::set(buf, "num.rows", 5); }), 0);
  EXPECT_EQ(allocationsOf([&] { zrb::get<long>(buf, "num.rows"); }), 0);
  EXPECT_EQ(allocationsOf([&] { zrb::get<const char*>(buf, "column.level.name", 0, 0); }), 0);
  EXPECT_EQ(allocationsOf([&] { zrb::get<std::optional<long long>>(buf, "total.num.rows"); }), 0);
  EXPECT_EQ(allocationsOf([&] { zrb::get<ZRBBuf*>(count, "inbuf.list", 0); }), 0);
  EXPECT_EQ(allocationsOf([&] { zrb::get<double>(count, "col.mean", 0); }), 0);
}

}  // namespace
