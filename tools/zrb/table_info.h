// The verb "info": what a .zrb file holds, and where.
#pragma once

#include <string>

#include "stored_table.h"

namespace zrbtool {

// A heading and a line per column.
std::string tableInfoText(const StoredTable& table);

// The schema with the names of the files.
std::string tableInfoJson(const StoredTable& table);

}  // namespace zrbtool
