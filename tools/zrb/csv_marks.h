// Where are the bytes that split a CSV text?
#pragma once

#include <emmintrin.h>

#include <bit>
#include <cstddef>
#include <cstdint>

#include "record_reader.h"

namespace zrbtool {

// Finds the marks of a text from left to right, 64 bytes at a time: the delimiter, quotes where they are any, line feeds,
// carriage returns and NULs.
class CsvMarks {
public:
  static constexpr std::size_t kStep = 64;

  explicit CsvMarks(const CsvFormat& format)
      : m_delimiter(_mm_set1_epi8(format.delimiter)), m_quote(_mm_set1_epi8(format.quotes ? '"' : '\n')) {}

  // From `begin` on.
  // REQUIRES: from `end` on there are kStep bytes that may be read and are no marks.
  void start(char* begin, char* end) {
    m_step = begin;
    m_end = end;
    m_marks = begin < end ? marksOf(begin) : 0;
  }

  // The next mark; the end where there is none.
  char* next() {
    while (m_marks == 0) {
      if (static_cast<std::size_t>(m_end - m_step) <= kStep) {
        m_step = m_end;
        return m_end;
      }
      m_step += kStep;
      m_marks = marksOf(m_step);
    }
    char* const mark = m_step + std::countr_zero(m_marks);
    m_marks &= m_marks - 1;
    return mark;
  }

private:
  // Bit i tells about byte i of the step.
  std::uint64_t marksOf(const char* step) const {
    std::uint64_t marks = 0;
    for (int part = 3; part >= 0; --part)
      marks = marks << 16 | marksOf(_mm_loadu_si128(reinterpret_cast<const __m128i*>(step + 16 * part)));
    return marks;
  }
  std::uint64_t marksOf(__m128i bytes) const {
    const auto are = [&](__m128i what) { return _mm_cmpeq_epi8(bytes, what); };
    const __m128i lineEnds = _mm_or_si128(are(_mm_set1_epi8('\n')), are(_mm_set1_epi8('\r')));
    const __m128i others = _mm_or_si128(are(m_quote), are(_mm_setzero_si128()));
    const __m128i marks = _mm_or_si128(are(m_delimiter), _mm_or_si128(lineEnds, others));
    return static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(marks)));
  }

  __m128i m_delimiter;
  __m128i m_quote;
  char* m_step = nullptr;  // the bytes looked at
  char* m_end = nullptr;
  std::uint64_t m_marks = 0;  // of them, the marks not given out
};

}  // namespace zrbtool
