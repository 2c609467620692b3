//===- quicksort.cpp - The iterative sort of index arrays -----------------===//
#include "kivbasictypes/quicksort.h"

#include "kivbasictypes/bitvector.h"

#include <cstdlib>

namespace quicksortdetail {

Pending::Pending(int32_t first, int32_t last)
    : bits_(new BitVector(last)), first_(first), last_(last) {
  auto* bits = static_cast<BitVector*>(bits_);
  bits->setRange(first, last);
}

Pending::~Pending() { delete static_cast<BitVector*>(bits_); }

int32_t Pending::next(int32_t after) const {
  const int32_t i = static_cast<BitVector*>(bits_)->nextSet(after);
  return i > last_ ? -1 : i;
}

bool Pending::marked(int32_t i) const {
  return i >= first_ && i <= last_ && static_cast<BitVector*>(bits_)->get(i);
}

void Pending::done(int32_t i) { static_cast<BitVector*>(bits_)->clear(i); }

} // namespace quicksortdetail

bool quickSort(SortIndexArray& array, int32_t lo, int32_t hi, QuickSort_Compare& compare,
               IndexStack* stack) {
  quicksortdetail::PagedAccess access{array};
  auto cmp = [&](int32_t a, int32_t b) { return compare.compare(a, b); };
  return quicksortdetail::sort(access, lo, hi, cmp, stack);
}

void applyOrder(const SortIndexArray& order, int32_t first, int32_t last,
                QuickSort_Assign& assign) {
  auto move = [&](int32_t from, int32_t to) { assign.assign(from, to); };
  quicksortdetail::apply(quicksortdetail::ConstPaged{order}, first, last, move);
}

namespace {
const void* gReference = nullptr;
void* gContext = nullptr;
} // namespace

void sortRecords(void* records, size_t n, size_t size, const void* reference, void* context,
                 RecordCompare compare) {
  gReference = reference;
  gContext = context;
  std::qsort(records, n, size, compare);
  gReference = nullptr;
  gContext = nullptr;
}

const void* sortReference() { return gReference; }
void* sortContext() { return gContext; }
