// A file in place of standard output, written whole or not at all.
#pragma once

#include <string>

#include "open_file.h"
#include "output.h"
#include "replaced_files.h"

namespace zrbtool {

class FileOutput {
public:
  // A link is followed.  Throws Failure (io).
  explicit FileOutput(const std::string& file);

  Output& output() { return m_output; }
  // The file is what was written.  Throws Failure (io), and then it is what it was before.
  void commit();

private:
  ReplacedFiles m_files;
  OpenFile m_file;
  Output m_output;
};

// "-", as for input.
inline bool isStandardOutput(const std::string& file) { return file == "-"; }

// Has a text written to `file`, or to standard output for its name.
template <class Write>
void writeTo(const std::string& file, Output& standardOutput, Write write) {
  if (isStandardOutput(file)) return write(standardOutput);
  FileOutput output(file);
  write(output.output());
  output.commit();
}

}  // namespace zrbtool
