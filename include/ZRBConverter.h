#pragma once

// Text conversion supplied by the host.  Set one per object (ZRBObj::setConverter; a buffer's converter governs all its
// columns) or one for the whole process (ZRBObj::setDefaultConverter).  The library never deletes a converter, and never
// asks it about NA values: those are handled before.
//
// The order of the virtual operations is binary interface.  Values travel by pointer; a text result must be terminated
// within `size` bytes (always 1024).  An operation that stores no value leaves the caller's result undefined.
class ZRBConverter {
public:
  virtual void doubleToText(const double* value, char* text, int size) = 0;
  virtual void textToDouble(const char* text, double* value) = 0;
  // Time-dates are signed milliseconds.
  virtual void timeDateToText(const long long* timeMs, char* text, int size) = 0;
  virtual void textToTimeDate(const char* text, long long* timeMs) = 0;

protected:
  ~ZRBConverter() = default;  // not virtual: a virtual one would take slots
};
