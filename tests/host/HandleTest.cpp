#include <gtest/gtest.h>

#include "zrb/handle.h"
#include "zrb/property.h"

namespace {

class CountsItsDestruction : public ZRBProc {
public:
  explicit CountsItsDestruction(int& count) : m_count(count) {}
  ~CountsItsDestruction() override { ++m_count; }

private:
  int& m_count;
};

TEST(Handle, make_creates_every_class_of_the_library_through_its_factory) {
  static_assert(zrb::Factory<ZRBBackingFileBuf>::kExists && zrb::Factory<ZRBMemoryBuf>::kExists &&
                zrb::Factory<ZRBPipeline>::kExists && zrb::Factory<ZRBProcCount>::kExists &&
                zrb::Factory<ZRBProcIdentity>::kExists && zrb::Factory<ZRBProcLm>::kExists &&
                zrb::Factory<ZRBProcNullReader>::kExists && zrb::Factory<ZRBProcNullWriter>::kExists &&
                zrb::Factory<ZRBProcPrintf>::kExists && zrb::Factory<ZRBProcRandomReader>::kExists);
  EXPECT_TRUE(zrb::get<bool>(zrb::make<ZRBBackingFileBuf>(), "is.backing.file.buf"));
  EXPECT_EQ(zrb::get<long>(zrb::make<ZRBProcIdentity>(), "num.to.print"), 2);
  EXPECT_EQ(zrb::get<long>(zrb::make<ZRBProcLm>(), "num.results"), 0);
  EXPECT_EQ(zrb::get<long>(zrb::make<ZRBProcPrintf>(), "num.to.print"), 2);
  EXPECT_TRUE(zrb::get<bool>(zrb::make<ZRBMemoryBuf>(), "is.memory.buf"));
  EXPECT_EQ(zrb::get<long>(zrb::make<ZRBPipeline>(), "get.num.procs"), 0);
  EXPECT_EQ(zrb::get<long>(zrb::make<ZRBProcCount>(), "cross.size"), 0);
  EXPECT_EQ(zrb::get<long>(zrb::make<ZRBProcRandomReader>(), "seed"), 1);
  EXPECT_FALSE(zrb::get<bool>(zrb::make<ZRBProcNullReader>(), "done"));
  EXPECT_FALSE(zrb::get<bool>(zrb::make<ZRBProcNullWriter>(), "done"));
}

TEST(Handle, make_creates_the_hosts_own_classes_with_their_arguments) {
  int destroyed = 0;
  {
    const auto node = zrb::make<CountsItsDestruction>(destroyed);
    EXPECT_EQ(destroyed, 0);
  }
  EXPECT_EQ(destroyed, 1);
}

TEST(Handle, a_handle_of_the_base_class_destroys_the_whole_object) {
  int destroyed = 0;
  { const zrb::Handle<ZRBObj> object = zrb::make<CountsItsDestruction>(destroyed); }
  EXPECT_EQ(destroyed, 1);
}

TEST(Handle, nodes_go_before_their_buffers) {
  auto buf = zrb::make<ZRBMemoryBuf>();
  {
    auto count = zrb::make<ZRBProcCount>();
    zrb::set(count, "inbuf", buf);
    EXPECT_EQ(zrb::get<long>(buf, "num.readers"), 1);
  }
  EXPECT_EQ(zrb::get<long>(buf, "num.readers"), 0);
}

TEST(Handle, a_buffer_that_goes_first_leaves_its_nodes_unconnected) {
  auto count = zrb::make<ZRBProcCount>();
  {
    auto buf = zrb::make<ZRBMemoryBuf>();
    zrb::set(count, "inbuf", buf);
  }
  EXPECT_EQ(zrb::get<ZRBBuf*>(count, "inbuf.list", 0), nullptr);
}

}  // namespace
