// Which columns of a file does a verb want?
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "sniffer.h"
#include "table_source.h"

namespace zrbtool {

// The numbers of the file's columns that are wanted, in the order they are wanted in.  Throws Failure (usage) for a
// column that the file does not have, and for one that is named twice.
std::vector<std::size_t> chooseColumns(const TableRequest& request, const std::string& file, const CsvLayout& layout);

}  // namespace zrbtool
