//===- modifierjobqueue.h - Modifiers run by background workers -*- C++ -*-===//
//
// ModifierJobQueue is a first-in, first-out queue of modifiers served by up
// to eight worker threads, started by start() and told to end by stop(). A
// job's fate reaches the caller through the callback (states 0 begun, 1
// run() returned, 2 cancelled) and through the properties "numThreads",
// "numRunning", "numWaiting" and "started". Cancel and pause never touch a
// thread: they go through the job's own progress object (the value of its
// "progress" property, asked for "Progress"), so a job stops at its own next
// look at its progress, and one without progress cannot be stopped.
//
// Invariants a user must know:
//  - jobsLock is taken before runningLock wherever both are held.
//  - The callback runs with a lock held: states 0 and 1 on a worker under
//    runningLock, state 2 on the caller's thread. It must not call back into
//    the queue in a way that takes the other lock first.
//  - run() is called with no lock held. The queue holds one reference on a
//    waiting job and one more while it runs, so a job's destructor may run
//    on a worker.
//  - The callback is a raw pointer: whoever sets it clears it first.
//  - stop() and the destructor wait for the running jobs: a job that never
//    looks at its progress, or one left paused, holds them until it ends.
//  - An exception from a job's run() is dropped on the worker (its failure
//    was reported where it was thrown); the job ends with state 1 and the
//    worker goes on.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "basic_types/map.h"
#include "basic_types/queue.h"
#include "kivbasictypes/tovthread.h"
#include "model/modifier.h"

#include <atomic>

class Progress;

class IModifierJobQueueCBObject : public virtual IKivUnknown {
public:
  virtual void jobStateChanged(const KivString& modifierName, int state) = 0;  // 1
};

// A receiver that does nothing; hosts derive from it.
class ModifierJobQueueCBObject : public IModifierJobQueueCBObject {
public:
  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "ModifierJobQueueCBObject"; }
  void jobStateChanged(const KivString&, int) override {}
};

class IKivModifierJobQueue : public virtual IKivUnknown {
public:
  virtual bool start() = 0;                                            // 1
  virtual bool isStarted() = 0;                                        // 2
  virtual bool enqueue(IKivModifier* modifier) = 0;                    // 3
  virtual bool enqueueWithProgress(IKivModifier* modifier) = 0;        // 4
  virtual int status(IKivModifier* modifier) = 0;                      // 5
  virtual bool cancel(IKivModifier* modifier) = 0;                     // 6
  virtual bool cancelAll() = 0;                                        // 7
  virtual bool pause(IKivModifier* modifier) = 0;                      // 8
  virtual bool pauseAll() = 0;                                         // 9
  virtual bool resume(IKivModifier* modifier) = 0;                     // 10
  virtual bool resumeAll() = 0;                                        // 11
  virtual bool stop(bool cancel) = 0;                                  // 12
  virtual bool setCallback(IModifierJobQueueCBObject* callback) = 0;   // 13
};

class ModifierJobQueue : public Modifier, public IKivModifierJobQueue {
public:
  // The size of `wake`, and so the most workers a queue runs.
  static constexpr int32_t kMaxWorkers = 8;

  // Job states handed to the callback.
  enum JobState { kJobBegun = 0, kJobReturned = 1, kJobCancelled = 2 };

  ModifierJobQueue();
  ~ModifierJobQueue() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "ModifierJobQueue"; }

  void run() override {}

  bool start() override;
  bool isStarted() override { return started_.load() == 1; }
  bool enqueue(IKivModifier* modifier) override;
  bool enqueueWithProgress(IKivModifier* modifier) override;
  int status(IKivModifier* modifier) override;
  bool cancel(IKivModifier* modifier) override;
  bool cancelAll() override;
  bool pause(IKivModifier* modifier) override;
  bool pauseAll() override;
  bool resume(IKivModifier* modifier) override;
  bool resumeAll() override;
  bool stop(bool cancel) override;
  bool setCallback(IModifierJobQueueCBObject* callback) override;

  int numRunning() const;
  int numWaiting() const;
  bool startedValue() const { return started_.load() == 1; }
  int32_t workerCount() const { return workers_.count(); }

  // The progress of a job (its "progress" property's value as a Progress).
  static Progress* progressOf(Modifier* job);

private:
  class Worker;

  void workerLoop(int32_t index);
  void runJob(Modifier* job);
  void setAllWakes();
  void waitForRunningJobs();
  void deleteWorkers();
  void notify(Modifier* job, int state);
  // Pauses (true) or resumes every job, waiting and running.
  void setAllPaused(bool paused);

  Queue<Modifier*>* jobs_;
  Map<Modifier*, int> running_{17};
  KivEvent wake_[kMaxWorkers];
  KivEvent* done_;
  mutable KivCriticalSection jobsLock_;
  mutable KivCriticalSection runningLock_;
  std::atomic<int32_t> started_{0};
  // The count of running_, for the unlocked tests of stop().
  std::atomic<int32_t> runningCount_{0};
  IterStack<Worker*> workers_{4};
  std::atomic<IModifierJobQueueCBObject*> callback_{nullptr};
};
