//===- kivplatform_posix.cpp - The operating system on Linux ----------------===//
//
// How each figure of the Windows status record is obtained here:
//
//  totalPhysical      sysinfo totalram (× mem_unit).
//  availablePhysical  MemAvailable of /proc/meminfo: what can be had without
//                     swapping, page cache included. Kernels without that line
//                     give sysinfo freeram + bufferram.
//  totalPageFile      SwapTotal. Windows counts physical memory plus the page
//  availablePageFile  file here (the commit limit); we give swap alone, so that
//                     the derived "swap" figures mean swap, which is what
//                     every caller takes them for. SwapFree for the available.
//  totalVirtual       The address-space limit of RLIMIT_AS when one is set,
//                     else the user address space of a 64-bit process
//                     (2^47 bytes, as a 64-bit Windows process also reports).
//  availableVirtual   totalVirtual less VmSize of /proc/self/status.
//  availableExtended  Always 0, as on Windows.
//  working set        VmRSS and VmHWM of /proc/self/status; getrusage's
//                     ru_maxrss stands in for both if that file is unreadable.
//  process id         getpid; counter clock_gettime(CLOCK_MONOTONIC) in ns.
//  message box        A block on stderr: the title on one line, the text below.
//  delete on close    open, then unlink at once: the name is gone from the
//                     directory while the open handle keeps the data, so a
//                     process that dies mid-spill leaves nothing behind.
//
//===----------------------------------------------------------------------===//
#include "kivbasictypes/kivplatform.h"

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <map>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysinfo.h>
#include <unistd.h>

