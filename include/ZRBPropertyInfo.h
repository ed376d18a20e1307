#pragma once

class ZRBBuf;
class ZRBProc;

// One property request, implemented by the host: it carries the property's name and, for a set, the argument; for a get
// it receives the result.  The library only ever asks "are you <name>?" in a fixed order and then reads arguments or
// stores one result.  docs/properties.md lists all properties.
//
// An implementation may throw: the exception passes through the library, which changes nothing after it.  (Through the
// property "execute" of a pipeline it passes as well; what a node throws while it runs ends in the pipeline.)
//
// The order of the virtual operations is binary interface.  The library never deletes a request, calls neither reserved
// entry, and keeps no pointer to a request after the call.
class ZRBPropertyInfo {
public:
  virtual void reserved0() = 0;  // slot 0: never called

  // Nonzero when the request names `name` (a literal of the library).
  virtual int isProperty(const char* name) = 0;

  virtual long getLongArg() = 0;
  virtual void setLongResult(long value) = 0;
  virtual long long getLongLongArg() = 0;
  virtual void setLongLongResult(long long value) = 0;
  virtual void reserved6() = 0;  // slot 6: never called
  virtual void setDoubleResult(double value) = 0;
  virtual int getBoolArg() = 0;  // 0 is false, anything else true
  virtual void setBoolResult(int value) = 0;

  // Null is allowed where the property says so.  The library copies what it keeps before it returns.
  virtual const char* getStringArg() = 0;
  // `text` may be null and stays the library's: copy it before the next call into the library.
  virtual void setStringResult(const char* text) = 0;

  virtual ZRBBuf* getBufArg() = 0;
  virtual void setBufResult(ZRBBuf* buf) = 0;
  virtual ZRBProc* getProcArg() = 0;
  virtual void setProcResult(ZRBProc* proc) = 0;

  // The request that carries the next argument of a property with several; never null for such a property.
  virtual ZRBPropertyInfo* getNextArg() = 0;

  // The end of every chain: no class knows the name.  Called at most once per request.
  virtual void unknownProperty() = 0;

protected:
  ~ZRBPropertyInfo() = default;  // not virtual: a virtual one would take slots
};
