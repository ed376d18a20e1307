// Which level is this text, and what happens when a dictionary is full?
//
// Every change of a dictionary goes through setLevelName or addLevel, which keep the column's index in step.
#include <algorithm>

#include "ZRBBuf.h"
#include "base/format_message.h"
#include "buf/buf_access.h"
#include "buf/level_index.h"
#include "buf/saturating.h"

void ZRBBuf::setNumLevels(long column, long levels) {
  ColumnInfo* info = getColumnInfo(column);
  if (!info) return;
  levels = std::max(levels, 0L);
  for (long level = levels; level < getNumLevels(column); ++level) setLevelName(column, level, nullptr);
  info->m_level_names.resize(static_cast<std::size_t>(levels));
}

long ZRBBuf::getNumLevels(long column) {
  ColumnInfo* info = getColumnInfo(column);
  return info ? static_cast<long>(info->m_level_names.size()) : 0;
}

void ZRBBuf::setLevelName(long column, long level, const char* name) {
  ColumnInfo* info = getColumnInfo(column);
  if (!info || level < 0) return;
  const std::size_t at = static_cast<std::size_t>(level);
  if (at >= info->m_level_names.size()) info->m_level_names.resize(at + 1);
  std::unique_ptr<char[]> copy(copyString(name));
  if (info->m_level_names[at]) info->m_level_index->erase(info->m_level_names, level);
  info->m_level_names[at] = std::move(copy);
  if (info->m_level_names[at]) info->m_level_index->insert(info->m_level_names, level);
}

const char* ZRBBuf::getLevelName(long column, long level) {
  if (level < 0 || level >= getNumLevels(column)) return nullptr;
  return getColumnInfo(column)->m_level_names[static_cast<std::size_t>(level)].get();
}

long ZRBBuf::addLevel(long column, const char* name) {
  ColumnInfo* info = getColumnInfo(column);
  if (!info || !name) return -1;
  const long level = getNumLevels(column);
  info->m_level_names.emplace_back(copyString(name));
  info->m_level_index->insert(info->m_level_names, level);
  return level;
}

long ZRBBuf::lookupLevel(long column, const char* name) {
  ColumnInfo* info = getColumnInfo(column);
  if (!info || !name) return -1;
  const LevelKey key(name);
  if (key.isEmpty() || key.isNA()) return -1;
  return info->m_level_index->find(info->m_level_names, name, key);
}

void ZRBBuf::setMaxAutoLevels(long column, long levels) {
  if (ColumnInfo* info = getColumnInfo(column)) info->m_max_auto_levels = levels;
}

long ZRBBuf::getMaxAutoLevels(long column) {
  ColumnInfo* info = getColumnInfo(column);
  return info ? info->m_max_auto_levels : 0;
}

void ZRBBuf::setDefaultMaxAutoLevels(long levels) { m_default_max_auto_levels = levels; }
long ZRBBuf::getDefaultMaxAutoLevels() { return m_default_max_auto_levels; }

void ZRBBuf::setOverflowLevel(long column, const char* name) {
  if (ColumnInfo* info = getColumnInfo(column)) info->m_overflow_level.reset(copyString(name));
}

const char* ZRBBuf::getOverflowLevel(long column) {
  ColumnInfo* info = getColumnInfo(column);
  return info ? info->m_overflow_level.get() : nullptr;
}

void ZRBBuf::setOverflowCount(long column, long long count) {
  if (ColumnInfo* info = getColumnInfo(column)) info->m_overflow_count = count;
}

long long ZRBBuf::getOverflowCount(long column) {
  ColumnInfo* info = getColumnInfo(column);
  return info ? info->m_overflow_count : 0;
}

void ZRBBuf::setOverflowStringBytes(long column, long bytes) {
  if (ColumnInfo* info = getColumnInfo(column)) info->m_overflow_string_bytes = bytes;
}

long ZRBBuf::getOverflowStringBytes(long column) {
  ColumnInfo* info = getColumnInfo(column);
  return info ? info->m_overflow_string_bytes : 0;
}

void ZRBBuf::initOverflowCounts() {
  for (const auto& info : m_columns) {
    info->m_overflow_count = 0;
    info->m_overflow_string_bytes = 0;
  }
}

int ZRBBuf::anyOverflowCounts() {
  return std::any_of(m_columns.begin(), m_columns.end(), [](const auto& info) { return info->m_overflow_count > 0; });
}

long ZRBBuf::mapStringToLevelNum(long column, const char* text) {
  ColumnInfo* info = BufAccess(*this).columnInfo(column);
  if (!info || !text) return getLevelNumNA();
  const LevelKey key(text);
  if (key.isEmpty() || key.isNA()) return getLevelNumNA();
  const long level = info->m_level_index->find(info->m_level_names, text, key);
  return level >= 0 ? level : levelOfNewText(column, text);
}

// The level of a text that none is named after.
long ZRBBuf::levelOfNewText(long column, const char* text) {
  ColumnInfo* info = getColumnInfo(column);
  const long max = info->m_max_auto_levels < 0 ? m_default_max_auto_levels : info->m_max_auto_levels;
  const char* overflow = info->m_overflow_level.get();
  // The last automatic slot is kept for the overflow level.
  if (getNumLevels(column) + 1 == max && overflow && *overflow && lookupLevel(column, overflow) < 0)
    addLevel(column, overflow);
  if (max > getNumLevels(column)) return addLevel(column, text);

  info->m_overflow_count = addSaturating(info->m_overflow_count, 1);
  if (info->m_overflow_count <= 1 && getErrorOnLevelOverflow()) {
    const char* name = info->m_name ? info->m_name.get() : "??";
    addError(formatMessage("factor level overflow in column %s", name).c_str());
  }
  const long level = lookupLevel(column, overflow);
  return level >= 0 ? level : getLevelNumNA();
}

double ZRBBuf::mapLevelToDouble(long column, const char* text) {
  return convertLevelNumToDouble(mapStringToLevelNum(column, text));
}

const char* ZRBBuf::mapLevelNumToString(long column, long level) {
  return isLevelNumNA(level) ? nullptr : getLevelName(column, level);
}

const char* ZRBBuf::mapDoubleToLevel(long column, double value) {
  return mapLevelNumToString(column, convertDoubleToLevelNum(value));
}
