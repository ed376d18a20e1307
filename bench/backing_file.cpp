// What do rows cost on their way to a backing file and back?
//
// Writing: the ring is filled outside the measurement, the release of each chunk and the end of data are timed; the
// floor writes the same bytes in the same pieces and closes the file.  Reading: passes over the file, in the pieces
// that the ring takes; the floor reads the same pieces.  The figures are for a file in the page cache.
#include "support/row_file.h"
#include "support/row_flow.h"
#include "support/suite.h"

using namespace bench;

namespace {

constexpr long kPreparedChunks = 48;  // as many rows as are made beforehand, again and again: 3 MB

class EndNode final : public ZRBProc {
public:
  int init() override { return ZRBProc::init(); }
};

std::shared_ptr<PackedRows> makeRows() {
  auto rows = std::make_shared<PackedRows>(fileColumns(), kPreparedChunks * kChunkRows);
  fillFileChunk(*rows, 0);
  return rows;
}

// The prepared rows as the file is to hold them, held against the file.
void checkFile(const char* path, const PackedRows& rows, long chunks) {
  PackedRows expected = rows;
  reverseDoubles(expected);
  const long chunkBytes = kChunkRows * rows.rowBytes();
  std::vector<char> found(static_cast<std::size_t>(chunkBytes));
  FileHandle file(path, O_RDONLY);
  for (long chunk = 0; chunk < chunks; ++chunk) {
    file.readAll(found.data(), chunkBytes);
    if (std::memcmp(found.data(), expected.row(chunk % kPreparedChunks * kChunkRows), found.size()) != 0)
      fail("chunk %ld of %s is wrong", chunk, path);
  }
  requireEqual(static_cast<long long>(std::filesystem::file_size(path)), chunks * chunkBytes, "bytes of the file");
}

// ---- Writing ----

class Writing {
public:
  Writing(std::shared_ptr<PackedRows> rows, long chunks)
      : m_rows(std::move(rows)),
        m_chunks(chunks),
        m_buf(create<ZRBBackingFileBuf>(zrb_s_create_ZRBBackingFileBuf)),
        m_ring(static_cast<std::size_t>(kRingRows * m_rows->rowBytes())) {
    m_rows->setSchemaOf(*m_buf);
    m_buf->setNumRows(kRingRows);
    m_buf->setBackingFileName(m_file.path());
    m_node.setOutputBuf(0, m_buf.get());
  }

  double runLibrary() {
    m_file.remove();
    m_buf->init();
    m_node.init();
    ZRBBufWriter* const writer = m_node.getOutputBufWriter(0);
    Stopwatch watch;
    for (long chunk = 0; chunk < m_chunks; ++chunk) {
      fill(m_buf->getDataPtr(writer->getBufferRowNum(0), 0, 0), chunk);
      watch.start();
      writer->releaseRows(kChunkRows);
      watch.stop();
    }
    watch.start();
    writer->setEOF();
    watch.stop();
    requireNoError(*m_buf, "buffer");
    requireNoError(m_node, "node");
    requireEqual(m_buf->getTotalNumRows(), m_chunks * kChunkRows, "rows written");
    return watch.ns();
  }

  double runFloor() {
    m_file.remove();
    Stopwatch watch;
    {
      FileHandle file(m_file.path(), O_WRONLY | O_CREAT | O_TRUNC);
      for (long chunk = 0; chunk < m_chunks; ++chunk) {
        char* const target = m_ring.data() + chunk % (kRingRows / kChunkRows) * chunkBytes();
        fill(target, chunk);
        watch.start();
        file.writeAll(target, chunkBytes());
        watch.stop();
      }
      watch.start();
    }
    watch.stop();
    return watch.ns();
  }

  void check() {
    runLibrary();
    checkFile(m_file.path(), *m_rows, m_chunks);
    requireEqual(m_buf->getRawLevelNum(0, kFileDoubles),
                 m_rows->getLevel(((m_chunks - 1) / 3 * 3) % kPreparedChunks * kChunkRows, kFileDoubles),
                 "the ring after the end");
  }

private:
  long chunkBytes() const { return kChunkRows * m_rows->rowBytes(); }
  void fill(char* target, long chunk) {
    std::memcpy(target, m_rows->row(chunk % kPreparedChunks * kChunkRows), static_cast<std::size_t>(chunkBytes()));
  }

