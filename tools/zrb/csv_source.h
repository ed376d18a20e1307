// A CSV file as a table: file -> record reader -> CSV node -> buffer.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "byte_source.h"
#include "csv_node.h"
#include "record_reader.h"
#include "table_source.h"
#include "zrb/handle.h"

namespace zrbtool {

class CsvSource : public TableSource {
public:
  // Looks at the beginning of the file, and gives the buffer its columns.  Throws Failure.
  CsvSource(const std::string& file, const CsvOptions& options, const TableRequest& request,
            zrb::Handle<ZRBBuf> buf = zrb::make<ZRBMemoryBuf>());

  ZRBBuf& buf() override { return *m_buf; }
  void addTo(ZRBPipeline& pipeline) override;
  long chunkRows() override { return m_chunk_rows; }
  const std::string& file() const override { return m_file; }
  std::string formatText() const override;
  nlohmann::ordered_json formatJson() const override;

  const CsvLayout& layout() const { return m_layout; }
  CsvNode& node() { return *m_node; }

private:
  void openFile();
  void skipLines(long long lines);
  void sniff(const CsvOptions& options);
  std::vector<std::size_t> takeColumns(const TableRequest& request);
  void makeBuf(const std::vector<std::size_t>& columns);

  std::string m_file;
  std::unique_ptr<FileBytes> m_bytes;
  long long m_line = 1;  // of the next byte
  CsvLayout m_layout;
  long m_chunk_rows = 1;
  std::unique_ptr<RecordReader> m_reader;
  zrb::Handle<ZRBBuf> m_buf;
  zrb::Handle<CsvNode> m_node;
};

}  // namespace zrbtool
