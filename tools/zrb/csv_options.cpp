#include "csv_options.h"

#include <fmt/format.h>

#include <charconv>
#include <utility>

#include "bounds.h"
#include "failure.h"

namespace zrbtool {

namespace {

Failure usage(const std::string& text) { return Failure(ExitStatus::usage, "zrb: " + text); }

// "type" or "string:bytes" into `declared`.
void parseTypeText(const std::string& text, DeclaredType& declared) {
  const std::size_t colon = text.find(':');
  const auto type = parseColumnType(text.substr(0, colon));
  if (!type || (colon != std::string::npos && *type != ZRBBuf::column_string))
    throw usage(fmt::format("--types: column {} has type {}, expected double, factor, string, string:BYTES or timeDate",
                            quote(declared.column), quote(text)));
  declared.type = *type;
  if (colon == std::string::npos) return;
  const char* first = text.data() + colon + 1;
  const char* last = text.data() + text.size();
  const auto [end, error] = std::from_chars(first, last, declared.stringBytes);
  if (error != std::errc() || end != last || declared.stringBytes < kLeastStringBytes ||
      declared.stringBytes > kMostStringBytes)
    throw usage(fmt::format("--types: column {} has width {}, expected {} to {} bytes", quote(declared.column),
                            quote(text.substr(colon + 1)), kLeastStringBytes, kMostStringBytes));
}

}  // namespace

char parseDelimiter(const std::string& text) {
  static constexpr std::pair<const char*, char> kNames[] = {{"comma", ','}, {"semicolon", ';'}, {"tab", '\t'},
                                                            {"\\t", '\t'},  {"pipe", '|'},      {"space", ' '}};
  for (const auto& [name, delimiter] : kNames)
    if (text == name) return delimiter;
  const bool isCharacter = text.size() == 1 && static_cast<unsigned char>(text[0]) < 0x80;
  if (!isCharacter || text[0] == '"' || text[0] == '\n' || text[0] == '\r' || text[0] == '\0')
    throw usage(
        fmt::format("--delimiter: found {}, expected comma, semicolon, tab, pipe, space or one other ASCII "
                    "character, neither a quote nor a line end",
                    quote(text)));
  return text[0];
}

std::vector<DeclaredType> parseTypes(const std::string& text) {
  std::vector<DeclaredType> types;
  std::string entry;
  bool open = false;  // whether a comma of the name may have split the entry
  for (const std::string& piece : splitAtCommas(text)) {
    entry += open ? "," + piece : piece;
    open = true;
    const std::size_t equals = entry.rfind('=');
    if (equals == std::string::npos) continue;  // the comma belongs to the name
    DeclaredType declared;
    declared.column = entry.substr(0, equals);
    parseTypeText(entry.substr(equals + 1), declared);
    types.push_back(std::move(declared));
    entry.clear();
    open = false;
  }
  if (open) throw usage(fmt::format("--types: found {}, expected NAME=TYPE", quote(entry)));
  return types;
}

std::optional<ZRBBuf::column_type> parseColumnType(const std::string& text) {
  if (text == "double") return ZRBBuf::column_double;
  if (text == "factor") return ZRBBuf::column_factor;
  if (text == "string") return ZRBBuf::column_string;
  if (text == "timeDate") return ZRBBuf::column_timeDate;
  return std::nullopt;
}

std::vector<std::string> splitAtCommas(const std::string& text) {
  std::vector<std::string> pieces;
  std::size_t begin = 0;
  for (;;) {
    const std::size_t comma = text.find(',', begin);
    pieces.push_back(text.substr(begin, comma == std::string::npos ? comma : comma - begin));
    if (comma == std::string::npos) return pieces;
    begin = comma + 1;
  }
}

}  // namespace zrbtool
