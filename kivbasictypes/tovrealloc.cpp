//===- tovrealloc.cpp - Guarded allocation --------------------------------===//
#include "kivbasictypes/tovrealloc.h"

#include "core/classwalk.h"
#include "core/idatastore.h"
#include "core/ikiverrorservice.h"
#include "core/kivassert.h"
#include "core/kivptr.h"
#include "core/servicecache.h"
#include "kivbasictypes/ikivmmanager.h"
#include "kivbasictypes/imemchecker.h"
#include "kivbasictypes/kivcstring.h"
#include "kivbasictypes/kivplatform.h"
#include "kivbasictypes/kivstring.h"
#include "kivbasictypes/messageformat.h"
#include "kivbasictypes/temppath.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr const char* kSourcePath = "kivbasictypes/tovrealloc";
// The memory manager counts in pages of 24 kilobytes.
constexpr int64_t kManagerPageBytes = 24576;
constexpr int64_t kManagerPageKilobytes = 24;
// What the address-space queries give when the system cannot be asked.
constexpr int64_t kUnknownAddressSpace = 1843200;
constexpr const char* kOutOfMemoryText =
    "While running this function, you have run out of memory.\n"
    "The application will close. After restarting, please read\n"
    "the online help about \"Memory Optimization\".";

// ---------------------------------------------------------------------------
// The plain allocator, with the test seam in front of it.

std::atomic<TovAllocFailureInjector> gInjector{nullptr};
std::atomic<void*> gInjectorContext{nullptr};

bool injectedFailure(int64_t bytes) {
  TovAllocFailureInjector fail = gInjector.load(std::memory_order_acquire);
  return fail && fail(gInjectorContext.load(std::memory_order_acquire), bytes);
}

// Sizes are products of two 32-bit figures. They are kept in 64 bits so that
// a product beyond 4 GiB cannot wrap round to a small positive size; anything
// that does not fit a signed 32-bit size is refused like a failed allocation,
// which is what a 32-bit signed size computation amounts to for such blocks.
int64_t byteSize(int32_t elementSize, int64_t count) { return int64_t(elementSize) * count; }

bool refusedSize(int64_t bytes) { return bytes < 0 || bytes > INT32_MAX; }

void* plainMalloc(int64_t bytes) {
  if (refusedSize(bytes) || injectedFailure(bytes))
    return nullptr;
  return std::malloc(static_cast<size_t>(bytes));
}

// Null on failure; the block is then untouched.
void* plainRealloc(void* block, int64_t bytes) {
  if (refusedSize(bytes) || injectedFailure(bytes))
    return nullptr;
  // realloc to 0 would free the block; a block of one byte stands for none.
  return std::realloc(block, static_cast<size_t>(std::max<int64_t>(bytes, 1)));
}

// ---------------------------------------------------------------------------
// Services.

KivMM::IKivMManager* memoryManager() {
  // The look-up runs under the cache's own lock; later reads take none.
  static CachedService<KivMM::IKivMManager> manager("IKivMManager");
  return manager.get();
}

IMemChecker* activeMemChecker() {
  static CachedService<IMemChecker> checker("IMemChecker");
  IMemChecker* c = checker.get();
  return c && c->isActive() ? c : nullptr;
}

IGfxRenderer* renderer() {
  static CachedService<IGfxRenderer> gfx("IGfxRenderer");
  return gfx.get();
}

// tovMalloc's second rung: while the manager says it is worth asking, let it
// give memory back and try again.
void* mallocAfterRelease(int64_t bytes) {
  KivMM::IKivMManager* manager = memoryManager();
  while (manager && manager->releaseMemory()) {
    if (void* p = plainMalloc(bytes))
      return p;
  }
  return nullptr;
}

void* mallocAskingManager(int64_t bytes) {
  if (void* p = plainMalloc(bytes))
    return p;
  return mallocAfterRelease(bytes);
}

// Resizes to `newCount` elements and clears what lies past the old contents.
bool tryGrow(void** inOut, int32_t elementSize, int32_t curSize, int64_t newCount) {
  int64_t oldBytes = byteSize(elementSize, curSize);
  int64_t newBytes = byteSize(elementSize, newCount);
  void* p = plainRealloc(*inOut, newBytes);
  if (!p)
    return false;
  if (newBytes > oldBytes)
    std::memset(static_cast<char*>(p) + oldBytes, 0, static_cast<size_t>(newBytes - oldBytes));
  *inOut = p;
  return true;
}

// The end of the spill: the file goes first, then the report, then the process.
[[noreturn]] void failSpill(int file, int code, int64_t attemptedBytes) {
  kivplatform::closeFile(file);
  writeMemoryLog(attemptedBytes);
  stopForMemory(code);
}

