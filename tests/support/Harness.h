// Plumbing for tests of buffers, their ends and nodes.  It asserts nothing.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "ZRBConverter.h"
#include "ZRBMemoryBuf.h"
#include "ZRBMemoryBufReader.h"
#include "ZRBMemoryBufWriter.h"
#include "ZRBObj.h"
#include "ZRBProc.h"
#include "support/SavedSettings.h"

// The texts of an object's messages, oldest first; one that is no error has its severity in front.
inline std::vector<std::string> messagesOf(ZRBObj& object) {
  std::vector<std::string> texts;
  for (long i = 0; i < object.getNumMessages(); ++i) {
    const int severity = object.getMessageSeverity(i);
    const std::string text = object.getMessage(i);
    texts.push_back(severity == 4 ? text : std::string(ZRBObj::severityNumToString(severity)) + ": " + text);
  }
  return texts;
}

using Messages = std::vector<std::string>;

// The bytes of the double NA; other NaNs only count as NA.
constexpr std::uint64_t kDoubleNABits = 0x7FF000017FF00001u;

inline std::uint64_t bitsOf(double value) {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

// A copy of a text of the library that tells null, the string NA and other texts apart.
inline std::string copyOf(const char* text) {
  if (!text) return "<null>";
  if (ZRBObj::isStringNA(text)) return "<NA>";
  return text;
}

// A node whose ends a test works by hand.  It has no error, unless it is given one: "uninitialized" is cleared.
class HarnessNode : public ZRBProc {
public:
  explicit HarnessNode(const char* error = nullptr) {
    clearMessages();
    if (error) setError(error);
  }

  // Connects the next input or output.
  ZRBBufReader& readFrom(ZRBBuf& buf) {
    const int index = getNumInputs();
    setInputBuf(index, &buf);
    return *getInputBufReader(index);
  }
  ZRBBufWriter& writeTo(ZRBBuf& buf) {
    const int index = getNumOutputs();
    setOutputBuf(index, &buf);
    return *getOutputBufWriter(index);
  }

  ZRBBufReader& reader(int index = 0) { return *getInputBufReader(index); }
  ZRBBufWriter& writer(int index = 0) { return *getOutputBufWriter(index); }
};

// A memory buffer whose ends are of the classes given, each constructed from the buffer and the node.
template <class Reader, class Writer>
class BufWithEnds : public ZRBMemoryBuf {
public:
  ZRBBufReader* newBufReader(ZRBProc* proc) override { return new Reader(this, proc); }
  ZRBBufWriter* newBufWriter(ZRBProc* proc) override { return new Writer(this, proc); }
};

struct Column {
  const char* name;
  ZRBBuf::column_type type;
  long stringBytes = 16;
};

inline void setColumns(ZRBBuf& buf, const std::vector<Column>& columns) {
  buf.setNumColumns(static_cast<long>(columns.size()));
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const long column = static_cast<long>(i);
    buf.setColumnName(column, columns[i].name);
    buf.setColumnType(column, columns[i].type);
    buf.setColumnStringBytes(column, columns[i].stringBytes);
  }
}

// A buffer between a writing and a reading node, initialised.  The nodes go before the buffer.
template <class Reader = ZRBMemoryBufReader, class Writer = ZRBMemoryBufWriter>
class FlowHarness {
public:
  BufWithEnds<Reader, Writer> buf;
  HarnessNode producer;
  HarnessNode consumer;
  Writer& writer;
  Reader& reader;

  FlowHarness(long capacity, const std::vector<Column>& columns)
      : writer(static_cast<Writer&>(producer.writeTo(buf))), reader(static_cast<Reader&>(consumer.readFrom(buf))) {
    buf.setNumRows(capacity);
    setColumns(buf, columns);
    buf.init();
  }

  // Moves the stream on: `rows` rows are written (with what the ring holds) and released by writer and reader.
  void pass(long rows) {
    writer.releaseRows(rows);
    reader.releaseRows(rows);
  }
};

// Gives a column a type outside the enumeration, which setColumnType does not let through: the type is the record's
// second field, after the pointer to the name.
inline void forceColumnType(ZRBBuf& buf, long column, int type) {
  std::memcpy(reinterpret_cast<char*>(buf.getColumnInfo(column)) + sizeof(char*), &type, sizeof type);
}

// One column of each type, in the order of the enumeration.
inline std::vector<Column> oneColumnOfEachType() {
  return {{"d", ZRBBuf::column_double},
          {"f", ZRBBuf::column_factor},
          {"s", ZRBBuf::column_string},
          {"t", ZRBBuf::column_timeDate},
          {"b", ZRBBuf::column_blob}};
}

// Texts are "<tag><number>"; a text is read as its length plus `base`.  Tells which object's converter was asked.
class TaggedConverter final : public ZRBConverter {
public:
  TaggedConverter(std::string tag, long base) : m_tag(std::move(tag)), m_base(base) {}
  void doubleToText(const double* value, char* text, int size) override {
    std::snprintf(text, static_cast<std::size_t>(size), "%s%g", m_tag.c_str(), *value);
  }
  void textToDouble(const char* text, double* value) override {
    *value = static_cast<double>(m_base + static_cast<long>(std::strlen(text)));
  }
  void timeDateToText(const long long* timeMs, char* text, int size) override {
    std::snprintf(text, static_cast<std::size_t>(size), "%s%lldms", m_tag.c_str(), *timeMs);
  }
  void textToTimeDate(const char* text, long long* timeMs) override {
    *timeMs = m_base + static_cast<long long>(std::strlen(text));
  }

private:
  std::string m_tag;
  long m_base;
};
