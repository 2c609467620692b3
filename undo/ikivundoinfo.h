//===- ikivundoinfo.h - One undo record -------------------------*- C++ -*-===//
//
// A record says how to bring one object back to the state it had when the
// record was made, and forward again. The UndoManager holds records in blocks
// with one strong reference each and calls them; it knows nothing of what
// they do. finish() runs once, when the block closes; undo() runs on the
// records of a block from the last to the first, redo() from the first to the
// last. A record's failure passes through the manager to its client.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>

class IKivUndoInfo : public virtual IKivUnknown {
public:
  virtual void finish() = 0;
  virtual void undo() = 0;
  virtual void redo() = 0;
  // Bytes held, for the manager's memory budget.
  virtual uint64_t getSize() = 0;
  virtual void setRemovable(bool removable) = 0;
  // Removable records are dropped by removeMarkedInfos and removeAllMarkedInfos.
  virtual bool isRemovable() = 0;
  virtual bool isValid() = 0;
};
