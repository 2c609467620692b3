//===- classtree.h - The class walk record and its public forms -*- C++ -*-===//
//
// classTree lists the classes and interfaces of an object with their parents;
// a stop name anywhere in the tree (the frame's own objects) empties the list.
// componentOf asks an object which component it belongs to. Names are the
// literals the classes report; entries hold no copies.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "basic_types/map.h"
#include "core/classwalk.h"
#include "core/kivclassid.h"
#include "kivbasictypes/kivcstring.h"

#include <cstdint>

class IKivUnknown;

struct KivClassEntry {
  const char* name = nullptr;
  int32_t isClass = 0;
  const char* parent = nullptr;  // "" when the entry has no parent
};

// Filled by the first report of a walk with `component` set.
struct KivComponentRecord {
  KivCString name;
  KivCString containerName;
  KivClassId classId;
};

struct KivClassWalk {
  KivClassWalk();

  IterStack<const char*> nameStack;
  IterStack<KivClassEntry> entries;
  Map<const char*, int32_t> stopNames;
  KivComponentRecord* component = nullptr;
  bool stopped = false;
};

// False for a null object. Entries are numbered from 1 as in every IterStack.
bool classTree(IKivUnknown* object, IterStack<KivClassEntry>& entries);
// Always true.
bool componentOf(IKivUnknown* object, KivComponentRecord* record);
