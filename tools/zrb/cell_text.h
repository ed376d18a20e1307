// What the text of one cell can be.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zrbtool {

// Without blanks and tabs at either end.
std::string_view trimmed(std::string_view text);

// The texts that stand for NA; the empty text always does.
class NaTexts {
public:
  explicit NaTexts(std::vector<std::string> texts) : m_texts(std::move(texts)) {}
  bool contains(std::string_view text) const {
    if (text.empty()) return true;
    for (const std::string& na : m_texts)
      if (text == na) return true;
    return false;
  }

private:
  std::vector<std::string> m_texts;
};

// Whether a number is no more than its value, so that reading it as a double loses nothing that the text says.  Not
// plain: a plus sign; leading zeros (007); an exponent without sign in a whole number (1e5), which may be a code; a whole
// part beyond 2^53, where doubles leave out integers.
// REQUIRES: zrb::parseNumber(text) has a value.
bool isPlainNumber(std::string_view text);

// What a cell of a double column is, with or without blanks around it.
enum class NumberKind { plain, notPlain, none };
NumberKind readNumber(std::string_view text, double& value);

}  // namespace zrbtool
