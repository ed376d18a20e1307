#include "text_table.h"

#include <gtest/gtest.h>

namespace {

using zrbtool::Align;
using zrbtool::TextTable;

TEST(TextTable, columns_are_aligned_by_characters_without_blanks_at_line_ends) {
  TextTable table({Align::left, Align::right, Align::left});
  table.addRow({"name", "n", "note"});
  table.addRow({"\xC3\xA4\xC3\xB6", "12345", ""});
  table.addRow({"b", "1", "x"});
  EXPECT_EQ(table.render(),
            "name      n  note\n"
            "\xC3\xA4\xC3\xB6    12345\n"
            "b         1  x\n");
}

TEST(TextTable, cells_stay_on_their_line_and_rows_may_be_short) {
  TextTable table({Align::left, Align::right});
  table.addRow({"a", "b"});
  table.addRow({"x\ny"});
  EXPECT_EQ(table.render(2),
            "  a     b\n"
            "  x\\ny\n");
}

TEST(TextTable, very_long_cells_are_cut_between_characters) {
  TextTable table({Align::left});
  table.addRow({std::string(100, 'x')});
  table.addRow({std::string(99, 'y') + "\xC3\xA4"});
  EXPECT_EQ(table.render(), std::string(100, 'x') + "\n" + std::string(99, 'y') + "...\n");
}

}  // namespace