// The last resort: park the old contents in a file so that the old block can
// be freed before the new one is asked for.
int32_t growThroughFile(void** inOut, int32_t elementSize, int32_t curSize, int32_t newCount) {
  int64_t oldBytes = byteSize(elementSize, curSize);
  int64_t newBytes = byteSize(elementSize, newCount);

  KivString path;
  temporaryPath(path);
  int file = kivplatform::openDeleteOnClose(path.utf8Text());
  if (file < 0)
    failSpill(file, -1, newBytes);
  if (kivplatform::writeFile(file, *inOut, oldBytes) != oldBytes)
    failSpill(file, -2, newBytes);

  std::free(*inOut);
  *inOut = nullptr;
  void* p = mallocAskingManager(newBytes);
  if (!p)
    failSpill(file, -4, newBytes);
  if (!kivplatform::rewindFile(file) || kivplatform::readFile(file, p, oldBytes) != oldBytes)
    failSpill(file, -3, newBytes);
  kivplatform::closeFile(file);

  std::memset(static_cast<char*>(p) + oldBytes, 0, static_cast<size_t>(newBytes - oldBytes));
  *inOut = p;
  return newCount;
}

KivString withFileName(KivString folder, const char* name) {
  if (!folder.isEmpty()) {
    KivChar last = folder.at(folder.length() - 1);
    if (last != u'/' && last != u'\\')
      folder.append(KivChar(u'/'));
  }
  folder.append(name);
  return folder;
}

uint64_t saturatingSub(uint64_t a, uint64_t b) { return a > b ? a - b : 0; }

// ---------------------------------------------------------------------------
// The published memory limit.

class MemLimitListener : public TovDataReceiver {
public:
  MemLimitListener() {
    kivplatform::MemoryStatus status;
    if (kivplatform::memoryStatus(&status))
      limit.store(static_cast<int64_t>(std::max(status.totalPhysical, status.totalVirtual)));
    SPtr<IDataStore> store("IDataStore");
    if (!store)
      return;
    store->addListener(kKey, static_cast<IKivUnknown*>(this));
    // A key the store does not hold leaves the system's figure in place
    // rather than publishing a limit of 0.
    bool found = false;
    double value = store->getDouble(kKey, &found);
    if (found)
      limit.store(static_cast<int64_t>(value));
  }

  void queryInterface(const char* name, void** out) override {
    if (!name) {
      KivClassWalk* walk = kivWalkOf(out);
      kivWalkClass(walk, "MemLimitListener");
      kivWalkEnd(walk);
      kivWalkInterface(walk, "IKivDataReceiver");
      return;
    }
    *out = nullptr;
    if (kivAnswer(name, "MemLimitListener", this, out) ||
        kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
      return;
    kivAnswer(name, "IKivDataReceiver", static_cast<IKivDataReceiver*>(this), out);
  }
  const char* className() const override { return "MemLimitListener"; }

  void receiveDouble(const char* key, double value) override {
    if (key && std::strcmp(key, kKey) == 0)
      limit.store(static_cast<int64_t>(value));
  }

  static constexpr const char* kKey = "Memory/MemLimit";
  // Bytes; starts as a sign-extended 0x80000000 until the system is asked.
  std::atomic<int64_t> limit{static_cast<int64_t>(0xFFFFFFFF80000000ull)};
};

// Made on first use and never destroyed: the settings store may still hold
// it at process end.
MemLimitListener& memLimitListener() {
  static MemLimitListener* listener = new MemLimitListener;
  return *listener;
}

} // namespace

// ---------------------------------------------------------------------------
// Allocation.

void setTovAllocFailureInjector(TovAllocFailureInjector fail, void* context) {
  gInjectorContext.store(context, std::memory_order_release);
  gInjector.store(fail, std::memory_order_release);
}

int32_t tovMalloc(void** out, int32_t elementSize, int32_t count) {
  int64_t bytes = byteSize(elementSize, count);
  void* p = plainMalloc(bytes);
  if (p || bytes == 0) {
    *out = p;
    return count;
  }
  p = mallocAfterRelease(bytes);
  if (!p)
    tovOutOfMemory(bytes);
  *out = p;
  return count;
}

