//===- noanchors.cpp - Anchors whose library the machine lacks ------------===//
//
// Built in place of qtanchor.cpp or ocafanchor.cpp when Qt5 or OCAF was not
// found at configure time: the benchmarks then print our figures alone.
//
//===----------------------------------------------------------------------===//
#include "anchors.h"

#ifndef DM_BENCH_QT
QtAnchor runQtAnchor(QtPath, int, int64_t) { return {}; }
#endif

#ifndef DM_BENCH_OCAF
OcafAnchor runOcafAnchor(int, int, int) { return {}; }
#endif
