//===- orientedtriangle.h - Oriented triangles in the data model -*- C++ -*-===//
//
// OrientedTriangle wraps one word, (triangle + 1) * 8 | version: the word 0
// is no triangle, so the public triangle number is one below the stored
// one. OrientedTriangleStack wraps a ClassifiedEdgeStack of such words and
// hands its elements out as new OrientedTriangle objects (no reference
// taken); OrientedTriangleStackList holds stacks, each by one strong
// reference. Their properties store a word, a count and words, or a count
// and each edge stack's own stream form.
//
// Invariants a user must know:
//  - set(triangle, version) and the two-number constructor accept versions
//    0 to 5 only; any other (a negative one too) fails with
//    "version must have a value >= 0 and <= 5" (class text
//    "OrientedTriangle") and changes nothing. A triangle below 0 is none.
//  - setValue(word) clamps the version bits to 5.
//  - OrientedTriangleStack iterates by public index: after rewind(),
//    current() is the first element; a loop reads current() and then asks
//    next(). tryGet/trySet never fail.
//  - A property holding nothing stores the count (or word) 0. Reading a
//    stack or a list fills the object held (made if missing) directly, so
//    it fires nothing.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/ortri.h"
#include "properties/pointerproperty.h"
#include "properties/stackarray.h"

class IKivOrientedTriangle : public virtual IKivUnknown {
public:
  virtual uint32_t value() const = 0;                          // 1
  virtual int triangle() const = 0;                            // 2
  virtual int version() const = 0;                             // 3
  virtual int side() const = 0;                                // 4
  virtual void set(int triangle, int version) = 0;             // 5
  virtual void setValue(int word) = 0;                         // 6
  // New objects, no reference taken; the source is untouched.
  virtual IKivOrientedTriangle* reversed() const = 0;          // 7
  virtual IKivOrientedTriangle* nextEdge() const = 0;          // 8
  virtual IKivOrientedTriangle* previousEdge() const = 0;      // 9
};

class OrientedTriangle : public Primitive, public IKivOrientedTriangle {
public:
  static constexpr const char* kClassName = "OrientedTriangle";
  static constexpr const char* kInterfaceName = "IKivOrientedTriangle";

  OrientedTriangle() = default;
  explicit OrientedTriangle(uint32_t word) : value_(word) {}
  OrientedTriangle(const OrientedTriangle& other)
      : IKivUnknown(other), Primitive(other), IKivOrientedTriangle(other), value_(other.value_) {}
  OrientedTriangle(int triangle, int version);

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  uint32_t value() const override { return value_; }
  int triangle() const override { return static_cast<int>(value_ >> 3) - 1; }
  int version() const override { return static_cast<int>(value_ & 7); }
  int side() const override { return static_cast<int>(value_ & 1); }
  void set(int triangle, int version) override;
  void setValue(int word) override;
  IKivOrientedTriangle* reversed() const override { return reversedTriangle(); }
  IKivOrientedTriangle* nextEdge() const override { return nextEdgeTriangle(); }
  IKivOrientedTriangle* previousEdge() const override { return previousEdgeTriangle(); }
  // The same three, as the implementation class (places 10 to 12).
  virtual OrientedTriangle* reversedTriangle() const;
  virtual OrientedTriangle* nextEdgeTriangle() const;
  virtual OrientedTriangle* previousEdgeTriangle() const;

private:
  uint32_t value_ = 0;
};

class IKivOrientedTriangleStack : public virtual IKivUnknown {
public:
  virtual int count() const = 0;                                        // 1
  virtual int getCount() const = 0;                                     // 2
  virtual bool next() = 0;                                              // 3
  virtual IKivOrientedTriangle* current() const = 0;                    // 4
  virtual IKivOrientedTriangle* get(int i) const = 0;                   // 5
  virtual OrientedTriangle* getTriangle(int i) const = 0;               // 6
  virtual void set(int i, OrientedTriangle* v) = 0;                     // 7
  virtual void append(OrientedTriangle* v) = 0;                         // 8
  virtual OrientedTriangle* pop() = 0;                                  // 9
  virtual bool add(OrientedTriangle* v) = 0;                            // 10
  virtual void rewind() = 0;                                            // 11
  virtual void insert(int i, OrientedTriangle* v) = 0;                  // 12
  virtual void remove(int i) = 0;                                       // 13
  virtual int indexOf(OrientedTriangle* v) const = 0;                   // 14
  virtual void clear() = 0;                                             // 15
  virtual int size() const = 0;                                         // 16
  virtual OrientedTriangle* tryGet(int i) const = 0;                    // 17
  virtual bool trySet(int i, OrientedTriangle* v) = 0;                  // 18
  virtual OrientedTriangle* last() const = 0;                           // 19
  virtual OrientedTriangle* first() const = 0;                          // 20
};

class OrientedTriangleStack : public Collection, public IKivOrientedTriangleStack {
public:
  static constexpr const char* kClassName = "OrientedTriangleStack";
  static constexpr const char* kInterfaceName = "IKivOrientedTriangleStack";

