//===- tovprogress.h - The tree of nested progress ranges -------*- C++ -*-===//
//
// TovProgress keeps a stack of Layout records (from the root to the innermost
// open segment, numbered from 1); the stack holds the only strong references
// to them. The scoped objects divide the top layout of a stack and open a
// child over one segment; each part of an operation then reports fractions of
// 0 to 1 of its own segment, and toGlobal() maps them onto the whole.
//
// Invariants a user must know:
//  - The tree has no locks and belongs to the thread driving the operation.
//  - Scoped objects hold their layout weakly: after reset() they find nothing
//    and do nothing. They must end innermost first; ending an outer one while
//    an inner one is open pops one level only.
//  - report() on the base class returns true; the subclass that shows
//    progress (the host's) applies toGlobal() to what it receives.
//  - A scoped object without an explicit engine uses the process's
//    "IKivProgress" service, looked up once; without one it stays inactive.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "core/kivptr.h"
#include "kivbasictypes/ikivprogress.h"

#include <cstdint>

class TovProgress;

// A weak pointer through the object's KivWeakRef cell.
template <class T>
class TovWeakPtr {
public:
  TovWeakPtr() = default;
  explicit TovWeakPtr(T* p) { *this = p; }
  TovWeakPtr& operator=(T* p) {
    cell_ = p ? p->weakRef() : nullptr;
    return *this;
  }
  T* get() const { return cell_ && cell_->target ? static_cast<T*>(cell_->target) : nullptr; }
  void clear() { cell_.clear(); }

private:
  IPtr<KivWeakRef, KivWeakRef> cell_;
};

class TovProgress : public IKivProgress {
public:
  class Layout : public KivShared {
  public:
    Layout(TovProgress* owner, float from, float to);
    ~Layout() override;
    Layout(const Layout&) = delete;
    Layout& operator=(const Layout&) = delete;

    // The owner is not counted: the owner's stack holds the layout, so a
    // counted back pointer would keep every engine alive for ever. A layout
    // never outlives the stack that holds it.
    TovProgress* owner;
    TovWeakPtr<Layout> child;
    float from;
    float to;
    float* bounds;  // count + 1 entries, overall terms
    int32_t index;
    int32_t count;

    // Division of [from, to]; each is followed by pushChild().
    void divideEqual(int32_t steps);
    void divideWeights(const float* weights);
    void divideWeights(const double* weights);
    void divideFractions(double a, double b);
    // Back to a fresh layout: one segment {0, 1}, index 0.
    void clearDivision();

    Layout* pushChild();
    // Reports 1.0 with the child still on top, pops one level, moves on to
    // the next segment; the report's result.
    bool popChild();

  private:
    void setCount(int32_t n);
    template <class W>
    void divideByWeights(const W* weights);
  };

  TovProgress();
  ~TovProgress() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "TovProgress"; }

  bool report(float fraction) override;
  bool isCancelled() override;
  void reset() override;
  bool isPaused() override;
  void cancel() override;
  void pause() override;
  void resume() override;
  void beginOperation() override;
  void endOperation() override;
  KivString title() override;
  void setTitle(const KivString& title) override;
  void clearTitle() override;
  float toGlobal(float fraction) override;
  uint8_t getFlag() override;
  void setFlag(uint8_t value) override;

  // The innermost layout, or null when the stack is empty.
  Layout* top() const;
  // The layout at `level`, 1 being the root; null outside the stack.
  Layout* at(int32_t level) const;
  int32_t depth() const { return stack_->count(); }
  void push(Layout* layout);
  void pop();

  // The engine behind "IKivProgress", looked up once per process.
  static TovProgress* serviceEngine();
  // The "TovProgress" side of any progress object, or null.
  static TovProgress* engineOf(IKivProgress* progress);

private:
  IterStack<IPtr<Layout, KivShared>>* stack_;
  uint8_t flag_ = 0;
};

// Base of the scoped objects: the engine (counted), the divided layout (weak)
// and whether a division is open.
class TovProgressScope : public IKivProgressAccessor {
public:
  explicit TovProgressScope(IKivProgress* progress);
  TovProgressScope(const TovProgressScope&) = delete;
  TovProgressScope& operator=(const TovProgressScope&) = delete;

  void setProgress(IKivProgress* progress) override;
  IKivProgress* getProgress() override;

protected:
  // Finds the engine and its top layout; null if either is missing or a
  // division is already open.
  TovProgress::Layout* takeTop();
  // Marks `layout` as divided by this object and opens its first child.
  void open(TovProgress::Layout* layout);
  bool nextSegment();
  bool endDivision();

  IPtr<TovProgress> progress_;
  TovWeakPtr<TovProgress::Layout> layout_;
  uint8_t active_ = 0;
};

class TovProgressSplit : public TovProgressScope, public IKivProgressSplit {
public:
  explicit TovProgressSplit(IKivProgress* progress = nullptr);
  // Begins at once.
  explicit TovProgressSplit(int32_t steps, IKivProgress* progress = nullptr);
  ~TovProgressSplit() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "TovProgressSplit"; }

  bool isDone() override { return !active_; }
  bool isActive() override { return active_ != 0; }
  bool next() override { return nextSegment(); }
  bool end() override { return endDivision(); }
  bool begin(int32_t steps) override;
};

class TovProgressSubdivide : public TovProgressScope, public IKivProgressSubdivide {
public:
  explicit TovProgressSubdivide(IKivProgress* progress = nullptr);
  explicit TovProgressSubdivide(const float* weights, IKivProgress* progress = nullptr);
  explicit TovProgressSubdivide(const double* weights, IKivProgress* progress = nullptr);
  ~TovProgressSubdivide() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "TovProgressSubdivide"; }

  bool isDone() override { return !active_; }
  bool isActive() override { return active_ != 0; }
  bool next() override { return nextSegment(); }
  bool end() override { return endDivision(); }
  bool begin(const float* weights) override;
  bool begin(const double* weights) override;
};

class TovProgressInfinite : public TovProgressScope, public IKivProgressInfinite {
public:
  explicit TovProgressInfinite(IKivProgress* progress = nullptr);
  explicit TovProgressInfinite(int32_t scale, IKivProgress* progress = nullptr);
  ~TovProgressInfinite() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "TovProgressInfinite"; }

  bool isDone() override { return !active_; }
  bool isActive() override { return active_ != 0; }
  bool next() override;
  bool end() override { return endDivision(); }
  bool begin(int32_t scale) override;

private:
  int32_t scale_ = 0;
  int32_t limit_ = 0;
  int32_t position_ = 0;
  float* weights_ = nullptr;  // limit_ weights, then 0 and -1
};

class TovProgressBounds : public TovProgressScope, public IKivProgressBounds {
public:
  explicit TovProgressBounds(IKivProgress* progress = nullptr);
  TovProgressBounds(int32_t i, int32_t j, int32_t n, IKivProgress* progress = nullptr);
  TovProgressBounds(double a, double b, IKivProgress* progress = nullptr);
  ~TovProgressBounds() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "TovProgressBounds"; }

  // Ignored while a division is open, as begin() is on the splits.
  void set(int32_t i, int32_t j, int32_t n) override;
  void set(double a, double b) override;
};

// A TovProgress that hands every report to a plain callback. Whoever installs
// the callback writes the two public fields directly; both start null.
class TovGlobalCallbackProgress : public TovProgress {
public:
  using Callback = int32_t (*)(float fraction, void* context);

  bool report(float fraction) override;
  const char* className() const override { return "TovGlobalCallbackProgress"; }

  Callback callback = nullptr;
  void* context = nullptr;
};
