//===- quicksort.h - The iterative sort of index arrays ---------*- C++ -*-===//
//
// quickSort sorts the entries lo..hi (inclusive) of an array of 32-bit
// indices by a comparison of the elements they name, without recursion:
// median of three, an explicit stack of ranges (taken from the process-wide
// pool of index stacks unless the caller gives one), and an exchange sort for
// ranges of at most 5 entries. It is not stable. Entries of a paged array are
// written through ensureIndex and set.
//
// applyOrder moves elements so that new[i] = old[order[i]] for i in
// first..last, each element once, along the cycles of the order, with one
// scratch element (index -1 in QuickSort_Assign). Entries that name a
// position outside first..last end their cycle there.
//
// sortRecords sorts fixed-size records with the C library's qsort and hands
// the comparison a reference point and a context through process-wide
// variables: not re-entrant, one thread at a time.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "kivbasictypes/kivmmarray.h"

#include <cstddef>
#include <cstdint>

class QuickSort_Compare {
public:
  virtual ~QuickSort_Compare() = default;
  // Negative, zero or positive as element a sorts before, with or after b.
  virtual int compare(int32_t a, int32_t b) = 0;
};

class QuickSort_Assign {
public:
  virtual ~QuickSort_Assign() = default;
  // Element `from` goes to `to`; -1 on either side is the scratch element.
  virtual void assign(int32_t from, int32_t to) = 0;
};

using IndexStack = IterStack<int32_t>;
using SortIndexArray = KivMM::Array<int, KivMM::Splitter<int>>;

// The pool of index stacks: a stack taken is empty; giving it back nulls the
// caller's pointer.
IndexStack* takeIndexStack();
void giveIndexStack(IndexStack** stack);

namespace quicksortdetail {

// Element access of the two array kinds.
struct PagedAccess {
  SortIndexArray& a;
  int32_t get(int32_t i) const { return a.get(i); }
  void put(int32_t i, int32_t v) {
    a.ensureIndex(i);
    a.set(i, v);
  }
};
struct PlainAccess {
  int32_t* a;
  int32_t get(int32_t i) const { return a[i]; }
  void put(int32_t i, int32_t v) { a[i] = v; }
};

template <class Access, class Cmp>
bool exchangeSort(Access& arr, int32_t lo, int32_t hi, Cmp& cmp) {
  for (int32_t i = lo; i < hi; ++i) {
    for (int32_t j = i + 1; j <= hi; ++j) {
      const int32_t x = arr.get(i);
      const int32_t y = arr.get(j);
      if (cmp(x, y) > 0) {
        arr.put(i, y);
        arr.put(j, x);
      }
    }
  }
  return true;
}

template <class Access, class Cmp>
bool sort(Access& arr, int32_t lo, int32_t hi, Cmp& cmp, IndexStack* given) {
  if (lo >= hi)
    return false;
  if (hi - lo < 5)
    return exchangeSort(arr, lo, hi, cmp);
  IndexStack* stack = given ? given : takeIndexStack();
  const int32_t base = stack->count();
  stack->push(lo);
  stack->push(hi);
  while (stack->count() > base) {
    hi = stack->pop();
    lo = stack->pop();
    const int32_t mid = static_cast<int32_t>((int64_t{lo} + hi) >> 1);
    int32_t a = arr.get(lo);
    int32_t b = arr.get(hi);
    const int32_t c = arr.get(mid);
    const int32_t d = arr.get(lo + 1);
    if (cmp(a, b) > 0) {
      arr.put(lo, b);
      arr.put(hi, a);
      const int32_t t = a;
      a = b;
      b = t;
    }
    int32_t p;
    if (cmp(b, c) < 0) {
      arr.put(lo + 1, b);
      arr.put(hi, c);
      p = b;
    } else if (cmp(c, a) < 0) {
      arr.put(lo + 1, a);
      arr.put(lo, c);
      p = a;
    } else {
      arr.put(lo + 1, c);
      p = c;
    }
    arr.put(mid, d);
    int32_t i = lo + 1;
    int32_t j = hi;
    for (;;) {
      do
        --j;
      while (j > i && cmp(arr.get(j), p) > 0);
      if (i >= j)
        break;
      do
        ++i;
      while (i < j && cmp(arr.get(i), p) < 0);
      if (i >= j)
        break;
      const int32_t t = arr.get(i);
      arr.put(i, arr.get(j));
      arr.put(j, t);
    }
    if (j != lo + 1) {
      const int32_t t = arr.get(j);
      arr.put(j, arr.get(lo + 1));
      arr.put(lo + 1, t);
    }
    if (j - 1 - lo > 4) {
      stack->push(lo);
      stack->push(j - 1);
    } else if (j - 1 > lo) {
      exchangeSort(arr, lo, j - 1, cmp);
    }
    if (hi - (j + 1) > 4) {
      stack->push(j + 1);
      stack->push(hi);
    } else if (hi > j + 1) {
      exchangeSort(arr, j + 1, hi, cmp);
    }
  }
  if (!given)
    giveIndexStack(&stack);
  return true;
}

// Positions first..last not yet placed; defined in quicksort.cpp over a
// BitVector so that this header stays light.
class Pending {
public:
  Pending(int32_t first, int32_t last);
  ~Pending();
  Pending(const Pending&) = delete;
  Pending& operator=(const Pending&) = delete;
  int32_t next(int32_t after) const;
  bool marked(int32_t i) const;
  void done(int32_t i);

private:
  void* bits_;
  int32_t first_;
  int32_t last_;
};

template <class Order, class Move>
void apply(const Order& order, int32_t first, int32_t last, Move& move) {
  if (first > last)
    return;
  Pending pending(first, last);
  for (int32_t i = pending.next(first - 1); i >= 0; i = pending.next(i)) {
    if (order.get(i) == i) {
      pending.done(i);
      continue;
    }
    move(i, -1);
    int32_t c = i;
    for (;;) {
      const int32_t source = order.get(c);
      pending.done(c);
      if (!pending.marked(source)) {
        move(-1, c);
        break;
      }
      move(source, c);
      c = source;
    }
  }
}

struct ConstPaged {
  const SortIndexArray& a;
  int32_t get(int32_t i) const { return a.get(i); }
};
struct ConstPlain {
  const int32_t* a;
  int32_t get(int32_t i) const { return a[i]; }
};

} // namespace quicksortdetail

