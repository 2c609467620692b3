//===- undomanager.cpp - The undo history of a document -------------------===//
#include "undo/undomanager.h"

#include "core/classwalk.h"
#include "core/kivptr.h"
#include "core/platformexception.h"
#include "kivbasictypes/messageformat.h"
#include "model/ikivdataobject.h"
#include "undo/ikivundoinfo.h"

#include <algorithm>
#include <vector>

// A block of records gathered between startUndoBlock and endUndoBlock. The
// record count is that of `infos`; each entry holds one reference.
// `serial` tells a block again after a call out of the manager, which may
// have moved, dropped or (at the same address) replaced it.
struct UndoBlock {
  UndoBlock(uint64_t context, UndoManager* manager, uint64_t serial)
      : context(context), manager(manager), serial(serial) {}

  int32_t status = 1;  // 0: holds records; 1: empty
  uint64_t context;
  UndoManager* manager;
  IterStack<IPtr<IKivUndoInfo>> infos{21};
  uint64_t serial;
};

namespace {

constexpr int kCapacity = 21;
constexpr uint32_t kBuckets = 17;
constexpr int64_t kBytesPerMegabyte = 1000000;
// The count of a dying manager: nothing taken and dropped in the destructor
// brings it to zero again.
constexpr int32_t kDyingCount = 0x40000000;

} // namespace

// Keeps the manager alive for one operation, so that a listener or a record
// that drops the last reference doesn't pull the manager away from under
// the operation; the last release then comes when the operation returns. A
// manager that nobody held by reference is left at 0 again, not deleted.
class UndoManager::Hold {
public:
  explicit Hold(UndoManager* manager) : manager_(manager), owned_(manager->refCount_ > 0) {
    manager->addRef();
  }
  ~Hold() {
    if (owned_)
      manager_->release();
    else
      --manager_->refCount_;
  }
  Hold(const Hold&) = delete;
  Hold& operator=(const Hold&) = delete;

private:
  UndoManager* manager_;
  bool owned_;
};

class UndoManager::Delivery {
public:
  explicit Delivery(UndoManager* manager) : manager_(manager) { ++manager->deliveries_; }
  ~Delivery() {
    if (--manager_->deliveries_ == 0 && manager_->compactPending_)
      manager_->compactListeners();
  }
  Delivery(const Delivery&) = delete;
  Delivery& operator=(const Delivery&) = delete;

private:
  UndoManager* manager_;
};

// Puts a block that endUndoBlock took out of `openBlocks` back, should the
// rest of the operation fail, so that a failed close leaves it open.
class UndoManager::Reopen {
public:
  Reopen(UndoManager* manager, uint64_t context, UndoBlock* block)
      : manager_(manager), context_(context), block_(block) {}
  ~Reopen() {
    if (!block_)
      return;
    // A record may have opened a new block for the context meanwhile; that
    // one stays open, and this one is dropped rather than lost.
    UndoBlock*& slot = manager_->openBlocks_[context_];
    if (slot) {
      try {
        manager_->dropBlock(block_);
      } catch (...) {
      }
      return;
    }
    slot = block_;
    manager_->inBlock_[context_] = 1;
  }
  UndoBlock* dismiss() {
    UndoBlock* block = block_;
    block_ = nullptr;
    return block;
  }
  Reopen(const Reopen&) = delete;
  Reopen& operator=(const Reopen&) = delete;

private:
  UndoManager* manager_;
  uint64_t context_;
  UndoBlock* block_;
};

UndoManager::UndoManager()
    : listeners_(kCapacity), stack_(kCapacity), inBlock_(kBuckets), openBlocks_(kBuckets),
      contextPositions_(kBuckets) {}

