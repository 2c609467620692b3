//===- dataobjectarrayproperty.cpp - A property holding a DataObjectArray -===//
#include "properties/dataobjectarrayproperty.h"

#include "core/lookup.h"
#include "kivbasictypes/ikivpersistentrefmap.h"
#include "kivbasictypes/ikivwritequeue.h"
#include "model/dataobject.h"
#include "properties/valuefit.h"

#include <algorithm>

namespace {

IKivPersistentRef* referenceOf(DataObject* object) {
  return kivQuery<IKivPersistentRef>(object, "IKivPersistentRef");
}

} // namespace

void DataObjectArrayProperty::queryInterface(const char* name, void** out) {
  if (!name) {
    TPointerProperty::queryInterface(nullptr, out);
    kivWalkInterface(kivWalkOf(out), "IKivPersistentRefCallback");
    return;
  }
  if (kivAnswer(name, "IKivPersistentRefCallback", static_cast<IKivPersistentRefCallback*>(this),
                out))
    return;
  TPointerProperty::queryInterface(name, out);
}

uint64_t DataObjectArrayProperty::memorySize() const {
  return sizeof(DataObjectArrayProperty) +
         (get() ? sizeof(IPtr<DataObject>) * static_cast<uint64_t>(get()->count()) : 0);
}

bool DataObjectArrayProperty::write(IKivDataModelWriter* writer) {
  SPtr<IKivPersistentRefMap> table("IKivPersistentRefMap");
  DataObjectArray* array = get();
  if (array && table) {
    // Objects the table doesn't know yet wait on the queue; the section
    // stores only their numbers. An object held twice is queued once.
    SPtr<IKivWriteQueue> queue("IKivWriteQueue");
    std::vector<DataObject*> queued;
    for (const IPtr<DataObject>& element : array->elements()) {
      DataObject* object = element.get();
      if (!object || !queue || table->contains(referenceOf(object)) ||
          std::find(queued.begin(), queued.end(), object) != queued.end())
        continue;
      queued.push_back(object);
      queue->push(object);
    }
  }
  writer->beginSection(this, kReferenceVersion);
  Property::write(writer);
  writer->writeInt32(array ? array->count() : -1);
  if (array)
    for (const IPtr<DataObject>& element : array->elements())
      writer->writeUInt32(table ? table->getId(referenceOf(element.get())) : 0);
  writer->endSection(this);
  return true;
}

bool DataObjectArrayProperty::read(IKivDataModelReader* reader) {
  int version = -1;
  if (reader->beginSection(this, &version) && version == kReferenceVersion) {
    Property::read(reader);
    int32_t count = 0;
    if (sectionHolds(reader, sizeof(count)) && reader->readInt32(&count)) {
      if (count < 0) {
        set(nullptr);
      } else if (sectionHolds(reader, int64_t{count} * 4)) {
        // A count the section can't hold is left unread.
        IPtr<DataObjectArray> array(new DataObjectArray);
        set(array.get());
        SPtr<IKivPersistentRefMap> table("IKivPersistentRefMap");
        for (int32_t i = 0; i < count; ++i) {
          uint32_t number = 0;
          if (!reader->readUInt32(&number))
            break;
          array->append(nullptr);
          pendingIds_.push_back(number);
          if (table && number != 0)
            table->addCallback(number, this);
        }
      }
    }
  }
  reader->endSection(this);
  return true;
}

void DataObjectArrayProperty::resolved(uint32_t refId, IKivPersistentRef* object) {
  DataObjectArray* array = get();
  auto it = std::find(pendingIds_.begin(), pendingIds_.end(), refId);
  if (!array || it == pendingIds_.end())
    return;
  const int index = static_cast<int>(it - pendingIds_.begin());
  // The array may have been replaced or shortened since the read.
  if (index < array->count())
    array->set(index, kivQuery<DataObject>(object, "DataObject"));
}
