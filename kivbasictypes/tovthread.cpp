//===- tovthread.cpp - Locks, threads, the barrier and the pool -----------===//
#include "kivbasictypes/tovthread.h"

#include "core/idatastore.h"
#include "core/kivptr.h"
#include "kivbasictypes/ikivmmanager.h"
#include "kivbasictypes/ikivprogress.h"
#include "kivbasictypes/kivmmarray.h"
#include "kivbasictypes/kivplatform.h"
#include "kivbasictypes/progresscallbackbase.h"

#include <algorithm>
#include <cstdlib>

namespace {

std::atomic<int32_t> processors{1};

// Read at load, as the rest of the process expects a settled figure.
const bool processorsRead = [] {
  processors.store(kivplatform::processorCount(), std::memory_order_relaxed);
  return true;
}();

// Seconds to the platform's milliseconds: truncated, at least 1.
int64_t milliseconds(double seconds) {
  double ms = seconds * 1000.0;
  if (!(ms >= 1.0))
    return 1;
  if (ms > 9.0e15)
    return -1;
  return int64_t(ms);
}

// The memory manager's single-thread rule, when there is a manager.
bool managerSaysSingleThread() {
  SPtr<KivMM::IKivMManager> manager("IKivMManager");
  return manager && manager->isSingleThreadOnly();
}

// The request limited by "Advanced/Max Number of Threads", when it is set.
int32_t limitedBySetting(int32_t n) {
  SPtr<IDataStore> store("IDataStore");
  if (!store)
    return n;
  bool found = false;
  int value = store->getInt("Advanced/Max Number of Threads", &found);
  return found ? std::min<int32_t>(value, std::max<int32_t>(n, 1)) : n;
}

void threadEntry(void* object) { static_cast<KivThreadClass*>(object)->threadMain(); }

} // namespace

int32_t kivSpinCount() {
  static const int32_t count = [] {
    const char* text = std::getenv("KIV_SPIN_COUNT");
    return text ? int32_t(std::atoi(text)) : int32_t(-1);
  }();
  return count;
}

int32_t kivProcessorCount() {
  (void)processorsRead;
  return processors.load(std::memory_order_relaxed);
}

void setKivProcessorCount(int32_t count) {
  processors.store(std::max(count, 1), std::memory_order_relaxed);
}

int32_t effectiveThreadCount(int32_t n) {
  int32_t c = limitedBySetting(n);
  if (c < 2)
    return c;
  return managerSaysSingleThread() ? 1 : c;
}

bool isEffectivelySingleThreaded(int32_t n) { return effectiveThreadCount(n) == 1; }

//===- Locks -----------------------------------------------------------===//

KivCriticalSection::KivCriticalSection()
    : section_(kivplatform::newCriticalSection(kivSpinCount())) {}
KivCriticalSection::~KivCriticalSection() { kivplatform::deleteCriticalSection(section_); }
void KivCriticalSection::enter() { kivplatform::enterCriticalSection(section_); }
void KivCriticalSection::leave() { kivplatform::leaveCriticalSection(section_); }

KivMutex::KivMutex() {}

KivMutex::~KivMutex() { kivplatform::closeMutex(handle_.load()); }

bool KivMutex::adopt(kivplatform::Mutex* handle) {
  kivplatform::Mutex* none = nullptr;
  if (handle && handle_.compare_exchange_strong(none, handle))
    return true;
  kivplatform::closeMutex(handle);
  return false;
}

bool KivMutex::create(const char* name) {
  if (handle_.load())
    return false;
  return adopt(kivplatform::createMutex(name));
}

bool KivMutex::open(const char* name) {
  if (handle_.load())
    return false;
  return adopt(kivplatform::openMutex(name));
}

void KivMutex::lock() {
  if (!handle_.load())
    adopt(kivplatform::createMutex(nullptr));  // a loser's handle is closed again
  kivplatform::lockMutex(handle_.load());
}

void KivMutex::unlock() {
  if (kivplatform::Mutex* handle = handle_.load())
    kivplatform::unlockMutex(handle);
}

KivEvent::KivEvent() : handle_(kivplatform::newEvent(true)) {}
KivEvent::~KivEvent() { kivplatform::deleteEvent(handle_); }
void KivEvent::set() { kivplatform::setEvent(handle_); }
void KivEvent::reset() { kivplatform::resetEvent(handle_); }
void KivEvent::wait() { kivplatform::waitEvent(handle_, -1); }
bool KivEvent::isSet() { return kivplatform::waitEvent(handle_, 0); }
bool KivEvent::waitFor(double seconds) {
  return kivplatform::waitEvent(handle_, milliseconds(seconds));
}
void KivEvent::sleepOn(double seconds) {
  if (handle_)
    kivplatform::waitEvent(handle_, milliseconds(seconds));
}

KivCondition::KivCondition()
    : semaphore_(kivplatform::newSemaphore(0, 0x7fffffff)), allLeft_(kivplatform::newEvent(false)) {}

KivCondition::~KivCondition() {
  kivplatform::deleteSemaphore(semaphore_);
  kivplatform::deleteEvent(allLeft_);
}

// There is no single call that releases a mutex and waits on a semaphore
// here, so the two steps are taken separately; the semaphore keeps count, so
// no wake is lost in between.
void KivCondition::wait(KivMutex& mutex) {
  {
    KivLock guard(lock_);
    ++waiters_;
  }
  mutex.unlock();
  kivplatform::waitSemaphore(semaphore_, -1);
  bool lastOfBroadcast;
  {
    KivLock guard(lock_);
    --waiters_;
    lastOfBroadcast = broadcasting_ && waiters_ == 0;
  }
  if (lastOfBroadcast)
    kivplatform::setEvent(allLeft_);
  mutex.lock();
}

void KivCondition::signal() {
  int32_t waiting;
  {
    KivLock guard(lock_);
    waiting = waiters_;
  }
  if (waiting > 0)
    kivplatform::releaseSemaphore(semaphore_, 1);
}

void KivCondition::broadcast() {
  {
    KivLock guard(lock_);
    if (waiters_ == 0)
      return;
    broadcasting_ = 1;
    kivplatform::releaseSemaphore(semaphore_, waiters_);
  }
  kivplatform::waitEvent(allLeft_, -1);
  KivLock guard(lock_);
  broadcasting_ = 0;
}

//===- KivThreadClass --------------------------------------------------===//

// Owners join first. Should a thread still run here, it is joined, or let go
// when this destructor runs on it; it is never stopped by force, which could
// leave a lock held.
KivThreadClass::~KivThreadClass() {
  if (!thread_.running || !thread_.handle)
    return;
  if (thread_.detached || kivplatform::isCurrentThread(thread_.handle))
    kivplatform::detachThread(thread_.handle);
  else
    kivplatform::joinThread(thread_.handle);
  thread_.handle = nullptr;
  thread_.running = 0;
}

int KivThreadClass::threadMain() {
  run();
  return 0;
}

bool KivThreadClass::start(bool detached) {
  if (thread_.running)
    return false;
  uint32_t id = 0;
  kivplatform::Thread* handle = kivplatform::createThread(threadEntry, this, &id);
  thread_.running = handle ? 1 : 0;
  if (!handle)
    return false;
  thread_.id = id;
  thread_.detached = detached ? 1 : 0;
  if (detached) {
    kivplatform::detachThread(handle);
    thread_.handle = nullptr;
  } else {
    thread_.handle = handle;
  }
  return true;
}

bool KivThreadClass::join() {
  if (!thread_.running)
    return true;
  if (thread_.detached)
    return false;
  kivplatform::joinThread(thread_.handle);
  thread_.handle = nullptr;
  thread_.running = 0;
  return true;
}

void KivThreadClass::setThreadName(const char* name) {
  kivplatform::setThreadName(thread_.handle, name);
}

//===- KivLwBarrier ----------------------------------------------------===//

KivLwBarrier::KivLwBarrier() : condition_(kivplatform::newConditionVariable()) {}
KivLwBarrier::~KivLwBarrier() { kivplatform::deleteConditionVariable(condition_); }

void KivLwBarrier::arrive() {
  KivLock guard(lock_);
  --count_;
  kivplatform::wakeConditionVariable(condition_);
}

void KivLwBarrier::increment() {
  KivLock guard(lock_);
  ++count_;
}

void KivLwBarrier::setCount(int32_t n) {
  KivLock guard(lock_);
  count_ = n;
}

bool KivLwBarrier::waitUntil(int32_t limit) {
  lock_.enter();
  while (count_ > limit) {
    kivplatform::waitConditionVariable(condition_, lock_.handle());
    lock_.leave();
    if (!poll()) {
      onStop();
      return false;
    }
    lock_.enter();
  }
  lock_.leave();
  return true;
}

void KivLwBarrier::wake() {
  KivLock guard(lock_);
  kivplatform::wakeConditionVariable(condition_);
}

//===- KivThreadPoolWorker ---------------------------------------------===//

KivThreadPoolWorker::KivThreadPoolWorker(int32_t index) : index_(index) {}
KivThreadPoolWorker::~KivThreadPoolWorker() = default;

int KivThreadPoolWorker::threadMain() {
  setStarted(true);
  run();
  if (pool_)
    pool_->arrive();
  setFinished(true);
  return 0;
}

bool KivThreadPoolWorker::reportProgress(int32_t i, int32_t n) {
  if (!pool_)
    return true;
  if (n > 0)
    pool_->reportProgress(double(i) / double(n), index_);
  return !pool_->isCancelled();
}

bool KivThreadPoolWorker::reportFraction(double fraction) {
  if (!pool_)
    return true;
  pool_->reportProgress(fraction, index_);
  return !pool_->isCancelled();
}

float KivThreadPoolWorker::progress() {
  KivLock guard(lock_);
  return progress_;
}
bool KivThreadPoolWorker::started() {
  KivLock guard(lock_);
  return started_ != 0;
}
bool KivThreadPoolWorker::finished() {
  KivLock guard(lock_);
  return finished_ != 0;
}
bool KivThreadPoolWorker::joined() {
  KivLock guard(lock_);
  return joined_ != 0;
}
void KivThreadPoolWorker::setProgress(float value) {
  KivLock guard(lock_);
  progress_ = value;
}
void KivThreadPoolWorker::setStarted(bool value) {
  KivLock guard(lock_);
  started_ = value ? 1 : 0;
}
void KivThreadPoolWorker::setFinished(bool value) {
  KivLock guard(lock_);
  finished_ = value ? 1 : 0;
}
void KivThreadPoolWorker::setJoined(bool value) {
  KivLock guard(lock_);
  joined_ = value ? 1 : 0;
}

void KivThreadPoolWorker::bind(IKivThreadPool* pool, int32_t index, int32_t numThreads) {
  pool_ = pool;
  index_ = index;
  numThreads_ = numThreads;
}

//===- KivThreadPool ---------------------------------------------------===//

KivThreadPool::KivThreadPool(int32_t numWorkers, bool singleThreaded)
    : singleThreaded_(singleThreaded ? 1 : 0),
      workers_(new KivThreadPoolWorker*[std::max(numWorkers, 0)]()),
      numWorkers_(std::max(numWorkers, 0)),
      progress_(ProgressCallbackBase::progressService()) {
  if (!singleThreaded_) {
    if (numWorkers_ == 1) {
      singleThreaded_ = 1;
    } else {
      int32_t c = limitedBySetting(kivProcessorCount());
      if (c > 1 && managerSaysSingleThread())
        singleThreaded_ = 1;
      if (c == 1)
        singleThreaded_ = 1;
    }
  }
  setCount(numWorkers_);
}

KivThreadPool::~KivThreadPool() {
  if (ownsWorkers_)
    for (int32_t i = 0; i < numWorkers_; ++i)
      delete workers_[i];
  delete[] workers_;
}

void KivThreadPool::setWorker(int32_t index, KivThreadPoolWorker* worker) {
  if (index < 0 || index >= numWorkers_)
    return;  // outside the fixed slots: nothing to store it in
  workers_[index] = worker;
  if (worker)
    worker->bind(this, index, numWorkers_);
}

KivThreadPoolWorker* KivThreadPool::getWorker(int32_t index) {
  return index >= 0 && index < numWorkers_ ? workers_[index] : nullptr;
}

void KivThreadPool::deleteWorker(int32_t index) {
  if (index < 0 || index >= numWorkers_)
    return;
  delete workers_[index];
  workers_[index] = nullptr;
}

void KivThreadPool::deleteWorkers() {
  for (int32_t i = 0; i < numWorkers_; ++i)
    deleteWorker(i);
}

void KivThreadPool::setProgress(bool enable, IKivProgress* progress) {
  if (!enable)
    progress_ = nullptr;
  else
    progress_ = progress ? progress : ProgressCallbackBase::progressService();
}

void KivThreadPool::setProgressFrom(ProgressCallbackBase* object) {
  int32_t from = -1, to = -1;
  uint8_t flags = 0;
  if (object) {
    object->getRange(&from, &to);
    flags = object->getFlags();
  }
  if (object && from >= 0 && from < to && !(flags & 8)) {
    setProgress(true, nullptr);
    checkCancel_ = (flags & 2) ? 1 : 0;
    setProgressRange(from, to);
  } else {
    setProgress(false, nullptr);
    checkCancel_ = 0;
  }
}

void KivThreadPool::setProgressRange(int32_t from, int32_t to) {
  progressFrom_ = from;
  progressTo_ = to;
  cancelled_ = 0;
}