UndoManager::~UndoManager() {
  refCount_ = kDyingCount;
  // A destructor can't pass a listener's failure on: it is dropped, and the
  // other blocks are still dropped.
  auto quietly = [this](UndoBlock* block) {
    try {
      dropBlock(block);
    } catch (PlatformException* e) {
      delete e;
    } catch (...) {
    }
  };
  // Open blocks go too: nobody can close them any more. A listener told of
  // a record may still open or push blocks, so this runs until none is left.
  for (;;) {
    IterStack<UndoBlock*> open(4);
    Map<uint64_t, UndoBlock*>::Iterator it(openBlocks_);
    for (bool more = it.first(); more; more = it.next()) {
      if (it.value())
        open.push(it.value());
      it.value() = nullptr;
    }
    if (stack_.count() == 0 && open.count() == 0)
      break;
    while (stack_.count() > 0)
      quietly(takeBlockAt(stack_.count()));
    for (int32_t i = 1; i <= open.count(); ++i)
      quietly(open.at(i));
  }
}

void UndoManager::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivUndoManager");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivUndoManager", static_cast<IKivUndoManager*>(this), out);
}

// --- Rules and settings ------------------------------------------------------

void UndoManager::fail(const char* text) { throwClassError(kClassName, text); }

void UndoManager::setLimitMode(int mode) {
  limitMode_ = mode;
  if (mode == 1)
    maxMemory_ = INT64_MAX;
}

void UndoManager::setMaxMemorySize(uint64_t megabytes) {
  constexpr uint64_t kLargest = static_cast<uint64_t>(INT64_MAX / kBytesPerMegabyte);
  maxMemory_ = megabytes > kLargest ? INT64_MAX
                                    : static_cast<int64_t>(megabytes) * kBytesPerMegabyte;
}

uint64_t UndoManager::getMaxMemorySize() {
  return static_cast<uint64_t>(maxMemory_ / kBytesPerMegabyte);
}

void UndoManager::setMaxStackSize(int size) {
  if (size < 0)
    fail("setMaxStackSize: size must be greater than or equal to 0.");
  Hold hold(this);
  while (stack_.count() > size)
    dropBlock(takeBlockAt(1));
  maxStackSize_ = size;
}

// --- Listeners ---------------------------------------------------------------

void UndoManager::registerListener(IKivUndoManagerListener* listener) {
  if (!listener)
    throwClassError("UndoManager::registerListener", "Listener cannot be null.");
  for (int32_t i = listeners_.count(); i >= 1; --i)
    if (listeners_.at(i) == listener)
      throwClassError("UndoManager::registerListener", "Listener has already been registered.");
  listeners_.push(listener);
}

void UndoManager::unregisterListener(IKivUndoManagerListener* listener) {
  int32_t found = 0;
  for (int32_t i = listeners_.count(); i >= 1 && !found; --i)
    if (listener && listeners_.at(i) == listener)
      found = i;
  if (!found)
    throwClassError("UndoManager::unregisterListener", "Listener has not been registered.");
  if (deliveries_ > 0) {
    listeners_.at(found) = nullptr;
    compactPending_ = true;
    return;
  }
  const int32_t count = listeners_.count();
  for (int32_t i = found; i < count; ++i)
    listeners_.at(i) = listeners_.at(i + 1);
  listeners_.setCount(count - 1);
}

void UndoManager::compactListeners() {
  compactPending_ = false;
  int32_t kept = 0;
  for (int32_t i = 1; i <= listeners_.count(); ++i)
    if (IKivUndoManagerListener* listener = listeners_.at(i))
      listeners_.at(++kept) = listener;
  listeners_.setCount(kept);
}

// Listeners registered during a delivery wait for the next one.
void UndoManager::tellInfoRemoved(IKivUndoInfo* info) {
  Delivery delivery(this);
  const int32_t count = listeners_.count();
  for (int32_t i = 1; i <= count; ++i)
    if (IKivUndoManagerListener* listener = listeners_.at(i))
      listener->onInfoRemoved(info);
}

void UndoManager::tellUndo() {
  Delivery delivery(this);
  const int32_t count = listeners_.count();
  for (int32_t i = 1; i <= count; ++i)
    if (IKivUndoManagerListener* listener = listeners_.at(i))
      listener->onUndo();
}

