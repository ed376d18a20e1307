// Which names does every object answer to?
#include "ZRBObj.h"
#include "base/property_table.h"

using namespace property;

struct ZRBObj::Properties {
  static constexpr Property<ZRBObj> setTable[] = {
      {"init", call<&ZRBObj::init>},
      {"name", set<String, &ZRBObj::setName>},
      {"error", set<String, &ZRBObj::addError>},
      {"warning", set<String, &ZRBObj::addWarning>},
      {"information", set<String, &ZRBObj::addInformation>},
      {"verbose", set<String, &ZRBObj::addVerbose>},
      {"debug", set<String, &ZRBObj::addDebug>},
      {"max.messages", setShared<Long, &ZRBObj::setMaxMessages>},
      {"max.message.length", setShared<Long, &ZRBObj::setMaxMessageLength>},
      {"clear.messages", call<&ZRBObj::clearMessages>},
      {"double.date.epoch", setShared<LongLong, &ZRBObj::setDoubleDateEpoch>},
      {"error.on.level.overflow", setShared<Bool, &ZRBObj::setErrorOnLevelOverflow>},
      {"error.on.string.truncation", setShared<Bool, &ZRBObj::setErrorOnStringTruncation>},
      {"use.windows.string.encoding", setShared<Bool, &ZRBObj::setUseWindowsStringEncoding>},
  };

  static void getSeverity(ZRBObj& object, ZRBPropertyInfo& info) {
    info.setStringResult(severityNumToString(object.getMessageSeverity(info.getLongArg())));
  }
  static void getNumMessagesAtLevel(ZRBObj& object, ZRBPropertyInfo& info) {
    info.setLongResult(object.getNumMessagesAtLevel(severityStringToNum(info.getStringArg())));
  }

  static constexpr Property<ZRBObj> getTable[] = {
      {"name", get<String, &ZRBObj::getName>},
      {"error", get<String, &ZRBObj::getError>},
      {"max.messages", getShared<Long, &ZRBObj::getMaxMessages>},
      {"max.message.length", getShared<Long, &ZRBObj::getMaxMessageLength>},
      {"num.messages", get<Long, &ZRBObj::getNumMessages>},
      {"num.messages.added", get<Long, &ZRBObj::getNumMessagesAdded>},
      {"message", getAt<Long, String, &ZRBObj::getMessage>},
      {"severity", getSeverity},
      {"num.messages.at.level", getNumMessagesAtLevel},
      {"has.error", get<Bool, &ZRBObj::hasError>},
      {"double.date.epoch", getShared<LongLong, &ZRBObj::getDoubleDateEpoch>},
      {"error.on.level.overflow", getShared<Bool, &ZRBObj::getErrorOnLevelOverflow>},
      {"error.on.string.truncation", getShared<Bool, &ZRBObj::getErrorOnStringTruncation>},
      {"use.windows.string.encoding", getShared<Bool, &ZRBObj::getUseWindowsStringEncoding>},
  };
};

void ZRBObj::setProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::setTable, *this, *info)) info->unknownProperty();
}

void ZRBObj::getProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::getTable, *this, *info)) info->unknownProperty();
}
