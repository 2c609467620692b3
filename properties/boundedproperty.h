//===- boundedproperty.h - A value class with bounds ------------*- C++ -*-===//
//
// TBoundedProperty<Derived, Interface, T> adds bounds to TValueProperty for
// the numeric classes (int, double). Interface must declare
// getBounds(T*, T*) and setBounds(T, T).
//
// Invariants a user must know:
//  - The value lives between `min` and `max` (by default the whole range of
//    T). set() outside them fails with code 6 in the shape "Error in class :
//    Value for property '<name>' is out of bounds '<v>', value between
//    '<min>' and '<max>' is expected." and keeps the old value. The test is
//    written as one for "outside", so that a NaN passes.
//  - get() clamps the stored value to the bounds of the moment, so that
//    setBounds() takes effect on reading at once, without an event. A NaN
//    reads back as `max`.
//  - getBounds and setBounds always give true; setBounds doesn't touch the
//    value.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "properties/valueproperty.h"

#include <limits>

// Fails with the out-of-bounds text above.
[[noreturn]] void throwOutOfBounds(const KivString& name, const KivString& value,
                                   const KivString& min, const KivString& max);

template <class Derived, class Interface, class T>
class TBoundedProperty : public TValueProperty<Derived, Interface, T> {
  using Base = TValueProperty<Derived, Interface, T>;

public:
  using Base::Base;
  TBoundedProperty(const KivString& name, T value, bool readOnly, T min, T max, bool events)
      : Base(name, value, readOnly, events), min_(min), max_(max) {}

  T get() const override {
    if (this->value_ < min_)
      return min_;
    return this->value_ < max_ ? this->value_ : max_;
  }
  void set(const T& value) override {
    if (value < min_ || value > max_)
      throwOutOfBounds(this->name(), KivString(value), KivString(min_), KivString(max_));
    Base::set(value);
  }
  bool getBounds(T* min, T* max) override {
    if (min)
      *min = min_;
    if (max)
      *max = max_;
    return true;
  }
  bool setBounds(T min, T max) override {
    min_ = min;
    max_ = max;
    return true;
  }

private:
  T min_ = std::numeric_limits<T>::lowest();
  T max_ = std::numeric_limits<T>::max();
};
