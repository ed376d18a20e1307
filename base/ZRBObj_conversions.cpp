// Which values are missing, and what is a value of one type in another?
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ZRBConverter.h"
#include "ZRBObj.h"
#include "base/conversions.h"
#include "base/value_codes.h"

namespace {

constexpr int kConvertTextBytes = 1024;

}  // namespace

char* ZRBObj::m_temp_convert_string = new char[kConvertTextBytes]();

double ZRBObj::getDoubleNA() { return conversions::kDoubleNA; }
int ZRBObj::isDoubleNA(double value) { return std::isnan(value) ? 1 : 0; }
double ZRBObj::getDoubleNaN() { return getDoubleNA(); }
int ZRBObj::isDoubleNaN(double value) { return isDoubleNA(value); }

long ZRBObj::getLevelNumNA() { return value_codes::kLevelNumNA; }
int ZRBObj::isLevelNumNA(long level) { return level < 0 ? 1 : 0; }

const char* ZRBObj::getStringNA() { return value_codes::kStringNA; }
int ZRBObj::isStringNA(const char* text) { return !text || std::strcmp(text, value_codes::kStringNA) == 0 ? 1 : 0; }

long long ZRBObj::getTimeDateNA() { return value_codes::kTimeDateNA; }
int ZRBObj::isTimeDateNA(long long timeMs) { return conversions::isTimeDateNA(timeMs) ? 1 : 0; }

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

double ZRBObj::convertLevelNumToDouble(long level) { return conversions::levelNumToDouble(level); }
long ZRBObj::convertDoubleToLevelNum(double value) { return conversions::doubleToLevelNum(value); }

const char* ZRBObj::convertLevelNumToString(long level) { return isLevelNumNA(level) ? getStringNA() : ""; }
long ZRBObj::convertStringToLevelNum(const char* text) { return isStringNA(text) ? getLevelNumNA() : 0; }
long long ZRBObj::convertLevelNumToTimeDate(long level) { return isLevelNumNA(level) ? getTimeDateNA() : 0; }
long ZRBObj::convertTimeDateToLevelNum(long long timeMs) { return isTimeDateNA(timeMs) ? getLevelNumNA() : 0; }

long long ZRBObj::convertDoubleToTimeDate(double days) {
  return conversions::doubleToTimeDate(days, m_double_date_epoch);
}

double ZRBObj::convertTimeDateToDouble(long long timeMs) {
  return conversions::timeDateToDouble(timeMs, m_double_date_epoch);
}
