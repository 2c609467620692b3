//===- imagearray.h - An array of images ------------------------*- C++ -*-===//
//
// ImageArray holds one strong reference on each image (null elements are
// allowed) and has the core of the family with a second get that tests
// against the element count directly. It has no listeners.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "base/basic/kivimage.h"
#include "properties/stackarray.h"

using ImageIter = TStackIter<KivImage*>;

class IKivImageArray : public virtual IKivUnknown {
public:
  virtual int count() const = 0;
  virtual bool next() = 0;
  virtual KivImage* current() const = 0;
  virtual KivImage* get(int i) const = 0;
  virtual KivImage* getChecked(int i) const = 0;
  virtual void set(int i, KivImage* v) = 0;
  virtual void append(KivImage* v) = 0;
  // The image leaves the array; the caller gets no reference.
  virtual KivImage* pop() = 0;
  virtual void rewind() = 0;
  virtual void insert(int i, KivImage* v) = 0;
  virtual void remove(int i) = 0;
  virtual int indexOf(KivImage* v) const = 0;
  virtual void clear() = 0;
};

class ImageArray : public TStackArray<ImageArray, IKivImageArray, KivImage*> {
public:
  static constexpr const char* kClassName = "ImageArray";
  static constexpr const char* kInterfaceName = "IKivImageArray";
  ImageArray() = default;
  ImageArray(const ImageArray&) = default;

  KivImage* getChecked(int i) const override {
    const int32_t inside = ZeroToOneIndexConverter::toInside(i);
    checkIndex(inside, 1, stack_.count());
    return stack_.at(inside).get();
  }
  virtual ImageIter* iterator() const { return new ImageIter(&stack_); }
};
