// Message texts with values in them.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <string>

// The printf-formatted text, whatever its length.
__attribute__((format(printf, 1, 2))) inline std::string formatMessage(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  return text;
}
