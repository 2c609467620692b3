//===- opaquedata.cpp - An object carrying a counted object ---------------===//
#include "model/opaquedata.h"

#include "core/classids.h"
#include "core/classwalk.h"
#include "kivbasictypes/ikivdatamodelreader.h"
#include "kivbasictypes/ikivdatamodelwriter.h"

OpaqueData::OpaqueData(const OpaqueData& other)
    : IKivUnknown(other), DataObject(other), IKivOpaqueData(other), data_(other.data_) {}

void OpaqueData::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    DataObject::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivOpaqueData");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<DataObject*>(this)),
                out) ||
      kivAnswer(name, "IKivOpaqueData", static_cast<IKivOpaqueData*>(this), out))
    return;
  DataObject::queryInterface(name, out);
}

const char* OpaqueData::scriptClassName() const { return "kivapi.datamodel.OpaqueData"; }

const KivClassId* OpaqueData::classId() { return &classIdOf(kClassName); }

bool OpaqueData::write(IKivDataModelWriter* writer) {
  writer->beginSection(this, 0);
  writer->endSection(this);
  return true;
}

bool OpaqueData::read(IKivDataModelReader* reader) {
  int version = 0;
  reader->beginSection(this, &version);
  reader->endSection(this);
  return true;
}
