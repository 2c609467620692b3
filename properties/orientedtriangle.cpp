//===- orientedtriangle.cpp - Oriented triangles in the data model --------===//
#include "properties/orientedtriangle.h"

#include "core/platformexception.h"
#include "kivbasictypes/ikivdatamodelreader.h"
#include "kivbasictypes/ikivdatamodelwriter.h"
#include "kivbasictypes/kivbinaryio.h"
#include "kivbasictypes/messageformat.h"
#include "properties/valuefit.h"

#include <algorithm>

namespace {

// (triangle + 1) * 8 | version, with any triangle below 0 as none.
uint32_t wordFor(int triangle, int version) {
  if (static_cast<unsigned>(version) > 5)
    throwClassError("OrientedTriangle", "version must have a value >= 0 and <= 5");
  const uint32_t upper = triangle < 0 ? 0 : (static_cast<uint32_t>(triangle) + 1) << 3;
  return upper | static_cast<uint32_t>(version);
}

} // namespace

OrientedTriangle::OrientedTriangle(int triangle, int version)
    : value_(wordFor(triangle, version)) {}

void OrientedTriangle::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    Primitive::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, kInterfaceName);
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out) ||
      kivAnswer(name, kInterfaceName, static_cast<IKivOrientedTriangle*>(this), out))
    return;
  Primitive::queryInterface(name, out);
}

void OrientedTriangle::set(int triangle, int version) { value_ = wordFor(triangle, version); }

void OrientedTriangle::setValue(int word) {
  const auto w = static_cast<uint32_t>(word);
  value_ = (w & ~7u) | std::min(w & 7u, 5u);
}

OrientedTriangle* OrientedTriangle::reversedTriangle() const {
  return new OrientedTriangle(value_ ^ 1);
}

OrientedTriangle* OrientedTriangle::nextEdgeTriangle() const {
  return new OrientedTriangle((value_ & ~7u) | ortri::applyVersion(value_ & 7, 2));
}

OrientedTriangle* OrientedTriangle::previousEdgeTriangle() const {
  return new OrientedTriangle((value_ & ~7u) | ortri::applyVersion(value_ & 7, 4));
}

OrientedTriangleStack::OrientedTriangleStack() : stack_(new ClassifiedEdgeStack(6)) {}

OrientedTriangleStack::OrientedTriangleStack(const OrientedTriangleStack& other)
    : IKivUnknown(other), Collection(other), IKivOrientedTriangleStack(other),
      stack_(other.stack_ ? new ClassifiedEdgeStack(*other.stack_, true) : nullptr) {}

void OrientedTriangleStack::queryInterface(const char* name, void** out) {
  queryArrayClass<OrientedTriangleStack, IKivOrientedTriangleStack>(this, name, out);
}

ClassifiedEdgeStack& OrientedTriangleStack::edges() {
  if (!stack_)
    stack_ = new ClassifiedEdgeStack(6);
  return *stack_;
}

OrientedTriangle* OrientedTriangleStack::getTriangle(int i) const {
  const int32_t inside = ZeroToOneIndexConverter::toInside(i);
  checkIndex(inside, 1, count());
  return new OrientedTriangle(stack_->at(inside));
}

void OrientedTriangleStack::set(int i, OrientedTriangle* v) {
  checkReadOnly();
  const int32_t inside = ZeroToOneIndexConverter::toInside(i);
  checkIndex(inside, 1, count());
  stack_->at(inside) = wordOf(v);
}

void OrientedTriangleStack::append(OrientedTriangle* v) {
  checkResizable();
  edges().push(wordOf(v));
}

OrientedTriangle* OrientedTriangleStack::pop() {
  checkResizable();
  checkIndex(1, 1, count());
  return new OrientedTriangle(stack_->pop());
}

void OrientedTriangleStack::insert(int i, OrientedTriangle* v) {
  checkResizable();
  const int32_t inside = ZeroToOneIndexConverter::toInside(i);
  checkIndex(inside, 1, count() + 1);
  ClassifiedEdgeStack& s = edges();
  s.push(wordOf(v));
  for (int32_t j = s.count(); j > inside; --j)
    s.at(j) = s.at(j - 1);
  s.at(inside) = wordOf(v);
}

void OrientedTriangleStack::remove(int i) {
  checkResizable();
  const int32_t inside = ZeroToOneIndexConverter::toInside(i);
  checkIndex(inside, 1, count());
  for (int32_t j = inside; j < stack_->count(); ++j)
    stack_->at(j) = stack_->at(j + 1);
  stack_->setCount(stack_->count() - 1);
}

int OrientedTriangleStack::indexOf(OrientedTriangle* v) const {
  const uint32_t word = wordOf(v);
  for (int32_t j = count(); j >= 1; --j)
    if (stack_->at(j) == word)
      return ZeroToOneIndexConverter::toOutside(j);
  return -1;
}

void OrientedTriangleStack::clear() {
  checkResizable();
  if (stack_)
    stack_->clear();
}

OrientedTriangle* OrientedTriangleStack::tryGet(int i) const {
  const int32_t inside = ZeroToOneIndexConverter::toInside(i);
  return new OrientedTriangle(inside >= 1 && inside <= count() ? stack_->at(inside) : 0u);
}

