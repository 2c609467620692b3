//===- tovthread.h - Locks, threads, the barrier and the pool ---*- C++ -*-===//
//
// The only concurrency primitives the system uses, all over the one platform
// layer (kivplatform.h). No thread starts at load: a KivThreadClass starts on
// start(), a KivThreadPool's threads live only inside run().
//
// Invariants a user must know:
//  - Every timed wait takes seconds as a double and waits at least 1 ms.
//  - A KivThreadClass must be joined by its owner before it is destroyed:
//    by the time the base destructor runs, the derived parts that the thread
//    may still use are gone. As a last resort the destructor joins a thread
//    still running (detaching it instead when the destructor runs on that
//    very thread); it never kills one.
//  - A pool's run() needs n >= 1 and a worker in every slot. After a
//    cancelled run, threads may still be in flight: a caller that deletes
//    workers first waits for each to be finished().
//  - A worker's lock guards only its four small fields and is never held
//    while the pool's lock is taken.
//  - effectiveThreadCount() is the one rule for how many threads may run:
//    the request, "Advanced/Max Number of Threads" and the memory manager's
//    isSingleThreadOnly().
//
//===----------------------------------------------------------------------===//
#pragma once

#include <atomic>
#include <cstdint>

class IKivProgress;
class ProgressCallbackBase;
class KivThreadPoolWorker;

namespace kivplatform {
struct ConditionVariable;
struct CriticalSection;
struct Event;
struct Mutex;
struct Semaphore;
struct Thread;
} // namespace kivplatform

// The spin count of critical sections, from the environment variable
// KIV_SPIN_COUNT (atoi), read once; -1 when unset. Negative: no spinning.
int32_t kivSpinCount();

// Processors, read once at load (1 until then); a host or a test may set it.
int32_t kivProcessorCount();
void setKivProcessorCount(int32_t count);

int32_t effectiveThreadCount(int32_t n);
bool isEffectivelySingleThreaded(int32_t n);

// A recursive lock with the process's spin count.
class KivCriticalSection {
public:
  KivCriticalSection();
  ~KivCriticalSection();
  KivCriticalSection(const KivCriticalSection&) = delete;
  KivCriticalSection& operator=(const KivCriticalSection&) = delete;

  void enter();
  void leave();
  kivplatform::CriticalSection* handle() const { return section_; }

private:
  kivplatform::CriticalSection* section_;
};

// Holds a critical section for a scope.
class KivLock {
public:
  explicit KivLock(KivCriticalSection& section) : section_(section) { section_.enter(); }
  ~KivLock() { section_.leave(); }
  KivLock(const KivLock&) = delete;
  KivLock& operator=(const KivLock&) = delete;

private:
  KivCriticalSection& section_;
};

// An operating-system mutex handle. The plain form creates an unnamed one;
// create(name) and open(name) refuse when this object already holds a handle.
class KivMutex {
public:
  KivMutex();
  ~KivMutex();
  KivMutex(const KivMutex&) = delete;
  KivMutex& operator=(const KivMutex&) = delete;

  bool create(const char* name);
  bool open(const char* name);
  // The plain form gets its handle at the first lock, from whichever thread.
  void lock();
  void unlock();
  bool isValid() const { return handle_.load() != nullptr; }

private:
  bool adopt(kivplatform::Mutex* handle);

  std::atomic<kivplatform::Mutex*> handle_{nullptr};
};

// A manual-reset event, created not signalled.
class KivEvent {
public:
  KivEvent();
  ~KivEvent();
  KivEvent(const KivEvent&) = delete;
  KivEvent& operator=(const KivEvent&) = delete;

  void set();
  void reset();
  void wait();
  bool isSet();
  bool waitFor(double seconds);
  // waitFor without a result, doing nothing on a null handle.
  void sleepOn(double seconds);

private:
  kivplatform::Event* handle_;
};

// A condition over a KivMutex: waiters count, a semaphore that wakes them,
// and an auto-reset event by which the last woken waiter of a broadcast tells
// the broadcaster that all have left.
class KivCondition {
public:
  KivCondition();
  ~KivCondition();
  KivCondition(const KivCondition&) = delete;
  KivCondition& operator=(const KivCondition&) = delete;

  // With `mutex` held; returns with it held again.
  void wait(KivMutex& mutex);
  void signal();
  void broadcast();

private:
  int32_t waiters_ = 0;
  KivCriticalSection lock_;
  kivplatform::Semaphore* semaphore_;
  kivplatform::Event* allLeft_;
  uint8_t broadcasting_ = 0;
};

struct KivThread {
  uint8_t detached = 0;
  uint8_t running = 0;
  kivplatform::Thread* handle = nullptr;
  uint32_t id = 0;
};

class KivThreadClass {
public:
  KivThreadClass() = default;
  KivThreadClass(const KivThreadClass&) = delete;
  KivThreadClass& operator=(const KivThreadClass&) = delete;

  virtual ~KivThreadClass();
  virtual void run() {}
  virtual int threadMain();

  // False if a thread is running already or could not be created.
  bool start(bool detached = false);
  // True at once when nothing runs; false for a detached thread.
  bool join();
  void setThreadName(const char* name);
  bool isRunning() const { return thread_.running != 0; }
  uint32_t threadId() const { return thread_.id; }

protected:
  KivThread thread_;
};

