//===- undosupport.h - Helpers shared by the undo tests ---------*- C++ -*-===//
//
// TaggedInfo is a client record that writes "<tag> finish|undo|redo" to a
// log, reports a size of its choosing and can run a hook inside each call. LogListener writes "<tag> undo",
// "<tag> redo" and "<tag> removed <record tag>" and can run a hook inside
// each call. failure() runs a call and gives the text of the
// PlatformException it threw, or "(none)".
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivptr.h"
#include "core/platformexception.h"
#include "model/modelsupport.h"
#include "undo/undoinfo.h"
#include "undo/undomanager.h"
#include "undo/undomanagerlistener.h"

#include <functional>
#include <string>
#include <vector>

using Log = std::vector<std::string>;

class TaggedInfo : public UndoInfo {
public:
  TaggedInfo(std::string tag, Log* log, uint64_t size = 0)
      : tag(std::move(tag)), log(log), size(size) {}

  void finish() override {
    log->push_back(tag + " finish");
    if (finishHook)
      finishHook();
  }
  void undo() override {
    log->push_back(tag + " undo");
    if (undoHook)
      undoHook();
  }
  void redo() override {
    log->push_back(tag + " redo");
    if (redoHook)
      redoHook();
  }
  uint64_t getSize() override {
    if (askHook)
      askHook();
    return size;
  }
  bool isRemovable() override {
    if (askHook)
      askHook();
    return UndoInfo::isRemovable();
  }

  std::string tag;
  Log* log;
  uint64_t size;
  std::function<void()> undoHook;
  std::function<void()> redoHook;
  std::function<void()> finishHook;
  // Runs inside getSize() and isRemovable().
  std::function<void()> askHook;
};

inline std::string tagOf(IKivUndoInfo* info) {
  auto* tagged = dynamic_cast<TaggedInfo*>(info);
  return tagged ? tagged->tag : "?";
}

class LogListener : public UndoManagerListener {
public:
  LogListener(std::string tag, Log* log) : tag(std::move(tag)), log(log) {}

  void onUndo() override {
    log->push_back(tag + " undo");
    if (hook)
      hook();
  }
  void onRedo() override {
    log->push_back(tag + " redo");
    if (hook)
      hook();
  }
  void onInfoRemoved(IKivUndoInfo* info) override {
    log->push_back(tag + " removed " + tagOf(info));
    if (removedHook)
      removedHook();
  }

  std::string tag;
  Log* log;
  std::function<void()> hook;
  std::function<void()> removedHook;
};

inline std::string failure(const std::function<void()>& call) {
  PlatformException* e = caught(call);
  if (!e)
    return "(none)";
  std::string message = text(e->message);
  delete e;
  return message;
}

// One closed block of `context` holding a TaggedInfo for each tag.
inline void closedBlock(IKivUndoManager* manager, uint64_t context,
                        const std::vector<std::string>& tags, Log* log, uint64_t size = 0) {
  manager->startUndoBlock(context);
  for (const std::string& tag : tags)
    manager->addUndoInfo(context, new TaggedInfo(tag, log, size));
  manager->endUndoBlock(context);
}
