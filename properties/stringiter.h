//===- stringiter.h - The snapshot iterator of a StringArray -----*- C++ -*-===//
//
// StringIter holds a copy of the strings made when it was created, so the
// array may change or die while it is walked. It stands before the first
// string when new; value() reads the current one into `out` (a string does
// not fit a register) and gives the empty string outside the walk. Unlike
// the other iterators of the array family it is a class of the class table:
// made by the table it walks an empty list. A new StringIter has refCount 0.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "core/kivobject.h"
#include "kivbasictypes/kivstring.h"

class IKivStringIter : public virtual IKivUnknown {
public:
  virtual int count() = 0;
  virtual bool next() = 0;
  virtual void value(KivString& out) = 0;
  virtual void rewind() = 0;
};

class StringIter : public IKivStringIter {
public:
  static constexpr const char* kClassName = "StringIter";
  static constexpr const char* kInterfaceName = "IKivStringIter";

  StringIter();
  explicit StringIter(const IterStack<KivString>& strings);

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  int count() override { return copy_.count(); }
  bool next() override { return ++index_ <= copy_.count(); }
  void value(KivString& out) override;
  void rewind() override { index_ = 0; }

private:
  IterStack<KivString> copy_;
  int32_t index_ = 0;
};
