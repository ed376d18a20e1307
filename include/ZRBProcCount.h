#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "ZRBProc.h"
#include "export.h"

class CountCache;   // internal: records of the cross-tabulation found before (procs/count_cache.h)
class CountLists;   // internal: finds records of the sorted lists quickly (procs/count_lists.h)
class CountTables;  // internal: rows that the records do not count yet (procs/count_tables.h)

// Statistics of one column.  The doubles are NaN before the first value.
struct ZRBProcCountColumnInfo {
  double min;
  double max;
  double mean;
  double m2;  // sum of squared deviations from the mean
  long long count_na;
  long long count_ok;
  int level_list;  // first count record of the column's values; -1 = none
};

// One value and how often it was seen.  Records refer to each other by index; -1 = none.
struct ZRBProcCountCountInfo {
  double value;  // a level number; NaN for NA
  long long count;
  int next;      // next record of the same list
  int sub_list;  // first record of the list of the next cross column's values seen together with this one
};

// A sink that counts: one input, no output.  Per column: minimum, maximum, mean, sample standard deviation, NA and
// present values; per factor column the levels seen with their counts; and the cross-tabulation of up to ten factor
// columns with the counts of every prefix.
//
// What is measured: doubles and level numbers as they are, strings by their length in bytes, blobs by their length,
// time-dates in days since 1970 (milliseconds / 86400000).
//
// Lists are singly linked and sorted: the NaN record, if any, first, then ascending values, each once.
// Properties: "cross.size", "cross.column", "cross.index" and the results "col.min", "col.max", "col.mean",
// "col.stddev", "col.count.na", "col.count.ok", "col.num.levels", "col.level.name", "col.level.count", "col.level.int",
// "cross.count", "num.count.blocks".
class ZRB_EXPORT ZRBProcCount : public ZRBProc {
public:
  ZRBProcCount();
  ~ZRBProcCount() override;
  // Empties the results.  Error: "bad cross column number".  Deliberate: the root of the cross-tabulation keeps its old
  // record number.  Pinned by "a second run starts its cross list from the old root".
  int init() override;
  void setProperty(ZRBPropertyInfo* info) override;
  void getProperty(ZRBPropertyInfo* info) override;
  long execute() override;  // counts all rows that are ready; returns the rows done, or -1 with an error

  // ---- Results per column; NaN or 0 for a column without record ----
  ZRBProcCountColumnInfo* getColumnInfo(int column);  // grows the results; null for a negative column
  double getMin(int column);
  double getMax(int column);
  double getMean(int column);
  double getStdDev(int column);  // sample deviation; 0 for a single value, NaN for none
  long long getCountNA(int column);
  long long getCountOK(int column);

  // ---- Values seen in a factor column, by their position in its list ----
  long getColumnNumLevels(int column);
  double getColumnLevelValue(int column, int position);      // NaN for NA and outside the list
  const char* getColumnLevelName(int column, int position);  // "NA", "not.a.factor", or the level's name
  long getColumnLevelInt(int column, int position);          // the level NA for NA and outside the list
  long long getColumnLevelCount(int column, int position);   // 0 outside the list

  // ---- Cross-tabulation: positions 0..9, each with a column ----
  void setCrossSize(int size);  // above 10 counts as 10; below 1 there is none
  int getCrossSize();
  void setCrossColumn(int position, int column);  // a position outside 0..9 is ignored
  int getCrossColumn(int position);               // 0 outside 0..9
  // Chooses a value of the column at `position`, by its position in the column's list, for getCrossCount().
  void setCrossIndex(int position, int levelPosition);
  long long getCrossCount();  // rows that hold all chosen values; 0 when there are none

  // ---- Count records: one array for all lists of the node.  A new record may move the others.  Counts are brought up
  // to date when they are asked for by these methods or those above, and at the end of data; so a `count` read again
  // through an old pointer is that of the last such call ----
  ZRBProcCountCountInfo* getCountInfo(int index);                // null outside the array
  int newCountInfo();                                            // index of a new record, in no list
  ZRBProcCountCountInfo* findCountInfo(int head, double value);  // null when there is none
  int findOrInsertCountInfo(int* head, double value);            // index; a new first record becomes *head
  long getCountInfoListLength(int head);
  ZRBProcCountCountInfo* getCountInfoListElt(int head, int position);  // null outside the list
  long getNumCountBlocks();                                            // count records in use

private:
  struct ZRB_HIDDEN Properties;
  enum { kMaxCross = 10 };

  ZRB_HIDDEN bool countColumns(ZRBBufReader& reader, long rows);
  ZRB_HIDDEN bool countCross(ZRBBufReader& reader, long rows);
  ZRB_HIDDEN int crossRecord(int above, double x);
  ZRB_HIDDEN void forgetCross();
  ZRB_HIDDEN bool mayCountAbreast(ZRBBufReader& reader, long rows);
  ZRB_HIDDEN void countColumnsAbreast(ZRBBufReader& reader, long rows);
  ZRB_HIDDEN void countGroup(ZRBBufReader& reader, long rows, int firstColumn, int columns);
  ZRB_HIDDEN void linkLevels(int column);
  ZRB_HIDDEN bool countCrossByCode(ZRBBufReader& reader, long rows);
  ZRB_HIDDEN void countCrossRow(const std::size_t* slots);
  ZRB_HIDDEN void linkCross();
  ZRB_HIDDEN bool fail(const char* text);               // sets the error; false
  ZRB_HIDDEN ZRBProcCountCountInfo& record(int index);  // REQUIRES: a record of that index
  ZRB_HIDDEN ZRBProcCountColumnInfo* findColumnInfo(int column);
  ZRB_HIDDEN ZRBProcCountCountInfo* getColumnLevel(int column, int position);

  std::vector<ZRBProcCountColumnInfo> m_column_infos;
  std::vector<ZRBProcCountCountInfo> m_count_infos;
  int m_cross_size;
  int m_cross_columns[kMaxCross];
  int m_cross_checked;
  double m_cross_values[kMaxCross];
  int m_cross_root;
  std::unique_ptr<CountLists> m_lists;
  std::unique_ptr<CountTables> m_tables;
  std::unique_ptr<CountCache> m_cache;
};

// The reader's buffer; null for a null reader.
ZRB_EXPORT ZRBBuf* getBuf(ZRBBufReader* reader);