void UndoManager::tellRedo() {
  Delivery delivery(this);
  const int32_t count = listeners_.count();
  for (int32_t i = 1; i <= count; ++i)
    if (IKivUndoManagerListener* listener = listeners_.at(i))
      listener->onRedo();
}

// --- Blocks ------------------------------------------------------------------

void UndoManager::startUndoBlock(uint64_t context) {
  Hold hold(this);
  if (isInUndoBlock(context))
    fail("startUndoBlock: already in an undo block.");
  inBlock_[context] = 1;
  try {
    cutRedoBranch(context);
  } catch (...) {
    inBlock_[context] = 0;
    throw;
  }
  // A listener told of the cut may have closed the context, or opened a
  // block for it; the context leaves open, with exactly one block.
  inBlock_[context] = 1;
  UndoBlock*& slot = openBlocks_[context];
  if (!slot)
    slot = new UndoBlock(context, this, ++lastSerial_);
}

IKivUndoInfo* UndoManager::addUndoObject(uint64_t context, IKivDataObject* object,
                                         bool removable) {
  Hold hold(this);
  // Context 0 passes this test while any context has a block open.
  if (!isInUndoBlock(context))
    fail("addUndoObject: Call startUndoBlock before calling this method.");
  // Not a rule of the interface: a null object would crash here.
  if (!object)
    fail("addUndoObject: Object cannot be null.");
  IKivUndoInfo* info = object->createUndoInfo(undoInfoOption_ != 0);
  if (!info) {
    KivString text;
    formatMessage(text, "addUndoObject: No undo information for DataObject of type '%1'.",
                  KivString(object->className()));
    throwClassErrorText(kClassName, text);
  }
  {
    // Released should setRemovable fail; the block's reference keeps it.
    IPtr<IKivUndoInfo> held(info);
    info->setRemovable(removable);
    if (!isInUndoBlock(context))  // setRemovable may have closed the block
      fail("addUndoInfo: Call startUndoBlock before calling this method.");
    if (appendInfo(context, info))
      return info;
    // No block of its own (context 0 while another context has one open):
    // the record goes to the caller alone, with the count it came with, as
    // a new object would.
    held.detach()->releaseNoDelete();
  }
  return info;
}

// The record is held from the start, so that one handed over with no owner
// (a fresh `new`) is released if no block keeps it, failure or not.
void UndoManager::addUndoInfo(uint64_t context, IKivUndoInfo* info) {
  IPtr<IKivUndoInfo> held(info);
  if (!isInUndoBlock(context))
    fail("addUndoInfo: Call startUndoBlock before calling this method.");
  if (!info)
    fail("addUndoInfo: Undo info cannot be null.");
  appendInfo(context, info);
}

bool UndoManager::appendInfo(uint64_t context, IKivUndoInfo* info) {
  auto* node = openBlocks_.find(context);
  UndoBlock* block = node ? node->value : nullptr;
  if (!block)
    return false;
  block->infos.push(IPtr<IKivUndoInfo>(info));
  block->status = 0;
  return true;
}

bool UndoManager::isInUndoBlock(uint64_t context) {
  if (context != 0) {
    auto* node = inBlock_.find(context);
    return node && node->value != 0;
  }
  Map<uint64_t, int32_t>::Iterator it(inBlock_);
  for (bool more = it.first(); more; more = it.next())
    if (it.value() != 0)
      return true;
  return false;
}

UndoBlock* UndoManager::takeOpenBlock(uint64_t context) {
  auto* node = openBlocks_.find(context);
  if (!node)
    return nullptr;
  UndoBlock* block = node->value;
  node->value = nullptr;
  return block;
}

