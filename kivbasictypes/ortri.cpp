//===- ortri.cpp - Oriented triangles and classified edge stacks ----------===//
#include "kivbasictypes/ortri.h"

#include "core/kivassert.h"
#include "kivbasictypes/binio.h"
#include "kivbasictypes/ikivprogress.h"
#include "kivbasictypes/quicksort.h"

#include <iostream>
#include <utility>
#include <vector>

namespace ortri {

uint32_t versionOf(int first, int second) {
  if (first == 0)
    return second == 1 ? 0 : 5;
  if (first == 1)
    return second == 0 ? 1 : 2;
  return second == 0 ? 4 : 3;
}

uint32_t applyVersion(uint32_t version, uint32_t op) {
  if (version > 5 || op > 5) {
    kivAssert("", "kivbasictypes/ortri", __LINE__);
    return version;
  }
  switch (op) {
  case 0:
    return version;
  case 1:
    return version ^ 1;
  case 2:
    return kNextEdge[version];
  case 3:
    return kNextEdgeReversed[version];
  case 4:
    return kPreviousEdge[version];
  default:
    return kPreviousEdgeReversed[version];
  }
}

OrTri compose(OrTri a, OrTri b) {
  const uint32_t v = version(b);
  const uint32_t op = version(a);
  if (v > 5 || op > 5) {
    kivAssert("", "kivbasictypes/ortri", __LINE__);
    return b;
  }
  uint32_t result = v;
  switch (op) {
  case 0:
    break;
  case 1:
    result = v ^ 1;
    break;
  case 2:
    result = kNextEdge[v];
    break;
  case 3:
    result = kNextEdge[v] ^ 1;
    break;
  case 4:
    result = kPreviousEdge[v];
    break;
  default:
    result = kPreviousEdge[v] ^ 1;
    break;
  }
  return make(triangle(b), result);
}

bool write(OrTri e, BinOutput& out) { return out.write(&e); }
bool read(OrTri& e, BinInput& in) { return in.read(&e); }

void print(std::ostream& out, OrTri e) {
  out << "(" << triangle(e) << ", " << version(e) << ") ";
}

} // namespace ortri

void ClassifiedEdgeStack::assign(const ClassifiedEdgeStack& other) {
  if (this != &other)
    IterStack::operator=(other);
  classification_ = 0;
}

void ClassifiedEdgeStack::assignWithClassification(const ClassifiedEdgeStack& other) {
  if (this != &other)
    IterStack::operator=(other);
  classification_ = other.classification_;
}

bool ClassifiedEdgeStack::reverse() {
  const int32_t n = count();
  if (n == 0)
    return false;
  for (int32_t i = 1; i <= n / 2; ++i) {
    const uint32_t front = at(i);
    at(i) = at(n + 1 - i) ^ 1;
    at(n + 1 - i) = front ^ 1;
  }
  if (n % 2)
    at(n / 2 + 1) ^= 1;
  return true;
}

void ClassifiedEdgeStack::renumberCorners() {
  for (int32_t i = count(); i >= 1; --i) {
    const uint32_t v = ortri::version(at(i));
    at(i) = ortri::make(ortri::triangle(at(i)), (7 - v) % 6);
  }
}

void ClassifiedEdgeStack::renumber(const KivMM::Array<int>& map) {
  for (int32_t i = 1; i <= count(); ++i)
    at(i) = ortri::compose(at(i), static_cast<OrTri>(map.get(static_cast<int32_t>(ortri::triangle(at(i))))));
}

bool ClassifiedEdgeStack::write(BinOutput& out) const { return write(out, nullptr); }

bool ClassifiedEdgeStack::write(BinOutput& out, IKivProgress* progress) const {
  const int32_t n = count();
  bool ok = out.write(&n);
  const int32_t step = n / 50 + 1;
  for (int32_t i = 1; i <= n && ok; ++i) {
    ok = out.write(&at(i));
    if (progress && i % step == 0)
      progress->report(static_cast<float>(i) * (1.0f / static_cast<float>(n)));
  }
  return ok;
}

bool ClassifiedEdgeStack::read(BinInput& in) { return read(in, nullptr); }

bool ClassifiedEdgeStack::read(BinInput& in, IKivProgress* progress) {
  clear();
  int32_t n = 0;
  if (!in.read(&n))
    return false;
  const int32_t step = n / 50 + 1;
  // One by one: a count larger than the data stops at its end rather than
  // reserving room for it.
  for (int32_t i = 1; i <= n; ++i) {
    uint32_t e = 0;
    if (!in.read(&e))
      return false;
    push(e);
    if (progress && i % step == 0)
      progress->report(static_cast<float>(i) * (1.0f / static_cast<float>(n)));
  }
  return true;
}