  std::shared_ptr<PackedRows> m_rows;
  long m_chunks;
  ScratchFile m_file{"write"};
  std::unique_ptr<ZRBBackingFileBuf> m_buf;  // before the node, so that it goes after it
  EndNode m_node;
  std::vector<char> m_ring;
};

// ---- Reading ----

class Reading {
public:
  Reading(std::shared_ptr<PackedRows> rows, long chunks)
      : m_rows(std::move(rows)),
        m_chunks(chunks),
        m_buf(create<ZRBBackingFileBuf>(zrb_s_create_ZRBBackingFileBuf)),
        m_ring(static_cast<std::size_t>(kRingRows * m_rows->rowBytes())) {
    PackedRows inFile = *m_rows;
    reverseDoubles(inFile);
    FileHandle file(m_file.path(), O_WRONLY | O_CREAT | O_TRUNC);
    for (long chunk = 0; chunk < m_chunks; ++chunk)
      file.writeAll(inFile.row(chunk % kPreparedChunks * kChunkRows), kChunkRows * m_rows->rowBytes());

    m_rows->setSchemaOf(*m_buf);
    m_buf->setNumRows(kRingRows);
    m_buf->setBackingFileName(m_file.path());
    m_buf->setBackingFileTotalRows(m_chunks * kChunkRows);
    m_node.setNumRows(kRingRows);
    m_node.setInputBuf(0, m_buf.get());
    m_buf->init();
    m_node.init();
  }

  // One pass, from wherever the reader stands.
  double runLibrary() {
    return pass([](ZRBBufReader&, long) {});
  }

  double runFloor() {
    FileHandle file(m_file.path(), O_RDONLY);
    Stopwatch watch;
    for (long row = 0; row < m_chunks * kChunkRows; row += kRingRows) {
      const long rows = std::min(kRingRows, m_chunks * kChunkRows - row);
      watch.start();
      file.readAll(m_ring.data(), rows * m_rows->rowBytes());
      watch.stop();
    }
    return watch.ns();
  }

  void check() {
    pass([this](ZRBBufReader& reader, long rowsReady) {
      const long first = static_cast<long>(reader.getChunkPosition());
      for (long row = 0; row < rowsReady; ++row) {
        const char* const found = m_buf->getDataPtr(reader.getBufferRowNum(row), 0, 0);
        const char* const expected = m_rows->row((first + row) % m_rows->numRows());
        if (std::memcmp(found, expected, static_cast<std::size_t>(m_rows->rowBytes())) != 0)
          fail("row %ld is read wrongly", first + row);
      }
    });
  }

private:
  // visit(reader, rowsReady) is called for each piece, outside the measurement.
  template <class Visit>
  double pass(Visit visit) {
    ZRBBufReader* const reader = m_node.getInputBufReader(0);
    Stopwatch watch;
    watch.start();
    reader->setChunkPosition(0);
    reader->setRequestRows(1);
    watch.stop();
    long long rows = 0;
    for (;;) {
      const long ready = reader->getRowsReady();
      if (ready == 0) break;
      visit(*reader, ready);
      rows += ready;
      watch.start();
      reader->releaseRows(ready);
      watch.stop();
    }
    requireNoError(*m_buf, "buffer");
    requireNoError(m_node, "node");
    requireEqual(rows, m_chunks * kChunkRows, "rows read");
    return watch.ns();
  }

  std::shared_ptr<PackedRows> m_rows;
  long m_chunks;
  ScratchFile m_file{"read"};
  std::unique_ptr<ZRBBackingFileBuf> m_buf;  // before the node, so that it goes after it
  EndNode m_node;
  std::vector<char> m_ring;
};

template <class Direction>
Work fileWork(const char* name, long chunks) {
  const auto direction = std::make_shared<Direction>(makeRows(), chunks);
  Work work;
  work.name = name + std::string(", ") + std::to_string(chunks * kChunkRows * 70 / 1000000) + " MB of rows";
  work.unit = "row";
  work.unitsPerRun = static_cast<double>(chunks * kChunkRows);
  work.library = [=] { return direction->runLibrary(); };
  work.floor = [=] { return direction->runFloor(); };
  work.reach = "1.15 x";
  work.aim = "1.03 x";
  work.repeatDisturbedRuns = false;
  work.check = [=] { direction->check(); };
  return work;
}

}  // namespace

int main(int argc, char** argv) {
  Suite suite(argc, argv);
  const long chunks = suite.pick(10L, 900L, 28572L);  // 63 MB, 2 GB
  suite.add(
      "backing_file/write", [=] { return fileWork<Writing>("backing file: write", chunks); }, Suite::kFewPairs);
  suite.add(
      "backing_file/read", [=] { return fileWork<Reading>("backing file: read", chunks); }, Suite::kFewPairs);
  return suite.run();
}
