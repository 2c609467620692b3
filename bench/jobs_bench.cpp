// Background work: the job queue's round trip, the progress mix-in's
// unchanged-position report and the thread pool, each against an anchor in
// the same run.
#include "benchhost.h"
#include "kivbasictypes/progresscallbackbase.h"
#include "kivbasictypes/tovprogress.h"
#include "kivbasictypes/tovthread.h"
#include "model/modifier.h"
#include "model/modifierjobqueue.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// Per-iteration latencies as p50/p90/p99 counters, in microseconds.
void reportPercentiles(benchmark::State& state, std::vector<double>& micros) {
  if (micros.empty())
    return;
  std::sort(micros.begin(), micros.end());
  auto at = [&](double q) { return micros[size_t(q * double(micros.size() - 1))]; };
  state.counters["p50_us"] = at(0.50);
  state.counters["p90_us"] = at(0.90);
  state.counters["p99_us"] = at(0.99);
}

// Anchor: one std::thread serving a queue of functions under a
// std::condition_variable; the caller waits for each job's completion.
void BM_RoundTripBareWorker(benchmark::State& state) {
  std::mutex lock;
  std::condition_variable work, finished;
  std::vector<std::function<void()>> jobs;
  bool quit = false;
  int done = 0;
  std::thread worker([&] {
    std::unique_lock<std::mutex> guard(lock);
    for (;;) {
      work.wait(guard, [&] { return quit || !jobs.empty(); });
      if (quit)
        return;
      auto job = std::move(jobs.back());
      jobs.pop_back();
      guard.unlock();
      job();
      guard.lock();
      ++done;
      finished.notify_all();
    }
  });
  std::vector<double> micros;
  for (auto _ : state) {
    auto start = Clock::now();
    std::unique_lock<std::mutex> guard(lock);
    int target = done + 1;
    jobs.emplace_back([] {});
    work.notify_one();
    finished.wait(guard, [&] { return done >= target; });
    micros.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
  }
  {
    std::lock_guard<std::mutex> guard(lock);
    quit = true;
  }
  work.notify_one();
  worker.join();
  reportPercentiles(state, micros);
}
BENCHMARK(BM_RoundTripBareWorker)->UseRealTime();

class RoundTripCallback : public ModifierJobQueueCBObject {
public:
  void jobStateChanged(const KivString&, int state) override {
    if (state != 1)
      return;
    {
      std::lock_guard<std::mutex> guard(lock);
      ++returned;
    }
    changed.notify_all();
  }
  std::mutex lock;
  std::condition_variable changed;
  int returned = 0;
};

// Queue a modifier whose run() does nothing, and wait for state 1.
void BM_RoundTripJobQueue(benchmark::State& state) {
  BenchHostScope scope;
  IPtr<ModifierJobQueue> queue(new ModifierJobQueue);
  RoundTripCallback callback;
  queue->setCallback(&callback);
  queue->set("numThreads", 1);
  queue->start();
  IPtr<Modifier> job(new Modifier);
  std::vector<double> micros;
  for (auto _ : state) {
    auto start = Clock::now();
    std::unique_lock<std::mutex> guard(callback.lock);
    int target = callback.returned + 1;
    guard.unlock();
    queue->enqueue(job.get());
    guard.lock();
    callback.changed.wait(guard, [&] { return callback.returned >= target; });
    micros.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
  }
  queue->stop(false);
  queue->setCallback(nullptr);
  reportPercentiles(state, micros);
}
BENCHMARK(BM_RoundTripJobQueue)->UseRealTime();

// Anchor: an empty inlined loop.
void BM_EmptyLoop(benchmark::State& state) {
  float f = 0.5f;
  for (auto _ : state)
    benchmark::DoNotOptimize(f);
}
BENCHMARK(BM_EmptyLoop);

class CountingProgress : public TovProgress {
public:
  bool report(float) override {
    ++reports;
    return true;
  }
  long reports = 0;
};

// The unchanged-position path: one multiplication, one comparison and the
// cancellation question.
void BM_ProgressReportUnchanged(benchmark::State& state) {
  IPtr<CountingProgress> progress(new CountingProgress);
  ProgressCallbackObject reporter;
  reporter.setProgressObject(progress.get());
  reporter.reportFraction(0.5f);
  float f = 0.5f;
  for (auto _ : state) {
    benchmark::DoNotOptimize(f);
    benchmark::DoNotOptimize(reporter.reportFraction(f));
  }
  // 10^7 reports at changing positions, counted at the progress object.
  progress->reports = 0;
  reporter.start();
  progress->reports = 0;
  const int kReports = 10000000;
  for (int i = 1; i <= kReports; ++i)
    reporter.reportStep(i, kReports);
  state.counters["reports_of_1e7"] = double(progress->reports);
}
BENCHMARK(BM_ProgressReportUnchanged);

class SpinWorker : public KivThreadPoolWorker {
public:
  explicit SpinWorker(int64_t steps) : steps_(steps) {}
  void run() override {
    double sum = 0.0;
    for (int64_t i = 1; i <= steps_; ++i)
      sum += std::sqrt(double(i));
    result = sum;
  }
  double result = 0.0;

private:
  int64_t steps_;
};

// The same CPU-bound work, split in two workers, on 1 or 2 threads.
void BM_ThreadPool(benchmark::State& state) {
  BenchHostScope scope;
  const int threads = int(state.range(0));
  KivThreadPool pool(2);
  pool.setProgress(false, nullptr);
  for (int i = 0; i < 2; ++i)
    pool.setWorker(i, new SpinWorker(20000000));
  for (auto _ : state) {
    pool.run(threads);
    benchmark::DoNotOptimize(static_cast<SpinWorker*>(pool.getWorker(0))->result);
  }
  state.counters["threads_used"] = pool.runningThreads();
}
BENCHMARK(BM_ThreadPool)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace
