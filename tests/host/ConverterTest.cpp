#include "zrb/converter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "zrb/handle.h"
#include "zrb/property.h"

namespace {

// An object of the library with the converter.
class ConverterTest : public testing::Test {
protected:
  ConverterTest() { m_buf->setConverter(&m_converter); }

  zrb::IsoConverter m_converter;  // outlives the buffer
  zrb::Handle<ZRBMemoryBuf> m_buf = zrb::make<ZRBMemoryBuf>();
};

TEST_F(ConverterTest, numbers_become_their_shortest_text_and_back) {
  EXPECT_STREQ(m_buf->convertDoubleToString(0.1), "0.1");
  EXPECT_STREQ(m_buf->convertDoubleToString(100000), "100000");
  EXPECT_EQ(m_buf->convertStringToDouble("0.1"), 0.1);
  EXPECT_EQ(m_buf->convertStringToDouble("-1e-7"), -1e-7);
}

TEST_F(ConverterTest, infinities_are_read_back) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double value : {infinity, -infinity})
    EXPECT_EQ(m_buf->convertStringToDouble(std::string(m_buf->convertDoubleToString(value)).c_str()), value);
}

TEST_F(ConverterTest, dates_become_iso_text_and_back) {
  EXPECT_STREQ(m_buf->convertTimeDateToString(86'400'000), "1970-01-02");
  EXPECT_STREQ(m_buf->convertTimeDateToString(86'400'500), "1970-01-02T00:00:00.5");
  EXPECT_EQ(m_buf->convertStringToTimeDate("1970-01-02T01:00:00+01:00"), 86'400'000);
}

TEST_F(ConverterTest, text_that_is_no_number_or_date_as_a_whole_is_na) {
  for (const char* text : {"", "abc", "1x", " 1", "nan", "1,5"})
    EXPECT_TRUE(ZRBObj::isDoubleNA(m_buf->convertStringToDouble(text))) << text;
  for (const char* text : {"", "abc", "1970-01-02x", "1970-02-30", "5"})
    EXPECT_TRUE(ZRBObj::isTimeDateNA(m_buf->convertStringToTimeDate(text))) << text;
}

TEST_F(ConverterTest, na_never_becomes_a_text) {
  EXPECT_TRUE(ZRBObj::isStringNA(m_buf->convertDoubleToString(ZRBObj::getDoubleNA())));
  EXPECT_TRUE(ZRBObj::isStringNA(m_buf->convertTimeDateToString(ZRBObj::getTimeDateNA())));
}

TEST_F(ConverterTest, a_text_without_enough_room_is_empty_rather_than_cut) {
  const double value = 12345;
  const long long timeMs = 0;
  char text[16] = "before";
  m_converter.doubleToText(&value, text, 6);
  EXPECT_STREQ(text, "12345");
  m_converter.doubleToText(&value, text, 5);
  EXPECT_STREQ(text, "");
  m_converter.timeDateToText(&timeMs, text, 11);
  EXPECT_STREQ(text, "1970-01-01");
  m_converter.timeDateToText(&timeMs, text, 10);
  EXPECT_STREQ(text, "");
  text[0] = 'x';
  m_converter.doubleToText(&value, text, 0);
  EXPECT_EQ(text[0], 'x');
}

}  // namespace
