#include "kivbasictypes/tovthread.h"

#include "kivbasictypes/kivplatform.h"
#include "kivbasictypes/progresscallbackbase.h"
#include "memfakes.h"
#include "progressfakes.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <vector>

namespace {

using memfakes::FakeDataStore;
using memfakes::FakeMManager;

class SingleThreadManager : public FakeMManager {
public:
  bool isSingleThreadOnly() override { return singleOnly; }
  bool singleOnly = false;
};

class ThreadTest : public memfakes::MemFixture {
protected:
  void SetUp() override {
    MemFixture::SetUp();
    savedProcessors = kivProcessorCount();
    setKivProcessorCount(4);
  }
  void TearDown() override {
    setKivProcessorCount(savedProcessors);
    MemFixture::TearDown();
  }
  int32_t savedProcessors = 1;
};

struct CountCase {
  const char* name;
  int setting;  // -1: no such setting
  bool singleOnly;
  int32_t n;
  int32_t expected;
};

TEST_F(ThreadTest, EffectiveThreadCountFollowsSettingAndManager) {
  const CountCase cases[] = {
      {"no_setting", -1, false, 4, 4},
      {"setting_limits", 2, false, 8, 2},
      {"request_limits", 16, false, 3, 3},
      {"setting_zero", 0, false, 4, 0},
      {"setting_one", 1, false, 4, 1},
      {"request_zero_no_setting", -1, false, 0, 0},
      {"request_zero_raised_to_one", 8, false, 0, 1},
      {"single_thread_manager", -1, true, 4, 1},
      {"single_thread_manager_zero", 0, true, 4, 0},
  };
  auto* store = install("IDataStore", new FakeDataStore);
  auto* manager = install("IKivMManager", new SingleThreadManager);
  for (const CountCase& c : cases) {
    SCOPED_TRACE(c.name);
    store->ints.clear();
    if (c.setting >= 0)
      store->ints["Advanced/Max Number of Threads"] = c.setting;
    manager->singleOnly = c.singleOnly;
    EXPECT_EQ(effectiveThreadCount(c.n), c.expected);
    EXPECT_EQ(isEffectivelySingleThreaded(c.n), c.expected == 1);
  }
}

// Records the order and the thread of each run, and the most workers in
// flight at once.
struct RunLog {
  std::mutex lock;
  std::vector<int> order;
  std::vector<uint32_t> threads;
  std::atomic<int> inFlight{0};
  std::atomic<int> maxInFlight{0};
};

class LoggingWorker : public KivThreadPoolWorker {
public:
  LoggingWorker(RunLog* log, int reports) : log_(log), reports_(reports) {}
  void run() override {
    int now = ++log_->inFlight;
    int seen = log_->maxInFlight.load();
    while (now > seen && !log_->maxInFlight.compare_exchange_weak(seen, now)) {
    }
    {
      std::lock_guard<std::mutex> guard(log_->lock);
      log_->order.push_back(index());
      log_->threads.push_back(kivplatform::currentThreadId());
    }
    for (int i = 1; i <= reports_; ++i)
      if (!reportProgress(i, 2 * reports_))  // half of its work
        break;
    --log_->inFlight;
  }

private:
  RunLog* log_;
  int reports_;
};

KivThreadPool* makePool(int workers, RunLog* log, int reports, bool single = false) {
  auto* pool = new KivThreadPool(workers, single);
  for (int i = 0; i < workers; ++i)
    pool->setWorker(i, new LoggingWorker(log, reports));
  return pool;
}

TEST_F(ThreadTest, PoolWithOneThreadRunsInOrderOnTheCaller) {
  RunLog log;
  std::unique_ptr<KivThreadPool> pool(makePool(8, &log, 3));
  pool->setProgress(false, nullptr);
  pool->run(1);
  EXPECT_EQ(log.order, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7}));
  for (uint32_t id : log.threads)
    EXPECT_EQ(id, kivplatform::currentThreadId());
  for (int i = 0; i < 8; ++i)
    EXPECT_FALSE(pool->getWorker(i)->started());

  // A slot left empty can't arrive: such a run stays on the caller.
  RunLog gappy;
  std::unique_ptr<KivThreadPool> gap(makePool(3, &gappy, 1));
  gap->setProgress(false, nullptr);
  gap->deleteWorker(1);
  gap->run(2);
  EXPECT_EQ(gappy.order, (std::vector<int>{0, 2}));
  for (uint32_t id : gappy.threads)
    EXPECT_EQ(id, kivplatform::currentThreadId());
}

