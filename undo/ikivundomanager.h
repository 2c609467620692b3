//===- ikivundomanager.h - The undo history and its listeners ---*- C++ -*-===//
//
// An undo manager keeps a bounded stack of blocks of undo records. Every
// block carries an opaque 64-bit undo context chosen by the client; each
// context is its own history line, and most operations come in a
// per-context form and a whole-stack form (the ...All operations). Only
// isInUndoBlock gives a context a meaning: 0 there stands for any context.
//
// Undo results: 0 a block was replayed and the listeners were told; 1 the
// cursor moved over an empty block and nobody was told; 2 nothing to do.
//
// Listeners are raw pointers without a reference: whoever registers must
// unregister before the listener dies. A listener may unregister itself, or
// any other, while it is being told. Broken rules throw PlatformException*
// (code 6) and leave the manager as it was.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>

class IKivDataObject;
class IKivUndoInfo;

class IKivUndoManagerListener : public virtual IKivUnknown {
public:
  virtual void onRedo() = 0;
  virtual void onUndo() = 0;
  // The record is about to be released by the manager.
  virtual void onInfoRemoved(IKivUndoInfo* info) = 0;
};

class IKivUndoManager : public virtual IKivUnknown {
public:
  // 0: the memory budget applies; any other value: no budget. Mode 1 also
  // resets the budget to the largest value.
  virtual void setLimitMode(int mode) = 0;
  virtual int getLimitMode() = 0;
  // Decimal megabytes (1,000,000 bytes).
  virtual void setMaxMemorySize(uint64_t megabytes) = 0;
  virtual uint64_t getMaxMemorySize() = 0;
  // Drops the oldest blocks down to `size`; 0 keeps nothing from now on.
  virtual void setMaxStackSize(int size) = 0;
  virtual int getMaxStackSize() = 0;
  // Passed to createUndoInfo by addUndoObject.
  virtual void setUndoInfoOption(bool option) = 0;
  virtual bool getUndoInfoQuery() = 0;
  virtual void registerListener(IKivUndoManagerListener* listener) = 0;
  virtual void unregisterListener(IKivUndoManagerListener* listener) = 0;
  // Opens a block for the context and cuts off the redo branch.
  virtual void startUndoBlock(uint64_t context) = 0;
  // Makes the object's record (its "before" picture is taken here: call it
  // before changing the object) and adds it to the open block. The record
  // carries no reference for the caller.
  virtual IKivUndoInfo* addUndoObject(uint64_t context, IKivDataObject* object,
                                      bool removable) = 0;
  // Adds a record of the client's own; the block takes a reference. A record
  // that nobody held (a fresh `new`) is released if no block keeps it.
  virtual void addUndoInfo(uint64_t context, IKivUndoInfo* info) = 0;
  virtual bool isInUndoBlock(uint64_t context) = 0;
  // Closes the block; true if it went on the stack.
  virtual bool endUndoBlock(uint64_t context) = 0;
  // Drops the open block without replaying it; always true.
  virtual bool cancelUndoBlock(uint64_t context) = 0;
  virtual int undo(uint64_t context) = 0;
  virtual int undoAll() = 0;
  virtual int redo(uint64_t context) = 0;
  virtual int redoAll() = 0;
  virtual void clearContext(uint64_t context) = 0;
  virtual void clear() = 0;
  virtual void removeMarkedInfos(uint64_t context) = 0;
  virtual void removeAllMarkedInfos() = 0;
  virtual int getStackSize() = 0;
  virtual bool canUndo(uint64_t context) = 0;
  virtual bool canUndoAll() = 0;
  virtual bool canRedo(uint64_t context) = 0;
  virtual bool canRedoAll() = 0;
};
