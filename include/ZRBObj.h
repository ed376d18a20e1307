#pragma once

#include <memory>
#include <vector>

#include "export.h"

#ifdef _GLIBCXX_DEBUG
#error \
    "_GLIBCXX_DEBUG changes the size of std::vector, and with it that of every class of libzrbbase: use _GLIBCXX_ASSERTIONS"
#endif

class ZRBConverter;
class ZRBPropertyInfo;

// The root of every object of the library: a name, the property protocol, a list of messages with an error marker, a
// text converter, and the settings that all objects share.
//
// A failure is a message on the object concerned; the host polls hasError(), getError(), getNumMessages() and
// getMessage().  The library throws nothing of its own: what can reach a host is std::bad_alloc, or std::length_error for
// a count of columns, levels or ends that no memory holds.
//
// Objects are made by the zrb_s_create_... functions and destroyed by their owner through the virtual destructor.  One
// thread at a time: neither objects nor the shared settings are guarded.
class ZRB_EXPORT ZRBObj {
public:
  ZRBObj();
  ZRBObj(const ZRBObj&) = delete;
  ZRBObj& operator=(const ZRBObj&) = delete;

  // Virtual slots 0..4: declaration order is binary interface, subclasses append theirs (tests/abi/SlotsTest.cpp).
  virtual ~ZRBObj();  // the converter is not deleted

  // Prepares the object for a run and clears its messages; may be called again.  Returns 1 if the object has an error
  // afterwards, else 0.  An override calls its base class's init() first.
  virtual int init();

  // One request of the property protocol.  Each class tests the request against its own names in a fixed order and hands
  // unknown ones to its base class; here the chain ends with info->unknownProperty().  `info` is not kept.
  virtual void setProperty(ZRBPropertyInfo* info);
  virtual void getProperty(ZRBPropertyInfo* info);

  // ---- Name ----
  void setName(const char* name);  // copied; null clears the name
  const char* getName();           // null until set; owned by the object

  // ---- Messages ----
  // Severities: 0 debug, 1 verbose, 2 information, 3 warning, 4 error.
  //
  // Appends a copy of `text`, cut to getMaxMessageLength() bytes (a negative limit does not cut).  Null is ignored.
  // Once the list holds getMaxMessages() entries, a severity that has as many of its own is full and further messages of
  // it are counted but dropped: a flood of one severity never hides another.  Severity 4 also sets the error marker.
  void addMessage(const char* text, int severity);
  // "<prefix>: <detail>", together at most getMaxMessageLength() bytes: first the detail gives way, then the prefix.
  // Numbers are formatted with %d, %ld, %g.
  void addMessage(const char* prefix, const char* detail, int severity);
  void addMessage(const char* prefix, int value, int severity);
  void addMessage(const char* prefix, long value, int severity);
  void addMessage(const char* prefix, double value, int severity);

  void addDebug(const char* text);
  void addVerbose(const char* text);
  void addInformation(const char* text);
  void addWarning(const char* text);
  void addError(const char* text);

  // Adds an error.  Deliberate: a null text clears every message of every severity.  Pinned by "setError(nullptr) clears
  // the slate".
  void setError(const char* text);
  void setError(const char* prefix, const char* detail);
  void setError(const char* prefix, int value);
  void setError(const char* prefix, long value);
  void setError(const char* prefix, double value);

  // The text of the latest stored error; null when there is none.  Valid until the messages are cleared.
  const char* getError();
  int hasError();

  long getNumMessages();       // entries in the list
  long getNumMessagesAdded();  // messages offered since the last clear, dropped ones included; saturates
  // Oldest first from 0.  Outside the list: null, and severity 0.
  const char* getMessage(long index);
  int getMessageSeverity(long index);
  int getNumMessagesAtLevel(int severity);
  void clearMessages();

  // Exact, case-sensitive names; every unknown number is "debug" and every unknown name is 0.
  static const char* severityNumToString(int severity);
  static int severityStringToNum(const char* name);

  // ---- Settings shared by all objects ----
  // Kept as int: the low 32 bits of the argument.
  static void setMaxMessages(long count);
  static long getMaxMessages();
  static void setMaxMessageLength(long bytes);
  static long getMaxMessageLength();
  // The time-date (milliseconds) that the double date 0.0 stands for.
  static void setDoubleDateEpoch(long long timeMs);
  static long long getDoubleDateEpoch();
  // Whether the first factor value beyond a column's levels, or the first text cut to its column's width, is an error.
  static void setErrorOnLevelOverflow(int flag);
  static int getErrorOnLevelOverflow();
  static void setErrorOnStringTruncation(int flag);
  static int getErrorOnStringTruncation();
  // Kept for hosts that ask; changes no conversion.
  static void setUseWindowsStringEncoding(int flag);
  static int getUseWindowsStringEncoding();
  // Used by objects without a converter of their own.  Borrowed; null means the built-in conversions.
  static void setDefaultConverter(ZRBConverter* converter);
  static ZRBConverter* getDefaultConverter();