namespace kivplatform {

namespace {

constexpr uint64_t kUserAddressSpace = uint64_t(1) << 47;

// The value in kB of a "Name:   1234 kB" line of a /proc file, in bytes.
bool procField(const char* file, const char* name, uint64_t* bytes) {
  std::FILE* f = std::fopen(file, "r");
  if (!f)
    return false;
  char line[256];
  size_t nameLength = std::strlen(name);
  bool found = false;
  while (std::fgets(line, sizeof line, f)) {
    if (std::strncmp(line, name, nameLength) != 0 || line[nameLength] != ':')
      continue;
    unsigned long long kb = 0;
    if (std::sscanf(line + nameLength + 1, "%llu", &kb) == 1) {
      *bytes = uint64_t(kb) * 1024;
      found = true;
    }
    break;
  }
  std::fclose(f);
  return found;
}

} // namespace

bool memoryStatus(MemoryStatus* out) {
  struct sysinfo info;
  if (sysinfo(&info) != 0)
    return false;
  uint64_t unit = info.mem_unit ? info.mem_unit : 1;
  MemoryStatus s;
  s.totalPhysical = uint64_t(info.totalram) * unit;
  if (!procField("/proc/meminfo", "MemAvailable", &s.availablePhysical))
    s.availablePhysical = (uint64_t(info.freeram) + uint64_t(info.bufferram)) * unit;
  s.totalPageFile = uint64_t(info.totalswap) * unit;
  s.availablePageFile = uint64_t(info.freeswap) * unit;

  s.totalVirtual = kUserAddressSpace;
  struct rlimit limit;
  if (getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY &&
      uint64_t(limit.rlim_cur) < kUserAddressSpace)
    s.totalVirtual = uint64_t(limit.rlim_cur);
  uint64_t used = 0;
  procField("/proc/self/status", "VmSize", &used);
  s.availableVirtual = used < s.totalVirtual ? s.totalVirtual - used : 0;
  s.availableExtendedVirtual = 0;
  *out = s;
  return true;
}

bool processWorkingSet(uint64_t* current, uint64_t* peak) {
  uint64_t rss = 0;
  uint64_t hwm = 0;
  if (procField("/proc/self/status", "VmRSS", &rss) &&
      procField("/proc/self/status", "VmHWM", &hwm)) {
    *current = rss;
    *peak = hwm;
    return true;
  }
  struct rusage usage;
  if (getrusage(RUSAGE_SELF, &usage) != 0)
    return false;
  *current = *peak = uint64_t(usage.ru_maxrss) * 1024;
  return true;
}

uint32_t processId() { return static_cast<uint32_t>(getpid()); }

uint64_t highResolutionCounter() {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return uint64_t(now.tv_sec) * 1000000000u + uint64_t(now.tv_nsec);
}

void showFatalMessage(const char* title, const char* text) {
  std::fprintf(stderr, "%s\n%s\n", title ? title : "", text ? text : "");
  std::fflush(stderr);
}

int openDeleteOnClose(const char* path) {
  int fd;
  do
    fd = open(path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  while (fd < 0 && errno == EINTR);
  if (fd < 0)
    return -1;
  unlink(path);
  return fd;
}

int64_t writeFile(int handle, const void* data, int64_t bytes) {
  const char* p = static_cast<const char*>(data);
  int64_t done = 0;
  while (done < bytes) {
    ssize_t n = write(handle, p + done, static_cast<size_t>(bytes - done));
    if (n < 0 && errno == EINTR)
      continue;
    if (n <= 0)
      break;
    done += n;
  }
  return done;
}

int64_t readFile(int handle, void* data, int64_t bytes) {
  char* p = static_cast<char*>(data);
  int64_t done = 0;
  while (done < bytes) {
    ssize_t n = read(handle, p + done, static_cast<size_t>(bytes - done));
    if (n < 0 && errno == EINTR)
      continue;
    if (n <= 0)
      break;
    done += n;
  }
  return done;
}

bool rewindFile(int handle) { return lseek(handle, 0, SEEK_SET) == 0; }

void closeFile(int handle) {
  if (handle >= 0)
    close(handle);
}

namespace {

int whence(int origin) { return origin == 0 ? SEEK_SET : origin == 1 ? SEEK_CUR : SEEK_END; }

} // namespace

std::FILE* openStream(const char* path, const char* mode) {
  if (!path || !*path)
    return nullptr;
  return std::fopen(path, mode);
}

// off_t is 64 bits on every Linux target we build for.
static_assert(sizeof(off_t) == 8, "64-bit file offsets");

bool seekStream(std::FILE* file, int64_t offset, int origin) {
  return file && fseeko(file, static_cast<off_t>(offset), whence(origin)) == 0;
}

int64_t tellStream(std::FILE* file) { return file ? int64_t(ftello(file)) : -1; }

bool syncDirectory(const char* path) {
  int fd = ::open(path && *path ? path : ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0)
    return false;
  int r;
  do
    r = fsync(fd);
  while (r != 0 && errno == EINTR);
  ::close(fd);
  return r == 0 || errno == EINVAL;
}

bool commitStream(std::FILE* file) {
  if (!file || std::fflush(file) != 0)
    return false;
  int r;
  do
    r = fsync(fileno(file));
  while (r != 0 && errno == EINTR);
  // Some files (pipes, character devices) cannot be synced; their data is
  // handed over all the same.
  return r == 0 || errno == EINVAL || errno == EROFS;
}

bool isReadable(const char* path) { return path && *path && access(path, R_OK) == 0; }

bool removeFile(const char* path) { return path && *path && unlink(path) == 0; }

int openDescriptor(const char* path, bool read, bool write, bool create, bool truncate,
                   bool append) {
  if (!path || !*path || (!read && !write))
    return -1;
  int flags = O_CLOEXEC | (read && write ? O_RDWR : write ? O_WRONLY : O_RDONLY);
  if (create)
    flags |= O_CREAT;
  if (truncate)
    flags |= O_TRUNC;
  if (append)
    flags |= O_APPEND;
  int fd;
  do
    fd = open(path, flags, S_IRUSR | S_IWUSR);
  while (fd < 0 && errno == EINTR);
  return fd;
}

int64_t readOnce(int handle, void* data, int64_t bytes) {
  ssize_t n;
  do
    n = read(handle, data, static_cast<size_t>(bytes));
  while (n < 0 && errno == EINTR);
  return n;
}

int64_t writeOnce(int handle, const void* data, int64_t bytes) {
  ssize_t n;
  do
    n = write(handle, data, static_cast<size_t>(bytes));
  while (n < 0 && errno == EINTR);
  return n;
}

int64_t seekDescriptor(int handle, int64_t offset, int origin) {
  return int64_t(lseek(handle, static_cast<off_t>(offset), whence(origin)));
}

} // namespace kivplatform

//===- Threads and locks ------------------------------------------------===//
//
// Threads are std::thread; the thread id is the kernel's gettid, which fits
// in 32 bits. Locks, conditions, events and semaphores are built on the
// standard mutex and condition variables, so thread checkers understand them.
// Named mutexes live in a process-wide table, counted by their openers.


namespace kivplatform {

namespace {

template <class Lock, class Pred>
bool waitOn(std::condition_variable& cv, Lock& lock, int64_t milliseconds, Pred pred) {
  if (milliseconds < 0) {
    cv.wait(lock, pred);
    return true;
  }
  return cv.wait_for(lock, std::chrono::milliseconds(milliseconds), pred);
}

} // namespace

int32_t processorCount() {
  long n = sysconf(_SC_NPROCESSORS_ONLN);
  return n < 1 ? 1 : int32_t(n);
}

uint32_t currentThreadId() { return uint32_t(syscall(SYS_gettid)); }

struct Thread {
  std::thread thread;
};

namespace {

struct ThreadStart {
  void (*entry)(void*);
  void* arg;
  std::mutex lock;
  std::condition_variable ready;
  bool haveId = false;
  uint32_t id = 0;
};

} // namespace

Thread* createThread(void (*entry)(void* arg), void* arg, uint32_t* id) {
  ThreadStart start;
  start.entry = entry;
  start.arg = arg;
  auto* thread = new Thread;
  try {
    thread->thread = std::thread([&start] {
      void (*entry)(void*) = start.entry;
      void* arg = start.arg;
      {
        // Notified under the lock: the creator cannot leave, and destroy
        // `start`, before this block has let go of it.
        std::lock_guard<std::mutex> guard(start.lock);
        start.id = currentThreadId();
        start.haveId = true;
        start.ready.notify_one();
      }
      // `start` may be gone from here on.
      entry(arg);
    });
  } catch (const std::system_error&) {
    delete thread;
    return nullptr;
  }
  std::unique_lock<std::mutex> guard(start.lock);
  start.ready.wait(guard, [&start] { return start.haveId; });
  if (id)
    *id = start.id;
  return thread;
}

void joinThread(Thread* thread) {
  if (!thread)
    return;
  if (thread->thread.joinable())
    thread->thread.join();
  delete thread;
}

void detachThread(Thread* thread) {
  if (!thread)
    return;
  if (thread->thread.joinable())
    thread->thread.detach();
  delete thread;
}

bool isCurrentThread(const Thread* thread) {
  return thread && thread->thread.get_id() == std::this_thread::get_id();
}

void setThreadName(Thread* thread, const char* name) {
  if (!thread || !name || !thread->thread.joinable())
    return;
  char shortName[16];  // the kernel keeps 15 bytes
  std::snprintf(shortName, sizeof shortName, "%s", name);
  pthread_setname_np(thread->thread.native_handle(), shortName);
}

struct CriticalSection {
  std::recursive_mutex mutex;
  int32_t spinCount;
};

CriticalSection* newCriticalSection(int32_t spinCount) {
  auto* section = new CriticalSection;
  section->spinCount = spinCount;
  return section;
}

void deleteCriticalSection(CriticalSection* section) { delete section; }

void enterCriticalSection(CriticalSection* section) {
  for (int32_t i = 0; i < section->spinCount; ++i)
    if (section->mutex.try_lock())
      return;
  section->mutex.lock();
}

void leaveCriticalSection(CriticalSection* section) { section->mutex.unlock(); }

struct ConditionVariable {
  std::condition_variable_any condition;
};

ConditionVariable* newConditionVariable() { return new ConditionVariable; }
void deleteConditionVariable(ConditionVariable* condition) { delete condition; }

void waitConditionVariable(ConditionVariable* condition, CriticalSection* section) {
  condition->condition.wait(section->mutex);
}

void wakeConditionVariable(ConditionVariable* condition) { condition->condition.notify_one(); }

struct Event {
  std::mutex lock;
  std::condition_variable changed;
  bool signalled = false;
  bool manualReset;
};

Event* newEvent(bool manualReset) {
  auto* event = new Event;
  event->manualReset = manualReset;
  return event;
}

void deleteEvent(Event* event) { delete event; }

// Waiters are woken under the lock: a waiter that returns may destroy the
// event at once, which must not happen while the setter still touches it.
void setEvent(Event* event) {
  std::lock_guard<std::mutex> guard(event->lock);
  event->signalled = true;
  if (event->manualReset)
    event->changed.notify_all();
  else
    event->changed.notify_one();
}

void resetEvent(Event* event) {
  std::lock_guard<std::mutex> guard(event->lock);
  event->signalled = false;
}

bool waitEvent(Event* event, int64_t milliseconds) {
  std::unique_lock<std::mutex> guard(event->lock);
  if (!waitOn(event->changed, guard, milliseconds, [event] { return event->signalled; }))
    return false;
  if (!event->manualReset)
    event->signalled = false;
  return true;
}

struct Semaphore {
  std::mutex lock;
  std::condition_variable available;
  int32_t count;
  int32_t maximum;
};

Semaphore* newSemaphore(int32_t initial, int32_t maximum) {
  auto* semaphore = new Semaphore;
  semaphore->count = initial;
  semaphore->maximum = maximum;
  return semaphore;
}

void deleteSemaphore(Semaphore* semaphore) { delete semaphore; }

bool releaseSemaphore(Semaphore* semaphore, int32_t count) {
  std::lock_guard<std::mutex> guard(semaphore->lock);
  if (count < 1 || count > semaphore->maximum - semaphore->count)
    return false;
  semaphore->count += count;
  semaphore->available.notify_all();
  return true;
}

bool waitSemaphore(Semaphore* semaphore, int64_t milliseconds) {
  std::unique_lock<std::mutex> guard(semaphore->lock);
  if (!waitOn(semaphore->available, guard, milliseconds,
              [semaphore] { return semaphore->count > 0; }))
    return false;
  --semaphore->count;
  return true;
}

struct Mutex {
  std::recursive_mutex mutex;
  std::string name;
  int32_t openers = 1;
};

namespace {

std::mutex& namedMutexLock() {
  static std::mutex lock;
  return lock;
}

std::map<std::string, Mutex*>& namedMutexes() {
  static auto* table = new std::map<std::string, Mutex*>;
  return *table;
}

} // namespace

Mutex* createMutex(const char* name) {
  if (!name || !*name)
    return new Mutex;
  std::lock_guard<std::mutex> guard(namedMutexLock());
  Mutex*& entry = namedMutexes()[name];
  if (entry) {
    ++entry->openers;
    return entry;
  }
  entry = new Mutex;
  entry->name = name;
  return entry;
}

Mutex* openMutex(const char* name) {
  if (!name || !*name)
    return nullptr;
  std::lock_guard<std::mutex> guard(namedMutexLock());
  auto found = namedMutexes().find(name);
  if (found == namedMutexes().end())
    return nullptr;
  ++found->second->openers;
  return found->second;
}

void closeMutex(Mutex* mutex) {
  if (!mutex)
    return;
  if (mutex->name.empty()) {
    delete mutex;
    return;
  }
  std::lock_guard<std::mutex> guard(namedMutexLock());
  if (--mutex->openers == 0) {
    namedMutexes().erase(mutex->name);
    delete mutex;
  }
}

void lockMutex(Mutex* mutex) { mutex->mutex.lock(); }
void unlockMutex(Mutex* mutex) { mutex->mutex.unlock(); }

} // namespace kivplatform