bool OrientedTriangleStack::trySet(int i, OrientedTriangle* v) {
  const int32_t inside = ZeroToOneIndexConverter::toInside(i);
  if (inside < 1 || inside > count())
    return false;
  stack_->at(inside) = wordOf(v);
  return true;
}

OrientedTriangle* OrientedTriangleStack::last() const {
  return new OrientedTriangle(count() > 0 ? stack_->at(count()) : 0u);
}

OrientedTriangle* OrientedTriangleStack::first() const {
  return new OrientedTriangle(count() > 0 ? stack_->at(1) : 0u);
}

OrientedTriangleStackList::OrientedTriangleStackList(const OrientedTriangleStackList& other)
    : IKivUnknown(other), TStackArray(other) {
  for (int32_t j = 1; j <= stack_.count(); ++j)
    if (OrientedTriangleStack* s = stack_.at(j).get())
      stack_.at(j) = new OrientedTriangleStack(*s);
}

void OrientedTriangleProperty::textOf(OrientedTriangle* value, KivString& out) {
  out = KivString();
  if (value)
    formatMessage(out, "(%1, %2)", KivString(value->triangle()), KivString(value->version()));
}

void OrientedTriangleProperty::writeValue(IKivDataModelWriter* writer, OrientedTriangle* value) {
  writer->writeInt32(value ? static_cast<int32_t>(value->value()) : 0);
}

void OrientedTriangleProperty::readValue(IKivDataModelReader* reader,
                                         OrientedTriangleProperty* property) {
  int32_t word = 0;
  if (!sectionHolds(reader, sizeof(word)) || !reader->readInt32(&word))
    return;
  if (!property->value_)
    property->value_ = new OrientedTriangle;
  property->value_->setValue(word);
}

uint64_t OrientedTriangleStackProperty::memorySize() const {
  return sizeof(OrientedTriangleStackProperty) +
         (get() ? sizeof(OrientedTriangle) * static_cast<uint64_t>(get()->count()) : 0);
}

void OrientedTriangleStackProperty::textOf(OrientedTriangleStack* value, KivString& out) {
  out = KivString();
  if (value)
    formatMessage(out, "(%1)", KivString(value->count()));
}

void OrientedTriangleStackProperty::writeValue(IKivDataModelWriter* writer,
                                               OrientedTriangleStack* value) {
  const int32_t n = value ? value->count() : 0;
  writer->writeInt32(n);
  for (int32_t j = 1; j <= n; ++j)
    writer->writeInt32(static_cast<int32_t>(value->edgeStack()->at(j)));
}

void OrientedTriangleStackProperty::readValue(IKivDataModelReader* reader,
                                              OrientedTriangleStackProperty* property) {
  int32_t n = 0;
  if (!sectionHolds(reader, sizeof(n)) || !reader->readInt32(&n))
    return;
  // A count the section can't hold is left unread.
  if (n < 0 || !sectionHolds(reader, int64_t{n} * 4))
    return;
  if (!property->value_)
    property->value_ = new OrientedTriangleStack;
  ClassifiedEdgeStack& edges = property->value_->edges();
  edges.clear();
  for (int32_t j = 0; j < n; ++j) {
    int32_t word = 0;
    if (!reader->readInt32(&word))
      return;
    edges.push(static_cast<uint32_t>(word));
  }
}

uint64_t OrientedTriangleStackListProperty::memorySize() const {
  uint64_t size = sizeof(OrientedTriangleStackListProperty);
  if (OrientedTriangleStackList* list = get())
    for (int i = 0; i < list->count(); ++i)
      if (OrientedTriangleStack* s = list->get(i))
        size += sizeof(OrientedTriangleStack) +
                sizeof(OrientedTriangle) * static_cast<uint64_t>(s->count());
  return size;
}

void OrientedTriangleStackListProperty::writeValue(IKivDataModelWriter* writer,
                                                   OrientedTriangleStackList* value) {
  const int32_t n = value ? value->count() : 0;
  writer->writeInt32(n);
  for (int32_t i = 0; i < n; ++i) {
    OrientedTriangleStack* s = value->get(i);
    ClassifiedEdgeStack empty;
    KivBinaryIO<ClassifiedEdgeStack> io(s && s->edgeStack()
                                            ? const_cast<ClassifiedEdgeStack*>(s->edgeStack())
                                            : &empty);
    writer->writeBinary(&io);
  }
}

void OrientedTriangleStackListProperty::readValue(IKivDataModelReader* reader,
                                                  OrientedTriangleStackListProperty* property) {
  int32_t n = 0;
  if (!sectionHolds(reader, sizeof(n)) || !reader->readInt32(&n))
    return;
  // Every stack takes its 4-byte count at least.
  if (n < 0 || !sectionHolds(reader, int64_t{n} * 4))
    return;
  if (!property->value_)
    property->value_ = new OrientedTriangleStackList;
  OrientedTriangleStackList* list = property->value_.get();
  list->stack().clear();
  for (int32_t i = 0; i < n; ++i) {
    IPtr<OrientedTriangleStack> s(new OrientedTriangleStack);
    KivBinaryIO<ClassifiedEdgeStack> io(&s->edges());
    if (!reader->readBinary(&io) || !reader->good())
      return;
    list->stack().push(s.get());
  }
}
