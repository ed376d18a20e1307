// How does a buffer come to be, get ready and go?
#include "ZRBBuf.h"

#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "buf/level_index.h"

namespace {

constexpr long kDefaultNumRows = 3000;
constexpr long kDefaultMaxAutoLevels = 500;
constexpr long kDefaultStringBytes = 16;
constexpr long kNoMaxAutoLevels = -1;

}  // namespace

ZRBBuf::ColumnInfo::ColumnInfo()
    : m_type(column_double),
      m_max_auto_levels(kNoMaxAutoLevels),
      m_offset_bytes(0),
      m_string_bytes(kDefaultStringBytes),
      m_overflow_string_bytes(0),
      m_overflow_count(0),
      m_level_index(std::make_unique<LevelIndex>()) {}

ZRBBuf::ColumnInfo::~ColumnInfo() = default;

ZRBBuf::ZRBBuf()
    : m_num_rows(kDefaultNumRows),
      m_num_columns(0),
      m_data_bytes(0),
      m_bytes_per_row(0),
      m_input_rows_released(0),
      m_eof(0),
      m_default_max_auto_levels(kDefaultMaxAutoLevels) {}

ZRBBuf::~ZRBBuf() {
  for (ZRBBufReader* reader : m_readers) unlinkBufReader(reader);
  for (ZRBBufWriter* writer : m_writers) unlinkBufWriter(writer);
  for (ZRBBufReader* reader : m_readers) delete reader;
  for (ZRBBufWriter* writer : m_writers) delete writer;
}

int ZRBBuf::init() {
  ZRBObj::init();
  if (m_writers.empty()) {
    setError("no writer");
  } else if (m_writers.size() > 1) {
    setError("more than one writer");
  } else {
    initData();
    initConnections();
    m_input_rows_released = 0;
    m_eof = 0;
  }
  return hasError();
}

int ZRBBuf::isZRBMemoryBuf() { return 0; }
int ZRBBuf::isZRBBackingFileBuf() { return 0; }
ZRBMemoryBuf* ZRBBuf::getZRBMemoryBuf() { return nullptr; }
ZRBBackingFileBuf* ZRBBuf::getZRBBackingFileBuf() { return nullptr; }
int ZRBBuf::isMultiPass() { return 0; }
int ZRBBuf::isRandomAccess() { return 0; }

ZRBBufWriter* ZRBBuf::newBufWriter(ZRBProc*) {
  setError("ZRBBuf::newBufWriter called: shouldn't happen");
  return nullptr;
}

ZRBBufReader* ZRBBuf::newBufReader(ZRBProc*) {
  setError("ZRBBuf::newBufReader called: shouldn't happen");
  return nullptr;
}
