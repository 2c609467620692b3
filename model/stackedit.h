//===- stackedit.h - Taking entries out of an IterStack ---------*- C++ -*-===//
//
// The lists of objects, relationships and listeners are IterStacks counted
// from 1. Taking an entry out moves the entries behind it up by one and keeps
// their order; the last slot keeps a stale copy, as pop() leaves it.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"

#include <cstdint>

// Removes the entry at `index` (1 to count).
template <class T>
void removeStackEntry(IterStack<T>& stack, int32_t index) {
  const int32_t count = stack.count();
  for (int32_t i = index; i < count; ++i)
    stack.at(i) = stack.at(i + 1);
  stack.setCount(count - 1);
}

// Removes the last entry equal to `value`; false if there is none.
template <class T>
bool removeLastStackEntry(IterStack<T>* stack, const T& value) {
  if (!stack)
    return false;
  for (int32_t i = stack->count(); i >= 1; --i) {
    if (stack->at(i) == value) {
      removeStackEntry(*stack, i);
      return true;
    }
  }
  return false;
}