TEST_F(ThreadTest, PoolKeepsAtMostNThreadsInFlight) {
  RunLog log;
  std::unique_ptr<KivThreadPool> pool(makePool(8, &log, 50));
  IPtr<RecordingProgress> progress(new RecordingProgress);
  pool->setProgress(true, progress.get());
  ASSERT_FALSE(pool->isSingleThreaded());
  pool->run(3);
  EXPECT_EQ(pool->runningThreads(), 3);
  EXPECT_EQ(log.order.size(), 8u);
  EXPECT_LE(log.maxInFlight.load(), 3);
  for (uint32_t id : log.threads)
    EXPECT_NE(id, kivplatform::currentThreadId());
  for (int i = 0; i < 8; ++i) {
    EXPECT_TRUE(pool->getWorker(i)->finished());
    EXPECT_TRUE(pool->getWorker(i)->joined());
  }
  // onStop() reports the end of the range last.
  EXPECT_FLOAT_EQ(progress->raw.back(), 1.0f);
  // It can run again.
  log.order.clear();
  pool->run(2);
  EXPECT_EQ(log.order.size(), 8u);
}

TEST_F(ThreadTest, PoolConstructionDecidesSingleThreadedUse) {
  struct Case {
    const char* name;
    int workers;
    bool flag;
    int setting;
    bool singleOnly;
    bool expected;
  };
  const Case cases[] = {
      {"several_workers", 4, false, -1, false, false},
      {"flag", 4, true, -1, false, true},
      {"one_worker", 1, false, -1, false, true},
      {"setting_one", 4, false, 1, false, true},
      {"manager_single_only", 4, false, -1, true, true},
  };
  auto* store = install("IDataStore", new FakeDataStore);
  auto* manager = install("IKivMManager", new SingleThreadManager);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    store->ints.clear();
    if (c.setting >= 0)
      store->ints["Advanced/Max Number of Threads"] = c.setting;
    manager->singleOnly = c.singleOnly;
    RunLog log;
    std::unique_ptr<KivThreadPool> pool(makePool(c.workers, &log, 1, c.flag));
    pool->setProgress(false, nullptr);
    EXPECT_EQ(pool->isSingleThreaded(), c.expected);
    pool->run(c.workers);
    EXPECT_EQ(log.order.size(), size_t(c.workers));
    if (c.expected) {
      for (uint32_t id : log.threads)
        EXPECT_EQ(id, kivplatform::currentThreadId());
    }
  }
}

TEST_F(ThreadTest, PoolFoldsWorkerProgressIntoItsRange) {
  RunLog log;
  std::unique_ptr<KivThreadPool> pool(makePool(2, &log, 1, true));
  IPtr<RecordingProgress> progress(new RecordingProgress);
  pool->setProgress(true, progress.get());
  pool->setProgressRange(20, 60);
  pool->run(1);
  // Both workers at 0.5 of their work.
  ASSERT_FALSE(progress->raw.empty());
  EXPECT_FLOAT_EQ(progress->raw.back(), 0.4f);

  // A ProgressCallbackBase hands its range and flags over.
  ProgressCallbackObject source;
  source.setProgressObject(progress.get());
  source.setRange(10, 30);
  pool->setProgressFrom(&source);
  EXPECT_FALSE(pool->isCancelled());
  source.setReporting(false);
  pool->setProgressFrom(&source);
  progress->raw.clear();
  pool->run(1);
  EXPECT_TRUE(progress->raw.empty());
}

TEST_F(ThreadTest, CancelStopsARunInTheMiddle) {
  // Single-threaded: the worker during which the cancellation came finishes,
  // no later one starts.
  {
    RunLog log;
    std::unique_ptr<KivThreadPool> pool(makePool(8, &log, 4, true));
    IPtr<RecordingProgress> progress(new RecordingProgress);
    pool->setProgress(true, progress.get());
    pool->setCheckCancel(true);
    progress->answer = true;
    struct Stopper : KivThreadPoolWorker {
      RecordingProgress* progress;
      RunLog* log;
      void run() override {
        log->order.push_back(index());
        progress->answer = false;
        reportProgress(1, 2);
      }
    };
    auto* stopper = new Stopper;
    stopper->progress = progress.get();
    stopper->log = &log;
    pool->deleteWorker(2);
    pool->setWorker(2, stopper);
    pool->run(1);
    EXPECT_TRUE(pool->isCancelled());
    EXPECT_EQ(log.order, (std::vector<int>{0, 1, 2}));
    pool->setProgressRange(0, 100);
    EXPECT_FALSE(pool->isCancelled());
  }
  // Several threads: a cancellation seen on the progress object stops the
  // start of further workers.
  {
    RunLog log;
    std::unique_ptr<KivThreadPool> pool(makePool(8, &log, 20));
    IPtr<RecordingProgress> progress(new RecordingProgress);
    progress->cancelled = true;
    pool->setProgress(true, progress.get());
    pool->setCheckCancel(true);
    pool->run(2);
    EXPECT_TRUE(pool->isCancelled());
    // Threads may still be in flight: wait for them before looking.
    for (int i = 0; i < 8; ++i)
      EXPECT_TRUE(pool->getWorker(i)->join());
    EXPECT_LT(log.order.size(), 8u);
  }
}

