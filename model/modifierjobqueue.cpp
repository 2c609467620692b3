//===- modifierjobqueue.cpp - Modifiers run by background workers ---------===//
#include "model/modifierjobqueue.h"

#include "core/classwalk.h"
#include "core/platformexception.h"
#include "model/progress.h"
#include "model/progressproperty.h"
#include "properties/boolproperty.h"
#include "properties/intproperty.h"
#include "properties/routedproperty.h"

#include <algorithm>

namespace {

using CountProperty = RoutedPropertyTemplate<int, IntProperty, ModifierJobQueue>;
using StartedProperty = RoutedPropertyTemplate<bool, BoolProperty, ModifierJobQueue>;

constexpr double kWakeInterval = 0.5;

Modifier* modifierOf(IKivModifier* modifier) {
  return kivQuery<Modifier>(modifier, "Modifier");
}

ProgressProperty* progressPropertyOf(Modifier* job) {
  if (!job || !job->hasProperty("progress"))
    return nullptr;
  return kivQuery<ProgressProperty>(job->getProperty("progress"), "ProgressProperty");
}

// Every entry of the queue, oldest first, as a slot that can be blanked.
template <class F>
void forEachWaiting(Queue<Modifier*>& jobs, F f) {
  IterStack<Modifier*>& front = jobs.frontStack();
  for (int32_t i = jobs.head(); i <= front.count(); ++i)
    if (f(front.at(i)))
      return;
  IterStack<Modifier*>& back = jobs.backStack();
  for (int32_t i = 1; i <= back.count(); ++i)
    if (f(back.at(i)))
      return;
}

} // namespace

void ModifierJobQueueCBObject::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "ModifierJobQueueCBObject");
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IModifierJobQueueCBObject");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "ModifierJobQueueCBObject", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IModifierJobQueueCBObject", static_cast<IModifierJobQueueCBObject*>(this),
            out);
}

class ModifierJobQueue::Worker : public KivThreadClass {
public:
  Worker(ModifierJobQueue* queue, int32_t index) : queue(queue), index(index) {}
  int threadMain() override {
    queue->workerLoop(index);
    return 0;
  }

  ModifierJobQueue* queue;
  int32_t index;
};

ModifierJobQueue::ModifierJobQueue() : jobs_(new Queue<Modifier*>(10)), done_(new KivEvent) {
  addProperty(new IntProperty(KivString("numThreads"), 0, false, 0, kMaxWorkers, true));
  addProperty(new CountProperty(KivString("numRunning"), true, this, &ModifierJobQueue::numRunning));
  addProperty(new CountProperty(KivString("numWaiting"), true, this, &ModifierJobQueue::numWaiting));
  addProperty(
      new StartedProperty(KivString("started"), true, this, &ModifierJobQueue::startedValue));
}

ModifierJobQueue::~ModifierJobQueue() {
  if (started_.exchange(0) == 1) {
    setAllWakes();
    waitForRunningJobs();
  }
  {
    KivLock jobs(jobsLock_);
    while (!jobs_->isEmpty())
      if (Modifier* job = jobs_->pop())
        job->release();
  }
  deleteWorkers();
  delete done_;
  delete jobs_;
}

void ModifierJobQueue::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "ModifierJobQueue");
    Modifier::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivModifierJobQueue");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "ModifierJobQueue", this, out) ||
      kivAnswer(name, "IKivModifierJobQueue", static_cast<IKivModifierJobQueue*>(this), out))
    return;
  Modifier::queryInterface(name, out);
}

Progress* ModifierJobQueue::progressOf(Modifier* job) {
  ProgressProperty* property = progressPropertyOf(job);
  return property ? kivQuery<Progress>(property->get(), "Progress") : nullptr;
}

int ModifierJobQueue::numRunning() const {
  KivLock running(runningLock_);
  return running_.count();
}

int ModifierJobQueue::numWaiting() const {
  KivLock jobs(jobsLock_);
  int count = 0;
  forEachWaiting(*jobs_, [&count](Modifier*& job) {
    if (job)
      ++count;
    return false;
  });
  return count;
}

bool ModifierJobQueue::setCallback(IModifierJobQueueCBObject* callback) {
  callback_.store(callback);
  return true;
}

void ModifierJobQueue::notify(Modifier* job, int state) {
  if (IModifierJobQueueCBObject* callback = callback_.load())
    callback->jobStateChanged(job->name(), state);
}

void ModifierJobQueue::setAllWakes() {
  for (KivEvent& wake : wake_)
    wake.set();
}

void ModifierJobQueue::waitForRunningJobs() {
  // `done` stays set once a worker has left its loop, so this may look more
  // often than every half second; it never waits longer.
  while (runningCount_.load() != 0)
    done_->waitFor(kWakeInterval);
}

// Joined before deletion: a thread still on its way into threadMain() must
// not meet a half-destroyed worker.
void ModifierJobQueue::deleteWorkers() {
  while (!workers_.isEmpty()) {
    Worker* worker = workers_.pop();
    worker->join();
    delete worker;
  }
}

bool ModifierJobQueue::start() {
  if (started_.load() == 1)
    return false;
  int32_t count = getInt("numThreads");
  if (count < 1)
    count = std::max(effectiveThreadCount(kivProcessorCount()) - 1, 1);
  // The automatic count has no bound of its own; wake has room for eight.
  count = std::min(count, kMaxWorkers);
  deleteWorkers();
  for (int32_t i = 0; i < count; ++i)
    workers_.push(new Worker(this, i));
  started_.store(1);
  for (int32_t i = 1; i <= workers_.count(); ++i)
    workers_.at(i)->start(false);
  return true;
}

