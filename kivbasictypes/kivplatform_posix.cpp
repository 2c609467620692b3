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
#include <cstdio>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
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
