//===- dataobjectarray.h - An ordered array of data objects ------*- C++ -*-===//
//
// DataObjectArray holds one strong reference on each element (null elements
// are allowed). The interface counts from 0; get(i), set(i, v) and remove(i)
// outside 0 to count - 1 fail with "Invalid index" (class text
// "Collection"), and insert(i, v) accepts 0 to count. pop() of an empty
// array fails the same way. indexOf searches from the end and gives -1 for
// an absent element. Listeners are raw pointers, not counted: append and
// insert tell onAdded, pop and remove tell onRemoved, set tells onRemoved for
// a non-null element that left and then onAdded; clear tells nobody.
//
// A member of the collection family: the read-only and fixed-size flags of
// Collection are obeyed.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivptr.h"
#include "model/dataobject.h"
#include "properties/collection.h"

#include <vector>

class IKivDataObjectArrayListener;

// A snapshot of the array made when the iterator was created; it holds its
// own references, so the array may change or die meanwhile.
class DataObjectIter {
public:
  explicit DataObjectIter(const std::vector<IPtr<DataObject>>& elements) : elements_(elements) {}
  virtual ~DataObjectIter() = default;
  virtual int count() { return static_cast<int>(elements_.size()); }
  virtual bool next() { return ++position_ <= count(); }
  virtual DataObject* value() {
    return position_ >= 1 && position_ <= count() ? elements_[position_ - 1].get() : nullptr;
  }
  virtual void rewind() { position_ = 0; }

private:
  std::vector<IPtr<DataObject>> elements_;
  int position_ = 0;
};

class IKivDataObjectArray : public virtual IKivUnknown {
public:
  virtual int count() const = 0;                                              // 1
  virtual bool next() = 0;                                                    // 2
  virtual DataObject* current() const = 0;                                    // 3
  virtual DataObject* get(int index) const = 0;                               // 4
  // Tests the index against the element count directly.
  virtual DataObject* getChecked(int index) const = 0;                        // 5
  virtual void set(int index, DataObject* value) = 0;                         // 6
  virtual void append(DataObject* value) = 0;                                 // 7
  // The last element, which leaves the array; the caller gets no reference,
  // so the object may already be gone unless somebody else holds it.
  virtual DataObject* pop() = 0;                                              // 8
  virtual void rewind() = 0;                                                  // 9
  virtual void insert(int index, DataObject* value) = 0;                      // 10
  virtual void remove(int index) = 0;                                         // 11
  virtual int indexOf(DataObject* value) const = 0;                           // 12
  virtual void clear() = 0;                                                   // 13
  // A new iterator, owned by the caller.
  virtual DataObjectIter* iterator() const = 0;                               // 14
  virtual void addListener(IKivDataObjectArrayListener* listener) = 0;        // 15
  virtual void removeListener(IKivDataObjectArrayListener* listener) = 0;     // 16
};

class DataObjectArray : public Collection, public IKivDataObjectArray {
public:
  static constexpr const char* kClassName = "DataObjectArray";

  DataObjectArray() = default;
  DataObjectArray(const DataObjectArray& other);
  DataObjectArray& operator=(const DataObjectArray&) = delete;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  int count() const override { return static_cast<int>(elements_.size()); }
  bool next() override { return ++cursor_ <= count(); }
  DataObject* current() const override;
  DataObject* get(int index) const override;
  DataObject* getChecked(int index) const override;
  void set(int index, DataObject* value) override;
  void append(DataObject* value) override;
  DataObject* pop() override;
  void rewind() override { cursor_ = 0; }
  void insert(int index, DataObject* value) override;
  void remove(int index) override;
  int indexOf(DataObject* value) const override;
  void clear() override;
  DataObjectIter* iterator() const override { return new DataObjectIter(elements_); }
  void addListener(IKivDataObjectArrayListener* listener) override;
  void removeListener(IKivDataObjectArrayListener* listener) override;

  const std::vector<IPtr<DataObject>>& elements() const { return elements_; }

private:
  void checkZeroBased(int index, int limit) const;

  std::vector<IPtr<DataObject>> elements_;
  std::vector<IKivDataObjectArrayListener*> listeners_;
};
