#include "csv_source.h"

#include <fmt/format.h>

#include <algorithm>
#include <system_error>

#include "bounds.h"
#include "column_choice.h"
#include "failure.h"
#include "plain_reader.h"
#include "zrb/column.h"
#include "zrb/property.h"

namespace zrbtool {

namespace {

// Bytes that the sniffer sees, unless the first record alone is longer.
constexpr std::size_t kSampleBytes = std::size_t{1} << 20;

// The ring: as many rows as fit into this, within limits.
constexpr long kRingBytes = 4L << 20;
constexpr long kMostRingRows = 3000;
constexpr long kLeastRingRows = 3;

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16Marks[] = {"\xFE\xFF", "\xFF\xFE"};

// How packed files begin, and what unpacks them.
constexpr struct {
  std::string_view mark;
  const char* format;
  const char* unpack;
} kPackedFormats[] = {
    {"\x1F\x8B", "a gzip", "gzip -dc"},  {"BZh91AY&SY", "a bzip2", "bzip2 -dc"},
    {"\xFD\x37zXZ", "an xz", "xz -dc"},  {"\x28\xB5\x2F\xFD", "a zstd", "zstd -dc"},
    {"PK\x03\x04", "a zip", "unzip -p"},
};
constexpr std::size_t kLongestMark = 10;

Failure cannotRead(const std::string& file, long long line, const std::system_error& error) {
  return failureAt(ExitStatus::io, file, line, "0",
                   {line == 0 ? "cannot open" : "cannot read", error.code().message(), "a readable CSV file"});
}

// Reads through to the file, and knows which file it is when that fails.
class NamedBytes : public ByteSource {
public:
  NamedBytes(FileBytes& bytes, const std::string& file) : m_bytes(bytes), m_file(file) {}
  void knowLine(const RecordReader& reader) { m_reader = &reader; }