  // Room for 6 elements.
  OrientedTriangleStack();
  // Adopts `stack`, which may be null.
  explicit OrientedTriangleStack(ClassifiedEdgeStack* stack) : stack_(stack) {}
  OrientedTriangleStack(const OrientedTriangleStack& other);
  OrientedTriangleStack& operator=(const OrientedTriangleStack&) = delete;
  ~OrientedTriangleStack() override { delete stack_; }

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  int count() const override { return stack_ ? stack_->count() : 0; }
  int getCount() const override { return count(); }
  bool next() override { return ++cursor_ < count(); }
  IKivOrientedTriangle* current() const override { return tryGet(cursor_); }
  IKivOrientedTriangle* get(int i) const override { return getTriangle(i); }
  OrientedTriangle* getTriangle(int i) const override;
  void set(int i, OrientedTriangle* v) override;
  void append(OrientedTriangle* v) override;
  OrientedTriangle* pop() override;
  bool add(OrientedTriangle* v) override {
    append(v);
    return true;
  }
  void rewind() override { cursor_ = 0; }
  void insert(int i, OrientedTriangle* v) override;
  void remove(int i) override;
  int indexOf(OrientedTriangle* v) const override;
  void clear() override;
  int size() const override { return count(); }
  OrientedTriangle* tryGet(int i) const override;
  bool trySet(int i, OrientedTriangle* v) override;
  OrientedTriangle* last() const override;
  OrientedTriangle* first() const override;

  // The edge stack, made (with room for 6) if there is none.
  ClassifiedEdgeStack& edges();
  const ClassifiedEdgeStack* edgeStack() const { return stack_; }

private:
  static uint32_t wordOf(const OrientedTriangle* v) { return v ? v->value() : 0; }

  ClassifiedEdgeStack* stack_ = nullptr;
};

using OrientedTriangleStackIter = TStackIter<OrientedTriangleStack*>;

class IKivOrientedTriangleStackList : public virtual IKivUnknown {
public:
  virtual int count() const = 0;
  virtual bool next() = 0;
  virtual OrientedTriangleStack* current() const = 0;
  virtual OrientedTriangleStack* get(int i) const = 0;
  virtual OrientedTriangleStack* getChecked(int i) const = 0;
  virtual void set(int i, OrientedTriangleStack* v) = 0;
  virtual void append(OrientedTriangleStack* v) = 0;
  virtual OrientedTriangleStack* pop() = 0;
  virtual void rewind() = 0;
  virtual void insert(int i, OrientedTriangleStack* v) = 0;
  virtual void remove(int i) = 0;
  virtual int indexOf(OrientedTriangleStack* v) const = 0;
  virtual void clear() = 0;
  virtual OrientedTriangleStackIter* iterator() const = 0;
};

class OrientedTriangleStackList
    : public TStackArray<OrientedTriangleStackList, IKivOrientedTriangleStackList,
                         OrientedTriangleStack*> {
public:
  static constexpr const char* kClassName = "OrientedTriangleStackList";
  static constexpr const char* kInterfaceName = "IKivOrientedTriangleStackList";
  OrientedTriangleStackList() = default;
  // The stacks are copied too: a copy owns its own paths.
  OrientedTriangleStackList(const OrientedTriangleStackList& other);

  OrientedTriangleStack* getChecked(int i) const override { return get(i); }
  OrientedTriangleStackIter* iterator() const override {
    return new OrientedTriangleStackIter(&stack_);
  }
};

class IKivOrientedTriangleProperty : public IKivValueProperty<OrientedTriangle*> {};
class IKivOrientedTriangleStackProperty : public IKivValueProperty<OrientedTriangleStack*> {};
class IKivOrientedTriangleStackListProperty
    : public IKivValueProperty<OrientedTriangleStackList*> {};

class OrientedTriangleProperty
    : public TPointerProperty<OrientedTriangleProperty, IKivOrientedTriangleProperty,
                              OrientedTriangle> {
public:
  static constexpr const char* kClassName = "OrientedTriangleProperty";
  static constexpr const char* kInterfaceName = "IKivOrientedTriangleProperty";
  static constexpr const char* kTypeName = "kivapi.mesh.OrientedTriangle";
  using TPointerProperty::TPointerProperty;

  static void textOf(OrientedTriangle* value, KivString& out);
  static void writeValue(IKivDataModelWriter* writer, OrientedTriangle* value);
  static void readValue(IKivDataModelReader* reader, OrientedTriangleProperty* property);
};

class OrientedTriangleStackProperty
    : public TPointerProperty<OrientedTriangleStackProperty, IKivOrientedTriangleStackProperty,
                              OrientedTriangleStack> {
public:
  static constexpr const char* kClassName = "OrientedTriangleStackProperty";
  static constexpr const char* kInterfaceName = "IKivOrientedTriangleStackProperty";
  static constexpr const char* kTypeName = "kivapi.mesh.OrientedTriangleStack";
  using TPointerProperty::TPointerProperty;

  uint64_t memorySize() const override;
  static void textOf(OrientedTriangleStack* value, KivString& out);
  static void writeValue(IKivDataModelWriter* writer, OrientedTriangleStack* value);
  static void readValue(IKivDataModelReader* reader, OrientedTriangleStackProperty* property);
};

class OrientedTriangleStackListProperty
    : public TPointerProperty<OrientedTriangleStackListProperty,
                              IKivOrientedTriangleStackListProperty, OrientedTriangleStackList> {
public:
  static constexpr const char* kClassName = "OrientedTriangleStackListProperty";
  static constexpr const char* kInterfaceName = "IKivOrientedTriangleStackListProperty";
  static constexpr const char* kTypeName = "kivapi.mesh.OrientedTriangleStackList";
  using TPointerProperty::TPointerProperty;

  uint64_t memorySize() const override;
  static void textOf(OrientedTriangleStackList*, KivString& out) { out = KivString(); }
  static void writeValue(IKivDataModelWriter* writer, OrientedTriangleStackList* value);
  static void readValue(IKivDataModelReader* reader, OrientedTriangleStackListProperty* property);
};
