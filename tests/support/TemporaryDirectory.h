// A directory for the files of one test, files as bytes, and bytes as text.
#pragma once

#include <stdlib.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>

// Fresh, and removed with everything in it at the end of the scope.
class TemporaryDirectory {
public:
  TemporaryDirectory() : m_path((std::filesystem::temp_directory_path() / "zrb-test-XXXXXX").string()) {
    if (!mkdtemp(m_path.data())) throw std::system_error(errno, std::generic_category(), m_path);
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }

  std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
  std::string m_path;
};

inline std::string bytesOfFile(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) throw std::runtime_error("can't read " + path);
  std::ostringstream bytes;
  bytes << stream.rdbuf();
  return bytes.str();
}

inline void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream stream(path, std::ios::binary | std::ios::trunc);
  stream << bytes << std::flush;
  if (!stream) throw std::runtime_error("can't write " + path);
}

// Two digits a byte, a blank after every eighth byte: differences are easier to see than in raw bytes.
inline std::string hexOf(const std::string& bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i > 0 && i % 8 == 0) text += ' ';
    const unsigned byte = static_cast<unsigned char>(bytes[i]);
    text += "0123456789abcdef"[byte / 16];
    text += "0123456789abcdef"[byte % 16];
  }
  return text;
}

// The bytes that hexadecimal digits stand for; blanks are skipped.
inline std::string bytesOfHex(const std::string& text) {
  std::string bytes;
  std::string digits;
  for (const char c : text) {
    if (c == ' ') continue;
    digits += c;
    if (digits.size() < 2) continue;
    bytes += static_cast<char>(std::stoi(digits, nullptr, 16));
    digits.clear();
  }
  if (!digits.empty()) throw std::runtime_error("an odd number of digits: " + text);
  return bytes;
}
