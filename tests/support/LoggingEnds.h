// A memory buffer whose ends note what is asked of them from outside, and can be told to answer something else.
#pragma once

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ZRBMemoryBuf.h"
#include "ZRBMemoryBufReader.h"
#include "ZRBMemoryBufWriter.h"

// What happened, in order; one log may serve several ends and nodes.
using CallLog = std::vector<std::string>;

inline std::string logText(long value) { return std::to_string(value); }
inline std::string logText(long long value) { return std::to_string(value); }
inline std::string logText(const char* value) { return value ? "\"" + std::string(value) + "\"" : "null"; }
inline std::string logText(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.17g", value);  // 17 digits tell all doubles apart
  return text;
}

// The lines of `log` that change something: not the questions about rows ready, readiness and end of data.
inline CallLog changesOf(const CallLog& log) {
  CallLog changes;
  for (const std::string& line : log) {
    const std::string call = line.substr(line.find('.') + 1);
    if (call != "getRowsReady" && call != "isReady" && call != "getEOF") changes.push_back(line);
  }
  return changes;
}

// Notes the outermost call only: what an end asks of itself is not the node's doing.
class CallNotes {
public:
  CallNotes(CallLog& log, std::string name) : m_log(log), m_name(std::move(name)) {}

  template <class Call, class... Args>
  auto note(const char* function, Call call, Args... args) {
    if (m_depth == 0) {
      std::string line = m_name + "." + function;
      if constexpr (sizeof...(args) > 0) {
        std::string list;
        ((list += (list.empty() ? "" : ", ") + logText(args)), ...);
        line += "(" + list + ")";
      }
      m_log.push_back(line);
    }
    struct Depth {
      int& depth;
      explicit Depth(int& d) : depth(d) { ++depth; }
      ~Depth() { --depth; }
    } deeper(m_depth);
    return call();
  }

private:
  CallLog& m_log;
  std::string m_name;
  int m_depth = 0;
};

class LoggingReader final : public ZRBMemoryBufReader {
public:
  using Base = ZRBMemoryBufReader;

  LoggingReader(ZRBMemoryBuf* buf, ZRBProc* proc, CallLog& log, const std::string& name)
      : ZRBMemoryBufReader(buf, proc), m_notes(log, name) {}

  // Answers in place of the real ones.
  std::optional<long> rowsReady;
  std::optional<int> ready;
  std::optional<int> eof;
  double addToDoubles = 0;

  void setRequestRows(long rows) override {
    m_notes.note(
        "setRequestRows", [&] { Base::setRequestRows(rows); }, rows);
  }
  long getRowsReady() override {
    return m_notes.note("getRowsReady", [&] { return rowsReady ? *rowsReady : Base::getRowsReady(); });
  }
  int isReady() override {
    return m_notes.note("isReady", [&] { return ready ? *ready : Base::isReady(); });
  }
  void releaseRows(long rows) override {
    m_notes.note(
        "releaseRows", [&] { Base::releaseRows(rows); }, rows);
  }
  int getEOF() override {
    return m_notes.note("getEOF", [&] { return eof ? *eof : Base::getEOF(); });
  }
  double getDouble(long row, long column) override {
    return m_notes.note(
        "getDouble", [&] { return Base::getDouble(row, column) + addToDoubles; }, row, column);
  }
  const char* getString(long row, long column) override {
    return m_notes.note(
        "getString", [&] { return Base::getString(row, column); }, row, column);
  }
  long long getTimeDate(long row, long column) override {
    return m_notes.note(
        "getTimeDate", [&] { return Base::getTimeDate(row, column); }, row, column);
  }
  int isBlobNA(long row, long column) override {
    return m_notes.note(
        "isBlobNA", [&] { return Base::isBlobNA(row, column); }, row, column);
  }
  long long getBlobLength(long row, long column) override {
    return m_notes.note(
        "getBlobLength", [&] { return Base::getBlobLength(row, column); }, row, column);
  }

private:
  CallNotes m_notes;
};

class LoggingWriter final : public ZRBMemoryBufWriter {
public:
  using Base = ZRBMemoryBufWriter;

  LoggingWriter(ZRBMemoryBuf* buf, ZRBProc* proc, CallLog& log, const std::string& name)
      : ZRBMemoryBufWriter(buf, proc), m_notes(log, name) {}

  // Answers in place of the real ones.
  std::optional<long> rowsReady;
  std::optional<int> ready;
  std::optional<int> eofResult;

  void setRequestRows(long rows) override {
    m_notes.note(
        "setRequestRows", [&] { Base::setRequestRows(rows); }, rows);
  }
  long getRowsReady() override {
    return m_notes.note("getRowsReady", [&] { return rowsReady ? *rowsReady : Base::getRowsReady(); });
  }
  int isReady() override {
    return m_notes.note("isReady", [&] { return ready ? *ready : Base::isReady(); });
  }
  void releaseRows(long rows) override {
    m_notes.note(
        "releaseRows", [&] { Base::releaseRows(rows); }, rows);
  }
  int setEOF() override {
    return m_notes.note("setEOF", [&] {
      const int result = Base::setEOF();
      return eofResult ? *eofResult : result;
    });
  }
  void setConvertDouble(long row, long column, double value) override {
    m_notes.note(
        "setConvertDouble", [&] { Base::setConvertDouble(row, column, value); }, row, column, value);
  }
  void setConvertFactor(long row, long column, const char* text) override {
    m_notes.note(
        "setConvertFactor", [&] { Base::setConvertFactor(row, column, text); }, row, column, text);
  }
  void setConvertString(long row, long column, const char* text) override {
    m_notes.note(
        "setConvertString", [&] { Base::setConvertString(row, column, text); }, row, column, text);
  }

private:
  CallNotes m_notes;
};

// Its ends are noted under the name of the buffer.
class LoggingBuf final : public ZRBMemoryBuf {
public:
  LoggingBuf(CallLog& log, std::string name) : m_log(log), m_name_in_log(std::move(name)) {}

  ZRBBufReader* newBufReader(ZRBProc* proc) override { return new LoggingReader(this, proc, m_log, m_name_in_log); }
  ZRBBufWriter* newBufWriter(ZRBProc* proc) override { return new LoggingWriter(this, proc, m_log, m_name_in_log); }

  LoggingReader& reader(int index = 0) { return static_cast<LoggingReader&>(*getBufReader(index)); }
  LoggingWriter& writer() { return static_cast<LoggingWriter&>(*getBufWriter(0)); }

private:
  CallLog& m_log;
  std::string m_name_in_log;
};