TEST(KivThreadClass, StartJoinAndRestart) {
  struct Counter : KivThreadClass {
    std::atomic<int> runs{0};
    KivEvent release;
    KivEvent ran;
    void run() override {
      release.wait();
      ++runs;
      ran.set();
    }
  };
  Counter counter;
  EXPECT_TRUE(counter.join());  // nothing runs
  ASSERT_TRUE(counter.start());
  EXPECT_FALSE(counter.start());
  counter.release.set();
  EXPECT_TRUE(counter.join());
  EXPECT_EQ(counter.runs.load(), 1);
  ASSERT_TRUE(counter.start());
  EXPECT_TRUE(counter.join());
  EXPECT_EQ(counter.runs.load(), 2);

  // Nobody can wait for a detached thread, so its object lives on.
  static Counter detached;
  detached.release.set();
  ASSERT_TRUE(detached.start(true));
  EXPECT_FALSE(detached.join());
  EXPECT_TRUE(detached.ran.waitFor(60.0));
}

TEST(KivEvent, WaitsAndTimeouts) {
  KivEvent event;
  EXPECT_FALSE(event.isSet());
  EXPECT_FALSE(event.waitFor(0.0));  // at least one millisecond, then false
  event.set();
  EXPECT_TRUE(event.isSet());
  EXPECT_TRUE(event.isSet());  // manual reset: stays set
  EXPECT_TRUE(event.waitFor(30.0));
  event.reset();
  EXPECT_FALSE(event.waitFor(0.001));
}

TEST(KivCondition, BroadcastWakesEveryWaiterAndSignalOne) {
  KivMutex mutex;
  KivCondition condition;
  int go = 0;
  int woken = 0;
  struct Waiter : KivThreadClass {
    KivMutex* mutex;
    KivCondition* condition;
    int* go;
    int* woken;
    int needed;
    void run() override {
      mutex->lock();
      while (*go < needed)
        condition->wait(*mutex);
      ++*woken;
      mutex->unlock();
    }
  };
  std::vector<std::unique_ptr<Waiter>> waiters;
  for (int i = 0; i < 4; ++i) {
    auto waiter = std::make_unique<Waiter>();
    waiter->mutex = &mutex;
    waiter->condition = &condition;
    waiter->go = &go;
    waiter->woken = &woken;
    waiter->needed = 1;
    ASSERT_TRUE(waiter->start());
    waiters.push_back(std::move(waiter));
  }
  mutex.lock();
  go = 1;
  mutex.unlock();
  condition.broadcast();
  for (auto& waiter : waiters)
    EXPECT_TRUE(waiter->join());
  EXPECT_EQ(woken, 4);
  condition.signal();  // nobody waits: nothing happens

  KivMutex named;
  EXPECT_TRUE(named.create("dm-test-mutex"));
  EXPECT_FALSE(named.create("dm-test-mutex"));  // holds a handle already
  KivMutex opened;
  EXPECT_TRUE(opened.open("dm-test-mutex"));
  KivMutex missing;
  EXPECT_FALSE(missing.open("dm-test-no-such-mutex"));
}

TEST(KivSpinCount, ReadOnceFromTheEnvironment) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  struct Case {
    const char* name;
    const char* value;
    int expected;
  };
  const Case cases[] = {{"unset", nullptr, -1}, {"set", "4000", 4000}, {"negative", "-7", -7}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EXIT(
        {
          if (c.value)
            setenv("KIV_SPIN_COUNT", c.value, 1);
          else
            unsetenv("KIV_SPIN_COUNT");
          int32_t first = kivSpinCount();
          setenv("KIV_SPIN_COUNT", "99", 1);
          KivCriticalSection section;  // negative counts block at once
          section.enter();
          section.leave();
          std::exit(first == c.expected && kivSpinCount() == first ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
  }
}

} // namespace