bool UndoManager::endUndoBlock(uint64_t context) {
  Hold hold(this);
  if (!isInUndoBlock(context))
    fail("endUndoBlock: Call startUndoBlock before calling endUndoBlock.");
  UndoBlock* block = takeOpenBlock(context);
  inBlock_[context] = 0;
  if (!block)
    return false;
  if (maxStackSize_ == 0) {
    dropBlock(block);
    return false;
  }
  Reopen reopen(this, context, block);
  // The block stands nowhere while its records finish: nothing they call can
  // reach it. What they do to the stack is read afresh below.
  for (int32_t i = 1; i <= block->infos.count(); ++i) {
    IPtr<IKivUndoInfo> info = block->infos.at(i);
    info->finish();
  }
  if (maxStackSize_ == 0) {
    dropBlock(reopen.dismiss());
    return false;
  }
  while (stack_.count() > 0 && stack_.count() >= maxStackSize_)
    dropBlock(takeBlockAt(1));
  if (limitMode_ == 0) {
    const uint64_t budget = static_cast<uint64_t>(maxMemory_);
    const uint64_t own = sizeOf(block);
    while (stack_.count() > 0 && own + stackMemory() > budget)
      dropBlock(takeBlockAt(1));
    if (own > budget) {
      dropBlock(reopen.dismiss());
      return false;
    }
  }
  stack_.push(reopen.dismiss());
  const int32_t top = stack_.count();
  contextPositions_[context] = top;
  position_ = top;
  return true;
}

bool UndoManager::cancelUndoBlock(uint64_t context) {
  Hold hold(this);
  if (!isInUndoBlock(context))
    fail("cancelUndoBlock: Call startUndoBlock before calling cancelUndoBlock.");
  UndoBlock* block = takeOpenBlock(context);
  inBlock_[context] = 0;
  if (block)
    dropBlock(block);
  return true;
}

// Listeners hear of each record, which is released right after; should one
// fail, the rest of the block is released all the same.
void UndoManager::dropBlock(UndoBlock* block) {
  struct Free {
    UndoBlock* block;
    ~Free() { delete block; }
  } free{block};
  for (int32_t i = 1; i <= block->infos.count(); ++i) {
    IPtr<IKivUndoInfo> info = std::move(block->infos.at(i));
    tellInfoRemoved(info);
  }
}

// Takes the block out of the stack and moves every cursor that stood on or
// above it, so that no cursor addresses a block outside the stack and a
// context's cursor stays on a block of its own context.
UndoBlock* UndoManager::takeBlockAt(int32_t index) {
  const int32_t count = stack_.count();
  UndoBlock* block = stack_.at(index);
  for (int32_t i = index; i < count; ++i)
    stack_.at(i) = stack_.at(i + 1);
  stack_.setCount(count - 1);
  if (position_ >= index)
    --position_;
  Map<uint64_t, int32_t>::Iterator it(contextPositions_);
  for (bool more = it.first(); more; more = it.next()) {
    int32_t& cursor = it.value();
    if (cursor < index)
      continue;
    --cursor;
    while (cursor >= 1 && stack_.at(cursor)->context != it.key())
      --cursor;
  }
  return block;
}

// A context's cursor is a stack index, held here against the context's count
// of blocks. With blocks of other contexts below, the cut stops early and may
// leave undone blocks under the new one; that is the manager's documented
// rule, kept so that histories replay the same everywhere.
void UndoManager::cutRedoBranch(uint64_t context) {
  if (wholeStackMode_ == 0) {
    while (countOf(context) > cursorOf(context)) {
      int32_t top = stack_.count();
      while (top >= 1 && stack_.at(top)->context != context)
        --top;
      dropBlock(takeBlockAt(top));
    }
    return;
  }
  while (stack_.count() > position_)
    dropBlock(takeBlockAt(stack_.count()));
}

// --- Cursors -----------------------------------------------------------------

int32_t UndoManager::cursorOf(uint64_t context) const {
  auto* node = contextPositions_.find(context);
  return node ? node->value : 0;
}

int32_t UndoManager::countOf(uint64_t context) const {
  int32_t count = 0;
  for (int32_t i = 1; i <= stack_.count(); ++i)
    if (stack_.at(i)->context == context)
      ++count;
  return count;
}

