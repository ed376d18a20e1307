// The contents of files as blobs.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "ZRBBufWriter.h"
#include "cell_text.h"
#include "csv_options.h"
#include "record_reader.h"
#include "sniffer.h"

namespace zrbtool {

struct BlobSource {
  long column;             // of the writer, where the blob goes
  std::size_t pathColumn;  // of the record, where the path is
};

// Paths are relative to the folder of the CSV file, or to the current one for standard input; NA for a path gives NA for
// the blob.
class BlobColumns {
public:
  // `file` is the CSV file, `out` the blob file as the user knows it.
  BlobColumns(const std::string& file, const std::string& out, const std::vector<ColumnPlan>& columns,
              const CsvOptions& options, std::vector<BlobSource> sources);
  // Stores the blobs of one record in the writer's chunk row `row`.  Throws Failure.
  void store(long row, const Record& record, ZRBBufWriter& writer);
  // Of the blob file so far.
  long long fileBytes() const { return m_file_bytes; }

private:
  // Reads the file to its end; the error number of the first read that fails, or 0.
  int copy(int handle, ZRBBufWriter& writer);
  [[noreturn]] void failWriting(int error) const;

  std::string m_file;
  std::string m_out;
  std::string m_folder;
  std::vector<std::string> m_names;
  NaTexts m_na;
  std::vector<BlobSource> m_sources;
  std::vector<char> m_piece;
  long long m_file_bytes = 0;
};

}  // namespace zrbtool
