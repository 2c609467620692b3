//===- ikivlog3.h - The host's log ------------------------------*- C++ -*-===//
//
// The component calls only the twelfth operation, logError, which receives
// the short "[class] text" form of every broken class rule.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

class KivString;

class IKivLog3 : public virtual IKivUnknown {
public:
  virtual bool setLogFile(const char* path) = 0;            // 1
  virtual const char* logFile() = 0;                        // 2
  virtual void setLevel(int level) = 0;                     // 3
  virtual int level() = 0;                                  // 4
  virtual void logDebug(const KivString& text) = 0;         // 5
  virtual void logInfo(const KivString& text) = 0;          // 6
  virtual void logWarning(const KivString& text) = 0;       // 7
  virtual void reserved8() {}                               // 8
  virtual void reserved9() {}                               // 9
  // Plain information (a modifier's running and finished lines).
  virtual void logPlain(const KivString& text) { (void)text; }  // 10
  virtual void flush() = 0;                                 // 11
  virtual void logError(const KivString& text) = 0;         // 12
};
