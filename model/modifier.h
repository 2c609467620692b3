//===- modifier.h - The unit of work on the data model ----------*- C++ -*-===//
//
// A Modifier is a PropertyMap whose properties are its arguments and results
// and whose run() does the work on the calling thread. It carries a
// ProgressCallbackBase (through IKivProgressObject), so it can report and be
// asked to stop. A modifier with flag 0x10 (the default) registers with the
// Database at construction and unregisters first thing in its destructor.
//
// Invariants a user must know:
//  - No lock: a modifier runs on one thread at a time.
//  - The property "progress", when a modifier has one, is a ProgressProperty;
//    the job queue and CompositeModifier test for it and hand progress in.
//  - logRunning()/logFinished() are for a run() to call; nothing else does.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/kivstring.h"
#include "kivbasictypes/progresscallbackbase.h"
#include "model/ikivmodifier.h"
#include "properties/propertymap.h"

class IProgress;

class Modifier : public PropertyMap, public IKivModifier, public IKivProgressObject {
public:
  Modifier();
  Modifier(uint8_t flags, const KivString& name, int64_t id);
  ~Modifier() override;
  Modifier(const Modifier&) = delete;
  Modifier& operator=(const Modifier&) = delete;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "Modifier"; }

  const KivString& name() const override { return name_; }
  void run() override {}

  virtual int64_t id() const { return id_; }
  virtual void logRunning();
  virtual void logFinished();

  void setName(const KivString& name) { name_ = name; }

  // The value of the property "progress", if it is a ProgressProperty.
  IProgress* progressObject() const;
  // Points this modifier's reports at the tree behind its "progress"
  // property (the progress's callback, asked for "IKivProgress"); false, and
  // nothing changed, when there is none. For a run() to call first.
  bool useProgressProperty();

private:
  void commonSetUp();
  void createNameProperty();
  void logState(const char* format);

  KivString name_;
  int64_t id_ = -1;
};
