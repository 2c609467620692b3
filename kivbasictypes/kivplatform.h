//===- kivplatform.h - What the system needs of the operating system -*- C++ -*-===//
//
// The one place that talks to the operating system for memory figures, the
// process id, the high-resolution counter, the message on the way out, the
// spill file, the files of the binary and descriptor streams, and threads and
// their locks. Nothing else
// includes a system header for these things. All figures are in bytes; a
// query that cannot be answered returns false and leaves its outputs as they
// were. Paths are UTF-8.
//
// The memory figures keep the shape of the Windows status record the rest of
// the system was designed around; kivplatform_posix.cpp says how each field
// is obtained on Linux.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstdint>
#include <cstdio>

namespace kivplatform {

struct MemoryStatus {
  uint64_t totalPhysical = 0;
  uint64_t availablePhysical = 0;
  uint64_t totalPageFile = 0;       // swap space alone (see the .cpp)
  uint64_t availablePageFile = 0;
  uint64_t totalVirtual = 0;        // address space the process may use
  uint64_t availableVirtual = 0;
  uint64_t availableExtendedVirtual = 0;
};

bool memoryStatus(MemoryStatus* out);
// Resident set of this process now and at its peak.
bool processWorkingSet(uint64_t* current, uint64_t* peak);

uint32_t processId();
// A monotonic counter in nanoseconds; only differences and low bits matter.
uint64_t highResolutionCounter();

// The last word before the process ends: one block on stderr, title first.
void showFatalMessage(const char* title, const char* text);

// A file opened for reading and writing, created if absent and truncated,
// that disappears at the latest when it is closed. -1 on failure.
int openDeleteOnClose(const char* path);
// Bytes actually written or read; short counts mean failure or end of file.
int64_t writeFile(int handle, const void* data, int64_t bytes);
int64_t readFile(int handle, void* data, int64_t bytes);
bool rewindFile(int handle);
void closeFile(int handle);

// Buffered streams of the binary files. Offsets are 64-bit everywhere; origin
// is 0 from the start, 1 from the current position, 2 from the end.
std::FILE* openStream(const char* path, const char* mode);
bool seekStream(std::FILE* file, int64_t offset, int origin);
int64_t tellStream(std::FILE* file);  // -1 on failure
// fflush, then push the data to the disk; true only if both worked.
bool commitStream(std::FILE* file);
bool isReadable(const char* path);
// Removes a file's name; true if it was removed.
bool removeFile(const char* path);
// Pushes a folder's entries (a rename into it) to the disk; true if done.
bool syncDirectory(const char* path);

// Descriptors of the descriptor stream buffer. Permissions of a created file
// are 0600; there is no binary/text distinction here.
int openDescriptor(const char* path, bool read, bool write, bool create, bool truncate,
                   bool append);
// One system call each (interrupted calls are repeated): the bytes moved, 0 at
// the end of the file, -1 on error.
int64_t readOnce(int handle, void* data, int64_t bytes);
int64_t writeOnce(int handle, const void* data, int64_t bytes);
// The new offset from the start, -1 on failure.
int64_t seekDescriptor(int handle, int64_t offset, int origin);

//===- Threads and locks ------------------------------------------------===//
// Objects are opaque and created and destroyed here. Timed waits take
// milliseconds; a negative time waits without limit.

// Processors of the machine, at least 1.
int32_t processorCount();
// A 32-bit identifier of the calling thread, unique among live threads.
uint32_t currentThreadId();

struct Thread;
// Starts entry(arg) on a new thread; null if it could not be created. `id`
// receives the new thread's identifier before entry runs.
Thread* createThread(void (*entry)(void* arg), void* arg, uint32_t* id);
void joinThread(Thread* thread);    // waits, then frees the object
void detachThread(Thread* thread);  // lets the thread run on, frees the object
bool isCurrentThread(const Thread* thread);
// Names the thread for debuggers; no other effect.
void setThreadName(Thread* thread, const char* name);

// A recursive lock. Entering tries `spinCount` times before it blocks; a
// negative count blocks at once.
struct CriticalSection;
CriticalSection* newCriticalSection(int32_t spinCount);
void deleteCriticalSection(CriticalSection* section);
void enterCriticalSection(CriticalSection* section);
void leaveCriticalSection(CriticalSection* section);

// A condition variable over a critical section held once by the waiter.
struct ConditionVariable;
ConditionVariable* newConditionVariable();
void deleteConditionVariable(ConditionVariable* condition);
void waitConditionVariable(ConditionVariable* condition, CriticalSection* section);
void wakeConditionVariable(ConditionVariable* condition);  // one waiter

// An event, manual- or auto-reset, created not signalled. waitEvent gives
// true if the event was signalled within the time.
struct Event;
Event* newEvent(bool manualReset);
void deleteEvent(Event* event);
void setEvent(Event* event);
void resetEvent(Event* event);
bool waitEvent(Event* event, int64_t milliseconds);

// A counting semaphore between 0 and `maximum`.
struct Semaphore;
Semaphore* newSemaphore(int32_t initial, int32_t maximum);
void deleteSemaphore(Semaphore* semaphore);
bool releaseSemaphore(Semaphore* semaphore, int32_t count);
bool waitSemaphore(Semaphore* semaphore, int64_t milliseconds);

// A mutex owned by one thread at a time, recursively. A name makes it known
// to the whole process under that name (there is no cross-process object
// here); openMutex finds an existing one, null if there is none.
struct Mutex;
Mutex* createMutex(const char* name);
Mutex* openMutex(const char* name);
void closeMutex(Mutex* mutex);
void lockMutex(Mutex* mutex);
void unlockMutex(Mutex* mutex);

} // namespace kivplatform
