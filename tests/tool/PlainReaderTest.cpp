// The reader that splits plain lines itself against libcsv alone; readAll() compares the two for every text.
#include "plain_reader.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "RecordOutcome.h"

namespace {

using zrbtool::AtEnd;
using zrbtool::ByteSource;
using zrbtool::CsvFormat;

// Any text, most of it malformed, of the bytes that splitting looks at.
std::string randomBytes(std::mt19937& random) {
  static constexpr char kUsual[] = {'a', '1', ',', ',', '\n', '\n', '\r', '"', '"', ' ', '\t', ';', '\xFF', 'x'};
  std::string text;
  for (std::size_t i = 0, size = random() % 40; i < size; ++i)
    text += random() % 200 == 0 ? '\0' : kUsual[random() % std::size(kUsual)];
  return text;
}

TEST(PlainReader, random_bytes_in_random_pieces_are_split_and_refused_as_by_libcsv_alone) {
  std::mt19937 random(3003);
  const CsvFormat formats[] = {{}, {';'}, {'\t'}, {' '}, {'x'}, {',', false}, {',', true, true}, {'\t', true, true}};
  for (int i = 0; i < 40'000 && !testing::Test::HasFailure(); ++i)
    readAll(randomBytes(random), formats[random() % std::size(formats)], 1 + random() % 30,
            random() % 4 ? AtEnd::finish : AtEnd::dropCutRecord);
}

// Gives out a text in two pieces.
class TwoReads : public ByteSource {
public:
  TwoReads(std::string_view text, std::size_t first) : m_first(text.substr(0, first)), m_second(text.substr(first)) {}
  std::size_t read(char* to, std::size_t size) override {
    const std::size_t bytes = m_first.read(to, size);
    return bytes > 0 ? bytes : m_second.read(to, size);
  }

private:
  zrbtool::MemoryBytes m_first;
  zrbtool::MemoryBytes m_second;
};

TEST(PlainReader, it_does_not_matter_where_the_bytes_are_cut) {
  const std::string text =
      "a,\"b,c\",d\r\n\"\"\"e\"\"\",\"\r\n\",f\r\r\n\n\"\",\"g\"\n" + std::string(70, 'h') + ",\"i\"\n1,2,\"3\"";
  const RecordOutcome whole = readAll(text);
  ASSERT_EQ(whole.rows.size(), 5u);
  for (std::size_t cut = 0; cut <= text.size(); ++cut) {
    TwoReads bytes(text, cut);
    EXPECT_TRUE(outcomeOf(*zrbtool::readRecords(bytes, {}, 1)) == whole) << cut;
  }
}

TEST(PlainReader, lines_longer_than_a_block_are_split_as_by_libcsv_alone) {
  constexpr std::size_t kBlock = 64 * 1024;
  for (const std::size_t bytes : {kBlock - 2, kBlock - 1, kBlock, kBlock + 1, 5 * kBlock, 17 * kBlock}) {
    const std::string cells = std::string(bytes / 2, 'a') + "," + std::string(bytes - bytes / 2 - 1, 'b');
    EXPECT_EQ(readAll("1,2\n" + cells + "\n3,4\n").rows.size(), 3u) << bytes;
    EXPECT_EQ(readAll(cells + ",\"\n\"\n" + cells, {}, kBlock / 3).rows.size(), 2u) << bytes;
    EXPECT_NE(readAll(cells + "\n" + cells + "\"").error, "") << bytes;
  }
}

// The records of usual texts are not copied, so they have to be whole wherever a block ends.
TEST(PlainReader, every_record_of_a_text_of_many_blocks_arrives_whole) {
  std::string text;
  std::vector<RecordRow> rows;
  for (long long line = 1; text.size() < 300'000; ++line) {
    const std::string number = std::to_string(line * 7919);
    const bool quoted = line % 3 == 0;
    text += number + (quoted ? ",\"q," + number + "\",\n" : ",level" + number + ",\r\n");
    rows.push_back({line, {number, (quoted ? "q," : "level") + number, ""}});
  }
  for (const std::size_t readBytes : {1000u, 1'000'000u}) EXPECT_TRUE(readAll(text, {}, readBytes).rows == rows);
}

}  // namespace
