// How the tool fails: one line on standard error, and an exit status that tells the kind.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace zrbtool {

enum class ExitStatus : int {
  ok = 0,
  data = 1,   // the input is not what it has to be
  usage = 2,  // the command line is not, or does not fit the input
  io = 3      // something could not be opened, read or written
};

// Ends the program with what() on standard error, unless that is empty, and with the status.
class Failure : public std::runtime_error {
public:
  Failure(ExitStatus status, const std::string& text) : std::runtime_error(text), m_status(status) {}
  ExitStatus status() const { return m_status; }

private:
  ExitStatus m_status;
};

// What is wrong somewhere, in three parts.
struct Finding {
  std::string what;
  std::string found;
  std::string expected;
};

// FILE:LINE:COLUMN: what, found what, expected what
// `line` and `column` are 0 where the finding belongs to no line or column.
Failure failureAt(ExitStatus status, std::string_view file, long long line, std::string_view column,
                  const Finding& finding);

// The text on one line: control characters and bytes that are no UTF-8 are shown as escapes such as \n and \xFF.
std::string onOneLine(std::string_view text);

// The same in single quotes, cut after some 60 bytes.
std::string quote(std::string_view text);

// "one of 'a', 'b'", with the first few names of many
std::string oneOf(const std::vector<std::string>& names);

// "1 row", "2 rows"
std::string counted(long long count, std::string_view thing);

// An option with its value as it is typed in a shell, as in: --types 'my column=factor'
std::string optionText(std::string_view option, std::string_view value);

}  // namespace zrbtool
