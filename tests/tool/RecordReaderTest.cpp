#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "RecordOutcome.h"
#include "bounds.h"
#include "plain_reader.h"

namespace {

using zrbtool::AtEnd;
using zrbtool::Record;

TEST(RecordReader, texts_are_split_as_rfc_4180_says) {
  const struct {
    const char* text;
    std::vector<RecordRow> rows;
  } cases[] = {
      {"", {}},
      {"a", {{1, {"a"}}}},
      {"a,b\n", {{1, {"a", "b"}}}},
      {"a,b\nc,d", {{1, {"a", "b"}}, {2, {"c", "d"}}}},
      {"a,b\r\nc,d\r\n", {{1, {"a", "b"}}, {2, {"c", "d"}}}},
      {"a\rb\r", {{1, {"a"}}, {2, {"b"}}}},
      {",", {{1, {"", ""}}}},
      {"a,\n,b\n", {{1, {"a", ""}}, {2, {"", "b"}}}},
      {"\"a,b\",\"c\"\"d\"\n", {{1, {"a,b", "c\"d"}}}},
      {"\"\"\n", {{1, {""}}}},  // an empty cell, no empty line
      {"\"\",\"\"\"\"\n", {{1, {"", "\""}}}},
      {" a , b \n", {{1, {" a ", " b "}}}},  // blanks belong to the cell
      {"\" a \"\n", {{1, {" a "}}}},
      {"a;b\tc\n", {{1, {"a;b\tc"}}}},
  };
  for (const auto& c : cases) {
    const RecordOutcome outcome = readAll(c.text);
    EXPECT_EQ(outcome.rows, c.rows) << c.text;
    EXPECT_EQ(outcome.error, "") << c.text;
  }
}

TEST(RecordReader, lines_without_text_are_no_records_but_count) {
  EXPECT_EQ(readAll("\n\na\n\r\n\r\nb\n\n").rows, (std::vector<RecordRow>{{3, {"a"}}, {6, {"b"}}}));
  EXPECT_EQ(readAll("\r\ra\r\n\rb").rows, (std::vector<RecordRow>{{3, {"a"}}, {5, {"b"}}}));
}

TEST(RecordReader, line_ends_inside_cells_are_kept_and_counted) {
  EXPECT_EQ(readAll("\"a\nb\r\nc\rd\",e\nf\n").rows, (std::vector<RecordRow>{{1, {"a\nb\r\nc\rd", "e"}}, {5, {"f"}}}));
}

TEST(RecordReader, a_cell_knows_the_line_in_which_it_begins) {
  SmallReads bytes("x\n\"1\n2\",\"3\r\n4\",5\n", 1000);
  const auto reader = zrbtool::readRecords(bytes, {}, 1);
  reader->next();
  const Record* record = reader->next();
  EXPECT_EQ(record->lineOf(0), 2);
  EXPECT_EQ(record->lineOf(1), 3);
  EXPECT_EQ(record->lineOf(2), 4);
}

TEST(RecordReader, delimiter_quotes_and_blanks_are_options) {
  EXPECT_EQ(readAll("a;b,c\n", {';'}).rows, (std::vector<RecordRow>{{1, {"a", "b,c"}}}));
  EXPECT_EQ(readAll("\"a\",5\" pipe\n", {',', false}).rows, (std::vector<RecordRow>{{1, {"\"a\"", "5\" pipe"}}}));
  EXPECT_EQ(readAll(" a , \"b\" ,c d\n", {',', true, true}).rows, (std::vector<RecordRow>{{1, {"a", "b", "c d"}}}));
  // A tab that separates cells is no blank around them.
  EXPECT_EQ(readAll("a\t\t b\n", {'\t', true, true}).rows, (std::vector<RecordRow>{{1, {"a", "", "b"}}}));
}

TEST(RecordReader, malformed_text_is_found_where_it_is_after_the_records_before_it) {
  const struct {
    const char* text;
    std::size_t rows;
    const char* error;
  } cases[] = {
      {"a,b\nc,\"d\ne\n", 1, "2:1: unterminated quote, the end of the file"},
      {"\"", 0, "1:0: unterminated quote, the end of the file"},
      {"a\nb\"c\n", 1, "2:0: stray quote, '\"' inside an unquoted cell or text after a closing quote, behind 'b'"},
      {"a,\"b\"c\n", 0, "1:1: stray quote, '\"' inside an unquoted cell or text after a closing quote, behind 'b\"'"},
      {"a,\"b\n\nc\"d\n", 0,
       "3:1: stray quote, '\"' inside an unquoted cell or text after a closing quote, behind 'b\\n\\nc\"'"},
  };
  for (const auto& c : cases)
    for (const std::size_t readBytes : {1u, 2u, 3u, 1000u}) {
      const RecordOutcome outcome = readAll(c.text, {}, readBytes);
      EXPECT_EQ(outcome.rows.size(), c.rows) << c.text;
      EXPECT_EQ(outcome.error, c.error) << c.text;
    }
}

TEST(RecordReader, a_nul_is_refused_where_it_is) {
  const RecordOutcome outcome = readAll(std::string("a,b\nc,\"d\n\0e\"\n", 14));
  EXPECT_EQ(outcome.rows, (std::vector<RecordRow>{{1, {"a", "b"}}}));
  EXPECT_EQ(outcome.error, "3:1: NUL byte, a byte 00 behind 'd\\n'");
}

TEST(RecordReader, the_last_record_of_a_sample_is_left_out_unless_its_line_has_ended) {
  const auto atEnd = AtEnd::dropCutRecord;
  EXPECT_EQ(readAll("a,b\nc,d", {}, 1000, atEnd).rows, (std::vector<RecordRow>{{1, {"a", "b"}}}));
  EXPECT_EQ(readAll("a,b\nc,d\n", {}, 1000, atEnd).rows, (std::vector<RecordRow>{{1, {"a", "b"}}, {2, {"c", "d"}}}));
  EXPECT_EQ(readAll("a\n\"b", {}, 1000, atEnd).error, "");
}

TEST(RecordReader, a_record_without_an_end_is_refused_before_it_fills_the_memory) {
  const std::size_t bytes = zrbtool::kLongestRecord;
  EXPECT_EQ(readAll("a\n\"" + std::string(bytes + 100'000, 'x')).error,
            "2:0: record too long, more than 4194304 bytes without an end");
  std::string manyCells = "a\n";
  while (manyCells.size() < bytes + 100'000) manyCells += "1234567,";
  const std::string error = readAll(manyCells).error;
  EXPECT_NE(error.find(": record too long, "), std::string::npos);
  // Wherever the pieces end.
  for (const std::size_t readBytes : {1000u, 100'000u, 10'000'000u})
    EXPECT_EQ(readAll(manyCells, {}, readBytes).error, error);
  // One that is nearly as long is not.
  EXPECT_EQ(readAll(std::string(bytes - 100'000, 'x') + "\n").rows.size(), 1u);
}

// ---- Against a splitter that knows the whole text ----

// RFC 4180 by looking ahead, for texts that follow it.
std::vector<RecordRow> splitWhole(const std::string& text) {
  std::vector<RecordRow> rows;
  std::size_t at = 0;
  long long line = 1;
  const auto atLineEnd = [&] { return at == text.size() || text[at] == '\n' || text[at] == '\r'; };
  while (at < text.size()) {
    RecordRow row{line, {}};
    const std::size_t begin = at;
    for (;;) {
      std::string cell;
      if (at < text.size() && text[at] == '"') {
        for (++at; !(text[at] == '"' && (at + 1 == text.size() || text[at + 1] != '"')); ++at) {
          if (text[at] == '"') ++at;  // the first of two
          cell += text[at];
          if (text[at] == '\n' || (text[at] == '\r' && text[at + 1] != '\n')) ++line;
        }
        ++at;
      } else {
        while (!atLineEnd() && text[at] != ',') cell += text[at++];
      }
      row.cells.push_back(cell);
      if (at == text.size() || text[at] != ',') break;
      ++at;
    }
    if (at > begin) rows.push_back(row);
    if (at < text.size()) {
      at += text.compare(at, 2, "\r\n") == 0 ? 2u : 1u;
      ++line;
    }
  }
  return rows;
}

// A text that follows the RFC, with everything that makes splitting hard.
std::string randomCsv(std::mt19937& random) {
  const auto below = [&](unsigned n) { return static_cast<unsigned>(random() % n); };
  static const char* const kPieces[] = {"a", "bc", " ", ",", "\"\"", "\n", "\r\n", "\r", "\t", "x y", "\xC3\xA4"};
  static const char* const kPlain[] = {"", "1", "-2.5", "text", " blank ", "\xE2\x82\xAC", ";"};
  std::string text;
  for (unsigned row = 0, rows = below(20); row < rows; ++row) {
    for (unsigned cell = 0, cells = 1 + below(5); cell < cells; ++cell) {
      if (cell > 0) text += ',';
      if (below(2)) {
        text += kPlain[below(std::size(kPlain))];
      } else {
        text += '"';
        for (unsigned piece = 0, pieces = below(6); piece < pieces; ++piece) text += kPieces[below(std::size(kPieces))];
        text += '"';
      }
    }
    if (row + 1 < rows || below(2)) text += below(3) == 0 ? "\r\n" : "\n";
  }
  return text;
}

TEST(RecordReader, random_texts_in_random_pieces_agree_with_a_splitter_of_whole_texts) {
  std::mt19937 random(4180);
  for (int i = 0; i < 2000; ++i) {
    const std::string text = randomCsv(random);
    const RecordOutcome outcome = readAll(text, {}, 1 + random() % 40);
    ASSERT_EQ(outcome.error, "") << text;
    ASSERT_EQ(outcome.rows, splitWhole(text)) << text;
  }
}

}  // namespace