bool UndoManager::canUndo(uint64_t context) {
  for (int32_t i = 1; i <= stack_.count(); ++i)
    if (stack_.at(i)->context == context)
      return cursorOf(context) >= i;
  return false;
}

bool UndoManager::canUndoAll() { return stack_.count() > 0 && position_ >= 1; }

// The cursor (a stack index) against the count, as in cutRedoBranch: blocks
// of other contexts below make the redo branch look shorter. Never past the
// stack: with cursor < count, a block of the context lies above the cursor.
bool UndoManager::canRedo(uint64_t context) {
  const int32_t count = countOf(context);
  return count > 0 && cursorOf(context) < count;
}

bool UndoManager::canRedoAll() { return stack_.count() > 0 && position_ < stack_.count(); }

uint64_t UndoManager::blockContext(int32_t index) const {
  return index >= 1 && index <= stack_.count() ? stack_.at(index)->context : 0;
}

int32_t UndoManager::blockRecordCount(int32_t index) const {
  return index >= 1 && index <= stack_.count() ? stack_.at(index)->infos.count() : 0;
}

// --- Undo and redo -----------------------------------------------------------

// The records are taken out first and held, so that whatever they do to the
// stack (even drop their own block) none of them dies or is skipped while
// the block is replayed. The block itself is not touched afterwards.
void UndoManager::replay(UndoBlock* block, bool forward) {
  std::vector<IPtr<IKivUndoInfo>> records;
  const int32_t count = block->infos.count();
  records.reserve(static_cast<size_t>(count));
  for (int32_t n = 1; n <= count; ++n)
    records.push_back(block->infos.at(forward ? n : count + 1 - n));
  for (IPtr<IKivUndoInfo>& info : records) {
    if (forward)
      info->redo();
    else
      info->undo();
  }
}

int32_t UndoManager::indexOf(uint64_t serial) const {
  for (int32_t i = stack_.count(); i >= 1; --i)
    if (stack_.at(i)->serial == serial)
      return i;
  return 0;
}

// After a replay the block is looked for again: if it is gone, taking it
// out of the stack has already moved the cursors below it.
int UndoManager::undo(uint64_t context) {
  Hold hold(this);
  wholeStackMode_ = 0;
  if (!canUndo(context))
    return 2;
  int32_t cursor = cursorOf(context);
  UndoBlock* block = stack_.at(cursor);
  const bool held = block->status == 0;
  if (held) {
    const uint64_t serial = block->serial;
    replay(block, false);
    cursor = indexOf(serial);
  }
  if (cursor > 0) {
    --cursor;
    while (cursor >= 1 && stack_.at(cursor)->context != context)
      --cursor;
    contextPositions_[context] = cursor;
  }
  if (!held)
    return 1;
  tellUndo();
  return 0;
}

int UndoManager::undoAll() {
  Hold hold(this);
  wholeStackMode_ = 1;
  if (stack_.count() == 0 || position_ < 1)
    return 2;
  UndoBlock* block = stack_.at(position_);
  const bool held = block->status == 0;
  int32_t index = position_;
  if (held) {
    const uint64_t serial = block->serial;
    replay(block, false);
    index = indexOf(serial);
  }
  if (index > 0)
    position_ = index - 1;
  if (!held)
    return 1;
  tellUndo();
  return 0;
}

// The cursor moves once the block is replayed, so that a failing record
// leaves it where it was; a block that its records dropped moves nothing.
int UndoManager::redo(uint64_t context) {
  Hold hold(this);
  wholeStackMode_ = 0;
  if (!canRedo(context))
    return 2;
  int32_t cursor = cursorOf(context) + 1;
  while (stack_.at(cursor)->context != context)
    ++cursor;
  UndoBlock* block = stack_.at(cursor);
  const bool held = block->status == 0;
  if (held) {
    const uint64_t serial = block->serial;
    replay(block, true);
    cursor = indexOf(serial);
  }
  if (cursor > 0)
    contextPositions_[context] = cursor;
  if (!held)
    return 1;
  tellRedo();
  return 0;
}

