// What does every object have, and which settings do all objects share?
#include "ZRBObj.h"

static_assert(sizeof(std::unique_ptr<char[]>) == sizeof(char*), "an owned string takes the place of a char*");

int ZRBObj::m_max_messages = 50;
int ZRBObj::m_max_message_length = 500;
long long ZRBObj::m_double_date_epoch = 0;
int ZRBObj::m_error_on_level_overflow = 0;
int ZRBObj::m_error_on_string_truncation = 0;
int ZRBObj::m_use_windows_string_encoding = 0;
ZRBConverter* ZRBObj::m_default_converter = nullptr;

ZRBObj::ZRBObj() : m_error(nullptr), m_num_messages_added(0), m_converter(nullptr) {}

ZRBObj::~ZRBObj() = default;

int ZRBObj::init() {
  clearMessages();
  return hasError();
}

void ZRBObj::setName(const char* name) { m_name.reset(copyString(name)); }
const char* ZRBObj::getName() { return m_name.get(); }

void ZRBObj::setMaxMessages(long count) { m_max_messages = static_cast<int>(count); }
long ZRBObj::getMaxMessages() { return m_max_messages; }
void ZRBObj::setMaxMessageLength(long bytes) { m_max_message_length = static_cast<int>(bytes); }
long ZRBObj::getMaxMessageLength() { return m_max_message_length; }
void ZRBObj::setDoubleDateEpoch(long long timeMs) { m_double_date_epoch = timeMs; }
long long ZRBObj::getDoubleDateEpoch() { return m_double_date_epoch; }
void ZRBObj::setErrorOnLevelOverflow(int flag) { m_error_on_level_overflow = flag; }
int ZRBObj::getErrorOnLevelOverflow() { return m_error_on_level_overflow; }
void ZRBObj::setErrorOnStringTruncation(int flag) { m_error_on_string_truncation = flag; }
int ZRBObj::getErrorOnStringTruncation() { return m_error_on_string_truncation; }
void ZRBObj::setUseWindowsStringEncoding(int flag) { m_use_windows_string_encoding = flag; }
int ZRBObj::getUseWindowsStringEncoding() { return m_use_windows_string_encoding; }
void ZRBObj::setDefaultConverter(ZRBConverter* converter) { m_default_converter = converter; }
ZRBConverter* ZRBObj::getDefaultConverter() { return m_default_converter; }
