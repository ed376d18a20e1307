// Everything that this host knows of the library, written by hand: the names of the functions that create objects, the
// numbers of the virtual operations it calls, and the shape of the two interfaces it implements itself.
#pragma once

#include <cstddef>
#include <cstring>

using CreateObject = void (*)(void** result);

// Calls the virtual operation in `slot` of an object's table.  No type of the library is known here, so the call goes
// through a plain function pointer, with the object as the first argument.
template <class Result, class... Args>
__attribute__((no_sanitize("undefined"))) Result callSlot(void* object, std::size_t slot, Args... args) {
  void** table;
  std::memcpy(&table, object, sizeof table);
  using Operation = Result (*)(void*, Args...);
  return reinterpret_cast<Operation>(table[slot])(object, args...);
}

namespace slots {

// Every object.
inline constexpr std::size_t kDelete = 1;
inline constexpr std::size_t kInit = 2;
inline constexpr std::size_t kSetProperty = 3;
inline constexpr std::size_t kGetProperty = 4;

// Buffers.
inline constexpr std::size_t kIsMemoryBuf = 5;
inline constexpr std::size_t kIsBackingFileBuf = 6;
inline constexpr std::size_t kGetMemoryBuf = 7;
inline constexpr std::size_t kGetBackingFileBuf = 8;
inline constexpr std::size_t kBufIsMultiPass = 9;
inline constexpr std::size_t kBufIsRandomAccess = 10;
inline constexpr std::size_t kMinRowsToAvoidDeadlock = 11;
inline constexpr std::size_t kIsDeadlockPossible = 12;
inline constexpr std::size_t kBufTotalNumRows = 13;
inline constexpr std::size_t kNewBufWriter = 16;
inline constexpr std::size_t kNewBufReader = 17;

// Readers and writers.
inline constexpr std::size_t kSetRequestRows = 5;
inline constexpr std::size_t kGetRequestRows = 6;
inline constexpr std::size_t kGetRowsReady = 7;
inline constexpr std::size_t kEndIsReady = 8;

// Readers.
inline constexpr std::size_t kGetDouble = 9;
inline constexpr std::size_t kGetDoubleArray = 10;
inline constexpr std::size_t kGetLevelNum = 11;
inline constexpr std::size_t kGetString = 12;
inline constexpr std::size_t kGetTimeDate = 13;
inline constexpr std::size_t kReaderReleaseRows = 25;
inline constexpr std::size_t kReaderReleaseAll = 26;
inline constexpr std::size_t kReaderGetEOF = 27;
inline constexpr std::size_t kReaderTotalNumRows = 28;
inline constexpr std::size_t kReaderChunkPosition = 29;
inline constexpr std::size_t kReaderSetChunkPosition = 30;

// Writers.
inline constexpr std::size_t kSetDouble = 9;
inline constexpr std::size_t kSetLevelNum = 11;
inline constexpr std::size_t kSetString = 12;
inline constexpr std::size_t kSetTimeDate = 13;
inline constexpr std::size_t kWriterReleaseRows = 25;
inline constexpr std::size_t kWriterSetEOF = 26;
inline constexpr std::size_t kWriterChunkPosition = 27;
inline constexpr std::size_t kSetConvertString = 30;
inline constexpr std::size_t kSetRectNA = 34;
inline constexpr std::size_t kSetColumnNA = 35;

// Nodes.
inline constexpr std::size_t kExecute = 5;
inline constexpr std::size_t kNodeIsReady = 6;
inline constexpr std::size_t kSetDone = 7;
inline constexpr std::size_t kIsDone = 8;
inline constexpr std::size_t kGetExecuteCount = 9;
inline constexpr std::size_t kSetExecuteCount = 10;
inline constexpr std::size_t kIncrementExecuteCount = 11;
inline constexpr std::size_t kGetRowsDone = 12;
inline constexpr std::size_t kSetRowsDone = 13;
inline constexpr std::size_t kIncrementRowsDone = 14;
inline constexpr std::size_t kSetNumRows = 15;
inline constexpr std::size_t kGetNumRows = 16;
inline constexpr std::size_t kSetOutputNumRows = 17;
inline constexpr std::size_t kGetOutputNumRows = 18;
inline constexpr std::size_t kExecuteRequestRows = 19;
inline constexpr std::size_t kExecuteReleaseRows = 20;
inline constexpr std::size_t kExecuteReleaseRowsOfBoth = 21;
inline constexpr std::size_t kCheckBufs = 22;
inline constexpr std::size_t kCheckBufRanges = 23;

}  // namespace slots

// One property request: eighteen entries in this order.  Buffers and nodes are just addresses.
class ZRBPropertyInfo {
public:
  virtual void entry0() = 0;
  virtual int isProperty(const char* name) = 0;
  virtual long longArg() = 0;
  virtual void longResult(long value) = 0;
  virtual long long longLongArg() = 0;
  virtual void longLongResult(long long value) = 0;
  virtual void entry6() = 0;
  virtual void doubleResult(double value) = 0;
  virtual int boolArg() = 0;
  virtual void boolResult(int value) = 0;
  virtual const char* stringArg() = 0;
  virtual void stringResult(const char* text) = 0;
  virtual void* bufArg() = 0;
  virtual void bufResult(void* buf) = 0;
  virtual void* procArg() = 0;
  virtual void procResult(void* proc) = 0;
  virtual ZRBPropertyInfo* nextArg() = 0;
  virtual void unknown() = 0;

protected:
  ~ZRBPropertyInfo() = default;
};

// Four entries, and no destructor ahead of them.
class ZRBConverter {
public:
  virtual void writeDouble(const double* value, char* text, int size) = 0;
  virtual void readDouble(const char* text, double* value) = 0;
  virtual void writeTimeDate(const long long* timeMs, char* text, int size) = 0;
  virtual void readTimeDate(const char* text, long long* timeMs) = 0;

protected:
  ~ZRBConverter() = default;
};
