// What has gone wrong, and what does the host get to read about it?
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>

#include "ZRBObj.h"
#include "base/severity.h"

namespace {

// The value's text in a message: an int, a long or a double through its printf format.
class NumberText {
public:
  explicit NumberText(int value) { std::snprintf(m_text, sizeof m_text, "%d", value); }
  explicit NumberText(long value) { std::snprintf(m_text, sizeof m_text, "%ld", value); }
  explicit NumberText(double value) { std::snprintf(m_text, sizeof m_text, "%g", value); }
  const char* text() const { return m_text; }

private:
  char m_text[32];
};

constexpr const char* kSeverityNames[] = {"debug", "verbose", "information", "warning", "error"};

}  // namespace

void ZRBObj::addMessage(const char* text, int severity) {
  if (!text) return;
  if (m_num_messages_added < std::numeric_limits<long long>::max()) ++m_num_messages_added;
  if (getNumMessages() >= m_max_messages && getNumMessagesAtLevel(severity) >= m_max_messages) return;
  m_messages.push_back({severity, std::unique_ptr<char[]>(copyString(text, m_max_message_length))});
  if (severity == severity::kError) m_error = m_messages.back().text.get();
}

void ZRBObj::addMessage(const char* prefix, const char* detail, int severity) {
  const std::unique_ptr<char[]> joined(copyString(prefix, detail, m_max_message_length));
  addMessage(joined.get(), severity);
}

void ZRBObj::addMessage(const char* prefix, int value, int severity) {
  addMessage(prefix, NumberText(value).text(), severity);
}
void ZRBObj::addMessage(const char* prefix, long value, int severity) {
  addMessage(prefix, NumberText(value).text(), severity);
}
void ZRBObj::addMessage(const char* prefix, double value, int severity) {
  addMessage(prefix, NumberText(value).text(), severity);
}

void ZRBObj::addDebug(const char* text) { addMessage(text, severity::kDebug); }
void ZRBObj::addVerbose(const char* text) { addMessage(text, severity::kVerbose); }
void ZRBObj::addInformation(const char* text) { addMessage(text, severity::kInformation); }
void ZRBObj::addWarning(const char* text) { addMessage(text, severity::kWarning); }
void ZRBObj::addError(const char* text) { addMessage(text, severity::kError); }

// Deliberate: clearing the error clears the slate.
void ZRBObj::setError(const char* text) {
  if (text)
    addError(text);
  else
    clearMessages();
}

void ZRBObj::setError(const char* prefix, const char* detail) { addMessage(prefix, detail, severity::kError); }
void ZRBObj::setError(const char* prefix, int value) { addMessage(prefix, value, severity::kError); }
void ZRBObj::setError(const char* prefix, long value) { addMessage(prefix, value, severity::kError); }
void ZRBObj::setError(const char* prefix, double value) { addMessage(prefix, value, severity::kError); }

const char* ZRBObj::getError() { return m_error; }
int ZRBObj::hasError() { return m_error ? 1 : 0; }

long ZRBObj::getNumMessages() { return static_cast<long>(m_messages.size()); }
long ZRBObj::getNumMessagesAdded() { return m_num_messages_added; }

const char* ZRBObj::getMessage(long index) {
  if (index < 0 || index >= getNumMessages()) return nullptr;
  return m_messages[static_cast<std::size_t>(index)].text.get();
}

int ZRBObj::getMessageSeverity(long index) {
  if (index < 0 || index >= getNumMessages()) return severity::kDebug;
  return m_messages[static_cast<std::size_t>(index)].severity;
}

int ZRBObj::getNumMessagesAtLevel(int severity) {
  return static_cast<int>(std::count_if(m_messages.begin(), m_messages.end(), [severity](const MessageRecord& record) {
    return record.severity == severity;
  }));
}

void ZRBObj::clearMessages() {
  m_num_messages_added = 0;
  m_error = nullptr;
  m_messages.clear();
}

const char* ZRBObj::severityNumToString(int severity) {
  const bool known = severity >= severity::kDebug && severity <= severity::kError;
  return kSeverityNames[known ? severity : severity::kDebug];
}

int ZRBObj::severityStringToNum(const char* name) {
  if (name)
    for (int severity = severity::kVerbose; severity <= severity::kError; ++severity)
      if (std::strcmp(name, kSeverityNames[severity]) == 0) return severity;
  return severity::kDebug;
}
