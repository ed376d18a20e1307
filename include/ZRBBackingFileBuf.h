#pragma once

#include <memory>

#include "ZRBBuf.h"
#include "export.h"

// A buffer whose rows also live in a file of rows, so that a later run can read the stream again.  init() fixes the mode:
//
// Writing (the buffer has a writer): every released row is appended to the file, readers read the ring as of any
// buffer; blobs go to the blob file.  setEOF closes both files.
//
// Reading (no writer): the rows come from an existing file of "backing.file.total.rows" rows, and the ring is a cache of
// a stretch of it.  The one reader may go to any row and read the stream as often as it likes.  The schema must be the
// one that the rows were written with: a file of rows carries no description of itself.
//
// File of rows: row r occupies bytes r R .. r R + R - 1, R = getBytesPerRow(), without header or gaps.  A row is the
// ring's row with every 8-byte number (double, time-date, blob offset and length) high byte first.
// Blob file: records of 12 bytes (the bytes B L B NUL, then the record's own offset, 8 bytes, high byte first), the
// data, and 12 bytes (the data's length, 8 bytes, high byte first, then E L B NUL).
//
// Errors of both files are set on the buffer.  Properties: "backing.file.name", "backing.file.total.rows",
// "close.backing.file", "backing.file.row.bytes", "backing.file.column.offset.bytes",
// "backing.file.column.width.bytes", "blob.file.name", "close.blob.file".
class ZRB_EXPORT ZRBBackingFileBuf : public ZRBBuf {
public:
  ZRBBackingFileBuf();
  ~ZRBBackingFileBuf() override;  // closes both files

  // Opens the files.  Errors: more than one writer, more than one reader when reading, no file name, a file that cannot
  // be opened.  A blob file that cannot be opened is only a debug message: blob operations then fail.
  int init() override;
  void setProperty(ZRBPropertyInfo* info) override;
  void getProperty(ZRBPropertyInfo* info) override;
  int isZRBBackingFileBuf() override;
  ZRBBackingFileBuf* getZRBBackingFileBuf() override;
  int isMultiPass() override;                 // 1 in both modes; a reader answers for its mode
  int isRandomAccess() override;              // likewise
  long long getTotalNumRows() override;       // reading: of the file; writing: -1 until end of data
  void releaseInputRows(long rows) override;  // writing: writes them first; after a failure they stay unreleased
  int setEOF(int eof) override;
  ZRBBufWriter* newBufWriter(ZRBProc* proc) override;
  ZRBBufReader* newBufReader(ZRBProc* proc) override;

  // ---- The file of rows ----
  void setBackingFileName(const char* name);  // copied
  const char* getBackingFileName();
  void setBackingFileTotalRows(long long rows);  // rows of the file to read
  long long getBackingFileTotalRows();
  int getBackingFileHandle();  // -1 when closed
  void closeBackingFile();
  long getBackingFileRowBytes();
  long getBackingFileColumnOffsetBytes(long column);
  long getBackingFileColumnWidthBytes(long column);

  // ---- The blob file: one blob is open at a time ----
  void setBlobFileName(const char* name);  // copied; null: no blob file
  const char* getBlobFileName();
  int getBlobFileHandle();  // -1 when closed
  void closeBlobFile();
  int isBlobOpen();

  // Writing.  1, or an error and 0 or -1.
  int openWriteBlobData();
  long writeBlobData(const char* bytes, long count);             // bytes written; -1 with an error
  int closeWriteBlobData(long long* offset, long long* length);  // where the blob is, for its cell
  // Reading.  1, or an error and 0 or -1.
  int openReadBlobData(long long offset, long long length);
  long readBlobData(char* bytes, long count);  // bytes read, 0 at the blob's end, -1 with an error
  // Deliberate: only a seek to 0 moves the file; any other sets the position that readBlobData counts from.  Pinned by
  // "a seek to anything but 0 changes only the bookkeeping".
  int seekBlobData(long long position);
  long long getBlobOffsetInData();
  int closeReadBlobData();  // checks the record's end: the blob must have been read to its end

protected:
  std::unique_ptr<char[]> m_backing_file_name;
  long long m_backing_file_total_rows;
  int m_backing_file_handle;  // -1 = closed
  int m_writing_cache;        // 1 = writing mode
  std::unique_ptr<char[]> m_blob_file_name;
  int m_blob_file_handle;  // -1 = closed
  // The open blob; one is open when all three are >= 0.
  long long m_blob_offset;    // of its record; with no blob open when writing, of the next one
  long long m_blob_length;    // of its data
  long long m_blob_position;  // inside its data

private:
  struct ZRB_HIDDEN Properties;
  friend class ZRBBackingFileBufReader;  // fills the cache
  friend class ZRBBackingFileBufWriter;  // moves the next blob's offset

  ZRB_HIDDEN int openFile(const char* name);
  ZRB_HIDDEN void writePiece(const char* which, long ringRow, long rows, long allRows);
  ZRB_HIDDEN bool readPiece(const char* which, long ringRow, long rows, long allRows, long long firstRow);
  ZRB_HIDDEN bool loadRows(long long firstRow, long rows);
  ZRB_HIDDEN int failBlob(int result, const char* text);
  ZRB_HIDDEN int failBlob(int result, const char* text, double value);
  ZRB_HIDDEN int failBlob(int result, const char* text, long value);
  ZRB_HIDDEN bool checkBlobMode(int writing, const char* wrongMode, const char* notOpen);
};