int32_t tovRealloc(void** inOut, int32_t elementSize, int32_t curSize, int32_t minNewSize,
                   uint32_t maxNewSize) {
  if (curSize == minNewSize)
    return curSize;

  if ((!*inOut || curSize == 0) && minNewSize > 0) {
    // A block of no elements that the caller still holds has nothing to keep.
    if (*inOut) {
      std::free(*inOut);
      *inOut = nullptr;
    }
    void* p = nullptr;
    tovMalloc(&p, elementSize, minNewSize);
    // Cleared like every other growth: all of it lies past the old contents.
    if (p)
      std::memset(p, 0, static_cast<size_t>(byteSize(elementSize, minNewSize)));
    *inOut = p;
    return minNewSize;
  }

  int64_t m = maxNewSize == kTovNoMax ? int64_t(minNewSize)
                                      : std::min<int64_t>(maxNewSize, INT32_MAX);
  if (m < minNewSize) {
    kivAssert("maxNewSize >= minNewSize", kSourcePath, __LINE__);
    m = minNewSize;
  }

  if (m < curSize) {
    if (m == 0) {
      std::free(*inOut);
      *inOut = nullptr;
      return 0;
    }
    // A shrink that the allocator refuses keeps the larger block, which holds
    // m elements all the same.
    if (void* p = plainRealloc(*inOut, byteSize(elementSize, m)))
      *inOut = p;
    return static_cast<int32_t>(m);
  }

  if (minNewSize <= curSize)
    return curSize;
  if (!(minNewSize > curSize && m >= minNewSize))
    kivAssert("minNewSize > curSize && maxNewSize >= minNewSize", kSourcePath, __LINE__);

  if (tryGrow(inOut, elementSize, curSize, m))
    return static_cast<int32_t>(m);

  // Settle for less: halfway to the minimum in each of seven rounds, the bare
  // minimum only in the last. From the third round on, the manager is asked
  // for the pages the growth needs (and one more try). A false answer of
  // releaseMemory() means it is not asked again in this call; the resize
  // after that answer is still tried, since the call may have freed memory.
  KivMM::IKivMManager* manager = memoryManager();
  bool askManager = manager != nullptr;
  for (int k = 7; k >= 0 && m != minNewSize; --k) {
    m = k > 0 ? (m + minNewSize) / 2 : minNewSize;
    if (tryGrow(inOut, elementSize, curSize, m))
      return static_cast<int32_t>(m);
    if (k > 5 || !askManager)
      continue;
    int64_t pages =
        (byteSize(elementSize, m) - byteSize(elementSize, curSize)) / kManagerPageBytes + 1;
    for (int64_t i = 0; i < pages + 1 && askManager; ++i) {
      askManager = manager->releaseMemory();
      if (tryGrow(inOut, elementSize, curSize, m))
        return static_cast<int32_t>(m);
    }
  }

  return growThroughFile(inOut, elementSize, curSize, static_cast<int32_t>(m));
}

void tovFree(void* block) { std::free(block); }

// ---------------------------------------------------------------------------
// The end of the road.

void writeMemoryLog(int64_t attempted) {
  KivString folder;
  {
    SPtr<IDataStore> store("IDataStore");
    if (store)
      folder = store->getString("Directories/Logs Directory", nullptr);
  }
  // Without a logs folder the report goes to the current directory: an
  // out-of-memory report is worth more than a tidy working folder.
  KivString path = withFileName(folder, "memory.log");
  std::FILE* f = std::fopen(path.utf8Text(), "w");
  if (!f)
    return;

  uint64_t sysFree = 0, sysTotal = 0, swapFree = 0, swapTotal = 0;
  getMemoryStatus(&sysFree, &sysTotal, &swapFree, &swapTotal, 1024);
  if (attempted != 0)
    std::fprintf(f, "attempted:        %7lldb\n\n", static_cast<long long>(attempted));
  std::fprintf(f, "system free:      %7llu", static_cast<unsigned long long>(sysFree));
  std::fprintf(f, "k\nsystem total:     %7llu", static_cast<unsigned long long>(sysTotal));
  std::fprintf(f, "k\nswap free:        %7llu", static_cast<unsigned long long>(swapFree));
  std::fprintf(f, "k\nswap total:       %7lluk\n\n", static_cast<unsigned long long>(swapTotal));
  if (KivMM::IKivMManager* manager = memoryManager()) {
    std::fprintf(f, "kivmm core now:   %7lldk\n", manager->getCoreNow() * kManagerPageKilobytes);
    std::fprintf(f, "kivmm core limit: %7lldk\n", manager->getCoreLimit() * kManagerPageKilobytes);
    std::fprintf(f, "kivmm swap now:   %7lldk\n", manager->getSwapNow() * kManagerPageKilobytes);
    std::fprintf(f, "kivmm swap limit: %7lldk\n", manager->getSwapLimit() * kManagerPageKilobytes);
  } else {
    std::fprintf(f, "kivmm not available\n");
  }
  std::fprintf(f, "\n");
  std::fclose(f);
}

// Code -4, "the new block could not be had", for callers outside this file
// whose allocation failed.
void tovOutOfMemory(int64_t size) {
  writeMemoryLog(size);
  stopForMemory(-4);
}

