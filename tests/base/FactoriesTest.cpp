// The functions that create objects, also when memory runs out.
#include <cstdlib>
#include <memory>
#include <new>
#include <typeinfo>

#include <gtest/gtest.h>

#include "zrbbase.h"

namespace {

long allocationsLeft = -1;  // how many allocations succeed before all fail; negative: no limit
long liveAllocations = 0;

}  // namespace

// Every allocation of this program and of the library passes here.
void* operator new(std::size_t size) {
  if (allocationsLeft == 0) throw std::bad_alloc();
  if (allocationsLeft > 0) --allocationsLeft;
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  ++liveAllocations;
  return memory;
}
void operator delete(void* memory) noexcept {
  if (memory != nullptr) --liveAllocations;
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }

namespace {

struct Factory {
  const char* className;
  void (*create)(void**);
  const std::type_info& type;
};
const Factory kFactories[] = {
    {"ZRBBackingFileBuf", zrb_s_create_ZRBBackingFileBuf, typeid(ZRBBackingFileBuf)},
    {"ZRBMemoryBuf", zrb_s_create_ZRBMemoryBuf, typeid(ZRBMemoryBuf)},
    {"ZRBPipeline", zrb_s_create_ZRBPipeline, typeid(ZRBPipeline)},
    {"ZRBProcCount", zrb_s_create_ZRBProcCount, typeid(ZRBProcCount)},
    {"ZRBProcIdentity", zrb_s_create_ZRBProcIdentity, typeid(ZRBProcIdentity)},
    {"ZRBProcLm", zrb_s_create_ZRBProcLm, typeid(ZRBProcLm)},
    {"ZRBProcNullReader", zrb_s_create_ZRBProcNullReader, typeid(ZRBProcNullReader)},
    {"ZRBProcNullWriter", zrb_s_create_ZRBProcNullWriter, typeid(ZRBProcNullWriter)},
    {"ZRBProcPrintf", zrb_s_create_ZRBProcPrintf, typeid(ZRBProcPrintf)},
    {"ZRBProcRandomReader", zrb_s_create_ZRBProcRandomReader, typeid(ZRBProcRandomReader)},
};

TEST(Factories, each_stores_a_new_object_of_the_class_in_its_name) {
  for (const Factory& factory : kFactories) {
    SCOPED_TRACE(factory.className);
    void* first = nullptr;
    void* second = nullptr;
    factory.create(&first);
    factory.create(&second);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    const std::unique_ptr<ZRBObj> firstOwner(static_cast<ZRBObj*>(first));
    const std::unique_ptr<ZRBObj> secondOwner(static_cast<ZRBObj*>(second));
    const ZRBObj& object = *firstOwner;
    EXPECT_EQ(typeid(object), factory.type);
    EXPECT_EQ(firstOwner->getName(), nullptr);
  }
}

TEST(Factories, a_new_node_is_uninitialized_and_any_other_new_object_has_no_message) {
  for (const Factory& factory : kFactories) {
    SCOPED_TRACE(factory.className);
    void* created = nullptr;
    factory.create(&created);
    const std::unique_ptr<ZRBObj> owner(static_cast<ZRBObj*>(created));
    if (dynamic_cast<ZRBProc*>(owner.get()) != nullptr) {
      EXPECT_STREQ(owner->getError(), "uninitialized");
      EXPECT_EQ(owner->getNumMessages(), 1);
    } else {
      EXPECT_EQ(owner->getError(), nullptr);
      EXPECT_EQ(owner->getNumMessages(), 0);
    }
  }
}

TEST(Factories, deleting_a_new_object_releases_all_that_its_creation_took) {
  for (const Factory& factory : kFactories) {
    const long liveBefore = liveAllocations;
    void* created = nullptr;
    factory.create(&created);
    const long liveMeanwhile = liveAllocations;
    delete static_cast<ZRBObj*>(created);
    EXPECT_GT(liveMeanwhile, liveBefore) << factory.className;
    EXPECT_EQ(liveAllocations, liveBefore) << factory.className;
  }
}

// Lets each allocation of a creation fail in turn, until there is memory for all of them.
TEST(Factories, without_memory_bad_alloc_passes_to_the_caller_the_result_is_untouched_and_nothing_leaks) {
  for (const Factory& factory : kFactories) {
    SCOPED_TRACE(factory.className);
    int untouched = 0;
    long failures = 0;
    for (bool created = false; !created; ++failures) {
      ASSERT_LT(failures, 1000) << "creation never succeeds";
      void* result = &untouched;
      bool badAlloc = false;
      const long liveBefore = liveAllocations;
      allocationsLeft = failures;
      try {
        factory.create(&result);
        created = true;
      } catch (const std::bad_alloc&) {
        badAlloc = true;
      }
      allocationsLeft = -1;
      if (created) {
        delete static_cast<ZRBObj*>(result);
      } else {
        EXPECT_TRUE(badAlloc);
        EXPECT_EQ(result, &untouched) << "allocation " << failures;
      }
      EXPECT_EQ(liveAllocations, liveBefore) << "allocation " << failures;
    }
    EXPECT_GE(failures, 2) << "at least the object itself was refused once";
  }
}

}  // namespace
