//===- ikivstrsupport.h - Optional locale support for strings ---*- C++ -*-===//
//
// With no such service the strings use their plain rules. The last four
// operations work in place. Slot order (from 1) is a contract.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

class KivString;
class KivCString;

class IKivStrSupport : public virtual IKivUnknown {
public:
  virtual void reserved1() {}                                                          // 1
  virtual void toNarrow(KivCString& out, const char16_t* wide) = 0;                    // 2
  virtual int compare(const KivString& a, const KivString& b) = 0;                     // 3
  virtual bool isSpace(int c) = 0;                                                     // 4
  virtual bool isDigit(int c) = 0;                                                     // 5
  virtual bool contains(const KivString& text, const KivString& what, bool matchCase) = 0; // 6
  virtual void removeSpace(KivString& text) = 0;                                       // 7
  virtual void collapseSpace(KivString& text) = 0;                                     // 8
  virtual void toLower(KivString& text) = 0;                                           // 9
  virtual void toUpper(KivString& text) = 0;                                           // 10
};
