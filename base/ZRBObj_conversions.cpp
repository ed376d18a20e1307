// Which values are missing, and what is a value of one type in another?
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "ZRBConverter.h"
#include "ZRBObj.h"
#include "base/value_codes.h"

namespace {

constexpr int kConvertTextBytes = 1024;
constexpr unsigned char kDoubleNABytes[8] = {0x01, 0x00, 0xF0, 0x7F, 0x01, 0x00, 0xF0, 0x7F};

}  // namespace

char* ZRBObj::m_temp_convert_string = new char[kConvertTextBytes]();

double ZRBObj::getDoubleNA() {
  static const double na = [] {
    double value;
    std::memcpy(&value, kDoubleNABytes, sizeof value);
    return value;
  }();
  return na;
}
int ZRBObj::isDoubleNA(double value) { return std::isnan(value) ? 1 : 0; }
double ZRBObj::getDoubleNaN() { return getDoubleNA(); }
int ZRBObj::isDoubleNaN(double value) { return isDoubleNA(value); }

long ZRBObj::getLevelNumNA() { return value_codes::kLevelNumNA; }
int ZRBObj::isLevelNumNA(long level) { return level < 0 ? 1 : 0; }

const char* ZRBObj::getStringNA() { return value_codes::kStringNA; }
int ZRBObj::isStringNA(const char* text) { return !text || std::strcmp(text, value_codes::kStringNA) == 0 ? 1 : 0; }

long long ZRBObj::getTimeDateNA() { return value_codes::kTimeDateNA; }
int ZRBObj::isTimeDateNA(long long timeMs) { return timeMs > value_codes::kLastTimeDate ? 1 : 0; }

void ZRBObj::setConverter(ZRBConverter* converter) { m_converter = converter; }
ZRBConverter* ZRBObj::getConverter() { return m_converter; }
ZRBConverter* ZRBObj::chooseConverter() { return m_converter ? m_converter : m_default_converter; }

double ZRBObj::convertStringToDouble(const char* text) {
  if (isStringNA(text)) return getDoubleNA();
  if (ZRBConverter* converter = chooseConverter()) {
    double value;
    converter->textToDouble(text, &value);
    return value;
  }
  const double value = std::strtod(text, nullptr);
  return std::isnan(value) ? 0.0 : value;
}

const char* ZRBObj::convertDoubleToString(double value) {
  if (isDoubleNA(value)) return getStringNA();
  if (ZRBConverter* converter = chooseConverter())
    converter->doubleToText(&value, m_temp_convert_string, kConvertTextBytes);
  else
    std::snprintf(m_temp_convert_string, kConvertTextBytes, "%g", value);
  return m_temp_convert_string;
}

long long ZRBObj::convertStringToTimeDate(const char* text) {
  if (isStringNA(text)) return getTimeDateNA();
  ZRBConverter* converter = chooseConverter();
  if (!converter) return 0;
  long long timeMs;
  converter->textToTimeDate(text, &timeMs);
  return timeMs;
}

const char* ZRBObj::convertTimeDateToString(long long timeMs) {
  if (isTimeDateNA(timeMs)) return getStringNA();
  ZRBConverter* converter = chooseConverter();
  if (!converter) return "";
  converter->timeDateToText(&timeMs, m_temp_convert_string, kConvertTextBytes);
  return m_temp_convert_string;
}

double ZRBObj::convertLevelNumToDouble(long level) {
  return isLevelNumNA(level) ? getDoubleNA() : static_cast<double>(level);
}

// Deliberate: a double outside the level numbers becomes level 0, not NA.
long ZRBObj::convertDoubleToLevelNum(double value) {
  if (isDoubleNA(value)) return getLevelNumNA();
  if (value < 0.0 || value >= static_cast<double>(value_codes::kLevelCodeNA)) return 0;
  return static_cast<long>(value);
}

const char* ZRBObj::convertLevelNumToString(long level) { return isLevelNumNA(level) ? getStringNA() : ""; }
long ZRBObj::convertStringToLevelNum(const char* text) { return isStringNA(text) ? getLevelNumNA() : 0; }
long long ZRBObj::convertLevelNumToTimeDate(long level) { return isLevelNumNA(level) ? getTimeDateNA() : 0; }
long ZRBObj::convertTimeDateToLevelNum(long long timeMs) { return isTimeDateNA(timeMs) ? getLevelNumNA() : 0; }

long long ZRBObj::convertDoubleToTimeDate(double days) {
  if (isDoubleNA(days)) return getTimeDateNA();
  const double ms = days * value_codes::kMsPerDay;
  // What 64 bits cannot hold becomes the lowest value, as the processor's own conversion gives it.
  const bool fits = ms >= -0x1p63 && ms < 0x1p63;
  const long long wholeMs = fits ? static_cast<long long>(ms) : std::numeric_limits<long long>::min();
  return value_codes::addWrapping(m_double_date_epoch, wholeMs);
}

double ZRBObj::convertTimeDateToDouble(long long timeMs) {
  if (isTimeDateNA(timeMs)) return getDoubleNA();
  return static_cast<double>(value_codes::subtractWrapping(timeMs, m_double_date_epoch)) / value_codes::kMsPerDay;
}
