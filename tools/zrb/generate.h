// The verb "generate": random rows as CSV.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "ZRBBuf.h"
#include "output.h"

namespace zrbtool {

struct GenerateOptions {
  long long rows = 0;
  long seed = 1;
  std::vector<std::pair<std::string, ZRBBuf::column_type>> schema;
};

// "name:type,name:type"; a name may hold commas and colons.  Throws Failure (usage).
std::vector<std::pair<std::string, ZRBBuf::column_type>> parseSchema(const std::string& text);

// Writes the names and the rows of the random reader, and flushes.  Throws Failure.
void generate(const GenerateOptions& options, Output& output);

}  // namespace zrbtool
