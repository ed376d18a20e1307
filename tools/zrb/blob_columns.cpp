#include "blob_columns.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "bounds.h"
#include "failure.h"
#include "open_file.h"

namespace zrbtool {

namespace {

constexpr std::size_t kPieceBytes = 64 * 1024;

std::vector<std::string> namesOf(const std::vector<ColumnPlan>& columns) {
  std::vector<std::string> names;
  for (const ColumnPlan& column : columns) names.push_back(column.name);
  return names;
}

}  // namespace

BlobColumns::BlobColumns(const std::string& file, const std::string& out, const std::vector<ColumnPlan>& columns,
                         const CsvOptions& options, std::vector<BlobSource> sources)
    : m_file(file),
      m_out(out),
      m_folder(file.substr(0, file.rfind('/') + 1)),
      m_names(namesOf(columns)),
      m_na(options.na),
      m_sources(std::move(sources)),
      m_piece(m_sources.empty() ? 0 : kPieceBytes) {}

void BlobColumns::store(long row, const Record& record, ZRBBufWriter& writer) {
  for (const BlobSource& source : m_sources) {
    const bool isThere = source.pathColumn < record.size();
    const std::string path(isThere ? record[source.pathColumn] : std::string_view());
    if (m_na.contains(path)) {
      writer.setBlobNA(row, source.column);
      continue;
    }
    const auto fail = [&](const std::string& found) {
      throw failureAt(ExitStatus::io, m_file, record.lineOf(source.pathColumn), m_names[source.pathColumn],
                      {"cannot read the file named here", quote(path) + " with " + found,
                       "the path of a file, seen from the folder of the CSV file"});
    };
    // A pipe does not hold the tool up.
    const OpenFile blob(path.front() == '/' ? path : m_folder + path, O_RDONLY | O_NONBLOCK);
    if (!blob.isOpen()) fail(std::strerror(errno));
    if (!blob.isRegular()) fail("something that is no file");
    errno = 0;
    if (!writer.openBlob(row, source.column)) failWriting(errno);
    if (const int error = copy(blob.handle(), writer)) fail(std::strerror(error));
    errno = 0;
    if (writer.closeBlob() != 1) failWriting(errno);
    m_file_bytes += kBlobMarkBytes;
  }
}

int BlobColumns::copy(int handle, ZRBBufWriter& writer) {
  for (;;) {
    const ssize_t bytes = read(handle, m_piece.data(), m_piece.size());
    if (bytes == 0) return 0;
    if (bytes < 0 && errno == EINTR) continue;
    if (bytes < 0) return errno;
    errno = 0;
    if (writer.writeBlobData(m_piece.data(), bytes) != bytes) failWriting(errno);
    m_file_bytes += bytes;
  }
}

void BlobColumns::failWriting(int error) const {
  throw failureAt(ExitStatus::io, m_out, 0, "0",
                  {"cannot write", error != 0 ? std::strerror(error) : "a device or a limit that is full",
                   "room for the whole file"});
}

}  // namespace zrbtool
