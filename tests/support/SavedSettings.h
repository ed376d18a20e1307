// Puts the settings that all objects share back as they were.
#pragma once

#include "ZRBObj.h"

class SavedSettings {
public:
  SavedSettings() = default;
  SavedSettings(const SavedSettings&) = delete;
  SavedSettings& operator=(const SavedSettings&) = delete;
  ~SavedSettings() {
    ZRBObj::setMaxMessages(m_maxMessages);
    ZRBObj::setMaxMessageLength(m_maxMessageLength);
    ZRBObj::setDoubleDateEpoch(m_doubleDateEpoch);
    ZRBObj::setErrorOnLevelOverflow(m_errorOnLevelOverflow);
    ZRBObj::setErrorOnStringTruncation(m_errorOnStringTruncation);
    ZRBObj::setUseWindowsStringEncoding(m_useWindowsStringEncoding);
    ZRBObj::setDefaultConverter(m_defaultConverter);
  }

private:
  const long m_maxMessages = ZRBObj::getMaxMessages();
  const long m_maxMessageLength = ZRBObj::getMaxMessageLength();
  const long long m_doubleDateEpoch = ZRBObj::getDoubleDateEpoch();
  const int m_errorOnLevelOverflow = ZRBObj::getErrorOnLevelOverflow();
  const int m_errorOnStringTruncation = ZRBObj::getErrorOnStringTruncation();
  const int m_useWindowsStringEncoding = ZRBObj::getUseWindowsStringEncoding();
  ZRBConverter* const m_defaultConverter = ZRBObj::getDefaultConverter();
};