bool ModifierJobQueue::enqueue(IKivModifier* modifier) {
  Modifier* job = modifierOf(modifier);
  if (!job)
    return false;
  {
    KivLock jobs(jobsLock_);
    job->addRef();
    jobs_->push(job);
  }
  // All eight: a worker index that has no thread yet costs nothing.
  setAllWakes();
  return true;
}

bool ModifierJobQueue::enqueueWithProgress(IKivModifier* modifier) {
  Modifier* job = modifierOf(modifier);
  if (!job)
    return false;
  if (ProgressProperty* property = progressPropertyOf(job)) {
    IProgress* value = property->get();
    if (!value || !kivQuery<ProgressInstance>(value, "ProgressInstance")) {
      auto* instance = new ProgressInstance;
      property->set(static_cast<Progress*>(instance));
      // Connected here, on the caller's thread: a connection is a plain
      // write, and the job's first look on a worker would otherwise race
      // with a cancel or pause from this thread.
      instance->callback();
    }
  }
  return enqueue(modifier);
}

void ModifierJobQueue::workerLoop(int32_t index) {
  KivEvent& wake = wake_[index];
  while (started_.load() == 1) {
    Modifier* job = nullptr;
    bool popped = false;
    {
      KivLock jobs(jobsLock_);
      if (!jobs_->isEmpty()) {
        job = jobs_->pop();
        popped = true;
      }
    }
    if (!popped) {
      wake.reset();
      wake.waitFor(kWakeInterval);
      continue;
    }
    if (!job)
      continue;  // left by a cancellation
    {
      KivLock running(runningLock_);
      job->addRef();
      running_[job] = index;
      runningCount_.store(running_.count());
      notify(job, kJobBegun);
    }
    runJob(job);
    {
      KivLock running(runningLock_);
      notify(job, kJobReturned);
      running_.remove(job);
      runningCount_.store(running_.count());
      job->release();
    }
    job->release();
  }
  done_->set();
}

// A failing job must not take its worker down, nor stay in `running` for
// ever (stop would wait on it). Its failure was reported where it was thrown;
// here the exception is dropped and the job ends as if run() had returned,
// so its callback still sees state 1 and the worker takes the next job.
void ModifierJobQueue::runJob(Modifier* job) {
  try {
    job->run();
  } catch (PlatformException* failure) {
    delete failure;
  } catch (...) {
  }
}

int ModifierJobQueue::status(IKivModifier* modifier) {
  Modifier* job = modifierOf(modifier);
  if (!job)
    return 0;
  bool waiting = false;
  {
    KivLock jobs(jobsLock_);
    forEachWaiting(*jobs_, [job, &waiting](Modifier*& entry) { return waiting = entry == job; });
  }
  if (waiting)
    return 1;
  {
    KivLock running(runningLock_);
    if (!running_.contains(job))
      return 0;
  }
  Progress* progress = progressOf(job);
  return progress && progress->isPaused() ? 3 : 2;
}

bool ModifierJobQueue::cancel(IKivModifier* modifier) {
  Modifier* job = modifierOf(modifier);
  if (!job)
    return false;
  {
    KivLock jobs(jobsLock_);
    bool found = false;
    forEachWaiting(*jobs_, [this, job, &found](Modifier*& entry) {
      if (entry != job)
        return false;
      notify(job, kJobCancelled);
      job->release();
      entry = nullptr;
      return found = true;
    });
    if (found)
      return true;
  }
  KivLock running(runningLock_);
  if (!running_.contains(job))
    return false;
  notify(job, kJobCancelled);
  Progress* progress = progressOf(job);
  if (!progress)
    return false;
  progress->cancel();
  return true;
}

bool ModifierJobQueue::cancelAll() {
  KivLock jobs(jobsLock_);
  while (!jobs_->isEmpty()) {
    if (Modifier* job = jobs_->pop()) {
      notify(job, kJobCancelled);
      job->release();
    }
  }
  KivLock running(runningLock_);
  Map<Modifier*, int>::Iterator it(running_);
  for (bool more = it.first(); more; more = it.next()) {
    notify(it.key(), kJobCancelled);
    if (Progress* progress = progressOf(it.key()))
      progress->cancel();
  }
  return true;
}

bool ModifierJobQueue::pause(IKivModifier* modifier) {
  Progress* progress = progressOf(modifierOf(modifier));
  if (!progress)
    return false;
  progress->pause();
  return true;
}

bool ModifierJobQueue::resume(IKivModifier* modifier) {
  Progress* progress = progressOf(modifierOf(modifier));
  if (!progress)
    return false;
  progress->resume();
  return true;
}

void ModifierJobQueue::setAllPaused(bool paused) {
  auto apply = [paused](Modifier* job) {
    Progress* progress = progressOf(job);
    if (!progress || progress->isPaused() == paused)
      return;
    if (paused)
      progress->pause();
    else
      progress->resume();
  };
  KivLock jobs(jobsLock_);
  forEachWaiting(*jobs_, [&apply](Modifier*& job) {
    if (job)
      apply(job);
    return false;
  });
  KivLock running(runningLock_);
  Map<Modifier*, int>::Iterator it(running_);
  for (bool more = it.first(); more; more = it.next())
    apply(it.key());
}

bool ModifierJobQueue::pauseAll() {
  setAllPaused(true);
  return true;
}

bool ModifierJobQueue::resumeAll() {
  setAllPaused(false);
  return true;
}

bool ModifierJobQueue::stop(bool cancel) {
  started_.store(0);
  if (cancel)
    cancelAll();
  setAllWakes();
  waitForRunningJobs();
  return true;
}
