// What the user says about a CSV file; whatever is left open is found out from the file (sniffer.h).
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ZRBBuf.h"

namespace zrbtool {

struct DeclaredType {
  std::string column;
  ZRBBuf::column_type type = ZRBBuf::column_double;
  long stringBytes = 0;  // width of a string column with its terminator; 0: chosen from the file
};

struct CsvOptions {
  std::optional<char> delimiter;
  std::optional<bool> header;                     // whether the first record holds the names
  std::optional<std::vector<std::string>> names;  // in place of those
  std::vector<DeclaredType> types;
  std::vector<std::string> na = {"NA"};  // texts that stand for NA, besides the empty one
  bool quotes = true;
  bool trim = false;
  bool fill = false;        // records that are too short are filled up with NA
  long long skipLines = 0;  // lines to leave out before the first record
};

// "comma", "semicolon", "tab", "pipe", "space", "\t" or the character itself.  Throws Failure (usage) for anything else.
char parseDelimiter(const std::string& text);

// "name=type,name=type:bytes,..."; a name may hold commas and equals signs.  Throws Failure (usage).
std::vector<DeclaredType> parseTypes(const std::string& text);

// "double", "factor", "string" or "timeDate".  Empty for anything else.
std::optional<ZRBBuf::column_type> parseColumnType(const std::string& text);

// Splits at commas; empty pieces are kept.
std::vector<std::string> splitAtCommas(const std::string& text);

}  // namespace zrbtool
