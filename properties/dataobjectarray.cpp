//===- dataobjectarray.cpp - An ordered array of data objects -------------===//
#include "properties/dataobjectarray.h"

#include "core/classwalk.h"
#include "core/platformexception.h"
#include "model/dataobjectarraylistener.h"

DataObjectArray::DataObjectArray(const DataObjectArray& other)
    : IKivUnknown(other), Collection(other), IKivDataObjectArray(other),
      elements_(other.elements_) {}

void DataObjectArray::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    Collection::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDataObjectArray");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<Collection*>(this)),
                out) ||
      kivAnswer(name, "IKivDataObjectArray", static_cast<IKivDataObjectArray*>(this), out))
    return;
  Collection::queryInterface(name, out);
}

// The index in its inside form against 1 to `limit`.
void DataObjectArray::checkZeroBased(int index, int limit) const {
  checkIndex(ZeroToOneIndexConverter::toInside(index), 1, limit);
}

DataObject* DataObjectArray::current() const {
  return cursor_ >= 1 && cursor_ <= count() ? elements_[cursor_ - 1].get() : nullptr;
}

DataObject* DataObjectArray::get(int index) const {
  checkZeroBased(index, count());
  return elements_[index].get();
}

DataObject* DataObjectArray::getChecked(int index) const {
  checkZeroBased(index, static_cast<int>(elements_.size()));
  return elements_[index].get();
}

void DataObjectArray::set(int index, DataObject* value) {
  checkReadOnly();
  checkZeroBased(index, count());
  IPtr<DataObject> old = elements_[index];
  elements_[index] = value;
  // A copy of the list: a listener may register or leave during the call.
  const auto listeners = listeners_;
  if (old)
    for (IKivDataObjectArrayListener* l : listeners)
      l->onRemoved(old.get(), index);
  for (IKivDataObjectArrayListener* l : listeners)
    l->onAdded(value, index);
}

void DataObjectArray::append(DataObject* value) {
  checkResizable();
  elements_.emplace_back(value);
  const int index = count() - 1;
  const auto listeners = listeners_;
  for (IKivDataObjectArrayListener* l : listeners)
    l->onAdded(value, index);
}

DataObject* DataObjectArray::pop() {
  checkResizable();
  checkZeroBased(count() - 1, count());
  IPtr<DataObject> last = elements_.back();
  elements_.pop_back();
  const auto listeners = listeners_;
  for (IKivDataObjectArrayListener* l : listeners)
    l->onRemoved(last.get(), count());
  return last.get();
}

void DataObjectArray::insert(int index, DataObject* value) {
  checkResizable();
  checkZeroBased(index, count() + 1);
  elements_.insert(elements_.begin() + index, IPtr<DataObject>(value));
  const auto listeners = listeners_;
  for (IKivDataObjectArrayListener* l : listeners)
    l->onAdded(value, index);
}

void DataObjectArray::remove(int index) {
  checkResizable();
  checkZeroBased(index, count());
  IPtr<DataObject> gone = elements_[index];
  elements_.erase(elements_.begin() + index);
  const auto listeners = listeners_;
  for (IKivDataObjectArrayListener* l : listeners)
    l->onRemoved(gone.get(), index);
}

int DataObjectArray::indexOf(DataObject* value) const {
  for (int i = count() - 1; i >= 0; --i)
    if (elements_[i].get() == value)
      return i;
  return -1;
}

void DataObjectArray::clear() {
  checkResizable();
  elements_.clear();
}

void DataObjectArray::addListener(IKivDataObjectArrayListener* listener) {
  listeners_.push_back(listener);
}

void DataObjectArray::removeListener(IKivDataObjectArrayListener* listener) {
  for (auto it = listeners_.rbegin(); it != listeners_.rend(); ++it)
    if (*it == listener) {
      listeners_.erase(std::next(it).base());
      return;
    }
}
