//===- classwalk.h - Reporting a class tree to a walk -----------*- C++ -*-===//
//
// queryInterface(nullptr, out) is the enumeration form: `out` is then a
// KivClassWalk*. A class reports its own name (kivWalkClass), passes the walk
// to its implementation base, closes its level (kivWalkEnd) and reports each
// interface it adds (kivWalkInterface). The walk record and the public forms
// classTree / componentOf are in core/classtree.h.
//
//===----------------------------------------------------------------------===//
#pragma once

struct KivClassWalk;

inline KivClassWalk* kivWalkOf(void** out) { return reinterpret_cast<KivClassWalk*>(out); }

void kivWalkClass(KivClassWalk* walk, const char* name);
void kivWalkEnd(KivClassWalk* walk);
void kivWalkInterface(KivClassWalk* walk, const char* name);
