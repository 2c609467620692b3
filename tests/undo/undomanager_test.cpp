#include "undo/undomanager.h"

#include "core/classids.h"
#include "model/dataobject.h"
#include "model/dynamicdataobject.h"
#include "undosupport.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

constexpr uint64_t A = 0xA0000000A;  // two history lines
constexpr uint64_t B = 0xB;

class UndoManagerTest : public ::testing::Test {
protected:
  void SetUp() override { inProcessHost(); }

  // The log since the last call.
  Log take() { return std::exchange(log, {}); }

  Log log;
  IPtr<UndoManager> manager{new UndoManager};
};

TEST_F(UndoManagerTest, NewManagerAndSettings) {
  EXPECT_EQ(manager->getMaxStackSize(), 500);
  EXPECT_EQ(manager->getLimitMode(), 1);
  EXPECT_EQ(manager->getStackSize(), 0);
  EXPECT_FALSE(manager->canUndo(A) || manager->canRedo(A) || manager->canUndoAll() ||
               manager->canRedoAll());
  EXPECT_EQ(manager->undo(A), 2);
  EXPECT_EQ(manager->redo(A), 2);
  EXPECT_EQ(manager->undoAll(), 2);
  EXPECT_EQ(manager->redoAll(), 2);
  EXPECT_FALSE(manager->getUndoInfoQuery());

  manager->setMaxMemorySize(5);
  EXPECT_EQ(manager->getMaxMemorySize(), 5u);
  manager->setLimitMode(1);
  EXPECT_EQ(manager->getMaxMemorySize(), 9223372036854u);
  manager->setMaxMemorySize(UINT64_MAX);  // saturates instead of wrapping
  EXPECT_EQ(manager->getMaxMemorySize(), 9223372036854u);

  // Each request by interface name builds a new manager.
  SPtr<IKivUndoManager> first("IKivUndoManager");
  SPtr<IKivUndoManager> second("IKivUndoManager");
  ASSERT_TRUE(first && second);
  EXPECT_NE(first.get(), second.get());
  EXPECT_STREQ(first->className(), "UndoManager");
  EXPECT_NE(kivQuery<UndoManager>(first, "UndoManager"), nullptr);
  SPtr<IKivUndoManagerListener> listener("IKivUndoManagerListener");
  ASSERT_TRUE(listener);
  EXPECT_STREQ(listener->className(), "UndoManagerListener");
  SPtr<IKivUndoInfo> info("IKivUndoInfo");
  ASSERT_TRUE(info);
  EXPECT_EQ(info->getSize(), 0u);
  EXPECT_TRUE(info->isValid());
}

