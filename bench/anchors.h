//===- anchors.h - Qt and OCAF workloads timed beside ours -------*- C++ -*-===//
//
// The anchors users compare us with, run in the same process as our own
// workloads so that every ratio comes from one run:
//  - Qt5 objects with a declared property (a WRITE setter that emits a
//    change signal) and a dynamic property (setProperty, then the same
//    signal emitted by hand), the signal connected to N direct slots;
//  - an OCAF document: labels with an integer and a real attribute created
//    in one command, commands of attribute sets, their undo and redo, and
//    closing the document.
// Each anchor is optional: without its library it reports available=false
// and the benchmarks print our figures alone.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "allocationcounter.h"

#include <cstdint>
#include <ctime>

// Time and heap blocks of one operation, averaged over a loop.
struct PerOp {
  double ns = 0;
  double allocs = 0;
};

// CPU time of the calling thread: on a machine shared with other work the
// wall clock counts their time too, the thread's own clock doesn't.
inline double threadNs() {
  timespec t{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) * 1e9 + static_cast<double>(t.tv_nsec);
}

// Runs body(i) for i in [0, count) and returns the thread's CPU time and the
// allocations per call.
template <class Body>
PerOp measurePerOp(int64_t count, Body&& body) {
  const uint64_t before = allocationsSoFar();
  const bool was = countAllocations(true);
  const double start = threadNs();
  for (int64_t i = 0; i < count; ++i)
    body(i);
  const double stop = threadNs();
  countAllocations(was);
  PerOp out;
  out.ns = (stop - start) / static_cast<double>(count);
  out.allocs = static_cast<double>(allocationsSoFar() - before) / static_cast<double>(count);
  return out;
}

enum class QtPath {
  Declared,  // setProperty("value", v): the Q_PROPERTY's setter emits valueChanged
  Dynamic,   // setProperty("dynamic", v) on a dynamic property, then emit valueChanged
};

struct QtAnchor {
  bool available = false;
  PerOp set;  // one set with its signal delivered to every slot
};

// `slotCount` direct connections (0..4) on the change signal; `count` sets, each
// with a new value.
QtAnchor runQtAnchor(QtPath path, int slotCount, int64_t count);

struct OcafAnchor {
  bool available = false;
  bool valuesChecked = false;  // the values read back after undo and redo matched
  PerOp createPerLabel;        // labels with TDataStd_Integer + TDataStd_Real, one command
  PerOp commandPerBlock;       // open command, `sets` attribute sets, commit
  PerOp undoPerBlock;
  PerOp redoPerBlock;
  PerOp closePerLabel;         // closing the document
};

// `labels` labels; `commands` commands of `sets` sets each on distinct labels.
OcafAnchor runOcafAnchor(int labels, int commands, int sets);