void KivThreadPool::reportProgress(double fraction, int32_t index) {
  if (!progress_)
    return;
  if (KivThreadPoolWorker* worker = getWorker(index))
    worker->setProgress(float(fraction));
  if (runningThreads_.load(std::memory_order_relaxed) == 1) {
    poll();
    return;
  }
  wake();
  if (checkCancel_ && progress_->isCancelled())
    cancelled_ = 1;
}

bool KivThreadPool::isCancelled() { return cancelled_ != 0; }

void KivThreadPool::arrive() {
  if (!singleThreaded_)
    KivLwBarrier::arrive();
}

bool KivThreadPool::poll() {
  if (progress_) {
    double mean = 0.0;
    for (int32_t i = 0; i < numWorkers_; ++i)
      if (workers_[i])
        mean += double(workers_[i]->progress()) / double(numWorkers_);
    double v = (double(progressFrom_) + mean * double(progressTo_ - progressFrom_)) * 0.01;
    v = std::clamp(v, 0.0, 1.0);
    if (!progress_->report(float(v)) && checkCancel_) {
      cancelled_ = 1;
      return false;
    }
  }
  for (int32_t i = 0; i < numWorkers_; ++i) {
    KivThreadPoolWorker* worker = workers_[i];
    if (worker && worker->finished() && !worker->joined()) {
      worker->join();
      worker->setJoined(true);
    }
  }
  return true;
}

bool KivThreadPool::onStop() {
  bool result = true;
  for (int32_t i = 0; i < numWorkers_; ++i) {
    KivThreadPoolWorker* worker = workers_[i];
    if (!worker || !worker->started() || worker->joined())
      continue;
    if (!worker->join()) {
      result = false;  // detached: nobody can wait for it
      continue;
    }
    worker->setJoined(true);
  }
  if (result && progress_)
    progress_->report(float(progressTo_) * 0.01f);
  return result;
}

void KivThreadPool::runDirect(int32_t first) {
  for (int32_t i = first; i < numWorkers_; ++i) {
    if (!workers_[i])
      continue;
    workers_[i]->run();
    if (cancelled_)
      break;
  }
}

void KivThreadPool::run(int32_t n) {
  // A run needs n >= 1 and a worker in every slot; otherwise nobody would
  // lower the count for the missing ones and run() would wait for ever.
  // Such a run is the caller's fault; it runs what there is on this thread
  // instead of hanging.
  bool filled = true;
  for (int32_t i = 0; i < numWorkers_; ++i)
    filled = filled && workers_[i] != nullptr;
  if (n < 1 || !filled) {
    runningThreads_ = 1;
    runDirect(0);
    return;
  }
  const int32_t m = std::min(n, numWorkers_);
  runningThreads_ = (singleThreaded_ || managerSaysSingleThread()) ? 1 : m;
  const bool parallel = n > 1;
  if (runningThreads_ <= 1) {
    if (parallel)
      KivMM::enterParallel();
    runDirect(0);
    if (parallel)
      KivMM::leaveParallel();
    return;
  }
  if (parallel)
    KivMM::enterParallel();
  setCount(m);

  // A worker that cannot get a thread, and all after it, run here. The count
  // is lowered by the workers that will never arrive, rather than set, so
  // that arrivals already made are not lost.
  auto fallBack = [this](int32_t k, int32_t inFlightSlots) {
    runningThreads_ = k + 1;
    singleThreaded_ = (k + 1 == 1) ? 1 : 0;
    {
      KivLock guard(lock_);
      count_ -= inFlightSlots;
    }
    runDirect(k);
  };

  // A worker that runs again starts from clear flags.
  auto startWorker = [](KivThreadPoolWorker* worker) {
    if (worker->isRunning())
      return false;
    worker->setStarted(false);
    worker->setFinished(false);
    worker->setJoined(false);
    return worker->start(false);
  };

  bool fellBack = false;
  for (int32_t k = 0; k < m; ++k) {
    if (!startWorker(workers_[k])) {
      fallBack(k, m - k);
      fellBack = true;
      break;
    }
  }
  for (int32_t k = m; !fellBack && k < numWorkers_; ++k) {
    // A failed poll() has run onStop(); the loop goes on as if a worker
    // had arrived.
    waitUntil(m - 1);
    if (cancelled_) {
      if (parallel)
        KivMM::leaveParallel();
      return;
    }
    increment();
    if (!startWorker(workers_[k])) {
      fallBack(k, 1);
      fellBack = true;
    }
  }
  waitUntil(0);
  onStop();
  if (parallel)
    KivMM::leaveParallel();
}
