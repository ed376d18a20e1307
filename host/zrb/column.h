// Typed views of one column of a node's input or output.  A view is made once, when the buffers are initialised; it finds
// the column by name or number and refuses one of another type.  Rows are chunk rows.
//
//   zrb::InputColumn<double> x(input(), "x");
//   zrb::OutputColumn<zrb::LevelNum> group(output(), 1);
//   if (!x.isNA(row)) group.set(row, {x[row] > 0 ? 1 : 0});
//
//   cell type     column type
//   double        double
//   LevelNum      factor: the level's number; names are the buffer's (ZRBBuf::getLevelName, mapStringToLevelNum)
//   const char*   string: valid until the row is released
//   TimeMs        timeDate: milliseconds
#pragma once

#include <string>

#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "zrb/error.h"

namespace zrb {

struct LevelNum {
  long value;
};
struct TimeMs {
  long long value;
};

// How cells of one C++ type are read, written and left out.
template <class T>
struct Cell;

template <>
struct Cell<double> {
  static constexpr ZRBBuf::column_type kType = ZRBBuf::column_double;
  static double read(ZRBBufReader& reader, long row, long column) { return reader.getDouble(row, column); }
  static void write(ZRBBufWriter& writer, long row, long column, double value) { writer.setDouble(row, column, value); }
  static bool isNA(double value) { return ZRBObj::isDoubleNA(value) != 0; }
  static double na() { return ZRBObj::getDoubleNA(); }
};

template <>
struct Cell<LevelNum> {
  static constexpr ZRBBuf::column_type kType = ZRBBuf::column_factor;
  static LevelNum read(ZRBBufReader& reader, long row, long column) { return {reader.getLevelNum(row, column)}; }
  static void write(ZRBBufWriter& writer, long row, long column, LevelNum level) {
    writer.setLevelNum(row, column, level.value);
  }
  static bool isNA(LevelNum level) { return ZRBObj::isLevelNumNA(level.value) != 0; }
  static LevelNum na() { return {ZRBObj::getLevelNumNA()}; }
};

template <>
struct Cell<const char*> {
  static constexpr ZRBBuf::column_type kType = ZRBBuf::column_string;
  static const char* read(ZRBBufReader& reader, long row, long column) { return reader.getString(row, column); }
  static void write(ZRBBufWriter& writer, long row, long column, const char* text) {
    writer.setString(row, column, text);
  }
  static bool isNA(const char* text) { return ZRBObj::isStringNA(text) != 0; }
  static const char* na() { return ZRBObj::getStringNA(); }
};

template <>
struct Cell<TimeMs> {
  static constexpr ZRBBuf::column_type kType = ZRBBuf::column_timeDate;
  static TimeMs read(ZRBBufReader& reader, long row, long column) { return {reader.getTimeDate(row, column)}; }
  static void write(ZRBBufWriter& writer, long row, long column, TimeMs time) {
    writer.setTimeDate(row, column, time.value);
  }
  static bool isNA(TimeMs time) { return ZRBObj::isTimeDateNA(time.value) != 0; }
  static TimeMs na() { return {ZRBObj::getTimeDateNA()}; }
};

inline const char* columnTypeName(ZRBBuf::column_type type) {
  switch (type) {
    case ZRBBuf::column_factor:
      return "factor";
    case ZRBBuf::column_string:
      return "string";
    case ZRBBuf::column_timeDate:
      return "timeDate";
    case ZRBBuf::column_blob:
      return "blob";
    default:
      return "double";
  }
}

// The number of a column that has to exist, and to be of type `type`.
inline long findColumn(ZRBBuf& buf, long column, ZRBBuf::column_type type) {
  if (!buf.getColumnInfo(column)) throw Error(describeObject(buf) + ": there is no column " + std::to_string(column));
  if (buf.getColumnType(column) != type)
    throw Error(describeObject(buf) + ": column " + std::to_string(column) + " has to be of type " +
                columnTypeName(type) + ", found " + columnTypeName(buf.getColumnType(column)));
  return column;
}
inline long findColumn(ZRBBuf& buf, const char* name, ZRBBuf::column_type type) {
  const long column = buf.getColumnIndex(name);
  if (column < 0) throw Error(describeObject(buf) + ": there is no column \"" + (name ? name : "") + "\"");
  return findColumn(buf, column, type);
}

template <class T>
class InputColumn {
public:
  InputColumn(ZRBBufReader& reader, const char* name)
      : m_reader(&reader), m_column(findColumn(*reader.getBuf(), name, Cell<T>::kType)) {}
  InputColumn(ZRBBufReader& reader, long column)
      : m_reader(&reader), m_column(findColumn(*reader.getBuf(), column, Cell<T>::kType)) {}
  InputColumn(ZRBBufReader& reader, int column) : InputColumn(reader, static_cast<long>(column)) {}

  T operator[](long row) const { return Cell<T>::read(*m_reader, row, m_column); }
  bool isNA(long row) const { return Cell<T>::isNA((*this)[row]); }
  long column() const { return m_column; }

private:
  ZRBBufReader* m_reader;
  long m_column;
};

template <class T>
class OutputColumn {
public:
  OutputColumn(ZRBBufWriter& writer, const char* name)
      : m_writer(&writer), m_column(findColumn(*writer.getBuf(), name, Cell<T>::kType)) {}
  OutputColumn(ZRBBufWriter& writer, long column)
      : m_writer(&writer), m_column(findColumn(*writer.getBuf(), column, Cell<T>::kType)) {}
  OutputColumn(ZRBBufWriter& writer, int column) : OutputColumn(writer, static_cast<long>(column)) {}

  void set(long row, T value) const { Cell<T>::write(*m_writer, row, m_column, value); }
  void setNA(long row) const { set(row, Cell<T>::na()); }
  long column() const { return m_column; }

private:
  ZRBBufWriter* m_writer;
  long m_column;
};

}  // namespace zrb
