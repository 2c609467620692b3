//===- dirindex.cpp - An index with a direction bit, and its property -----===//
#include "properties/dirindex.h"

#include "core/platformexception.h"
#include "kivbasictypes/messageformat.h"
#include "properties/valuefit.h"

namespace {

void checkVersion(int32_t version) {
  if (version != 0 && version != 1)
    throwClassError("DirIndex", "version must have a value of 0 or 1.");
}

// (index + bias) * 2 | version in 32 bits, wrapping instead of overflowing.
int32_t packed(int32_t index, int32_t version, uint32_t bias) {
  return static_cast<int32_t>((static_cast<uint32_t>(index) + bias) * 2u |
                              static_cast<uint32_t>(version));
}

} // namespace

DirIndex::DirIndex(int32_t index, int32_t version) {
  checkVersion(version);
  word_ = packed(index, version, 1);
}

void DirIndex::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "DirIndex");
    Primitive::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDirIndex");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "DirIndex", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out) ||
      kivAnswer(name, "IKivDirIndex", static_cast<IKivDirIndex*>(this), out))
    return;
  Primitive::queryInterface(name, out);
}

void DirIndex::setIndex(int32_t index) { word_ = packed(index, word_ & 1, 1); }

void DirIndex::setVersion(int32_t version) {
  checkVersion(version);
  word_ = (word_ & ~1) | version;
}

IKivDirIndex* DirIndex::flip() {
  word_ ^= 1;
  return this;
}

IKivDirIndex* DirIndex::flipped() const { return new DirIndex(index(), 1 - version()); }

void DirIndexProperty::textOf(DirIndex* value, KivString& out) {
  out = KivString();
  if (value)
    formatMessage(out, "(%1, %2)", KivString(value->index()), KivString(value->version()));
}

void DirIndexProperty::writeValue(IKivDataModelWriter* writer, DirIndex* value) {
  if (value)
    writer->writeInt32(packed(value->index(), value->version(), 0));
}

void DirIndexProperty::readValue(IKivDataModelReader* reader, DirIndexProperty* property) {
  int32_t stored = 0;
  if (!sectionHolds(reader, sizeof(stored)) || !reader->readInt32(&stored))
    return;
  IPtr<DirIndex> target(property->get());
  if (!target)
    target = new DirIndex;
  target->setIndex(stored >> 1);
  target->setVersion(stored & 1);
  property->set(target.get());
}
