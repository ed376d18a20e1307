// A .zrb file as a table: backing-file buffer -> checked rows -> memory buffer.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "checked_rows.h"
#include "stored_table.h"
#include "table_source.h"
#include "zrb/handle.h"

namespace zrbtool {

class StoredSource : public TableSource {
public:
  // Throws Failure.
  StoredSource(const std::string& file, const TableRequest& request);
  // The columns of these numbers, in this order.
  StoredSource(StoredTable table, std::vector<std::size_t> columns);

  ZRBBuf& buf() override { return *m_rows; }
  void addTo(ZRBPipeline& pipeline) override;
  long chunkRows() override { return m_chunk_rows; }
  const std::string& file() const override { return m_table.file; }
  std::string formatText() const override;
  nlohmann::ordered_json formatJson() const override;
  std::string typesHint(const std::string& declaration) const override;

private:
  void connect(const std::vector<std::size_t>& columns, bool asFactors);
  void makeRows(const std::vector<std::size_t>& columns, bool asFactors);

  StoredTable m_table;
  long m_chunk_rows = 1;
  zrb::Handle<ZRBBackingFileBuf> m_stored;
  zrb::Handle<ZRBMemoryBuf> m_rows;
  zrb::Handle<CheckedRows> m_node;
};

}  // namespace zrbtool
