//===- array3d.cpp - A Vector3DArray over a host's point array ------------===//
#include "properties/array3d.h"

#include "core/classwalk.h"
#include "core/lookup.h"
#include "core/platformexception.h"
#include "kivbasictypes/irealparray.h"
#include "kivbasictypes/irealparrayfactory.h"
#include "kivbasictypes/kivvectorarray.h"

Array3D::Array3D() {
  SPtr<IRealPArrayFactory> factory("IRealPArrayFactory");
  if (factory)
    store_ = factory->createForWord(KivVectorArray::kRecordWord, 20);
}

Array3D::Array3D(const Array3D& other)
    : IKivUnknown(other), Vector3DArray(other), IKivArray3D(other) {
  if (other.store_)
    store_ = other.store_->cloneInterface();
}

Array3D::~Array3D() = default;

void Array3D::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    Vector3DArray::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, kInterfaceName);
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, kInterfaceName, static_cast<IKivArray3D*>(this), out))
    return;
  Vector3DArray::queryInterface(name, out);
}

void Array3D::checkWrite(bool resizing) const {
  if (isReadOnly())
    throwClassError("Array3D", "Collection is readonly.");
  if (resizing && isFixedSize())
    throwClassError("Array3D", "Collection has a fixed size.");
}

void Array3D::checkAt(int i, int limit) const {
  if (i < 0 || i >= limit)
    throwClassError("Array3D", "Index is out of range.");
}

const KivVector& Array3D::point(int i) const {
  // Point arrays count from 1, as the stacks do.
  if (store_)
    store_->getPoint(ZeroToOneIndexConverter::toInside(i), scratch_);
  else
    scratch_ = stack_.at(ZeroToOneIndexConverter::toInside(i));
  return scratch_;
}

void Array3D::put(int i, const KivVector& v) {
  if (store_)
    store_->set(ZeroToOneIndexConverter::toInside(i), v);
  else
    stack_.at(ZeroToOneIndexConverter::toInside(i)) = v;
}

bool Array3D::reserve(int n) {
  return store_ ? store_->reserve(n) : Vector3DArray::reserve(n);
}

int Array3D::capacity() const {
  // A point array tells no capacity; what it holds is what it has room for.
  return store_ ? store_->count() : Vector3DArray::capacity();
}

int Array3D::count() const { return store_ ? store_->count() : stack_.count(); }

const KivVector& Array3D::current() const {
  // No position check by the rule of current(); outside the points it
  // gives the zero point rather than reading past them.
  if (cursor_ < 1 || cursor_ > count()) {
    scratch_ = KivVector();
    return scratch_;
  }
  return point(ZeroToOneIndexConverter::toOutside(cursor_));
}

const KivVector& Array3D::get(int i) const {
  checkAt(i, count());
  return point(i);
}

void Array3D::set(int i, const KivVector& v) {
  checkWrite(false);
  checkAt(i, count());
  put(i, v);
}

void Array3D::append(const KivVector& v) {
  checkWrite(true);
  if (store_)
    store_->push(v);
  else
    stack_.push(v);
}

const KivVector& Array3D::pop() {
  checkWrite(true);
  const int n = count();
  if (n == 0)
    throwClassError("Array3D", "Collection is empty.");
  point(n - 1);
  if (store_)
    store_->setCount(n - 1);
  else
    stack_.setCount(n - 1);
  return scratch_;
}

void Array3D::insert(int i, const KivVector& v) {
  checkWrite(true);
  const int n = count();
  checkAt(i, n + 1);
  const KivVector value = v;
  append(value);
  for (int j = n; j > i; --j)
    put(j, KivVector(point(j - 1)));
  put(i, value);
}

void Array3D::remove(int i) {
  checkWrite(true);
  const int n = count();
  checkAt(i, n);
  for (int j = i; j < n - 1; ++j)
    put(j, KivVector(point(j + 1)));
  if (store_)
    store_->setCount(n - 1);
  else
    stack_.setCount(n - 1);
}

int Array3D::indexOf(const KivVector& v) const {
  for (int j = count() - 1; j >= 0; --j)
    if (point(j) == v)
      return j;
  return -1;
}

void Array3D::clear() {
  checkWrite(true);
  if (store_)
    store_->clear();
  else
    stack_.clear();
}

bool Array3D::setCount(int n) {
  checkWrite(true);
  const int elements = n < 0 ? 0 : n;
  if (!store_)
    return Vector3DArray::setCount(elements);
  store_->reserve(elements);
  store_->setCount(elements);
  return true;
}
