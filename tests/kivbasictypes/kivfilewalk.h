//===- kivfilewalk.h - Walk any bytes as a data-model file ------*- C++ -*-===//
//
// walkKivFile() reads arbitrary bytes the way a loader would: the root, then
// every block, read as the typed value its tag names, and unknown blocks
// entered, poked with bare reads and walked in turn. Shared by the fuzz
// target and the corpus test. It traps if the reader stops making progress
// while it is still good, which would hang a real loader. Blocks are checked
// against the file only, so a child past its parent is walked again after
// the parent's end: the walk carries a budget of steps.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "binstreams.h"
#include "kivbasictypes/kivfile.h"
#include "kivbasictypes/kivmatrix.h"
#include "kivbasictypes/kivquaternion.h"
#include "kivbasictypes/kivvector.h"
#include "kivbasictypes/stringio.h"

#include <cstdlib>

namespace kivfilewalk {

inline void walk(KivFileRead& r, BinInput& in, int depth, int* budget) {
  while (!r.atBlockEnd() && --*budget > 0) {
    const int64_t before = in.tell();
    // A string block that leaves the file fails the strings and leaves the
    // reader where it was; the next round steps over it as a block.
    const bool stringsBefore = r.stringsGood();
    const uint32_t tag = r.peekTag();
    switch (tag) {
    case kivtag::kString:
      if (r.stringsGood()) {
        KivString s;
        r.peekPropertyName();
        r.readString(&s);
        s.c_str();
        break;
      }
      [[fallthrough]];
    default:
      if (tag == kivtag::kSection) {
        int version = 0;
        KivClassId id = *r.peekClassId();
        r.peekObject(id, &version);
        if (r.beginSection(nullptr, &version)) {
          if (depth < 48)
            walk(r, in, depth + 1, budget);
          r.endSection(nullptr);
        }
        break;
      }
      if (!r.nextBlock())
        break;
      if (depth % 2) {
        double d;
        int32_t i;
        bool b;
        r.readDouble(&d);
        r.readInt32(&i);
        r.readBool(&b);
      } else if (depth < 48) {
        walk(r, in, depth + 1, budget);
      }
      r.endBlock();
      break;
    case kivtag::kCString: {
      KivCString s;
      r.readCString(&s);
      break;
    }
    case kivtag::kVector: {
      KivVector v;
      r.readVector(&v);
      break;
    }
    case kivtag::kVector2D: {
      Vector2D v;
      r.readVector2D(&v);
      break;
    }
    case kivtag::kVector2F: {
      Vector2F v;
      r.readVector2F(&v);
      break;
    }
    case kivtag::kMatrix: {
      KivMatrix m;
      r.readMatrix(&m);
      break;
    }
    case kivtag::kClassId: {
      KivClassId id;
      r.readClassId(&id);
      break;
    }
    case kivtag::kFourDoubles: {
      KivQuaternion q;
      r >> q;
      break;
    }
    }
    if (r.good() && in.tell() <= before && r.stringsGood() == stringsBefore)
      std::abort();  // no progress: a loader would spin here
  }
}

// Walks `bytes` as a file; gives whether the reader was still good at the end.
inline bool walkKivFile(const Bytes& bytes, size_t chunk = SIZE_MAX) {
  MemoryInput in(bytes, chunk);
  KivFileRead r(&in);
  int budget = 100000;
  if (r.readRootHead())
    walk(r, in, 0, &budget);
  bool good = r.good();
  // A bad reader keeps giving empty values.
  double d = 1;
  KivString s("x");
  r.readDouble(&d);
  r.readString(&s);
  if (!good && (d != 0 || !s.isEmpty()))
    std::abort();
  r.endBlock();

  // The same bytes as bare strings.
  MemoryInput bare(bytes, chunk);
  KivString text;
  KivCString ctext;
  readKivString(bare, &text);
  readKivCString(bare, &ctext);
  return good;
}

} // namespace kivfilewalk
