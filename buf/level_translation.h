// Which levels of a column the levels of another column are, by name, as far as they have been found.
#pragma once

#include <cstdint>
#include <vector>

class LevelTranslation {
public:
  static constexpr std::uint16_t kUnknown = 0xFFFF;  // the code of NA, which no level has

  // Whether the levels of the column whose index has the stamp `from` can be translated into those of the column with
  // the stamp `to`, for `cells` cells.  It starts anew for another column, if that pays.
  bool prepare(std::uint64_t from, std::uint64_t to, long levels, long cells) {
    if (levels > kUnknown) levels = kUnknown;
    const std::size_t size = static_cast<std::size_t>(levels);
    if (m_from == from && m_to == to) {
      if (m_codes.size() < size) m_codes.resize(size, kUnknown);
      return true;
    }
    const bool again = m_asked == from;
    m_asked = from;
    if (levels / kLevelsPerCell > cells && !again) return false;
    m_codes.assign(size, kUnknown);
    m_from = from;
    m_to = to;
    return true;
  }

  // By level: what the cell of a level holds, as it holds it; kUnknown where the level has not been found.  Valid until
  // prepare() is called again.
  const std::uint16_t* codes() const { return m_codes.data(); }
  std::size_t numCodes() const { return m_codes.size(); }
  void setCode(std::size_t level, std::uint16_t code) {
    if (level < m_codes.size()) m_codes[level] = code;
  }

private:
  static constexpr long kLevelsPerCell = 64;  // as many codes are forgotten in the time of one lookup

  std::uint64_t m_from = 0;  // stamps begin at 1
  std::uint64_t m_to = 0;
  std::uint64_t m_asked = 0;
  std::vector<std::uint16_t> m_codes;  // by level
};