void ClassifiedEdgeStack::print(std::ostream& out) const {
  out << "Edge Stack (size = " << count() << ", " << (isClosed() ? "closed, " : "open, ")
      << (isBoundary() ? "bd)" : "non-bd)") << "\n";
  for (int32_t i = 1; i <= count(); ++i) {
    out << "\t" << i << ": ";
    ortri::print(out, at(i));
    out << "\n";
  }
  out << "\n";
}

void ClassifiedEdgeStack::print() const {
  print(std::cout);
  std::cout << "\n";
}

void ClassifiedEdgeStack::swap(ClassifiedEdgeStack& other) noexcept {
  IterStack<uint32_t> mine(std::move(static_cast<IterStack<uint32_t>&>(*this)));
  static_cast<IterStack<uint32_t>&>(*this) = std::move(static_cast<IterStack<uint32_t>&>(other));
  static_cast<IterStack<uint32_t>&>(other) = std::move(mine);
  std::swap(classification_, other.classification_);
}

ClassifiedEdgeStack*& ClassifiedEdgeStackList::at(int32_t i) {
  if (i > stacks_.count())
    stacks_.setCount(i); // new slots of a pointer stack are zeroed
  return stacks_.at(i);
}

void ClassifiedEdgeStackList::clear() {
  for (int32_t i = stacks_.count(); i >= 1; --i) {
    delete stacks_.at(i);
    stacks_.at(i) = nullptr;
  }
  stacks_.clear();
}

void ClassifiedEdgeStackList::remove(int32_t i, bool compactAfter) {
  if (i >= 1 && i <= stacks_.count()) {
    delete stacks_.at(i);
    stacks_.at(i) = nullptr;
  }
  if (compactAfter)
    compact();
}

void ClassifiedEdgeStackList::removeWhere(uint8_t bit, bool set) {
  for (int32_t i = 1; i <= stacks_.count(); ++i) {
    ClassifiedEdgeStack* s = stacks_.at(i);
    if (s && ((s->classification() & bit) != 0) == set) {
      delete s;
      stacks_.at(i) = nullptr;
    }
  }
  compact();
}

void ClassifiedEdgeStackList::compact() {
  int32_t kept = 0;
  for (int32_t i = 1; i <= stacks_.count(); ++i)
    if (ClassifiedEdgeStack* s = stacks_.at(i)) {
      stacks_.at(i) = nullptr;
      stacks_.at(++kept) = s;
    }
  stacks_.setCount(kept);
}

namespace {

struct BySize {
  const IterStack<ClassifiedEdgeStack*>* stacks;
  int32_t countOf(int32_t i) const {
    const ClassifiedEdgeStack* s = stacks->at(i);
    return s ? s->count() : 0;
  }
  int compare(int32_t a, int32_t b) { return countOf(b) - countOf(a); }
};

} // namespace

void ClassifiedEdgeStackList::sortBySize() {
  const int32_t n = stacks_.count();
  if (n < 2)
    return;
  std::vector<int32_t> order(static_cast<size_t>(n) + 1);
  for (int32_t i = 0; i <= n; ++i)
    order[static_cast<size_t>(i)] = i;
  BySize bySize{&stacks_};
  quickSort(order.data(), 1, n, &bySize, &BySize::compare);
  std::vector<ClassifiedEdgeStack*> sorted(static_cast<size_t>(n) + 1, nullptr);
  for (int32_t i = 1; i <= n; ++i)
    sorted[static_cast<size_t>(i)] = stacks_.at(order[static_cast<size_t>(i)]);
  for (int32_t i = 1; i <= n; ++i)
    stacks_.at(i) = sorted[static_cast<size_t>(i)];
}

int64_t ClassifiedEdgeStackList::totalEdges() const {
  int64_t total = 0;
  for (int32_t i = 1; i <= stacks_.count(); ++i)
    if (const ClassifiedEdgeStack* s = stacks_.at(i))
      total += s->count();
  return total;
}

void ClassifiedEdgeStackList::assign(const ClassifiedEdgeStackList& other) {
  if (this == &other)
    return;
  clear();
  for (int32_t i = 1; i <= other.stacks_.count(); ++i) {
    const ClassifiedEdgeStack* s = other.stacks_.at(i);
    stacks_.push(s ? new ClassifiedEdgeStack(*s, true) : nullptr);
  }
}
