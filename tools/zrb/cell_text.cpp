#include "cell_text.h"

#include "zrb/number_text.h"

namespace zrbtool {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

constexpr std::string_view kTwoTo53 = "9007199254740992";

}  // namespace

std::string_view trimmed(std::string_view text) {
  const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

bool isPlainNumber(std::string_view text) {
  if (text.front() == '+') return false;
  if (text.front() == '-') text.remove_prefix(1);
  std::size_t whole = 0;
  while (whole < text.size() && isDigit(text[whole])) ++whole;
  if (whole > 1 && text[0] == '0') return false;
  if (whole > kTwoTo53.size() || (whole == kTwoTo53.size() && text.substr(0, whole) > kTwoTo53)) return false;
  const std::size_t exponent = text.find_first_of("eE");
  if (exponent == std::string_view::npos) return true;
  const bool hasPoint = whole < exponent;
  return hasPoint || !isDigit(text[exponent + 1]);
}

NumberKind readNumber(std::string_view text, double& value) {
  const std::string_view number = trimmed(text);
  const auto parsed = zrb::parseNumber(number);
  if (!parsed) return NumberKind::none;
  value = *parsed;
  return isPlainNumber(number) ? NumberKind::plain : NumberKind::notPlain;
}

}  // namespace zrbtool
