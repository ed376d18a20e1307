// The names that the classes of the object core and the node base test, in order, and checks of whole property tables.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "support/PropertyCall.h"

using Names = std::vector<std::string>;

inline const Names kObjSetNames = {"init",
                                   "name",
                                   "error",
                                   "warning",
                                   "information",
                                   "verbose",
                                   "debug",
                                   "max.messages",
                                   "max.message.length",
                                   "clear.messages",
                                   "double.date.epoch",
                                   "error.on.level.overflow",
                                   "error.on.string.truncation",
                                   "use.windows.string.encoding"};

inline const Names kObjGetNames = {"name",
                                   "error",
                                   "max.messages",
                                   "max.message.length",
                                   "num.messages",
                                   "num.messages.added",
                                   "message",
                                   "severity",
                                   "num.messages.at.level",
                                   "has.error",
                                   "double.date.epoch",
                                   "error.on.level.overflow",
                                   "error.on.string.truncation",
                                   "use.windows.string.encoding"};

inline const Names kProcSetNames = {"num.rows",      "output.num.rows", "inbuf",        "outbuf",
                                    "inbuf.list",    "outbuf.list",     "execute",      "rows.done",
                                    "execute.count", "callback.val",    "callback.info"};

inline const Names kProcGetNames = {
    "num.rows", "output.num.rows", "num.inbufs",    "num.outbufs",     "inbuf.list",   "outbuf.list",  "done",
    "ready",    "rows.done",       "execute.count", "data.pass.count", "callback.val", "callback.info"};

inline Names joined(std::initializer_list<Names> parts) {
  Names all;
  for (const Names& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

// A name that nobody knows: every name of the chain is tested once, in order, then unknownProperty() comes exactly once
// and nothing else is called.
inline void expectChains(ZRBObj& object, const Names& setNames, const Names& getNames) {
  PropertyCall set("no.such.property");
  set.set(object);
  EXPECT_EQ(set.asked, setNames);
  EXPECT_EQ(set.unknown, 1);
  EXPECT_EQ(set.calls, Names{});
  PropertyCall get("no.such.property");
  get.get(object);
  EXPECT_EQ(get.asked, getNames);
  EXPECT_EQ(get.unknown, 1);
  EXPECT_EQ(get.calls, Names{});
}

// A name that is known to one of the two tables only ends in unknownProperty() in the other, once, without another call.
inline void expectUnknownToSet(ZRBObj& object, const Names& names) {
  for (const std::string& name : names) {
    PropertyCall call(name);
    call.set(object);
    EXPECT_EQ(call.unknown, 1) << name;
    EXPECT_EQ(call.calls, Names{}) << name;
  }
}
inline void expectUnknownToGet(ZRBObj& object, const Names& names) {
  for (const std::string& name : names) {
    PropertyCall call(name);
    call.get(object);
    EXPECT_EQ(call.unknown, 1) << name;
    EXPECT_EQ(call.calls, Names{}) << name;
  }
}

// One row of a property table: the operations that a request of that name sees, in order.  `next` is what its follow-on
// request sees.
struct PropertyRow {
  const char* name;
  Names calls;
  Names next = {};
};

inline void expectOperations(const PropertyRow& row, PropertyCall& call) {
  EXPECT_EQ(call.unknown, 0) << row.name;
  EXPECT_EQ(call.calls, row.calls) << row.name;
  ASSERT_FALSE(call.asked.empty()) << row.name;
  EXPECT_EQ(call.asked.back(), row.name) << "the chain goes on after its match";
  EXPECT_EQ(call.next() ? call.next()->calls : Names{}, row.next) << row.name;
  if (call.next()) {
    EXPECT_EQ(call.next()->unknown, 0) << row.name;
  }
}
inline void expectSetRow(ZRBObj& object, const PropertyRow& row) {
  PropertyCall call(row.name);
  call.set(object);
  expectOperations(row, call);
}
inline void expectGetRow(ZRBObj& object, const PropertyRow& row) {
  PropertyCall call(row.name);
  call.get(object);
  expectOperations(row, call);
}
