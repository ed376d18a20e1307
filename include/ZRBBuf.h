#pragma once

#include <memory>
#include <vector>

#include "ZRBObj.h"
#include "export.h"

class BufAccess;   // internal: cells without a call (buf/buf_access.h)
class LevelIndex;  // internal: finds the number of a level name (buf/level_index.h)
class ZRBBackingFileBuf;
class ZRBBufReader;
class ZRBBufWriter;
class ZRBMemoryBuf;
class ZRBProc;

// A table of rows on its way from one writing node to any number of reading nodes: a schema of typed columns, and a ring
// of packed rows.  Concrete kinds are ZRBMemoryBuf and ZRBBackingFileBuf.
//
// Three kinds of row number exist.  A stream row counts the rows since init() from 0.  A chunk row counts from one end's
// first unreleased row; readers and writers take these.  A ring row is a storage row, 0..getNumRows()-1; the raw
// operations below take these and check nothing.
//
// Schema and capacity are set before init(), which lays out the row and allocates the ring; a later change of types,
// widths, columns or capacity takes effect with the next init() and must not be followed by cell access before it.
//
// Operations on a column that does not exist do nothing, and return 0, null or -1.
class ZRB_EXPORT ZRBBuf : public ZRBObj {
public:
  enum column_type : int {
    column_double = 0,    // 8 bytes
    column_factor = 1,    // 2 bytes: level number, high byte first; 0xFFFF is NA
    column_string = 2,    // getColumnStringBytes() bytes: text, padded with NULs
    column_timeDate = 3,  // 8 bytes: signed milliseconds
    column_blob = 4       // 16 bytes: signed 64-bit offset and length of data in a blob file; -1 and -1 is NA
  };

  // One column: its schema, its level dictionary and its overflow counters.  Owned by the buffer.
  struct ZRB_EXPORT ColumnInfo {
    ColumnInfo();
    ColumnInfo(const ColumnInfo&) = delete;
    ColumnInfo& operator=(const ColumnInfo&) = delete;
    ~ColumnInfo();

  private:
    friend class BufAccess;
    friend class ZRBBuf;
    std::unique_ptr<char[]> m_name;
    column_type m_type;
    long m_max_auto_levels;  // negative: the buffer's default
    std::unique_ptr<char[]> m_overflow_level;
    long m_offset_bytes;
    long m_string_bytes;
    long m_overflow_string_bytes;
    long long m_overflow_count;
    std::unique_ptr<char[]> m_blob_class_name;
    std::vector<std::unique_ptr<char[]>> m_level_names;  // index = level number; an entry may be null
    std::unique_ptr<LevelIndex> m_level_index;           // which level a text is, kept with m_level_names
  };

  ZRBBuf();

  // Virtual slots 0..17: declaration order is binary interface (tests/abi/SlotsTest.cpp).
  ~ZRBBuf() override;  // unlinks the ends still listed from their nodes and deletes them

  // Errors "no writer" and "more than one writer"; otherwise lays out and allocates the rows, initialises the ends and
  // starts the stream at row 0.
  int init() override;
  void setProperty(ZRBPropertyInfo* info) override;
  void getProperty(ZRBPropertyInfo* info) override;
  virtual int isZRBMemoryBuf();
  virtual int isZRBBackingFileBuf();
  virtual ZRBMemoryBuf* getZRBMemoryBuf();            // the object itself, or null
  virtual ZRBBackingFileBuf* getZRBBackingFileBuf();  // the object itself, or null
  virtual int isMultiPass();
  virtual int isRandomAccess();
  // The largest output row count of the writing nodes plus the largest row count of the reading nodes.
  // REQUIRES: every end has a node.
  virtual long getMinRowsToAvoidDeadlock();
  virtual int isDeadlockPossible();          // whether that exceeds the capacity
  virtual long long getTotalNumRows();       // -1 until end of data
  virtual void releaseInputRows(long rows);  // called by the writer: its first `rows` chunk rows become readable
  virtual int setEOF(int eof);               // stores the flag and returns it
  // A new end of the buffer's own kind, not listed.  Here: an error, and null.
  virtual ZRBBufWriter* newBufWriter(ZRBProc* proc);
  virtual ZRBBufReader* newBufReader(ZRBProc* proc);