TEST_F(UndoManagerTest, BrokenRulesThrowTheirTexts) {
  IPtr<DataObject> plain(new DataObject);
  LogListener listener("L", &log);
  manager->registerListener(&listener);
  manager->startUndoBlock(A);
  struct Case {
    const char* name;
    std::function<void()> call;
    const char* text;
  };
  const Case cases[] = {
      {"start_twice", [&] { manager->startUndoBlock(A); },
       "Error in class UndoManager: startUndoBlock: already in an undo block.."},
      {"add_object_without_block", [&] { manager->addUndoObject(B, plain, false); },
       "Error in class UndoManager: addUndoObject: Call startUndoBlock before calling this "
       "method.."},
      {"add_object_null", [&] { manager->addUndoObject(A, nullptr, false); },
       "Error in class UndoManager: addUndoObject: Object cannot be null.."},
      {"add_object_without_undo", [&] { manager->addUndoObject(A, plain, false); },
       "Error in class UndoManager: addUndoObject: No undo information for DataObject of "
       "type 'DataObject'.."},
      {"add_info_without_block", [&] { manager->addUndoInfo(B, new UndoInfo); },
       "Error in class UndoManager: addUndoInfo: Call startUndoBlock before calling this "
       "method.."},
      {"add_info_null", [&] { manager->addUndoInfo(A, nullptr); },
       "Error in class UndoManager: addUndoInfo: Undo info cannot be null.."},
      {"end_without_block", [&] { manager->endUndoBlock(B); },
       "Error in class UndoManager: endUndoBlock: Call startUndoBlock before calling "
       "endUndoBlock.."},
      {"cancel_without_block", [&] { manager->cancelUndoBlock(B); },
       "Error in class UndoManager: cancelUndoBlock: Call startUndoBlock before calling "
       "cancelUndoBlock.."},
      {"negative_stack_size", [&] { manager->setMaxStackSize(-1); },
       "Error in class UndoManager: setMaxStackSize: size must be greater than or equal to "
       "0.."},
      {"listener_twice", [&] { manager->registerListener(&listener); },
       "Error in class UndoManager::registerListener: Listener has already been registered.."},
      {"listener_null", [&] { manager->registerListener(nullptr); },
       "Error in class UndoManager::registerListener: Listener cannot be null.."},
      {"listener_unknown", [&] { manager->unregisterListener(nullptr); },
       "Error in class UndoManager::unregisterListener: Listener has not been registered.."},
  };
  for (const Case& c : cases)
    EXPECT_EQ(failure(c.call), c.text) << c.name;
  // Every failure left the open block open and the stack as it was.
  EXPECT_TRUE(manager->isInUndoBlock(A));
  EXPECT_EQ(manager->getMaxStackSize(), 500);
  EXPECT_TRUE(manager->endUndoBlock(A));
  EXPECT_EQ(manager->getStackSize(), 1);

  // Context 0 sees the open block of any context: a record is made for it
  // and handed out, but there is no block of context 0 to hold it.
  manager->startUndoBlock(B);
  EXPECT_TRUE(manager->isInUndoBlock(0));
  EXPECT_FALSE(manager->isInUndoBlock(A));
  EXPECT_EQ(failure([&] { manager->startUndoBlock(0); }),
            "Error in class UndoManager: startUndoBlock: already in an undo block..");
  IPtr<DynamicDataObject> dynamic(new DynamicDataObject);
  IPtr<IKivUndoInfo> loose(manager->addUndoObject(0, dynamic, true));
  ASSERT_TRUE(loose);
  EXPECT_EQ(loose->refCount(), 1u);  // ours alone
  EXPECT_TRUE(loose->isRemovable());
  manager->addUndoInfo(0, new UndoInfo);  // lands nowhere, as the rule says
  EXPECT_TRUE(manager->endUndoBlock(B));
  EXPECT_EQ(manager->blockRecordCount(manager->getStackSize()), 0);
  manager->startUndoBlock(B);
  EXPECT_TRUE(manager->cancelUndoBlock(B));
  EXPECT_FALSE(manager->isInUndoBlock(0));
  manager->unregisterListener(&listener);
}

