//===- objectproperty.cpp - A property referring to a data object ---------===//
#include "properties/objectproperty.h"

#include "core/classids.h"
#include "core/classwalk.h"
#include "core/lookup.h"
#include "kivbasictypes/ikivdatamodelreader.h"
#include "kivbasictypes/ikivdatamodelwriter.h"
#include "kivbasictypes/ikivpersistentrefmap.h"
#include "kivbasictypes/kivfile.h"
#include "kivbasictypes/messageformat.h"
#include "model/dataeventargs.h"
#include "model/dataobject.h"
#include "properties/valuefit.h"

namespace {

constexpr int kReferenceVersion = 1;

IKivWriteable* writeableOf(DataObject* object) {
  return kivQuery<IKivWriteable>(object, "IKivWriteable");
}

} // namespace

ObjectProperty::ObjectProperty() : ObjectProperty(KivString(), nullptr, false, true) {}

ObjectProperty::ObjectProperty(const KivString& name, bool readOnly)
    : ObjectProperty(name, nullptr, readOnly, true) {}

ObjectProperty::ObjectProperty(const KivString& name, DataObject* value, bool readOnly)
    : ObjectProperty(name, value, readOnly, true) {}

ObjectProperty::ObjectProperty(const KivString& name, DataObject* value, bool readOnly,
                               bool events)
    : Property(name, readOnly, events), value_(value) {}

ObjectProperty::ObjectProperty(const ObjectProperty& other)
    : IKivUnknown(other), Property(other), IKivObjectProperty(other),
      IKivPersistentRefCallback(other), value_(other.get()) {}

ObjectProperty::~ObjectProperty() = default;

void ObjectProperty::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    Property::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, kInterfaceName);
    kivWalkInterface(walk, "IKivPersistentRefCallback");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out) ||
      kivAnswer(name, kInterfaceName, static_cast<IKivObjectProperty*>(this), out) ||
      kivAnswer(name, "IKivPersistentRefCallback", static_cast<IKivPersistentRefCallback*>(this),
                out))
    return;
  Property::queryInterface(name, out);
}

const char* ObjectProperty::typeName() const {
  return value_ ? value_->scriptClassName() : kTypeName;
}

void ObjectProperty::valueText(const KivString&, KivString& out) const {
  formatMessage(out, "%1", KivString(value_ ? value_->className() : "None"));
}

void ObjectProperty::clearValue() {
  IPtr<DataObject> old(value_);
  if (!old)
    return;
  value_.clear();
  if (!hasEvents())
    return;
  // An argument object of its own: the one kept for set() stays untouched.
  void* out = nullptr;
  if (!getObject("IKivDataEventArgs", &out) || !out)
    return;
  IPtr<IKivDataEventArgs> args(static_cast<IKivDataEventArgs*>(out));
  if (auto* map = kivQuery<DataEventArgs>(args.get(), "DataEventArgs")) {
    map->addProperty(new ObjectProperty(KivString("oldValue"), old.get(), false, true));
    map->addProperty(new ObjectProperty(KivString("newValue"), nullptr, false, true));
  }
  fire(KivCString::view("property_modified"), args.get());
}

void ObjectProperty::copyValue(IKivProperty* source) {
  if (auto* from = kivQuery<ObjectProperty>(source, kClassName))
    set(from->get());
}

void ObjectProperty::init(const KivString& name, DataObject* const& value, bool readOnly) {
  setName(name);
  value_ = value;
  setReadOnly(readOnly);
}

void ObjectProperty::set(DataObject* const& value) {
  IPtr<DataObject> old(value_);
  value_ = value;
  notifyChanged<ObjectProperty>(old.get(), value_.get());
}

const KivClassId* ObjectProperty::classId() { return tableClassId(kClassName); }

IKivPersistentRef* ObjectProperty::reference() const {
  return kivQuery<IKivPersistentRef>(value_.get(), "IKivPersistentRef");
}

bool ObjectProperty::isPersistent() {
  if (!Property::isPersistent() || !value_)
    return false;
  IKivWriteable* writeable = writeableOf(value_.get());
  return writeable && writeable->isPersistent();
}

bool ObjectProperty::write(IKivDataModelWriter* writer) {
  writer->beginSection(this, kReferenceVersion);
  Property::write(writer);
  if (writeableOf(value_.get())) {
    SPtr<IKivPersistentRefMap> table("IKivPersistentRefMap");
    writer->writeUInt32(table ? table->getId(reference()) : 0);
  }
  writer->endSection(this);
  return true;
}

bool ObjectProperty::read(IKivDataModelReader* reader) {
  int version = -1;
  if (reader->beginSection(this, &version)) {
    if (version == kReferenceVersion) {
      Property::read(reader);
      uint32_t number = 0;
      if (sectionHolds(reader, sizeof(number)) && reader->readUInt32(&number) && number != 0) {
        SPtr<IKivPersistentRefMap> table("IKivPersistentRefMap");
        if (table)
          table->addCallback(number, this);
      }
    } else if (version == 0) {
      // Older files: the whole object inside the section, without a number.
      Property::read(reader);
      const KivClassId id = *reader->peekClassId();
      void* out = nullptr;
      if (id != KivClassId() && createObject(&id, "DataObject", &out) && out) {
        IPtr<DataObject> object(static_cast<DataObject*>(out));
        if (IKivWriteable* writeable = writeableOf(object.get())) {
          writeable->read(reader);
          set(object.get());
        }
      }
    }
  }
  reader->endSection(this);
  return true;
}

void ObjectProperty::resolved(uint32_t, IKivPersistentRef* object) {
  set(kivQuery<DataObject>(object, "DataObject"));
}
