//===- kivpersistentref.cpp - Base of what a file can refer to ------------===//
#include "kivbasictypes/kivpersistentref.h"

#include "core/classwalk.h"
#include "core/kivclassid.h"
#include "core/kivptr.h"
#include "kivbasictypes/ikivdatamodelreader.h"
#include "kivbasictypes/ikivdatamodelwriter.h"
#include "kivbasictypes/ikivpersistentrefmap.h"

namespace {

constexpr const char* kRefMapService = "IKivPersistentRefMap";

} // namespace

KivPersistentRef::KivPersistentRef(const KivPersistentRef& other)
    : IKivUnknown(other), IKivPersistentRef(other), IKivWriteable(other),
      persistent_(const_cast<KivPersistentRef&>(other).isPersistent() ? 1 : 0) {}

KivPersistentRef& KivPersistentRef::operator=(const KivPersistentRef& other) {
  if (this != &other)
    persistent_ = const_cast<KivPersistentRef&>(other).isPersistent() ? 1 : 0;
  return *this;
}

KivPersistentRef::~KivPersistentRef() = default;

void KivPersistentRef::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "KivPersistentRef");
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivPersistentRef");
    kivWalkInterface(walk, "IKivWriteable");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "KivPersistentRef", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out) ||
      kivAnswer(name, "IKivPersistentRef", static_cast<IKivPersistentRef*>(this), out))
    return;
  // A holder of a reference reaches the writeable side through this name.
  kivAnswer(name, "IKivWriteable", static_cast<IKivWriteable*>(this), out);
}

const KivClassId* KivPersistentRef::classId() {
  static const KivClassId none;
  return &none;
}

bool KivPersistentRef::write(IKivDataModelWriter* writer) {
  writer->beginSection(this, 0);
  SPtr<IKivPersistentRefMap> table(kRefMapService);
  const uint32_t number = table ? table->getId(this) : 0;
  writer->writeUInt32(number);
  writer->endSection(this);
  if (table)
    table->setWritten(number);
  return true;
}

bool KivPersistentRef::read(IKivDataModelReader* reader) {
  int version = 0;
  if (!reader->beginSection(this, &version))
    return true;
  bool understood = version == 0;
  if (understood) {
    uint32_t number = 0;
    if (reader->readUInt32(&number) && number != 0) {
      SPtr<IKivPersistentRefMap> table(kRefMapService);
      if (table)
        table->setObject(number, this);
    }
  }
  reader->endSection(this);
  return understood;
}
