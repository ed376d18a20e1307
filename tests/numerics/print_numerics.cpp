// Prints the tables of docs/numerics.md, each between its markers.  scripts/print-numerics puts them there.
#include <cstdio>
#include <string>
#include <vector>

#include "support/NumericsTables.h"

namespace {

void printLine(const std::vector<std::string>& cells) {
  for (const std::string& cell : cells) std::printf("| %s ", cell.c_str());
  std::puts("|");
}

}  // namespace

int main() {
  for (const NumericsTable& table : numericsTables()) {
    std::puts(numericsBegin(table.name).c_str());
    printLine(table.header);
    printLine(std::vector<std::string>(table.header.size(), "---"));
    for (const NumericsRow& row : table.rows) {
      std::vector<std::string> cells = row.facts;
      for (const double digits : row.reached) cells.push_back(digitsText(digits));
      printLine(cells);
    }
    std::puts(numericsEnd(table.name).c_str());
  }
}