  // ---- Schema ----
  void setNumRows(long rows);  // capacity of the ring; at least 1 for a buffer that runs.  3000 in a new buffer
  long getNumRows();
  void setNumColumns(long columns);  // keeps existing columns; a new one is a double column; below 0 counts as 0
  long getNumColumns();
  ColumnInfo* getColumnInfo(long column);
  void setColumnName(long column, const char* name);  // copied; null allowed
  const char* getColumnName(long column);
  long getColumnIndex(const char* name);              // lowest column of that name
  void setColumnType(long column, column_type type);  // unknown types become double
  column_type getColumnType(long column);
  int columnTypeIsDouble(long column);  // 1 also for a column that does not exist
  int columnTypeIsFactor(long column);
  int columnTypeIsString(long column);
  int columnTypeIsTimeDate(long column);
  int columnTypeIsBlob(long column);
  void setColumnStringBytes(long column, long bytes);  // at least 4 is stored.  16 in a new column
  long getColumnStringBytes(long column);
  void setColumnBlobClassName(long column, const char* name);  // the host's own note on a blob column
  const char* getColumnBlobClassName(long column);
  long getColumnWidthBytes(long column);
  void setColumnOffsetBytes(long column, long bytes);  // until the next initData()
  long getColumnOffsetBytes(long column);              // within a row, as laid out by initData()
  long calcBytesPerRow();                              // of the schema as it is now
  long getBytesPerRow();                               // as laid out by initData()

  // ---- Levels of factor columns ----
  void setNumLevels(long column, long levels);  // new levels have no name
  long getNumLevels(long column);
  // Grows the dictionary to hold `level`; a negative level is ignored.
  void setLevelName(long column, long level, const char* name);
  const char* getLevelName(long column, long level);  // null for a level without a name, or outside the dictionary
  // The next level gets `name`, even if it has that name already.  Returns its number; -1 for null.
  long addLevel(long column, const char* name);
  // The lowest level of that name; -1 if there is none, and for null, "" and the string NA.
  long lookupLevel(long column, const char* name);
  void setMaxAutoLevels(long column, long levels);  // limits what mapStringToLevelNum adds; negative: the default
  long getMaxAutoLevels(long column);
  void setDefaultMaxAutoLevels(long levels);  // 500 in a new buffer
  long getDefaultMaxAutoLevels();
  void setOverflowLevel(long column, const char* name);  // receives what finds no level; null: NA does
  const char* getOverflowLevel(long column);
  // Overflows since initData(): values that found no level, or texts that were cut to their cell, and the bytes that the
  // longest of those texts needs with its final zero.
  void setOverflowCount(long column, long long count);
  long long getOverflowCount(long column);
  void setOverflowStringBytes(long column, long bytes);
  long getOverflowStringBytes(long column);
  void initOverflowCounts();
  int anyOverflowCounts();
  // The level of `text`, added if it is new and the column may grow; otherwise the value overflows: it is counted, the
  // first one is an error if getErrorOnLevelOverflow(), and the overflow level or NA is returned.
  long mapStringToLevelNum(long column, const char* text);
  double mapLevelToDouble(long column, const char* text);    // may add a level
  const char* mapLevelNumToString(long column, long level);  // null for NA, and as getLevelName()
  const char* mapDoubleToLevel(long column, double value);

