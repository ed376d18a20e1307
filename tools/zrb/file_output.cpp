#include "file_output.h"

#include <filesystem>
#include <system_error>

namespace zrbtool {

namespace {

// The file that a link leads to, so that it stays one; `file` itself where it is no link, or leads to no file.
std::string followed(const std::string& file) {
  std::error_code error;
  if (!std::filesystem::is_symlink(file, error)) return file;
  const std::filesystem::path place = std::filesystem::canonical(file, error);
  return std::filesystem::is_regular_file(place, error) ? place.string() : file;
}

}  // namespace

FileOutput::FileOutput(const std::string& file)
    : m_file(openToWrite(m_files.add(followed(file)), file)), m_output(m_file.handle(), file) {}

void FileOutput::commit() {
  m_output.flush();
  m_files.commit();
}

}  // namespace zrbtool
