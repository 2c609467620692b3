//===- dynamicdataobject.cpp - An object whose properties come and go -----===//
#include "model/dynamicdataobject.h"

#include "core/classids.h"
#include "core/classwalk.h"
#include "core/platformexception.h"
#include "kivbasictypes/messageformat.h"
#include "undo/dynamicobjectundoinfo.h"

namespace {

const KivCString& propertyModified() {
  static const KivCString name = KivCString::view("property_modified");
  return name;
}

uint8_t dynamicFlags(uint8_t flags) {
  return static_cast<uint8_t>((flags & ~kMapWarnNonExisting) | kMapArgsFlag);
}

} // namespace

DynamicDataObject::DynamicDataObject() { setFlags(dynamicFlags(flags())); }

DynamicDataObject::DynamicDataObject(uint8_t flags, const KivString& name, int64_t id)
    : DataObject(dynamicFlags(flags), name, id) {}

DynamicDataObject::DynamicDataObject(const DynamicDataObject& other)
    : IKivUnknown(other), DataObject(other), IKivDynamicDataObject(other) {}

void DynamicDataObject::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    DataObject::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDynamicDataObject");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<DataObject*>(this)),
                out) ||
      kivAnswer(name, "IKivDynamicDataObject", static_cast<IKivDynamicDataObject*>(this), out))
    return;
  DataObject::queryInterface(name, out);
}

const char* DynamicDataObject::scriptClassName() const {
  return "kivapi.datamodel.DynamicDataObject";
}

const KivClassId* DynamicDataObject::classId() { return &classIdOf(kClassName); }

IKivDataObject* DynamicDataObject::clone() { return new DynamicDataObject(*this); }

IKivUndoInfo* DynamicDataObject::createUndoInfo(bool) { return new DynamicObjectUndoInfo(this); }

void DynamicDataObject::removeProperty(const char* name) {
  if (!hasProperty(name)) {
    KivString text;
    formatMessage(text, "Property '%1' does not exist.", KivString(name));
    throwClassErrorText("PropertyMap::removeProperty", text);
  }
  if (IKivEventSubscriber* subscriber = propertySubscriber())
    getProperty(name)->unsubscribe(propertyModified(), subscriber);
  PropertyMap::removeProperty(KivString(name));
}

void DynamicDataObject::removeAllProperties() {
  if (IKivEventSubscriber* subscriber = propertySubscriber())
    for (const auto& entry : properties_)
      entry.second->unsubscribe(propertyModified(), subscriber);
  properties_.clear();
}