TEST_F(UndoManagerTest, TwoContextsUndoAndRedoIndependently) {
  LogListener listener("L", &log);
  manager->registerListener(&listener);
  closedBlock(manager, A, {"a1"}, &log);
  closedBlock(manager, B, {"b1", "b2"}, &log);
  closedBlock(manager, A, {"a2"}, &log);
  EXPECT_EQ(take(), (Log{"a1 finish", "b1 finish", "b2 finish", "a2 finish"}));

  EXPECT_EQ(manager->undo(A), 0);
  EXPECT_EQ(manager->undo(B), 0);  // last record first
  EXPECT_FALSE(manager->canUndo(B));
  EXPECT_EQ(manager->undo(B), 2);
  EXPECT_TRUE(manager->canRedo(A));
  EXPECT_EQ(manager->undo(A), 0);
  EXPECT_EQ(manager->undo(A), 2);
  EXPECT_EQ(take(), (Log{"a2 undo", "L undo", "b2 undo", "b1 undo", "L undo", "a1 undo",
                         "L undo"}));
  // The whole-stack cursor didn't move.
  EXPECT_TRUE(manager->canUndoAll());
  EXPECT_FALSE(manager->canRedoAll());

  EXPECT_EQ(manager->redo(A), 0);
  EXPECT_EQ(manager->redo(B), 0);
  EXPECT_EQ(manager->redo(A), 0);
  EXPECT_EQ(manager->redo(A), 2);
  EXPECT_EQ(take(), (Log{"a1 redo", "L redo", "b1 redo", "b2 redo", "L redo", "a2 redo",
                         "L redo"}));

  // Undo A once, then open a new A block: only A's redo branch goes.
  manager->undo(A);
  manager->startUndoBlock(A);
  manager->addUndoInfo(A, new TaggedInfo("a3", &log));
  manager->endUndoBlock(A);
  EXPECT_EQ(take(), (Log{"a2 undo", "L undo", "L removed a2", "a3 finish"}));
  EXPECT_EQ(manager->getStackSize(), 3);
  EXPECT_EQ(manager->blockContext(2), B);
  EXPECT_EQ(manager->blockContext(3), A);

  // Whole stack: two steps back, then a new block cuts everything above,
  // whatever its context.
  EXPECT_EQ(manager->undoAll(), 0);
  EXPECT_EQ(manager->undoAll(), 0);
  EXPECT_TRUE(manager->canRedoAll());
  manager->startUndoBlock(A);
  manager->endUndoBlock(A);
  EXPECT_EQ(take(), (Log{"a3 undo", "L undo", "b2 undo", "b1 undo", "L undo", "L removed a3",
                         "L removed b1", "L removed b2"}));
  EXPECT_EQ(manager->getStackSize(), 2);
  EXPECT_FALSE(manager->canUndo(B));
  EXPECT_FALSE(manager->canRedo(B));
  manager->unregisterListener(&listener);
}

// A context's cursor is a stack index held against the context's count of
// blocks: a block of another context below cuts its redo short, and the cut
// at a new block counts the same way, leaving an undone block under it.
TEST_F(UndoManagerTest, ACursorIsAStackIndexHeldAgainstTheContextsCount) {
  closedBlock(manager, B, {"b1"}, &log);
  closedBlock(manager, A, {"a1"}, &log);
  closedBlock(manager, A, {"a2"}, &log);
  take();
  EXPECT_EQ(manager->undo(A), 0);  // a2; the cursor, 2, is not below A's count, 2
  EXPECT_FALSE(manager->canRedo(A));
  EXPECT_EQ(manager->redo(A), 2);
  EXPECT_EQ(manager->undo(A), 0);  // a1; the cursor passes b1 down to 0
  EXPECT_FALSE(manager->canUndo(A));
  EXPECT_TRUE(manager->canRedo(A));
  EXPECT_EQ(manager->redo(A), 0);  // a1 again; the cursor is 2
  EXPECT_EQ(take(), (Log{"a2 undo", "a1 undo", "a1 redo"}));

  closedBlock(manager, A, {"a3"}, &log);  // nothing cut: a2 stays, undone
  EXPECT_EQ(manager->getStackSize(), 4);
  take();
  EXPECT_EQ(manager->undo(A), 0);
  EXPECT_EQ(manager->undo(A), 0);
  // Clearing B moves A's cursor down with the stack, still on A's blocks.
  manager->clearContext(B);
  EXPECT_EQ(manager->getStackSize(), 3);
  EXPECT_EQ(manager->undo(A), 0);
  EXPECT_FALSE(manager->canUndo(A));
  EXPECT_EQ(take(), (Log{"a3 undo", "a2 undo", "a1 undo"}));
}

