//===- undoinfo.h - The base of every undo record ---------------*- C++ -*-===//
//
// UndoInfo is a record that does nothing: finish, undo and redo have empty
// bodies, its size is 0 and it is always valid. A client derives from it for
// an edit that property pictures don't cover, such as a structural one, and
// hands the record to IKivUndoManager::addUndoInfo. The only state is the
// removable flag, false at the start.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "undo/ikivundoinfo.h"

class UndoInfo : public IKivUndoInfo {
public:
  static constexpr const char* kClassName = "UndoInfo";

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  void finish() override {}
  void undo() override {}
  void redo() override {}
  uint64_t getSize() override { return 0; }
  void setRemovable(bool removable) override { removable_ = removable ? 1 : 0; }
  bool isRemovable() override { return removable_ != 0; }
  bool isValid() override { return true; }

private:
  uint8_t removable_ = 0;
};
