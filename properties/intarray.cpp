//===- intarray.cpp - An array of ints over one of four stores ------------===//
#include "properties/intarray.h"

#include "kivbasictypes/blockbitvector.h"

#include <cstdlib>

namespace {

// Distinct bits for every int: 2x for x >= 0, 1 - 2x below. 64-bit, so
// INT_MIN doesn't overflow; values beyond the bit vector's index range
// can't be recorded and fall back to a search.
int64_t bitOf(int v) { return v >= 0 ? 2 * int64_t{v} : 1 - 2 * int64_t{v}; }
bool recordable(int v) { return bitOf(v) <= INT32_MAX; }

int ascending(const void* a, const void* b) {
  const int x = *static_cast<const int*>(a);
  const int y = *static_cast<const int*>(b);
  return (x > y) - (x < y);
}

// The bit vector of the values of a stack; false if some value can't be
// recorded.
template <class S>
bool valuesOf(const S& stack, BlockBitVector& seen) {
  for (int32_t i = 1; i <= stack.count(); ++i) {
    if (!recordable(stack.at(i)))
      return false;
    seen.set(static_cast<int32_t>(bitOf(stack.at(i))));
  }
  return true;
}

// Keeps the first occurrence of each value, in order. False (and nothing
// changed) if a value can't be recorded.
template <class S, class Put>
bool uniqueInOrder(S& stack, Put put, int32_t& kept) {
  for (int32_t i = 1; i <= stack.count(); ++i)
    if (!recordable(stack.at(i)))
      return false;
  BlockBitVector seen;
  kept = 0;
  for (int32_t i = 1; i <= stack.count(); ++i) {
    const int v = stack.at(i);
    const auto bit = static_cast<int32_t>(bitOf(v));
    if (seen.get(bit))
      continue;
    seen.set(bit);
    put(++kept, v);
  }
  return true;
}

} // namespace

IntArray::IntArray() : stack_(new IterStack<int>(20)) {}
IntArray::IntArray(IterStack<int>* stack) : stack_(stack) {}
IntArray::IntArray(IterBlockStack<int>* blockStack) : blockStack_(blockStack) {}
IntArray::IntArray(IterLargeStack<int>* largeStack) : largeStack_(largeStack) {}
IntArray::IntArray(MMArray* array) : array_(array) {}

IntArray::IntArray(const IntArray& other)
    : IKivUnknown(other), Collection(other), IKivIntArray(other) {
  if (other.stack_)
    stack_ = new IterStack<int>(*other.stack_);
  else if (other.blockStack_)
    blockStack_ = new IterBlockStack<int>(*other.blockStack_);
  else if (other.largeStack_)
    largeStack_ = new IterLargeStack<int>(*other.largeStack_);
  else if (other.array_)
    array_ = new MMArray(*other.array_);
}

IntArray::~IntArray() {
  delete stack_;
  delete blockStack_;
  delete largeStack_;
  delete array_;
}

void IntArray::queryInterface(const char* name, void** out) {
  queryArrayClass<IntArray, IKivIntArray>(this, name, out);
}

int IntArray::count() const {
  if (stack_)
    return stack_->count();
  if (blockStack_)
    return blockStack_->count();
  if (largeStack_)
    return largeStack_->count();
  return 0;
}

int IntArray::at(int32_t inside) const {
  if (stack_)
    return inside >= 0 && inside < stack_->capacity() ? stack_->at(inside) : 0;
  if (blockStack_)
    return inside >= 0 && inside < blockStack_->capacity() ? blockStack_->at(inside) : 0;
  if (largeStack_)
    return largeStack_->at(inside);
  if (array_)
    return array_->get(inside);
  return 0;
}

void IntArray::put(int32_t inside, int v) {
  if (stack_)
    stack_->at(inside) = v;
  else if (blockStack_)
    blockStack_->at(inside) = v;
  else if (largeStack_)
    largeStack_->set(inside, v);
}

void IntArray::setStoreCount(int32_t n) {
  if (stack_)
    stack_->setCount(n);
  else if (blockStack_)
    blockStack_->setCount(n);
  else if (largeStack_)
    largeStack_->setCount(n);
}

void IntArray::push(int v) {
  if (stack_)
    stack_->push(v);
  else if (blockStack_)
    blockStack_->push(v);
  else if (largeStack_)
    largeStack_->push(v);
}

// current() reads the position without a check; a position outside the
// store's room reads 0 instead of outside the buffer.
int IntArray::current() const { return at(cursor_); }