TEST_F(UndoManagerTest, EmptyBlocksCancelAndClear) {
  LogListener listener("L", &log);
  manager->registerListener(&listener);
  manager->startUndoBlock(A);
  EXPECT_TRUE(manager->endUndoBlock(A));  // an empty block is stored too
  EXPECT_EQ(manager->undo(A), 1);
  EXPECT_FALSE(manager->canUndo(A));
  EXPECT_EQ(manager->redo(A), 1);
  EXPECT_EQ(manager->undoAll(), 1);
  EXPECT_TRUE(take().empty());

  // A cancelled block drops its records; the redo branch cut at its start
  // stays cut.
  manager->clear();
  closedBlock(manager, A, {"a1"}, &log);
  manager->undo(A);
  manager->startUndoBlock(A);
  manager->addUndoInfo(A, new TaggedInfo("a2", &log));
  EXPECT_TRUE(manager->cancelUndoBlock(A));
  EXPECT_EQ(take(), (Log{"a1 finish", "a1 undo", "L undo", "L removed a1", "L removed a2"}));
  EXPECT_EQ(manager->getStackSize(), 0);
  EXPECT_FALSE(manager->canRedo(A));

  // removeMarkedInfos takes only removable records; a block left empty
  // stays and answers 1.
  closedBlock(manager, A, {"a3"}, &log);
  manager->startUndoBlock(A);
  auto* keep = new TaggedInfo("a4", &log);
  auto* drop = new TaggedInfo("a5", &log);
  drop->setRemovable(true);
  manager->addUndoInfo(A, keep);
  manager->addUndoInfo(A, drop);
  manager->endUndoBlock(A);
  manager->startUndoBlock(B);
  auto* other = new TaggedInfo("b1", &log);
  other->setRemovable(true);
  manager->addUndoInfo(B, other);
  manager->endUndoBlock(B);
  take();
  manager->removeMarkedInfos(A);
  EXPECT_EQ(take(), (Log{"L removed a5"}));
  EXPECT_EQ(manager->blockRecordCount(2), 1);
  manager->removeAllMarkedInfos();
  EXPECT_EQ(take(), (Log{"L removed b1"}));
  EXPECT_EQ(manager->getStackSize(), 3);
  EXPECT_EQ(manager->undoAll(), 1);
  EXPECT_EQ(manager->undoAll(), 0);
  EXPECT_EQ(take(), (Log{"a4 undo", "L undo"}));
  manager->unregisterListener(&listener);
}

TEST_F(UndoManagerTest, CountLimitDropsTheOldestBlocks) {
  LogListener listener("L", &log);
  manager->registerListener(&listener);
  manager->setMaxStackSize(3);
  for (const char* tag : {"r1", "r2", "r3", "r4"})
    closedBlock(manager, A, {tag}, &log);
  EXPECT_EQ(manager->getStackSize(), 3);
  EXPECT_EQ(take(), (Log{"r1 finish", "r2 finish", "r3 finish", "r4 finish", "L removed r1"}));
  EXPECT_EQ(manager->undo(A), 0);
  EXPECT_EQ(manager->undo(A), 0);
  EXPECT_EQ(manager->undo(A), 0);
  EXPECT_EQ(manager->undo(A), 2);
  take();

  // Shrinking drops from the bottom and keeps the cursors inside the stack.
  manager->redo(A);
  manager->redo(A);
  manager->setMaxStackSize(1);
  EXPECT_EQ(take(), (Log{"r2 redo", "L redo", "r3 redo", "L redo", "L removed r2",
                         "L removed r3"}));
  EXPECT_EQ(manager->redo(A), 0);
  EXPECT_EQ(manager->undoAll(), 0);
  EXPECT_EQ(take(), (Log{"r4 redo", "L redo", "r4 undo", "L undo"}));

  // Size 0: nothing is kept, the stack included.
  manager->setMaxStackSize(0);
  manager->startUndoBlock(A);
  manager->addUndoInfo(A, new TaggedInfo("r5", &log));
  EXPECT_FALSE(manager->endUndoBlock(A));
  EXPECT_EQ(take(), (Log{"L removed r4", "L removed r5"}));
  EXPECT_EQ(manager->getStackSize(), 0);
  EXPECT_FALSE(manager->isInUndoBlock(A));
  manager->unregisterListener(&listener);
}

