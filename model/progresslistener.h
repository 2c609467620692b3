//===- progresslistener.h - Base of an observer of progress -----*- C++ -*-===//
//
// The listener keeps a plain pointer to its source, without a reference; the
// source outlives the listener, and at the listener's death is told to forget
// it through the source's operation of place 5 (IKivProgressSource::forget).
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

class IProgressListener;

// What a listener needs of what it observes: the operation at place 5, counted
// from 0 behind IKivUnknown's. The earlier places are the source's own.
class IKivProgressSource : public virtual IKivUnknown {
public:
  virtual void reserved0() {}
  virtual void reserved1() {}
  virtual void reserved2() {}
  virtual void reserved3() {}
  virtual void reserved4() {}
  virtual void forgetListener(IProgressListener* listener) = 0;
};

class IProgressListener : public virtual IKivUnknown {
public:
  virtual void setSource(IKivProgressSource* source) = 0;
  virtual bool hook1() = 0;
  virtual void hook2() = 0;
  virtual void hook3() = 0;
};

class ProgressListener : public IProgressListener {
public:
  ~ProgressListener() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "ProgressListener"; }

  void setSource(IKivProgressSource* source) override { source_ = source; }
  bool hook1() override { return true; }
  void hook2() override {}
  void hook3() override {}

private:
  IKivProgressSource* source_ = nullptr;
};
