// UTF-8: which bytes are text.
#pragma once

#include <cstddef>
#include <string_view>

namespace zrbtool {

// Bytes of the character that the text begins with; 0 where it begins with none (or is empty).  Overlong forms,
// surrogates and values above U+10FFFF are no characters.
std::size_t utf8SequenceBytes(std::string_view text);

// Whether the whole text is made of characters.
bool isUtf8(std::string_view text);

// How many characters it has, for aligning columns.
// REQUIRES: isUtf8(text).
std::size_t utf8Length(std::string_view text);

// The longest beginning of the text that has at most `bytes` bytes and does not end inside a character.
std::string_view utf8Prefix(std::string_view text, std::size_t bytes);

}  // namespace zrbtool
