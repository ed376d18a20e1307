// The count node computed a second time, in the plainest way: arrays of records, linked lists walked from their heads.
#pragma once

#include <cmath>
#include <limits>
#include <vector>

struct ModelRecord {
  double value = 0;
  long long count = 0;
  int next = -1;
  int subList = -1;
};

// The array of count records and the operations on its sorted lists.
class ModelRecords {
public:
  std::vector<ModelRecord> records;

  bool holds(int index) const { return index >= 0 && index < static_cast<int>(records.size()); }
  ModelRecord& at(int index) { return records[static_cast<std::size_t>(index)]; }

  int append(double value) {
    records.push_back({value, 0, -1, -1});
    return static_cast<int>(records.size()) - 1;
  }

  // The index of the record, or -1.
  int find(int head, double value) {
    if (!holds(head)) return -1;
    if (std::isnan(value)) return std::isnan(at(head).value) ? head : -1;
    int index = std::isnan(at(head).value) ? at(head).next : head;
    for (; holds(index); index = at(index).next) {
      if (at(index).value == value) return index;
      if (at(index).value > value) return -1;
    }
    return -1;
  }

  // The index of the record; `head` changes when a new record comes first.
  int findOrInsert(int& head, double value) {
    if (!holds(head)) return head = append(value);
    const double first = at(head).value;
    if ((std::isnan(value) && std::isnan(first)) || value == first) return head;
    if (std::isnan(value) || first > value) {
      const int index = append(value);
      at(index).next = head;
      return head = index;
    }
    for (int index = head;;) {
      const int next = at(index).next;
      if (holds(next) && at(next).value == value) return next;
      if (!holds(next) || at(next).value > value) {
        const int inserted = append(value);
        at(inserted).next = next;
        at(index).next = inserted;
        return inserted;
      }
      index = next;
    }
  }

  long length(int head) {
    long count = 0;
    for (int index = head; holds(index); index = at(index).next) ++count;
    return count;
  }
  // The index of the element at `position`, or -1.
  int element(int head, int position) {
    if (position < 0) return -1;
    int index = head;
    while (holds(index) && position-- > 0) index = at(index).next;
    return holds(index) ? index : -1;
  }
};

struct ModelColumn {
  double min = std::numeric_limits<double>::quiet_NaN();
  double max = min, mean = min, m2 = min;
  long long countNA = 0, countOK = 0;
  int levelList = -1;

  // The running update; NaN counts as NA.
  void add(double x) {
    if (std::isnan(x)) {
      ++countNA;
      return;
    }
    if (countOK == 0) {
      min = max = mean = x;
      m2 = 0;
    } else {
      if (x < min) {
        min = x;
      } else if (x > max) {
        max = x;
      }
      const double oldMean = mean;
      mean = oldMean + (x - oldMean) / static_cast<double>(countOK + 1);
      m2 += (x - oldMean) * (x - mean);
    }
    ++countOK;
  }
  double stdDev() const {
    if (countOK <= 0 || std::isnan(m2) || m2 < 0) return std::numeric_limits<double>::quiet_NaN();
    if (countOK == 1) return 0;
    return std::sqrt(m2 / static_cast<double>(countOK - 1));
  }
};

// The whole node.  Values arrive as the doubles that the node measures, chunk by chunk.
class CountModel {
public:
  ModelRecords lists;
  std::vector<ModelColumn> columns;
  std::vector<int> crossColumns;  // as many as the cross size
  int crossRoot = -1;             // stays as it is when the rest is emptied

  void init(std::size_t numColumns) {
    lists.records.clear();
    columns.assign(numColumns, ModelColumn());
  }

  // `values[column][row]`; the columns in `isFactor` also count their values.
  void addChunk(const std::vector<std::vector<double>>& values, const std::vector<bool>& isFactor) {
    for (std::size_t column = 0; column < columns.size(); ++column) {
      for (const double x : values[column]) {
        columns[column].add(x);
        if (isFactor[column]) ++lists.at(lists.findOrInsert(columns[column].levelList, x)).count;
      }
    }
    if (crossColumns.empty() || columns.empty()) return;
    for (std::size_t row = 0; row < values[0].size(); ++row) {
      int found = -1;
      for (std::size_t position = 0; position < crossColumns.size(); ++position) {
        const int column = crossColumns[position];
        const bool inRange = column >= 0 && column < static_cast<int>(columns.size());
        const double x = values[inRange ? static_cast<std::size_t>(column) : 0][row];
        int head = position == 0 ? crossRoot : lists.at(found).subList;
        const int record = lists.findOrInsert(head, x);
        if (position == 0) {
          crossRoot = head;
        } else {
          lists.at(found).subList = head;
        }
        ++lists.at(record).count;
        found = record;
      }
    }
  }

  long long crossCount(const std::vector<double>& values) {
    if (values.empty()) return 0;
    int head = crossRoot, found = -1;
    for (const double value : values) {
      found = lists.find(head, value);
      if (found < 0) return 0;
      head = lists.at(found).subList;
    }
    return lists.at(found).count;
  }
};
