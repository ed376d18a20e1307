#include <gtest/gtest.h>

#include <string>

#include "zrb/zrb.h"

ZRBProc* newNodeWithoutTypeInformation(int done);  // no_type_information.cpp

namespace {

template <class Failure, class Action>
std::string textOf(Action action) {
  try {
    action();
  } catch (const Failure& failure) {
    return failure.what();
  }
  return "nothing was thrown";
}

// reader -> rows -> count
struct Flow {
  zrb::Handle<ZRBMemoryBuf> buf = zrb::make<ZRBMemoryBuf>();
  zrb::Handle<ZRBProcRandomReader> reader = zrb::make<ZRBProcRandomReader>();
  zrb::Handle<ZRBProcCount> count = zrb::make<ZRBProcCount>();
  zrb::Handle<ZRBPipeline> pipeline = zrb::make<ZRBPipeline>();

  Flow() {
    zrb::set(buf, "name", "rows");
    zrb::set(buf, "num.columns", 1);
    zrb::set(reader, "name", "reader");
    zrb::set(reader, "total.rows", 2500);
    zrb::set(reader, "outbuf", buf);
    zrb::set(count, "name", "count");
    zrb::set(count, "inbuf", buf);
    zrb::set(pipeline, "add.buf", buf);
    zrb::set(pipeline, "add.proc", reader);
    zrb::set(pipeline, "add.proc", count);
  }
};

TEST(Visit, the_buffers_and_the_nodes_of_a_pipeline_come_in_the_order_they_were_added) {
  Flow flow;
  std::string seen;
  const auto note = [&](ZRBObj& object) { seen += zrb::get<std::string>(object, "name") + " "; };
  zrb::forEachBuf(*flow.pipeline, note);
  EXPECT_EQ(seen, "rows ");
  zrb::forEachNode(*flow.pipeline, note);
  EXPECT_EQ(seen, "rows reader count ");
}

TEST(Check, an_object_without_an_error_passes_whatever_other_messages_it_has) {
  auto buf = zrb::make<ZRBMemoryBuf>();
  zrb::set(buf, "warning", "strange");
  EXPECT_NO_THROW(zrb::check(*buf));
}

TEST(Check, an_object_with_an_error_throws_all_its_messages_oldest_first) {
  auto buf = zrb::make<ZRBMemoryBuf>();
  zrb::set(buf, "name", "rows");
  zrb::set(buf, "warning", "strange");
  zrb::set(buf, "error", "broken");
  zrb::set(buf, "error", "more broken");
  EXPECT_EQ(textOf<zrb::ObjectError>([&] { zrb::check(*buf); }),
            "ZRBMemoryBuf \"rows\": warning: strange; error: broken; error: more broken");
}

TEST(Check, a_node_that_was_never_initialised_has_an_error) {
  EXPECT_EQ(textOf<zrb::ObjectError>([] { zrb::check(*zrb::make<ZRBProcCount>()); }),
            "ZRBProcCount: error: uninitialized");
}

TEST(Run, a_pipeline_runs_to_its_end_as_often_as_wanted) {
  Flow flow;
  for (int i = 0; i < 2; ++i) {
    zrb::run(*flow.pipeline);
    EXPECT_EQ(zrb::get<long long>(flow.count, "rows.done"), 2500);
    EXPECT_TRUE(zrb::get<bool>(flow.count, "done"));
  }
}

TEST(Run, an_error_of_a_buffer_ends_the_run_before_it_begins) {
  Flow flow;
  zrb::set(flow.reader, "outbuf", nullptr);
  EXPECT_EQ(textOf<zrb::ObjectError>([&] { zrb::run(*flow.pipeline); }), "ZRBMemoryBuf \"rows\": error: no writer");
  EXPECT_EQ(zrb::get<long long>(flow.pipeline, "total.execution.count"), 0);
}

TEST(Run, an_error_of_a_node_ends_the_run_before_it_begins) {
  Flow flow;
  zrb::set(flow.count, "cross.size", 1);
  zrb::set(flow.count, "cross.column", 0, 5);
  EXPECT_EQ(textOf<zrb::ObjectError>([&] { zrb::run(*flow.pipeline); }),
            "ZRBProcCount \"count\": error: bad cross column number: 5");
  EXPECT_EQ(zrb::get<long long>(flow.pipeline, "total.execution.count"), 0);
}

TEST(Run, an_error_that_a_node_gets_while_it_runs_is_thrown) {
  Flow flow;
  zrb::set(flow.count, "cross.size", 1);  // column 0 is no factor, which the node finds with the first chunk
  EXPECT_EQ(textOf<zrb::ObjectError>([&] { zrb::run(*flow.pipeline); }),
            "ZRBProcCount \"count\": error: bad cross: column not a factor: 0");
}

TEST(Run, a_pipeline_that_comes_to_rest_before_its_end_is_a_failure) {
  Flow flow;
  zrb::set(flow.reader, "total.rows", 3001);  // one more than the ring holds
  zrb::set(flow.pipeline, "remove.proc", flow.count);
  EXPECT_EQ(textOf<zrb::Error>([&] { zrb::run(*flow.pipeline); }),
            "ZRBProcRandomReader \"reader\" is not done, and waits for rows or for room that nobody provides");
}

TEST(Run, an_empty_pipeline_is_at_its_end) { EXPECT_NO_THROW(zrb::run(*zrb::make<ZRBPipeline>())); }

TEST(Run, a_node_without_type_information_is_run_as_any_other) {
  Flow flow;
  const zrb::Handle<ZRBProc> done(newNodeWithoutTypeInformation(1));
  zrb::set(flow.pipeline, "add.proc", done.get());
  zrb::run(*flow.pipeline);
  EXPECT_EQ(zrb::get<long long>(flow.count, "rows.done"), 2500);

  const zrb::Handle<ZRBProc> waiting(newNodeWithoutTypeInformation(0));
  zrb::set(waiting.get(), "error", "refuses");
  zrb::set(waiting.get(), "name", "mute");
  EXPECT_EQ(textOf<zrb::ObjectError>([&] { zrb::check(*waiting); }), "an object \"mute\": error: refuses");
}

}  // namespace