  std::size_t read(char* to, std::size_t size) override try {
    return m_bytes.read(to, size);
  } catch (const std::system_error& error) {
    throw cannotRead(m_file, m_reader ? m_reader->line() : 1, error);
  }

private:
  FileBytes& m_bytes;
  const std::string& m_file;
  const RecordReader* m_reader = nullptr;
};

// The record reader together with the bytes it borrows.
class CsvRecords : public RecordReader {
public:
  CsvRecords(FileBytes& bytes, const std::string& file, const CsvFormat& format, long long line)
      : m_bytes(bytes, file), m_reader(readRecords(m_bytes, format, line)) {
    m_bytes.knowLine(*m_reader);
  }
  const Record* next() override { return m_reader->next(); }
  long long line() const override { return m_reader->line(); }

private:
  NamedBytes m_bytes;
  std::unique_ptr<RecordReader> m_reader;
};

std::string delimiterName(char delimiter) {
  switch (delimiter) {
    case '\t':
      return "tab";
    case ' ':
      return "space";
    default:
      return {'\'', delimiter, '\''};
  }
}

}  // namespace

CsvSource::CsvSource(const std::string& file, const CsvOptions& options, const TableRequest& request,
                     zrb::Handle<ZRBBuf> buf) try
    : m_file(file), m_buf(std::move(buf)) {
  openFile();
  skipLines(options.skipLines);
  sniff(options);
  m_reader = std::make_unique<CsvRecords>(*m_bytes, m_file, m_layout.format, m_line);
  if (m_layout.header) m_reader->next();
  const std::vector<std::size_t> columns = takeColumns(request);
  makeBuf(columns);
  m_node = zrb::make<CsvNode>(m_file, m_layout, columns, options, *m_reader);
  zrb::set(m_node, "name", "csv");
  zrb::set(m_node, "num.rows", m_chunk_rows);
  zrb::set(m_node, "outbuf", m_buf);
} catch (const CsvError& error) {
  throw failureOf(error, file, {});
}

void CsvSource::openFile() {
  try {
    m_bytes = std::make_unique<FileBytes>(m_file);
  } catch (const std::system_error& error) {
    throw cannotRead(m_file, 0, error);
  }
  try {
    const std::string_view begin = m_bytes->peek(kLongestMark);
    const auto beginsWith = [begin](std::string_view mark) { return begin.substr(0, mark.size()) == mark; };
    if (std::any_of(std::begin(kUtf16Marks), std::end(kUtf16Marks), beginsWith))
      throw failureAt(ExitStatus::data, m_file, 1, "1",
                      {"text is no UTF-8", "the mark of UTF-16 text",
                       "UTF-8 text (convert the file, as with iconv -f UTF-16 -t UTF-8)"});
    for (const auto& packed : kPackedFormats)
      if (beginsWith(packed.mark))
        throw failureAt(ExitStatus::data, m_file, 1, "1",
                        {"no CSV text", fmt::format("the mark of {} file", packed.format),
                         fmt::format("text (unpack it first, as with {} FILE | zrb describe -)", packed.unpack)});
    if (beginsWith(kUtf8Mark)) m_bytes->skip(kUtf8Mark.size());
  } catch (const std::system_error& error) {
    throw cannotRead(m_file, 1, error);
  }
}

void CsvSource::skipLines(long long lines) try {
  constexpr std::size_t kPiece = 64 * 1024;
  while (lines > 0) {
    const std::string_view piece = m_bytes->peek(kPiece);
    if (piece.empty())
      throw failureAt(ExitStatus::data, m_file, m_line, "0",
                      {"no table", "the end of the file within the lines to skip", "fewer lines with --skip"});
    const bool isLast = piece.size() < kPiece;
    std::size_t done = 0;
    while (lines > 0 && done < piece.size()) {
      const std::size_t end = piece.find_first_of("\r\n", done);
      if (end == std::string_view::npos && !isLast) {
        done = piece.size();  // the line goes on
        break;
      }
      // A carriage return at the end of the piece waits for the line feed that may come with the next one.
      if (end != std::string_view::npos && piece[end] == '\r' && end + 1 == piece.size() && !isLast) {
        done = end;
        break;
      }
      done = end == std::string_view::npos ? piece.size() : end + (piece.substr(end, 2) == "\r\n" ? 2 : 1);
      --lines;
      ++m_line;
    }
    m_bytes->skip(done);
  }
} catch (const std::system_error& error) {
  throw cannotRead(m_file, m_line, error);
}

void CsvSource::sniff(const CsvOptions& options) {
  std::size_t wanted = kSampleBytes;
  for (;;) {
    std::string_view sample;
    try {
      sample = m_bytes->peek(wanted);
    } catch (const std::system_error& error) {
      throw cannotRead(m_file, m_line, error);
    }
    const bool isAll = sample.size() < wanted;
    // Without a line end there is no whole record yet.
    if (!isAll && sample.find_first_of("\r\n") == std::string_view::npos && wanted < kLongestRecord) {
      wanted *= 2;
      continue;
    }
    m_layout = sniffCsv(sample, isAll, options, m_file, m_line);
    return;
  }
}

// The file's column numbers that go into the buffer, in its order.
std::vector<std::size_t> CsvSource::takeColumns(const TableRequest& request) {
  const std::vector<std::size_t> chosen = chooseColumns(request, m_file, m_layout);
  for (const std::size_t column : chosen) {
    ColumnPlan& plan = m_layout.columns[column];
    if (!request.asFactors) break;
    if (plan.declared && plan.type != ZRBBuf::column_factor)
      throw failureAt(ExitStatus::usage, m_file, m_layout.firstLine, plan.name,
                      {"type does not fit", "--types with another type", "a factor for this use of the column"});
    plan.type = ZRBBuf::column_factor;
    plan.onlyFactor = true;
  }
  return chosen;
}

void CsvSource::makeBuf(const std::vector<std::size_t>& columns) {
  zrb::set(m_buf, "name", "rows");
  zrb::set(m_buf, "num.columns", columns.size());
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const ColumnPlan& plan = m_layout.columns[columns[i]];
    zrb::set(m_buf, "column.name", i, plan.name);
    zrb::set(m_buf, "column.type", i, zrb::columnTypeName(plan.type));
    if (plan.type == ZRBBuf::column_string) zrb::set(m_buf, "column.string.bytes", i, plan.stringBytes);
    if (plan.type == ZRBBuf::column_factor) zrb::set(m_buf, "column.max.auto.levels", i, kMostLevels);
  }
  const long rowBytes = std::max(zrb::get<long>(m_buf, "calc.bytes.per.row"), 1L);
  const long ringRows = std::clamp(kRingBytes / rowBytes, kLeastRingRows, kMostRingRows);
  zrb::set(m_buf, "num.rows", ringRows);
  m_chunk_rows = ringRows / 3;
}

void CsvSource::addTo(ZRBPipeline& pipeline) {
  zrb::set(pipeline, "add.buf", m_buf);
  zrb::set(pipeline, "add.proc", m_node);
}

std::string CsvSource::formatText() const {
  return fmt::format("delimiter {}, {}", delimiterName(m_layout.format.delimiter),
                     m_layout.header ? fmt::format("header line {}", m_layout.firstLine) : "no header");
}

nlohmann::ordered_json CsvSource::formatJson() const {
  nlohmann::ordered_json json;
  json["delimiter"] = std::string(1, m_layout.format.delimiter);
  json["header"] = m_layout.header;
  json["first_line"] = m_layout.firstLine;
  return json;
}

}  // namespace zrbtool