class KivLwBarrier {
public:
  KivLwBarrier();
  KivLwBarrier(const KivLwBarrier&) = delete;
  KivLwBarrier& operator=(const KivLwBarrier&) = delete;

  virtual ~KivLwBarrier();
  virtual void arrive();
  virtual bool poll() { return true; }
  virtual bool onStop() { return true; }

  void increment();
  void setCount(int32_t n);
  // Waits until the count is `limit` or lower, calling poll() after every
  // wake. A false poll() calls onStop() and ends the wait: the result false.
  bool waitUntil(int32_t limit);
  void wake();

protected:
  KivCriticalSection lock_;
  kivplatform::ConditionVariable* condition_;
  int32_t count_ = 0;
};

// Place 0 is the destructor; places 1 to 14 follow.
class IKivThreadPool {
public:
  virtual ~IKivThreadPool() = default;                                  // 0
  virtual void setWorker(int32_t index, KivThreadPoolWorker* worker) = 0;  // 1
  virtual void run(int32_t numThreads) = 0;                             // 2
  virtual KivThreadPoolWorker* getWorker(int32_t index) = 0;           // 3
  virtual int32_t numWorkers() = 0;                                     // 4
  virtual void deleteWorker(int32_t index) = 0;                         // 5
  virtual void setOwnsWorkers(bool flag) = 0;                           // 6
  virtual void setProgress(bool enable, IKivProgress* progress) = 0;   // 7
  // Reads getRange and getFlags of a ProgressCallbackBase.
  virtual void setProgressFrom(ProgressCallbackBase* object) = 0;  // 8
  virtual void setProgressRange(int32_t from, int32_t to) = 0;         // 9
  virtual void setCheckCancel(bool flag) = 0;                           // 10
  virtual void reportProgress(double fraction, int32_t index) = 0;      // 11
  virtual bool isCancelled() = 0;                                       // 12
  virtual void arrive() = 0;                                            // 13
  virtual void deleteWorkers() = 0;                                     // 14
};

class KivThreadPoolWorker : public KivThreadClass {
public:
  explicit KivThreadPoolWorker(int32_t index = -1);
  ~KivThreadPoolWorker() override;

  int threadMain() override;

  // Reports i/n of this worker's work; false once the pool is cancelled.
  bool reportProgress(int32_t i, int32_t n);
  bool reportFraction(double fraction);

  float progress();
  bool started();
  bool finished();
  bool joined();
  void setProgress(float value);
  void setStarted(bool value);
  void setFinished(bool value);
  void setJoined(bool value);

  IKivThreadPool* pool() const { return pool_; }
  int32_t index() const { return index_; }
  int32_t numThreads() const { return numThreads_; }
  // setWorker's part: the slot, the pool's number of slots and the pool.
  void bind(IKivThreadPool* pool, int32_t index, int32_t numThreads);

private:
  IKivThreadPool* pool_ = nullptr;
  int32_t index_;
  int32_t numThreads_ = -1;
  KivCriticalSection lock_;
  uint8_t finished_ = 0;
  uint8_t started_ = 0;
  uint8_t joined_ = 0;
  float progress_ = 0.0f;
};

class KivThreadPool : private KivLwBarrier, public virtual IKivThreadPool {
public:
  explicit KivThreadPool(int32_t numWorkers, bool singleThreaded = false);
  ~KivThreadPool() override;

  void setWorker(int32_t index, KivThreadPoolWorker* worker) override;
  void run(int32_t numThreads) override;
  KivThreadPoolWorker* getWorker(int32_t index) override;
  int32_t numWorkers() override { return numWorkers_; }
  void deleteWorker(int32_t index) override;
  void setOwnsWorkers(bool flag) override { ownsWorkers_ = flag ? 1 : 0; }
  void setProgress(bool enable, IKivProgress* progress) override;
  void setProgressFrom(ProgressCallbackBase* object) override;
  void setProgressRange(int32_t from, int32_t to) override;
  void setCheckCancel(bool flag) override { checkCancel_ = flag ? 1 : 0; }
  void reportProgress(double fraction, int32_t index) override;
  bool isCancelled() override;
  void arrive() override;
  void deleteWorkers() override;

  bool isSingleThreaded() const { return singleThreaded_ != 0; }
  int32_t runningThreads() const { return runningThreads_; }

private:
  bool poll() override;
  bool onStop() override;
  // Runs workers from `first` on the calling thread until cancelled.
  void runDirect(int32_t first);

  uint8_t singleThreaded_;
  std::atomic<int32_t> runningThreads_{1};
  KivThreadPoolWorker** workers_;
  int32_t numWorkers_;
  int32_t progressFrom_ = 0;
  int32_t progressTo_ = 100;
  // Written by workers and read by the thread in run() without a lock
  // (relaxed atomics); a worker may see a cancellation one report late.
  std::atomic<uint8_t> cancelled_{0};
  IKivProgress* progress_;
  std::atomic<uint8_t> checkCancel_{0};
  uint8_t ownsWorkers_ = 1;
};