  // ---- Missing values (NA) ----
  // The double NA is the bit pattern 0x7FF000017FF00001, a signalling NaN: copy it, never compute with it.  Every NaN
  // counts as NA.
  static double getDoubleNA();
  static int isDoubleNA(double value);
  static double getDoubleNaN();
  static int isDoubleNaN(double value);
  // -1; every negative level number counts as NA.
  static long getLevelNumNA();
  static int isLevelNumNA(long level);
  // The bytes EF BF BF 00 (U+FFFF); a null pointer counts as NA.  Compare with isStringNA, never by address.
  static const char* getStringNA();
  static int isStringNA(const char* text);
  // 0x7FFFFFFFFFFFFFFF.  Deliberate: everything above 0x7FFFFFFFFFFFFFF0 counts as NA.  Pinned by "the fifteen largest
  // time-dates are NA".
  static long long getTimeDateNA();
  static int isTimeDateNA(long long timeMs);

  // ---- Conversions between cell types; NA gives the NA of the target type ----
  // Texts go through the object's converter, else the default converter, else the built-in conversion named here.
  void setConverter(ZRBConverter* converter);  // borrowed; null removes it
  ZRBConverter* getConverter();

  // Built in: strtod of the text; what it cannot read, and NaN, is 0.0.
  double convertStringToDouble(const char* text);
  // Built in: "%g".  The result is the shared conversion text: valid until the next conversion to text of any object.
  const char* convertDoubleToString(double value);
  // Built in: 0.
  long long convertStringToTimeDate(const char* text);
  // Built in: "".  With a converter, the shared conversion text as above.
  const char* convertTimeDateToString(long long timeMs);

  static double convertLevelNumToDouble(long level);
  // Truncates toward zero.  Deliberate: below 0.0 or from 65535.0 on gives level 0, not NA.  Pinned by "a double outside
  // the level numbers becomes level 0".
  static long convertDoubleToLevelNum(double value);
  static const char* convertLevelNumToString(long level);   // "": names are the buffer's business
  static long convertStringToLevelNum(const char* text);    // 0, likewise
  static long long convertLevelNumToTimeDate(long level);   // 0
  static long convertTimeDateToLevelNum(long long timeMs);  // 0
  // Double dates count days of 86400000 ms from the epoch: time = epoch + trunc(days * 86400000).
  static long long convertDoubleToTimeDate(double days);
  static double convertTimeDateToDouble(long long timeMs);

  // ---- Text copies and encodings ----
  // New arrays, owned by the caller, to be freed with releaseString (null is ignored).
  static void releaseString(char* text);
  static char* copyString(const char* text);  // null for null
  // "<a>: <b>"; null counts as empty.
  static char* copyString(const char* a, const char* b);
  // At most `max` bytes (negative: all), ended by two NULs; null for null.
  static char* copyString(const char* text, int max);
  // "<a>: <b>" in at most `max` bytes, `a` first; ended by two NULs.  Deliberate: the ": " is written even when `max` is
  // below 2.  Pinned by "a joined copy keeps its separator below a limit of 2".
  static char* copyString(const char* a, const char* b, int max);

  // Conversions between plain text (ISO 8859-1), UTF-8 and wide characters (one code point each), all within the Basic
  // Multilingual Plane; what cannot be carried becomes '.'.  `capacity` counts elements of `target`, terminator
  // included; the result is always terminated and never ends inside a character.  Nothing is done for a null target or a
  // capacity below 1; a null source gives an empty result.
  static void copyPlainToUTFString(const char* source, char* target, int capacity);
  static void copyPlainToUTF8String(const char* source, char* target, int capacity);
  // A character above U+00FF is written as its low byte (deliberate, pinned by "UTF-8 to plain keeps the low byte").
  static void copyUTFToPlainString(const char* source, char* target, int capacity);
  static void copyUTF8ToPlainString(const char* source, char* target, int capacity);
  static void copyNAToUTF8String(char* target, int capacity);  // needs a capacity of 4, else writes ""
  // Tab, line feed, carriage return, U+0020..U+D7FF and U+E000..U+FFFD.
  static int isValidUnicodeChar(int character);
  // Drops malformed bytes and four-byte sequences, replaces invalid characters by '.'.
  static void copyUTF8ToValidUTF8String(const char* source, char* target, int capacity);
  static void copyWideCharToUTFString(const wchar_t* source, char* target, int capacity);
  static void copyUTFToWideCharString(const char* source, wchar_t* target, int capacity);

protected:
  // One message of the list.  The text is an array of its own, so that its address survives growth of the list.
  struct MessageRecord {
    int severity;
    std::unique_ptr<char[]> text;
  };

  std::unique_ptr<char[]> m_name;
  char* m_error;  // borrowed from the latest record of severity 4; null when there is none
  std::vector<MessageRecord> m_messages;
  long long m_num_messages_added;
  ZRBConverter* m_converter;  // borrowed

  static int m_max_messages;
  static int m_max_message_length;
  static long long m_double_date_epoch;
  static int m_error_on_level_overflow;
  static int m_error_on_string_truncation;
  static int m_use_windows_string_encoding;
  static ZRBConverter* m_default_converter;
  static char* m_temp_convert_string;  // 1024 bytes, made when the library is loaded and never freed

private:
  struct ZRB_HIDDEN Properties;
  ZRB_HIDDEN ZRBConverter* chooseConverter();
};
