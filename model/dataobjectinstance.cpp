//===- dataobjectinstance.cpp - An object that stands for another ---------===//
#include "model/dataobjectinstance.h"

#include "core/classids.h"
#include "core/classwalk.h"
#include "model/dataobjectproperty.h"
#include "properties/routedproperty.h"

namespace {

using DataProperty = RoutedPropertyTemplate<DataObject*, DataObjectProperty, DataObjectInstance>;

} // namespace

DataObjectInstance::DataObjectInstance() { DataObjectInstance::initialize(); }

void DataObjectInstance::initialize() {
  // Routed, hence not persistent (the routed template's constructor sees to
  // it); events on, as every property of an object has.
  addProperty(new DataProperty(KivString("data"), false, this, &DataObjectInstance::data,
                               &DataObjectInstance::setData));
}

void DataObjectInstance::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    DataObject::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDataObjectInstance");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<DataObject*>(this)),
                out) ||
      kivAnswer(name, "IKivDataObjectInstance", static_cast<IKivDataObjectInstance*>(this), out))
    return;
  DataObject::queryInterface(name, out);
}

const char* DataObjectInstance::scriptClassName() const {
  return "kivapi.datamodel.DataObjectInstance";
}

const KivClassId* DataObjectInstance::classId() { return &classIdOf(kClassName); }

void DataObjectInstance::setData(DataObject* data) {
  data_ = data;
  if (ownedClone_.get() != data)
    ownedClone_.clear();
}

// Without a target the new instance has none either. The cloned target is
// private to the new instance, which holds it (ownedClone_).
IKivDataObject* DataObjectInstance::clone() {
  auto* copy = new DataObjectInstance;
  if (data_) {
    IKivDataObject* target = data_->clone();
    DataObject* cloned = kivQuery<DataObject>(target, DataObject::kClassName);
    copy->ownedClone_ = cloned;
    copy->setData(cloned);
  }
  return static_cast<IKivDataObject*>(copy);
}