bool quickSort(SortIndexArray& array, int32_t lo, int32_t hi, QuickSort_Compare& compare,
               IndexStack* stack = nullptr);

// The same sort with a member function of `object` as the comparison.
template <class T>
bool quickSort(SortIndexArray& array, int32_t lo, int32_t hi, T* object,
               int (T::*compare)(int32_t, int32_t), IndexStack* stack = nullptr) {
  quicksortdetail::PagedAccess access{array};
  auto cmp = [&](int32_t a, int32_t b) { return (object->*compare)(a, b); };
  return quicksortdetail::sort(access, lo, hi, cmp, stack);
}

template <class T>
bool quickSort(int32_t* array, int32_t lo, int32_t hi, T* object,
               int (T::*compare)(int32_t, int32_t), IndexStack* stack = nullptr) {
  quicksortdetail::PlainAccess access{array};
  auto cmp = [&](int32_t a, int32_t b) { return (object->*compare)(a, b); };
  return quicksortdetail::sort(access, lo, hi, cmp, stack);
}

void applyOrder(const SortIndexArray& order, int32_t first, int32_t last, QuickSort_Assign& assign);

template <class T>
void applyOrder(const SortIndexArray& order, int32_t first, int32_t last, T* object,
                void (T::*assign)(int32_t, int32_t)) {
  auto move = [&](int32_t from, int32_t to) { (object->*assign)(from, to); };
  quicksortdetail::apply(quicksortdetail::ConstPaged{order}, first, last, move);
}

template <class T>
void applyOrder(const int32_t* order, int32_t first, int32_t last, T* object,
                void (T::*assign)(int32_t, int32_t)) {
  auto move = [&](int32_t from, int32_t to) { (object->*assign)(from, to); };
  quicksortdetail::apply(quicksortdetail::ConstPlain{order}, first, last, move);
}

// qsort over n records of `size` bytes; the comparison finds `reference` and
// `context` through sortReference() and sortContext() while it runs. Both
// are cleared afterwards.
using RecordCompare = int (*)(const void* a, const void* b);
void sortRecords(void* records, size_t n, size_t size, const void* reference, void* context,
                 RecordCompare compare);
const void* sortReference();
void* sortContext();