int IntArray::get(int i) const {
  const int32_t inside = ZeroToOneIndexConverter::toInside(i);
  checkIndex(inside, 1, count());
  return at(inside);
}

void IntArray::set(int i, int v) {
  checkReadOnly();
  const int32_t inside = ZeroToOneIndexConverter::toInside(i);
  checkIndex(inside, 1, count());
  put(inside, v);
}

void IntArray::append(int v) {
  checkResizable();
  push(v);
}

int IntArray::pop() {
  checkResizable();
  const int32_t n = count();
  checkIndex(1, 1, n);
  const int v = at(n);
  setStoreCount(n - 1);
  return v;
}

void IntArray::insert(int i, int v) {
  checkResizable();
  const int32_t inside = ZeroToOneIndexConverter::toInside(i);
  checkIndex(inside, 1, count() + 1);
  push(v);
  for (int32_t j = count(); j > inside; --j)
    put(j, at(j - 1));
  put(inside, v);
}

void IntArray::remove(int i) {
  checkResizable();
  const int32_t inside = ZeroToOneIndexConverter::toInside(i);
  const int32_t n = count();
  checkIndex(inside, 1, n);
  for (int32_t j = inside; j < n; ++j)
    put(j, at(j + 1));
  setStoreCount(n - 1);
}

int IntArray::indexOf(int v) const {
  for (int32_t j = count(); j >= 1; --j)
    if (at(j) == v)
      return ZeroToOneIndexConverter::toOutside(j);
  return ZeroToOneIndexConverter::toOutside(0);
}

void IntArray::clear() {
  checkResizable();
  setStoreCount(0);
}

IntIter* IntArray::iterator() const {
  if (stack_)
    return new IntIterBase<IterStack<int>>(stack_);
  if (blockStack_)
    return new IntIterBase<IterBlockStack<int>>(blockStack_);
  if (largeStack_)
    return new IntIterBase<IterLargeStack<int>>(largeStack_);
  return nullptr;
}

void IntArray::append(const IntArray* other) {
  if (!other)
    return;
  if (stack_ && other->stack_) {
    checkResizable();
    const int32_t n = other->stack_->count();
    stack_->reserve(stack_->count() + n);
    for (int32_t j = 1; j <= n; ++j)
      stack_->push(other->stack_->at(j));
    return;
  }
  const int32_t n = other->count();
  for (int32_t j = 0; j < n; ++j)
    append(other->get(j));
}

void IntArray::subtract(const IntArray* other) {
  if (!other)
    return;
  if (stack_ && other->stack_) {
    checkResizable();
    const IterStack<int>& theirs = *other->stack_;
    BlockBitVector values;
    const bool useBits = theirs.count() >= kBitVectorThreshold && valuesOf(theirs, values);
    int32_t kept = 0;
    for (int32_t j = 1; j <= stack_->count(); ++j) {
      const int v = stack_->at(j);
      const bool hit = useBits ? recordable(v) && values.get(static_cast<int32_t>(bitOf(v)))
                               : other->indexOf(v) >= 0;
      if (!hit)
        stack_->at(++kept) = v;
    }
    stack_->setCount(kept);
    return;
  }
  for (int32_t j = count() - 1; j >= 0; --j)
    if (other->indexOf(get(j)) >= 0)
      remove(j);
}

void IntArray::unique() {
  const int32_t n = count();
  if (n < 2)
    return;
  checkResizable();
  int32_t kept = 0;
  if (stack_ && n < kBitVectorThreshold) {
    std::qsort(stack_->data() + 1, static_cast<size_t>(n), sizeof(int), &ascending);
    for (int32_t j = 1; j <= n; ++j)
      if (kept == 0 || stack_->at(kept) != stack_->at(j))
        stack_->at(++kept) = stack_->at(j);
    stack_->setCount(kept);
    return;
  }
  auto put = [this](int32_t inside, int v) { this->put(inside, v); };
  bool done = false;
  if (stack_)
    done = uniqueInOrder(*stack_, put, kept);
  else if (blockStack_)
    done = uniqueInOrder(*blockStack_, put, kept);
  else if (largeStack_)
    done = uniqueInOrder(*largeStack_, put, kept);
  else
    return;
  if (!done) {
    // A value too far from 0 for the bit vector: the same result by search.
    kept = 0;
    for (int32_t j = 1; j <= n; ++j) {
      const int v = at(j);
      bool seen = false;
      for (int32_t k = 1; k <= kept && !seen; ++k)
        seen = at(k) == v;
      if (!seen)
        put(++kept, v);
    }
  }
  setStoreCount(kept);
}