TEST_F(UndoManagerTest, MemoryBudget) {
  LogListener listener("L", &log);
  manager->registerListener(&listener);
  manager->setMaxMemorySize(1);  // 1,000,000 bytes, idle until limit mode 0
  closedBlock(manager, A, {"r1"}, &log, 600000);
  closedBlock(manager, A, {"r2"}, &log, 600000);
  EXPECT_EQ(manager->getStackSize(), 2);

  manager->setLimitMode(0);
  closedBlock(manager, B, {"r3"}, &log, 400000);
  EXPECT_EQ(manager->getStackSize(), 2);  // r1 went; r2 and r3 fill the budget exactly
  closedBlock(manager, B, {"r4", "r5"}, &log, 300000);
  EXPECT_EQ(manager->getStackSize(), 2);
  EXPECT_EQ(take(), (Log{"r1 finish", "r2 finish", "r3 finish", "L removed r1", "r4 finish",
                         "r5 finish", "L removed r2"}));

  // A block larger than the budget by itself empties the stack and goes too.
  manager->startUndoBlock(A);
  manager->addUndoInfo(A, new TaggedInfo("big", &log, 1000001));
  EXPECT_FALSE(manager->endUndoBlock(A));
  EXPECT_EQ(take(), (Log{"big finish", "L removed r3", "L removed r4", "L removed r5",
                         "L removed big"}));
  EXPECT_EQ(manager->getStackSize(), 0);
  EXPECT_FALSE(manager->canUndo(B) || manager->canUndoAll());
  EXPECT_FALSE(manager->isInUndoBlock(A));

  // Exactly the budget fits.
  closedBlock(manager, A, {"fit"}, &log, 1000000);
  EXPECT_EQ(manager->getStackSize(), 1);
  manager->unregisterListener(&listener);
}

TEST_F(UndoManagerTest, ListenersInOrderAndHostileListeners) {
  LogListener first("L1", &log), second("L2", &log), third("L3", &log), late("L4", &log);
  manager->registerListener(&first);
  manager->registerListener(&second);
  manager->registerListener(&third);
  for (const char* tag : {"r1", "r2", "r3"})
    closedBlock(manager, A, {tag}, &log);
  take();

  // L1 unregisters itself and registers L4; L2 unregisters L3, which is then
  // not told. L4 waits for the next delivery.
  first.hook = [&] {
    manager->unregisterListener(&first);
    manager->registerListener(&late);
  };
  second.hook = [&] { manager->unregisterListener(&third); };
  EXPECT_EQ(manager->undo(A), 0);
  EXPECT_EQ(take(), (Log{"r3 undo", "L1 undo", "L2 undo"}));
  second.hook = nullptr;
  EXPECT_EQ(manager->undo(A), 0);
  EXPECT_EQ(take(), (Log{"r2 undo", "L2 undo", "L4 undo"}));
  EXPECT_NE(failure([&] { manager->unregisterListener(&third); }), "(none)");

  // A listener told of a released record may change the stack: here it
  // clears what clearContext had not reached yet. onUndo comes after the
  // replay and may undo further.
  second.removedHook = [&] {
    second.removedHook = nullptr;
    manager->clear();
  };
  manager->clearContext(A);
  EXPECT_EQ(take(), (Log{"L2 removed r3", "L2 removed r2", "L4 removed r2", "L2 removed r1",
                         "L4 removed r1", "L4 removed r3"}));
  EXPECT_EQ(manager->getStackSize(), 0);
  closedBlock(manager, A, {"s1"}, &log);
  closedBlock(manager, A, {"s2"}, &log);
  take();
  int depth = 0;
  late.hook = [&] {
    if (++depth < 2)
      manager->undo(A);
  };
  EXPECT_EQ(manager->undo(A), 0);
  EXPECT_EQ(take(), (Log{"s2 undo", "L2 undo", "L4 undo", "s1 undo", "L2 undo", "L4 undo"}));
  late.hook = nullptr;

  // A record may change the stack while it is replayed: this one opens a
  // block of A, which cuts the whole-stack redo branch above it.
  closedBlock(manager, B, {}, &log);
  manager->startUndoBlock(B);
  auto* hostile = new TaggedInfo("h", &log);
  hostile->undoHook = [&] { manager->startUndoBlock(A); };
  manager->addUndoInfo(B, hostile);
  manager->endUndoBlock(B);
  take();
  EXPECT_EQ(manager->undo(B), 0);
  EXPECT_EQ(take(), (Log{"h undo", "L2 removed s2", "L4 removed s2", "L2 removed s1",
                         "L4 removed s1", "L2 undo", "L4 undo"}));
  EXPECT_EQ(manager->getStackSize(), 2);
  EXPECT_TRUE(manager->isInUndoBlock(A));
  EXPECT_TRUE(manager->cancelUndoBlock(A));
  hostile->undoHook = nullptr;

  // A record that fails to finish leaves its block open.
  manager->startUndoBlock(A);
  auto* failing = new TaggedInfo("f", &log);
  failing->finishHook = [] { throw new PlatformException(6, KivString("no")); };
  manager->addUndoInfo(A, failing);
  EXPECT_EQ(failure([&] { manager->endUndoBlock(A); }), "no");
  EXPECT_TRUE(manager->isInUndoBlock(A));
  EXPECT_TRUE(manager->cancelUndoBlock(A));
  EXPECT_EQ(manager->undo(B), 1);
  manager->unregisterListener(&second);
  manager->unregisterListener(&late);
}

