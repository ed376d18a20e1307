#include "failure.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <iterator>

#include "utf8.h"

namespace zrbtool {

namespace {

constexpr std::size_t kLongestQuote = 60;
constexpr std::size_t kNamesShown = 12;

void appendEscaped(std::string& line, unsigned char byte) {
  switch (byte) {
    case '\n':
      line += "\\n";
      break;
    case '\r':
      line += "\\r";
      break;
    case '\t':
      line += "\\t";
      break;
    default:
      fmt::format_to(std::back_inserter(line), "\\x{:02X}", byte);
  }
}

}  // namespace

std::string onOneLine(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  while (!text.empty()) {
    const std::size_t bytes = utf8SequenceBytes(text);
    const auto first = static_cast<unsigned char>(text.front());
    if (bytes == 0 || (bytes == 1 && (first < 0x20 || first == 0x7F))) {
      appendEscaped(line, first);
      text.remove_prefix(1);
    } else {
      line.append(text.substr(0, bytes));
      text.remove_prefix(bytes);
    }
  }
  return line;
}

std::string quote(std::string_view text) {
  if (text.size() <= kLongestQuote) return "'" + onOneLine(text) + "'";
  return "'" + onOneLine(utf8Prefix(text, kLongestQuote)) + "'...";
}

std::string oneOf(const std::vector<std::string>& names) {
  std::string text = "one of ";
  for (std::size_t i = 0; i < names.size() && i < kNamesShown; ++i) text += (i > 0 ? ", " : "") + quote(names[i]);
  return names.size() > kNamesShown ? text + ", ..." : text;
}

std::string counted(long long count, std::string_view thing) {
  return fmt::format("{} {}{}", count, thing, count == 1 ? "" : "s");
}

std::string optionText(std::string_view option, std::string_view value) {
  const bool plain = !value.empty() && std::all_of(value.begin(), value.end(), [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || (static_cast<unsigned char>(c) & 0x80) ||
           std::string_view("_-.,:=/+%@").find(c) != std::string_view::npos;
  });
  if (plain) return fmt::format("{} {}", option, onOneLine(value));
  std::string inQuotes;
  for (const char c : value) inQuotes += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return fmt::format("{} '{}'", option, onOneLine(inQuotes));
}

Failure failureAt(ExitStatus status, std::string_view file, long long line, std::string_view column,
                  const Finding& finding) {
  return Failure(status, fmt::format("{}:{}:{}: {}, found {}, expected {}", onOneLine(file), line, onOneLine(column),
                                     finding.what, finding.found, finding.expected));
}

}  // namespace zrbtool
