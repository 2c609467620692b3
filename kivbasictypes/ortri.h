//===- ortri.h - Oriented triangles and classified edge stacks --*- C++ -*-===//
//
// An OrTri is one 32-bit word: the triangle in bits 31..3 and the version in
// bits 2..0, one of the six directed edges of the triangle (0: corner 0 to
// 1, 1: 1 to 0, 2: 1 to 2, 3: 2 to 1, 4: 2 to 0, 5: 0 to 2). Versions that
// differ in bit 0 are one edge in the two directions; the even ones run
// round the triangle one way, the odd ones the other. Walking round a
// triangle is one look-up in a constant table.
//
// ClassifiedEdgeStack is a path: an IterStack of OrTri words, counted from
// 1, with classification bits (0 boundary, 1 closed, 2 and 3 marks whose
// meaning belongs to the host algorithms). The classification isn't stored.
// ClassifiedEdgeStackList owns a stack of such paths.
//
// Invariants a user must know:
//  - A version of 6 or 7 in applyVersion or compose is a programmer's fault
//    (an assertion); the input is then given back unchanged.
//  - Stored form of a stack: the count as a 32-bit integer, then each word,
//    unsigned 32-bit, through the big-endian stream.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "kivbasictypes/kivmmarray.h"

#include <cstdint>
#include <ostream>
#include <utility>

class BinInput;
class BinOutput;
class IKivProgress;

using OrTri = uint32_t;

namespace ortri {

// The tables of the walks, each indexed by the version.
inline constexpr uint8_t kNextEdge[6] = {2, 5, 4, 1, 0, 3};
inline constexpr uint8_t kPreviousEdge[6] = {4, 3, 0, 5, 2, 1};
inline constexpr uint8_t kNextEdgeReversed[6] = {3, 4, 5, 0, 1, 2};
inline constexpr uint8_t kPreviousEdgeReversed[6] = {5, 2, 1, 4, 3, 0};

inline constexpr uint32_t triangle(OrTri e) { return e >> 3; }
inline constexpr uint32_t version(OrTri e) { return e & 7; }
inline constexpr OrTri reverse(OrTri e) { return e ^ 1; }
inline constexpr OrTri make(uint32_t triangle, uint32_t version) { return triangle << 3 | version; }
inline constexpr uint32_t nextEdge(uint32_t version) { return kNextEdge[version]; }
inline constexpr uint32_t previousEdge(uint32_t version) { return kPreviousEdge[version]; }

// The version running from corner `first` to corner `second`.
uint32_t versionOf(int first, int second);
// The version through the symmetry numbered `op` (a version itself).
uint32_t applyVersion(uint32_t version, uint32_t op);
// b's edge with a's version applied; b's triangle.
OrTri compose(OrTri a, OrTri b);

bool write(OrTri e, BinOutput& out);
bool read(OrTri& e, BinInput& in);
// "(triangle, version) ".
void print(std::ostream& out, OrTri e);

} // namespace ortri

class ClassifiedEdgeStack : public IterStack<uint32_t> {
public:
  enum : uint8_t { kBoundary = 0x01, kClosed = 0x02, kMarkTwo = 0x04, kMarkThree = 0x08 };

  explicit ClassifiedEdgeStack(int32_t n = 0) : IterStack(n) {}
  // Without the classification, or with it.
  ClassifiedEdgeStack(const ClassifiedEdgeStack& other) : IterStack(other) {}
  ClassifiedEdgeStack(const ClassifiedEdgeStack& other, bool withClassification)
      : IterStack(other), classification_(withClassification ? other.classification_ : 0) {}
  ClassifiedEdgeStack& operator=(const ClassifiedEdgeStack& other) {
    assign(other);
    return *this;
  }

  void assign(const ClassifiedEdgeStack& other);
  void assignWithClassification(const ClassifiedEdgeStack& other);
  // count 0 and classification 0; the memory stays.
  void reset() {
    clear();
    classification_ = 0;
  }

  uint8_t classification() const { return classification_; }
  void setClassification(uint8_t flags) { classification_ = flags; }
  bool isBoundary() const { return classification_ & kBoundary; }
  void setBoundary(bool on) { setBit(kBoundary, on); }
  bool isClosed() const { return classification_ & kClosed; }
  void setClosed(bool on) { setBit(kClosed, on); }
  bool markTwo() const { return classification_ & kMarkTwo; }
  void setMarkTwo(bool on) { setBit(kMarkTwo, on); }
  bool markThree() const { return classification_ & kMarkThree; }
  void setMarkThree(bool on) { setBit(kMarkThree, on); }

  // The path turned round: order reversed, every element the other
  // direction. False for an empty stack.
  bool reverse();
  // Versions v become (7 - v) mod 6: corners 0 and 1 exchanged.
  void renumberCorners();
  // Each element e becomes compose(e, map[triangle(e)]).
  void renumber(const KivMM::Array<int>& map);

  bool write(BinOutput& out) const;
  bool write(BinOutput& out, IKivProgress* progress) const;
  // Clears the count and pushes what it reads; the classification stays.
  // Stops at the end of the data instead of trusting the stored count.
  bool read(BinInput& in);
  bool read(BinInput& in, IKivProgress* progress);
  void print(std::ostream& out) const;
  void print() const;

  void swap(ClassifiedEdgeStack& other) noexcept;

private:
  void setBit(uint8_t bit, bool on) {
    classification_ = on ? classification_ | bit : classification_ & ~bit;
  }

  uint8_t classification_ = 0;
};

// A list of paths, counted from 1, room for 20 at first; it owns them. A
// null entry stands for a path deleted and not yet compacted away.
class ClassifiedEdgeStackList {
public:
  ClassifiedEdgeStackList() : stacks_(20) {}
  // A deep copy, classifications with it.
  ClassifiedEdgeStackList(const ClassifiedEdgeStackList& other) : stacks_(20) { assign(other); }
  ClassifiedEdgeStackList& operator=(const ClassifiedEdgeStackList& other) {
    assign(other);
    return *this;
  }
  ~ClassifiedEdgeStackList() { clear(); }

  int32_t count() const { return stacks_.count(); }
  // The entry at i, extending the table (with null entries) if needed.
  ClassifiedEdgeStack*& at(int32_t i);
  void push(ClassifiedEdgeStack* stack) { stacks_.push(stack); }
  // Deletes all stacks, from the last to the first.
  void clear();
  void remove(int32_t i, bool compactAfter);
  void removeBoundary() { removeWhere(ClassifiedEdgeStack::kBoundary, true); }
  void removeClosed() { removeWhere(ClassifiedEdgeStack::kClosed, true); }
  void removeNonBoundary() { removeWhere(ClassifiedEdgeStack::kBoundary, false); }
  void removeOpen() { removeWhere(ClassifiedEdgeStack::kClosed, false); }
  // Closes the gaps of null entries, in order, and cuts the count.
  void compact();
  // By falling count; equal sizes keep no particular order.
  void sortBySize();
  void swapEntries(int32_t i, int32_t j) { std::swap(at(i), at(j)); }
  // The sum of the counts; a null entry counts 0.
  int64_t totalEdges() const;
  void assign(const ClassifiedEdgeStackList& other);

private:
  void removeWhere(uint8_t bit, bool set);

  IterStack<ClassifiedEdgeStack*> stacks_;
};
