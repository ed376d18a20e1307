#include <gtest/gtest.h>

#include <string>

#include "zrb/column.h"
#include "zrb/handle.h"
#include "zrb/property.h"

namespace {

// A buffer with a column of every type, its writer and its reader.
struct Ends {
  zrb::Handle<ZRBMemoryBuf> buf = zrb::make<ZRBMemoryBuf>();
  zrb::Handle<ZRBProc> source = zrb::make<ZRBProc>();
  zrb::Handle<ZRBProc> sink = zrb::make<ZRBProc>();

  Ends() {
    zrb::set(buf, "name", "rows");
    zrb::set(buf, "num.columns", 5);
    const char* types[] = {"double", "factor", "string", "timeDate", "blob"};
    for (int i = 0; i < 5; ++i) {
      zrb::set(buf, "column.name", i, std::string("c") + types[i]);
      zrb::set(buf, "column.type", i, types[i]);
    }
    zrb::set(source, "outbuf", buf);
    zrb::set(sink, "inbuf", buf);
    zrb::set(buf, "init");
    zrb::set(source, "init");
    zrb::set(sink, "init");
  }
  ZRBBufWriter& writer() { return *source->getOutputBufWriter(0); }
  ZRBBufReader& reader() { return *sink->getInputBufReader(0); }
};

template <class Action>
std::string errorOf(Action action) {
  try {
    action();
  } catch (const zrb::Error& error) {
    return error.what();
  }
  return "nothing was thrown";
}

TEST(Column, cells_of_every_type_are_written_and_read_back) {
  Ends ends;
  const zrb::OutputColumn<double> number(ends.writer(), "cdouble");
  const zrb::OutputColumn<zrb::LevelNum> level(ends.writer(), 1);
  const zrb::OutputColumn<const char*> text(ends.writer(), "cstring");
  const zrb::OutputColumn<zrb::TimeMs> time(ends.writer(), 3L);
  number.set(0, 1.5);
  level.set(0, {3});
  text.set(0, "abc");
  time.set(0, {123456789});
  number.setNA(1);
  level.setNA(1);
  text.setNA(1);
  time.setNA(1);
  ends.writer().releaseRows(2);

  const zrb::InputColumn<double> numberIn(ends.reader(), 0);
  const zrb::InputColumn<zrb::LevelNum> levelIn(ends.reader(), "cfactor");
  const zrb::InputColumn<const char*> textIn(ends.reader(), 2);
  const zrb::InputColumn<zrb::TimeMs> timeIn(ends.reader(), "ctimeDate");
  EXPECT_EQ(numberIn[0], 1.5);
  EXPECT_EQ(levelIn[0].value, 3);
  EXPECT_STREQ(textIn[0], "abc");
  EXPECT_EQ(timeIn[0].value, 123456789);
  EXPECT_EQ(timeIn.column(), 3);
  EXPECT_FALSE(numberIn.isNA(0) || levelIn.isNA(0) || textIn.isNA(0) || timeIn.isNA(0));
  EXPECT_TRUE(numberIn.isNA(1));
  EXPECT_TRUE(levelIn.isNA(1));
  EXPECT_TRUE(textIn.isNA(1));
  EXPECT_TRUE(timeIn.isNA(1));
}

TEST(Column, a_column_that_does_not_exist_is_refused) {
  Ends ends;
  EXPECT_EQ(errorOf([&] { zrb::InputColumn<double>(ends.reader(), "nope"); }),
            "ZRBMemoryBuf \"rows\": there is no column \"nope\"");
  EXPECT_EQ(errorOf([&] { zrb::OutputColumn<double>(ends.writer(), 5); }),
            "ZRBMemoryBuf \"rows\": there is no column 5");
  EXPECT_EQ(errorOf([&] { zrb::OutputColumn<double>(ends.writer(), -1); }),
            "ZRBMemoryBuf \"rows\": there is no column -1");
}

TEST(Column, a_column_of_another_type_is_refused) {
  Ends ends;
  EXPECT_EQ(errorOf([&] { zrb::InputColumn<double>(ends.reader(), "cfactor"); }),
            "ZRBMemoryBuf \"rows\": column 1 has to be of type double, found factor");
  EXPECT_EQ(errorOf([&] { zrb::InputColumn<zrb::LevelNum>(ends.reader(), 2); }),
            "ZRBMemoryBuf \"rows\": column 2 has to be of type factor, found string");
  EXPECT_EQ(errorOf([&] { zrb::OutputColumn<const char*>(ends.writer(), "ctimeDate"); }),
            "ZRBMemoryBuf \"rows\": column 3 has to be of type string, found timeDate");
  EXPECT_EQ(errorOf([&] { zrb::OutputColumn<zrb::TimeMs>(ends.writer(), 4); }),
            "ZRBMemoryBuf \"rows\": column 4 has to be of type timeDate, found blob");
}

}  // namespace
