//===- undomanagerlistener.h - A listener with empty bodies -----*- C++ -*-===//
//
// UndoManagerListener implements every operation of IKivUndoManagerListener
// as an empty body, so that a client, a script above all, overrides only
// what it needs. It registers nowhere by itself.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "undo/ikivundomanager.h"

class UndoManagerListener : public IKivUndoManagerListener {
public:
  static constexpr const char* kClassName = "UndoManagerListener";

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  void onRedo() override {}
  void onUndo() override {}
  void onInfoRemoved(IKivUndoInfo*) override {}
};
