#include "model/modifierjobqueue.h"

#include "core/platformexception.h"
#include "inprocesshost.h"
#include "jobsupport.h"
#include "kivbasictypes/kivplatform.h"
#include "kivbasictypes/tovthread.h"
#include "modelsupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <set>

namespace {

using States = std::map<std::string, std::vector<int>>;

class JobQueueTest : public ::testing::Test {
protected:
  void SetUp() override {
    inProcessHost();
    queue = new ModifierJobQueue;
    queue->setCallback(&recorder);
  }
  void TearDown() override {
    queue->stop(true);
    queue->setCallback(nullptr);
    queue.clear();
  }

  // A job that reports until told to finish or cancelled.
  IPtr<ScriptedJob> loopingJob(const std::string& name, std::atomic<bool>* finish) {
    return IPtr<ScriptedJob>(new ScriptedJob(name, [finish](ScriptedJob& job) {
      job.useProgressProperty();
      for (int i = 0; !finish->load(); i = (i + 1) % 1000)
        if (!job.reportFraction(float(i) / 1000.0f))
          break;
    }));
  }

  StateRecorder recorder;
  IPtr<ModifierJobQueue> queue;
};

TEST_F(JobQueueTest, PropertiesAndStartRules) {
  int32_t saved = kivProcessorCount();
  setKivProcessorCount(1);
  EXPECT_EQ(queue->getInt("numThreads"), 0);
  EXPECT_FALSE(queue->getBool("started"));
  ASSERT_TRUE(queue->start());
  EXPECT_EQ(queue->workerCount(), 1);  // one processor, automatic count
  EXPECT_FALSE(queue->start());
  EXPECT_EQ(queue->workerCount(), 1);
  EXPECT_TRUE(queue->getBool("started"));
  EXPECT_TRUE(queue->stop(false));
  EXPECT_FALSE(queue->isStarted());
  setKivProcessorCount(saved);

  // The bound of "numThreads" is the eight wake events.
  PlatformException* failure = caught([&] { queue->set("numThreads", 9); });
  delete failure;
  EXPECT_LE(queue->getInt("numThreads"), 8);

  // Foreign and null arguments.
  EXPECT_FALSE(queue->enqueue(nullptr));
  EXPECT_EQ(queue->status(nullptr), 0);
  EXPECT_FALSE(queue->cancel(nullptr));
  EXPECT_FALSE(queue->pause(nullptr));
}

TEST_F(JobQueueTest, OneWorkerRunsJobsInOrderAndStopKeepsWaitingOnes) {
  queue->set("numThreads", 1);
  std::vector<std::string> order;
  std::vector<IPtr<ScriptedJob>> jobs;
  for (int i = 0; i < 5; ++i) {
    std::string name = "job" + std::to_string(i);
    jobs.emplace_back(new ScriptedJob(name, [&order, name](ScriptedJob&) {
      order.push_back(name);
    }, false));
    ASSERT_TRUE(queue->enqueue(jobs.back().get()));
  }
  EXPECT_EQ(queue->getInt("numWaiting"), 5);
  EXPECT_EQ(queue->status(jobs[0].get()), 1);

  // Cancel a waiting job: state 2 and never 0.
  ASSERT_TRUE(queue->cancel(jobs[2].get()));
  EXPECT_EQ(queue->getInt("numWaiting"), 4);
  EXPECT_EQ(queue->status(jobs[2].get()), 0);

  ASSERT_TRUE(queue->start());
  ASSERT_TRUE(recorder.waitForState("job4", 1));
  EXPECT_EQ(order, (std::vector<std::string>{"job0", "job1", "job3", "job4"}));
  EXPECT_EQ(recorder.statesOf("job2"), std::vector<int>{2});
  EXPECT_EQ(recorder.statesOf("job0"), (std::vector<int>{0, 1}));

  // stop(false) leaves waiting jobs where they are; the next start serves them.
  ASSERT_TRUE(queue->stop(false));
  IPtr<ScriptedJob> later(new ScriptedJob("later", nullptr, false));
  queue->enqueue(later.get());
  EXPECT_EQ(queue->getInt("numWaiting"), 1);
  EXPECT_FALSE(queue->isStarted());
  ASSERT_TRUE(queue->start());
  EXPECT_TRUE(recorder.waitForState("later", 1));
}

TEST_F(JobQueueTest, StatusCancelPauseAndResumeGoThroughTheJobsProgress) {
  queue->set("numThreads", 2);
  std::atomic<bool> finish{false};
  IPtr<ScriptedJob> job = loopingJob("looping", &finish);
  KivEvent bare;
  IPtr<ScriptedJob> noProgress(new ScriptedJob("bare", [&bare](ScriptedJob&) {
    bare.waitFor(60.0);
  }, false));
  ASSERT_TRUE(queue->enqueueWithProgress(job.get()));
  ASSERT_TRUE(queue->enqueueWithProgress(noProgress.get()));
  ASSERT_NE(job->hostCallback(), nullptr);
  ASSERT_TRUE(queue->start());
  ASSERT_TRUE(recorder.waitForState("looping", 0));
  ASSERT_TRUE(recorder.waitForState("bare", 0));
  EXPECT_EQ(queue->status(job.get()), 2);
  EXPECT_EQ(queue->getInt("numRunning"), 2);

  ASSERT_TRUE(queue->pause(job.get()));
  EXPECT_EQ(queue->status(job.get()), 3);
  ASSERT_TRUE(job->hostCallback()->waitForPausedWaits(1, 60.0));
  ASSERT_TRUE(queue->resume(job.get()));
  EXPECT_EQ(queue->status(job.get()), 2);
  queue->pauseAll();
  EXPECT_EQ(queue->status(job.get()), 3);
  queue->resumeAll();
  EXPECT_EQ(queue->status(job.get()), 2);

  // A running job without progress can't be cancelled, but the callback
  // hears of the attempt.
  EXPECT_FALSE(queue->cancel(noProgress.get()));
  EXPECT_EQ(recorder.statesOf("bare"), (std::vector<int>{0, 2}));
  bare.set();
  ASSERT_TRUE(recorder.waitForState("bare", 1));

  // A running job with progress is asked to stop and stays running until its
  // run() returns: state 1 follows state 2.
  EXPECT_TRUE(queue->cancel(job.get()));
  ASSERT_TRUE(recorder.waitForState("looping", 1));
  EXPECT_EQ(recorder.statesOf("looping"), (std::vector<int>{0, 2, 1}));
  EXPECT_EQ(queue->status(job.get()), 0);
}

TEST_F(JobQueueTest, StormOfCancelsGivesEveryJobExactlyItsStates) {
  queue->set("numThreads", 8);
  const int kJobs = 1000;
  std::vector<IPtr<ScriptedJob>> jobs;
  for (int i = 0; i < kJobs; ++i) {
    jobs.emplace_back(new ScriptedJob("storm" + std::to_string(i), [](ScriptedJob& job) {
      job.useProgressProperty();
      for (int step = 1; step <= 200; ++step)
        if (!job.reportStep(step, 200))
          return;
    }));
    ASSERT_TRUE(queue->enqueueWithProgress(jobs.back().get()));
  }
  ASSERT_TRUE(queue->start());
  std::mt19937 random(9);
  std::uniform_int_distribution<int> pick(0, kJobs - 1);
  std::set<int> cancelledOk;
  for (int i = 0; i < 400; ++i) {
    int n = pick(random);
    if (queue->cancel(jobs[n].get()))
      cancelledOk.insert(n);
  }
  // Every job ends in state 1, or in 2 if it never began.
  auto allDone = [&](const States& states) {
    if (int(states.size()) < kJobs)
      return false;
    for (const auto& [name, seen] : states)
      if (seen.empty() || (seen.back() != 1 && seen != std::vector<int>{2}))
        return false;
    return true;
  };
  ASSERT_TRUE(recorder.waitUntil(allDone, 120.0));
  int cancelStates = 0;
  for (const auto& [name, seen] : recorder.states()) {
    SCOPED_TRACE(name);
    bool valid = seen == std::vector<int>{2} || seen == std::vector<int>{0, 1} ||
                 (seen.size() >= 3 && seen.front() == 0 && seen.back() == 1);
    EXPECT_TRUE(valid);
    for (size_t k = 1; k + 1 < seen.size(); ++k)
      EXPECT_EQ(seen[k], 2);
    cancelStates += int(std::count(seen.begin(), seen.end(), 2));
  }
  // Each successful cancel said so once; repeated cancels of a running job
  // each add a state 2 too.
  EXPECT_GE(cancelStates, int(cancelledOk.size()));
  EXPECT_EQ(queue->getInt("numWaiting"), 0);
  queue->stop(false);
  EXPECT_EQ(queue->getInt("numRunning"), 0);
}

TEST_F(JobQueueTest, ThrowingJobLeavesTheWorkerServing) {
  queue->set("numThreads", 1);
  IPtr<ScriptedJob> failing(new ScriptedJob("failing", [](ScriptedJob&) {
    throwClassError("ScriptedJob", "the job failed on purpose");
  }, false));
  IPtr<ScriptedJob> next(new ScriptedJob("next", nullptr, false));
  queue->enqueue(failing.get());
  queue->enqueue(next.get());
  ASSERT_TRUE(queue->start());
  ASSERT_TRUE(recorder.waitForState("next", 1));
  EXPECT_EQ(recorder.statesOf("failing"), (std::vector<int>{0, 1}));
  EXPECT_EQ(queue->getInt("numRunning"), 0);
}

TEST_F(JobQueueTest, StopWithCancelEndsReportingJobsAndDropsWaitingOnes) {
  queue->set("numThreads", 2);
  std::atomic<bool> never{false};
  IPtr<ScriptedJob> a = loopingJob("a", &never);
  IPtr<ScriptedJob> b = loopingJob("b", &never);
  IPtr<ScriptedJob> waiting = loopingJob("waiting", &never);
  queue->enqueueWithProgress(a.get());
  queue->enqueueWithProgress(b.get());
  ASSERT_TRUE(queue->start());
  ASSERT_TRUE(recorder.waitForState("a", 0));
  ASSERT_TRUE(recorder.waitForState("b", 0));
  queue->enqueueWithProgress(waiting.get());
  // Both workers are busy with a and b, so "waiting" waits.
  EXPECT_EQ(queue->status(waiting.get()), 1);
  EXPECT_TRUE(queue->stop(true));
  EXPECT_EQ(queue->getInt("numRunning"), 0);
  EXPECT_EQ(recorder.statesOf("a"), (std::vector<int>{0, 2, 1}));
  EXPECT_EQ(recorder.statesOf("b"), (std::vector<int>{0, 2, 1}));
  EXPECT_EQ(recorder.statesOf("waiting"), std::vector<int>{2});
}

TEST_F(JobQueueTest, LastReferenceDiesOnTheWorkerAfterState1) {
  queue->set("numThreads", 1);
  struct Mortal : ScriptedJob {
    Mortal(StateRecorder* r, std::vector<int>* seen, uint32_t* thread)
        : ScriptedJob("mortal", nullptr, false), recorder(r), seen(seen), thread(thread) {}
    ~Mortal() override {
      *seen = recorder->statesOf("mortal");
      *thread = kivplatform::currentThreadId();
    }
    StateRecorder* recorder;
    std::vector<int>* seen;
    uint32_t* thread;
  };
  std::vector<int> seenAtDeath;
  uint32_t deathThread = 0;
  queue->enqueue(new Mortal(&recorder, &seenAtDeath, &deathThread));
  IPtr<ScriptedJob> after(new ScriptedJob("after", nullptr, false));
  queue->enqueue(after.get());
  ASSERT_TRUE(queue->start());
  ASSERT_TRUE(recorder.waitForState("after", 1));
  EXPECT_EQ(seenAtDeath, (std::vector<int>{0, 1}));
  EXPECT_NE(deathThread, kivplatform::currentThreadId());
}

} // namespace