int UndoManager::redoAll() {
  Hold hold(this);
  wholeStackMode_ = 1;
  if (stack_.count() == 0 || position_ >= stack_.count())
    return 2;
  UndoBlock* block = stack_.at(position_ + 1);
  const bool held = block->status == 0;
  int32_t index = position_ + 1;
  if (held) {
    const uint64_t serial = block->serial;
    replay(block, true);
    index = indexOf(serial);
  }
  if (index > 0)
    position_ = index;
  if (!held)
    return 1;
  tellRedo();
  return 0;
}

// --- Clearing ----------------------------------------------------------------

// From the top down; after each drop the walk goes on from below the place
// of the dropped block, or from the top if listeners shortened the stack.
void UndoManager::clearContext(uint64_t context) {
  Hold hold(this);
  wholeStackMode_ = 0;
  for (int32_t i = stack_.count(); i >= 1; i = std::min(i - 1, stack_.count()))
    if (stack_.at(i)->context == context)
      dropBlock(takeBlockAt(i));
}

// The cursors come down to 0 with the blocks; the flags of open blocks stay.
void UndoManager::clear() {
  Hold hold(this);
  wholeStackMode_ = 1;
  while (stack_.count() > 0)
    dropBlock(takeBlockAt(stack_.count()));
}

void UndoManager::removeMarkedInfos(uint64_t context) {
  Hold hold(this);
  wholeStackMode_ = 0;
  removeMarked(&context);
}

void UndoManager::removeAllMarkedInfos() {
  Hold hold(this);
  wholeStackMode_ = 1;
  removeMarked(nullptr);
}

// Block by block from index 1, record by record: isRemovable(), then the
// listeners, then the record leaves its block. Records and listeners may
// change the stack meanwhile, so the block and the record's place in it are
// looked for again after each call; a block or record gone is passed over.
void UndoManager::removeMarked(const uint64_t* context) {
  std::vector<uint64_t> serials;
  for (int32_t b = 1; b <= stack_.count(); ++b)
    if (!context || stack_.at(b)->context == *context)
      serials.push_back(stack_.at(b)->serial);
  std::vector<IPtr<IKivUndoInfo>> records;
  for (uint64_t serial : serials) {
    int32_t b = indexOf(serial);
    if (b == 0)
      continue;
    records.clear();
    for (int32_t i = 1; i <= stack_.at(b)->infos.count(); ++i)
      records.push_back(stack_.at(b)->infos.at(i));
    for (IPtr<IKivUndoInfo>& info : records) {
      if (!info->isRemovable())
        continue;
      if (indexOf(serial) == 0)
        break;
      tellInfoRemoved(info);
      if ((b = indexOf(serial)) == 0)
        break;
      IterStack<IPtr<IKivUndoInfo>>& infos = stack_.at(b)->infos;
      const int32_t count = infos.count();
      for (int32_t i = 1; i <= count; ++i) {
        if (infos.at(i).get() != info.get())
          continue;
        for (int32_t k = i; k < count; ++k)
          infos.at(k) = std::move(infos.at(k + 1));
        infos.at(count).clear();
        infos.setCount(count - 1);
        break;
      }
    }
    if ((b = indexOf(serial)) != 0)
      stack_.at(b)->status = stack_.at(b)->infos.count() == 0 ? 1 : 0;
  }
}

// The records are held while they are asked, so that a getSize() that
// changes the stack doesn't pull them away.
uint64_t UndoManager::sizeOf(const UndoBlock* block) {
  std::vector<IPtr<IKivUndoInfo>> records;
  for (int32_t i = 1; i <= block->infos.count(); ++i)
    records.push_back(block->infos.at(i));
  uint64_t size = 0;
  for (IPtr<IKivUndoInfo>& info : records)
    size += info->getSize();
  return size;
}

uint64_t UndoManager::stackMemory() {
  uint64_t size = 0;
  for (int32_t i = 1; i <= stack_.count(); ++i)
    size += sizeOf(stack_.at(i));
  return size;
}
