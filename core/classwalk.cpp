//===- classwalk.cpp - The class walk -------------------------------------===//
#include "core/classwalk.h"

#include "core/classtree.h"
#include "core/componentinfo.h"
#include "core/kivobject.h"
#include "core/lookup.h"

#include <cstring>

namespace {

const char* const kStopNames[] = {"IKivComponent", "IKivComponentManager", "IKivComponentLoader",
                                  "IKivComponentContainer", "TovComponentManager"};

void report(KivClassWalk* walk, const char* name, bool isClass) {
  if (walk->component) {
    KivComponentRecord* record = walk->component;
    if (record->name.isEmpty()) {
      record->name = kComponentName;
      record->containerName = KivCString(componentContainerName().text());
      record->classId = kComponentClassId;
    }
    return;
  }
  if (walk->stopped || walk->stopNames.contains(name)) {
    walk->stopped = true;
    walk->nameStack.clear();
    walk->entries.clear();
    return;
  }
  KivClassEntry entry;
  entry.name = name;
  entry.isClass = isClass ? 1 : 0;
  entry.parent = walk->nameStack.count() > 0 ? walk->nameStack.at(walk->nameStack.count()) : "";
  walk->entries.push(entry);
  if (isClass)
    walk->nameStack.push(name);
}

bool sameText(const char* a, const char* b) { return std::strcmp(a, b) == 0; }

} // namespace

KivClassWalk::KivClassWalk() : stopNames(11) {}

void kivWalkClass(KivClassWalk* walk, const char* name) { report(walk, name, true); }

void kivWalkInterface(KivClassWalk* walk, const char* name) { report(walk, name, false); }

void kivWalkEnd(KivClassWalk* walk) {
  if (walk->component || walk->stopped)
    return;
  if (walk->nameStack.count() > 0)
    walk->nameStack.pop();
}

bool classTree(IKivUnknown* object, IterStack<KivClassEntry>& entries) {
  if (!object)
    return false;
  KivClassWalk walk;
  for (const char* name : kStopNames)
    walk.stopNames[name] = 1;
  object->queryInterface(nullptr, reinterpret_cast<void**>(&walk));
  entries.clear();
  if (walk.stopped)
    return true;
  // Remove duplicates from the tail: an entry goes if an earlier one has the
  // same name and either is the first entry or shares the parent. A diamond
  // thus lists an interface once per distinct parent.
  IterStack<KivClassEntry>& found = walk.entries;
  for (int32_t i = found.count(); i >= 2; --i) {
    for (int32_t j = 1; j < i; ++j) {
      if (sameText(found.at(j).name, found.at(i).name) &&
          (j == 1 || sameText(found.at(j).parent, found.at(i).parent))) {
        for (int32_t k = i; k < found.count(); ++k)
          found.at(k) = found.at(k + 1);
        found.setCount(found.count() - 1);
        break;
      }
    }
  }
  for (int32_t i = 1; i <= found.count(); ++i)
    entries.push(found.at(i));
  return true;
}

bool componentOf(IKivUnknown* object, KivComponentRecord* record) {
  if (!object)
    return true;
  KivClassWalk walk;
  walk.component = record;
  object->queryInterface(nullptr, reinterpret_cast<void**>(&walk));
  return true;
}
