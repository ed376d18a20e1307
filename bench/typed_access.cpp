// What does one cell cost, read or written by a call of its own?
//
// The measured node goes row by row through 8 columns of one type.  Its step of the pipeline, shared by 8000 cells, is
// in the figure.
#include "support/fixed_random.h"
#include "support/row_flow.h"
#include "support/suite.h"
#include "support/write_flow.h"

using namespace bench;

namespace {

constexpr long kColumns = 8;
constexpr long kLevels = 512;  // a power of two: the remainder is nearly free

// Reads every cell of its chunks; read(reader, row, column) gives a number, and the numbers are summed.
template <class Read>
class ReadingNode final : public ZRBProc {
public:
  explicit ReadingNode(Read read) : m_read(read) {}

  int init() override {
    ZRBProc::init();
    checkBufs(1, 0);
    m_sum = 0;
    return hasError();
  }
  long execute() override {
    const long rows = executeRequestRows();
    if (rows < 0) return rows;
    ZRBBufReader* const reader = getInputBufReader(0);
    long long sum = 0;
    for (long row = 0; row < rows; ++row)
      for (long c = 0; c < kColumns; ++c) sum += m_read(*reader, row, c);
    m_sum += sum;
    return executeReleaseRows(rows);
  }
  long long sum() const { return m_sum; }

private:
  Read m_read;
  long long m_sum = 0;
};

// Writes every cell of its chunks; write(writer, row, column, number), the number counting the rows.
template <class Write>
class WritingNode final : public ZRBProc {
public:
  explicit WritingNode(Write write) : m_write(write) {}

  int init() override {
    ZRBProc::init();
    checkBufs(0, 1);
    return hasError();
  }
  long execute() override {
    const long rows = executeRequestRows();
    if (rows < 0) return rows;
    ZRBBufWriter* const writer = getOutputBufWriter(0);
    const long firstRow = getRowsDone();
    for (long row = 0; row < rows; ++row)
      for (long c = 0; c < kColumns; ++c) m_write(*writer, row, c, firstRow + row);
    return executeReleaseRows(rows);
  }

private:
  Write m_write;
};

// The numbers in the cells of the prepared rows, below kLevels: a double, a level, a time-date, or a text with three
// digits.
long numberAt(long row, long column) { return (row * 7 + column * 31) % kLevels; }

std::string digits(long number) {
  char text[8];
  std::snprintf(text, sizeof text, "%03ld", number % 1000);
  return text;
}

void writeNumber(PackedRows& rows, ZRBBuf::column_type type, long row, long column, long number) {
  switch (type) {
    case ZRBBuf::column_factor:
      return rows.setLevel(row, column, number);
    case ZRBBuf::column_string:
      return rows.setText(row, column, "text-" + digits(number));
    case ZRBBuf::column_timeDate:
      return rows.setTimeDate(row, column, number);
    default:
      return rows.setDouble(row, column, static_cast<double>(number));
  }
}

// `read` gives a number modulo `modulus`.
template <class Read>
Work reading(const char* name, ColumnSpec column, Read read, long modulus, long numRows) {
  const auto rows = std::make_shared<PackedRows>(std::vector<ColumnSpec>(kColumns, column), numRows);
  for (long row = 0; row < numRows; ++row)
    for (long c = 0; c < kColumns; ++c) writeNumber(*rows, column.type, row, c, numberAt(row, c));
  const auto flow = std::make_shared<RowFlow<ReadingNode<Read>>>(rows, std::make_unique<ReadingNode<Read>>(read));
  flow->start();
  Work work;
  work.name = name;
  work.unit = "cell";
  work.unitsPerRun = static_cast<double>(flow->rowsPerRun() * kColumns);
  work.library = [=] { return flow->run(); };
  work.check = [=] {
    flow->check();
    long long expected = 0;
    for (long row = 0; row < flow->rowsTaken(); ++row)
      for (long c = 0; c < kColumns; ++c) expected += numberAt(row % numRows, c) % modulus;
    requireEqual(flow->node().sum(), expected, "sum of the cells");
  };
  return work;
}

template <class Write>
Work writing(const char* name, ColumnSpec column, Write write, long rowsPerRun) {
  const std::vector<ColumnSpec> columns(kColumns, column);
  const auto flow = std::make_shared<WriteFlow>(columns, std::make_unique<WritingNode<Write>>(write));
  Work work;
  work.name = name;
  work.unit = "cell";
  work.unitsPerRun = static_cast<double>(rowsPerRun * kColumns);
  work.library = [=] { return flow->run(rowsPerRun); };
  work.check = [=] {
    PackedRows expected(columns, flow->rowsInRing());
    for (long row = 0; row < expected.numRows(); ++row)
      for (long c = 0; c < kColumns; ++c)
        writeNumber(expected, column.type, row, c,
                    (static_cast<long>(flow->rowsDone()) - expected.numRows() + row + c) % kLevels);
    flow->checkRing(expected);
  };
  return work;
}

}  // namespace

