//===- undomanager.h - The undo history of a document -----------*- C++ -*-===//
//
// UndoManager keeps a bounded stack of undo blocks, index 1 the oldest. A
// client opens a block for a context, names the objects it is about to
// change (addUndoObject takes each one's "before" picture), changes them and
// closes the block (the records' finish() takes the "after" pictures). undo
// and redo replay one block of a context; undoAll and redoAll one block of
// the whole stack. The count limit (maxStackSize, 500) and, in limit mode 0,
// the memory budget drop the oldest blocks when a block is closed.
//
// Invariants a user must know:
//  - Two kinds of cursor: `position` for the whole stack and one per context.
//    A cursor names the block that the next undo would replay, 0 when there
//    is none, and never addresses a block outside the stack: a block removed
//    below or at a cursor moves it down (a context's cursor to the next block
//    of its own context). A push sets both for the pushing context.
//  - The redo branch is cut when a block is opened, not when it is closed:
//    per context after a per-context operation, above `position` after a
//    whole-stack one (wholeStackMode).
//  - A context's cursor is a stack index, and canRedo and the cut hold it
//    against the context's count of blocks: blocks of other contexts below
//    make a context's redo branch look shorter, and a cut may leave an undone
//    block of the context under the new one.
//  - Every block that goes away, by a limit, a cut, clear, cancel or the
//    destructor, tells each listener onInfoRemoved(record) for each record,
//    then releases the record.
//  - Records (finish, undo, redo, getSize, isRemovable) and listeners may
//    call any operation, also ones that change blocks or cursors: a replay
//    holds its records, blocks are told apart by a serial number, and every
//    position is looked up again after each call out, so nothing dangles or
//    reads outside the stack. A block replayed and dropped meanwhile leaves
//    the cursors where its removal put them. Each operation holds the
//    manager alive until it returns, even if a call drops the last
//    reference on it.
//  - addUndoObject(0, ...) while another context has a block open makes
//    the record and hands it out with no block to hold it.
//  - Listeners are held without references, in order of registration. One
//    that is unregistered while listeners are being told is not told any
//    more; one that is registered then is told from the next call on.
//  - No lock: the manager belongs to the thread that drives its document.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "basic_types/map.h"
#include "undo/ikivundomanager.h"

#include <cstdint>

struct UndoBlock;

class UndoManager : public IKivUndoManager {
public:
  static constexpr const char* kClassName = "UndoManager";

  UndoManager();
  UndoManager(const UndoManager&) = delete;
  UndoManager& operator=(const UndoManager&) = delete;
  ~UndoManager() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  void setLimitMode(int mode) override;
  int getLimitMode() override { return limitMode_; }
  // Megabytes beyond what 64 signed bits of bytes hold give the largest budget.
  void setMaxMemorySize(uint64_t megabytes) override;
  uint64_t getMaxMemorySize() override;
  void setMaxStackSize(int size) override;
  int getMaxStackSize() override { return maxStackSize_; }
  void setUndoInfoOption(bool option) override { undoInfoOption_ = option ? 1 : 0; }
  bool getUndoInfoQuery() override { return false; }
  void registerListener(IKivUndoManagerListener* listener) override;
  void unregisterListener(IKivUndoManagerListener* listener) override;
  void startUndoBlock(uint64_t context) override;
  IKivUndoInfo* addUndoObject(uint64_t context, IKivDataObject* object, bool removable) override;
  void addUndoInfo(uint64_t context, IKivUndoInfo* info) override;
  bool isInUndoBlock(uint64_t context) override;
  bool endUndoBlock(uint64_t context) override;
  bool cancelUndoBlock(uint64_t context) override;
  int undo(uint64_t context) override;
  int undoAll() override;
  int redo(uint64_t context) override;
  int redoAll() override;
  void clearContext(uint64_t context) override;
  void clear() override;
  void removeMarkedInfos(uint64_t context) override;
  void removeAllMarkedInfos() override;
  int getStackSize() override { return stack_.count(); }
  bool canUndo(uint64_t context) override;
  bool canUndoAll() override;
  bool canRedo(uint64_t context) override;
  bool canRedoAll() override;

  // For reports and tests: the context of the block at a stack index (1 is
  // the oldest), and the number of records it holds.
  uint64_t blockContext(int32_t index) const;
  int32_t blockRecordCount(int32_t index) const;

private:
  class Hold;
  class Delivery;
  class Reopen;

  [[noreturn]] void fail(const char* text);
  int32_t cursorOf(uint64_t context) const;
  int32_t countOf(uint64_t context) const;
  UndoBlock* takeOpenBlock(uint64_t context);
  // Appends to the context's open block; false if it has none.
  bool appendInfo(uint64_t context, IKivUndoInfo* info);
  // The stack index of the block with that serial, 0 if it is gone.
  int32_t indexOf(uint64_t serial) const;
  UndoBlock* takeBlockAt(int32_t index);
  void dropBlock(UndoBlock* block);
  void cutRedoBranch(uint64_t context);
  void replay(UndoBlock* block, bool forward);
  uint64_t sizeOf(const UndoBlock* block);
  uint64_t stackMemory();
  void removeMarked(const uint64_t* context);
  void tellInfoRemoved(IKivUndoInfo* info);
  void tellUndo();
  void tellRedo();
  void compactListeners();

  IterStack<IKivUndoManagerListener*> listeners_;
  IterStack<UndoBlock*> stack_;
  Map<uint64_t, int32_t> inBlock_;
  Map<uint64_t, UndoBlock*> openBlocks_;
  int32_t maxStackSize_ = 500;
  int32_t position_ = 0;
  Map<uint64_t, int32_t> contextPositions_;
  int64_t maxMemory_ = INT64_MAX;
  int32_t limitMode_ = 1;
  uint8_t undoInfoOption_ = 0;
  uint8_t wholeStackMode_ = 1;

  // Listener deliveries under way; an entry unregistered meanwhile is set to
  // null and the list is compacted when the outermost delivery ends.
  int32_t deliveries_ = 0;
  bool compactPending_ = false;
  // The serial of the newest block.
  uint64_t lastSerial_ = 0;
};
