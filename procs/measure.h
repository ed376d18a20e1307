// What is measured of a cell.
#pragma once

#include <cstring>

#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "base/conversions.h"

inline double measureTimeDate(long long timeMs) {
  return conversions::isTimeDateNA(timeMs) ? conversions::kDoubleNA
                                           : static_cast<double>(timeMs) / value_codes::kMsPerDay;
}

// Strings and blobs by their length in bytes, time-dates in days since 1970, everything else as a double.
inline double measure(ZRBBufReader& reader, ZRBBuf::column_type type, long row, long column) {
  switch (type) {
    case ZRBBuf::column_string: {
      const char* text = reader.getString(row, column);
      return ZRBObj::isStringNA(text) ? ZRBObj::getDoubleNA() : static_cast<double>(std::strlen(text));
    }
    case ZRBBuf::column_blob:
      return reader.isBlobNA(row, column) ? ZRBObj::getDoubleNA()
                                          : static_cast<double>(reader.getBlobLength(row, column));
    case ZRBBuf::column_timeDate:
      return measureTimeDate(reader.getTimeDate(row, column));
    default:
      return reader.getDouble(row, column);
  }
}