void stopForMemory(int code) {
  int useErrorService = 0;
  SPtr<IKivErrorService> errorService;
  {
    SPtr<IDataStore> store("IDataStore");
    if (store)
      useErrorService = store->getInt("Memory/UseErrorService", nullptr);
  }
  if (useErrorService != 0)
    errorService = SPtr<IKivErrorService>("IKivErrorService");

  // A host that asked for its error service but has none wants no box.
  if ((useErrorService == 0 || errorService) && code >= -5 && code <= -1) {
    KivString message;
    translateMessage(message, kOutOfMemoryText);
    IGfxRenderer* gfx = renderer();
    if (gfx)
      gfx->beforeFatalMessage();
    if (errorService) {
      ErrorOptions options;
      options.modal = 1;
      options.fatal = 1;
      errorService->reportError(message, options, KivCString::view("realloc"));
    } else {
      kivplatform::showFatalMessage("Out of Memory", message.utf8Text());
    }
    if (gfx)
      gfx->afterFatalMessage();
  }
  std::exit(-1);
}

// ---------------------------------------------------------------------------
// Memory figures.

int64_t getMemLimit() { return memLimitListener().limit.load(); }

uint32_t getMemoryStatus(uint64_t* sysFree, uint64_t* sysTotal, uint64_t* swapFree,
                         uint64_t* swapTotal, uint64_t unit) {
  if (IMemChecker* checker = activeMemChecker())
    return checker->getStatus(sysFree, sysTotal, swapFree, swapTotal, unit);
  kivplatform::MemoryStatus s;
  if (!kivplatform::memoryStatus(&s))
    return 0xFFFFFFFFu;
  if (unit == 0)
    unit = 1;
  uint64_t swapTotalBytes =
      std::min(s.totalPageFile, saturatingSub(s.totalVirtual, s.totalPhysical));
  uint64_t swapFreeBytes =
      std::min({s.availablePageFile, saturatingSub(s.availableVirtual, s.availablePhysical),
                swapTotalBytes});
  *sysTotal = s.totalPhysical / unit;
  *sysFree = s.availablePhysical / unit;
  *swapTotal = swapTotalBytes / unit;
  *swapFree = swapFreeBytes / unit;
  return 0;
}

int64_t getAvailableMemory(double swapShare, uint64_t unit) {
  memLimitListener();
  uint64_t sysFree = 0, sysTotal = 0, swapFree = 0, swapTotal = 0;
  if (getMemoryStatus(&sysFree, &sysTotal, &swapFree, &swapTotal, unit) >= 0xFFFFFFFFu)
    return -1;
  return static_cast<int64_t>(double(sysFree) + double(swapFree) * swapShare);
}

int64_t getFreePhysicalMemory(uint64_t unit) {
  memLimitListener();
  uint64_t sysFree = 0, sysTotal = 0, swapFree = 0, swapTotal = 0;
  if (getMemoryStatus(&sysFree, &sysTotal, &swapFree, &swapTotal, unit) >= 0xFFFFFFFFu)
    return -1;
  return static_cast<int64_t>(sysFree);
}

int64_t getFreeAddressSpace(double swapShare, uint64_t unit) {
  if (unit == 0)
    unit = 1;
  kivplatform::MemoryStatus s;
  if (!kivplatform::memoryStatus(&s))
    return kUnknownAddressSpace / static_cast<int64_t>(unit);
  uint64_t m = std::min(s.availablePhysical, s.availableVirtual + s.availableExtendedVirtual);
  if (swapShare == 0)
    return static_cast<int64_t>(m / unit);
  return static_cast<int64_t>((double(s.availablePageFile) * swapShare + double(m)) /
                              double(unit));
}

int64_t getFreeVirtual(uint64_t unit) {
  if (unit == 0)
    unit = 1;
  kivplatform::MemoryStatus s;
  if (!kivplatform::memoryStatus(&s))
    return kUnknownAddressSpace / static_cast<int64_t>(unit);
  return static_cast<int64_t>(s.availableVirtual / unit);
}

int64_t getProcessMemory(uint64_t unit) {
  if (IMemChecker* checker = activeMemChecker())
    return checker->getProcessMemory(unit);
  if (unit == 0)
    unit = 1;
  uint64_t current = 0, peak = 0;
  if (kivplatform::processWorkingSet(&current, &peak))
    return static_cast<int64_t>(current / unit);
  kivplatform::MemoryStatus s;
  if (kivplatform::memoryStatus(&s))
    return static_cast<int64_t>(saturatingSub(s.totalVirtual, s.availableVirtual) / unit);
  return -1;
}

bool getProcessWorkingSet(uint64_t* current, uint64_t* peak, uint64_t unit) {
  if (unit == 0)
    unit = 1;
  uint64_t c = 0, p = 0;
  if (!kivplatform::processWorkingSet(&c, &p))
    return false;
  *current = c / unit;
  *peak = p / unit;
  return true;
}
