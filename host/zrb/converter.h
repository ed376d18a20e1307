// A converter for buffers and other objects: numbers in their shortest form, dates as ISO 8601.
#pragma once

#include <cstddef>
#include <limits>
#include <string_view>

#include "ZRBConverter.h"
#include "ZRBObj.h"
#include "zrb/iso_date.h"
#include "zrb/number_text.h"

namespace zrb {

// Text that is no number or date as a whole becomes NA.  What it writes, it reads back as the same value; infinities are
// "inf" and "-inf".  Has no state: one object serves the whole process, for instance as
//   static zrb::IsoConverter converter;
//   buf->setConverter(&converter);              // or ZRBObj::setDefaultConverter(&converter)
class IsoConverter final : public ZRBConverter {
public:
  void doubleToText(const double* value, char* text, int size) override {
    char buffer[kNumberTextBytes];
    copyText(buffer, formatNumber(*value, buffer), text, size);
  }

  void textToDouble(const char* text, double* value) override {
    const std::string_view whole(text);
    if (whole == "inf" || whole == "-inf") {
      const double infinity = std::numeric_limits<double>::infinity();
      *value = whole.front() == '-' ? -infinity : infinity;
    } else {
      *value = parseNumber(whole).value_or(ZRBObj::getDoubleNA());
    }
  }

  void timeDateToText(const long long* timeMs, char* text, int size) override {
    char buffer[kIsoDateBytes];
    copyText(buffer, formatIsoDate(*timeMs, buffer), text, size);
  }

  void textToTimeDate(const char* text, long long* timeMs) override {
    *timeMs = parseIsoDate(text).value_or(ZRBObj::getTimeDateNA());
  }

private:
  // A text that does not fit is left out as a whole: half a number would be another number.
  static void copyText(const char* from, const char* end, char* to, int size) {
    if (size < 1) return;
    if (end - from < size)
      while (from < end) *to++ = *from++;
    *to = '\0';
  }
};

}  // namespace zrb