// Records and listeners that change the stack from inside every call the
// manager makes to them. Whatever they do, nothing dangles (the ASan build
// checks that), every cursor stays on the stack, and the manager goes on.
TEST_F(UndoManagerTest, HostileRecordsAndListenersChangeTheStackFromInside) {
  struct Case {
    const char* name;
    // Gets the manager and the record "x", which stands in the middle block
    // of A (blocks a1, x, a3, then b1 of B); hooks it and runs the operation.
    std::function<int(UndoManager*, TaggedInfo*, LogListener*)> run;
    int result;
    int stackSize;
  };
  const Case cases[] = {
      {"undo_clears_its_own_block",
       [](UndoManager* m, TaggedInfo* x, LogListener*) {
         m->undo(A);
         x->undoHook = [m] { m->clear(); };
         return m->undo(A);
       },
       0, 0},
      {"undo_all_drops_its_context",
       [](UndoManager* m, TaggedInfo* x, LogListener*) {
         m->undoAll();
         m->undoAll();
         x->undoHook = [m] { m->clearContext(A); };
         return m->undoAll();
       },
       0, 1},
      {"redo_cuts_and_opens",
       [](UndoManager* m, TaggedInfo* x, LogListener*) {
         m->undo(A);
         m->undo(A);
         x->redoHook = [m, done = false]() mutable {
           if (std::exchange(done, true))
             return;
           m->startUndoBlock(A);
           m->endUndoBlock(A);
         };
         return m->redo(A);
       },
       0, 3},
      {"redo_all_lowers_the_limit",
       [](UndoManager* m, TaggedInfo* x, LogListener*) {
         for (int i = 0; i < 3; ++i)
           m->undoAll();
         x->redoHook = [m] { m->setMaxStackSize(1); };
         return m->redoAll();
       },
       0, 1},
      {"finish_sets_the_limit_to_zero",
       [](UndoManager* m, TaggedInfo* x, LogListener*) {
         m->startUndoBlock(B);
         auto* f = new TaggedInfo("f", x->log);
         f->finishHook = [m] { m->setMaxStackSize(0); };
         m->addUndoInfo(B, f);
         return m->endUndoBlock(B) ? 1 : 0;
       },
       0, 0},
      {"finish_reopens_its_context",
       [](UndoManager* m, TaggedInfo* x, LogListener*) {
         m->startUndoBlock(B);
         auto* f = new TaggedInfo("f", x->log);
         f->finishHook = [m, done = false]() mutable {
           if (!std::exchange(done, true))
             m->startUndoBlock(B);
         };
         m->addUndoInfo(B, f);
         const bool pushed = m->endUndoBlock(B);
         const bool open = m->isInUndoBlock(B);
         return (pushed ? 1 : 0) + (open ? 10 : 0) + (m->cancelUndoBlock(B) ? 100 : 0);
       },
       111, 5},
      {"size_clears_during_the_budget",
       [](UndoManager* m, TaggedInfo* x, LogListener*) {
         m->setLimitMode(0);
         m->setMaxMemorySize(1);
         x->askHook = [m, done = false]() mutable {
           if (!std::exchange(done, true))
             m->clear();
         };
         m->startUndoBlock(B);
         m->endUndoBlock(B);
         return m->getStackSize();
       },
       1, 1},
      {"removable_clears_the_stack",
       [](UndoManager* m, TaggedInfo* x, LogListener*) {
         x->setRemovable(true);
         x->askHook = [m, done = false]() mutable {
           if (!std::exchange(done, true))
             m->clear();
         };
         m->removeMarkedInfos(A);
         return m->canUndo(A) ? 1 : 0;
       },
       0, 0},
      {"listener_removes_marked_while_told",
       [](UndoManager* m, TaggedInfo* x, LogListener* l) {
         x->setRemovable(true);
         l->removedHook = [m, done = false]() mutable {
           if (std::exchange(done, true))
             return;
           m->removeAllMarkedInfos();
           m->clearContext(B);
         };
         m->removeAllMarkedInfos();
         return m->blockRecordCount(2);
       },
       0, 3},
      {"listener_undoes_while_a_block_goes",
       [](UndoManager* m, TaggedInfo*, LogListener* l) {
         l->removedHook = [m, done = false]() mutable {
           if (std::exchange(done, true))
             return;
           m->undoAll();
           m->undo(A);
         };
         m->setMaxStackSize(2);
         return m->undo(A);
       },
       2, 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Log local;
    IPtr<UndoManager> m(new UndoManager);
    LogListener listener("L", &local);
    m->registerListener(&listener);
    closedBlock(m, A, {"a1"}, &local);
    m->startUndoBlock(A);
    IPtr<TaggedInfo> x(new TaggedInfo("x", &local));
    m->addUndoInfo(A, x);
    m->endUndoBlock(A);
    closedBlock(m, A, {"a3"}, &local);
    closedBlock(m, B, {"b1"}, &local);
    EXPECT_EQ(c.run(m, x, &listener), c.result);
    EXPECT_EQ(m->getStackSize(), c.stackSize);
    x->undoHook = x->redoHook = x->askHook = nullptr;
    listener.removedHook = nullptr;
    // Every cursor left stands on the stack: walking both histories to
    // their ends and back terminates and touches only blocks still there.
    for (int round = 0; round < 2; ++round) {
      for (int i = 0; i < 8 && m->canUndo(A); ++i)
        m->undo(A);
      for (int i = 0; i < 8 && m->canRedoAll(); ++i)
        m->redoAll();
      for (int i = 0; i < 8 && m->canUndoAll(); ++i)
        m->undoAll();
      for (int i = 0; i < 8 && m->canRedo(B); ++i)
        m->redo(B);
    }
    m->unregisterListener(&listener);
  }
}

TEST_F(UndoManagerTest, ListenerThatDropsTheLastReference) {
  LogListener listener("L", &log);
  manager->registerListener(&listener);
  closedBlock(manager, A, {"r1"}, &log);
  closedBlock(manager, A, {"r2"}, &log);
  manager->startUndoBlock(B);  // an open block dies with the manager too
  manager->addUndoInfo(B, new TaggedInfo("open", &log));
  take();
  UndoManager* raw = manager;
  listener.hook = [&] { manager.clear(); };
  EXPECT_EQ(raw->undo(A), 0);  // the manager lives until undo returns
  EXPECT_FALSE(manager);
  EXPECT_EQ(take(), (Log{"r2 undo", "L undo", "L removed r2", "L removed r1", "L removed open"}));

  // A manager that nobody holds by reference survives a listener that takes
  // and drops one.
  UndoManager unowned;
  unowned.registerListener(&listener);
  closedBlock(&unowned, A, {"u1"}, &log);
  listener.hook = [&] { IPtr<UndoManager> passing(&unowned); };
  EXPECT_EQ(unowned.undo(A), 0);
  EXPECT_EQ(unowned.refCount(), 0u);
  listener.hook = nullptr;
  unowned.unregisterListener(&listener);
}

}  // namespace
