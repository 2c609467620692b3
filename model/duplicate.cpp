//===- duplicate.cpp - The modifier that copies a DataObject --------------===//
#include "model/duplicate.h"

#include "core/classwalk.h"
#include "core/kivptr.h"
#include "core/lookup.h"
#include "core/platformexception.h"
#include "model/dataobject.h"
#include "model/iguibusy.h"
#include "model/iprogress.h"
#include "model/progress.h"
#include "properties/objectproperty.h"

namespace {

IGuiBusyState* busyState() {
  static SPtr<IGuiBusyState> busy("IGuiBusyState");
  return busy.get();
}

void reportProgress(float fraction) {
  if (IProgress* progress = processProgress())
    progress->report(fraction);
}

} // namespace

Duplicate::Duplicate() {
  const bool events = (PropertyMap::flags_ & kMapPropertyEvents) != 0;
  addProperty(new ObjectProperty(KivString("object"), nullptr, false, events));
  addProperty(new ObjectProperty(KivString("clonedobject"), nullptr, true, events));
  addProperty(new ObjectProperty(KivString("clonedObject"), nullptr, true, events));
}

void Duplicate::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    Modifier::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDuplicate");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<PropertyMap*>(this)),
                out))
    return;
  Modifier::queryInterface(name, out);
  if (*out)
    return;
  kivAnswer(name, "IKivDuplicate", static_cast<IKivDuplicate*>(this), out);
}

void Duplicate::run() {
  DataObject* object = getDataObject("object");
  if (!object)
    throwInternalError("Duplicate::run", "internal dataObject object is null");

  IPtr<IGuiBusyBlock> block;
  if (IGuiBusyState* busy = busyState(); busy && !busy->isBusy()) {
    void* made = nullptr;
    if (getObject("IGuiBusyBlock", &made) && made) {
      block = static_cast<IGuiBusyBlock*>(made);
      block->begin(KivString(""), 0);
    }
  }
  reportProgress(0.0f);

  IPtr<IKivDataObject> copy(object->clone());
  // A class without a copy (a plain DataObject) has nothing to name or hand
  // out: stop with the same internal form rather than store a null result.
  auto* copied = copy ? kivQuery<DataObject>(copy.get(), "DataObject") : nullptr;
  if (!copied)
    throwInternalError("Duplicate::run", "dataObject can't be cloned");
  KivString name;
  object->name(name);
  copied->setName(name);

  for (const char* result : {"clonedobject", "clonedObject"})
    if (auto* property = kivQuery<IKivObjectProperty>(getProperty(result), "IKivObjectProperty"))
      property->set(copied);

  reportProgress(1.0f);
}
