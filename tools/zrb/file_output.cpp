#include "file_output.h"

namespace zrbtool {

FileOutput::FileOutput(const std::string& file)
    : m_file(openToWrite(m_files.add(file), file)), m_output(m_file.handle(), file) {}

void FileOutput::commit() {
  m_output.flush();
  m_files.commit();
}

}  // namespace zrbtool
