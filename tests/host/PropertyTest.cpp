#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>

#include "zrb/handle.h"
#include "zrb/property.h"

namespace {

// The text of the exception of type `Failure` that `action` throws.
template <class Failure, class Action>
std::string textOf(Action action) {
  try {
    action();
  } catch (const Failure& failure) {
    return failure.what();
  }
  return "nothing was thrown";
}

zrb::Handle<ZRBMemoryBuf> namedBuf() {
  auto buf = zrb::make<ZRBMemoryBuf>();
  zrb::set(buf, "name", "rows");
  zrb::set(buf, "num.columns", 2);
  return buf;
}

// An object with properties of its own, for what no property of the library does.
class Odd : public ZRBObj {
public:
  void getProperty(ZRBPropertyInfo* info) override {
    if (info->isProperty("none")) return;
    if (info->isProperty("null.node")) return info->setProcResult(nullptr);
    if (info->isProperty("double")) return info->setDoubleResult(1.5);
    ZRBObj::getProperty(info);
  }
  void setProperty(ZRBPropertyInfo* info) override {
    if (info->isProperty("five")) {
      for (int i = 0; i < 4; ++i) {
        info->getLongArg();
        info = info->getNextArg();
      }
      info->getLongArg();
      return;
    }
    ZRBObj::setProperty(info);
  }
};

TEST(Property, arguments_and_results_of_every_kind_reach_the_object_and_come_back) {
  auto buf = namedBuf();
  auto node = zrb::make<ZRBProcRandomReader>();
  auto pipeline = zrb::make<ZRBPipeline>();

  zrb::set(buf, "num.rows", 77);
  EXPECT_EQ(zrb::get<long>(buf, "num.rows"), 77);
  zrb::set(buf, "column.name", 1, "height");
  EXPECT_EQ(zrb::get<std::string>(buf, "column.name", 1), "height");
  EXPECT_STREQ(zrb::get<const char*>(buf, "column.name", 1), "height");
  zrb::set(buf, "column.level.name", 0, 2, "red");
  EXPECT_EQ(zrb::get<std::string>(buf, "column.level.name", 0, 2), "red");
  zrb::set(node, "total.rows", 5'000'000'000LL);
  EXPECT_EQ(zrb::get<long long>(node, "total.rows"), 5'000'000'000LL);
  EXPECT_FALSE(zrb::get<bool>(node, "done"));
  EXPECT_EQ(zrb::get<double>(buf, "map.level.to.double", 0, "red"), 2.0);

  zrb::set(node, "outbuf.list", 0, buf);
  EXPECT_EQ(zrb::get<ZRBBuf*>(node, "outbuf.list", 0), buf.get());
  zrb::set(pipeline, "add.proc", node);
  EXPECT_EQ(zrb::get<ZRBProc*>(pipeline, "get.proc.by.number", 0), node.get());
}

TEST(Property, an_object_is_given_as_reference_pointer_or_handle) {
  auto buf = namedBuf();
  zrb::set(buf, "num.rows", 1);
  EXPECT_EQ(zrb::get<long>(*buf, "num.rows"), 1);
  zrb::set(*buf, "num.rows", 2);
  EXPECT_EQ(zrb::get<long>(buf.get(), "num.rows"), 2);
  auto node = zrb::make<ZRBProcNullWriter>();
  zrb::set(node, "inbuf", *buf);
  zrb::set(node, "inbuf", buf.get());
  EXPECT_EQ(zrb::get<long>(buf, "num.readers"), 1);
  ZRBObj* none = nullptr;
  EXPECT_EQ(textOf<zrb::Error>([&] { zrb::get<long>(none, "num.rows"); }), "a property was asked of a null object");
}

TEST(Property, integers_of_every_width_are_widened) {
  auto buf = namedBuf();
  zrb::set(buf, "num.rows", static_cast<short>(5));
  EXPECT_EQ(zrb::get<long>(buf, "num.rows"), 5);
  zrb::set(buf, "num.rows", 6u);
  EXPECT_EQ(zrb::get<long>(buf, "num.rows"), 6);
  zrb::set(buf, "num.rows", std::size_t{7});
  EXPECT_EQ(zrb::get<long>(buf, "num.rows"), 7);
  auto node = zrb::make<ZRBProcRandomReader>();
  zrb::set(node, "total.rows", 8);
  EXPECT_EQ(zrb::get<long long>(node, "total.rows"), 8);
}

TEST(Property, an_unsigned_number_beyond_64_bits_with_a_sign_is_refused) {
  auto buf = namedBuf();
  EXPECT_EQ(textOf<zrb::ArgumentError>([&] { zrb::set(buf, "num.rows", std::numeric_limits<std::size_t>::max()); }),
            "property \"num.rows\": argument 18446744073709551615 does not fit into 64 bits with a sign");
}

TEST(Property, a_long_result_is_widened_but_a_long_long_result_is_not_narrowed) {
  auto buf = namedBuf();
  EXPECT_EQ(zrb::get<long long>(buf, "num.rows"), 3000);
  EXPECT_EQ(textOf<zrb::ResultError>([&] { zrb::get<long>(buf, "total.num.rows"); }),
            "ZRBMemoryBuf \"rows\": get \"total.num.rows\": asked for a long, found a long long");
}

TEST(Property, an_unknown_property_names_the_object_the_direction_and_the_property) {
  auto buf = namedBuf();
  EXPECT_EQ(textOf<zrb::UnknownProperty>([&] { zrb::set(buf, "num.row", 3); }),
            "ZRBMemoryBuf \"rows\": set \"num.row\": there is no such property");
  // Known for the other direction only.
  EXPECT_EQ(textOf<zrb::UnknownProperty>([&] { zrb::get<long>(buf, "init"); }),
            "ZRBMemoryBuf \"rows\": get \"init\": there is no such property");
  EXPECT_EQ(textOf<zrb::UnknownProperty>([&] { zrb::set(zrb::make<ZRBProcCount>(), "col.mean", 1); }),
            "ZRBProcCount: set \"col.mean\": there is no such property");
}

TEST(Property, names_are_compared_exactly) {
  auto buf = namedBuf();
  for (const char* name : {"NUM.ROWS", "num.rows ", "num.row", "num.rowss", ""})
    EXPECT_THROW(zrb::get<long>(buf, name), zrb::UnknownProperty) << name;
  EXPECT_THROW(zrb::get<long>(buf, static_cast<const char*>(nullptr)), zrb::UnknownProperty);
}

TEST(Property, an_argument_of_another_type_is_refused_and_nothing_is_changed) {
  auto buf = namedBuf();
  auto node = zrb::make<ZRBProcCount>();
  zrb::set(node, "name", "n");
  EXPECT_EQ(textOf<zrb::ArgumentError>([&] { zrb::set(buf, "num.rows", "many"); }),
            "ZRBMemoryBuf \"rows\": set \"num.rows\": argument 1 has to be an integer, found the text \"many\"");
  EXPECT_EQ(zrb::get<long>(buf, "num.rows"), 3000);
  EXPECT_EQ(textOf<zrb::ArgumentError>([&] { zrb::set(buf, "column.name", 0, 7); }),
            "ZRBMemoryBuf \"rows\": set \"column.name\": argument 2 has to be a text, found the integer 7");
  EXPECT_EQ(zrb::get<const char*>(buf, "column.name", 0), nullptr);
  EXPECT_EQ(textOf<zrb::ArgumentError>([&] { zrb::set(node, "inbuf", node); }),
            "ZRBProcCount \"n\": set \"inbuf\": argument 1 has to be a buffer, found the node ZRBProcCount \"n\"");
  EXPECT_EQ(textOf<zrb::ArgumentError>([&] { zrb::set(zrb::make<ZRBPipeline>(), "add.proc", buf); }),
            "ZRBPipeline: set \"add.proc\": argument 1 has to be a node, found the buffer ZRBMemoryBuf \"rows\"");
  EXPECT_EQ(textOf<zrb::ArgumentError>([&] { zrb::set(buf, "num.rows", nullptr); }),
            "ZRBMemoryBuf \"rows\": set \"num.rows\": argument 1 has to be an integer, found null");
}

TEST(Property, a_flag_is_no_integer_and_an_integer_no_flag) {
  auto buf = namedBuf();
  EXPECT_EQ(textOf<zrb::ArgumentError>([&] { zrb::set(buf, "error.on.level.overflow", 1); }),
            "ZRBMemoryBuf \"rows\": set \"error.on.level.overflow\": argument 1 has to be a bool, found the integer 1");
  EXPECT_EQ(textOf<zrb::ArgumentError>([&] { zrb::set(buf, "num.rows", true); }),
            "ZRBMemoryBuf \"rows\": set \"num.rows\": argument 1 has to be an integer, found the bool true");
  zrb::set(buf, "error.on.level.overflow", true);
  EXPECT_TRUE(zrb::get<bool>(buf, "error.on.level.overflow"));
  zrb::set(buf, "error.on.level.overflow", false);
  EXPECT_FALSE(zrb::get<bool>(buf, "error.on.level.overflow"));
}

TEST(Property, a_missing_argument_is_refused_and_nothing_is_changed) {
  auto buf = namedBuf();
  zrb::set(buf, "column.name", 0, "x");
  EXPECT_EQ(textOf<zrb::ArgumentError>([&] { zrb::set(buf, "num.rows"); }),
            "ZRBMemoryBuf \"rows\": set \"num.rows\": argument 1 has to be an integer, found none");
  EXPECT_EQ(textOf<zrb::ArgumentError>([&] { zrb::set(buf, "column.name", 0); }),
            "ZRBMemoryBuf \"rows\": set \"column.name\": argument 2 has to be a text, found none");
  EXPECT_EQ(textOf<zrb::ArgumentError>([&] { zrb::set(buf, "column.level.name", 0, 1); }),
            "ZRBMemoryBuf \"rows\": set \"column.level.name\": argument 3 has to be a text, found none");
  EXPECT_EQ(zrb::get<std::string>(buf, "column.name", 0), "x");
  EXPECT_EQ(zrb::get<long>(buf, "column.num.levels", 0), 0);
}

TEST(Property, an_argument_too_many_is_a_failure) {
  auto buf = namedBuf();
  EXPECT_EQ(textOf<zrb::ArgumentError>([&] { zrb::set(buf, "num.rows", 5, 6); }),
            "ZRBMemoryBuf \"rows\": set \"num.rows\": argument 2 is one too many, found the integer 6");
  EXPECT_EQ(textOf<zrb::ArgumentError>([&] { zrb::get<long>(buf, "num.rows", "x"); }),
            "ZRBMemoryBuf \"rows\": get \"num.rows\": argument 1 is one too many, found the text \"x\"");
  EXPECT_EQ(textOf<zrb::ArgumentError>([&] { zrb::set(buf, "num.rows", 1, 2, 3, 4, 5); }),
            "property \"num.rows\": no property takes more than 4 arguments");
}

TEST(Property, a_property_that_wants_more_arguments_than_a_request_holds_finds_none) {
  Odd odd;
  EXPECT_EQ(textOf<zrb::ArgumentError>([&] { zrb::set(odd, "five", 1, 2, 3, 4); }),
            "(anonymous namespace)::Odd: set \"five\": argument 5 has to be an integer, found none");
}

TEST(Property, a_result_of_another_type_is_a_failure_that_names_both) {
  auto count = zrb::make<ZRBProcCount>();
  zrb::set(count, "name", "c");
  const std::string asked = "ZRBProcCount \"c\": get \"";
  EXPECT_EQ(textOf<zrb::ResultError>([&] { zrb::get<long>(count, "col.mean", 0); }),
            asked + "col.mean\": asked for a long, found a double");
  EXPECT_EQ(textOf<zrb::ResultError>([&] { zrb::get<double>(count, "cross.size"); }),
            asked + "cross.size\": asked for a double, found a long");
  EXPECT_EQ(textOf<zrb::ResultError>([&] { zrb::get<std::string>(count, "done"); }),
            asked + "done\": asked for a text, found a bool");
  EXPECT_EQ(textOf<zrb::ResultError>([&] { zrb::get<bool>(count, "name"); }),
            asked + "name\": asked for a bool, found a text");
  EXPECT_EQ(textOf<zrb::ResultError>([&] { zrb::get<std::optional<double>>(count, "rows.done"); }),
            asked + "rows.done\": asked for a double, found a long long");
  auto buf = namedBuf();
  zrb::set(count, "inbuf", buf);
  EXPECT_EQ(textOf<zrb::ResultError>([&] { zrb::get<ZRBProc*>(count, "inbuf.list", 0); }),
            asked + "inbuf.list\": asked for a node, found a buffer");
  EXPECT_EQ(textOf<zrb::ResultError>([&] { zrb::get<const char*>(count, "inbuf.list", 0); }),
            asked + "inbuf.list\": asked for a text, found a buffer");
}

TEST(Property, no_result_is_null_or_an_empty_optional_and_else_a_failure) {
  auto count = zrb::make<ZRBProcCount>();
  // "inbuf.list" of an input without a buffer stores no result.
  EXPECT_EQ(zrb::get<ZRBBuf*>(count, "inbuf.list", 3), nullptr);
  EXPECT_EQ(zrb::get<std::optional<ZRBBuf*>>(count, "inbuf.list", 3), std::nullopt);
  Odd odd;
  EXPECT_EQ(zrb::get<std::optional<long>>(odd, "none"), std::nullopt);
  EXPECT_EQ(zrb::get<ZRBProc*>(odd, "none"), nullptr);
  EXPECT_EQ(zrb::get<const char*>(odd, "none"), nullptr);
  EXPECT_EQ(textOf<zrb::ResultError>([&] { zrb::get<double>(odd, "none"); }),
            "(anonymous namespace)::Odd: get \"none\": asked for a double, found no result");
  EXPECT_EQ(zrb::get<std::optional<double>>(odd, "double"), 1.5);
}

TEST(Property, a_null_text_or_pointer_is_null_or_an_empty_optional_and_else_a_failure) {
  auto buf = zrb::make<ZRBMemoryBuf>();
  EXPECT_EQ(zrb::get<const char*>(buf, "name"), nullptr);
  EXPECT_EQ(zrb::get<std::optional<std::string>>(buf, "name"), std::nullopt);
  EXPECT_EQ(textOf<zrb::ResultError>([&] { zrb::get<std::string>(buf, "name"); }),
            "ZRBMemoryBuf: get \"name\": asked for a text, found a null text");
  zrb::set(buf, "name", "b");
  EXPECT_EQ(zrb::get<std::optional<std::string>>(buf, "name"), "b");

  auto pipeline = zrb::make<ZRBPipeline>();
  EXPECT_EQ(zrb::get<ZRBBuf*>(pipeline, "get.buf.by.name", "b"), nullptr);
  EXPECT_EQ(zrb::get<std::optional<ZRBBuf*>>(pipeline, "get.buf.by.name", "b"), std::nullopt);
  // A null of another type is a result of another type.
  Odd odd;
  EXPECT_EQ(textOf<zrb::ResultError>([&] { zrb::get<std::optional<std::string>>(odd, "null.node"); }),
            "(anonymous namespace)::Odd: get \"null.node\": asked for a text, found a null node");
  EXPECT_EQ(textOf<zrb::ResultError>([&] { zrb::get<ZRBBuf*>(odd, "null.node"); }),
            "(anonymous namespace)::Odd: get \"null.node\": asked for a buffer, found a null node");
}

TEST(Property, null_clears_a_name_and_detaches_a_buffer) {
  auto buf = namedBuf();
  auto count = zrb::make<ZRBProcCount>();
  zrb::set(count, "inbuf", buf);
  zrb::set(count, "inbuf", nullptr);
  EXPECT_EQ(zrb::get<long>(count, "num.inbufs"), 0);
  zrb::set(buf, "name", nullptr);
  EXPECT_EQ(zrb::get<const char*>(buf, "name"), nullptr);
  zrb::set(buf, "name", "again");
  zrb::set(buf, "name", static_cast<const char*>(nullptr));
  EXPECT_EQ(zrb::get<const char*>(buf, "name"), nullptr);
}

TEST(Property, a_text_may_be_a_string_without_a_nul) {
  auto buf = namedBuf();
  const std::string name = "a long name that needs memory of its own";
  zrb::set(buf, "name", name);
  EXPECT_EQ(zrb::get<std::string>(buf, "name"), name);
  EXPECT_EQ(textOf<zrb::ArgumentError>([&] { zrb::set(buf, "name", std::string("a\0b", 3)); }),
            "property \"name\": a text argument holds a NUL");
}

TEST(Property, a_request_serves_many_objects_and_calls) {
  zrb::Property request("column.name");
  request.with(0).with("x");
  for (int i = 0; i < 3; ++i) {
    auto buf = namedBuf();
    request.set(*buf);
    EXPECT_EQ(zrb::Property("column.name").with(0).get<std::string>(*buf), "x");
  }
  zrb::Property rows("num.rows");
  EXPECT_EQ(rows.get<long>(*namedBuf()), 3000);
  EXPECT_THROW(rows.get<double>(*namedBuf()), zrb::ResultError);
  EXPECT_EQ(rows.get<long>(*namedBuf()), 3000);
}

TEST(Property, every_failure_is_an_error_of_the_kit) {
  auto buf = namedBuf();
  EXPECT_THROW(zrb::set(buf, "no.such"), zrb::Error);
  EXPECT_THROW(zrb::set(buf, "num.rows"), zrb::Error);
  EXPECT_THROW(zrb::get<bool>(buf, "num.rows"), zrb::Error);
}

}  // namespace