int main(int argc, char** argv) {
  Suite suite(argc, argv);
  const long rows = suite.pick(3L, 200L, 200L) * kChunkRows;
  const long rowsPerRun = suite.pick(4L, 20L, 20L) * kChunkRows;

  const ColumnSpec aDouble, aFactor = factorColumn(kLevels), aString{ZRBBuf::column_string, 0, 16},
                            aTimeDate{ZRBBuf::column_timeDate, 0, 16};

  // The texts that the writing nodes write, made beforehand.
  static std::vector<std::string> texts, levelNames;
  for (long number = 0; number < kLevels; ++number) {
    texts.push_back("text-" + digits(number));
    levelNames.push_back("level" + std::to_string(number));
  }
  static const auto textOf = [](long number) { return texts[static_cast<std::size_t>(number % kLevels)].c_str(); };
  static const auto levelOf = [](long number) {
    return levelNames[static_cast<std::size_t>(number % kLevels)].c_str();
  };

  const auto addRead = [&](const char* label, ColumnSpec column, const char* name, const char* reach, const char* aim,
                           auto read, long modulus = kLevels) {
    suite.add(std::string("typed_access/read_") + label, [=] {
      Work work = reading(name, column, read, modulus, rows);
      work.reach = reach;
      work.aim = aim;
      return work;
    });
  };
  const auto addWrite = [&](const char* label, ColumnSpec column, const char* name, const char* reach, const char* aim,
                            auto write) {
    suite.add(std::string("typed_access/write_") + label, [=] {
      Work work = writing(name, column, write, rowsPerRun);
      work.reach = reach;
      work.aim = aim;
      return work;
    });
  };

  addRead("double", aDouble, "read a double (getDouble)", "3 ns", "2 ns",
          [](ZRBBufReader& from, long row, long c) { return static_cast<long>(from.getDouble(row, c)); });
  addRead("factor", aFactor, "read a factor's level (getLevelNum)", "4 ns", "2 ns",
          [](ZRBBufReader& from, long row, long c) { return from.getLevelNum(row, c); });
  addRead("factor_as_double", aFactor, "read a factor as a double (getDouble)", "", "",
          [](ZRBBufReader& from, long row, long c) { return static_cast<long>(from.getDouble(row, c)); });
  addRead(
      "string", aString, "read a string (getString)", "", "",
      [](ZRBBufReader& from, long row, long c) { return from.getString(row, c)[7] - '0'; }, 10);
  addRead("time_date", aTimeDate, "read a time-date (getTimeDate)", "", "",
          [](ZRBBufReader& from, long row, long c) { return from.getTimeDate(row, c); });

  addWrite("double", aDouble, "write a double (setDouble)", "3 ns", "2 ns",
           [](ZRBBufWriter& to, long row, long c, long number) {
             to.setDouble(row, c, static_cast<double>((number + c) % kLevels));
           });
  addWrite("factor", aFactor, "write a factor's level (setLevelNum)", "4 ns", "2 ns",
           [](ZRBBufWriter& to, long row, long c, long number) { to.setLevelNum(row, c, (number + c) % kLevels); });
  addWrite("factor_by_text", aFactor, "write a factor by a level's text (setConvertFactor)", "", "",
           [](ZRBBufWriter& to, long row, long c, long number) { to.setConvertFactor(row, c, levelOf(number + c)); });
  addWrite("string", aString, "write a string (setString)", "", "",
           [](ZRBBufWriter& to, long row, long c, long number) { to.setString(row, c, textOf(number + c)); });
  addWrite("time_date", aTimeDate, "write a time-date (setTimeDate)", "", "",
           [](ZRBBufWriter& to, long row, long c, long number) { to.setTimeDate(row, c, (number + c) % kLevels); });
  return suite.run();
}
