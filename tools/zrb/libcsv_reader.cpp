#include "libcsv_reader.h"

namespace zrbtool {

namespace {

constexpr std::size_t kBlockBytes = 64 * 1024;

}  // namespace

LibcsvReader::LibcsvReader(ByteSource& bytes, const CsvFormat& format, long long firstLine, AtEnd atEnd)
    : m_bytes(bytes), m_at_end(atEnd), m_lines(firstLine), m_parser(format, m_lines), m_block(kBlockBytes) {}

const Record* LibcsvReader::next() {
  for (;;) {
    if (const Record* record = m_parser.next()) return record;
    if (m_ended) return nullptr;
    const std::size_t size = m_bytes.read(m_block.data(), m_block.size());
    m_ended = size == 0;
    if (!m_ended)
      m_parser.add({m_block.data(), size});
    else if (m_at_end == AtEnd::finish)
      m_parser.finish();
  }
}

}  // namespace zrbtool