  // ---- Storage: ring rows, no checks ----
  // Lays out the row and allocates a zeroed ring; an unchanged size keeps the block and its contents.  Errors: more than
  // 2147483647 bytes, or no memory.
  void initData();
  char* getDataPtr(long ringRow, long column, long bytes);  // `bytes`, the width the caller expects, is not used
  double getRawDouble(long ringRow, long column);
  void setRawDouble(long ringRow, long column, double value);
  long getRawLevelNum(long ringRow, long column);
  void setRawLevelNum(long ringRow, long column, long level);
  const char* getRawString(long ringRow, long column);  // the cell itself
  // A text that does not fit is cut and counted; the first one is an error if getErrorOnStringTruncation().
  void setRawString(long ringRow, long column, const char* text);
  long long getRawTimeDate(long ringRow, long column);
  void setRawTimeDate(long ringRow, long column, long long timeMs);
  long long getRawBlobOffset(long ringRow, long column);
  void setRawBlobOffset(long ringRow, long column, long long offset);
  long long getRawBlobLength(long ringRow, long column);
  void setRawBlobLength(long ringRow, long column, long long length);
  // `count` cells of one column from `ringRow` on, wrapping at the ring's end.
  void setRawDoubleColumnNA(long ringRow, long column, long count);
  void setRawFactorColumnNA(long ringRow, long column, long count);
  void setRawStringColumnNA(long ringRow, long column, long count);
  void setRawTimeDateColumnNA(long ringRow, long column, long count);
  void setRawBlobColumnNA(long ringRow, long column, long count);
  void getRawDoubleArray(long ringRow, long column, long count, double* values);
  void setRawDoubleArray(long ringRow, long column, long count, double* values);
  // Copies `count` cells from the reader's buffer into the writer's; rows are chunk rows of either end.
  // Nothing is copied unless both columns have the function's type.  Factors are mapped by level name.
  void copyDoubleColumn(ZRBBufWriter* writer, long writerRow, long writerColumn, ZRBBufReader* reader, long readerRow,
                        long readerColumn, long count);
  void copyFactorColumn(ZRBBufWriter* writer, long writerRow, long writerColumn, ZRBBufReader* reader, long readerRow,
                        long readerColumn, long count);
  void copyStringColumn(ZRBBufWriter* writer, long writerRow, long writerColumn, ZRBBufReader* reader, long readerRow,
                        long readerColumn, long count);
  void copyTimeDateColumn(ZRBBufWriter* writer, long writerRow, long writerColumn, ZRBBufReader* reader, long readerRow,
                          long readerColumn, long count);
  // Reverses the bytes of every 8-byte number of `count` rows from stream row `chunkPosition` on.
  void byteSwapBufNumbers(long long chunkPosition, long count);

  // ---- Ends ----
  // The buffer owns its ends; a node asks for one when it attaches (ZRBProc::setInputBuf, setOutputBuf) and gives it
  // back with deleteBuf...
  ZRBBufWriter* createBufWriter(ZRBProc* proc);
  ZRBBufReader* createBufReader(ZRBProc* proc);
  void deleteBufWriter(ZRBBufWriter* writer);
  void deleteBufReader(ZRBBufReader* reader);
  // Takes the end away from its node; the buffer still lists it.
  void unlinkBufWriter(ZRBBufWriter* writer);
  void unlinkBufReader(ZRBBufReader* reader);
  long getNumReaders();
  long getNumWriters();
  ZRBBufReader* getBufReader(int index);  // in creation order; null outside the list
  ZRBBufWriter* getBufWriter(int index);
  ZRBProc* getBufReaderProc(int index);
  ZRBProc* getBufWriterProc(int index);
  void initConnections();  // init() of every writer, then of every reader

  // ---- Row flow ----
  long getInputRowsReleased();                                // stream rows the writer has released
  long getOutputRowsReleased();                               // stream rows that every reader has released
  long getOutputLockedRows();                                 // rows between the two: readable by some reader
  long getInputLockedRows();                                  // the rest of the ring: rows the writer may fill
  long getInputRowIndex(long chunkRow);                       // ring row of the writer's chunk row
  long getOutputRowIndex(long long position, long chunkRow);  // ring row of a reader's chunk row
  int getEOF();

protected:
  std::vector<std::unique_ptr<ColumnInfo>> m_columns;
  long m_num_rows;
  long m_num_columns;
  std::unique_ptr<char[]> m_data;
  unsigned long m_data_bytes;
  long m_bytes_per_row;
  long m_input_rows_released;
  int m_eof;
  long m_default_max_auto_levels;
  std::vector<ZRBBufReader*> m_readers;  // owned
  std::vector<ZRBBufWriter*> m_writers;  // owned

private:
  friend class BufAccess;
  struct ZRB_HIDDEN Properties;

  ZRB_HIDDEN long levelOfNewText(long column, const char* text);
};
